#include "app/column/ResizableColumnWidth.h"

#include <algorithm>

namespace vorda {

double ResizableColumnWidth::clamped(double value) const {
    return std::clamp(value, minWidth, std::max(minWidth, maxWidth));
}

void ResizableColumnWidth::beginDrag() {
    dragStartWidth = width;
}

void ResizableColumnWidth::dragTo(double translation) {
    if (!dragStartWidth) {
        beginDrag();
    }
    width = clamped(*dragStartWidth + translation);
}

void ResizableColumnWidth::endDrag() {
    dragStartWidth.reset();
}

}  // namespace vorda
