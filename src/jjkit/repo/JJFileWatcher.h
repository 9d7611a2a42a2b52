#pragma once

#include <cstdint>
#include <memory>
#include <stop_token>
#include <string>
#include <string_view>

namespace vorda {

/// Reports that a repository changed, by watching jj's operation heads.
///
/// Every completed jj operation, by any process, replaces the head files under
/// the shared store's `op_heads` (in its `heads` folder), so watching there
/// sees every change without reading the working copy. A further workspace
/// has a file at `.jj/repo` that names the store; the store it names is
/// watched, so every workspace of a repository sees every change. Events are
/// not debounced or coalesced here; the session does that. The watch does not
/// recurse and does not re-open: when the folder is replaced the stream
/// reports that and then stays silent. A folder that cannot be watched gives a
/// stream that ends at once, without an error.
///
///     JJFileWatcher watcher(storeOwnerRoot);
///     auto events = watcher.events();
///     while (events->next(stop)) { scheduleRefresh(); }
class JJFileWatcher {
  public:
    /// An unbounded stream of empty events, consumed by one thread.
    class EventStream {
      public:
        virtual ~EventStream() = default;
        /// Blocks until the next event (true) or the end of the stream
        /// (false): the folder could not be watched, or `stop` fired.
        virtual bool next(std::stop_token stop) = 0;
    };

    explicit JJFileWatcher(std::string_view repositoryPath);

    /// The watched folder: the shared store's "op_heads" (the repository path
    /// + "/.jj/repo/op_heads" when no store can be found).
    const std::string& path() const { return path_; }

    std::unique_ptr<EventStream> events() const;

  private:
    std::string path_;
};

}  // namespace vorda
