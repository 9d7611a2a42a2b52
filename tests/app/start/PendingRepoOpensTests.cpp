#include "app/start/PendingRepoOpens.h"

#include <QDir>
#include <QSignalSpy>
#include <filesystem>

#include <gtest/gtest.h>

#include "app/start/CommandLineArguments.h"
#include "app/start/StartTestSupport.h"
#include "support/TempDir.h"
#include "support/TestRepo.h"

namespace vorda {
namespace {

using Kind = CommandLineOpen::Kind;
using testing::qpath;
using testing::TempDir;
using testing::TestRepo;

TEST(CommandLineArguments, PathsAddressesAndTheRepoOption) {
    // Arguments, then what they open: "p:" a path, "a:" an address. The option
    // takes the next argument, even one that looks like a flag; as the last
    // argument it names nothing.
    const std::pair<QString, QString> cases[] = {
        {"", ""},
        {"/a b", "p:/a p:b"},
        {"--repo /a -R /b", "p:/a p:/b"},
        {"-R -x", "p:-x"},
        {"--repo", ""},
        {"-R", ""},
        {"/a --repo", "p:/a"},
        {"--repo=/a/b", "p:/a/b"},
        {"--repo=", "p:"},
        {"--repo=a=b", "p:a=b"},
        {"-- -x --repo vorda://open?path=/a", "p:-x p:--repo p:vorda://open?path=/a"},
        {"-x --verbose /a - --repo-x", "p:/a"},
        {"vorda://open?path=/a VORDA:///b file:///c",
         "a:vorda://open?path=/a a:VORDA:///b a:file:///c"},
        {"https://example.com/x", "p:https://example.com/x"}};
    for (const auto& [arguments, opens] : cases) {
        QStringList line{QStringLiteral("/usr/bin/vorda")};
        line.append(arguments.split(' ', Qt::SkipEmptyParts));
        QStringList read;
        for (const CommandLineOpen& open : CommandLineArguments::parse(line)) {
            read.append((open.kind == Kind::path ? "p:" : "a:") + open.text);
        }
        EXPECT_EQ(read.join(' ').toStdString(), opens.toStdString()) << arguments.toStdString();
    }
}

TEST(PendingRepoOpensAddress, OurAddressesPreferTheQueryItemThenTheirPath) {
    const std::pair<const char*, std::optional<QString>> cases[] = {
        {"file:///home/me/repo", "/home/me/repo"},
        {"file:///home/me/a%20b", "/home/me/a b"},
        {"vorda://open?path=/home/me/repo", "/home/me/repo"},
        {"VoRdA://open?path=%2Fx%20y", "/x y"},
        {"vorda://open/elsewhere?other=1&path=/p", "/p"},
        {"vorda:///home/me/repo", "/home/me/repo"},
        {"vorda://open/home/me/repo?path=", "/home/me/repo"},
        {"vorda://open", std::nullopt},
        {"vorda://open/", std::nullopt},
        {"vorda://open/?path=", std::nullopt},
        {"https://example.com/repo", std::nullopt},
        {"ssh://host/repo?path=/x", std::nullopt}};
    for (const auto& [address, path] : cases) {
        EXPECT_EQ(PendingRepoOpens::path(QUrl(QString::fromUtf8(address))), path) << address;
    }
}

TEST(PendingRepoOpens, EnqueueStandardisesCountsAndLogs) {
    const TempDir folder;
    PendingRepoOpens pending;
    const QSignalSpy spy(&pending, &PendingRepoOpens::generationChanged);
    EXPECT_FALSE(pending.hasExternalOpen());
    const QString base = qpath(folder.path());
    pending.enqueue(base + QStringLiteral("/a/./b/../c/"));
    EXPECT_EQ(
        std::tuple(pending.paths(), pending.hasExternalOpen(), pending.generation(), spy.count()),
        std::tuple(QStringList{base + QStringLiteral("/a/c")}, true, 1U, 1));
    EXPECT_EQ(pending.takeAll(), QStringList{base + QStringLiteral("/a/c")});
    EXPECT_EQ(std::tuple(pending.paths().size(), pending.hasExternalOpen()), std::tuple(0, true));

    // Relative paths resolve against the working folder; addresses without
    // a path are skipped.
    pending.enqueue(QStringLiteral("some/relative"));
    pending.enqueue(QList<QUrl>{
        QUrl(QStringLiteral("https://example.com")),
        QUrl::fromLocalFile(base + QStringLiteral("/a")), QUrl(QStringLiteral("vorda:///")),
        QUrl(QStringLiteral("vorda://x?path=") + base + QStringLiteral("/b"))});
    EXPECT_EQ(pending.paths(),
              (QStringList{QDir::cleanPath(QDir::currentPath() + QStringLiteral("/some/relative")),
                           base + "/a", base + "/b"}));
}

TEST(PendingRepoOpens, IngestEnqueuesEachFormAndASubfolderOfARepositoryOpensItsRoot) {
    const TestRepo repo;
    repo.writeFile("deep/er/file.txt", "x");
    const QString root = QString::fromStdString(repo.root());
    PendingRepoOpens pending;
    // The https address is a bare argument that is not one of ours: a path.
    pending.ingestCommandLineArguments(
        {QStringLiteral("vorda"), QStringLiteral("-R"), root + QStringLiteral("/deep/er"),
         QStringLiteral("vorda://open?path=") + root, QStringLiteral("vorda://open"),
         QStringLiteral("https://example.com/x/y")});
    EXPECT_EQ(pending.paths(),
              (QStringList{root, root,
                           QDir::cleanPath(QDir::currentPath() + "/https:/example.com/x/y")}));
    EXPECT_EQ(pending.generation(), 3U);

    // The option as the last argument, and an address without a path: nothing.
    PendingRepoOpens nothing;
    nothing.ingestCommandLineArguments(
        {QStringLiteral("vorda"), QStringLiteral("vorda://open"), QStringLiteral("--repo")});
    EXPECT_EQ(std::tuple(nothing.hasExternalOpen(), nothing.generation()), std::tuple(false, 0U));
}

}  // namespace
}  // namespace vorda
