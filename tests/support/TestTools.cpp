#include "support/TestTools.h"

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <stdexcept>

namespace vorda::testing {

std::string toolFolder(const std::string& name) {
    return std::string(VORDA_TEST_TOOLS_DIR) + "/" + name;
}

std::string realJJ() {
    const char* value = std::getenv("PATH");
    std::stringstream path(value != nullptr ? std::string(value) : std::string());
    std::string folder;
    while (std::getline(path, folder, ':')) {
        const auto candidate = std::filesystem::path(folder) / "jj";
        if (!folder.empty() && std::filesystem::exists(candidate)) {
            return candidate.string();
        }
    }
    throw std::runtime_error("jj is not on PATH");
}

FailingJJScope::FailingJJScope(const std::string& subcommand, bool unpinnedOnly) {
    real_.set(realJJ());
    path_.prependPath(toolFolder("failing-subcommand-jj"));
    subcommand_.set(subcommand);
    unpinned_.set(unpinnedOnly ? "1" : "0");
}

}  // namespace vorda::testing
