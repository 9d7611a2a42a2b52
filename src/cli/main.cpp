// vorda-cli: the headless front end. It drives a repository through the
// session exactly as a window does and speaks JSON; see `vorda-cli --help`.

#include <iostream>
#include <map>
#include <string>
#include <vector>

#include "VordaVersion.h"
#include "cli/Subcommands.h"

namespace {

using vorda::cli::CliOptions;

int run(const std::vector<std::string>& arguments) {
    using Runner = int (*)(const CliOptions&);
    static const std::map<std::string, Runner> subcommands{
        {"snapshot", vorda::cli::runSnapshot}, {"exec", vorda::cli::runExec},
        {"query", vorda::cli::runQuery},       {"watch", vorda::cli::runWatch},
        {"demo", vorda::cli::runDemo},
    };
    if (arguments.empty() || arguments.front() == "--help" || arguments.front() == "-h" ||
        arguments.front() == "help") {
        std::cout << vorda::cli::helpText("");
        return arguments.empty() ? 2 : 0;
    }
    if (arguments.front() == "--version") {
        std::cout << "vorda-cli " << vorda::programVersion << "\n";
        return 0;
    }
    const auto found = subcommands.find(arguments.front());
    if (found == subcommands.end()) {
        std::cerr << "vorda-cli: unknown subcommand \"" << arguments.front() << "\"\n"
                  << vorda::cli::helpText("");
        return 2;
    }
    const auto options = CliOptions::parse({arguments.begin() + 1, arguments.end()});
    if (options.help) {
        std::cout << vorda::cli::helpText(found->first);
        return 0;
    }
    return found->second(options);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(std::vector<std::string>(argv + 1, argv + argc));
    } catch (const vorda::cli::UsageError& error) {
        std::cerr << "vorda-cli: " << error.what() << "\n";
        return 2;
    } catch (const std::exception& error) {
        std::cerr << "vorda-cli: " << error.what() << "\n";
        return 1;
    }
}
