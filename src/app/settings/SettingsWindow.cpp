#include "app/settings/SettingsWindow.h"

#include <QHBoxLayout>
#include <QListWidget>
#include <QStackedWidget>

#include "app/settings/CommitLinksSettingsView.h"

namespace vorda {

SettingsWindow::SettingsWindow(QWidget* parent)
    : QWidget(parent, Qt::Window), pages_(new QListWidget), stack_(new QStackedWidget) {
    setWindowTitle(QStringLiteral("Settings"));
    setObjectName(QStringLiteral("settingsWindow"));
    // Reused: closing hides it, and it never ends the application.
    setAttribute(Qt::WA_QuitOnClose, false);

    pages_->setObjectName(QStringLiteral("settingsPages"));
    pages_->setFixedWidth(180);
    pages_->setSpacing(2);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(pages_);
    layout->addWidget(stack_, 1);
    connect(pages_, &QListWidget::currentRowChanged, stack_, &QStackedWidget::setCurrentIndex);

    addPage(QStringLiteral("Commit Links"), new CommitLinksSettingsView);
    resize(1100, 720);
}

void SettingsWindow::addPage(const QString& title, QWidget* page) {
    stack_->addWidget(page);
    pages_->addItem(title);
    if (pages_->currentRow() < 0) {
        pages_->setCurrentRow(0);
    }
}

bool SettingsWindow::showPage(const QString& title) {
    const auto found = pages_->findItems(title, Qt::MatchExactly);
    if (found.isEmpty()) {
        return false;
    }
    pages_->setCurrentItem(found.front());
    return true;
}

}  // namespace vorda
