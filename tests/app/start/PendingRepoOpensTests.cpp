#include "app/start/PendingRepoOpens.h"

#include <QDir>
#include <QSignalSpy>
#include <filesystem>

#include <gtest/gtest.h>

#include "app/start/CommandLineArguments.h"
#include "app/start/StartTestSupport.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using Kind = CommandLineOpen::Kind;
using testing::LogCapture;
using testing::qpath;
using testing::TempDir;
using testing::TestRepo;

QStringList commandLine(std::initializer_list<const char*> arguments) {
    QStringList list{QStringLiteral("/usr/bin/vorda")};
    for (const char* argument : arguments) {
        list.append(QString::fromUtf8(argument));
    }
    return list;
}

QList<CommandLineOpen> parse(std::initializer_list<const char*> arguments) {
    return CommandLineArguments::parse(commandLine(arguments));
}

CommandLineOpen pathOpen(const char* text) {
    return {Kind::path, QString::fromUtf8(text)};
}

TEST(CommandLineArguments, TheProgramIsDroppedAndBareArgumentsArePaths) {
    EXPECT_TRUE(parse({}).isEmpty());
    EXPECT_EQ(parse({"/a", "b"}), (QList{pathOpen("/a"), pathOpen("b")}));
}

TEST(CommandLineArguments, RepoAndShortFormTakeTheNextArgument) {
    EXPECT_EQ(parse({"--repo", "/a", "-R", "/b"}), (QList{pathOpen("/a"), pathOpen("/b")}));
    // The value may itself look like a flag: it is consumed all the same.
    EXPECT_EQ(parse({"-R", "-x"}), (QList{pathOpen("-x")}));
}

TEST(CommandLineArguments, RepoAsTheLastArgumentNamesNothing) {
    EXPECT_TRUE(parse({"--repo"}).isEmpty());
    EXPECT_TRUE(parse({"-R"}).isEmpty());
    EXPECT_EQ(parse({"/a", "--repo"}), (QList{pathOpen("/a")}));
}

TEST(CommandLineArguments, RepoEqualsTakesTheTextAfterTheSign) {
    EXPECT_EQ(parse({"--repo=/a/b"}), (QList{pathOpen("/a/b")}));
    EXPECT_EQ(parse({"--repo="}), (QList{pathOpen("")}));
    EXPECT_EQ(parse({"--repo=a=b"}), (QList{pathOpen("a=b")}));
}

TEST(CommandLineArguments, DoubleDashMakesEverythingAfterItAPath) {
    EXPECT_EQ(parse({"--", "-x", "--repo", "vorda://open?path=/a"}),
              (QList{pathOpen("-x"), pathOpen("--repo"), pathOpen("vorda://open?path=/a")}));
}

TEST(CommandLineArguments, OtherFlagsAreIgnored) {
    EXPECT_EQ(parse({"-x", "--verbose", "/a", "-", "--repo-x"}), (QList{pathOpen("/a")}));
}

TEST(CommandLineArguments, BareAddressesAreReportedAsAddresses) {
    EXPECT_EQ(parse({"vorda://open?path=/a", "VORDA:///b", "file:///c"}),
              (QList<CommandLineOpen>{{Kind::address, QStringLiteral("vorda://open?path=/a")},
                                      {Kind::address, QStringLiteral("VORDA:///b")},
                                      {Kind::address, QStringLiteral("file:///c")}}));
    EXPECT_EQ(parse({"https://example.com/x"}), (QList{pathOpen("https://example.com/x")}));
}

TEST(PendingRepoOpensAddress, FileAddressesGiveTheirPath) {
    EXPECT_EQ(PendingRepoOpens::path(QUrl(QStringLiteral("file:///home/me/repo"))),
              QStringLiteral("/home/me/repo"));
    EXPECT_EQ(PendingRepoOpens::path(QUrl(QStringLiteral("file:///home/me/a%20b"))),
              QStringLiteral("/home/me/a b"));
}

TEST(PendingRepoOpensAddress, VordaAddressesPreferTheQueryItem) {
    EXPECT_EQ(PendingRepoOpens::path(QUrl(QStringLiteral("vorda://open?path=/home/me/repo"))),
              QStringLiteral("/home/me/repo"));
    EXPECT_EQ(PendingRepoOpens::path(QUrl(QStringLiteral("VoRdA://open?path=%2Fx%20y"))),
              QStringLiteral("/x y"));
    EXPECT_EQ(
        PendingRepoOpens::path(QUrl(QStringLiteral("vorda://open/elsewhere?other=1&path=/p"))),
        QStringLiteral("/p"));
}

TEST(PendingRepoOpensAddress, VordaAddressesFallBackToTheirPath) {
    EXPECT_EQ(PendingRepoOpens::path(QUrl(QStringLiteral("vorda:///home/me/repo"))),
              QStringLiteral("/home/me/repo"));
    EXPECT_EQ(PendingRepoOpens::path(QUrl(QStringLiteral("vorda://open/home/me/repo?path="))),
              QStringLiteral("/home/me/repo"));
    EXPECT_FALSE(PendingRepoOpens::path(QUrl(QStringLiteral("vorda://open"))).has_value());
    EXPECT_FALSE(PendingRepoOpens::path(QUrl(QStringLiteral("vorda://open/"))).has_value());
    EXPECT_FALSE(PendingRepoOpens::path(QUrl(QStringLiteral("vorda://open/?path="))).has_value());
}

TEST(PendingRepoOpensAddress, OtherSchemesAreDropped) {
    EXPECT_FALSE(PendingRepoOpens::path(QUrl(QStringLiteral("https://example.com/repo"))));
    EXPECT_FALSE(PendingRepoOpens::path(QUrl(QStringLiteral("ssh://host/repo?path=/x"))));
}

TEST(PendingRepoOpens, EnqueueStandardisesAndCountsAndLogs) {
    const TempDir folder;
    const LogCapture log;
    PendingRepoOpens pending;
    const QSignalSpy spy(&pending, &PendingRepoOpens::generationChanged);
    EXPECT_FALSE(pending.hasExternalOpen());
    EXPECT_EQ(pending.generation(), 0U);

    const QString base = qpath(folder.path());
    pending.enqueue(base + QStringLiteral("/a/./b/../c/"));
    EXPECT_EQ(pending.paths(), QStringList{base + QStringLiteral("/a/c")});
    EXPECT_TRUE(pending.hasExternalOpen());
    EXPECT_EQ(pending.generation(), 1U);
    EXPECT_EQ(spy.count(), 1);
    EXPECT_TRUE(log.contains("[launcher] PendingRepoOpens.enqueue path=" +
                             (base + "/a/c").toStdString() + " queue=[\""));

    EXPECT_EQ(pending.takeAll(), QStringList{base + QStringLiteral("/a/c")});
    EXPECT_TRUE(pending.paths().isEmpty());
    EXPECT_TRUE(pending.hasExternalOpen());
}

TEST(PendingRepoOpens, RelativePathsResolveAgainstTheWorkingFolder) {
    PendingRepoOpens pending;
    pending.enqueue(QStringLiteral("some/relative"));
    ASSERT_EQ(pending.paths().size(), 1);
    EXPECT_EQ(pending.paths().front(),
              QDir::cleanPath(QDir::currentPath() + QStringLiteral("/some/relative")));
}

TEST(PendingRepoOpens, ASubfolderOfARepositoryOpensItsRoot) {
    const TestRepo repo;
    repo.writeFile("deep/er/file.txt", "x");
    PendingRepoOpens pending;
    pending.ingestCommandLineArguments(
        {QStringLiteral("vorda"), QString::fromStdString(repo.root() + "/deep/er")});
    EXPECT_EQ(pending.paths(), QStringList{QString::fromStdString(repo.root())});
}

TEST(PendingRepoOpens, IngestEnqueuesEveryForm) {
    const TempDir folder;
    const QString base = qpath(folder.path());
    PendingRepoOpens pending;
    pending.ingestCommandLineArguments(QStringList{
        QStringLiteral("vorda"), QStringLiteral("--repo"), base + QStringLiteral("/one"),
        QStringLiteral("-v"), QStringLiteral("-R"), base + QStringLiteral("/two"),
        QStringLiteral("--repo=") + base + QStringLiteral("/three"),
        QStringLiteral("vorda://open?path=") + base + QStringLiteral("/four"),
        QStringLiteral("https://example.com/x/y"), QStringLiteral("--"),
        base + QStringLiteral("/-x")});
    // The https address is a bare argument that is not one of ours: a path.
    EXPECT_EQ(pending.paths(),
              (QStringList{base + "/one", base + "/two", base + "/three", base + "/four",
                           QDir::cleanPath(QDir::currentPath() + "/https:/example.com/x/y"),
                           base + "/-x"}));
    EXPECT_EQ(pending.generation(), 6U);
}

TEST(PendingRepoOpens, RepoLastAndDroppedAddressesEnqueueNothing) {
    PendingRepoOpens pending;
    pending.ingestCommandLineArguments(
        {QStringLiteral("vorda"), QStringLiteral("vorda://open"), QStringLiteral("--repo")});
    EXPECT_TRUE(pending.paths().isEmpty());
    EXPECT_FALSE(pending.hasExternalOpen());
    EXPECT_EQ(pending.generation(), 0U);
}

TEST(PendingRepoOpens, DoubleDashThenDashXEnqueuesDashXAsAPath) {
    PendingRepoOpens pending;
    pending.ingestCommandLineArguments(
        {QStringLiteral("vorda"), QStringLiteral("--"), QStringLiteral("-x")});
    EXPECT_EQ(pending.paths(),
              QStringList{QDir::cleanPath(QDir::currentPath() + QStringLiteral("/-x"))});
}

TEST(PendingRepoOpens, EnqueueUrlsSkipsThoseWithoutAPath) {
    const TempDir folder;
    const QString base = qpath(folder.path());
    PendingRepoOpens pending;
    pending.enqueue(QList<QUrl>{
        QUrl(QStringLiteral("https://example.com")),
        QUrl::fromLocalFile(base + QStringLiteral("/a")), QUrl(QStringLiteral("vorda:///")),
        QUrl(QStringLiteral("vorda://x?path=") + base + QStringLiteral("/b"))});
    EXPECT_EQ(pending.paths(), (QStringList{base + "/a", base + "/b"}));
}

}  // namespace
}  // namespace vorda
