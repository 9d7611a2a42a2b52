#include "app/window/RepoActivityStatusView.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QTimer>

#include "app/viewmodel/RepoViewModel.h"

namespace vorda {

RepoActivityStatusView::RepoActivityStatusView(RepoViewModel* viewModel, QWidget* parent)
    : QWidget(parent),
      viewModel_(viewModel),
      text_(new QLabel(this)),
      detail_(new QLabel(this)),
      button_(new QPushButton(this)),
      fetchTick_(new QTimer(this)),
      toastTimer_(new QTimer(this)) {
    setObjectName(QStringLiteral("activity-status"));
    text_->setObjectName(QStringLiteral("activity-text"));
    detail_->setObjectName(QStringLiteral("activity-detail"));
    button_->setObjectName(QStringLiteral("activity-button"));
    button_->setFlat(true);
    text_->setTextFormat(Qt::PlainText);
    detail_->setTextFormat(Qt::PlainText);
    // A long error must not push the rest of the toolbar away.
    text_->setMaximumWidth(480);

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(6, 0, 6, 0);
    layout->setSpacing(6);
    layout->addWidget(text_);
    layout->addWidget(detail_);
    layout->addWidget(button_);

    fetchTick_->setInterval(std::chrono::seconds(1));
    connect(fetchTick_, &QTimer::timeout, this, &RepoActivityStatusView::refresh);
    toastTimer_->setSingleShot(true);
    toastTimer_->setInterval(defaultToastDuration);
    connect(toastTimer_, &QTimer::timeout, this, [this] {
        if (auto* model = viewModel_.data()) {
            model->setToastMessage(std::nullopt);
        }
    });
    connect(button_, &QPushButton::clicked, this, &RepoActivityStatusView::buttonPressed);

    if (auto* model = viewModel_.data()) {
        const auto rerender = [this] {
            refresh();
        };
        for (const auto signal : {
                 &RepoViewModel::mutationErrorChanged,
                 &RepoViewModel::fetchErrorChanged,
                 &RepoViewModel::pushErrorChanged,
                 &RepoViewModel::undoErrorChanged,
                 &RepoViewModel::fetchStartedAtChanged,
                 &RepoViewModel::fetchStatusChanged,
                 &RepoViewModel::pushInFlightChanged,
                 &RepoViewModel::undoInFlightChanged,
                 &RepoViewModel::isMutatingChanged,
                 &RepoViewModel::mutationLabelChanged,
                 &RepoViewModel::repoStateChanged,
                 &RepoViewModel::selectedWorkspaceNameChanged,
                 &RepoViewModel::trunkCommitIDChanged,
                 &RepoViewModel::conflictedFilesChanged,
             }) {
            connect(model, signal, this, rerender);
        }
        connect(model, &RepoViewModel::fetchInFlightChanged, this,
                &RepoActivityStatusView::fetchStateChanged);
        connect(model, &RepoViewModel::toastMessageChanged, this,
                &RepoActivityStatusView::toastChanged);
    }
    fetchStateChanged();
    toastChanged();
}

void RepoActivityStatusView::setToastDuration(std::chrono::milliseconds duration) {
    toastTimer_->setInterval(duration);
}

void RepoActivityStatusView::refresh() {
    const auto* model = viewModel_.data();
    if (!model) {
        return;
    }
    content_ = activityStatusContent(*model, std::chrono::system_clock::now());
    text_->setText(QString::fromStdString(content_.text));
    // Failures and the stale-base notice stand out; everything else is calm.
    switch (content_.kind) {
        case ActivityStatusContent::Kind::error:
            text_->setStyleSheet(QStringLiteral("color: #c0392b;"));
            break;
        case ActivityStatusContent::Kind::attention:
            text_->setStyleSheet(QStringLiteral("color: #b9770e;"));
            break;
        default:
            text_->setStyleSheet({});
            break;
    }
    text_->setToolTip(QString::fromStdString(content_.tooltip));
    detail_->setText(QString::fromStdString(content_.detail));
    detail_->setVisible(!content_.detail.empty());
    button_->setText(QString::fromStdString(content_.button.value_or("")));
    button_->setToolTip(QString::fromStdString(content_.buttonTooltip));
    button_->setVisible(content_.button.has_value());
}

void RepoActivityStatusView::buttonPressed() {
    auto* model = viewModel_.data();
    if (!model) {
        return;
    }
    switch (content_.kind) {
        case ActivityStatusContent::Kind::error:
            switch (content_.errorField.value_or(ActivityErrorField::mutation)) {
                case ActivityErrorField::mutation:
                    model->setMutationError(std::nullopt);
                    break;
                case ActivityErrorField::fetch:
                    model->setFetchError(std::nullopt);
                    break;
                case ActivityErrorField::push:
                    model->setPushError(std::nullopt);
                    break;
                case ActivityErrorField::undo:
                    model->setUndoError(std::nullopt);
                    break;
            }
            break;
        case ActivityStatusContent::Kind::attention:
            model->presentLocalStackRebase(std::nullopt, std::nullopt);
            break;
        case ActivityStatusContent::Kind::idle:
            Q_EMIT conflictSheetRequested();
            break;
        default:
            break;
    }
}

void RepoActivityStatusView::toastChanged() {
    // Every new notice gets its full time; a cleared one stops the clock.
    const auto* model = viewModel_.data();
    if (model && model->toastMessage()) {
        toastTimer_->start();
    } else {
        toastTimer_->stop();
    }
    refresh();
}

void RepoActivityStatusView::fetchStateChanged() {
    const auto* model = viewModel_.data();
    if (model && model->fetchInFlight()) {
        fetchTick_->start();
    } else {
        fetchTick_->stop();
    }
    refresh();
}

}  // namespace vorda
