// `vorda-cli exec`: one command through the session, as a window sends it.

#include <iostream>
#include <sstream>

#include "cli/Subcommands.h"
#include "feature/session/RepoSession.h"
#include "feature/wire/CommandWire.h"
#include "feature/wire/ResultWire.h"
#include "jjkit/support/DiagnosticLog.h"

namespace vorda::cli {
namespace {

RepoCommand readCommand(const CliOptions& options) {
    if (options.positional.size() > 1) {
        throw UsageError("exec takes one command; quote the JSON as one argument");
    }
    std::string text;
    if (options.positional.empty()) {
        std::ostringstream input;
        input << std::cin.rdbuf();
        text = input.str();
    } else {
        text = options.positional.front();
    }
    try {
        auto command = parseCommand(text);
        if (auto* fetch = std::get_if<RepoCommand::Fetch>(&command.value)) {
            fetch->onProgress = [](const std::string& line) {
                std::cerr << line << std::endl;
            };
        }
        return command;
    } catch (const DecodingError& error) {
        throw UsageError(std::string("not a command: ") + error.what());
    }
}

}  // namespace

int runExec(const CliOptions& options) {
    const auto command = readCommand(options);
    const auto session = RepoSession::open(options.repositoryRoot());
    try {
        // As in a window, the command meets a session that has read the
        // repository once; settings-only commands then need no jj at all.
        session->bootstrap();
        DiagnosticLog::writeLine("[vorda-cli] execute " + std::string(command.perfName()));
        const auto result = session->execute(command);
        printLine(encodeResult(result));
        return 0;
    } catch (const std::exception& error) {
        printLine(nlohmann::json{{"error", {{"message", error.what()}}}});
        return 1;
    }
}

}  // namespace vorda::cli
