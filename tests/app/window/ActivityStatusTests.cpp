#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

#include <gtest/gtest.h>

#include "WindowTestData.h"
#include "app/window/ActivityStatusContent.h"
#include "app/window/RepoActivityStatusView.h"

namespace vorda {
namespace {

using Kind = ActivityStatusContent::Kind;
using namespace std::chrono_literals;

const auto epoch = std::chrono::system_clock::time_point{} + 1000h;

ActivityStatusContent contentOf(const RepoViewModel& viewModel) {
    return activityStatusContent(viewModel, epoch);
}

Bookmark named(const std::string& name) {
    Bookmark bookmark;
    bookmark.name = name;
    return bookmark;
}

TEST(ActivityStatus, TheFirstCaseThatHoldsWins) {
    RepoViewModel viewModel;
    // In-flight marks first: starting a command clears its kind's error.
    viewModel.setInFlight(RepoCommand::Fetch{}, true);
    viewModel.setInFlight(RepoCommand::Push{named("zeta")}, true);
    viewModel.setInFlight(RepoCommand::Push{named("alpha")}, true);
    viewModel.setInFlight(RepoCommand::Undo{}, true);
    viewModel.setInFlight(RepoCommand::CreateBookmark{}, true);
    viewModel.setToastMessage("Created feat");
    viewModel.setUndoError("undo failed");
    viewModel.setPushError("push failed");
    viewModel.setFetchError("fetch failed");
    viewModel.setMutationError("mutation failed");

    const auto expect = [&](Kind kind, const std::string& text) {
        const auto content = contentOf(viewModel);
        EXPECT_EQ(content.kind, kind) << text;
        EXPECT_EQ(content.text, text);
    };
    expect(Kind::error, "mutation failed");
    EXPECT_EQ(contentOf(viewModel).errorField, ActivityErrorField::mutation);
    EXPECT_EQ(contentOf(viewModel).button, "Dismiss");
    viewModel.setMutationError(std::nullopt);
    expect(Kind::error, "fetch failed");
    EXPECT_EQ(contentOf(viewModel).errorField, ActivityErrorField::fetch);
    viewModel.setFetchError(std::nullopt);
    expect(Kind::error, "push failed");
    EXPECT_EQ(contentOf(viewModel).errorField, ActivityErrorField::push);
    viewModel.setPushError(std::nullopt);
    expect(Kind::error, "undo failed");
    EXPECT_EQ(contentOf(viewModel).errorField, ActivityErrorField::undo);
    viewModel.setUndoError(std::nullopt);

    // A sync has no start time: no seconds.
    expect(Kind::fetching, "Fetching…");
    EXPECT_EQ(contentOf(viewModel).tooltip, "jj git fetch running");
    viewModel.setInFlight(RepoCommand::Fetch{}, false);
    expect(Kind::pushing, "Pushing alpha, zeta");
    EXPECT_FALSE(contentOf(viewModel).button.has_value());
    viewModel.setInFlight(RepoCommand::Push{named("alpha")}, false);
    viewModel.setInFlight(RepoCommand::Push{named("zeta")}, false);
    expect(Kind::undoing, "Undoing…");
    viewModel.setInFlight(RepoCommand::Undo{}, false);
    expect(Kind::mutating, "Creating bookmark…");
    viewModel.setInFlight(RepoCommand::CreateBookmark{}, false);
    expect(Kind::toast, "Created feat");
    viewModel.setToastMessage(std::nullopt);
    expect(Kind::idle, "jj ok");
    EXPECT_FALSE(contentOf(viewModel).button.has_value());
}

TEST(ActivityStatus, FetchCountsSecondsAndShowsItsProgress) {
    RepoViewModel viewModel;
    viewModel.setInFlight(RepoCommand::Fetch{}, true);
    viewModel.setFetchStartedAt(epoch - 7s);
    auto content = contentOf(viewModel);
    EXPECT_EQ(content.text, "Fetching… 7s");
    EXPECT_EQ(content.tooltip, "jj git fetch running");

    viewModel.setFetchStatus("remote: Counting objects");
    EXPECT_EQ(contentOf(viewModel).tooltip, "remote: Counting objects");
    EXPECT_EQ(activityStatusContent(viewModel, epoch + 60s).text, "Fetching… 67s");
}

TEST(ActivityStatus, AttentionAndIdleReadTheRepository) {
    RepoViewModel viewModel;
    viewModel.applySnapshot(windowtest::boardSnapshot(windowtest::workspaceBehindTrunk()));
    auto content = contentOf(viewModel);
    EXPECT_EQ(content.kind, Kind::attention);
    EXPECT_EQ(content.text, "Local stacks have an older base");
    EXPECT_EQ(content.button, "Rebase Local Stacks…");
    EXPECT_EQ(content.buttonTooltip,
              "Preview rebasing local stacks onto current trunk. Immutable dependencies stay in "
              "place; no new composition parents are added.");
    // Anything running still comes first.
    viewModel.setToastMessage("Fetched");
    EXPECT_EQ(contentOf(viewModel).kind, Kind::toast);
    viewModel.setToastMessage(std::nullopt);

    viewModel.applySnapshot(
        windowtest::boardSnapshot(windowtest::withConflicts({"a.txt", "b.txt"})));
    content = contentOf(viewModel);
    EXPECT_EQ(content.kind, Kind::idle);
    EXPECT_EQ(content.text, "jj ok");
    EXPECT_EQ(content.detail, "@ " + windowtest::changeIDFor(5).substr(0, 12));
    EXPECT_EQ(content.button, "2 conflicts");
    EXPECT_EQ(content.buttonTooltip, "The working copy has conflicts — click to resolve");

    viewModel.applySnapshot(windowtest::boardSnapshot());
    content = contentOf(viewModel);
    EXPECT_EQ(content.kind, Kind::idle);
    EXPECT_FALSE(content.button.has_value());
}

TEST(ActivityStatusView, DismissClearsExactlyTheErrorShown) {
    RepoViewModel viewModel;
    RepoActivityStatusView view(&viewModel);
    viewModel.setFetchError("fetch failed");
    viewModel.setPushError("push failed");
    viewModel.setMutationError("mutation failed");
    EXPECT_EQ(view.textLabel()->text(), QStringLiteral("mutation failed"));
    EXPECT_EQ(view.button()->text(), QStringLiteral("Dismiss"));

    view.button()->click();
    EXPECT_FALSE(viewModel.mutationError().has_value());
    EXPECT_EQ(viewModel.fetchError(), "fetch failed");
    EXPECT_EQ(viewModel.pushError(), "push failed");
    EXPECT_EQ(view.textLabel()->text(), QStringLiteral("fetch failed"));

    view.button()->click();
    EXPECT_FALSE(viewModel.fetchError().has_value());
    EXPECT_EQ(viewModel.pushError(), "push failed");
    EXPECT_EQ(view.textLabel()->text(), QStringLiteral("push failed"));

    view.button()->click();
    EXPECT_FALSE(viewModel.pushError().has_value());
    EXPECT_EQ(view.textLabel()->text(), QStringLiteral("jj ok"));
    EXPECT_TRUE(view.button()->isHidden());
}

TEST(ActivityStatusView, ButtonsActOnTheViewModel) {
    RepoViewModel viewModel;
    RepoActivityStatusView view(&viewModel);
    QSignalSpy conflictRequests(&view, &RepoActivityStatusView::conflictSheetRequested);

    viewModel.applySnapshot(windowtest::boardSnapshot(windowtest::workspaceBehindTrunk()));
    EXPECT_EQ(view.button()->text(), QStringLiteral("Rebase Local Stacks…"));
    view.button()->click();
    EXPECT_TRUE(viewModel.showLocalStackUpdateSheet());
    EXPECT_FALSE(viewModel.localStackUpdateSeedBookmarks().has_value());
    EXPECT_FALSE(viewModel.localStackUpdateSeedChangeID().has_value());
    EXPECT_EQ(conflictRequests.count(), 0);

    viewModel.applySnapshot(windowtest::boardSnapshot(windowtest::withConflicts({"a.txt"})));
    EXPECT_EQ(view.textLabel()->text(), QStringLiteral("jj ok"));
    EXPECT_EQ(view.button()->text(), QStringLiteral("1 conflicts"));
    EXPECT_EQ(view.button()->toolTip(),
              QStringLiteral("The working copy has conflicts — click to resolve"));
    view.button()->click();
    EXPECT_EQ(conflictRequests.count(), 1);
}

TEST(ActivityStatusView, FollowsFetchAndClearsTheToastAfterItsTime) {
    RepoViewModel viewModel;
    RepoActivityStatusView view(&viewModel);
    viewModel.setInFlight(RepoCommand::Fetch{}, true);
    EXPECT_TRUE(view.textLabel()->text().startsWith(QStringLiteral("Fetching…")));
    EXPECT_EQ(view.textLabel()->toolTip(), QStringLiteral("jj git fetch running"));
    viewModel.setInFlight(RepoCommand::Fetch{}, false);

    view.setToastDuration(std::chrono::milliseconds(20));
    viewModel.setToastMessage("Pushed feat");
    EXPECT_EQ(view.textLabel()->text(), QStringLiteral("Pushed feat"));
    EXPECT_TRUE(QTest::qWaitFor([&] { return !viewModel.toastMessage().has_value(); }, 5000));
    EXPECT_EQ(view.textLabel()->text(), QStringLiteral("jj ok"));
}

}  // namespace
}  // namespace vorda
