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
    // The area keeps one size whatever it says, so the toolbar never
    // changes height and its buttons never move: one line, cut with "…"
    // where it is too long, the whole text in the tooltip.
    text_->setWordWrap(false);
    text_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setFixedWidth(statusWidth);
    setFixedHeight(fontMetrics().height() + 12);

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
            model->activity().setToastMessage(std::nullopt);
        }
    });
    connect(button_, &QPushButton::clicked, this, &RepoActivityStatusView::buttonPressed);

    if (auto* model = viewModel_.data()) {
        connect(&model->activity(), &ActivityModel::changed, this,
                &RepoActivityStatusView::activityChanged);
        connect(&model->board(), &BoardModel::changed, this, &RepoActivityStatusView::refresh);
    }
    activityChanged();
}

void RepoActivityStatusView::setToastDuration(std::chrono::milliseconds duration) {
    toastTimer_->setInterval(duration);
}

void RepoActivityStatusView::refresh() {
    const auto* model = viewModel_.data();
    if (!model) {
        return;
    }
    content_ =
        activityStatusContent(model->activity(), model->board(), std::chrono::system_clock::now());
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
    detail_->setText(QString::fromStdString(content_.detail));
    detail_->setVisible(!content_.detail.empty());
    button_->setText(QString::fromStdString(content_.button.value_or("")));
    button_->setToolTip(QString::fromStdString(content_.buttonTooltip));
    button_->setVisible(content_.button.has_value());
    showText();
    const bool cut = text_->text() != QString::fromStdString(content_.text);
    text_->setToolTip(
        QString::fromStdString(content_.tooltip.empty() && cut ? content_.text : content_.tooltip));
}

void RepoActivityStatusView::showText() {
    const QString full = QString::fromStdString(content_.text);
    const int room = statusWidth - (!button_->isHidden() ? button_->sizeHint().width() : 0) -
                     (!detail_->isHidden() ? detail_->sizeHint().width() : 0) - 24;
    text_->setText(text_->fontMetrics().elidedText(full, Qt::ElideRight, std::max(room, 40)));
}

void RepoActivityStatusView::buttonPressed() {
    auto* model = viewModel_.data();
    if (!model) {
        return;
    }
    switch (content_.kind) {
        case ActivityStatusContent::Kind::error:
            model->activity().dismiss(content_.errorField.value_or(ActivityErrorField::mutation));
            break;
        case ActivityStatusContent::Kind::idle:
            Q_EMIT conflictSheetRequested();
            break;
        case ActivityStatusContent::Kind::attention:
            model->presentLocalStackRebase(std::nullopt, std::nullopt);
            break;
        default:
            break;
    }
}

void RepoActivityStatusView::activityChanged() {
    const auto* model = viewModel_.data();
    // Every new notice gets its full time; a cleared one stops the clock.
    const OptionalText toast = model ? model->activity().toastMessage() : std::nullopt;
    if (toast != shownToast_) {
        shownToast_ = toast;
        if (toast) {
            toastTimer_->start();
        } else {
            toastTimer_->stop();
        }
    }
    // The seconds of a running fetch count up once a second.
    if (model && model->activity().fetchInFlight()) {
        if (!fetchTick_->isActive()) {
            fetchTick_->start();
        }
    } else {
        fetchTick_->stop();
    }
    refresh();
}

}  // namespace vorda
