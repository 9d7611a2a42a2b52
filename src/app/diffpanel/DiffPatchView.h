#pragma once

#include <QWidget>
#include <string>

namespace vorda {

/// What draws a patch inside the diff column: the web panel when the
/// program was built with Qt WebEngine, else plain text.
class DiffPatchView : public QWidget {
    Q_OBJECT

  public:
    using QWidget::QWidget;

    /// Shows `patch`, the text of `jj diff --git`.
    virtual void showPatch(const std::string& patch) = 0;

    /// A new view of the best kind this build has.
    static DiffPatchView* make(QWidget* parent);
};

/// The plain text view: the patch as it is, in a fixed-width font.
class PlainDiffView : public DiffPatchView {
    Q_OBJECT

  public:
    explicit PlainDiffView(QWidget* parent = nullptr);

    void showPatch(const std::string& patch) override;
};

}  // namespace vorda
