#include "app/start/InformationOptions.h"

#include <sstream>
#include <utility>

#include <gtest/gtest.h>

namespace vorda {
namespace {

TEST(InformationOptions, AnsweredOnlyWhereTheyAreOptions) {
    // Arguments after the program, then what is printed: the help, the
    // version, or nothing (the application starts as usual).
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"--version"}, "version"},
        {{"/a", "--help"}, "help"},
        {{"-h", "/a"}, "help"},
        {{"--", "--help"}, ""},
        {{"-R", "--version"}, ""},
        {{"--repo", "-h"}, ""},
        {{"--repo=--help"}, ""},
        {{"/a", "--size=1x1"}, ""},
        {{}, ""},
        {{"--repo", "/a", "--version"}, "version"},
    };
    for (const auto& [arguments, expected] : cases) {
        std::vector<std::string> command{"vorda"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        std::ostringstream out;
        const auto status = information::answer(command, out);
        const std::string printed = expected == "help"      ? std::string(information::helpText())
                                    : expected == "version" ? information::versionText()
                                                            : "";
        EXPECT_EQ(status, expected.empty() ? std::nullopt : std::optional(0)) << command.back();
        EXPECT_EQ(out.str(), printed) << command.back();
    }
}

}  // namespace
}  // namespace vorda
