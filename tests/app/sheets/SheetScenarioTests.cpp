// Each sheet opened from its gesture in a real window on a real repository,
// filled and confirmed, with the outcome read back from jj (and from the
// scripted gh for pull requests). Each sheet's picture is saved under the
// build folder's test-output/screenshots.
#include <QApplication>
#include <QCheckBox>
#include <QContextMenuEvent>
#include <QDesktopServices>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>
#include <QUrl>
#include <functional>

#include <gtest/gtest.h>

#include "MenuText.h"
#include "SheetWindowTest.h"
#include "app/board/ContentView.h"
#include "app/board/SelectionStore.h"
#include "app/column/BookmarkColumn.h"
#include "app/sheets/BookmarkSheets.h"
#include "app/sheets/CommitSheets.h"
#include "app/sheets/ForcePushWarningSheet.h"
#include "app/sheets/OpLogSheet.h"
#include "app/sheets/RebaseConflictReviewSheet.h"
#include "app/viewmodel/RepoViewModel.h"
#include "app/window/BookmarkActionMenuItems.h"
#include "app/window/BookmarkMenuToolbarButton.h"
#include "app/window/CreateBookmarkDialog.h"
#include "app/window/PushToolbarButton.h"
#include "app/window/RepoActivityStatusView.h"
#include "app/window/RepoCommandTarget.h"
#include "app/window/RepoMenuCommands.h"
#include "app/window/RepoToolbar.h"
#include "app/window/RepoWindow.h"
#include "jjkit/rewrites/OperationJournal.h"
#include "support/RepoPicture.h"
#include "support/ScriptedGh.h"
#include "support/TestRepo.h"

namespace vorda {

/// Takes the addresses the application asks the desktop to open.
class OpenedURLs : public QObject {
    Q_OBJECT

  public:
    std::vector<std::string> urls;

  public Q_SLOTS:
    void open(const QUrl& url) { urls.push_back(url.toString().toStdString()); }
};

namespace {

using testing::contains;
using testing::enabled;
using testing::settles;

class SheetScenario : public testing::SheetWindowTest {
  protected:
    void SetUp() override {
        QDesktopServices::setUrlHandler(QStringLiteral("https"), &opened_, "open");
    }

    void TearDown() override {
        QDesktopServices::unsetUrlHandler(QStringLiteral("https"));
        SheetWindowTest::TearDown();
    }

    OpenedURLs opened_;
};

TEST_F(SheetScenario, ForcePushOverADivergedRemoteAfterTheWarning) {
    repo_.draw(testing::publishedTrunk);
    repo_.draw(R"(
      F <- T "feature" f.txt=1 [feat]
      push feat
    )");
    // The remote moves on from another clone while the pushed commit is
    // rewritten here: two commits on each side.
    repo_.advanceOrigin("feat", "remote work", {{"r.txt", "remote\n"}});
    repo_.fetch();
    repo_.jj({"describe", "-r", repo_.id("F"), "-m", "feature, reworded here"});
    const std::string local = repo_.commitID("feat");
    ASSERT_NE(repo_.commitID("feat@origin"), local);
    ASSERT_NO_FATAL_FAILURE(openWindow());

    ASSERT_NO_FATAL_FAILURE(pinAndSelect("feat"));
    auto* push = window_->toolbar()->pushButton();
    ASSERT_TRUE(push->isEnabled());
    QTest::mouseClick(push, Qt::LeftButton);
    auto* sheet = openedSheet<ForcePushWarningSheet>();
    ASSERT_NE(sheet, nullptr);
    auto* message = sheet->findChild<QLabel*>(QStringLiteral("force-push-message"));
    ASSERT_NE(message, nullptr);
    EXPECT_EQ(message->text().toStdString(),
              "Remote and local have diverged: 2 commits ahead, 2 commits behind. Force pushing "
              "will overwrite the 2 remote commits with your local version.");
    EXPECT_EQ(sheet->confirmButton()->text(), QStringLiteral("Force Push"));
    // Nothing was pushed before the warning was answered.
    EXPECT_NE(testing::runChecked({"git", "-C", repo_.originPath(), "rev-parse", "feat"}),
              local + "\n");
    saveAndConfirm(sheet, "sheet-force-push");

    ASSERT_TRUE(settles([&] { return viewModel().activity().pushInFlight().empty(); }));
    ASSERT_FALSE(viewModel().activity().pushError().has_value())
        << *viewModel().activity().pushError();
    EXPECT_EQ(testing::runChecked({"git", "-C", repo_.originPath(), "rev-parse", "feat"}),
              local + "\n");
    EXPECT_EQ(repo_.commitID("feat@origin"), local);
    EXPECT_FALSE(viewModel().sheets().forcePushConfirmation().has_value());
}

TEST_F(SheetScenario, EachSheetChangesTheRepositoryAsItSays) {
    repo_.draw(testing::publishedTrunk);
    repo_.draw(R"(
      P <- T "split base" one.txt="1\n2\n3\n4\n5\n6\n7\n8\n9\n10\n11\n12\n"
      S <- P "to split" one.txt="1 changed\n2\n3\n4\n5\n6\n7\n8\n9\n10\n11\n12 changed\n" two.txt=2
      A <- T "alpha work" a.txt=1 [alpha]
      B <- T "beta work" b.txt=1 [beta]
    )");
    ASSERT_NO_FATAL_FAILURE(openWindow());
    ASSERT_TRUE(settles([&] { return board().githubAvailable(); }));

    // Rename, from the toolbar's bookmark menu.
    ASSERT_NO_FATAL_FAILURE(pinAndSelect("alpha"));
    auto* menu = window_->toolbar()->bookmarkMenuButton()->actionsMenu();
    Q_EMIT menu->aboutToShow();
    auto* renameEntry = apptest::findEntry(*menu, QStringLiteral("Rename Bookmark"));
    ASSERT_NE(renameEntry, nullptr);
    renameEntry->trigger();
    auto* rename = openedSheet<RenameBookmarkSheet>();
    ASSERT_NE(rename, nullptr);
    EXPECT_EQ(rename->nameField()->text(), QStringLiteral("alpha"));
    EXPECT_FALSE(rename->confirmButton()->isEnabled());
    rename->nameField()->setText(QStringLiteral("  alpha-renamed "));
    saveAndConfirm(rename, "sheet-rename");
    ASSERT_NO_FATAL_FAILURE(settled());
    ASSERT_TRUE(settles([&] { return board().repoState()->bookmarks.contains("alpha-renamed"); }));
    const auto listed = repo_.jj({"bookmark", "list"});
    EXPECT_NE(listed.find("alpha-renamed: "), std::string::npos) << listed;
    EXPECT_EQ(listed.find("alpha: "), std::string::npos) << listed;
    EXPECT_EQ(repo_.bookmarkTarget("alpha-renamed"), "A");

    // Add a tag.
    window_->contentView()->handleBookmarkAction({BookmarkAction::AddTag{}}, bookmark("beta"));
    auto* tag = openedSheet<AddTagSheet>();
    ASSERT_NE(tag, nullptr);
    tag->tagField()->setText(QStringLiteral("backend"));
    saveAndConfirm(tag, "sheet-add-tag");
    ASSERT_NO_FATAL_FAILURE(settled());
    viewModel().requestRefresh();
    ASSERT_TRUE(settles([&] {
        const auto settings = board().settingsByName().find("beta");
        return settings != board().settingsByName().end() &&
               settings->second.tags == std::vector<std::string>{"backend"};
    }));

    // Rebase beta onto the other bookmark, once the rename has reached the
    // board.
    ASSERT_TRUE(settles([&] { return board().repoState()->bookmarks.contains("alpha-renamed"); }));
    window_->contentView()->handleBookmarkAction({BookmarkAction::Rebase{}}, bookmark("beta"));
    auto* rebase = openedSheet<RebaseBookmarkSheet>();
    ASSERT_NE(rebase, nullptr);
    const auto choices =
        rebase->parentList()->findItems(QStringLiteral("alpha-renamed"), Qt::MatchExactly);
    ASSERT_EQ(choices.size(), 1);
    rebase->parentList()->setCurrentItem(choices.front());
    saveAndConfirm(rebase, "sheet-rebase");
    ASSERT_NO_FATAL_FAILURE(settled());
    EXPECT_EQ(repo_.parents("B"), std::vector<std::string>{"A"});

    // The working copy's conflicts, from the status area's count.
    repo_.draw(R"(
      CL <- T "left" clash.txt=left
      CR <- T "right" clash.txt=right
      @ <- CL CR
    )");
    viewModel().requestRefresh();
    auto* status = window_->toolbar()->statusView();
    ASSERT_TRUE(settles([&] {
        return status->button()->isVisible() && status->button()->text() == "1 conflicts";
    })) << status->textLabel()->text().toStdString()
        << " " << ::testing::PrintToString(board().conflictedFiles());
    QTest::mouseClick(status->button(), Qt::LeftButton);
    auto* conflicts = openedSheet<ConflictResolveSheet>();
    ASSERT_NE(conflicts, nullptr);
    std::vector<std::string> labels;
    for (const auto* label : conflicts->findChildren<QLabel*>()) {
        labels.push_back(label->text().toStdString());
    }
    EXPECT_TRUE(contains(labels, "clash.txt")) << ::testing::PrintToString(labels);
    EXPECT_EQ(conflicts->openButtons().size(), 1U);
    saveAndConfirm(conflicts, "sheet-conflicts");

    // Describe a commit, then an immutable one: trunk.
    const auto describe = [&](const std::string& name, const std::string& text) {
        const auto* commit = board().commitForChangeID(repo_.id(name));
        ASSERT_NE(commit, nullptr) << name;
        window_->commandTarget().commitAction(CommitAction::describe, *commit);
        auto* sheet = openedSheet<DescribeCommitSheet>();
        ASSERT_NE(sheet, nullptr);
        EXPECT_EQ(sheet->findChild<QLabel*>(QStringLiteral("immutable-mark")) != nullptr,
                  commit->immutable);
        sheet->descriptionField()->setPlainText(QString::fromStdString(text));
        saveAndConfirm(sheet, "sheet-describe-" + name);
        ASSERT_NO_FATAL_FAILURE(settled());
        EXPECT_EQ(repo_.description(name), text);
    };
    describe("B", "beta work, described in the sheet");

    // Split by files, then the part that stayed by hunks.
    const auto split = [&](bool byHunks, const std::function<void(QTreeWidget*)>& choose) {
        const auto* commit = board().commitForChangeID(repo_.id("S"));
        ASSERT_NE(commit, nullptr);
        window_->commandTarget().commitAction(CommitAction::split, *commit);
        auto* sheet = openedSheet<SplitCommitSheet>();
        ASSERT_NE(sheet, nullptr);
        sheet->byHunksToggle()->setChecked(byHunks);
        EXPECT_FALSE(sheet->confirmButton()->isEnabled());  // nothing would move yet
        choose(sheet->choices());
        saveAndConfirm(sheet, byHunks ? "sheet-split-hunks" : "sheet-split-files");
        ASSERT_NO_FATAL_FAILURE(settled());
    };
    split(false, [](QTreeWidget* files) {
        ASSERT_EQ(files->topLevelItemCount(), 2);
        files->topLevelItem(1)->setCheckState(0, Qt::Unchecked);  // two.txt moves
    });
    EXPECT_EQ(repo_.changedPaths("S"), std::vector<std::string>{"one.txt"});
    split(true, [](QTreeWidget* files) {
        ASSERT_EQ(files->topLevelItem(0)->childCount(), 2);
        files->topLevelItem(0)->child(1)->setCheckState(0, Qt::Unchecked);  // the last hunk
    });
    EXPECT_EQ(repo_.jj({"file", "show", "-r", repo_.id("S"), "root:\"one.txt\""}),
              "1 changed\n2\n3\n4\n5\n6\n7\n8\n9\n10\n11\n12\n");
    ASSERT_TRUE(board().commitForChangeID(repo_.id("T"))->immutable);
    describe("T", "base, described over its protection");

    // A pull request through gh, which then lists it.
    gh_.answer("alpha-renamed",
               R"([{"number":1,"url":"https://github.com/example/repo/pull/1","state":"OPEN",)"
               R"("title":"Alpha, reviewed","isDraft":false,"comments":[]}])");
    window_->contentView()->handleBookmarkAction({BookmarkAction::CreatePR{}},
                                                 bookmark("alpha-renamed"));
    auto* pr = openedSheet<CreatePRSheet>();
    ASSERT_NE(pr, nullptr);
    EXPECT_EQ(pr->titleField()->text(), QStringLiteral("alpha work"));
    EXPECT_EQ(pr->baseField()->text(), QStringLiteral("main"));
    pr->titleField()->setText(QStringLiteral("Alpha, reviewed"));
    pr->bodyField()->setPlainText(QStringLiteral("Why it matters"));
    saveAndConfirm(pr, "sheet-create-pr");
    ASSERT_NO_FATAL_FAILURE(settled());
    ASSERT_TRUE(settles([&] { return !opened_.urls.empty(); }));
    EXPECT_EQ(opened_.urls, std::vector<std::string>{"https://github.com/example/repo/pull/1"});
    EXPECT_TRUE(contains(gh_.calls(),
                         "[pr][create][--head][alpha-renamed][--base][main][--title]"
                         "[Alpha, reviewed][--body][Why it matters]"))
        << ::testing::PrintToString(gh_.calls());
}

TEST_F(SheetScenario, CarvesHunksNamesAOneOffAndReviewsConflictsReadOnly) {
    repo_.draw(testing::publishedTrunk);
    repo_.draw(R"(
      O <- T "one-off work" o.txt=1
      CL <- T "left" clash.txt=left
      CR <- T "right" clash.txt=right
      M <- CL CR "merged"
      N <- M "on top" n.txt=1
      W <- T "work base" w.txt="1\n2\n3\n4\n5\n6\n7\n8\n9\n10\n11\n12\n"
      @ <- W
    )");
    repo_.writeFile("w.txt", "1 into\n2\n3\n4\n5\n6\n7\n8\n9\n10\n11\n12 stays\n");
    repo_.writeFile("b.bin", std::string("\0\1\2binary", 9));
    repo_.writeFile("x.txt", "stays\n");
    repo_.jj({"status"});  // the board reads the working copy as jj last saw it
    ASSERT_NO_FATAL_FAILURE(openWindow());

    // A new bookmark carved from the working copy: the first hunk of w.txt
    // and the binary file go in, the rest stays in @.
    window_->commandTarget().newBookmark();
    auto* create = openedSheet<CreateBookmarkDialog>();
    ASSERT_NE(create, nullptr);
    ASSERT_TRUE(settles([&] { return enabled(create->carveChoice()); }));
    create->carveChoice()->setChecked(true);
    create->nameField()->setText(QStringLiteral("carved"));
    auto* hunks = create->carveHunks();
    ASSERT_EQ(hunks->topLevelItemCount(), 3);
    EXPECT_FALSE(enabled(create->createButton()));  // nothing chosen yet
    const auto row = [&](const QString& path) {
        return hunks->findItems(path, Qt::MatchExactly).value(0);
    };
    ASSERT_NE(row("b.bin"), nullptr);
    EXPECT_EQ(row("b.bin")->child(0)->text(0), QStringLiteral("(no textual hunks)"));
    row("b.bin")->setCheckState(0, Qt::Checked);
    row("w.txt")->child(0)->setCheckState(0, Qt::Checked);
    EXPECT_EQ(row("w.txt")->checkState(0), Qt::PartiallyChecked);
    EXPECT_EQ(create->carveCountsLabel()->text(), QStringLiteral("2 into bookmark · 2 stay in @"));
    saveAndPress(create, create->createButton(), "sheet-new-bookmark-carve");
    ASSERT_NO_FATAL_FAILURE(settled());
    EXPECT_EQ(repo_.changedPaths("carved"), (std::vector<std::string>{"b.bin", "w.txt"}));
    EXPECT_EQ(repo_.jj({"file", "show", "-r", "carved", "root:\"w.txt\""}),
              "1 into\n2\n3\n4\n5\n6\n7\n8\n9\n10\n11\n12\n");
    EXPECT_EQ(repo_.jj({"log", "--no-graph", "-r", "@-", "-T", "bookmarks"}), "carved");
    EXPECT_EQ(repo_.changedPaths("@"), (std::vector<std::string>{"w.txt", "x.txt"}));

    // The one-off lane's menu names it.
    viewModel().board().toggleOneOffLaneExpanded(repo_.id("O"));
    BookmarkColumn* oneOff = nullptr;
    ASSERT_TRUE(settles([&] {
        for (auto* column : window_->contentView()->findChildren<BookmarkColumn*>()) {
            if (column->input().selectionColumnID == ColumnID::oneOff(repo_.id("O"))) {
                oneOff = column;
            }
        }
        return oneOff != nullptr;
    }));
    QTimer::singleShot(0, [] {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        ASSERT_NE(menu, nullptr);
        auto* entry = apptest::findEntry(*menu, QStringLiteral("Name One-off Branch…"));
        ASSERT_NE(entry, nullptr);
        entry->trigger();
        menu->close();
    });
    QContextMenuEvent click(QContextMenuEvent::Mouse, QPoint(10, 10),
                            oneOff->mapToGlobal(QPoint(10, 10)));
    QApplication::sendEvent(oneOff, &click);
    auto* promote = openedSheet<PromoteOneOffSheet>();
    ASSERT_NE(promote, nullptr);
    promote->nameField()->setText(QStringLiteral("carved"));
    EXPECT_FALSE(enabled(promote->confirmButton()));  // taken
    promote->nameField()->setText(QStringLiteral(" one-off named "));
    saveAndConfirm(promote, "sheet-promote-one-off");
    ASSERT_NO_FATAL_FAILURE(settled());
    EXPECT_EQ(repo_.bookmarkTarget("one-off named"), "O");

    // Both conflicted changes, from the commit entries of the menu, read
    // only: no operation is added.
    const auto conflicted = board().conflictedChangeIDs();
    ASSERT_EQ(conflicted.size(), 2U);
    const auto operations = repo_.operationCount();
    window_->selection()->selectCommit(repo_.id("M"), ColumnID::oneOff(repo_.id("N")),
                                       {repo_.id("N"), repo_.id("M")}, Qt::NoModifier);
    QMenu commitMenu;
    const auto target = window_->commandTarget();
    CommitActionMenuItems::fill(&commitMenu, target.selectedCommit(), target.commitAction);
    apptest::findEntry(commitMenu, QStringLiteral("Review Conflicts…"))->trigger();
    auto* review = openedSheet<RebaseConflictReviewSheet>();
    ASSERT_NE(review, nullptr);
    const auto first = std::find(conflicted.begin(), conflicted.end(), repo_.id("M"));
    const auto position = [](std::size_t index) {
        return QString::fromStdString(std::to_string(index + 1) + " of 2");
    };
    EXPECT_EQ(review->positionLabel()->text(), position(first - conflicted.begin()));
    ASSERT_TRUE(settles([&] { return review->review().has_value(); }));
    EXPECT_EQ(review->filesHeading()->text(), QStringLiteral("Conflicted Files (1)"));
    ASSERT_EQ(review->fileList()->count(), 2);
    EXPECT_EQ(review->fileList()->item(0)->text(), QStringLiteral("clash.txt"));
    EXPECT_EQ(review->contentHeading()->text(), QStringLiteral("Review content · clash.txt"));
    EXPECT_TRUE(review->content()->toPlainText().contains(QStringLiteral("<<<<<<<")));
    save(review, "sheet-review-conflicts");
    QTest::mouseClick(
        enabled(review->previousButton()) ? review->previousButton() : review->nextButton(),
        Qt::LeftButton);
    ASSERT_TRUE(settles(
        [&] { return review->review() && review->review()->commit.changeID == repo_.id("N"); }));
    review->fileList()->setCurrentRow(1);
    EXPECT_EQ(review->contentHeading()->text(), QStringLiteral("Change Diff"));
    EXPECT_TRUE(review->content()->toPlainText().contains(QStringLiteral("n.txt")));
    saveAndConfirm(review, "sheet-review-conflicts-diff");
    EXPECT_EQ(repo_.operationCount(), operations);
}

TEST_F(SheetScenario, TheOperationLogShowsReceiptsAndRestoresOnlyWhileTheRepositoryStaysPut) {
    repo_.draw(R"(
      T <- root "base" README=base [main]
      F <- T "feature" f.txt=1 [feat]
    )");
    // An append that never recorded its outcome.
    OperationRecord<FeatureAppendPlan> append;
    append.id = "3F2504E0-4F89-41D3-9A0C-0305E82C3301";
    append.startedAt = journalNow();
    append.plan.topology.bookmarkName = "feat";
    OperationJournal<FeatureAppendPlan>(repo_.root()).save(append);
    ASSERT_NO_FATAL_FAILURE(openWindow());
    const auto before = repo_.currentOperationID();
    repo_.jj({"bookmark", "create", "later", "-r", repo_.id("T")});

    RepoMenuCommands menus;
    menus.setFocusedTarget(window_->commandTarget());
    ASSERT_TRUE(menus.operationLogAction()->isEnabled());
    menus.operationLogAction()->trigger();
    auto* sheet = openedSheet<OpLogSheet>();
    ASSERT_NE(sheet, nullptr);
    const auto& log = viewModel().operationLog();
    ASSERT_TRUE(settles([&] { return !log.isLoading() && !log.recentOps().empty(); }));
    const auto shown = [&](const QString& part) {
        const auto labels = sheet->findChildren<QLabel*>();
        return std::any_of(labels.begin(), labels.end(),
                           [&](const QLabel* label) { return label->text().contains(part); });
    };
    EXPECT_TRUE(shown(QStringLiteral("Outcome not recorded")));
    EXPECT_TRUE(shown(QStringLiteral("feat · ")));
    EXPECT_TRUE(shown(QStringLiteral("Coordinated recovery receipts")));
    EXPECT_TRUE(shown(QStringLiteral(" · latest loaded")));
    save(sheet, "operation-log");

    // Restoring to the operation before the new bookmark takes it away.
    const auto restoreTo = [&](const std::string& op, const std::string& picture) {
        auto* button =
            sheet->findChild<QPushButton*>(QStringLiteral("restore-") + QString::fromStdString(op));
        ASSERT_NE(button, nullptr);
        QTest::mouseClick(button, Qt::LeftButton);
        SheetDialog* confirm = nullptr;
        ASSERT_TRUE(settles([&] {
            for (auto* dialog : sheet->findChildren<SheetDialog*>()) {
                confirm = dialog->isVisible() ? dialog : confirm;
            }
            return confirm != nullptr;
        }));
        saveAndConfirm(confirm, picture);
        ASSERT_TRUE(settles([&] { return !viewModel().activity().undoInFlight(); }));
    };
    ASSERT_NO_FATAL_FAILURE(restoreTo(before, "operation-log-restore"));
    EXPECT_EQ(repo_.bookmarkTarget("later"), std::nullopt);
    EXPECT_FALSE(viewModel().activity().undoError().has_value());

    // A log loaded before an outside change restores nothing.
    ASSERT_TRUE(settles([&] { return !log.isLoading() && !log.recentOps().empty(); }));
    repo_.jj({"bookmark", "create", "again", "-r", repo_.id("T")});
    ASSERT_NO_FATAL_FAILURE(restoreTo(before, "operation-log-restore-refused"));
    EXPECT_TRUE(viewModel().activity().undoError().has_value());
    EXPECT_EQ(repo_.bookmarkTarget("again"), "T");
}

}  // namespace
}  // namespace vorda

#include "SheetScenarioTests.moc"
