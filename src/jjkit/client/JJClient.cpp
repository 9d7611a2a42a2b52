#include "jjkit/client/JJClient.h"

#include <filesystem>

#include "jjkit/support/DiagnosticLog.h"
#include "jjkit/support/Text.h"
#include "jjkit/templates/JJTemplateBuilder.h"
#include "jjkit/templates/OutputParsing.h"

namespace vorda {
namespace {

std::vector<std::string> withAtOperation(std::vector<std::string> arguments,
                                         const std::optional<std::string>& atOperation) {
    if (atOperation) {
        arguments.emplace_back("--at-operation");
        arguments.push_back(*atOperation);
    }
    return arguments;
}

}  // namespace

JJClient::JJClient(std::string repositoryPath) : repositoryPath_(std::move(repositoryPath)) {}

std::string JJClient::logLabel(std::string_view reason) const {
    std::string label = std::filesystem::path(repositoryPath_).filename().string();
    if (label.empty()) {
        // A path with a trailing slash still names its folder.
        label = std::filesystem::path(repositoryPath_).parent_path().filename().string();
    }
    return label.append(" | ").append(reason);
}

ProcessResult JJClient::run(const std::vector<std::string>& arguments, std::string_view reason,
                            bool includeRepoFlag, const std::set<std::int32_t>& allowedExitCodes,
                            const ProcessExecutor::StderrLineHandler& stderrLine,
                            const ProcessExecutor::StdoutChunkHandler& stdoutChunk) const {
    std::vector<std::string> commandLine{"jj", "--no-pager", "--color=never"};
    if (includeRepoFlag) {
        commandLine.emplace_back("-R");
        commandLine.push_back(repositoryPath_);
    }
    commandLine.insert(commandLine.end(), arguments.begin(), arguments.end());

    ProcessResult result;
    try {
        result = ProcessExecutor::execute(commandLine, std::nullopt, "jj-exec", logLabel(reason),
                                          stderrLine, stdoutChunk);
    } catch (const SpawnFailure&) {
        throw JJError(JJError::JJNotFound{});
    }
    if (!allowedExitCodes.contains(result.exitCode)) {
        commandFailed(arguments, result);
    }
    return result;
}

void JJClient::commandFailed(const std::vector<std::string>& arguments,
                             const ProcessResult& result) {
    DiagnosticLog::writeRaw("[jj:error] " + text::join(arguments, " ") + " exit=" +
                            std::to_string(result.exitCode) + "\n" + result.stderr + "\n");
    throw JJError(JJError::CommandFailed{arguments, result.exitCode, result.stderr});
}

void JJClient::snapshotWorkingCopy(std::string_view reason) const {
    // Newer jj deprecates `debug snapshot` and may one day drop it; clap then
    // refuses it with exit status 2 as an unrecognized subcommand.
    const std::vector<std::string> debugSnapshot{"debug", "snapshot"};
    const auto result = run(debugSnapshot, reason, true, {0, 2});
    if (result.exitCode == 0) {
        return;
    }
    if (result.stderr.find("unrecognized subcommand") == std::string::npos) {
        commandFailed(debugSnapshot, result);
    }
    run({"util", "snapshot"}, reason);
}

std::vector<JJCommit> JJClient::log(std::string_view revset, std::string_view reason,
                                    const std::optional<std::string>& atOperation) const {
    const auto arguments = withAtOperation(
        {"log", "--no-graph", "--ignore-working-copy", "-T",
         std::string(JJTemplateBuilder::commitTemplate), "-r=" + std::string(revset)},
        atOperation);
    // Decoded while jj writes: most of the decoding hides behind jj's work.
    NDJSONDecoder<JJCommit> decoder("log");
    run(arguments, reason, true, {0}, {}, [&](std::string_view bytes) { decoder.feed(bytes); });
    return decoder.finishOutput();
}

std::vector<JJWorkspace> JJClient::workspaces(const std::optional<std::string>& atOperation) const {
    const auto arguments = withAtOperation({"workspace", "list", "--ignore-working-copy", "-T",
                                            std::string(JJTemplateBuilder::workspaceTemplate)},
                                           atOperation);
    return parseWorkspaceList(run(arguments, "workspaces").stdout);
}

std::string JJClient::trunkCommitID() const {
    const auto result =
        run({"log", "--no-graph", "--ignore-working-copy", "-r", "trunk()", "-T", "commit_id"},
            "trunkCommitID");
    return std::string(text::trimWhitespace(result.stdout));
}

JJVersion JJClient::version() const {
    const auto result = run({"version"}, "version", /*includeRepoFlag=*/false);
    const auto parsed = JJVersion::parsing(result.stdout);
    if (!parsed) {
        throw JJError(JJError::ParseError{"version", "cannot parse: " + result.stdout});
    }
    if (!parsed->isSupported()) {
        throw JJError(JJError::IncompatibleVersion{parsed->raw, JJVersion::minimumSupported().raw});
    }
    return *parsed;
}

}  // namespace vorda
