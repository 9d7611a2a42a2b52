#include "app/viewmodel/DiffApplyHelper.h"

#include <QCoreApplication>
#include <QFileInfo>

namespace vorda {

std::optional<std::string> diffApplyHelperPath() {
    const QString binaryDir = QCoreApplication::applicationDirPath();
    const QString besideBinary = binaryDir + QStringLiteral("/vorda-diff-apply");
    const QString installed = binaryDir + QStringLiteral("/" VORDA_DIFF_APPLY_FROM_BINDIR);
    for (const QString& candidate :
         {besideBinary, installed, QStringLiteral(VORDA_DIFF_APPLY_BUILD_PATH)}) {
        if (const QFileInfo info(candidate); info.isFile() && info.isExecutable()) {
            return candidate.toStdString();
        }
    }
    return std::nullopt;
}

}  // namespace vorda
