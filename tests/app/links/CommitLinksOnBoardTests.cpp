// Links in commit descriptions on a real board: drawn on the cards, opened
// by a click (the app address first when the rule prefers it), offered in
// the link's own menu, and named in the diff column's title; a change of
// the stored rules redraws them.
#include <QClipboard>
#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QLabel>
#include <QMenu>
#include <QTimer>

#include "app/column/CommitCardDelegate.h"
#include "app/column/CommitListModel.h"
#include "app/column/CommitListView.h"
#include "app/links/CommitLinkActions.h"
#include "app/links/CommitLinkLabel.h"
#include "app/links/CommitLinkPreferences.h"
#include "jjkit/links/CommitLinkResolver.h"
#include "sheets/SheetWindowTest.h"

namespace vorda::testing {
namespace {

class CommitLinksOnBoard : public SheetWindowTest {
  protected:
    void SetUp() override {
        commitlinks::setOpener([this](const QUrl& url) {
            opened_.push_back(url.toString());
            return appsOpen_ || url.scheme() != QStringLiteral("linear");
        });
    }
    void TearDown() override {
        commitlinks::setOpener({});
        CommitLinkPreferences::shared().save({});
        SheetWindowTest::TearDown();
    }

    static void store(const std::vector<CommitLinkRule>& rules) {
        CommitLinkPreferences::shared().save(QString::fromStdString(encodeCommitLinkRules(rules)));
    }

    /// The point of the card of `name` where the link `reference` is drawn,
    /// once the card draws it.
    std::optional<QPoint> linkPoint(const std::string& name, const std::string& reference) {
        auto* list = window_->contentView()->laneColumn("feat")->commitList();
        auto* delegate = qobject_cast<CommitCardDelegate*>(list->itemDelegate());
        std::optional<QPoint> found;
        settles([&] {
            list->viewport()->repaint();
            for (int row = 0; row < list->model()->rowCount(); ++row) {
                const QModelIndex index = list->model()->index(row, 0);
                if (index.data(CommitListModel::ChangeIDRole).toString().toStdString() !=
                    repo_.id(name)) {
                    continue;
                }
                const QRect card = list->visualRect(index);
                for (int y = card.top(); y < card.top() + 30 && !found; y += 2) {
                    for (int x = card.left(); x < card.right() && !found; x += 2) {
                        const auto link = delegate->linkAt(list->optionFor(index), index, {x, y});
                        if (link && link->reference == reference) {
                            found = QPoint(x, y);
                        }
                    }
                }
            }
            return found.has_value();
        });
        return found;
    }

    QWidget* viewport() const {
        return window_->contentView()->laneColumn("feat")->commitList()->viewport();
    }

    /// The texts of the menu a right click at `point` opens; presses `choice`.
    QStringList menuAt(const QPoint& point, const QString& choice) {
        QStringList texts;
        QTimer::singleShot(100, [&] {
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            if (menu == nullptr) {
                return;
            }
            for (QAction* action : menu->actions()) {
                texts << action->text();
                if (action->text() == choice) {
                    action->trigger();
                }
            }
            menu->close();
        });
        QContextMenuEvent event(QContextMenuEvent::Mouse, point, viewport()->mapToGlobal(point));
        QApplication::sendEvent(viewport(), &event);
        return texts;
    }

    std::vector<QString> opened_;
    bool appsOpen_ = true;
};

TEST_F(CommitLinksOnBoard, ReferencesOnCardsOpenCopyAndFollowTheStoredRules) {
    auto linear = CommitLinkRule::linear("acme", "ARC");
    linear.preferApp = true;
    auto issues =
        CommitLinkRule::make("Repository issues", R"((?<![\w/#])#(?<number>[1-9][0-9]*)\b)",
                             "https://example.com/proj/issues/${number}");
    issues.repositoryPath = "/elsewhere";
    store({linear, issues});
    repo_.draw(R"(
        B <- root "base" README=base [main]
        F <- B "Fix ARC-12 and #7 crash" f.txt=1 [feat]
        @ <- B
    )");
    ASSERT_NO_FATAL_FAILURE(openWindow());
    ASSERT_NO_FATAL_FAILURE(pinAndSelect("feat"));
    const auto point = linkPoint("F", "ARC-12");
    ASSERT_TRUE(point.has_value());
    auto* list = window_->contentView()->laneColumn("feat")->commitList();
    const QModelIndex card = list->indexAt(*point);
    EXPECT_EQ(qobject_cast<CommitCardDelegate*>(list->itemDelegate())
                  ->tooltipAt(list->optionFor(card), card, *point),
              QStringLiteral("ARC-12 → linear://linear.app/acme/issue/ARC-12"));
    save(window_, "commit-links-card");

    // A click opens the app; without the app, the browser. The card stays
    // unselected: the click belonged to the link.
    QTest::mouseClick(viewport(), Qt::LeftButton, {}, *point);
    appsOpen_ = false;
    QTest::mouseClick(viewport(), Qt::LeftButton, {}, *point);
    EXPECT_EQ(opened_,
              (std::vector<QString>{QStringLiteral("linear://linear.app/acme/issue/ARC-12"),
                                    QStringLiteral("linear://linear.app/acme/issue/ARC-12"),
                                    QStringLiteral("https://linear.app/acme/issue/ARC-12")}));
    EXPECT_TRUE(window_->selection()->selectedCommitIDs().empty());

    EXPECT_EQ(menuAt(*point, QStringLiteral("Copy Reference")),
              (QStringList{QStringLiteral("Open in Browser"), QStringLiteral("Open in Linear"),
                           QStringLiteral("Copy Link"), QStringLiteral("Copy Reference")}));
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("ARC-12"));

    // Selecting the commit titles the diff column with its linked summary;
    // the rule scoped to another repository links nothing.
    const QRect cardRect = list->visualRect(card);
    QTest::mouseClick(viewport(), Qt::LeftButton, {}, cardRect.bottomRight() - QPoint(20, 8));
    ASSERT_TRUE(settles([&] { return window_->selection()->selectedCommitIDs().size() == 1; }));
    auto* toggle = window_->findChild<QPushButton*>(QStringLiteral("diff-toggle"));
    ASSERT_TRUE(settles([&] { return enabled(toggle); }));
    toggle->click();
    QLabel* title = nullptr;
    ASSERT_TRUE(settles([&] {
        return (title = window_->findChild<QLabel*>(QStringLiteral("diff-title"))) != nullptr;
    }));
    auto* titleLinks = title->findChild<CommitLinkLabel*>();
    ASSERT_NE(titleLinks, nullptr);
    const auto references = [&] {
        std::vector<std::string> found;
        for (const auto& link : titleLinks->links()) {
            found.push_back(link.reference);
        }
        return found;
    };
    ASSERT_TRUE(settles([&] { return references() == std::vector<std::string>{"ARC-12"}; }));

    // Rules scoped to this repository replace them everywhere at once.
    issues.repositoryPath = repo_.root();
    store({issues});
    EXPECT_TRUE(linkPoint("F", "#7").has_value());
    EXPECT_TRUE(settles([&] { return references() == std::vector<std::string>{"#7"}; }));
    save(window_, "commit-links-rules-changed");
}

}  // namespace
}  // namespace vorda::testing
