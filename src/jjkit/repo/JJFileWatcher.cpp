#include "jjkit/repo/JJFileWatcher.h"

#include <algorithm>
#include <array>
#include <cerrno>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include "jjkit/repo/JJRepoDetector.h"

namespace vorda {
namespace {

// Entries created, deleted, renamed or modified, attributes changed, and the
// folder itself deleted or moved: the inotify counterpart of a vnode watch for
// write, rename, delete and attribute change.
constexpr std::uint32_t watchMask = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO |
                                    IN_MODIFY | IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF |
                                    IN_ONLYDIR;

class EndedStream final : public JJFileWatcher::EventStream {
  public:
    bool next(std::stop_token /*stop*/) override { return false; }
};

// Owns an inotify descriptor with one watch, and an eventfd that a stop
// request writes to so that a blocked `next` wakes up.
class InotifyStream final : public JJFileWatcher::EventStream {
  public:
    InotifyStream(int inotifyFD, int wakeFD) : inotify_(inotifyFD), wake_(wakeFD) {}
    ~InotifyStream() override {
        ::close(inotify_);
        ::close(wake_);
    }
    InotifyStream(const InotifyStream&) = delete;
    InotifyStream& operator=(const InotifyStream&) = delete;

    bool next(std::stop_token stop) override {
        while (pending_ == 0) {
            if (ended_ || stop.stop_requested()) {
                ended_ = true;
                return false;
            }
            const std::stop_callback wakeOnStop(stop, [this] {
                const std::uint64_t one = 1;
                [[maybe_unused]] const auto written = ::write(wake_, &one, sizeof one);
            });
            std::array<pollfd, 2> fds{pollfd{inotify_, POLLIN, 0}, pollfd{wake_, POLLIN, 0}};
            if (::poll(fds.data(), fds.size(), -1) < 0 && errno != EINTR) {
                ended_ = true;
                return false;
            }
            if ((fds[1].revents & POLLIN) != 0) {
                ended_ = true;
                return false;
            }
            if ((fds[0].revents & POLLIN) != 0) {
                readEvents();
            } else if (fds[0].revents != 0) {
                ended_ = true;
            }
        }
        --pending_;
        return true;
    }

  private:
    void readEvents() {
        alignas(inotify_event) std::array<char, 16384> buffer{};
        const ssize_t count = ::read(inotify_, buffer.data(), buffer.size());
        if (count <= 0) {
            return;
        }
        std::size_t offset = 0;
        while (offset + sizeof(inotify_event) <= static_cast<std::size_t>(count)) {
            inotify_event header{};
            std::copy_n(buffer.data() + offset, sizeof header, reinterpret_cast<char*>(&header));
            // The watch's own removal is bookkeeping, not a change.
            if ((header.mask & IN_IGNORED) == 0) {
                ++pending_;
            }
            offset += sizeof(inotify_event) + header.len;
        }
    }

    int inotify_;
    int wake_;
    std::uint64_t pending_ = 0;
    bool ended_ = false;
};

}  // namespace

JJFileWatcher::JJFileWatcher(std::string_view repositoryPath)
    : path_(std::string(repositoryPath) + "/.jj/repo/op_heads") {
    try {
        path_ = JJRepoDetector::sharedRepositoryPath(repositoryPath) + "/op_heads";
    } catch (const std::exception&) {
        // No store to be found: the usual place, whose watch then ends at once.
    }
}

std::unique_ptr<JJFileWatcher::EventStream> JJFileWatcher::events() const {
    const int inotifyFD = ::inotify_init1(IN_CLOEXEC | IN_NONBLOCK);
    if (inotifyFD < 0) {
        return std::make_unique<EndedStream>();
    }
    if (::inotify_add_watch(inotifyFD, path_.c_str(), watchMask) < 0) {
        ::close(inotifyFD);
        return std::make_unique<EndedStream>();
    }
    // jj keeps the head files one level down, in `op_heads/heads`; an inotify
    // watch sees only its own folder's entries, so that folder is watched too.
    // Older layouts without it still report through the folder itself.
    ::inotify_add_watch(inotifyFD, (path_ + "/heads").c_str(), watchMask);
    const int wakeFD = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (wakeFD < 0) {
        ::close(inotifyFD);
        return std::make_unique<EndedStream>();
    }
    return std::make_unique<InotifyStream>(inotifyFD, wakeFD);
}

}  // namespace vorda
