// The planned rewrites driven through their sheets in a real window: choose,
// preview, confirm, outcome, with the repository read back from jj.
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QTreeWidget>

#include "SheetWindowTest.h"
#include "app/sheets/FeatureInsertionSheet.h"
#include "app/sheets/LocalStackUpdateSheet.h"
#include "app/sheets/OpLogSheet.h"
#include "app/sheets/ReceiptSheet.h"
#include "app/window/RepoCommandTarget.h"
#include "app/window/RepoMenuCommands.h"
#include "support/RewriteTestData.h"
#include "support/TestTools.h"

namespace vorda {
namespace {

using testing::settles;
using testing::visible;

class RewriteSheet : public testing::SheetWindowTest {
  protected:
    /// The button of `sheet` labelled `text` or named `name`.
    static QPushButton* button(QWidget* sheet, const QString& name) {
        const auto buttons = sheet->findChildren<QPushButton*>();
        const auto found = std::find_if(buttons.begin(), buttons.end(), [&](QPushButton* b) {
            return b->isVisible() && (b->objectName() == name || b->text() == name);
        });
        return found == buttons.end() ? nullptr : *found;
    }
    static bool shows(QWidget* sheet, const QString& part) {
        const auto labels = sheet->findChildren<QLabel*>();
        return std::any_of(labels.begin(), labels.end(), [&](const QLabel* label) {
            return label->isVisible() && label->text().contains(part);
        });
    }
    /// Presses the button and waits until `part` is shown.
    static void pressUntilShown(QWidget* sheet, const QString& name, const QString& part) {
        auto* pressed = button(sheet, name);
        ASSERT_NE(pressed, nullptr) << name.toStdString();
        ASSERT_TRUE(pressed->isEnabled()) << name.toStdString();
        QTest::mouseClick(pressed, Qt::LeftButton);
        ASSERT_TRUE(settles([&] { return shows(sheet, part); })) << part.toStdString();
    }
    /// The checked stacks of the choosing list.
    static std::vector<std::string> checked(QWidget* sheet) {
        std::vector<std::string> titles;
        auto* tree = sheet->findChild<QTreeWidget*>();
        for (int group = 0; tree != nullptr && group < tree->topLevelItemCount(); ++group) {
            for (int row = 0; row < tree->topLevelItem(group)->childCount(); ++row) {
                auto* item = tree->topLevelItem(group)->child(row);
                if (item->checkState(0) == Qt::Checked) {
                    titles.push_back(item->text(0).toStdString());
                }
            }
        }
        return titles;
    }
    /// Opens Repo › Move to Feature…, chooses W1 and W2 for `feat` in
    /// `mode` after `anchor`, previews and carries the preview out.
    void routeWork(FeatureInsertionSheet::Mode mode, const std::string& anchor,
                   const QString& previewLine, const QString& outcome, const std::string& picture) {
        repo_.draw(testing::appendPicture(false));
        ASSERT_NO_FATAL_FAILURE(openWindow());
        RepoMenuCommands menus;
        menus.setFocusedTarget(window_->commandTarget());
        menus.moveToFeatureAction()->trigger();
        auto* sheet = openedSheet<FeatureInsertionSheet>();
        ASSERT_NE(sheet, nullptr);
        const auto pick = [&](const char* name, const std::string& data) {
            auto* picker = sheet->findChild<QComboBox*>(QString::fromLatin1(name));
            picker->setCurrentIndex(picker->findData(QString::fromStdString(data)));
        };
        sheet->findChild<QComboBox*>(QStringLiteral("routing-mode"))
            ->setCurrentIndex(static_cast<int>(mode));
        pick("feature-picker", "feat");
        if (!anchor.empty()) {
            pick("anchor-picker", repo_.id(anchor));
        }
        auto* work = sheet->findChild<QListWidget*>(QStringLiteral("finished-work"));
        for (int row = 0; row < work->count(); ++row) {
            const auto id = work->item(row)->data(Qt::UserRole).toString().toStdString();
            if (id == repo_.id("W1") || id == repo_.id("W2")) {
                work->item(row)->setCheckState(Qt::Checked);
            }
        }
        save(sheet, picture + "-choose");
        ASSERT_NO_FATAL_FAILURE(
            pressUntilShown(sheet, QStringLiteral("preview-routing"), previewLine));
        EXPECT_TRUE(shows(sheet, QStringLiteral("Based on operation ")));
        save(sheet, picture + "-preview");
        ASSERT_NO_FATAL_FAILURE(pressUntilShown(sheet, QStringLiteral("route"), outcome));
        save(sheet, picture + "-outcome");
    }
    static void check(QWidget* sheet, const QString& title, bool on) {
        auto* tree = sheet->findChild<QTreeWidget*>();
        const auto items = tree->findItems(title, Qt::MatchExactly | Qt::MatchRecursive);
        ASSERT_EQ(items.size(), 1);
        items.front()->setCheckState(0, on ? Qt::Checked : Qt::Unchecked);
    }
};

TEST_F(RewriteSheet, ALocalStackRebaseFromItsLaneIsPreviewedRefusedWhenStaleAndCarriedOut) {
    repo_.draw(R"(
        origin
        B <- root "base" README=base
        T <- B "upstream work" upstream.txt=up [main]
        push main
        F <- B "feature work" feature.txt=feature [feat]
        G <- B "other work" other.txt=other [other]
        H <- B "short-lived" gone.txt=gone [gone]
    )");
    ASSERT_NO_FATAL_FAILURE(openWindow());
    ASSERT_NO_FATAL_FAILURE(pinAndSelect("feat"));
    auto* laneButton = window_->contentView()->laneColumn("feat")->findChild<QPushButton*>(
        QStringLiteral("rebaseLocalStackButton"));
    // The board lays the pinned lane out after the state that adds it.
    ASSERT_TRUE(settles([&] { return visible(laneButton); }));
    QTest::mouseClick(laneButton, Qt::LeftButton);
    auto* sheet = openedSheet<LocalStackUpdateSheet>();
    ASSERT_NE(sheet, nullptr);
    // The lane's bookmark alone is chosen, although all three are behind.
    EXPECT_EQ(checked(sheet), std::vector<std::string>{"feat"});
    EXPECT_TRUE(shows(sheet, QStringLiteral("Onto main · current")));
    auto* search = sheet->findChild<QLineEdit*>();
    QTest::keyClicks(search, QStringLiteral("short-lived"));
    // "All" takes what the search leaves visible.
    QTest::mouseClick(button(sheet, QStringLiteral("All")), Qt::LeftButton);
    EXPECT_EQ(checked(sheet), (std::vector<std::string>{"feat", "gone"}));
    save(sheet, "local-stack-choose");

    // A stack deleted from outside is refused, with the reason behind "Why?".
    repo_.jj({"bookmark", "delete", "gone"});
    ASSERT_NO_FATAL_FAILURE(pressUntilShown(sheet, QStringLiteral("Rebase 2 selected"),
                                            QStringLiteral("This selection can’t be rebased")));
    ASSERT_FALSE(visible(sheet->findChild<QLabel*>(QStringLiteral("plan-refusal"))));
    QTest::mouseClick(button(sheet, QStringLiteral("why")), Qt::LeftButton);
    EXPECT_TRUE(visible(sheet->findChild<QLabel*>(QStringLiteral("plan-refusal"))));
    save(sheet, "local-stack-refused-plan");
    ASSERT_NO_FATAL_FAILURE(check(sheet, QStringLiteral("gone"), false));

    ASSERT_NO_FATAL_FAILURE(pressUntilShown(sheet, QStringLiteral("Rebase 1 selected"),
                                            QStringLiteral("Based on operation ")));
    EXPECT_TRUE(shows(sheet, QStringLiteral("1 local stack · 1 unique commit")));
    EXPECT_TRUE(shows(sheet, QStringLiteral("Moves  ") +
                                 QString::fromStdString(repo_.id("F").substr(0, 8)) +
                                 QStringLiteral("  feature work")));
    EXPECT_TRUE(shows(sheet, QStringLiteral("1 change ready to rebase")));
    EXPECT_TRUE(shows(sheet, QStringLiteral("Affected bookmarks: feat")));
    save(sheet, "local-stack-preview");

    // The repository moves on after the preview: carrying it out is refused
    // and a fresh preview is offered, not made.
    repo_.jj({"describe", "-r", repo_.id("G"), "-m", "other work, reworded"});
    ASSERT_NO_FATAL_FAILURE(pressUntilShown(sheet, QStringLiteral("review-rebase"),
                                            QStringLiteral("This preview was not carried out")));
    EXPECT_EQ(repo_.parents("F"), std::vector<std::string>{"B"});
    ASSERT_NE(button(sheet, QStringLiteral("preview-again")), nullptr);
    save(sheet, "local-stack-stale");

    ASSERT_NO_FATAL_FAILURE(pressUntilShown(sheet, QStringLiteral("preview-again"),
                                            QStringLiteral("Based on operation ")));
    ASSERT_NO_FATAL_FAILURE(pressUntilShown(sheet, QStringLiteral("review-rebase"),
                                            QStringLiteral("Local stacks rebased")));
    EXPECT_EQ(repo_.parents("F"), std::vector<std::string>{"T"});
    EXPECT_EQ(repo_.parents("G"), std::vector<std::string>{"B"});
    EXPECT_FALSE(shows(sheet, QStringLiteral("After: unavailable")));
    save(sheet, "local-stack-outcome");
    const QPointer<QWidget> closing(sheet);
    QTest::mouseClick(button(sheet, QStringLiteral("done")), Qt::LeftButton);
    ASSERT_TRUE(settles([&] { return closing.isNull(); }));
    EXPECT_FALSE(viewModel().rewrites().showLocalStackUpdateSheet());
}

TEST_F(RewriteSheet, FinishedWorkIsInsertedIntoAFeatureAfterAnAncestorOfItsTip) {
    ASSERT_NO_FATAL_FAILURE(routeWork(FeatureInsertionSheet::Mode::insertAfter, "F1",
                                      QStringLiteral("Insert 2 changes into feat after "),
                                      QStringLiteral("Verified"), "move-to-feature-insert"));
    EXPECT_EQ(testing::graph(repo_, {"W1", "W2", "F2", "M"}), "W1<F1 W2<W1 F2<W2 M<F2,T");
    EXPECT_EQ(repo_.bookmarkTarget("feat"), "F2");
}

TEST_F(RewriteSheet, FinishedWorkIsAppendedToAFeatureAndItsBookmarkAdvances) {
    ASSERT_NO_FATAL_FAILURE(routeWork(FeatureInsertionSheet::Mode::appendTo, "",
                                      QStringLiteral("Append 2 changes to feat after its tip"),
                                      QStringLiteral("Append verified"), "move-to-feature-append"));
    EXPECT_EQ(testing::graph(repo_, {"W1", "W2", "M"}), "W1<F2 W2<W1 M<W2,T");
    EXPECT_EQ(repo_.bookmarkTarget("feat"), "W2");
}

TEST_F(RewriteSheet, AnAppendStoppedBeforeItsBookmarkMovedIsFinishedFromItsReceipt) {
    repo_.draw(testing::appendPicture(false));
    ASSERT_NO_FATAL_FAILURE(openWindow());
    viewModel().send(RepoCommand::PlanFeatureAppend{{repo_.id("W2"), repo_.id("W1")}, "feat"});
    ASSERT_TRUE(settles([&] { return viewModel().rewrites().featureAppendPlan().has_value(); }));
    {
        // The work moves; the bookmark's move fails.
        const testing::FailingJJScope failing("bookmark");
        viewModel().send(
            RepoCommand::ExecuteFeatureAppend{*viewModel().rewrites().featureAppendPlan()});
        ASSERT_TRUE(
            settles([&] { return viewModel().rewrites().featureAppendRecord().has_value(); }));
    }
    const auto record = *viewModel().rewrites().featureAppendRecord();
    ASSERT_EQ(repo_.parents("W1"), std::vector<std::string>{"F2"});
    ASSERT_EQ(repo_.bookmarkTarget("feat"), "F2");

    window_->commandTarget().openOperationLog();
    auto* log = openedSheet<OpLogSheet>();
    ASSERT_NE(log, nullptr);
    const auto receiptButton = QStringLiteral("receipt-") + QString::fromStdString(record.id);
    ASSERT_TRUE(settles([&] { return button(log, receiptButton) != nullptr; }));
    QTest::mouseClick(button(log, receiptButton), Qt::LeftButton);
    ReceiptSheet* receipt = nullptr;
    ASSERT_TRUE(settles([&] {
        receipt = log->findChild<ReceiptSheet*>();
        return receipt != nullptr && button(receipt, QStringLiteral("advance-bookmark")) != nullptr;
    }));
    EXPECT_TRUE(shows(receipt, QStringLiteral("Needs inspection")));
    EXPECT_TRUE(shows(receipt, QStringLiteral("Feature: feat")));
    save(receipt, "append-receipt");

    // The advance is planned afresh and confirmed before it runs.
    QTest::mouseClick(button(receipt, QStringLiteral("advance-bookmark")), Qt::LeftButton);
    SheetDialog* confirm = nullptr;
    ASSERT_TRUE(settles([&] {
        confirm = receipt->findChild<SheetDialog*>();
        return confirm != nullptr && confirm->isVisible();
    }));
    EXPECT_TRUE(shows(confirm, QStringLiteral("Move feat from ")));
    saveAndConfirm(confirm, "append-advance-confirm");
    ASSERT_TRUE(
        settles([&] { return shows(receipt, QStringLiteral("Feature bookmark advanced")); }));
    EXPECT_EQ(repo_.bookmarkTarget("feat"), "W2");
    save(receipt, "append-receipt-advanced");
}

}  // namespace
}  // namespace vorda
