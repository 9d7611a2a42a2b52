#pragma once

#include <chrono>
#include <filesystem>
#include <optional>

namespace vorda {

/// An exclusive advisory lock (`flock`) on a lock file, held for the
/// object's life and released when it goes, on every path out of a scope.
/// It orders processes, not threads: callers that share a process order
/// themselves first. A process that dies lets go of its locks with it.
///
///     if (auto lock = FileLock::acquire(folder / "Vorda.lock", std::chrono::seconds(10))) {
///         ... read, change, write ...
///     }
class FileLock {
  public:
    /// Waits for the lock up to `timeout`, creating the lock file if need
    /// be. Absent when another holder kept it for the whole time; throws
    /// `std::filesystem::filesystem_error` when the file cannot be opened.
    static std::optional<FileLock> acquire(const std::filesystem::path& lockFile,
                                           std::chrono::milliseconds timeout);

    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;
    FileLock(FileLock&& other) noexcept;
    FileLock& operator=(FileLock&& other) noexcept;
    ~FileLock();

  private:
    explicit FileLock(int descriptor) : descriptor_(descriptor) {}
    void release() noexcept;

    int descriptor_ = -1;
};

}  // namespace vorda
