#include "jjkit/github/GitHubClient.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "jjkit/github/ToolLookup.h"
#include "support/ScopedEnvironment.h"
#include "support/ScriptedGh.h"
#include "support/TempDir.h"

namespace vorda {
namespace {

using testing::ScopedEnvironment;
using testing::ScriptedGh;
using testing::TempDir;
using Calls = std::vector<std::string>;

/// The description of the error `call` throws, "no error" when it throws none.
std::string failure(const std::function<void()>& call) {
    try {
        call();
    } catch (const GitHubClientError& error) {
        return error.errorDescription();
    } catch (const DecodingError& error) {
        return "decoding: " + error.description();
    }
    return "no error";
}

std::string listCall(const std::string& branch) {
    return "[pr][list][--head][" + branch +
           "][--state][all][--json][number,url,state,isDraft,title,reviewDecision,comments]"
           "[--limit][1]";
}

// As gh prints it: no decision is "", comments are objects.
const std::string ghRecord =
    R"([{"number": 42, "url": "https://github.com/example/repo/pull/42", "state": "MERGED",
    "isDraft": true, "title": "Add \"quoted\" thing ä", "reviewDecision": "",
    "comments": [{"body": "one"}, {"body": "two"}, {"body": "three"}]}])";

GitHubPR samplePR() {
    const std::string url = "https://github.com/example/repo/pull/42";
    return {42, url, GitHubPR::State::merged, true, "Add \"quoted\" thing ä", std::nullopt, 3};
}

std::string record(const std::string& members) {
    return R"([{"number": 7, "url": "u", "isDraft": false, "title": "t")" + members + "}]";
}

TEST(GitHubPRCoding, ParseFirstPRDecodesTheFirstOfGhsRecords) {
    EXPECT_EQ(GitHubClient::parseFirstPR(ghRecord), samplePR());
    EXPECT_EQ(GitHubClient::parseFirstPR("  \n" + ghRecord + "\n\n"), samplePR());
    const auto first = GitHubClient::parseFirstPR(
        R"([{"number":1,"url":"a","state":"OPEN","isDraft":false,"title":"one","comments":[]},)"
        R"( {"number":2,"url":"b","state":"OPEN","isDraft":false,"title":"two","comments":[]}])");
    EXPECT_EQ(first, (GitHubPR{1, "a", GitHubPR::State::open, false, "one", std::nullopt, 0}));
    for (const char* none : {"[]", " [ ]\n", "", " \n\t "}) {
        EXPECT_EQ(GitHubClient::parseFirstPR(none), std::nullopt) << none;
    }
}

TEST(GitHubPRCoding, MalformedOutputThrowsADecodingError) {
    const std::vector<std::pair<std::string, std::string>> malformed{
        {"not json at all", ""},
        {"[{\"number\": 1", ""},
        {"{\"number\": 1}", ""},
        {record(R"(, "comments": [])"), ""},   // no state
        {record(R"(, "state": "OPEN")"), ""},  // no comment count
        {R"([{"number":1,"url":"u","state":"OPEN","isDraft":false}])",
         "missing key `title` at Index 0"},
        {R"([{"number":"1","url":"u","state":"OPEN","isDraft":false,"title":"t","comments":[]}])",
         "expected Int) at Index 0.number"}};
    for (const auto& [input, part] : malformed) {
        const std::string& text = input;
        const std::string error = failure([&] { GitHubClient::parseFirstPR(text); });
        EXPECT_TRUE(error.starts_with("decoding: ") && error.find(part) != std::string::npos)
            << error;
    }
}

TEST(GitHubPRCoding, StatesAndReviewDecisionsDecodeFromGitHubSpelling) {
    using State = GitHubPR::State;
    using Decision = GitHubPR::ReviewDecision;
    const std::vector<std::pair<std::string, State>> states{
        {"OPEN", State::open},       {"CLOSED", State::closed},  {"MERGED", State::merged},
        {"UNKNOWN", State::unknown}, {"DRAFTY", State::unknown}, {"open", State::unknown}};
    for (const auto& [raw, state] : states) {
        const auto pr =
            GitHubClient::parseFirstPR(record(R"(, "comments": [], "state": ")" + raw + "\""));
        EXPECT_EQ(pr->state, state) << raw;
    }
    const std::vector<std::pair<std::string, std::optional<Decision>>> decisions{
        {R"(, "reviewDecision": "APPROVED")", Decision::approved},
        {R"(, "reviewDecision": "CHANGES_REQUESTED")", Decision::changesRequested},
        {R"(, "reviewDecision": "REVIEW_REQUIRED")", Decision::reviewRequired},
        {R"(, "reviewDecision": "")", std::nullopt},
        {R"(, "reviewDecision": null)", std::nullopt},
        {"", std::nullopt}};
    for (const auto& [member, decision] : decisions) {
        const auto pr =
            GitHubClient::parseFirstPR(record(R"(, "comments": [], "state": "OPEN")" + member));
        EXPECT_EQ(pr->reviewDecision, decision) << member;
    }
}

TEST(GitHubPRCoding, EncodingRoundTripsThroughTheCommentCount) {
    std::vector<GitHubPR> records(5, samplePR());
    records[1].reviewDecision = GitHubPR::ReviewDecision::approved;
    records[2].reviewDecision = GitHubPR::ReviewDecision::changesRequested;
    records[3].reviewDecision = GitHubPR::ReviewDecision::reviewRequired;
    records[4] = {0, "", GitHubPR::State::unknown, false, "", std::nullopt, 0};
    for (const auto& pr : records) {
        const nlohmann::json encoded = RecordCoding<GitHubPR>::encode(pr);
        EXPECT_FALSE(encoded.contains("comments"));
        EXPECT_EQ(encoded.at("reviewCommentCount"), pr.reviewCommentCount);
        EXPECT_EQ(encoded.contains("reviewDecision"), pr.reviewDecision.has_value());
        EXPECT_EQ(RecordCoding<GitHubPR>::decode(JsonReader(nlohmann::json::parse(encoded.dump()))),
                  pr);
    }
    EXPECT_EQ(RecordCoding<GitHubPR>::encode(samplePR()).at("state"), "MERGED");
    EXPECT_EQ(RecordCoding<GitHubPR>::encode(samplePR()).at("isDraft"), true);
    EXPECT_EQ(RecordCoding<GitHubPR>::encode(records[4]).at("state"), "UNKNOWN");
}

TEST(GitHubClientError, CarriesGhsStderrAndTellsItsKind) {
    // The descriptions themselves are checked where the client throws them.
    EXPECT_STREQ(GitHubClientError::ghNotFound().what(), "gh CLI not found on PATH");
    const auto failed = GitHubClientError::commandFailed("boom");
    ASSERT_TRUE(std::holds_alternative<GitHubClientError::CommandFailed>(failed.value()));
    EXPECT_EQ(std::get<GitHubClientError::CommandFailed>(failed.value()).stderr, "boom");
    EXPECT_EQ(failed.as<GitHubClientError::GhNotFound>(), nullptr);
}

class GitHubClientTest : public ::testing::Test {
  protected:
    ScriptedGh gh;
    TempDir workingDirectory{"vorda-gh-repo"};
    GitHubClient client{workingDirectory.string()};
};

TEST_F(GitHubClientTest, PRForBranchRunsExactlyTheListCommandInTheWorkingDirectory) {
    gh.answer("feature", ghRecord);
    EXPECT_EQ(client.prForBranch("feature"), samplePR());
    EXPECT_EQ(client.prForBranch("no-pr"), std::nullopt);
    EXPECT_EQ(gh.calls(), (Calls{listCall("feature"), listCall("no-pr")}));
    EXPECT_EQ(gh.workingDirectories(), Calls(2, workingDirectory.string()));
}

TEST_F(GitHubClientTest, CreatePRRunsCreateThenListsTheNewPullRequest) {
    gh.answer("feature", ghRecord);
    EXPECT_EQ(client.createPR("feature", "main", "Add \"quoted\" thing",
                              "Body with 'quotes' & more", false),
              samplePR());
    // As a draft, the flag comes last.
    client.createPR("feature", "release", "Title", "", true);
    EXPECT_EQ(gh.calls(),
              (Calls{"[pr][create][--head][feature][--base][main][--title]"
                     "[Add \"quoted\" thing][--body][Body with 'quotes' & more]",
                     listCall("feature"),
                     "[pr][create][--head][feature][--base][release][--title][Title][--body][]"
                     "[--draft]",
                     listCall("feature")}));
}

TEST_F(GitHubClientTest, FailuresCarryGhsStderrOrSayWhatWasMissing) {
    gh.failList("feature", "HTTP 502: Bad Gateway\n");
    gh.failList("quiet", "");
    gh.answer("garbage", "Welcome to GitHub CLI!");
    EXPECT_EQ(failure([&] { client.prForBranch("feature"); }), "gh: HTTP 502: Bad Gateway");
    EXPECT_EQ(failure([&] { client.prForBranch("quiet"); }), "gh command failed");
    EXPECT_EQ(failure([&] { client.prForBranch("garbage"); }).rfind("decoding: ", 0), 0U);

    // Created, but the listing finds nothing; then a create that fails lists nothing.
    EXPECT_EQ(failure([&] { client.createPR("lost", "main", "T", "B", false); }),
              "gh returned no data");
    EXPECT_EQ(gh.calls().size(), 5U);
    gh.failCreate("a pull request for branch \"feature\" already exists\n");
    EXPECT_EQ(failure([&] { client.createPR("feature", "main", "T", "B", false); }),
              "gh: a pull request for branch \"feature\" already exists");
    EXPECT_EQ(gh.calls().size(), 6U);
}

TEST_F(GitHubClientTest, AvailabilityIsAskedOnceForTheClientsLifeEvenByConcurrentCallers) {
    std::vector<char> answers(8, 0);
    {
        std::vector<std::jthread> threads;
        threads.reserve(answers.size());
        for (char& answer : answers) {
            threads.emplace_back([this, slot = &answer] { *slot = client.isAvailable() ? 1 : 0; });
        }
    }
    EXPECT_EQ(answers, std::vector<char>(8, 1));
    EXPECT_EQ(gh.calls(), Calls{"[--version]"});
    // Another client asks for itself; a gh that fails its version is unavailable.
    gh.failVersion();
    const GitHubClient other(workingDirectory.string());
    EXPECT_FALSE(other.isAvailable());
    EXPECT_FALSE(other.isAvailable());
    EXPECT_TRUE(client.isAvailable());
    EXPECT_EQ(gh.calls(), (Calls{"[--version]", "[--version]"}));
}

TEST_F(GitHubClientTest, ConcurrentQuestionsEachGetTheirOwnAnswer) {
    const Calls branches{"one", "two", "three", "four", "five", "six"};
    for (std::size_t index = 0; index < branches.size(); ++index) {
        gh.answer(branches[index], R"([{"number":)" + std::to_string(index + 1) +
                                       R"(,"url":"u","state":"OPEN","isDraft":false,"title":")" +
                                       branches[index] + R"(","comments":[]}])");
    }
    // Every call waits for all the others to start: run one after the other, they would fail.
    gh.requireConcurrentCalls(static_cast<int>(branches.size()));
    std::vector<std::optional<GitHubPR>> answers(branches.size());
    {
        std::vector<std::jthread> threads;
        for (std::size_t index = 0; index < branches.size(); ++index) {
            threads.emplace_back([&, index] {
                try {
                    answers[index] = client.prForBranch(branches[index]);
                } catch (const GitHubClientError&) {  // gh gave up waiting: left absent
                }
            });
        }
    }
    for (std::size_t index = 0; index < branches.size(); ++index) {
        ASSERT_TRUE(answers[index].has_value()) << branches[index];
        EXPECT_EQ(answers[index]->number, static_cast<int>(index + 1));
        EXPECT_EQ(answers[index]->title, branches[index]);
    }
}

TEST(GitHubClientWithoutGh, IsUnavailableAndThrowsGhNotFound) {
    const TempDir emptyFolder{"vorda-no-gh"};
    const ScopedEnvironment path("PATH");
    path.set(emptyFolder.string());
    if (locateTool("gh")) {
        GTEST_SKIP() << "a gh is installed in a standard folder: " << *locateTool("gh");
    }
    const GitHubClient client(emptyFolder.string());
    EXPECT_FALSE(client.isAvailable());
    EXPECT_EQ(failure([&] { client.prForBranch("feature"); }), "gh CLI not found on PATH");
    EXPECT_EQ(failure([&] { client.createPR("feature", "main", "T", "B", true); }),
              "gh CLI not found on PATH");
}

}  // namespace
}  // namespace vorda
