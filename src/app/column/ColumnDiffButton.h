#pragma once

#include <QPushButton>

namespace vorda {

/// A lane's own diff toggle: "Show Diff" opens the diff column beside this
/// column (selecting the column first), "Hide Diff" closes it. The button
/// only says which; the board does it.
class ColumnDiffButton : public QPushButton {
  public:
    explicit ColumnDiffButton(QWidget* parent = nullptr);

    /// Whether the diff column stands beside this column now.
    void setDiffShown(bool shown);
};

}  // namespace vorda
