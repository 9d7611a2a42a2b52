#include "app/viewmodel/DiffApplyHelper.h"

#include <QCoreApplication>
#include <QFileInfo>

namespace vorda {

std::optional<std::string> diffApplyHelperPath() {
    const QString besideBinary =
        QCoreApplication::applicationDirPath() + QStringLiteral("/vorda-diff-apply");
    for (const QString& candidate : {besideBinary, QStringLiteral(VORDA_DIFF_APPLY_BUILD_PATH)}) {
        if (const QFileInfo info(candidate); info.isFile() && info.isExecutable()) {
            return candidate.toStdString();
        }
    }
    return std::nullopt;
}

}  // namespace vorda
