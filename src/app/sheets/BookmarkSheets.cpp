#include "app/sheets/BookmarkSheets.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>

#include "app/column/ColumnWidthStore.h"
#include "app/viewmodel/CommandPresentation.h"
#include "app/viewmodel/RepoViewModel.h"
#include "app/window/CreateBookmarkDialog.h"
#include "jjkit/support/Text.h"
#include "jjkit/templates/RevsetQuoting.h"

namespace vorda {
namespace {

QString qText(const std::string& text) {
    return QString::fromStdString(text);
}

std::string trimmed(const QString& text) {
    return std::string(text::trimWhitespace(text.toStdString()));
}

/// Sends `command` built at confirmation, if the window is still there.
template <typename Build>
std::function<void()> commandSender(RepoViewModel& viewModel, Build build) {
    return [model = QPointer<RepoViewModel>(&viewModel), build = std::move(build)] {
        if (model) {
            model->send(build());
        }
    };
}

}  // namespace

RenameBookmarkSheet::RenameBookmarkSheet(RepoViewModel& viewModel, const std::string& name,
                                         QWidget* parent)
    : SheetDialog(qText("Rename " + name), QStringLiteral("Rename"), parent),
      name_(new QLineEdit(qText(name), this)) {
    setObjectName(QStringLiteral("rename-sheet"));
    addSection(QStringLiteral("New name"));
    body()->addWidget(name_);
    name_->selectAll();
    const auto update = [this, name] {
        const auto next = trimmed(name_->text());
        confirmButton()->setEnabled(!next.empty() && next != name);
    };
    connect(name_, &QLineEdit::textChanged, this, update);
    update();
    setOnConfirm([this, model = QPointer<RepoViewModel>(&viewModel), name] {
        if (!model) {
            return;
        }
        renameBookmark(*model, name, trimmed(name_->text()));
    });
}

void renameBookmark(RepoViewModel& viewModel, const std::string& name, const std::string& next) {
    viewModel.send(RepoCommand::RenameBookmark{name, next},
                   [model = QPointer<RepoViewModel>(&viewModel), name, next] {
                       auto* current = model.data();
                       const auto* state =
                           current != nullptr ? current->board().repoState() : nullptr;
                       if (state != nullptr && state->bookmarks.contains(next) &&
                           !state->bookmarks.contains(name)) {
                           columnwidths::moveWidth(columnwidths::key(ColumnID::bookmark(name)),
                                                   columnwidths::key(ColumnID::bookmark(next)));
                       }
                   });
}

AddTagSheet::AddTagSheet(RepoViewModel& viewModel, const std::string& name,
                         const std::vector<std::string>& currentTags, QWidget* parent)
    : SheetDialog(qText("Add tag to " + name), QStringLiteral("Add"), parent),
      tag_(new QLineEdit(this)) {
    setObjectName(QStringLiteral("add-tag-sheet"));
    addSection(QStringLiteral("Tag name"));
    body()->addWidget(tag_);
    addSection(QStringLiteral("Current tags"));
    addParagraph(currentTags.empty() ? QStringLiteral("none")
                                     : qText(text::join(currentTags, "  ·  ")));
    const auto update = [this, currentTags] {
        const auto tag = trimmed(tag_->text());
        confirmButton()->setEnabled(!tag.empty() &&
                                    std::find(currentTags.begin(), currentTags.end(), tag) ==
                                        currentTags.end());
    };
    connect(tag_, &QLineEdit::textChanged, this, update);
    update();
    // Toggling a tag the bookmark does not have adds it.
    setOnConfirm(commandSender(viewModel, [this, name] {
        return RepoCommand{RepoCommand::ToggleTag{trimmed(tag_->text()), name}};
    }));
}

CreatePRSheet::CreatePRSheet(RepoViewModel& viewModel, const Bookmark& bookmark, QWidget* parent)
    : SheetDialog(qText("New PR from " + bookmark.name), QStringLiteral("Create"), parent),
      title_(new QLineEdit(this)),
      base_(new QLineEdit(QStringLiteral("main"), this)),
      body_(new QPlainTextEdit(this)),
      draft_(new QCheckBox(QStringLiteral("Draft PR"), this)) {
    setObjectName(QStringLiteral("create-pr-sheet"));
    if (const auto* state = viewModel.board().repoState()) {
        title_->setText(qText(defaultPRTitle(bookmark, *state)));
    }
    addSection(QStringLiteral("Title:"));
    body()->addWidget(title_);
    addSection(QStringLiteral("Base:"));
    body()->addWidget(base_);
    addSection(QStringLiteral("Body"));
    body()->addWidget(body_);
    body()->addWidget(draft_);
    const auto update = [this] {
        confirmButton()->setEnabled(!trimmed(title_->text()).empty() &&
                                    !trimmed(base_->text()).empty());
    };
    connect(title_, &QLineEdit::textChanged, this, update);
    connect(base_, &QLineEdit::textChanged, this, update);
    update();
    setOnConfirm(commandSender(viewModel, [this, bookmark] {
        return RepoCommand{RepoCommand::CreatePullRequest{
            bookmark, trimmed(title_->text()), body_->toPlainText().toStdString(),
            trimmed(base_->text()), draft_->isChecked()}};
    }));
}

std::string CreatePRSheet::defaultPRTitle(const Bookmark& bookmark, const RepoState& state) {
    if (!bookmark.commitIDs.empty()) {
        if (const auto tip = state.commits.find(bookmark.commitIDs.front());
            tip != state.commits.end()) {
            if (auto summary = text::firstNonBlankLine(tip->second->description);
                !summary.empty()) {
                return summary;
            }
        }
    }
    return bookmark.name;
}

PromoteOneOffSheet::PromoteOneOffSheet(RepoViewModel& viewModel, const OrphanWIP& tip,
                                       QWidget* parent)
    : SheetDialog(QStringLiteral("Name one-off branch"), QStringLiteral("Create Bookmark"), parent),
      name_(new QLineEdit(this)) {
    setObjectName(QStringLiteral("promote-one-off-sheet"));
    const auto summary = text::firstNonBlankLine(tip.description);
    addParagraph(summary.empty() ? QStringLiteral("(no description set)") : qText(summary));
    addSection(QStringLiteral("Bookmark name"));
    body()->addWidget(name_);
    auto* problem = addParagraph({});
    const auto update = [this, problem, model = QPointer<RepoViewModel>(&viewModel)] {
        const auto* current = model.data();
        const auto* state = current != nullptr ? current->board().repoState() : nullptr;
        const auto name = name_->text().toStdString();
        const auto refusal = CreateBookmarkDialog::nameProblem(name, state);
        problem->setText(qText(refusal.value_or("")));
        problem->setVisible(refusal.has_value());
        confirmButton()->setEnabled(CreateBookmarkDialog::canCreate(name, state));
    };
    connect(name_, &QLineEdit::textChanged, this, update);
    update();
    setOnConfirm(commandSender(viewModel, [this, commitID = tip.commitID] {
        CreateBookmarkInput input;
        input.name = trimmed(name_->text());
        input.startingPoint.value =
            BookmarkStartingPoint::SpecificRevision{"commit_id(" + commitID + ")"};
        return RepoCommand{RepoCommand::CreateBookmark{std::move(input)}};
    }));
}

RebaseBookmarkSheet::RebaseBookmarkSheet(RepoViewModel& viewModel, const Bookmark& bookmark,
                                         QWidget* parent)
    : SheetDialog(qText("Rebase " + bookmark.name), QStringLiteral("Rebase"), parent),
      parents_(new QListWidget(this)) {
    setObjectName(QStringLiteral("rebase-sheet"));
    addParagraph(qText("Move " + bookmark.name + "'s commits onto a new parent."));
    addSection(QStringLiteral("NEW PARENT"));
    auto* trunk = new QListWidgetItem(QStringLiteral("trunk()  —  current"), parents_);
    trunk->setData(Qt::UserRole, QStringLiteral("trunk()"));
    const auto& board = viewModel.board();
    const auto trunkName = board.trunkBookmarkName();
    for (const auto& other : board.mutableBookmarks()) {
        if (other.name != bookmark.name && other.name != trunkName) {
            auto* item = new QListWidgetItem(qText(other.name), parents_);
            item->setData(Qt::UserRole, qText(bookmarkSetRevset(other.name)));
        }
    }
    parents_->setCurrentRow(0);
    body()->addWidget(parents_);
    addSection(QStringLiteral("PREVIEW"));
    addParagraph(qText(countedWord(bookmark.commitIDs.size(), "commit") + " will be rebased"));
    const auto* state = board.repoState();
    const auto stacked =
        state != nullptr ? children(bookmark.name, *state) : std::vector<std::string>{};
    addParagraph(qText(bookmark.name + "'s children: " +
                       (stacked.empty() ? std::string("none") : text::join(stacked, ", "))));
    setOnConfirm(commandSender(viewModel, [this, name = bookmark.name] {
        const auto* current = parents_->currentItem();
        const std::string destination =
            current != nullptr ? current->data(Qt::UserRole).toString().toStdString() : "trunk()";
        return RepoCommand{RepoCommand::RebaseBookmark{name, destination}};
    }));
}

std::vector<std::string> RebaseBookmarkSheet::children(const std::string& name,
                                                       const RepoState& state) {
    std::vector<std::string> names;
    for (const auto& [other, bookmark] : state.bookmarks) {
        if (std::find(bookmark.parentBookmarks.begin(), bookmark.parentBookmarks.end(), name) !=
            bookmark.parentBookmarks.end()) {
            names.push_back(other);
        }
    }
    return names;
}

}  // namespace vorda
