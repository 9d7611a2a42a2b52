#pragma once

#include <array>
#include <string>
#include <string_view>

namespace vorda {

/// The search path given to every child. A desktop application may inherit a
/// poor PATH, so the usual tool folders are appended to whatever it inherited.
/// The inherited entries keep priority and their order; empty entries are
/// dropped; a folder already present is not added again.
std::string repairedSearchPath(std::string_view inheritedPath, std::string_view userName);

/// The user name for the per-user profile folder: USER if that key exists
/// (even when empty), else LOGNAME if it exists, else the account's name.
std::string currentUserName();

}  // namespace vorda
