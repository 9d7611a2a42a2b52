#include "app/window/CreateBookmarkDialog.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

#include "app/sheets/HunkChoiceTree.h"
#include "app/viewmodel/RepoViewModel.h"
#include "jjkit/support/Text.h"
#include "jjkit/templates/RevsetQuoting.h"

namespace vorda {
namespace {

QLabel* sectionLabel(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    auto font = label->font();
    font.setBold(true);
    label->setFont(font);
    return label;
}

}  // namespace

CreateBookmarkDialog::CreateBookmarkDialog(RepoViewModel* viewModel, QWidget* parent)
    : QDialog(parent), viewModel_(viewModel) {
    setWindowTitle(QStringLiteral("New bookmark"));
    setMinimumWidth(440);
    auto* layout = new QVBoxLayout(this);

    layout->addWidget(sectionLabel(QStringLiteral("NAME"), this));
    name_ = new QLineEdit(this);
    name_->setPlaceholderText(QStringLiteral("feat/mobile-nav"));
    layout->addWidget(name_);
    nameError_ = new QLabel(this);
    nameError_->setTextFormat(Qt::PlainText);
    nameError_->setStyleSheet(QStringLiteral("color: #c0392b;"));
    layout->addWidget(nameError_);
    layout->addWidget(sectionLabel(QStringLiteral("PARENT BOOKMARK"), this));
    parent_ = new QComboBox(this);
    parent_->addItem(QStringLiteral("trunk()"));
    if (const auto* model = viewModel_.data()) {
        const auto trunk = model->board().trunkBookmarkName();
        for (const auto& bookmark : model->board().mutableBookmarks()) {
            if (bookmark.name != trunk) {
                const auto name = QString::fromStdString(bookmark.name);
                parent_->addItem(name, name);
            }
        }
    }
    layout->addWidget(parent_);

    layout->addWidget(sectionLabel(QStringLiteral("STARTING POINT"), this));
    startingPoints_ = new QButtonGroup(this);
    workingCopy_ = new QRadioButton(QStringLiteral("Current working copy"), this);
    tipOfParent_ = new QRadioButton(QStringLiteral("Tip of parent"), this);
    specificRevision_ = new QRadioButton(QStringLiteral("Revision"), this);
    carve_ = new QRadioButton(QStringLiteral("Carve hunks from the working copy"), this);
    carve_->setEnabled(false);
    carve_->setToolTip(QStringLiteral("Reading the working copy…"));
    startingPoints_->addButton(carve_, static_cast<int>(StartingPoint::workingCopyCarveHunks));
    startingPoints_->addButton(workingCopy_, static_cast<int>(StartingPoint::workingCopy));
    startingPoints_->addButton(tipOfParent_, static_cast<int>(StartingPoint::tipOfParent));
    startingPoints_->addButton(specificRevision_,
                               static_cast<int>(StartingPoint::specificRevision));
    workingCopy_->setChecked(true);
    layout->addWidget(workingCopy_);
    layout->addWidget(carve_);
    carveArea_ = new QWidget(this);
    carveArea_->setLayout(new QVBoxLayout);
    carveArea_->layout()->setContentsMargins(24, 0, 0, 0);
    carveArea_->hide();
    layout->addWidget(carveArea_);
    layout->addWidget(tipOfParent_);
    layout->addWidget(specificRevision_);
    revision_ = new QLineEdit(this);
    revision_->setPlaceholderText(QStringLiteral("@-"));
    layout->addWidget(revision_);
    detail_ = new QLabel(this);
    detail_->setTextFormat(Qt::PlainText);
    detail_->setWordWrap(true);
    layout->addWidget(detail_);

    layout->addWidget(sectionLabel(QStringLiteral("OPTIONS"), this));
    enableAfterCreating_ = new QCheckBox(QStringLiteral("Enable after creating"), this);
    layout->addWidget(enableAfterCreating_);
    trackUpstream_ = new QCheckBox(this);
    layout->addWidget(trackUpstream_);

    auto* buttons = new QDialogButtonBox(this);
    buttons->addButton(QDialogButtonBox::Cancel);
    create_ = buttons->addButton(QStringLiteral("Create"), QDialogButtonBox::AcceptRole);
    create_->setDefault(true);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &CreateBookmarkDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &CreateBookmarkDialog::reject);

    if (auto* model = viewModel_.data()) {
        model->loadCommitDiff("@", [guard = QPointer<CreateBookmarkDialog>(this)](
                                       const std::optional<UnifiedDiff>& diff) {
            if (guard) {
                guard->showWorkingCopyDiff(diff);
            }
        });
    }
    connect(name_, &QLineEdit::textChanged, this, &CreateBookmarkDialog::updateState);
    connect(revision_, &QLineEdit::textChanged, this, &CreateBookmarkDialog::updateState);
    connect(parent_, &QComboBox::currentIndexChanged, this, &CreateBookmarkDialog::updateState);
    connect(startingPoints_, &QButtonGroup::idToggled, this, &CreateBookmarkDialog::updateState);
    updateState();
}

CreateBookmarkInput CreateBookmarkDialog::buildInput(const Fields& fields,
                                                     const std::string& helperPath) {
    CreateBookmarkInput input;
    input.name = std::string(text::trimWhitespace(fields.name));
    // jj reads the parent as a revision: an unusual name goes quoted.
    if (fields.parentBookmark) {
        input.parent = nameArgument(*fields.parentBookmark);
    }
    switch (fields.startingPoint) {
        case StartingPoint::workingCopy:
            input.startingPoint.value = BookmarkStartingPoint::WorkingCopy{};
            break;
        case StartingPoint::tipOfParent:
            input.startingPoint.value = BookmarkStartingPoint::TipOfParent{};
            break;
        case StartingPoint::specificRevision:
            input.startingPoint.value = BookmarkStartingPoint::SpecificRevision{
                std::string(text::trimWhitespace(fields.revision))};
            break;
        case StartingPoint::workingCopyCarveHunks:
            input.startingPoint.value =
                BookmarkStartingPoint::WorkingCopyCarveHunks{fields.carve, helperPath};
            break;
    }
    input.enableAfterCreating = fields.enableAfterCreating;
    input.trackUpstream = fields.trackUpstream;
    return input;
}

std::optional<std::string> CreateBookmarkDialog::nameProblem(const std::string& name,
                                                             const RepoState* state) {
    const std::string trimmedName(text::trimWhitespace(name));
    if (trimmedName.empty() || !state || !state->bookmarks.contains(trimmedName)) {
        return std::nullopt;
    }
    return "A bookmark named " + trimmedName + " already exists";
}

std::string CreateBookmarkDialog::trackUpstreamLabel(const std::string& name) {
    const std::string trimmedName(text::trimWhitespace(name));
    return "Track upstream origin/" + (trimmedName.empty() ? std::string("<name>") : trimmedName);
}

bool CreateBookmarkDialog::canCreate(const std::string& name, const RepoState* state) {
    return !text::trimWhitespace(name).empty() && !nameProblem(name, state);
}

std::string CreateBookmarkDialog::carveCounts(std::size_t into, std::size_t stay) {
    return std::to_string(into) + " into bookmark · " + std::to_string(stay) + " stay in @";
}

std::string CreateBookmarkDialog::startingPointDetail(
    StartingPoint startingPoint, const std::optional<std::string>& parentBookmark) {
    switch (startingPoint) {
        case StartingPoint::workingCopy:
            return "Anchor the bookmark at your current @ commit. Uncommitted files stay in @ — "
                   "nothing moves.";
        case StartingPoint::tipOfParent:
            if (!parentBookmark) {
                return "Seed a new empty commit on trunk()";
            }
            return "Just label " + *parentBookmark + "'s tip";
        case StartingPoint::specificRevision:
            return "Label the revision you type; blank means @.";
        case StartingPoint::workingCopyCarveHunks:
            return "Checked hunks become the bookmark's first commit, under @; the rest stay in "
                   "@.";
    }
    return {};
}

CreateBookmarkDialog::Fields CreateBookmarkDialog::fields() const {
    Fields fields;
    fields.name = name_->text().toStdString();
    fields.startingPoint = static_cast<StartingPoint>(startingPoints_->checkedId());
    const auto parent = parent_->currentData().toString();
    if (!parent.isEmpty()) {
        fields.parentBookmark = parent.toStdString();
    }
    fields.revision = revision_->text().toStdString();
    if (carveHunks_ != nullptr) {
        fields.carve = carveHunks_->checkedHunks();
    }
    fields.enableAfterCreating = enableAfterCreating_->isChecked();
    fields.trackUpstream = trackUpstream_->isChecked();
    return fields;
}

void CreateBookmarkDialog::setParentBookmark(const std::optional<std::string>& name) {
    const auto index = name ? parent_->findData(QString::fromStdString(*name)) : -1;
    parent_->setCurrentIndex(index < 0 ? 0 : index);
}

void CreateBookmarkDialog::accept() {
    const auto current = fields();
    auto* model = viewModel_.data();
    const auto* state = model ? model->board().repoState() : nullptr;
    if (!canCreate(current.name, state) || !create_->isEnabled()) {
        return;
    }
    if (model) {
        if (current.startingPoint != StartingPoint::workingCopyCarveHunks) {
            model->send(RepoCommand::CreateBookmark{buildInput(current)});
        } else if (const auto helper = model->requireDiffApplyHelper()) {
            model->send(RepoCommand::CreateBookmark{buildInput(current, *helper)});
        }
    }
    QDialog::accept();
}

void CreateBookmarkDialog::showWorkingCopyDiff(const std::optional<UnifiedDiff>& diff) {
    if (!diff || diff->files.empty()) {
        carve_->setToolTip(diff ? QStringLiteral("The working copy has no changes to carve")
                                : QStringLiteral("The working copy's changes could not be read"));
        return;
    }
    carveHunks_ = new HunkChoiceTree(*diff, false, carveArea_);
    carveHunks_->setMinimumHeight(180);
    carveCounts_ = new QLabel(carveArea_);
    carveArea_->layout()->addWidget(carveHunks_);
    carveArea_->layout()->addWidget(carveCounts_);
    connect(carveHunks_, &HunkChoiceTree::choiceChanged, this, &CreateBookmarkDialog::updateState);
    carve_->setEnabled(true);
    carve_->setToolTip({});
    updateState();
}

void CreateBookmarkDialog::updateState() {
    const auto current = fields();
    const auto* model = viewModel_.data();
    const auto* state = model ? model->board().repoState() : nullptr;
    const auto problem = nameProblem(current.name, state);
    nameError_->setText(QString::fromStdString(problem.value_or("")));
    nameError_->setVisible(problem.has_value());
    trackUpstream_->setText(QString::fromStdString(trackUpstreamLabel(current.name)));
    const bool carving = current.startingPoint == StartingPoint::workingCopyCarveHunks;
    std::size_t carved = 0;
    if (carveHunks_ != nullptr) {
        const auto counts = carveHunks_->counts();
        carved = counts.checked;
        carveCounts_->setText(
            QString::fromStdString(carveCounts(counts.checked, counts.unchecked)));
    }
    carveArea_->setVisible(carving);
    create_->setEnabled(canCreate(current.name, state) && (!carving || carved > 0));
    revision_->setEnabled(current.startingPoint == StartingPoint::specificRevision);
    detail_->setText(
        QString::fromStdString(startingPointDetail(current.startingPoint, current.parentBookmark)));
}

}  // namespace vorda
