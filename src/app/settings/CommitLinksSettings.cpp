#include "app/settings/CommitLinksSettings.h"

#include <algorithm>

#include "app/links/CommitLinkPreferences.h"
#include "jjkit/links/CommitLinkResolver.h"

namespace vorda {

CommitLinksSettings::CommitLinksSettings(QObject* parent) : QObject(parent) {
    auto& stored = CommitLinkPreferences::shared();
    connect(&stored, &CommitLinkPreferences::changed, this, [this] {
        configuration_ = CommitLinkPreferences::shared().configuration();
        storedKey_ = encodeCommitLinkRules(decodeCommitLinkRules(configuration_.toStdString()));
        emit rulesChanged();
    });
    load();
}

const CommitLinkRule* CommitLinksSettings::selectedRule() const {
    const auto found = std::find_if(rules_.begin(), rules_.end(), [this](const auto& rule) {
        return selected_ && rule.id == *selected_;
    });
    return found == rules_.end() ? nullptr : &*found;
}

std::vector<CommitLinkRule>::iterator CommitLinksSettings::find(const std::string& id) {
    return std::find_if(rules_.begin(), rules_.end(),
                        [&id](const auto& rule) { return rule.id == id; });
}

void CommitLinksSettings::load() {
    configuration_ = CommitLinkPreferences::shared().configuration();
    rules_ = decodeCommitLinkRules(configuration_.toStdString());
    storedKey_ = encodeCommitLinkRules(rules_);
    if (selectedRule() == nullptr) {
        selected_ = rules_.empty() ? std::nullopt : std::optional(rules_.front().id);
    }
    rulesEdited();
}

void CommitLinksSettings::select(const std::optional<std::string>& id) {
    if (id == selected_) {
        return;
    }
    selected_ = id;
    rulesEdited();
}

void CommitLinksSettings::update(const CommitLinkRule& rule) {
    const auto found = find(rule.id);
    if (found == rules_.end() || *found == rule) {
        return;
    }
    *found = rule;
    rulesEdited();
}

void CommitLinksSettings::add(CommitLinkRule rule) {
    selected_ = rule.id;
    rules_.push_back(std::move(rule));
    rulesEdited();
}

void CommitLinksSettings::addRegex() {
    add(CommitLinkRule::make("Custom", R"(\b(?<issue>ARC-\d+)\b)",
                             "https://issues.example.com/issues/${issue}"));
}

bool CommitLinksSettings::canAddLinear() const {
    return !workspace_.trimmed().isEmpty() && !prefixes_.trimmed().isEmpty();
}

void CommitLinksSettings::addLinear() {
    if (!canAddLinear()) {
        return;
    }
    add(CommitLinkRule::linear(workspace_.trimmed().toStdString(), prefixes_.toStdString()));
}

bool CommitLinksSettings::canAddRepositoryIssues() const {
    return !project_.trimmed().isEmpty();
}

void CommitLinksSettings::addRepositoryIssues() {
    if (!canAddRepositoryIssues()) {
        return;
    }
    QString project = project_.trimmed();
    while (project.endsWith(QLatin1Char('/'))) {
        project.chop(1);
    }
    auto rule = CommitLinkRule::make("Repository issues", R"((?<![\w/#])#(?<number>[1-9][0-9]*)\b)",
                                     project.toStdString() + "/issues/${number}");
    rule.repositoryPath = repositoryPath_.trimmed().toStdString();
    add(std::move(rule));
}

bool CommitLinksSettings::canMove(const std::string& id, int offset) const {
    const auto found = std::find_if(rules_.begin(), rules_.end(),
                                    [&id](const auto& rule) { return rule.id == id; });
    if (found == rules_.end()) {
        return false;
    }
    const auto target = (found - rules_.begin()) + offset;
    return target >= 0 && target < static_cast<std::ptrdiff_t>(rules_.size());
}

void CommitLinksSettings::move(const std::string& id, int offset) {
    if (!canMove(id, offset)) {
        return;
    }
    const auto found = find(id);
    std::iter_swap(found, found + offset);
    rulesEdited();
}

void CommitLinksSettings::removeSelected() {
    if (selectedRule() == nullptr) {
        return;
    }
    const auto at = rules_.erase(find(*selected_));
    if (at != rules_.end()) {
        selected_ = at->id;
    } else {
        selected_ = rules_.empty() ? std::nullopt : std::optional(rules_.back().id);
    }
    rulesEdited();
}

QString CommitLinksSettings::draftKey() const {
    return QString::fromStdString(encodeCommitLinkRules(rules_));
}

bool CommitLinksSettings::isDirty() const {
    return encodeCommitLinkRules(rules_) != storedKey_;
}

void CommitLinksSettings::save() {
    const std::string draft = encodeCommitLinkRules(rules_);
    CommitLinkPreferences::shared().save(QString::fromStdString(draft));
    configuration_ = CommitLinkPreferences::shared().configuration();
    storedKey_ = draft;
    emit rulesChanged();
}

void CommitLinksSettings::setSample(const QString& sample) {
    if (sample == sample_) {
        return;
    }
    sample_ = sample;
    requestPreview();
}

void CommitLinksSettings::rulesEdited() {
    emit rulesChanged();
    requestPreview();
}

void CommitLinksSettings::requestPreview() {
    const std::uint64_t generation = ++generation_;
    previewReady_ = false;
    CommitLinkPlaygroundInput input{rules_, selected_, sample_.toStdString()};
    runner_.submit([this, generation, input = std::move(input)] {
        auto result = runCommitLinkPlayground(input);
        return std::function<void()>([this, generation, result = std::move(result)] {
            if (generation != generation_) {
                return;
            }
            result_ = result;
            previewReady_ = true;
            emit previewChanged();
        });
    });
}

}  // namespace vorda
