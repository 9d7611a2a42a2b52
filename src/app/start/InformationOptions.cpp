#include "app/start/InformationOptions.h"

#include <algorithm>

#include "VordaVersion.h"

namespace vorda::information {

std::string_view helpText() {
    return R"(usage: vorda [PATH...] [--repo PATH | -R PATH | --repo=PATH] [-- PATH...]
             [vorda://open?path=PATH] [--screenshot=FILE] [--size=WIDTHxHEIGHT]

Bookmark-centric desktop client of the jj version-control tool.
Opens each repository named on the command line in a window of its own; a
folder inside a repository opens that repository. With none it opens the
repository used last, or else shows the launcher. A second launch hands its
paths to the one already running. It needs jj 0.39 or newer on PATH, and
git for fetch and push.

options:
  PATH, --repo PATH, -R PATH, --repo=PATH
                        open the repository at PATH
  --                    every later argument is a path
  vorda://open?path=PATH
                        open PATH (the address the desktop hands over)
  --screenshot=FILE     save the first window's board as a PNG at FILE once
                        it has loaded, and quit
  --size=WIDTHxHEIGHT   the size of the repository windows
  --help                print this help and quit
  --version             print the version and quit

environment:
  VORDA_COLOR_SCHEME    "dark" or "light": the window's colours, whatever
                        the desktop prefers
  VORDA_PERF            "0" turns the performance trace on standard error off
  VORDA_BENCH_MS        slow-block threshold of that trace, in milliseconds
                        (default 50)
  QT_QPA_PLATFORM       "offscreen" draws without a display (for --screenshot)

examples:
  vorda ~/src/project
  QT_QPA_PLATFORM=offscreen vorda --screenshot=board.png ~/src/project
)";
}

std::string versionText() {
    return std::string("vorda ") + programVersion + "\n";
}

std::optional<int> answer(const std::vector<std::string>& arguments, std::ostream& out) {
    const auto options = arguments.size() > 1 ? arguments.begin() + 1 : arguments.end();
    const auto end = std::find(options, arguments.end(), "--");
    for (auto argument = options; argument != end; ++argument) {
        if ((*argument == "--repo" || *argument == "-R") && argument + 1 != end) {
            ++argument;  // its value is a path, whatever it looks like
            continue;
        }
        if (*argument == "--help" || *argument == "-h") {
            out << helpText();
            return 0;
        }
        if (*argument == "--version") {
            out << versionText();
            return 0;
        }
    }
    return std::nullopt;
}

}  // namespace vorda::information
