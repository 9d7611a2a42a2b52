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
using State = GitHubPR::State;
using Decision = GitHubPR::ReviewDecision;

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

const std::string sampleURL = "https://github.com/example/repo/pull/42";

GitHubPR samplePR() {
    return {42, sampleURL, State::merged, true, "Add \"quoted\" thing ä", std::nullopt, 3};
}

/// A list of one record in gh's form: number 7 or `number`, title "t" or `title`.
std::string record(const std::string& members, int number = 7, const std::string& title = "t") {
    return R"([{"number": )" + std::to_string(number) +
           R"(, "url": "u", "isDraft": false, "title": ")" + title + "\"" + members + "}]";
}

TEST(GitHubPRCoding, GhsRecordsParseAndRoundTripAndMalformedOnesThrow) {
    const auto seven = [](State state, std::optional<Decision> decision = std::nullopt) {
        return GitHubPR{7, "u", state, false, "t", decision, 0};
    };
    const auto state = [](const std::string& raw) {
        return record(R"(, "comments": [], "state": ")" + raw + "\"");
    };
    const auto decision = [](const std::string& raw) {
        return record(R"(, "comments": [], "state": "OPEN", "reviewDecision": )" + raw);
    };
    const std::vector<std::pair<std::string, std::optional<GitHubPR>>> parsed{
        {ghRecord, samplePR()},
        {"  \n" + ghRecord + "\n\n", samplePR()},
        {state("CLOSED").substr(0, state("CLOSED").size() - 1) + "," + state("OPEN").substr(1),
         seven(State::closed)},
        {"[]", std::nullopt},
        {" [ ]\n", std::nullopt},
        {"", std::nullopt},
        {" \n\t ", std::nullopt},
        {state("OPEN"), seven(State::open)},
        {state("MERGED"), seven(State::merged)},
        {state("UNKNOWN"), seven(State::unknown)},
        {state("DRAFTY"), seven(State::unknown)},
        {state("open"), seven(State::unknown)},
        {decision(R"("APPROVED")"), seven(State::open, Decision::approved)},
        {decision(R"("CHANGES_REQUESTED")"), seven(State::open, Decision::changesRequested)},
        {decision(R"("REVIEW_REQUIRED")"), seven(State::open, Decision::reviewRequired)},
        {decision("null"), seven(State::open)},
    };
    for (const auto& [text, expected] : parsed) {
        const auto pr = GitHubClient::parseFirstPR(text);
        EXPECT_EQ(pr, expected) << text;
        if (pr) {  // the cache's own form keeps the count instead of the comments
            const nlohmann::json encoded = RecordCoding<GitHubPR>::encode(*pr);
            EXPECT_EQ(RecordCoding<GitHubPR>::decode(JsonReader(encoded)), pr);
        }
    }
    EXPECT_EQ(RecordCoding<GitHubPR>::encode(samplePR()), nlohmann::json::parse(R"({"number": 42,
        "url": "https://github.com/example/repo/pull/42", "state": "MERGED", "isDraft": true,
        "title": "Add \"quoted\" thing ä", "reviewCommentCount": 3})"));

    // Each malformed text with a part of the error it must give.
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

class GitHubClientTest : public ::testing::Test {
  protected:
    ScriptedGh gh;
    TempDir workingDirectory{"vorda-gh-repo"};
    GitHubClient client{workingDirectory.string()};
};

TEST_F(GitHubClientTest, RunsExactlyItsCommandsInTheWorkingDirectoryAndFailuresCarryGhsStderr) {
    gh.answer("feature", ghRecord);
    EXPECT_EQ(client.prForBranch("feature"), samplePR());
    EXPECT_EQ(client.prForBranch("no-pr"), std::nullopt);
    // A create lists the new pull request afterwards; as a draft, the flag comes last.
    EXPECT_EQ(client.createPR("feature", "main", "Add \"quoted\" thing",
                              "Body with 'quotes' & more", false),
              samplePR());
    client.createPR("feature", "release", "Title", "", true);
    const std::string create = "[pr][create][--head][feature][--base]";
    EXPECT_EQ(
        gh.calls(),
        (Calls{listCall("feature"), listCall("no-pr"),
               create + "[main][--title][Add \"quoted\" thing][--body][Body with 'quotes' & more]",
               listCall("feature"), create + "[release][--title][Title][--body][][--draft]",
               listCall("feature")}));
    EXPECT_EQ(gh.workingDirectories(), Calls(6, workingDirectory.string()));

    gh.forgetCalls();
    gh.fail("list-broken", "HTTP 502: Bad Gateway\n");
    gh.fail("list-quiet");
    gh.answer("garbage", "Welcome to GitHub CLI!");
    EXPECT_EQ(failure([&] { client.prForBranch("broken"); }), "gh: HTTP 502: Bad Gateway");
    EXPECT_EQ(failure([&] { client.prForBranch("quiet"); }), "gh command failed");
    EXPECT_EQ(failure([&] { client.prForBranch("garbage"); }).rfind("decoding: ", 0), 0U);
    // Created, but the listing finds nothing; then a create that fails lists nothing.
    EXPECT_EQ(failure([&] { client.createPR("lost", "main", "T", "B", false); }),
              "gh returned no data");
    EXPECT_EQ(gh.calls().size(), 5U);
    gh.fail("create", "a pull request for branch \"feature\" already exists\n");
    EXPECT_EQ(failure([&] { client.createPR("feature", "main", "T", "B", false); }),
              "gh: a pull request for branch \"feature\" already exists");
    EXPECT_EQ(gh.calls().size(), 6U);
}

TEST_F(GitHubClientTest, AvailabilityIsAskedOnceEvenByConcurrentCallersWhoseQuestionsRunAtOnce) {
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
    gh.fail("version");
    const GitHubClient other(workingDirectory.string());
    EXPECT_FALSE(other.isAvailable() || other.isAvailable());
    EXPECT_TRUE(client.isAvailable());
    EXPECT_EQ(gh.calls(), (Calls{"[--version]", "[--version]"}));

    // Concurrent questions each get their own answer.
    const Calls branches{"one", "two", "three", "four", "five", "six"};
    std::vector<std::optional<GitHubPR>> expected;
    for (std::size_t index = 0; index < branches.size(); ++index) {
        const int number = static_cast<int>(index) + 1;
        gh.answer(branches[index],
                  record(R"(, "comments": [], "state": "OPEN")", number, branches[index]));
        expected.emplace_back(GitHubPR{number, "u", State::open, false, branches[index], {}, 0});
    }
    // Every call waits for all the others to start: run one after the other, they would fail.
    gh.requireConcurrentCalls(static_cast<int>(branches.size()));
    std::vector<std::optional<GitHubPR>> prs(branches.size());
    {
        std::vector<std::jthread> threads;
        threads.reserve(branches.size());
        for (std::size_t index = 0; index < branches.size(); ++index) {
            threads.emplace_back([&, index] {
                try {
                    prs[index] = client.prForBranch(branches[index]);
                } catch (const GitHubClientError&) {  // gh gave up waiting: left absent
                }
            });
        }
    }
    EXPECT_EQ(prs, expected);

    // Without any gh on the search path: unavailable, and every call says so.
    const TempDir emptyFolder{"vorda-no-gh"};
    const ScopedEnvironment path("PATH");
    path.set(emptyFolder.string());
    if (locateTool("gh")) {
        GTEST_SKIP() << "a gh is installed in a standard folder: " << *locateTool("gh");
    }
    const GitHubClient without(emptyFolder.string());
    EXPECT_FALSE(without.isAvailable());
    EXPECT_EQ((Calls{failure([&] { without.prForBranch("feature"); }),
                     failure([&] { without.createPR("feature", "main", "T", "B", true); })}),
              Calls(2, "gh CLI not found on PATH"));
}

}  // namespace
}  // namespace vorda
