#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <sstream>

#include <gtest/gtest.h>

#include "WindowTestData.h"
#include "app/window/ActivityStatusContent.h"
#include "app/window/RepoActivityStatusView.h"

namespace vorda {
namespace {

using windowtest::BoardShape;
using namespace std::chrono_literals;

const auto epoch = std::chrono::system_clock::time_point{} + 1000h;

// Every field of the content, "|" between: kind, text, detail, tooltip,
// button (or "-"), its tooltip, and the error field it clears (or "-").
std::string rendered(const RepoViewModel& viewModel,
                     std::chrono::system_clock::time_point now = epoch) {
    static const char* const kinds[] = {"error",    "fetching", "pushing",   "undoing",
                                        "mutating", "toast",    "attention", "idle"};
    static const char* const fields[] = {"mutation", "fetch", "push", "undo"};
    const auto c = activityStatusContent(viewModel.activity(), viewModel.board(), now);
    std::ostringstream line;
    line << kinds[static_cast<int>(c.kind)] << '|' << c.text << '|' << c.detail << '|' << c.tooltip
         << '|' << c.button.value_or("-") << '|' << c.buttonTooltip << '|'
         << (c.errorField ? fields[static_cast<int>(*c.errorField)] : "-");
    return line.str();
}

Bookmark named(const std::string& name) {
    Bookmark bookmark;
    bookmark.name = name;
    return bookmark;
}

TEST(ActivityStatus, TheFirstCaseThatHoldsWins) {
    RepoViewModel viewModel;
    auto& activity = viewModel.activity();
    // In-flight marks first: starting a command clears its kind's error.
    viewModel.setInFlight(RepoCommand::Fetch{}, true);
    viewModel.setInFlight(RepoCommand::Push{named("zeta")}, true);
    viewModel.setInFlight(RepoCommand::Push{named("alpha")}, true);
    viewModel.setInFlight(RepoCommand::Undo{}, true);
    viewModel.setInFlight(RepoCommand::CreateBookmark{}, true);
    activity.setToastMessage("Created feat");
    activity.setUndoError("undo failed");
    activity.setPushError("push failed");
    activity.setFetchError("fetch failed");
    activity.setMutationError("mutation failed");

    // A sync has no start time: no seconds.
    EXPECT_EQ(rendered(viewModel), "error|mutation failed||mutation failed|Dismiss||mutation");
    activity.setMutationError(std::nullopt);
    EXPECT_EQ(rendered(viewModel), "error|fetch failed||fetch failed|Dismiss||fetch");
    activity.setFetchError(std::nullopt);
    EXPECT_EQ(rendered(viewModel), "error|push failed||push failed|Dismiss||push");
    activity.setPushError(std::nullopt);
    EXPECT_EQ(rendered(viewModel), "error|undo failed||undo failed|Dismiss||undo");
    activity.setUndoError(std::nullopt);
    EXPECT_EQ(rendered(viewModel), "fetching|Fetching…||jj git fetch running|-||-");
    viewModel.setInFlight(RepoCommand::Fetch{}, false);
    EXPECT_EQ(rendered(viewModel), "pushing|Pushing alpha, zeta|||-||-");
    viewModel.setInFlight(RepoCommand::Push{named("alpha")}, false);
    viewModel.setInFlight(RepoCommand::Push{named("zeta")}, false);
    EXPECT_EQ(rendered(viewModel), "undoing|Undoing…|||-||-");
    viewModel.setInFlight(RepoCommand::Undo{}, false);
    EXPECT_EQ(rendered(viewModel), "mutating|Creating bookmark…|||-||-");
    viewModel.setInFlight(RepoCommand::CreateBookmark{}, false);
    EXPECT_EQ(rendered(viewModel), "toast|Created feat|||-||-");
    activity.setToastMessage(std::nullopt);
    // Nothing loaded: nothing to say, not even "jj ok".
    EXPECT_EQ(rendered(viewModel), "idle||||-||-");
    viewModel.applySnapshot(windowtest::boardSnapshot());
    EXPECT_EQ(rendered(viewModel), "idle|jj ok|@ kkkkkkkkkkkk||-||-");

    // A fetch counts its seconds and shows its progress.
    viewModel.setInFlight(RepoCommand::Fetch{}, true);
    activity.setFetchStartedAt(epoch - 7s);
    EXPECT_EQ(rendered(viewModel), "fetching|Fetching… 7s||jj git fetch running|-||-");
    activity.setFetchStatus("remote: Counting objects");
    EXPECT_EQ(rendered(viewModel, epoch + 60s),
              "fetching|Fetching… 67s||remote: Counting objects|-||-");
}

class ActivityStatusView : public ::testing::Test {
  protected:
    // The view shows what the content says.
    void expectShown() const {
        const auto content = activityStatusContent(viewModel_.activity(), viewModel_.board(),
                                                   std::chrono::system_clock::now());
        EXPECT_EQ(view_.textLabel()->text().toStdString(), content.text);
        EXPECT_EQ(view_.button()->isHidden(), !content.button.has_value());
        if (content.button) {
            EXPECT_EQ(view_.button()->text().toStdString(), *content.button);
            EXPECT_EQ(view_.button()->toolTip().toStdString(), content.buttonTooltip);
        }
    }

    RepoViewModel viewModel_;
    RepoActivityStatusView view_{&viewModel_};
};

TEST_F(ActivityStatusView, ShowsTheContentItsButtonsActAndTheToastExpires) {
    const QSignalSpy conflictRequests(&view_, &RepoActivityStatusView::conflictSheetRequested);
    // The notice's button opens the local stack rebase with nothing seeded.
    // Anything running still comes first.
    viewModel_.applySnapshot(
        windowtest::boardSnapshot(BoardShape{.workspaceBehindTrunk = true, .conflictedFiles = {}}));
    EXPECT_EQ(rendered(viewModel_),
              "attention|Local stacks have an older base|||Rebase Local Stacks…|Preview rebasing "
              "local stacks onto current trunk. Immutable dependencies stay in place; no new "
              "composition parents are added.|-");
    expectShown();
    viewModel_.rewrites().setLocalStackUpdateSeedBookmarks(StringList{"stale"});
    QTest::mouseClick(view_.button(), Qt::LeftButton);
    EXPECT_TRUE(viewModel_.rewrites().showLocalStackUpdateSheet());
    EXPECT_FALSE(viewModel_.rewrites().localStackUpdateSeedBookmarks().has_value());
    viewModel_.activity().setToastMessage("Fetched");
    EXPECT_EQ(rendered(viewModel_), "toast|Fetched|||-||-");
    viewModel_.activity().setToastMessage(std::nullopt);

    viewModel_.applySnapshot(
        windowtest::boardSnapshot(BoardShape{.conflictedFiles = {"a.txt", "b.txt"}}));
    EXPECT_EQ(rendered(viewModel_),
              "idle|jj ok|@ kkkkkkkkkkkk||2 conflicts|The working copy has conflicts — click to "
              "resolve|-");
    expectShown();
    view_.button()->click();
    EXPECT_EQ(conflictRequests.count(), 1);
    viewModel_.applySnapshot(windowtest::boardSnapshot());
    expectShown();
    EXPECT_TRUE(view_.button()->isHidden());

    // Dismiss clears exactly the error shown.
    viewModel_.activity().setFetchError("fetch failed");
    viewModel_.activity().setPushError("push failed");
    viewModel_.activity().setMutationError("mutation failed");
    for (const auto* shown : {"mutation failed", "fetch failed", "push failed"}) {
        expectShown();
        EXPECT_EQ(view_.textLabel()->text().toStdString(), shown);
        view_.button()->click();
    }
    const auto& activity = viewModel_.activity();
    EXPECT_FALSE(activity.mutationError() || activity.fetchError() || activity.pushError());
    EXPECT_TRUE(view_.button()->isHidden());

    // A jj failure shows jj's own error line; the whole text is the tooltip.
    const std::string failure =
        "jj bookmark rename failed (1): \nError: No such bookmark: x\nHint: y";
    viewModel_.activity().setMutationError(failure);
    EXPECT_EQ(view_.textLabel()->text(), QStringLiteral("Error: No such bookmark: x"));
    EXPECT_EQ(view_.textLabel()->toolTip().toStdString(), failure);
    viewModel_.activity().dismiss(ActivityErrorField::mutation);

    viewModel_.setInFlight(RepoCommand::Fetch{}, true);
    EXPECT_TRUE(view_.textLabel()->text().startsWith(QStringLiteral("Fetching…")));
    EXPECT_EQ(view_.textLabel()->toolTip(), QStringLiteral("jj git fetch running"));
    viewModel_.setInFlight(RepoCommand::Fetch{}, false);

    view_.setToastDuration(std::chrono::milliseconds(20));
    viewModel_.activity().setToastMessage("Pushed feat");
    expectShown();
    EXPECT_TRUE(
        QTest::qWaitFor([&] { return !viewModel_.activity().toastMessage().has_value(); }, 5000));
    expectShown();
}

}  // namespace
}  // namespace vorda
