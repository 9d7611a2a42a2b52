#pragma once

#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

#include "support/TempDir.h"

namespace vorda::testing {

/// Runs `run` in a child process and kills it (SIGKILL) once it reaches the
/// hook `run` is handed: a process that dies between two steps, with no
/// chance to tidy up. True when the child was killed there; false when it
/// ended without reaching the hook.
inline bool killedAtHook(const std::function<void(const std::function<void()>& hook)>& run) {
    const TempDir markers("vorda-hook-marker");
    const auto marker = markers.path() / "reached";
    std::fflush(nullptr);
    const pid_t child = ::fork();
    if (child < 0) {
        return false;
    }
    if (child == 0) {
        // The child waits at the hook to be killed; it never returns into
        // the test framework.
        try {
            run([&] {
                std::ofstream(marker) << "reached\n";
                for (;;) {
                    ::pause();
                }
            });
        } catch (...) {
        }
        ::_exit(3);
    }
    int status = 0;
    bool ended = false;
    while (!std::filesystem::exists(marker) &&
           !(ended = ::waitpid(child, &status, WNOHANG) == child)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    if (ended) {
        return false;
    }
    ::kill(child, SIGKILL);
    ::waitpid(child, &status, 0);
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
}

}  // namespace vorda::testing
