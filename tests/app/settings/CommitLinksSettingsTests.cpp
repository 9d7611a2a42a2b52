// The commit-link settings page driven through its own controls, from no
// stored rules to saved ones; pictures go to the build folder's
// test-output/screenshots.
#include "app/settings/CommitLinksSettings.h"

#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>
#include <QTreeWidget>

#include <gtest/gtest.h>

#include "app/links/CommitLinkPreferences.h"
#include "app/settings/CommitLinksSettingsView.h"
#include "app/settings/SettingsWindow.h"
#include "app/start/ColorScheme.h"
#include "jjkit/links/CommitLinkResolver.h"

namespace vorda {
namespace {

const std::string overlap =
    "Custom: overlaps an earlier rule in this sample; the earlier rule wins.";

class CommitLinksSettingsPage : public ::testing::Test {
  protected:
    void SetUp() override {
        CommitLinkPreferences::shared().save(QString());
        window_ = std::make_unique<SettingsWindow>();
        window_->resize(1600, 1000);
        window_->show();
        view_ = window_->findChild<CommitLinksSettingsView*>();
        ASSERT_NE(view_, nullptr);
    }

    template <typename Widget = QWidget>
    Widget* find(const char* name) const {
        auto* widget = view_->findChild<Widget*>(QLatin1String(name));
        EXPECT_NE(widget, nullptr) << name;
        return widget;
    }
    void click(const char* button) const {
        QTest::mouseClick(find<QPushButton>(button), Qt::LeftButton);
    }
    void type(const char* field, const QString& text) const {
        auto* edit = find<QLineEdit>(field);
        edit->selectAll();
        QTest::keyClick(edit, Qt::Key_Backspace);
        QTest::keyClicks(edit, text);
    }
    void selectRule(int row) const {
        auto* list = find<QTreeWidget>("commitLinkRules");
        const QRect rect = list->visualItemRect(list->topLevelItem(row));
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, rect.center());
    }
    /// The playground's label `name` once the newest answer is shown, or
    /// "(hidden)".
    std::string shown(const char* name) const {
        EXPECT_TRUE(QTest::qWaitFor([&] { return view_->settings()->previewReady(); }, 10000));
        const auto* label = find<QLabel>(name);
        return label->isVisible() ? label->text().toStdString() : "(hidden)";
    }
    void save(const char* name) const {
        QApplication::processEvents();
        const QString folder = QStringLiteral(VORDA_TEST_OUTPUT_DIR "/screenshots");
        QDir().mkpath(folder);
        EXPECT_TRUE(window_->grab().save(folder + "/" + name + ".png", "PNG")) << name;
    }

    std::unique_ptr<SettingsWindow> window_;
    CommitLinksSettingsView* view_ = nullptr;
};

TEST_F(CommitLinksSettingsPage, AddsRulesAndShowsLinksOverlapsAndScopesLive) {
    EXPECT_EQ(window_->windowTitle(), QStringLiteral("Settings"));
    EXPECT_FALSE(window_->showPage(QStringLiteral("Nowhere")));
    EXPECT_TRUE(window_->showPage(QStringLiteral("Commit Links")));
    window_->close();
    EXPECT_FALSE(window_->isVisible());
    window_->show();
    EXPECT_EQ(shown("playgroundNoMatches"), "No matches");
    EXPECT_FALSE(find<QPushButton>("saveCommitLinks")->isEnabled());
    EXPECT_FALSE(find<QPushButton>("addLinearRule")->isEnabled());

    type("linearWorkspace", QStringLiteral("acme"));
    click("addLinearRule");
    EXPECT_EQ(shown("playgroundPreview"), "ARC-3407 · Linear acme\n    issue = ARC-3407");
    EXPECT_EQ(shown("playgroundNoMatches"), "(hidden)");

    // A later rule for the same key loses it, and only it is warned about.
    click("addRegexRule");
    EXPECT_EQ(shown("playgroundWarnings"), overlap);
    selectRule(0);
    EXPECT_EQ(shown("playgroundWarnings"), "(hidden)");
    selectRule(1);
    click("moveRuleUp");
    EXPECT_EQ(shown("playgroundPreview"), "ARC-3407 · Custom\n    issue = ARC-3407");
    EXPECT_EQ(shown("playgroundWarnings"), "(hidden)");

    // "#123" references count only in their repository: the preview takes
    // the selected rule's scope.
    type("projectAddress", QStringLiteral("https://github.com/kelmardev/Vorda/"));
    type("localRepositoryPath", QStringLiteral("/src/vorda"));
    click("addRepositoryRule");
    auto* sample = find<QPlainTextEdit>("playgroundSample");
    sample->moveCursor(QTextCursor::End);
    QTest::keyClicks(sample, QStringLiteral(" See #77."));
    EXPECT_TRUE(shown("playgroundPreview").ends_with("#77 · Repository issues\n    number = 77"));
    EXPECT_EQ(view_->settings()->preview().back().webURL,
              "https://github.com/kelmardev/Vorda/issues/77");
    selectRule(0);
    EXPECT_EQ(shown("playgroundPreview").find("#77"), std::string::npos);

    // Turning a rule off hands its key to the next one.
    auto* list = find<QTreeWidget>("commitLinkRules");
    list->topLevelItem(0)->setCheckState(1, Qt::Unchecked);
    EXPECT_TRUE(shown("playgroundPreview").starts_with("ARC-3407 · Linear acme"));
    EXPECT_FALSE(view_->settings()->rules().front().enabled);
    save("commit-links-settings");
}

TEST_F(CommitLinksSettingsPage, BrokenAndSlowPatternsLeaveOthersWorkingAndSaveRevertRoundTrips) {
    type("linearWorkspace", QStringLiteral("acme"));
    click("addLinearRule");
    click("addRegexRule");
    type("rulePattern", QStringLiteral("(?<issue>ARC-"));
    EXPECT_TRUE(shown("playgroundErrors").starts_with("Custom: U_REGEX_"));
    EXPECT_EQ(shown("playgroundPreview"), "ARC-3407 · Linear acme\n    issue = ARC-3407");
    save("commit-links-settings-error");
    window_->resize(1024, 640);
    window_->setPalette(colorscheme::darkPalette());
    save("commit-links-settings-error-small-dark");
    window_->setPalette(QPalette());

    // A pattern that backtracks without end is stopped on the worker; the
    // sample keeps taking keys meanwhile.
    type("rulePattern", QStringLiteral("(?<issue>(a+)+$)"));
    auto* sample = find<QPlainTextEdit>("playgroundSample");
    sample->setPlainText(QString(40, QLatin1Char('a')));
    sample->moveCursor(QTextCursor::End);
    QTest::keyClicks(sample, QStringLiteral("b ARC-9"));
    EXPECT_FALSE(view_->settings()->previewReady());
    EXPECT_EQ(view_->settings()->sample(), QString(40, QLatin1Char('a')) + "b ARC-9");
    EXPECT_EQ(shown("playgroundErrors"), "Custom: Matching took too long and was stopped");
    EXPECT_EQ(shown("playgroundPreview"), "ARC-9 · Linear acme\n    issue = ARC-9");

    // Saving stores the working copy as it is, broken rule included.
    auto* saveButton = find<QPushButton>("saveCommitLinks");
    ASSERT_TRUE(saveButton->isEnabled());
    click("saveCommitLinks");
    const auto stored = decodeCommitLinkRules(CommitLinkPreferences::shared().configurationText());
    EXPECT_EQ(stored, view_->settings()->rules());
    ASSERT_EQ(stored.size(), 2U);
    EXPECT_EQ(stored.back().pattern, "(?<issue>(a+)+$)");
    EXPECT_FALSE(saveButton->isEnabled());

    // Revert brings back the stored rules and keeps a selection that exists.
    selectRule(0);
    click("removeRule");
    EXPECT_EQ(view_->settings()->rules().size(), 1U);
    EXPECT_TRUE(saveButton->isEnabled());
    click("revertCommitLinks");
    EXPECT_EQ(view_->settings()->rules(), stored);
    EXPECT_EQ(view_->settings()->selected(), stored.back().id);
    EXPECT_FALSE(saveButton->isEnabled());
}

}  // namespace
}  // namespace vorda
