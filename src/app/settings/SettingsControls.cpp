#include "app/settings/SettingsControls.h"

#include <QLineEdit>
#include <QPushButton>

namespace vorda {

void setAvailable(QPushButton* button, bool available, const QString& whyNot) {
    button->setEnabled(available);
    button->setToolTip(available ? QString() : whyNot);
}

void showText(QLineEdit* field, const QString& text) {
    if (field->text() != text) {
        field->setText(text);
    }
}

}  // namespace vorda
