// What a repository window costs once it is open: how many reads its opening
// takes, what it spends sitting idle, and whether its memory stays flat as
// refreshes come and go.
//
//   idle_benchmark [--cache DIR] [--idle-seconds N] [--refreshes N]
//
// For a demonstration repository made afresh and for the large generated one
// in DIR (20,000 commits, 1,000 bookmarks; made there on first use), a real
// window opens offscreen and the benchmark waits until nothing has run for a
// few seconds. It prints the full reads and the jj processes that opening
// took (one read is right), then lets the window sit for N seconds (default
// 60) and prints the jj processes started and the processor time this
// process used meanwhile (both should be 0), then asks for N refreshes
// (default 100) one after the other through the view model, as the watcher
// does, and prints the resident size and the heap in use after opening,
// after 10 refreshes and after the last. With each idle figure go the threads
// that ran and the timers that fired, so that a cost says where it came from.
#include <QApplication>
#include <QEventLoop>
#include <QMetaObject>
#include <QStandardPaths>
#include <QTimer>
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <string>
#include <string_view>

#include <malloc.h>
#include <unistd.h>

#include "LargeRepository.h"
#include "ScratchFolder.h"
#include "app/viewmodel/RepoViewModel.h"
#include "app/window/RepoWindow.h"
#include "cli/DemoRepository.h"
#include "jjkit/support/DiagnosticLog.h"
#include "jjkit/trace/Perf.h"

namespace vorda::bench {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

/// Counts the subprocesses started and ended, from the lines the process
/// runner writes for each ("[jj-exec] START …", "[gh-exec] END …").
struct ProcessCounts {
    std::atomic<std::uint64_t> jjStarted{0};
    std::atomic<std::uint64_t> jjEnded{0};
    std::atomic<std::uint64_t> ghStarted{0};

    void count(std::string_view text) {
        if (text.starts_with("[jj-exec] START ")) {
            ++jjStarted;
        } else if (text.starts_with("[jj-exec] END ")) {
            ++jjEnded;
        } else if (text.starts_with("[gh-exec] START ")) {
            ++ghStarted;
        }
    }
    bool jjRunning() const { return jjStarted.load() != jjEnded.load(); }
};

ProcessCounts& processes() {
    static ProcessCounts counts;
    return counts;
}

double processorMilliseconds() {
    timespec now{};
    ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

double residentMegabytes() {
    std::ifstream statm("/proc/self/statm");
    long pages = 0;
    long resident = 0;
    statm >> pages >> resident;
    return static_cast<double>(resident) * static_cast<double>(::sysconf(_SC_PAGESIZE)) /
           (1024.0 * 1024.0);
}

/// Bytes the program holds on the heap, whatever the allocator keeps cached.
double heapInUseMegabytes() {
    const auto info = ::mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd) / (1024.0 * 1024.0);
}

/// Processor nanoseconds of each thread of this process, by thread name.
std::map<std::string, std::uint64_t> threadTimes() {
    std::map<std::string, std::uint64_t> times;
    for (const auto& task : fs::directory_iterator("/proc/self/task")) {
        std::string name;
        std::uint64_t ns = 0;
        std::ifstream comm(task.path() / "comm");
        std::getline(comm, name);
        std::ifstream(task.path() / "schedstat") >> ns;
        times[name + " (" + task.path().filename().string() + ")"] = ns;
    }
    return times;
}

/// Counts the timer events delivered, by the class of their receiver.
class TimerCounter : public QObject {
  public:
    std::map<std::string, int> counts;

  protected:
    bool eventFilter(QObject* receiver, QEvent* event) override {
        if (event->type() == QEvent::Timer) {
            ++counts[receiver->metaObject()->className()];
        }
        return false;
    }
};

/// Where the processor time of an idle minute went: the threads that ran
/// and the timers that fired.
void printIdleBreakdown(const std::map<std::string, std::uint64_t>& before,
                        const TimerCounter& timers) {
    for (const auto& [thread, ns] : threadTimes()) {
        const auto found = before.find(thread);
        const std::uint64_t used = ns - (found == before.end() ? 0 : found->second);
        if (used >= 100'000) {
            std::printf("    thread %s: %.1f ms\n", thread.c_str(),
                        static_cast<double>(used) / 1e6);
        }
    }
    for (const auto& [receiver, count] : timers.counts) {
        std::printf("    timer events of %s: %d\n", receiver.c_str(), count);
    }
}

/// Full reads finished in this process so far.
std::uint64_t finishedReads() {
    const auto aggregate = Perf::aggregateSnapshot();
    const auto found = aggregate.find("snapshot|snapshot.read");
    return found == aggregate.end() ? 0 : found->second.count;
}

/// Runs the event loop for `duration`, blocked in it like an idle program.
void idleFor(std::chrono::milliseconds duration) {
    QEventLoop loop;
    QTimer timer;
    timer.setSingleShot(true);
    QObject::connect(&timer, &QTimer::timeout, &loop, &QEventLoop::quit);
    timer.start(duration);
    loop.exec();
}

/// Runs the event loop until `condition` holds, looking every 20 ms.
void waitFor(const std::function<bool()>& condition, std::chrono::seconds limit = 600s) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("timed out waiting for the window");
        }
        idleFor(20ms);
    }
}

/// Waits until no jj process and no read has started or been running for
/// `quiet`: longer than the refresh debounce plus a read's start.
void waitUntilQuiet(std::chrono::milliseconds quiet = 3s) {
    auto counts = [] {
        return std::pair(processes().jjStarted.load(), finishedReads());
    };
    auto last = counts();
    auto since = std::chrono::steady_clock::now();
    waitFor([&] {
        if (counts() != last || processes().jjRunning()) {
            last = counts();
            since = std::chrono::steady_clock::now();
            return false;
        }
        return std::chrono::steady_clock::now() - since >= quiet;
    });
}

struct Options {
    fs::path cache = fs::temp_directory_path() / "vorda-large-repo";
    int idleSeconds = 60;
    int refreshes = 100;
};

void measureWindow(const std::string& name, const fs::path& root, const Options& options) {
    std::printf("%s: %s\n", name.c_str(), root.c_str());
    const double residentBefore = residentMegabytes();
    const auto readsBefore = finishedReads();
    const auto jjBefore = processes().jjStarted.load();
    auto* window = new RepoWindow(QString::fromStdString(root.string()), nullptr, {});
    window->resize(1600, 1000);
    window->show();
    const RepoViewModel& model = *window->viewModel();
    waitFor([&] { return model.board().snapshot() != nullptr && !model.board().isLoading(); });
    if (model.board().errorMessage()) {
        throw std::runtime_error(*model.board().errorMessage());
    }
    waitUntilQuiet();
    std::printf("  reads on open: %llu  (jj processes: %llu)\n",
                static_cast<unsigned long long>(finishedReads() - readsBefore),
                static_cast<unsigned long long>(processes().jjStarted.load() - jjBefore));
    const double residentOpen = residentMegabytes();
    std::printf("  resident size after open: %.1f MB  (%.1f MB before the window)\n", residentOpen,
                residentBefore);

    const auto jjIdle = processes().jjStarted.load();
    const auto ghIdle = processes().ghStarted.load();
    const auto threadsIdle = threadTimes();
    TimerCounter timers;
    qApp->installEventFilter(&timers);
    const double cpuIdle = processorMilliseconds();
    idleFor(std::chrono::seconds(options.idleSeconds));
    const double idleCpu = processorMilliseconds() - cpuIdle;
    qApp->removeEventFilter(&timers);
    std::printf(
        "  idle %d s: jj processes started %llu · gh %llu · processor time %.1f ms"
        "  (%.3f%% of one core)\n",
        options.idleSeconds, static_cast<unsigned long long>(processes().jjStarted.load() - jjIdle),
        static_cast<unsigned long long>(processes().ghStarted.load() - ghIdle), idleCpu,
        idleCpu / (options.idleSeconds * 10.0));
    printIdleBreakdown(threadsIdle, timers);

    const double heapOpen = heapInUseMegabytes();
    double residentAfter10 = residentOpen;
    double heapAfter10 = heapOpen;
    const auto start = std::chrono::steady_clock::now();
    for (int index = 1; index <= options.refreshes; ++index) {
        const auto reads = finishedReads();
        window->viewModel()->requestRefresh();
        waitFor([&] { return finishedReads() > reads && !processes().jjRunning(); });
        // The snapshot goes to the window through its event queue.
        idleFor(20ms);
        if (index == 10) {
            residentAfter10 = residentMegabytes();
            heapAfter10 = heapInUseMegabytes();
        }
    }
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    const double residentLast = residentMegabytes();
    const double heapLast = heapInUseMegabytes();
    std::printf(
        "  resident size: after open %.1f MB · after 10 refreshes %.1f MB · after %d "
        "%.1f MB  (growth 10 to %d: %+.1f MB; %.0f ms a refresh)\n",
        residentOpen, residentAfter10, options.refreshes, residentLast, options.refreshes,
        residentLast - residentAfter10,
        options.refreshes > 0 ? seconds * 1e3 / options.refreshes : 0.0);
    std::printf(
        "  heap in use: after open %.1f MB · after 10 %.1f MB · after %d %.1f MB  "
        "(growth 10 to %d: %+.2f MB)\n",
        heapOpen, heapAfter10, options.refreshes, heapLast, options.refreshes,
        heapLast - heapAfter10);
    ::malloc_trim(0);
    std::printf("  resident size once the allocator gives back its free pages: %.1f MB\n",
                residentMegabytes());
    delete window;
    QApplication::processEvents();
}

void run(const Options& options) {
    if (!Perf::isEnabled()) {
        throw std::runtime_error("needs the trace on: unset VORDA_PERF");
    }
    const ScratchFolder scratch("vorda-idle-bench");
    // The generated repository's identity, so that `mine()` finds its work;
    // kept out of the cache folder, which other benchmarks share.
    const fs::path config = scratch.path() / "jj-config.toml";
    std::ofstream(config) << "[user]\nname = \"" << largeRepositoryUserName << "\"\nemail = \""
                          << largeRepositoryUserEmail << "\"\n[ui]\npaginate = \"never\"\n";
    ::setenv("JJ_CONFIG", config.c_str(), 1);
    // Only the slowest steps would print; the per-process lines are counted.
    ::setenv("VORDA_BENCH_MS", "1000000", 1);
    DiagnosticLog::setSink([](std::string_view text) { processes().count(text); });

    const fs::path demo = scratch.path() / "demo";
    createDemoRepository(demo.string());
    measureWindow("demo repository", demoRepositoryPath(demo.string()), options);

    const LargeRepository repository =
        prepareLargeRepository(options.cache, LargeRepositoryShape{});
    measureWindow("generated repository", repository.root, options);
}

}  // namespace
}  // namespace vorda::bench

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    // Preferences of its own, never the user's.
    QStandardPaths::setTestModeEnabled(true);
    const QApplication app(argc, argv);
    vorda::bench::Options options;
    const QStringList arguments = QCoreApplication::arguments();
    for (int index = 1; index < arguments.size(); ++index) {
        const bool hasValue = index + 1 < arguments.size();
        if (arguments[index] == "--cache" && hasValue) {
            options.cache = arguments[++index].toStdString();
        } else if (arguments[index] == "--idle-seconds" && hasValue) {
            options.idleSeconds = std::max(1, arguments[++index].toInt());
        } else if (arguments[index] == "--refreshes" && hasValue) {
            options.refreshes = std::max(0, arguments[++index].toInt());
        } else {
            std::cerr << "usage: idle_benchmark [--cache DIR] [--idle-seconds N] "
                         "[--refreshes N]\n";
            return 2;
        }
    }
    try {
        vorda::bench::run(options);
    } catch (const std::exception& error) {
        std::cerr << "idle_benchmark: " << error.what() << "\n";
        return 1;
    }
    return 0;
}
