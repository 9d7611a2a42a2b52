#include "app/column/CommitCardText.h"

#include "app/column/RelativeTime.h"

namespace vorda::cardtext {

QString summary(const JJCommit& commit) {
    const std::string line = commit.summary();
    if (line.empty()) {
        return QStringLiteral("(no description set)");
    }
    return QString::fromStdString(line);
}

QString cardTooltip(const JJCommit& commit) {
    return QStringLiteral("Change ") + QString::fromStdString(commit.changeID) +
           QStringLiteral(" · commit ") + QString::fromStdString(commit.commitID);
}

QString authorLabel(const JJSignature& author) {
    if (author.name.empty()) {
        return QStringLiteral("Unknown author");
    }
    return QString::fromStdString(author.name);
}

QString authorTooltip(const JJSignature& author) {
    if (author.name.empty()) {
        return QStringLiteral("Author unavailable");
    }
    return QString::fromStdString(author.name) + QStringLiteral(" <") +
           QString::fromStdString(author.email) + QStringLiteral(">");
}

QString relativeTimestamp(const JJSignature& signature, std::chrono::sys_seconds now) {
    const auto date = signature.date();
    if (!date) {
        return QString::fromStdString(signature.timestamp);
    }
    return relativeTimeText(*date, now);
}

QString timestampTooltip(const JJSignature& signature) {
    const auto date = signature.date();
    const QString when =
        date ? absoluteTimeText(*date) : QString::fromStdString(signature.timestamp);
    return QStringLiteral("Committed ") + when;
}

}  // namespace vorda::cardtext
