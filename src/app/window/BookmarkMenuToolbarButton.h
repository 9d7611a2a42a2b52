#pragma once

#include <QToolButton>
#include <functional>
#include <optional>
#include <string>

class QMenu;

namespace vorda {

/// The toolbar button that opens the selected bookmark's actions. The menu is
/// filled by `fill` each time it opens, so it always reflects the present
/// selection and state.
class BookmarkMenuToolbarButton : public QToolButton {
    Q_OBJECT

  public:
    explicit BookmarkMenuToolbarButton(std::function<void(QMenu*)> fill, QWidget* parent = nullptr);

    /// The selected bookmark's name; absent disables the button.
    void setBookmarkName(const std::optional<std::string>& name);
    QMenu* actionsMenu() const { return menu_; }

  private:
    std::function<void(QMenu*)> fill_;
    QMenu* menu_ = nullptr;
};

}  // namespace vorda
