#include "app/links/CommitLinkLookup.h"

#include <QCoreApplication>
#include <QMetaObject>

#include "app/links/CommitLinkPreferences.h"
#include "jjkit/links/CommitLinkResolver.h"

namespace vorda {

CommitLinkLookup& CommitLinkLookup::shared() {
    static auto* const lookup = new CommitLinkLookup(QCoreApplication::instance());
    return *lookup;
}

CommitLinkLookup::CommitLinkLookup(QObject* parent)
    : QObject(parent), worker_([this](const std::stop_token& stop) { work(stop); }) {
    connect(&CommitLinkPreferences::shared(), &CommitLinkPreferences::changed, this,
            &CommitLinkLookup::forgetAll);
}

CommitLinkLookup::~CommitLinkLookup() {
    worker_.request_stop();
    wake_.notify_all();
}

std::optional<std::vector<CommitLinkMatch>> CommitLinkLookup::links(const QString& text,
                                                                    const QString& repository) {
    std::string configuration = CommitLinkPreferences::shared().configurationText();
    if (configuration.empty() || text.isEmpty()) {
        return std::vector<CommitLinkMatch>{};
    }
    if (const auto known = answers_.find(repository); known != answers_.end()) {
        if (const auto answer = known->second.constFind(text); answer != known->second.cend()) {
            return *answer;
        }
    }
    if (pending_.emplace(repository, text).second) {
        const std::scoped_lock lock(mutex_);
        queue_.push_back({text, repository, std::move(configuration)});
        wake_.notify_one();
    }
    return std::nullopt;
}

void CommitLinkLookup::work(const std::stop_token& stop) {
    while (true) {
        Request request;
        {
            std::unique_lock lock(mutex_);
            if (!wake_.wait(lock, stop, [this] { return !queue_.empty(); })) {
                return;
            }
            request = std::move(queue_.front());
            queue_.pop_front();
        }
        auto links = CommitLinkResolver::shared().matches(
            request.text.toStdString(), request.configuration, request.repository.toStdString());
        const std::scoped_lock lock(mutex_);
        finished_.push_back({std::move(request), std::move(links)});
        // One hand-over per batch: the views repaint once for many answers.
        if (queue_.empty() || finished_.size() >= 64) {
            std::vector<Answer> batch;
            batch.swap(finished_);
            QMetaObject::invokeMethod(
                this, [this, answers = std::move(batch)]() mutable { accept(std::move(answers)); },
                Qt::QueuedConnection);
        }
    }
}

void CommitLinkLookup::accept(std::vector<Answer> answers) {
    const std::string current = CommitLinkPreferences::shared().configurationText();
    for (auto& answer : answers) {
        pending_.erase({answer.request.repository, answer.request.text});
        // Matched under rules that have since been replaced.
        if (answer.request.configuration != current) {
            continue;
        }
        auto& known = answers_[answer.request.repository];
        if (known.size() >= cacheLimit) {
            known.clear();
        }
        known.emplace(answer.request.text, std::move(answer.links));
    }
    emit resolved();
}

void CommitLinkLookup::forgetAll() {
    answers_.clear();
    pending_.clear();
    {
        const std::scoped_lock lock(mutex_);
        queue_.clear();
    }
    emit resolved();
}

}  // namespace vorda
