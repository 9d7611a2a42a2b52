#include "jjkit/support/FileLock.h"

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace vorda {

std::optional<FileLock> FileLock::acquire(const std::filesystem::path& lockFile,
                                          std::chrono::milliseconds timeout) {
    const int descriptor = ::open(lockFile.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (descriptor < 0) {
        throw std::filesystem::filesystem_error("cannot open lock file", lockFile,
                                                std::error_code(errno, std::generic_category()));
    }
    FileLock lock(descriptor);
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    auto pause = std::chrono::milliseconds(2);
    while (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR) {
            throw std::filesystem::filesystem_error(
                "cannot lock", lockFile, std::error_code(errno, std::generic_category()));
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            return std::nullopt;
        }
        // A holder usually finishes within milliseconds; back off up to a
        // tenth of a second so that a long one costs no processor time.
        std::this_thread::sleep_for(pause);
        pause = std::min(pause * 2, std::chrono::milliseconds(100));
    }
    return lock;
}

FileLock::FileLock(FileLock&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}

FileLock& FileLock::operator=(FileLock&& other) noexcept {
    if (this != &other) {
        release();
        descriptor_ = std::exchange(other.descriptor_, -1);
    }
    return *this;
}

FileLock::~FileLock() {
    release();
}

void FileLock::release() noexcept {
    if (descriptor_ >= 0) {
        // Closing the descriptor releases the lock.
        ::close(descriptor_);
        descriptor_ = -1;
    }
}

}  // namespace vorda
