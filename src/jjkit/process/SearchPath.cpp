#include "jjkit/process/SearchPath.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

#include <pwd.h>
#include <unistd.h>

#include "jjkit/support/Text.h"

namespace vorda {

std::string repairedSearchPath(std::string_view inheritedPath, std::string_view userName) {
    std::vector<std::string> components;
    for (const auto piece : text::splitNonEmpty(inheritedPath, ':')) {
        components.emplace_back(piece);
    }
    const std::array<std::string, 9> extras{
        "/etc/profiles/per-user/" + std::string(userName) + "/bin",
        "/run/current-system/sw/bin",
        "/usr/local/bin",
        "/opt/homebrew/bin",
        "/opt/homebrew/sbin",
        "/usr/bin",
        "/bin",
        "/usr/sbin",
        "/sbin",
    };
    for (const auto& extra : extras) {
        if (std::find(components.begin(), components.end(), extra) == components.end()) {
            components.push_back(extra);
        }
    }
    return text::join(components, ":");
}

std::string currentUserName() {
    if (const char* user = std::getenv("USER")) {
        return user;
    }
    if (const char* logname = std::getenv("LOGNAME")) {
        return logname;
    }
    std::vector<char> buffer(4096);
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found) == 0 &&
        found != nullptr && found->pw_name != nullptr) {
        return found->pw_name;
    }
    return {};
}

}  // namespace vorda
