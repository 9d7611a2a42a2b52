#include "app/launcher/LauncherWindow.h"

#include <QApplication>
#include <QCloseEvent>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QPainter>
#include <QPushButton>
#include <QShowEvent>
#include <QStackedWidget>
#include <QVBoxLayout>

#include "app/launcher/LauncherWindowController.h"
#include "app/launcher/RecentRepoDelegate.h"
#include "app/start/LaunchLog.h"
#include "app/start/RepoWindowRegistry.h"

namespace vorda {
namespace {

constexpr int iconSize = 96;

// The application's icon, or a drawn stand-in while it has none.
QPixmap identityIcon() {
    const QIcon icon = QApplication::windowIcon();
    if (!icon.isNull()) {
        return icon.pixmap(iconSize, iconSize);
    }
    QPixmap pixmap(iconSize, iconSize);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(QApplication::palette().color(QPalette::Highlight));
    painter.setPen(Qt::NoPen);
    painter.drawRoundedRect(QRectF(4, 4, iconSize - 8, iconSize - 8), 20, 20);
    QFont font = QApplication::font();
    font.setBold(true);
    font.setPixelSize(iconSize / 2);
    painter.setFont(font);
    painter.setPen(QApplication::palette().color(QPalette::HighlightedText));
    painter.drawText(pixmap.rect(), Qt::AlignCenter, QStringLiteral("V"));
    return pixmap;
}

QLabel* makeLabel(const QString& text, QWidget* parent, const QString& objectName) {
    auto* label = new QLabel(text, parent);
    label->setObjectName(objectName);
    label->setAlignment(Qt::AlignHCenter);
    label->setWordWrap(true);
    return label;
}

}  // namespace

LauncherWindow::LauncherWindow(RepoWindowRegistry& registry, QWidget* parent)
    : QMainWindow(parent), registry_(&registry) {
    setObjectName(QStringLiteral("launcher"));
    setWindowTitle(QStringLiteral("Vorda"));
    auto* central = new QWidget(this);
    auto* layout = new QHBoxLayout(central);
    layout->addWidget(makeIdentityPanel());
    layout->addWidget(makeRecentPanel(), 1);
    setCentralWidget(central);
    resize(680, 420);

    connect(&registry.launcher(), &LauncherWindowController::isVisibleChanged, this,
            &LauncherWindow::onVisibilityChanged);
    reloadRecents();
}

QWidget* LauncherWindow::makeIdentityPanel() {
    auto* panel = new QWidget(this);
    panel->setFixedWidth(240);
    auto* layout = new QVBoxLayout(panel);
    layout->addStretch(1);
    auto* icon = new QLabel(panel);
    icon->setObjectName(QStringLiteral("launcherIcon"));
    icon->setPixmap(identityIcon());
    icon->setAlignment(Qt::AlignHCenter);
    layout->addWidget(icon);

    QLabel* name = makeLabel(QStringLiteral("Vorda"), panel, QStringLiteral("launcherName"));
    QFont nameFont = name->font();
    nameFont.setBold(true);
    nameFont.setPointSizeF(nameFont.pointSizeF() * 2.0);
    name->setFont(nameFont);
    layout->addWidget(name);

    QLabel* subtitle = makeLabel(QStringLiteral("Bookmark-centric jj client"), panel,
                                 QStringLiteral("launcherSubtitle"));
    subtitle->setForegroundRole(QPalette::PlaceholderText);
    layout->addWidget(subtitle);
    layout->addSpacing(16);

    auto* open = new QPushButton(QStringLiteral("Open Repo\u2026"), panel);
    open->setObjectName(QStringLiteral("openRepoButton"));
    open->setDefault(true);
    connect(open, &QPushButton::clicked, this, &LauncherWindow::openRepoPicker);
    layout->addWidget(open, 0, Qt::AlignHCenter);
    layout->addStretch(1);
    return panel;
}

QWidget* LauncherWindow::makeRecentPanel() {
    auto* panel = new QWidget(this);
    auto* layout = new QVBoxLayout(panel);
    auto* heading = new QLabel(QStringLiteral("Recent"), panel);
    heading->setObjectName(QStringLiteral("recentHeading"));
    QFont headingFont = heading->font();
    headingFont.setBold(true);
    heading->setFont(headingFont);
    layout->addWidget(heading);

    recentStack_ = new QStackedWidget(panel);
    list_ = new QListWidget(recentStack_);
    list_->setObjectName(QStringLiteral("recentList"));
    list_->setItemDelegate(new RecentRepoDelegate(list_));
    list_->setUniformItemSizes(true);
    list_->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(list_, &QListWidget::itemActivated, this,
            [this](const QListWidgetItem* item) { openRecent(item->text()); });
    connect(list_, &QListWidget::customContextMenuRequested, this,
            &LauncherWindow::showContextMenu);
    recentStack_->addWidget(list_);

    emptyState_ = new QWidget(recentStack_);
    auto* emptyLayout = new QVBoxLayout(emptyState_);
    emptyLayout->addStretch(1);
    emptyLayout->addWidget(
        makeLabel(QStringLiteral("No recent repos."), emptyState_, QStringLiteral("emptyTitle")));
    QLabel* hint =
        makeLabel(QStringLiteral("Open a directory containing a `.jj/` folder to get started."),
                  emptyState_, QStringLiteral("emptyHint"));
    hint->setTextFormat(Qt::MarkdownText);
    hint->setForegroundRole(QPalette::PlaceholderText);
    emptyLayout->addWidget(hint);
    emptyLayout->addStretch(1);
    recentStack_->addWidget(emptyState_);

    layout->addWidget(recentStack_, 1);
    return panel;
}

void LauncherWindow::reloadRecents() {
    recents_ = registry_->recents().all();
    list_->clear();
    for (const RecentRepo& repo : recents_) {
        auto* item = new QListWidgetItem(repo.path, list_);
        const bool missing = !QFileInfo::exists(repo.path);
        item->setData(RecentRepoDelegate::missingRole, missing);
        item->setToolTip(missing ? repo.path + QStringLiteral(" (missing)") : repo.path);
    }
    recentStack_->setCurrentWidget(recents_.isEmpty() ? emptyState_ : list_);
}

bool LauncherWindow::isShowingEmptyState() const {
    return recentStack_->currentWidget() == emptyState_;
}

void LauncherWindow::openRecent(const QString& path) {
    registry_->launcher().hide();
    registry_->recordAndOpen(path);
}

void LauncherWindow::removeRecent(const QString& path) {
    registry_->recents().remove(path);
    reloadRecents();
}

void LauncherWindow::openRepoPicker() {
    const auto chosen = registry_->pickDirectory(this);
    if (!chosen) {
        return;
    }
    registry_->recordAndOpen(*chosen);
}

QMenu* LauncherWindow::makeContextMenu(const QString& path, QWidget* parent) {
    auto* menu = new QMenu(parent);
    connect(menu->addAction(QStringLiteral("Open")), &QAction::triggered, this,
            [this, path] { openRecent(path); });
    connect(menu->addAction(QStringLiteral("Remove from Recent")), &QAction::triggered, this,
            [this, path] { removeRecent(path); });
    return menu;
}

void LauncherWindow::showContextMenu(const QPoint& position) {
    const QListWidgetItem* item = list_->itemAt(position);
    if (item == nullptr) {
        return;
    }
    QMenu* menu = makeContextMenu(item->text(), this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->popup(list_->viewport()->mapToGlobal(position));
}

void LauncherWindow::closeEvent(QCloseEvent* event) {
    event->accept();
    emit closeRequested();
}

void LauncherWindow::showEvent(QShowEvent* event) {
    QMainWindow::showEvent(event);
    reloadRecents();
}

void LauncherWindow::onVisibilityChanged(bool isVisible) {
    launchlog::write(QStringLiteral("LauncherView.task(id:) fired isVisible=") +
                     launchlog::flag(isVisible));
    if (isVisible) {
        reloadRecents();
    }
}

}  // namespace vorda
