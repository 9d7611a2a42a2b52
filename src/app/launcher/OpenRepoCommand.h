#pragma once

#include <QAction>

class QWidget;

namespace vorda {

class RepoWindowRegistry;

/// The File menu's "Open Repo…" (Ctrl+O) and the launcher's button of the
/// same name share one flow: a directory picker; on confirmation the chosen
/// path is recorded in the recent list and its window opened. The path is
/// taken as it stands: no repository search happens here, and a folder
/// without a repository shows its error in its own window.
class OpenRepoCommand : public QAction {
    Q_OBJECT

  public:
    /// The picker's parent is `dialogParent` (the window whose menu holds the
    /// action).
    OpenRepoCommand(RepoWindowRegistry& registry, QWidget* dialogParent, QObject* parent = nullptr);

    /// The shared flow: pick, record, open.
    static void run(RepoWindowRegistry& registry, QWidget* dialogParent);
};

}  // namespace vorda
