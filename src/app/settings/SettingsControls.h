#pragma once

#include <QString>

class QLineEdit;
class QPushButton;

namespace vorda {

/// Enables `button`; a disabled one says why in its tooltip.
void setAvailable(QPushButton* button, bool available, const QString& whyNot);

/// Shows `text` in `field` unless it is there already, so an edit in
/// progress keeps its cursor when the model echoes it back.
void showText(QLineEdit* field, const QString& text);

}  // namespace vorda
