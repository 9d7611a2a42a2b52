#include "app/update/UpdateDialog.h"

#include <QDialogButtonBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QUrl>
#include <QVBoxLayout>
#include <variant>

#include "app/column/QtText.h"
#include "app/sheets/SheetDialog.h"
#include "app/sheets/SheetLines.h"

namespace vorda {
namespace {

SheetDialog* messageDialog(const QString& title, const QString& text, QWidget* parent) {
    auto* dialog = new SheetDialog(title, QStringLiteral("OK"), parent);
    dialog->hideCancel();
    addTextLine(dialog->body(), text, QStringLiteral("updateMessage"));
    return dialog;
}

SheetDialog* availableDialog(const FeedRelease& release, const QString& currentVersion,
                             PageOpener openPage, QWidget* parent) {
    const QString version = qtText(release.version.text());
    auto* dialog = new SheetDialog(QStringLiteral("Vorda %1 is available").arg(version),
                                   QStringLiteral("Open Download Page"), parent);
    if (auto* buttons = dialog->findChild<QDialogButtonBox*>()) {
        buttons->button(QDialogButtonBox::Cancel)->setText(QStringLiteral("Later"));
    }
    addNoteLine(dialog->body(),
                QStringLiteral("You have version %1. The new version is not downloaded until "
                               "you get it from its download page.")
                    .arg(currentVersion));
    dialog->addSection(QStringLiteral("What\u2019s new"));
    auto* notes = new QPlainTextEdit(dialog);
    notes->setObjectName(QStringLiteral("releaseNotes"));
    notes->setReadOnly(true);
    notes->setPlainText(release.notes.empty() ? QStringLiteral("This release has no notes.")
                                              : qtText(release.notes));
    notes->setMinimumHeight(160);
    dialog->body()->addWidget(notes, 1);
    const QUrl page(qtText(release.url));
    dialog->setOnConfirm([openPage = std::move(openPage), page] {
        if (openPage) {
            openPage(page);
        }
    });
    dialog->resize(520, 400);
    return dialog;
}

}  // namespace

SheetDialog* makeUpdateDialog(const UpdateCheckResult& result, const QString& currentVersion,
                              PageOpener openPage, QWidget* parent) {
    if (const auto* available = std::get_if<UpdateCheckResult::Available>(&result.value)) {
        return availableDialog(available->release, currentVersion, std::move(openPage), parent);
    }
    if (const auto* failed = std::get_if<UpdateCheckResult::Failed>(&result.value)) {
        return messageDialog(QStringLiteral("Could not check for updates"), qtText(failed->message),
                             parent);
    }
    return messageDialog(QStringLiteral("You're up to date"),
                         QStringLiteral("Vorda %1 is the newest version.").arg(currentVersion),
                         parent);
}

}  // namespace vorda
