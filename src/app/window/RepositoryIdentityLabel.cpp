#include "app/window/RepositoryIdentityLabel.h"

#include <QAction>
#include <QClipboard>
#include <QGuiApplication>
#include <filesystem>

namespace vorda {

RepositoryIdentityLabel::RepositoryIdentityLabel(QWidget* parent)
    : QLabel(parent), copyPath_(new QAction(QStringLiteral("Copy repository path"), this)) {
    setTextFormat(Qt::PlainText);
    setContextMenuPolicy(Qt::ActionsContextMenu);
    addAction(copyPath_);
    copyPath_->setEnabled(false);
    connect(copyPath_, &QAction::triggered, this, [this] {
        if (path_) {
            QGuiApplication::clipboard()->setText(QString::fromStdString(*path_));
        }
    });
}

void RepositoryIdentityLabel::setRepositoryPath(const std::optional<std::string>& path) {
    path_ = path;
    setText(path_ ? QString::fromStdString(repositoryName(*path_)) : QString());
    setToolTip(path_ ? QString::fromStdString(*path_) : QString());
    copyPath_->setEnabled(path_.has_value());
}

std::string RepositoryIdentityLabel::repositoryName(const std::string& path) {
    auto folder = std::filesystem::path(path);
    if (!folder.has_filename()) {
        folder = folder.parent_path();
    }
    const auto name = folder.filename().string();
    return name.empty() ? path : name;
}

}  // namespace vorda
