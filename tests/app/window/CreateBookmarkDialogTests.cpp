#include "app/window/CreateBookmarkDialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>

#include <gtest/gtest.h>

#include "WindowTestData.h"

namespace vorda {
namespace {

using StartingPoint = CreateBookmarkDialog::StartingPoint;

CreateBookmarkDialog::Fields named(const std::string& name) {
    CreateBookmarkDialog::Fields fields;
    fields.name = name;
    return fields;
}

TEST(CreateBookmarkDialog, BuildsTheInputFromItsFields) {
    auto input = CreateBookmarkDialog::buildInput(named("  feat/mobile-nav \n"));
    EXPECT_EQ(input.name, "feat/mobile-nav");
    EXPECT_FALSE(input.parent.has_value());
    EXPECT_TRUE(
        std::holds_alternative<BookmarkStartingPoint::WorkingCopy>(input.startingPoint.value));
    EXPECT_FALSE(input.enableAfterCreating);
    EXPECT_FALSE(input.trackUpstream);

    auto child = named("child");
    child.startingPoint = StartingPoint::tipOfParent;
    child.parentBookmark = "feat";
    child.enableAfterCreating = true;
    child.trackUpstream = true;
    input = CreateBookmarkDialog::buildInput(child);
    EXPECT_EQ(input.parent, "feat");
    EXPECT_TRUE(
        std::holds_alternative<BookmarkStartingPoint::TipOfParent>(input.startingPoint.value));
    EXPECT_TRUE(input.enableAfterCreating);
    EXPECT_TRUE(input.trackUpstream);

    // A parent name jj would not read as a symbol goes quoted.
    child.parentBookmark = "my work";
    EXPECT_EQ(CreateBookmarkDialog::buildInput(child).parent, "\"my work\"");

    auto atRevision = named("x");
    atRevision.startingPoint = StartingPoint::specificRevision;
    atRevision.revision = "  @- ";
    input = CreateBookmarkDialog::buildInput(atRevision);
    const auto* revision =
        std::get_if<BookmarkStartingPoint::SpecificRevision>(&input.startingPoint.value);
    ASSERT_NE(revision, nullptr);
    EXPECT_EQ(revision->revision, "@-");
    EXPECT_FALSE(input.parent.has_value());
}

TEST(CreateBookmarkDialog, RefusesEmptyAndExistingNamesAndOffersStartingPointsAndParents) {
    const auto snapshot = windowtest::boardSnapshot();
    const auto* state = &snapshot->repoState;
    EXPECT_FALSE(CreateBookmarkDialog::canCreate("", state));
    EXPECT_FALSE(CreateBookmarkDialog::canCreate(" \t", state));
    EXPECT_FALSE(CreateBookmarkDialog::nameProblem(" ", state).has_value());
    EXPECT_FALSE(CreateBookmarkDialog::canCreate("feat", state));
    EXPECT_FALSE(CreateBookmarkDialog::canCreate(" feat ", state));
    EXPECT_TRUE(CreateBookmarkDialog::nameProblem("feat", state).has_value());
    EXPECT_TRUE(CreateBookmarkDialog::canCreate("feature", state));
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

    QStringList parents;
    for (int index = 0; index < dialog.parentField()->count(); ++index) {
        parents << dialog.parentField()->itemText(index);
    }
    // Trunk first, as "trunk()"; the trunk bookmark is not listed again.
    ASSERT_FALSE(parents.isEmpty());
    EXPECT_EQ(parents.front(), QStringLiteral("trunk()"));
    EXPECT_TRUE(parents.contains(QStringLiteral("feat")));
    EXPECT_TRUE(parents.contains(QStringLiteral("fix")));
    EXPECT_FALSE(parents.contains(QStringLiteral("main")));

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
    const auto fields = dialog.fields();
    EXPECT_EQ(fields.startingPoint, StartingPoint::tipOfParent);
    EXPECT_EQ(fields.parentBookmark, "feat");
    EXPECT_TRUE(fields.enableAfterCreating);
    const auto input = CreateBookmarkDialog::buildInput(fields);
    EXPECT_EQ(input.name, "child");
    EXPECT_EQ(input.parent, "feat");

    EXPECT_FALSE(dialog.revisionField()->isEnabled());
    dialog.revisionChoice()->setChecked(true);
    EXPECT_TRUE(dialog.revisionField()->isEnabled());
}

}  // namespace
}  // namespace vorda
