#include "jjkit/github/GitHubClient.h"

#include "jjkit/github/ToolLookup.h"
#include "jjkit/process/ProcessExecutor.h"
#include "jjkit/support/Text.h"

namespace vorda {
namespace {

constexpr const char* ghCommand = "gh";
constexpr const char* logTag = "gh-exec";
constexpr const char* prFields = "number,url,state,isDraft,title,reviewDecision,comments";
/// What env reports when it cannot find the tool it was asked to start.
constexpr std::int32_t commandNotFoundStatus = 127;

}  // namespace

GitHubClient::GitHubClient(std::string workingDirectory)
    : workingDirectory_(std::move(workingDirectory)) {}

ProcessResult GitHubClient::run(const std::vector<std::string>& arguments,
                                std::string_view label) const {
    if (!locateTool(ghCommand)) {
        throw GitHubClientError::ghNotFound();
    }
    std::vector<std::string> commandLine{ghCommand};
    commandLine.insert(commandLine.end(), arguments.begin(), arguments.end());
    ProcessResult result;
    try {
        result = ProcessExecutor::execute(commandLine, workingDirectory_, logTag, label);
    } catch (const SpawnFailure&) {
        // env itself or the working directory is unusable.
        throw GitHubClientError::commandFailed("cannot start in " + workingDirectory_);
    }
    // gh may have gone between the look-up and the start.
    if (result.exitCode == commandNotFoundStatus && !locateTool(ghCommand)) {
        throw GitHubClientError::ghNotFound();
    }
    return result;
}

ProcessResult GitHubClient::runChecked(const std::vector<std::string>& arguments,
                                       std::string_view label) const {
    ProcessResult result = run(arguments, label);
    if (result.exitCode != 0) {
        throw GitHubClientError::commandFailed(std::string(text::trimWhitespace(result.stderr)));
    }
    return result;
}

bool GitHubClient::isAvailable() const {
    const std::lock_guard lock(availabilityMutex_);
    if (!available_) {
        try {
            available_ = run({"--version"}, "version").exitCode == 0;
        } catch (...) {
            // Not found, not startable or anything else: not available.
            available_ = false;
        }
    }
    return *available_;
}

std::optional<GitHubPR> GitHubClient::prForBranch(const std::string& branch) const {
    const auto result = runChecked(
        {"pr", "list", "--head", branch, "--state", "all", "--json", prFields, "--limit", "1"},
        "pr list");
    return parseFirstPR(result.stdout);
}

GitHubPR GitHubClient::createPR(const std::string& head, const std::string& base,
                                const std::string& title, const std::string& body,
                                bool draft) const {
    std::vector<std::string> arguments{"pr", "create",  "--head", head,     "--base",
                                       base, "--title", title,    "--body", body};
    if (draft) {
        arguments.emplace_back("--draft");
    }
    runChecked(arguments, "pr create");
    auto created = prForBranch(head);
    if (!created) {
        throw GitHubClientError::unexpectedEmptyResponse();
    }
    return std::move(*created);
}

std::optional<GitHubPR> GitHubClient::parseFirstPR(std::string_view text) {
    const std::string_view trimmed = text::trimWhitespace(text);
    if (trimmed.empty()) {
        return std::nullopt;
    }
    const nlohmann::json json = JsonReader::parse(trimmed);
    auto records = decodeList<GitHubPR>(JsonReader(json));
    if (records.empty()) {
        return std::nullopt;
    }
    return std::move(records.front());
}

}  // namespace vorda
