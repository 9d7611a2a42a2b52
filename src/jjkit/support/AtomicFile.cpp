#include "jjkit/support/AtomicFile.h"

#include <cerrno>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "jjkit/support/Uuid.h"

namespace vorda {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void throwFileError(const std::string& what, const fs::path& path, int error) {
    throw fs::filesystem_error(what, path, std::error_code(error, std::generic_category()));
}

/// Closes a descriptor and removes the temporary file unless released.
class TemporaryFile {
  public:
    TemporaryFile(fs::path path, int descriptor)
        : path_(std::move(path)), descriptor_(descriptor) {}
    ~TemporaryFile() {
        closeDescriptor();
        if (!released_) {
            ::unlink(path_.c_str());
        }
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    TemporaryFile(TemporaryFile&&) = delete;
    TemporaryFile& operator=(TemporaryFile&&) = delete;

    int descriptor() const { return descriptor_; }
    const fs::path& path() const { return path_; }

    /// Closes now, so that a failing close (a late write error) is seen.
    int closeDescriptor() {
        if (descriptor_ < 0) {
            return 0;
        }
        const int result = ::close(descriptor_);
        descriptor_ = -1;
        return result;
    }
    void release() { released_ = true; }

  private:
    fs::path path_;
    int descriptor_;
    bool released_ = false;
};

void writeAll(const TemporaryFile& file, const std::string& bytes) {
    std::size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t count =
            ::write(file.descriptor(), bytes.data() + written, bytes.size() - written);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            throwFileError("cannot write file", file.path(), errno);
        }
        written += static_cast<std::size_t>(count);
    }
}

}  // namespace

std::optional<std::string> readWholeFile(const fs::path& path) {
    // Opened without blocking, so that a FIFO put in a file's place cannot
    // hold the reader; only a regular file is read at all.
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) {
        return std::nullopt;
    }
    struct stat status {};
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode) ||
        ::fcntl(descriptor, F_SETFL, 0) != 0) {
        ::close(descriptor);
        return std::nullopt;
    }
    std::string bytes;
    char buffer[16384];
    bool failed = false;
    while (true) {
        const ssize_t count = ::read(descriptor, buffer, sizeof buffer);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            failed = true;
            break;
        }
        if (count == 0) {
            break;
        }
        bytes.append(buffer, static_cast<std::size_t>(count));
    }
    ::close(descriptor);
    if (failed) {
        return std::nullopt;
    }
    return bytes;
}

void writeAtomically(const fs::path& target, const std::string& bytes) {
    const fs::path folder = target.parent_path();
    const fs::path temporaryPath =
        folder / ("." + target.filename().string() + "." + makeUuid() + ".tmp");
    // 0666 before the umask, the permissions any newly created file gets.
    const int descriptor =
        ::open(temporaryPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor < 0) {
        throwFileError("cannot create temporary file", temporaryPath, errno);
    }
    TemporaryFile file(temporaryPath, descriptor);
    writeAll(file, bytes);
    if (::fsync(file.descriptor()) != 0) {
        throwFileError("cannot flush file", temporaryPath, errno);
    }
    if (file.closeDescriptor() != 0) {
        throwFileError("cannot close file", temporaryPath, errno);
    }
    if (::rename(temporaryPath.c_str(), target.c_str()) != 0) {
        throwFileError("cannot replace file", target, errno);
    }
    file.release();

    // Make the rename itself durable. The new file is already in place, so a
    // failure here is not reported: the write has happened.
    const int folderDescriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folderDescriptor >= 0) {
        ::fsync(folderDescriptor);
        ::close(folderDescriptor);
    }
}

}  // namespace vorda
