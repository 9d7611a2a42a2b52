#include "app/start/SigintHandler.h"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>

#include <sys/socket.h>
#include <unistd.h>

#include "app/start/LaunchLog.h"

namespace vorda {
namespace {

// The write end for the signal handler; -1 when no handler is active.
std::atomic<int> signalWriteFd{-1};
struct sigaction previousAction {};

void onSigint(int /*signal*/) {
    const int savedErrno = errno;
    const int fd = signalWriteFd.load();
    if (fd >= 0) {
        const char byte = 1;
        [[maybe_unused]] const auto written = ::write(fd, &byte, 1);
    }
    errno = savedErrno;
}

}  // namespace

SigintHandler::SigintHandler(std::function<void()> onInterrupt, QObject* parent)
    : QObject(parent), onInterrupt_(std::move(onInterrupt)) {
    if (!onInterrupt_) {
        onInterrupt_ = [] {
            QCoreApplication::quit();
        };
    }
    if (signalWriteFd.load() >= 0) {
        launchlog::write(QStringLiteral("SIGINT handler already installed"));
        return;
    }
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, fds_) != 0) {
        launchlog::write(QStringLiteral("SIGINT socketpair failed"));
        return;
    }
    notifier_ = new QSocketNotifier(fds_[1], QSocketNotifier::Read, this);
    connect(notifier_, &QSocketNotifier::activated, this, &SigintHandler::drain);
    signalWriteFd.store(fds_[0]);

    struct sigaction action {};
    action.sa_handler = onSigint;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGINT, &action, &previousAction);
    installed_ = true;
}

SigintHandler::~SigintHandler() {
    if (installed_) {
        ::sigaction(SIGINT, &previousAction, nullptr);
        signalWriteFd.store(-1);
    }
    delete notifier_;
    for (const int fd : fds_) {
        if (fd >= 0) {
            ::close(fd);
        }
    }
}

void SigintHandler::drain() {
    std::array<char, 64> bytes{};
    while (::read(fds_[1], bytes.data(), bytes.size()) > 0) {
    }
    launchlog::write(QStringLiteral("SIGINT \u2192 quit"));
    onInterrupt_();
}

}  // namespace vorda
