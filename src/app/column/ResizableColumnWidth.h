#pragma once

#include <optional>

namespace vorda {

/// The width of a resizable column while its trailing handle is dragged:
/// the width at the start of the drag plus the pointer's horizontal travel,
/// held between the limits.
///
/// ```
/// ResizableColumnWidth width{.width = 260, .minWidth = 200, .maxWidth = 1000};
/// width.beginDrag();
/// width.dragTo(-120);  // width == 200
/// width.endDrag();
/// ```
struct ResizableColumnWidth {
    double width = 260;
    /// The width when the current drag began; absent between drags.
    std::optional<double> dragStartWidth;
    double minWidth = 200;
    double maxWidth = 1000;
    /// The width of the handle on the trailing edge.
    double gutterWidth = 6;

    /// `value` held between the limits.
    double clamped(double value) const;
    /// Remembers the current width as the start of a drag.
    void beginDrag();
    /// Sets the width for a pointer that has travelled `translation` since
    /// the drag began (a drag that was not begun starts here).
    void dragTo(double translation);
    /// Ends the drag; the width stays.
    void endDrag();
    bool isDragging() const { return dragStartWidth.has_value(); }

    bool operator==(const ResizableColumnWidth&) const = default;
};

}  // namespace vorda
