#pragma once

#include <filesystem>
#include <string>

namespace vorda::testing {

/// A fresh folder under the system's temporary folder, removed with its
/// contents when the object goes away (kept when VORDA_KEEP_TEST_DIRS is set,
/// for looking at a failing test's repository).
class TempDir {
  public:
    explicit TempDir(const std::string& prefix = "vorda-test");
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    TempDir(TempDir&& other) noexcept;
    TempDir& operator=(TempDir&&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::string string() const { return path_.string(); }

  private:
    std::filesystem::path path_;
};

}  // namespace vorda::testing
