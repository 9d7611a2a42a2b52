#include "jjkit/process/ProcessExecutor.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "jjkit/process/SearchPath.h"
#include "jjkit/process/StderrLinePump.h"
#include "jjkit/support/DiagnosticLog.h"
#include "jjkit/support/Utf8.h"
#include "jjkit/trace/Perf.h"

extern char** environ;  // NOLINT(readability-redundant-declaration): POSIX declares it nowhere

namespace vorda {
namespace {

constexpr const char* envExecutable = "/usr/bin/env";

// Owns a file descriptor and closes it once.
class FileDescriptor {
  public:
    FileDescriptor() = default;
    explicit FileDescriptor(int fd) : fd_(fd) {}
    ~FileDescriptor() { reset(); }
    FileDescriptor(FileDescriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        if (this != &other) {
            reset();
            fd_ = std::exchange(other.fd_, -1);
        }
        return *this;
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int get() const { return fd_; }
    void reset() {
        if (fd_ >= 0) {
            ::close(fd_);
            fd_ = -1;
        }
    }

  private:
    int fd_ = -1;
};

struct Pipe {
    FileDescriptor read;
    FileDescriptor write;
};

Pipe makePipe() {
    std::array<int, 2> fds{-1, -1};
    if (::pipe2(fds.data(), O_CLOEXEC) != 0) {
        return {};
    }
    return {FileDescriptor(fds[0]), FileDescriptor(fds[1])};
}

// The parent's environment with PATH replaced by the repaired search path,
// and jj's editor set to one that accepts the text as it stands: a child has
// no terminal, and a command such as `split` would otherwise wait for an
// interactive editor forever.
std::vector<std::string> childEnvironment() {
    std::vector<std::string> entries;
    const char* inheritedPath = std::getenv("PATH");
    const std::string path =
        "PATH=" +
        repairedSearchPath(inheritedPath != nullptr ? inheritedPath : "", currentUserName());
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        if (std::strncmp(*entry, "PATH=", 5) != 0 && std::strncmp(*entry, "JJ_EDITOR=", 10) != 0) {
            entries.emplace_back(*entry);
        }
    }
    entries.push_back(path);
    entries.emplace_back("JJ_EDITOR=true");
    return entries;
}

std::vector<char*> pointerVector(std::vector<std::string>& strings) {
    std::vector<char*> pointers;
    pointers.reserve(strings.size() + 1);
    for (auto& entry : strings) {
        pointers.push_back(entry.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

// RAII for the spawn attribute objects.
struct SpawnSetup {
    posix_spawn_file_actions_t actions{};
    posix_spawnattr_t attributes{};
    SpawnSetup() {
        posix_spawn_file_actions_init(&actions);
        posix_spawnattr_init(&attributes);
    }
    ~SpawnSetup() {
        posix_spawn_file_actions_destroy(&actions);
        posix_spawnattr_destroy(&attributes);
    }
    SpawnSetup(const SpawnSetup&) = delete;
    SpawnSetup& operator=(const SpawnSetup&) = delete;
};

struct SpawnOutcome {
    pid_t pid = -1;
    int error = 0;  // errno of a failed start, else 0
};

SpawnOutcome spawnChild(const std::vector<std::string>& arguments,
                        const std::optional<std::string>& workingDirectory, const Pipe& out,
                        const Pipe& err) {
    SpawnSetup setup;
    posix_spawn_file_actions_adddup2(&setup.actions, out.write.get(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&setup.actions, err.write.get(), STDERR_FILENO);
    if (workingDirectory) {
        posix_spawn_file_actions_addchdir_np(&setup.actions, workingDirectory->c_str());
    }
    // The child starts with default signal handling and nothing blocked,
    // whatever this process did to its own.
    sigset_t defaults;
    sigfillset(&defaults);
    sigset_t empty;
    sigemptyset(&empty);
    posix_spawnattr_setsigdefault(&setup.attributes, &defaults);
    posix_spawnattr_setsigmask(&setup.attributes, &empty);
    posix_spawnattr_setflags(&setup.attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);

    std::vector<std::string> argv{envExecutable};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    std::vector<std::string> environment = childEnvironment();
    auto argvPointers = pointerVector(argv);
    auto environmentPointers = pointerVector(environment);

    pid_t pid = -1;
    const int status = ::posix_spawn(&pid, envExecutable, &setup.actions, &setup.attributes,
                                     argvPointers.data(), environmentPointers.data());
    return status != 0 ? SpawnOutcome{-1, status} : SpawnOutcome{pid, 0};
}

// Where standard output goes: kept whole, or handed on as it arrives.
struct StdoutSink {
    const ProcessExecutor::StdoutChunkHandler& chunk;
    std::string kept;
    std::size_t count = 0;

    void take(std::string_view bytes) {
        count += bytes.size();
        if (chunk) {
            chunk(bytes);
        } else {
            kept.append(bytes);
        }
    }
};

// Reads both pipes until both reach end of file, so neither can fill up.
void drain(FileDescriptor& out, FileDescriptor& err, StdoutSink& stdoutSink, StderrLinePump* pump,
           std::string& stderrBytes) {
    std::array<char, 65536> buffer{};
    std::array<pollfd, 2> fds{pollfd{out.get(), POLLIN, 0}, pollfd{err.get(), POLLIN, 0}};
    int open = 2;
    while (open > 0) {
        if (::poll(fds.data(), fds.size(), -1) < 0) {
            if (errno == EINTR) {
                continue;
            }
            break;
        }
        for (std::size_t index = 0; index < fds.size(); ++index) {
            if (fds[index].fd < 0 || fds[index].revents == 0) {
                continue;
            }
            const ssize_t count = ::read(fds[index].fd, buffer.data(), buffer.size());
            if (count < 0 && (errno == EINTR || errno == EAGAIN)) {
                continue;
            }
            if (count <= 0) {
                fds[index].fd = -1;
                --open;
                continue;
            }
            const std::string_view bytes(buffer.data(), static_cast<std::size_t>(count));
            if (index == 0) {
                stdoutSink.take(bytes);
            } else if (pump != nullptr) {
                pump->feed(bytes);
            } else {
                stderrBytes.append(bytes);
            }
        }
    }
    if (pump != nullptr) {
        pump->finish();
        stderrBytes = pump->whole();
    }
}

std::int32_t waitForExit(pid_t pid) {
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR) {
            return -1;
        }
    }
    if (WIFEXITED(status)) {
        return WEXITSTATUS(status);
    }
    if (WIFSIGNALED(status)) {
        return 128 + WTERMSIG(status);
    }
    return -1;
}

}  // namespace

ProcessResult ProcessExecutor::execute(const std::vector<std::string>& arguments,
                                       const std::optional<std::string>& workingDirectory,
                                       std::string_view logTag, std::string_view logLabel,
                                       const StderrLineHandler& stderrLine,
                                       const StdoutChunkHandler& stdoutChunk) {
    const std::string tag(logTag);
    const std::string label(logLabel);
    Pipe out = makePipe();
    Pipe err = makePipe();

    const auto wallStart = std::chrono::system_clock::now();
    const std::uint64_t monotonicStart = Perf::nowNs();
    DiagnosticLog::writeLine("[" + tag + "] START " + label);

    SpawnOutcome spawned{-1, EMFILE};
    if (out.read.get() >= 0 && err.read.get() >= 0) {
        spawned = spawnChild(arguments, workingDirectory, out, err);
    }
    if (spawned.error != 0) {
        DiagnosticLog::writeLine("[" + tag + "] SPAWN-FAIL " + label + " " +
                                 std::strerror(spawned.error));
        throw SpawnFailure();
    }
    out.write.reset();
    err.write.reset();

    StdoutSink stdoutSink{stdoutChunk, {}, 0};
    std::string stderrBytes;
    const auto lineHandler = [&](const std::string& line) {
        DiagnosticLog::writeLine("[" + tag + "] STDERR " + label + " | " + line);
        stderrLine(line);
    };
    std::optional<StderrLinePump> pump;
    if (stderrLine) {
        pump.emplace(lineHandler);
    }
    drain(out.read, err.read, stdoutSink, pump ? &*pump : nullptr, stderrBytes);
    const std::int32_t exitCode = waitForExit(spawned.pid);

    const std::uint64_t monotonicEnd = Perf::nowNs();
    const std::chrono::duration<double> elapsed = std::chrono::system_clock::now() - wallStart;
    const auto durationMs = static_cast<long long>(elapsed.count() * 1000.0);
    DiagnosticLog::writeLine("[" + tag + "] END   " + label + " exit=" + std::to_string(exitCode) +
                             " dur=" + std::to_string(durationMs) +
                             "ms bytes=" + std::to_string(stdoutSink.count));
    Perf::recordSubprocess(label, monotonicStart, monotonicEnd);

    return ProcessResult{utf8::decodeOrEmpty(stdoutSink.kept), utf8::decodeOrEmpty(stderrBytes),
                         exitCode};
}

}  // namespace vorda
