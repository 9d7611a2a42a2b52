#pragma once

#include <QObject>
#include <functional>

class QSocketNotifier;

namespace vorda {

/// Turns an interrupt from the terminal (SIGINT) into a normal shutdown.
/// The signal no longer ends the process: its
/// handler only writes a byte to a socket pair, and a `QSocketNotifier` on
/// the other end runs `onInterrupt` on the GUI thread, by default
/// `QCoreApplication::quit()`. (An ignored signal is not delivered at all on
/// Linux, so a handler that only writes to the pair stands in for ignoring
/// it and watching it from the event loop.)
///
/// One handler at a time per process. The destructor puts the previous
/// disposition back.
class SigintHandler : public QObject {
    Q_OBJECT

  public:
    explicit SigintHandler(std::function<void()> onInterrupt = {}, QObject* parent = nullptr);
    ~SigintHandler() override;
    SigintHandler(const SigintHandler&) = delete;
    SigintHandler& operator=(const SigintHandler&) = delete;

    /// Whether the handler is in place (false if the socket pair failed or
    /// another handler is active).
    bool isInstalled() const { return installed_; }

  private:
    void drain();

    std::function<void()> onInterrupt_;
    int fds_[2] = {-1, -1};
    QSocketNotifier* notifier_ = nullptr;
    bool installed_ = false;
};

}  // namespace vorda
