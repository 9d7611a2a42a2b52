// A feature attached to a composition through its sheet in a real window, a
// stale preview refused, and the merge's parents read back from jj.
#include <QComboBox>
#include <QLabel>

#include "SheetWindowTest.h"
#include "app/sheets/CompositionAttachmentSheet.h"
#include "support/RepoPicture.h"

namespace vorda {
namespace {

using testing::settles;

class AttachmentSheet : public testing::SheetWindowTest {
  protected:
    /// The visible widget of `sheet` named `name`, or the button labelled so.
    template <typename Widget>
    static Widget* find(QWidget* sheet, const QString& name) {
        for (auto* widget : sheet->findChildren<Widget*>()) {
            const auto* button = qobject_cast<QPushButton*>(widget);
            if (widget->isVisible() &&
                (widget->objectName() == name || (button != nullptr && button->text() == name))) {
                return widget;
            }
        }
        return nullptr;
    }
    static std::string line(QWidget* sheet, const QString& name) {
        const auto* label = find<QLabel>(sheet, name);
        return label == nullptr ? "" : label->text().toStdString();
    }
    /// Chooses `text` in the picker; returns every choice it offers.
    static QStringList choose(QWidget* sheet, const QString& picker, const QString& text) {
        QStringList texts;
        if (auto* combo = find<QComboBox>(sheet, picker)) {
            combo->setCurrentIndex(combo->findText(text));
            for (int row = 0; row < combo->count(); ++row) {
                texts << combo->itemText(row);
            }
        }
        return texts;
    }
    /// Presses the button and waits until the widget named `name` shows.
    static void press(QWidget* sheet, const QString& button, const QString& name) {
        auto* pressed = find<QPushButton>(sheet, button);
        ASSERT_TRUE(pressed != nullptr && pressed->isEnabled()) << button.toStdString();
        QTest::mouseClick(pressed, Qt::LeftButton);
        ASSERT_TRUE(settles([&] { return find<QWidget>(sheet, name) != nullptr; }))
            << name.toStdString();
    }
    /// Confirms the attachment, whose message must be `message`.
    static void confirm(QWidget* sheet, const std::string& message) {
        ASSERT_NO_FATAL_FAILURE(press(sheet, "attach-feature", "attachment-confirmation"));
        EXPECT_EQ(line(sheet, "attachment-confirmation"), message);
        QTest::mouseClick(sheet->findChild<SheetDialog*>()->confirmButton(), Qt::LeftButton);
    }
    std::string commit(const std::string& name) const { return repo_.commitID(repo_.id(name)); }
};

TEST_F(AttachmentSheet, AttachesTheFeatureLastKeepsEveryParentAndRefusesAStalePreview) {
    repo_.draw(testing::publishedTrunk);
    repo_.draw(R"(
        A <- T "alpha work" a.txt=1 [alpha]
        B <- T "beta work" b.txt=1 [beta]
        G <- T "gamma work" g.txt=1 [gamma]
        M <- T A "composition"
        @ <- M
    )");
    ASSERT_NO_FATAL_FAILURE(openWindow());
    const QString merge = QString::fromStdString(repo_.id("M").substr(0, 12)) + "  composition";
    const auto attaching = [&](const std::string& feature) {
        return "Attach exact feature revision " + feature + " to composition " + repo_.id("M") +
               ", preserving all existing parents. This rewrites 2 changes.";
    };
    const std::string proposed = "Proposed parents: " + commit("T").substr(0, 12) + ", " +
                                 commit("A").substr(0, 12) + ", " + commit("B").substr(0, 12);
    auto* sheet = new CompositionAttachmentSheet(viewModel(), window_);
    sheet->open();
    EXPECT_FALSE(find<QPushButton>(sheet, "preview-attachment")->isEnabled());
    EXPECT_EQ(choose(sheet, "composition-picker", merge), QStringList{merge});
    EXPECT_EQ(choose(sheet, "feature-picker", "beta"), (QStringList{"alpha", "beta", "gamma"}));
    save(sheet, "attachment-choose");

    ASSERT_NO_FATAL_FAILURE(press(sheet, "preview-attachment", "based-on"));
    EXPECT_EQ(line(sheet, "attachment-summary"), "Add beta to " + merge.toStdString());
    EXPECT_EQ(line(sheet, "feature-revision"), "Exact feature revision: " + commit("B"));
    EXPECT_EQ(line(sheet, "proposed-parents"), proposed);
    EXPECT_EQ(line(sheet, "affected-count"), "2 affected changes");  // M and the working copy
    EXPECT_EQ(line(sheet, "affected-workspaces"), "Affected workspaces: default");
    EXPECT_TRUE(line(sheet, "command-line").ends_with(commit("B") + ")'"));
    EXPECT_EQ(line(sheet, "based-on"),
              "Based on operation " + repo_.currentOperationID().substr(0, 12));
    save(sheet, "attachment-preview");

    ASSERT_NO_FATAL_FAILURE(confirm(sheet, attaching(commit("B"))));
    ASSERT_TRUE(settles([&] { return find<QLabel>(sheet, "receipt-outcome") != nullptr; }));
    EXPECT_EQ(line(sheet, "sheet-heading"), "Feature attached");
    EXPECT_EQ(repo_.parents("M"), (std::vector<std::string>{"T", "A", "B"}));
    EXPECT_EQ(repo_.parents("@"), std::vector<std::string>{"M"});
    EXPECT_EQ(line(sheet, "receipt-outcome"), "Verified");
    EXPECT_EQ(line(sheet, "approved-parents"),
              "Approved parents: " + commit("T") + ", " + commit("A") + ", " + commit("B"));
    save(sheet, "attachment-outcome");
    const QPointer<QWidget> closing(sheet);
    QTest::mouseClick(find<QPushButton>(sheet, "done"), Qt::LeftButton);
    ASSERT_TRUE(settles([&] { return closing.isNull(); }));

    // A feature the merge has already: nothing to rebase.
    sheet = new CompositionAttachmentSheet(viewModel(), window_);
    sheet->open();
    choose(sheet, "composition-picker", merge);
    choose(sheet, "feature-picker", "alpha");
    ASSERT_NO_FATAL_FAILURE(press(sheet, "preview-attachment", "based-on"));
    EXPECT_EQ(line(sheet, "attachment-summary"), "Feature already included — no rebase needed");
    EXPECT_EQ(line(sheet, "proposed-parents"), proposed);

    // The repository moves on after the preview: carrying it out is refused
    // and a fresh preview is offered, not made.
    ASSERT_NO_FATAL_FAILURE(press(sheet, "Change Selection", "feature-picker"));
    choose(sheet, "feature-picker", "gamma");
    ASSERT_NO_FATAL_FAILURE(press(sheet, "preview-attachment", "based-on"));
    const std::string gamma = commit("G");
    repo_.jj({"describe", "-r", repo_.id("G"), "-m", "gamma work, reworded"});
    ASSERT_NO_FATAL_FAILURE(confirm(sheet, attaching(gamma)));
    ASSERT_TRUE(settles([&] { return find<QWidget>(sheet, "execution-refusal") != nullptr; }));
    EXPECT_TRUE(line(sheet, "execution-refusal").find("expired") != std::string::npos);
    EXPECT_EQ(find<QPushButton>(sheet, "attach-feature"), nullptr);
    EXPECT_EQ(repo_.parents("M"), (std::vector<std::string>{"T", "A", "B"}));
    save(sheet, "attachment-refused");
    ASSERT_NO_FATAL_FAILURE(press(sheet, "preview-again", "attach-feature"));
    EXPECT_EQ(line(sheet, "based-on"),
              "Based on operation " + repo_.currentOperationID().substr(0, 12));
}

}  // namespace
}  // namespace vorda
