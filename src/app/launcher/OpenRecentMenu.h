#pragma once

#include <QMenu>

namespace vorda {

class RepoWindowRegistry;

/// The File menu's "Open Recent" submenu, rebuilt from the recent list each
/// time it is about to show: one entry per path (which records it again and
/// opens its window), a divider and "Clear Menu" (which empties the list);
/// with no entries, the disabled text "No Recent Repos".
class OpenRecentMenu : public QMenu {
    Q_OBJECT

  public:
    explicit OpenRecentMenu(RepoWindowRegistry& registry, QWidget* parent = nullptr);

    /// Reads the recent list and replaces the entries.
    void rebuild();

  private:
    RepoWindowRegistry* registry_;
};

}  // namespace vorda
