#include "support/TempDir.h"

#include <cstdlib>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

namespace vorda::testing {

TempDir::TempDir(const std::string& prefix) {
    std::string pattern = (std::filesystem::temp_directory_path() / (prefix + "-XXXXXX")).string();
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    if (::mkdtemp(buffer.data()) == nullptr) {
        throw std::runtime_error("mkdtemp failed for " + pattern);
    }
    // Resolved, so that paths compare equal to what jj and realpath report.
    path_ = std::filesystem::canonical(buffer.data());
}

TempDir::TempDir(TempDir&& other) noexcept : path_(std::exchange(other.path_, {})) {}

TempDir::~TempDir() {
    if (path_.empty() || std::getenv("VORDA_KEEP_TEST_DIRS") != nullptr) {
        return;
    }
    std::error_code error;
    // Make read-only folders that a test left behind removable first.
    for (auto it = std::filesystem::recursive_directory_iterator(
             path_, std::filesystem::directory_options::skip_permission_denied, error);
         !error && it != std::filesystem::recursive_directory_iterator(); it.increment(error)) {
        std::filesystem::permissions(it->path(), std::filesystem::perms::owner_all,
                                     std::filesystem::perm_options::add, error);
    }
    std::filesystem::remove_all(path_, error);
}

}  // namespace vorda::testing
