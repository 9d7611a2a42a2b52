#include "jjkit/diff/TreeEntry.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "jjkit/support/Text.h"
#include "jjkit/support/Uuid.h"

namespace vorda {
namespace {

namespace fs = std::filesystem;

/// How far jj (and Git) look for a NUL byte to call a file binary.
constexpr std::size_t binaryPeekSize = 8000;

constexpr mode_t plainFileMode = 0644;
constexpr mode_t executableFileMode = 0755;

[[noreturn]] void fail(const fs::path& path, std::string_view what, int error) {
    throw std::runtime_error(std::string(what) + " " + path.string() + ": " + std::strerror(error));
}

/// Closes the descriptor when it goes out of scope.
class Descriptor {
  public:
    explicit Descriptor(int value) : value_(value) {}
    ~Descriptor() {
        if (value_ >= 0) {
            ::close(value_);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    Descriptor(Descriptor&&) = delete;
    Descriptor& operator=(Descriptor&&) = delete;

    int get() const { return value_; }
    /// Closes now, reporting the result.
    int close() {
        const int result = ::close(value_);
        value_ = -1;
        return result;
    }

  private:
    int value_;
};

std::string readFileBytes(const fs::path& path) {
    Descriptor descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (descriptor.get() < 0) {
        fail(path, "cannot open", errno);
    }
    std::string bytes;
    std::vector<char> buffer(static_cast<std::size_t>(64) * 1024);
    while (true) {
        const ssize_t count = ::read(descriptor.get(), buffer.data(), buffer.size());
        if (count < 0) {
            if (errno == EINTR) {
                continue;
            }
            fail(path, "cannot read", errno);
        }
        if (count == 0) {
            return bytes;
        }
        bytes.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

std::string readLinkTarget(const fs::path& path) {
    std::vector<char> buffer(256);
    while (true) {
        const ssize_t count = ::readlink(path.c_str(), buffer.data(), buffer.size());
        if (count < 0) {
            fail(path, "cannot read the link", errno);
        }
        if (static_cast<std::size_t>(count) < buffer.size()) {
            return {buffer.data(), static_cast<std::size_t>(count)};
        }
        buffer.resize(buffer.size() * 2);
    }
}

void writeAll(int descriptor, std::string_view bytes, const fs::path& path) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(descriptor, bytes.data(), bytes.size());
        if (count < 0) {
            if (errno == EINTR) {
                continue;
            }
            fail(path, "cannot write", errno);
        }
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
}

/// Creates the new entry under the temporary name `temporary`.
void createEntry(const fs::path& temporary, const TreeEntry& entry) {
    if (entry.kind == TreeEntry::Kind::symlink) {
        if (::symlink(entry.contents.c_str(), temporary.c_str()) != 0) {
            fail(temporary, "cannot create the link", errno);
        }
        return;
    }
    Descriptor descriptor(
        ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, plainFileMode));
    if (descriptor.get() < 0) {
        fail(temporary, "cannot create", errno);
    }
    try {
        writeAll(descriptor.get(), entry.contents, temporary);
        // Set explicitly: the umask must not decide what jj records.
        if (::fchmod(descriptor.get(), entry.executable ? executableFileMode : plainFileMode) !=
            0) {
            fail(temporary, "cannot set the mode of", errno);
        }
        if (descriptor.close() != 0) {
            fail(temporary, "cannot write", errno);
        }
    } catch (...) {
        ::unlink(temporary.c_str());
        throw;
    }
}

/// Removes a folder in the way of a new entry, provided it holds folders only.
void removeEmptyFolderTree(const fs::path& folder) {
    std::error_code error;
    for (auto it = fs::recursive_directory_iterator(folder, error);
         !error && it != fs::recursive_directory_iterator(); it.increment(error)) {
        if (!it->is_directory(error) || it->is_symlink(error)) {
            throw std::runtime_error("cannot replace " + folder.string() +
                                     ": the folder is not empty");
        }
    }
    if (error) {
        throw fs::filesystem_error("cannot replace", folder, error);
    }
    fs::remove_all(folder, error);
    if (error) {
        throw fs::filesystem_error("cannot replace", folder, error);
    }
}

}  // namespace

bool TreeEntry::isBinary() const {
    if (kind != Kind::file) {
        return false;
    }
    const std::string_view head =
        std::string_view(contents).substr(0, std::min(contents.size(), binaryPeekSize));
    return head.find('\0') != std::string_view::npos;
}

void requireTreePath(std::string_view path) {
    if (path.empty()) {
        throw std::invalid_argument("empty path");
    }
    const std::string shown(path);
    if (path.find('\0') != std::string_view::npos) {
        throw std::invalid_argument("path contains a NUL character: " + shown);
    }
    if (path.front() == '/') {
        throw std::invalid_argument("path is absolute: " + shown);
    }
    std::size_t start = 0;
    while (start <= path.size()) {
        auto end = path.find('/', start);
        if (end == std::string_view::npos) {
            end = path.size();
        }
        const std::string_view component = path.substr(start, end - start);
        if (component.empty() || component == "." || component == "..") {
            throw std::invalid_argument("path is not a plain relative path: " + shown);
        }
        start = end + 1;
    }
}

TreeEntry readTreeEntry(const fs::path& root, const std::string& path) {
    requireTreePath(path);
    const auto components = text::splitNonEmpty(path, '/');
    fs::path current = root;
    for (std::size_t index = 0; index < components.size(); ++index) {
        current /= std::string(components[index]);
        struct stat status {};
        if (::lstat(current.c_str(), &status) != 0) {
            if (errno == ENOENT || errno == ENOTDIR) {
                return {};
            }
            fail(current, "cannot inspect", errno);
        }
        const bool last = index + 1 == components.size();
        if (!last) {
            if (!S_ISDIR(status.st_mode)) {
                return {};
            }
            continue;
        }
        if (S_ISDIR(status.st_mode)) {
            return {TreeEntry::Kind::folder, {}, false};
        }
        if (S_ISLNK(status.st_mode)) {
            return TreeEntry::symlink(readLinkTarget(current));
        }
        if (S_ISREG(status.st_mode)) {
            return TreeEntry::file(readFileBytes(current), (status.st_mode & S_IXUSR) != 0);
        }
        throw std::runtime_error("not a file, link or folder: " + current.string());
    }
    return {};
}

void removeTreeEntry(const fs::path& root, const std::string& path) {
    requireTreePath(path);
    const fs::path target = root / path;
    if (::unlink(target.c_str()) != 0 && errno != ENOENT && errno != ENOTDIR) {
        fail(target, "cannot remove", errno);
    }
}

void writeTreeEntry(const fs::path& root, const std::string& path, const TreeEntry& entry) {
    requireTreePath(path);
    if (!entry.isPresent()) {
        throw std::invalid_argument("only a file or a link can be written: " + path);
    }
    const fs::path target = root / path;
    std::error_code error;
    fs::create_directories(target.parent_path(), error);
    if (error) {
        throw fs::filesystem_error("cannot make the folder", target.parent_path(), error);
    }
    struct stat status {};
    if (::lstat(target.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) {
        removeEmptyFolderTree(target);
    }
    const fs::path temporary = target.parent_path() / (".vorda-diff-apply-" + makeUuid());
    createEntry(temporary, entry);
    if (::rename(temporary.c_str(), target.c_str()) != 0) {
        const int renameError = errno;
        ::unlink(temporary.c_str());
        fail(target, "cannot put in place", renameError);
    }
}

}  // namespace vorda
