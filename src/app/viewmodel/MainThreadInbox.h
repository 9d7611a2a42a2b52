#pragma once

#include <QObject>
#include <functional>
#include <mutex>

namespace vorda {

/// Where worker threads hand work back to an object on the GUI thread. The
/// owner closes the inbox before it is destroyed; work posted afterwards is
/// dropped, and work already queued dies with the object (Qt discards posted
/// events of a deleted receiver).
class MainThreadInbox {
  public:
    explicit MainThreadInbox(QObject* receiver) : receiver_(receiver) {}

    /// Queues `work` to run on the receiver's thread; any thread may call.
    void post(std::function<void()> work);
    /// Called by the owner on its own thread before it goes away.
    void close();

  private:
    // Guards `receiver_`, so a post never races the owner's destruction.
    std::mutex mutex_;
    QObject* receiver_;
};

}  // namespace vorda
