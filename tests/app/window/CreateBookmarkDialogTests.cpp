#include "app/window/CreateBookmarkDialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <sstream>

#include <gtest/gtest.h>

#include "WindowTestData.h"

namespace vorda {
namespace {

using StartingPoint = CreateBookmarkDialog::StartingPoint;

// The input built from `fields`: "name|parent (or -)|starting point|enable
// after creating|track upstream".
std::string inputText(const CreateBookmarkDialog::Fields& fields) {
    const auto input = CreateBookmarkDialog::buildInput(fields);
    std::ostringstream text;
    text << input.name << '|' << input.parent.value_or("-") << '|';
    std::visit([&text](const auto& point) { text << std::decay_t<decltype(point)>::caseName; },
               input.startingPoint.value);
    if (const auto* at =
            std::get_if<BookmarkStartingPoint::SpecificRevision>(&input.startingPoint.value)) {
        text << ' ' << at->revision;
    }
    text << '|' << input.enableAfterCreating << '|' << input.trackUpstream;
    return text.str();
}

TEST(CreateBookmarkDialog, BuildsInputsRefusesTakenNamesAndOffersStartsAndParents) {
    // Name, starting point, parent, revision, carve, enable after creating,
    // track upstream. A parent name jj would not read as a symbol goes quoted.
    const std::pair<CreateBookmarkDialog::Fields, const char*> cases[] = {
        {{"  feat/mobile-nav \n", StartingPoint::workingCopy, {}, "", {}, false, false},
         "feat/mobile-nav|-|workingCopy|0|0"},
        {{"child", StartingPoint::tipOfParent, "feat", "", {}, true, true},
         "child|feat|tipOfParent|1|1"},
        {{"c", StartingPoint::tipOfParent, "my work", "", {}, false, false},
         "c|\"my work\"|tipOfParent|0|0"},
        {{"x", StartingPoint::specificRevision, {}, "  @- ", {}, false, false},
         "x|-|specificRevision @-|0|0"}};
    for (const auto& [fields, input] : cases) {
        EXPECT_EQ(inputText(fields), input);
    }

    const auto snapshot = windowtest::boardSnapshot();
    const auto* state = &snapshot->repoState;
    // Per name: "+" or "-" whether it can be created, then "!" where a
    // problem is shown. An empty name only disables.
    std::string verdicts;
    for (const char* name : {"", " \t", "feat", " feat ", "feature"}) {
        verdicts.append(CreateBookmarkDialog::canCreate(name, state) ? "+" : "-");
        verdicts.append(CreateBookmarkDialog::nameProblem(name, state) ? "!" : ".");
    }
    EXPECT_EQ(verdicts, "-.-.-!-!+.");
    EXPECT_TRUE(CreateBookmarkDialog::canCreate("feat", nullptr));

    RepoViewModel viewModel;
    viewModel.applySnapshot(snapshot);
    CreateBookmarkDialog dialog(&viewModel);
    EXPECT_EQ(dialog.windowTitle(), QStringLiteral("New bookmark"));
    EXPECT_EQ(dialog.nameField()->placeholderText(), QStringLiteral("feat/mobile-nav"));
    EXPECT_FALSE(dialog.createButton()->isEnabled());
    const auto* upstream = dialog.trackUpstreamField();
    EXPECT_EQ(upstream->text(), QStringLiteral("Track upstream origin/<name>"));

    dialog.nameField()->setText(QStringLiteral("fix"));
    EXPECT_EQ(upstream->text(), QStringLiteral("Track upstream origin/fix"));
    EXPECT_FALSE(dialog.createButton()->isEnabled());
    EXPECT_FALSE(dialog.nameErrorLabel()->isHidden());
    EXPECT_TRUE(dialog.nameErrorLabel()->text().contains(QStringLiteral("fix")));

    dialog.nameField()->setText(QStringLiteral("fix-2"));
    EXPECT_TRUE(dialog.createButton()->isEnabled());
    EXPECT_TRUE(dialog.nameErrorLabel()->isHidden());

    // Accepting with a refused name keeps the dialog open.
    dialog.nameField()->setText(QStringLiteral("feat"));
    dialog.accept();
    EXPECT_EQ(dialog.result(), QDialog::Rejected);

    // Trunk first, as "trunk()"; the trunk bookmark is not listed again.
    QStringList parents;
    for (int index = 0; index < dialog.parentField()->count(); ++index) {
        parents << dialog.parentField()->itemText(index);
    }
    EXPECT_EQ(parents.join(", ").toStdString(), "trunk(), feat, fix");

    EXPECT_TRUE(dialog.workingCopyChoice()->isChecked());
    EXPECT_EQ(dialog.detailLabel()->text(),
              QStringLiteral("Anchor the bookmark at your current @ commit. Uncommitted files stay "
                             "in @ — nothing moves."));
    EXPECT_EQ(dialog.enableAfterCreatingField()->text(), QStringLiteral("Enable after creating"));

    dialog.tipOfParentChoice()->setChecked(true);
    EXPECT_EQ(dialog.detailLabel()->text(), QStringLiteral("Seed a new empty commit on trunk()"));
    dialog.setParentBookmark(std::string("feat"));
    EXPECT_EQ(dialog.detailLabel()->text(), QStringLiteral("Just label feat's tip"));

    dialog.nameField()->setText(QStringLiteral(" child "));
    dialog.enableAfterCreatingField()->setChecked(true);
    EXPECT_EQ(inputText(dialog.fields()), "child|feat|tipOfParent|1|0");

    EXPECT_FALSE(dialog.revisionField()->isEnabled());
    dialog.revisionChoice()->setChecked(true);
    EXPECT_TRUE(dialog.revisionField()->isEnabled());
}

}  // namespace
}  // namespace vorda
