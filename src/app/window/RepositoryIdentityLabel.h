#pragma once

#include <QLabel>
#include <optional>
#include <string>

class QAction;

namespace vorda {

/// The repository's folder name at the head of the toolbar, with the full
/// path as tooltip and a context action "Copy repository path".
class RepositoryIdentityLabel : public QLabel {
    Q_OBJECT

  public:
    explicit RepositoryIdentityLabel(QWidget* parent = nullptr);

    /// The repository root; absent while none is known.
    void setRepositoryPath(const std::optional<std::string>& path);
    const std::optional<std::string>& repositoryPath() const { return path_; }
    QAction* copyPathAction() const { return copyPath_; }

    /// The last component of `path`, ignoring a trailing separator.
    static std::string repositoryName(const std::string& path);

  private:
    std::optional<std::string> path_;
    QAction* copyPath_ = nullptr;
};

}  // namespace vorda
