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
using windowtest::BoardShape;
using namespace std::chrono_literals;

const auto epoch = std::chrono::system_clock::time_point{} + 1000h;

ActivityStatusContent contentOf(const RepoViewModel& viewModel,
                                std::chrono::system_clock::time_point now = epoch) {
    return activityStatusContent(viewModel.activity(), viewModel.board(), now);
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
    viewModel.activity().setToastMessage("Created feat");
    viewModel.activity().setUndoError("undo failed");
    viewModel.activity().setPushError("push failed");
    viewModel.activity().setFetchError("fetch failed");
    viewModel.activity().setMutationError("mutation failed");

    const auto expect = [&](Kind kind, const std::string& text,
                            std::optional<ActivityErrorField> field = std::nullopt) {
        const auto content = contentOf(viewModel);
        EXPECT_EQ(content.kind, kind) << text;
        EXPECT_EQ(content.text, text);
        EXPECT_EQ(content.errorField, field) << text;
        EXPECT_EQ(content.button, field ? std::optional<std::string>("Dismiss") : std::nullopt);
    };
    expect(Kind::error, "mutation failed", ActivityErrorField::mutation);
    viewModel.activity().setMutationError(std::nullopt);
    expect(Kind::error, "fetch failed", ActivityErrorField::fetch);
    viewModel.activity().setFetchError(std::nullopt);
    expect(Kind::error, "push failed", ActivityErrorField::push);
    viewModel.activity().setPushError(std::nullopt);
    expect(Kind::error, "undo failed", ActivityErrorField::undo);
    viewModel.activity().setUndoError(std::nullopt);
    expect(Kind::fetching, "Fetching…");  // a sync has no start time: no seconds
    viewModel.setInFlight(RepoCommand::Fetch{}, false);
    expect(Kind::pushing, "Pushing alpha, zeta");
    viewModel.setInFlight(RepoCommand::Push{named("alpha")}, false);
    viewModel.setInFlight(RepoCommand::Push{named("zeta")}, false);
    expect(Kind::undoing, "Undoing…");
    viewModel.setInFlight(RepoCommand::Undo{}, false);
    expect(Kind::mutating, "Creating bookmark…");
    viewModel.setInFlight(RepoCommand::CreateBookmark{}, false);
    expect(Kind::toast, "Created feat");
    viewModel.activity().setToastMessage(std::nullopt);
    // Nothing loaded: nothing to say, not even "jj ok".
    expect(Kind::idle, "");
    viewModel.applySnapshot(windowtest::boardSnapshot());
    expect(Kind::idle, "jj ok");

    // A fetch counts its seconds and shows its progress.
    viewModel.setInFlight(RepoCommand::Fetch{}, true);
    viewModel.activity().setFetchStartedAt(epoch - 7s);
    EXPECT_EQ(contentOf(viewModel).text, "Fetching… 7s");
    EXPECT_EQ(contentOf(viewModel).tooltip, "jj git fetch running");
    viewModel.activity().setFetchStatus("remote: Counting objects");
    EXPECT_EQ(contentOf(viewModel).tooltip, "remote: Counting objects");
    EXPECT_EQ(contentOf(viewModel, epoch + 60s).text, "Fetching… 67s");
}

class ActivityStatusView : public ::testing::Test {
  protected:
    // The view shows what the content says.
    void expectShown() const {
        const auto content = contentOf(viewModel_, std::chrono::system_clock::now());
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

TEST_F(ActivityStatusView, AttentionAndConflictsReadTheRepositoryAndTheirButtonsAct) {
    QSignalSpy conflictRequests(&view_, &RepoActivityStatusView::conflictSheetRequested);
    viewModel_.applySnapshot(
        windowtest::boardSnapshot(BoardShape{.workspaceBehindTrunk = true, .conflictedFiles = {}}));
    auto content = contentOf(viewModel_);
    EXPECT_EQ(content.kind, Kind::attention);
    EXPECT_EQ(content.text, "Local stacks have an older base");
    // Rebasing local stacks is not offered: the notice has no button.
    EXPECT_FALSE(content.button.has_value());
    expectShown();
    EXPECT_TRUE(view_.button()->isHidden());
    // Anything running still comes first.
    viewModel_.activity().setToastMessage("Fetched");
    EXPECT_EQ(contentOf(viewModel_).kind, Kind::toast);
    viewModel_.activity().setToastMessage(std::nullopt);

    viewModel_.applySnapshot(
        windowtest::boardSnapshot(BoardShape{.conflictedFiles = {"a.txt", "b.txt"}}));
    content = contentOf(viewModel_);
    EXPECT_EQ(content.kind, Kind::idle);
    EXPECT_EQ(content.text, "jj ok");
    EXPECT_EQ(content.detail, "@ " + windowtest::changeIDFor(5).substr(0, 12));
    EXPECT_EQ(content.button, "2 conflicts");
    EXPECT_EQ(content.buttonTooltip, "The working copy has conflicts — click to resolve");
    expectShown();
    view_.button()->click();
    EXPECT_EQ(conflictRequests.count(), 1);

    viewModel_.applySnapshot(windowtest::boardSnapshot());
    EXPECT_EQ(contentOf(viewModel_).kind, Kind::idle);
    EXPECT_FALSE(contentOf(viewModel_).button.has_value());
    expectShown();
}

TEST_F(ActivityStatusView, DismissesErrorsFollowsFetchAndClearsTheToastAfterItsTime) {
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
    expectShown();
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
