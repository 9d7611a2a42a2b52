#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

/// `vorda --help` and `vorda --version`, answered before the application
/// object exists: they need no display, start no window and do not reach a
/// running instance. The manual page is made from this help when the
/// program is built, so the two never disagree.
namespace vorda::information {

/// What `vorda --help` prints.
std::string_view helpText();

/// "vorda 0.1.0" and a line feed.
std::string versionText();

/// When the arguments (the program first) ask for the help or the version,
/// before any "--" and not as the value of "--repo" or "-R", prints it to
/// `out` and gives the exit status; absent otherwise.
///
///     answer({"vorda", "--version"}, std::cout)  // prints "vorda 0.1.0", 0
///     answer({"vorda", "--", "--help"}, out)     // absent: "--help" is a path
std::optional<int> answer(const std::vector<std::string>& arguments, std::ostream& out);

}  // namespace vorda::information
