#pragma once

#include <cstdint>
#include <exception>
#include <string>

namespace vorda {

/// What a finished process left behind. Each stream is its text decoded as
/// UTF-8, or the empty text when its bytes were not valid UTF-8. `exitCode` is
/// the exit status; a process killed by a signal reports 128 plus the signal
/// number, as a shell does; -1 means no status could be collected.
struct ProcessResult {
    std::string stdout;
    std::string stderr;
    std::int32_t exitCode = -1;
};

/// The process could not be started at all (`/usr/bin/env` or the working
/// directory unusable). The reason went to the diagnostic log.
struct SpawnFailure : std::exception {
    const char* what() const noexcept override { return "process could not be started"; }
};

}  // namespace vorda
