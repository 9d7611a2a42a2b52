#include "app/sheets/OpLogSheet.h"

#include <QDateTime>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

#include "app/sheets/ReceiptSheet.h"
#include "app/viewmodel/RepoViewModel.h"

namespace vorda {
namespace {

QString text(const std::string& value) {
    return QString::fromStdString(value);
}

QString startedText(JournalDate date) {
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(date.time_since_epoch()).count();
    return QDateTime::fromMSecsSinceEpoch(milliseconds)
        .toString(QStringLiteral("yyyy-MM-dd HH:mm"));
}

/// The outcome, and for an update the conflicts it left.
template <typename Plan>
QString outcome(const OperationRecord<Plan>& record, bool countConflicts) {
    QString line = ReceiptView::outcomeText(record.receipt);
    if (countConflicts && record.receipt && !record.receipt->conflictedChangeIDs.empty()) {
        line += QStringLiteral(" · %1 conflicts").arg(record.receipt->conflictedChangeIDs.size());
    }
    return line;
}

QLabel* plainLabel(const QString& value, QWidget* parent) {
    auto* label = new QLabel(value, parent);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    return label;
}

QLabel* headingLabel(const QString& value, QWidget* parent) {
    auto* label = plainLabel(value, parent);
    auto font = label->font();
    font.setBold(true);
    label->setFont(font);
    return label;
}

}  // namespace

OpLogSheet::OpLogSheet(RepoViewModel* viewModel, OperationLogModel& log, QWidget* parent)
    : SheetDialog(QStringLiteral("Operation log"), QStringLiteral("Close"), parent),
      viewModel_(viewModel),
      log_(&log),
      rows_(new QVBoxLayout) {
    hideCancel();
    setMinimumSize(560, 520);
    auto* refresh = new QPushButton(QStringLiteral("Refresh"), this);
    auto* bar = new QHBoxLayout;
    bar->addStretch();
    bar->addWidget(refresh);
    body()->addLayout(bar);

    auto* content = new QWidget;
    // Rows keep their natural height; the area scrolls instead.
    rows_->setSizeConstraint(QLayout::SetMinimumSize);
    rows_->setAlignment(Qt::AlignTop);
    content->setLayout(rows_);
    auto* scroll = new QScrollArea(this);
    scroll->setWidgetResizable(true);
    scroll->setWidget(content);
    body()->addWidget(scroll, 1);

    connect(refresh, &QPushButton::clicked, this, [this] {
        if (viewModel_) {
            viewModel_->loadRecentOps();
        }
    });
    connect(&log, &OperationLogModel::changed, this, &OpLogSheet::rebuild);
    rebuild();
}

void OpLogSheet::rebuild() {
    while (auto* item = rows_->takeAt(0)) {
        delete item->widget();
        delete item;
    }
    const OperationLogModel* model = log_.data();
    if (model == nullptr) {
        return;
    }
    const auto& log = *model;
    auto* content = rows_->parentWidget();
    for (const auto& warning : log.warnings()) {
        rows_->addWidget(plainLabel(text(warning), content));
    }
    const auto section = [&](const QString& title, const auto& records, bool countConflicts) {
        rows_->addWidget(headingLabel(title, content));
        if (records.empty()) {
            rows_->addWidget(plainLabel(QStringLiteral("None"), content));
        }
        for (const auto& record : records) {
            const std::string feature = receiptFeature(record.plan);
            auto* row = new QWidget(content);
            auto* line = new QHBoxLayout(row);
            line->setContentsMargins(0, 0, 0, 0);
            line->addWidget(
                plainLabel((feature.empty() ? QStringLiteral("Local stacks") : text(feature)) +
                               QStringLiteral(" · ") + startedText(record.startedAt) +
                               QStringLiteral(" — ") + outcome(record, countConflicts),
                           row),
                1);
            auto* show = new QPushButton(QStringLiteral("Show Receipt"), row);
            show->setObjectName(QStringLiteral("receipt-") + text(record.id));
            connect(show, &QPushButton::clicked, this, [this, record] {
                if (auto* current = viewModel_.data(); current != nullptr) {
                    (new ReceiptSheet(receiptViewFor(*current, record), this))->open();
                }
            });
            line->addWidget(show);
            rows_->addWidget(row);
        }
    };
    section(QStringLiteral("Coordinated recovery receipts"), log.coordinatedRecoveryRecords(),
            false);
    section(QStringLiteral("Coordinated routing receipts"), log.coordinatedRoutingRecords(), false);
    section(QStringLiteral("Composition attachment receipts"), log.attachmentRecords(), false);
    section(QStringLiteral("Bookmark recovery receipts"), log.recoveryRecords(), false);
    section(QStringLiteral("Feature append receipts"), log.appendRecords(), false);
    section(QStringLiteral("Feature insertion receipts"), log.routingRecords(), false);
    section(QStringLiteral("Local-stack update receipts"), log.updateRecords(), true);

    rows_->addWidget(headingLabel(QStringLiteral("Operations"), content));
    const auto& ops = log.recentOps();
    for (std::size_t index = 0; index < ops.size(); ++index) {
        auto* row = new QWidget(content);
        auto* line = new QHBoxLayout(row);
        line->setContentsMargins(0, 0, 0, 0);
        const auto& op = ops[index];
        QString description =
            op.description.empty() ? QStringLiteral("(no description)") : text(op.description);
        if (index == 0) {
            description += QStringLiteral(" · latest loaded");
        }
        line->addWidget(plainLabel(text(op.shortOpID()) + QStringLiteral("  ") + description, row),
                        1);
        auto* restore = new QPushButton(QStringLiteral("Restore to here"), row);
        restore->setObjectName(QStringLiteral("restore-") + text(op.opID));
        connect(restore, &QPushButton::clicked, this, [this, index] { confirmRestore(index); });
        line->addWidget(restore);
        rows_->addWidget(row);
    }
}

void OpLogSheet::confirmRestore(std::size_t index) {
    const OperationLogModel* log = log_.data();
    if (log == nullptr || index >= log->recentOps().size()) {
        return;
    }
    const auto& ops = log->recentOps();
    const JJOp op = ops[index];
    // The newest operation this log was loaded at: a repository that moved
    // since refuses the restore.
    const std::string expected = ops.front().opID;
    auto* confirm = new SheetDialog(
        QStringLiteral("Restore %1 to %2").arg(text(op.shortOpID()), text(op.startTime)),
        QStringLiteral("Confirm"), this);
    confirm->addParagraph(QStringLiteral(
        "This restores repository state from before every later operation. It does not undo "
        "remote pushes. A detected change to the repository or working copy since this log was "
        "loaded will require fresh confirmation."));
    confirm->makeDestructive();
    confirm->setOnConfirm([model = viewModel_, op, expected] {
        if (model) {
            model->send(RepoCommand::RestoreToOp{op, expected});
        }
    });
    confirm->open();
}

}  // namespace vorda
