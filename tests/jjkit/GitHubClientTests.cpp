#include "jjkit/github/GitHubClient.h"

#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <sstream>
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

namespace fs = std::filesystem;
using testing::ScopedEnvironment;
using testing::ScriptedGh;
using testing::TempDir;

/// The error `call` throws; absent (and a test failure) when it throws none.
std::optional<GitHubClientError> errorOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const GitHubClientError& error) {
        return error;
    }
    ADD_FAILURE() << "no GitHubClientError thrown";
    return std::nullopt;
}

const std::string listCall =
    "[pr][list][--head][feature][--state][all][--json]"
    "[number,url,state,isDraft,title,reviewDecision,comments][--limit][1]";

// As gh prints it: no decision is "", comments are objects.
const std::string ghRecord = R"([{
  "number": 42,
  "url": "https://github.com/example/repo/pull/42",
  "state": "MERGED",
  "isDraft": true,
  "title": "Add \"quoted\" thing ä",
  "reviewDecision": "",
  "comments": [{"body": "one"}, {"body": "two"}, {"body": "three"}]
}])";

GitHubPR samplePR() {
    GitHubPR pr;
    pr.number = 42;
    pr.url = "https://github.com/example/repo/pull/42";
    pr.state = GitHubPR::State::merged;
    pr.isDraft = true;
    pr.title = "Add \"quoted\" thing ä";
    pr.reviewCommentCount = 3;
    return pr;
}

std::string recordWith(const std::string& state, const std::string& decisionMember) {
    return R"([{"number": 7, "url": "u", "state": ")" + state +
           R"(", "isDraft": false, "title": "t", "comments": [])" + decisionMember + "}]";
}

// --- Decoding and encoding ---------------------------------------------------

TEST(GitHubPRCoding, ParseFirstPRDecodesGhOutput) {
    EXPECT_EQ(GitHubClient::parseFirstPR(ghRecord), samplePR());
    EXPECT_EQ(GitHubClient::parseFirstPR("  \n" + ghRecord + "\n\n"), samplePR());
}

TEST(GitHubPRCoding, ParseFirstPRTakesTheFirstOfSeveral) {
    const auto first = GitHubClient::parseFirstPR(
        R"([{"number":1,"url":"a","state":"OPEN","isDraft":false,"title":"one","comments":[]},)"
        R"( {"number":2,"url":"b","state":"OPEN","isDraft":false,"title":"two","comments":[]}])");
    ASSERT_TRUE(first.has_value());
    EXPECT_EQ(first->number, 1);
    EXPECT_EQ(first->title, "one");
}

TEST(GitHubPRCoding, EmptyArrayAndBlankTextMeanNoPullRequest) {
    EXPECT_FALSE(GitHubClient::parseFirstPR("[]").has_value());
    EXPECT_FALSE(GitHubClient::parseFirstPR(" [ ]\n").has_value());
    EXPECT_FALSE(GitHubClient::parseFirstPR("").has_value());
    EXPECT_FALSE(GitHubClient::parseFirstPR(" \n\t ").has_value());
}

TEST(GitHubPRCoding, MalformedOutputThrowsADecodingError) {
    EXPECT_THROW(GitHubClient::parseFirstPR("not json at all"), DecodingError);
    EXPECT_THROW(GitHubClient::parseFirstPR("[{\"number\": 1"), DecodingError);
    EXPECT_THROW(GitHubClient::parseFirstPR("{\"number\": 1}"), DecodingError);
    try {
        GitHubClient::parseFirstPR(R"([{"number":1,"url":"u","state":"OPEN","isDraft":false}])");
        ADD_FAILURE() << "a record without a title decoded";
    } catch (const DecodingError& error) {
        EXPECT_EQ(error.description(), "missing key `title` at Index 0");
    }
    try {
        GitHubClient::parseFirstPR(
            R"([{"number":"1","url":"u","state":"OPEN","isDraft":false,"title":"t","comments":[]}])");
        ADD_FAILURE() << "a string number decoded";
    } catch (const DecodingError& error) {
        EXPECT_NE(error.description().find("expected Int) at Index 0.number"), std::string::npos)
            << error.description();
    }
    EXPECT_THROW(GitHubClient::parseFirstPR(
                     R"([{"number":1,"url":"u","state":"OPEN","isDraft":false,"title":"t"}])"),
                 DecodingError);
}

TEST(GitHubPRCoding, StatesAndReviewDecisionsDecodeFromGitHubSpelling) {
    const auto stateOf = [](const std::string& raw) {
        return GitHubClient::parseFirstPR(recordWith(raw, ""))->state;
    };
    EXPECT_EQ(stateOf("OPEN"), GitHubPR::State::open);
    EXPECT_EQ(stateOf("CLOSED"), GitHubPR::State::closed);
    EXPECT_EQ(stateOf("MERGED"), GitHubPR::State::merged);
    EXPECT_EQ(stateOf("UNKNOWN"), GitHubPR::State::unknown);
    EXPECT_EQ(stateOf("DRAFTY"), GitHubPR::State::unknown);
    EXPECT_EQ(stateOf("open"), GitHubPR::State::unknown);

    const auto decisionOf = [](const std::string& member) {
        return GitHubClient::parseFirstPR(recordWith("OPEN", member))->reviewDecision;
    };
    EXPECT_EQ(decisionOf(R"(, "reviewDecision": "APPROVED")"), GitHubPR::ReviewDecision::approved);
    EXPECT_EQ(decisionOf(R"(, "reviewDecision": "CHANGES_REQUESTED")"),
              GitHubPR::ReviewDecision::changesRequested);
    EXPECT_EQ(decisionOf(R"(, "reviewDecision": "REVIEW_REQUIRED")"),
              GitHubPR::ReviewDecision::reviewRequired);
    EXPECT_EQ(decisionOf(R"(, "reviewDecision": "")"), std::nullopt);
    EXPECT_EQ(decisionOf(R"(, "reviewDecision": null)"), std::nullopt);
    EXPECT_EQ(decisionOf(""), std::nullopt);
}

TEST(GitHubPRCoding, EncodingRoundTripsThroughTheCommentCount) {
    std::vector<GitHubPR> records{samplePR()};
    for (const auto decision :
         {GitHubPR::ReviewDecision::approved, GitHubPR::ReviewDecision::changesRequested,
          GitHubPR::ReviewDecision::reviewRequired}) {
        GitHubPR pr = samplePR();
        pr.reviewDecision = decision;
        pr.state = GitHubPR::State::open;
        records.push_back(pr);
    }
    GitHubPR unknown = samplePR();
    unknown.state = GitHubPR::State::unknown;
    unknown.reviewCommentCount = 0;
    records.push_back(unknown);

    for (const auto& pr : records) {
        const nlohmann::json encoded = RecordCoding<GitHubPR>::encode(pr);
        EXPECT_FALSE(encoded.contains("comments"));
        EXPECT_EQ(encoded.at("reviewCommentCount"), pr.reviewCommentCount);
        EXPECT_EQ(encoded.contains("reviewDecision"), pr.reviewDecision.has_value());
        const nlohmann::json reparsed = nlohmann::json::parse(encoded.dump());
        EXPECT_EQ(RecordCoding<GitHubPR>::decode(JsonReader(reparsed)), pr);
    }
    const nlohmann::json merged = RecordCoding<GitHubPR>::encode(samplePR());
    EXPECT_EQ(merged.at("state"), "MERGED");
    EXPECT_EQ(merged.at("isDraft"), true);
    EXPECT_EQ(RecordCoding<GitHubPR>::encode(unknown).at("state"), "UNKNOWN");
}

// --- Errors ----------------------------------------------------------------

TEST(GitHubClientError, DescriptionsAreExact) {
    EXPECT_EQ(GitHubClientError::commandFailed("HTTP 401: Bad credentials").errorDescription(),
              "gh: HTTP 401: Bad credentials");
    EXPECT_EQ(GitHubClientError::commandFailed("").errorDescription(), "gh command failed");
    EXPECT_EQ(GitHubClientError::ghNotFound().errorDescription(), "gh CLI not found on PATH");
    EXPECT_EQ(GitHubClientError::unexpectedEmptyResponse().errorDescription(),
              "gh returned no data");
    EXPECT_STREQ(GitHubClientError::ghNotFound().what(), "gh CLI not found on PATH");
    const auto failed = GitHubClientError::commandFailed("boom");
    ASSERT_TRUE(std::holds_alternative<GitHubClientError::CommandFailed>(failed.value()));
    EXPECT_EQ(std::get<GitHubClientError::CommandFailed>(failed.value()).stderr, "boom");
    EXPECT_EQ(failed.as<GitHubClientError::GhNotFound>(), nullptr);
}

// --- Running the scripted gh -------------------------------------------------

class GitHubClientTest : public ::testing::Test {
  protected:
    ScriptedGh gh;
    TempDir workingDirectory{"vorda-gh-repo"};
    GitHubClient client{workingDirectory.string()};
};

TEST_F(GitHubClientTest, PRForBranchRunsExactlyTheListCommandInTheWorkingDirectory) {
    gh.answer("feature", ghRecord);
    EXPECT_EQ(client.prForBranch("feature"), samplePR());
    EXPECT_EQ(gh.calls(), std::vector<std::string>{listCall});
    EXPECT_EQ(gh.workingDirectories(),
              std::vector<std::string>{fs::canonical(workingDirectory.path()).string()});
}

TEST_F(GitHubClientTest, PRForBranchWithoutPullRequestIsAbsent) {
    EXPECT_EQ(client.prForBranch("feature"), std::nullopt);
    EXPECT_EQ(gh.calls(), std::vector<std::string>{listCall});
}

TEST_F(GitHubClientTest, FailingListThrowsCommandFailedWithStderr) {
    gh.failList("feature", "HTTP 502: Bad Gateway\n");
    const auto error = errorOf([&] { client.prForBranch("feature"); });
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->errorDescription(), "gh: HTTP 502: Bad Gateway");

    gh.failList("quiet", "");
    const auto quiet = errorOf([&] { client.prForBranch("quiet"); });
    ASSERT_TRUE(quiet.has_value());
    EXPECT_EQ(quiet->errorDescription(), "gh command failed");
}

TEST_F(GitHubClientTest, GarbageFromGhIsADecodingError) {
    gh.answer("feature", "Welcome to GitHub CLI!");
    EXPECT_THROW(client.prForBranch("feature"), DecodingError);
}

TEST_F(GitHubClientTest, CreatePRRunsCreateThenListsTheNewPullRequest) {
    gh.answer("feature", ghRecord);
    EXPECT_EQ(client.createPR("feature", "main", "Add \"quoted\" thing",
                              "Body with 'quotes' & more", false),
              samplePR());
    EXPECT_EQ(gh.calls(),
              (std::vector<std::string>{"[pr][create][--head][feature][--base][main][--title]"
                                        "[Add \"quoted\" thing][--body][Body with 'quotes' & more]",
                                        listCall}));
}

TEST_F(GitHubClientTest, CreatePRAsDraftAddsTheDraftFlagLast) {
    gh.answer("feature", ghRecord);
    client.createPR("feature", "release", "Title", "", true);
    EXPECT_EQ(gh.calls(), (std::vector<std::string>{"[pr][create][--head][feature][--base]"
                                                    "[release][--title][Title][--body][][--draft]",
                                                    listCall}));
}

TEST_F(GitHubClientTest, FailingCreateThrowsGhStderrAndListsNothing) {
    gh.failCreate("a pull request for branch \"feature\" already exists\n");
    const auto error = errorOf([&] { client.createPR("feature", "main", "T", "B", false); });
    ASSERT_TRUE(error.has_value());
    EXPECT_EQ(error->errorDescription(),
              "gh: a pull request for branch \"feature\" already exists");
    EXPECT_EQ(gh.calls().size(), 1U);
}

TEST_F(GitHubClientTest, CreatedPullRequestThatCannotBeListedIsUnexpectedEmptyResponse) {
    const auto error = errorOf([&] { client.createPR("feature", "main", "T", "B", false); });
    ASSERT_TRUE(error.has_value());
    EXPECT_NE(error->as<GitHubClientError::UnexpectedEmptyResponse>(), nullptr);
    EXPECT_EQ(error->errorDescription(), "gh returned no data");
    EXPECT_EQ(gh.calls().size(), 2U);
}

TEST_F(GitHubClientTest, AvailabilityIsAskedOnceForTheClientsLife) {
    EXPECT_TRUE(client.isAvailable());
    EXPECT_TRUE(client.isAvailable());
    EXPECT_EQ(gh.calls(), std::vector<std::string>{"[--version]"});

    // A second client asks for itself.
    const GitHubClient other(workingDirectory.string());
    EXPECT_TRUE(other.isAvailable());
    EXPECT_EQ(gh.calls().size(), 2U);
}

TEST_F(GitHubClientTest, ConcurrentFirstAvailabilityChecksShareOneRun) {
    std::vector<char> answers(8, 0);
    {
        std::vector<std::jthread> threads;
        threads.reserve(answers.size());
        for (char& answer : answers) {
            threads.emplace_back([this, slot = &answer] { *slot = client.isAvailable() ? 1 : 0; });
        }
    }
    EXPECT_EQ(answers, std::vector<char>(8, 1));
    EXPECT_EQ(gh.calls(), std::vector<std::string>{"[--version]"});
}

TEST_F(GitHubClientTest, AGhThatFailsItsVersionIsUnavailable) {
    gh.failVersion();
    EXPECT_FALSE(client.isAvailable());
    EXPECT_FALSE(client.isAvailable());
    EXPECT_EQ(gh.calls(), std::vector<std::string>{"[--version]"});
}

TEST_F(GitHubClientTest, ConcurrentQuestionsEachGetTheirOwnAnswer) {
    const std::vector<std::string> branches{"one", "two", "three", "four", "five", "six"};
    for (std::size_t index = 0; index < branches.size(); ++index) {
        gh.answer(branches[index], R"([{"number":)" + std::to_string(index + 1) +
                                       R"(,"url":"u","state":"OPEN","isDraft":false,"title":")" +
                                       branches[index] + R"(","comments":[]}])");
    }
    std::vector<std::optional<GitHubPR>> answers(branches.size());
    {
        std::vector<std::jthread> threads;
        threads.reserve(branches.size());
        for (std::size_t index = 0; index < branches.size(); ++index) {
            threads.emplace_back(
                [&, index] { answers[index] = client.prForBranch(branches[index]); });
        }
    }
    for (std::size_t index = 0; index < branches.size(); ++index) {
        ASSERT_TRUE(answers[index].has_value()) << branches[index];
        EXPECT_EQ(answers[index]->number, static_cast<int>(index + 1));
        EXPECT_EQ(answers[index]->title, branches[index]);
    }
    EXPECT_EQ(gh.calls().size(), branches.size());
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

    const auto listError = errorOf([&] { client.prForBranch("feature"); });
    ASSERT_TRUE(listError.has_value());
    EXPECT_NE(listError->as<GitHubClientError::GhNotFound>(), nullptr);
    EXPECT_EQ(listError->errorDescription(), "gh CLI not found on PATH");

    const auto createError = errorOf([&] { client.createPR("feature", "main", "T", "B", true); });
    ASSERT_TRUE(createError.has_value());
    EXPECT_NE(createError->as<GitHubClientError::GhNotFound>(), nullptr);
}

}  // namespace
}  // namespace vorda
