#include "app/start/CommandLineArguments.h"

namespace vorda {

QList<CommandLineOpen> CommandLineArguments::parse(const QStringList& arguments) {
    QList<CommandLineOpen> opens;
    const QString repoPrefix = QStringLiteral("--repo=");
    for (qsizetype index = 1; index < arguments.size(); ++index) {
        const QString& argument = arguments.at(index);
        if (argument == QLatin1String("--repo") || argument == QLatin1String("-R")) {
            if (index + 1 < arguments.size()) {
                ++index;
                opens.append({CommandLineOpen::Kind::path, arguments.at(index)});
            }
            continue;
        }
        if (argument.startsWith(repoPrefix)) {
            opens.append({CommandLineOpen::Kind::path, argument.mid(repoPrefix.size())});
            continue;
        }
        if (argument == QLatin1String("--")) {
            for (++index; index < arguments.size(); ++index) {
                opens.append({CommandLineOpen::Kind::path, arguments.at(index)});
            }
            break;
        }
        if (argument.startsWith(QLatin1Char('-'))) {
            continue;
        }
        const auto kind =
            isAddress(argument) ? CommandLineOpen::Kind::address : CommandLineOpen::Kind::path;
        opens.append({kind, argument});
    }
    return opens;
}

bool CommandLineArguments::isAddress(const QString& argument) {
    return argument.startsWith(QLatin1String("vorda:"), Qt::CaseInsensitive) ||
           argument.startsWith(QLatin1String("file:"), Qt::CaseInsensitive);
}

}  // namespace vorda
