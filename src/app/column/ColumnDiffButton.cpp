#include "app/column/ColumnDiffButton.h"

#include "app/column/ColumnText.h"
#include "app/column/QtText.h"

namespace vorda {

ColumnDiffButton::ColumnDiffButton(QWidget* parent) : QPushButton(parent) {
    setObjectName(QStringLiteral("columnDiffButton"));
    setFlat(true);
    setDiffShown(false);
}

void ColumnDiffButton::setDiffShown(bool shown) {
    setText(qtText(shown ? columntext::hideDiffLabel : columntext::showDiffLabel));
    setToolTip(qtText(shown ? columntext::hideDiffTooltip : columntext::showDiffTooltip));
}

}  // namespace vorda
