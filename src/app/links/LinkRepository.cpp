#include "app/links/LinkRepository.h"

#include <QVariant>
#include <QWidget>

namespace vorda {

QString linkRepository(const QWidget* widget) {
    for (const QWidget* each = widget; each != nullptr; each = each->parentWidget()) {
        const QVariant value = each->property(linkRepositoryProperty);
        if (value.isValid()) {
            return value.toString();
        }
    }
    return {};
}

}  // namespace vorda
