// From a snapshot's arrival to the board being laid out, on the large
// generated repository (20,000 commits, 1,000 bookmarks):
//
//   board_benchmark [--cache DIR] [--runs N]
//
// The snapshot is read once; each run hands it to a fresh view model and
// board (the first arrival of a window), or to a board that already shows
// it (a refresh that found the same content, and one with new content), and
// waits until the row is laid out. Boards with the few lanes the repository
// keeps on the board, and with 100 and 1,000 bookmarks pinned, show how the
// cost grows with the number of columns; the view model's share of each
// figure is printed beneath it. Last, the board of each case is
// scrolled across its whole width a step at a time, each step timed with
// the layout and paint it causes (a frame), and the number of column
// widgets alive is counted; frames are timed on the wall clock and on this
// thread's processor clock. Runs offscreen.
#include <QApplication>
#include <QLayout>
#include <QScrollArea>
#include <QScrollBar>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "LargeRepository.h"
#include "app/board/ContentView.h"
#include "app/board/SelectionStore.h"
#include "app/column/BookmarkColumn.h"
#include "app/viewmodel/RepoViewModel.h"
#include "feature/session/RepoSession.h"
#include "jjkit/support/DiagnosticLog.h"

namespace vorda::bench {
namespace {

namespace fs = std::filesystem;

double millisecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

double threadProcessorMilliseconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// `snapshot` with the first `count` bookmarks (by name) pinned, so that
/// each has a column; the lanes are the snapshot's own.
SnapshotRef withPinned(const SnapshotRef& snapshot, std::size_t count) {
    auto pinned = std::make_shared<RepoSnapshot>(*snapshot);
    std::size_t done = 0;
    for (const auto& [name, bookmark] : pinned->repoState.bookmarks) {
        if (done++ == count) {
            break;
        }
        pinned->settingsByName[name].pinned = true;
    }
    return pinned;
}

/// Milliseconds from a snapshot's arrival until the board is laid out, and
/// the part of them the view model took.
struct Timing {
    double total = 0;
    double model = 0;
};

/// Applies `snapshot` to `model` and times it until `view` has rendered and
/// laid out its row.
Timing applyAndLayOut(RepoViewModel& model, ContentView& view, const SnapshotRef& snapshot) {
    const auto start = std::chrono::steady_clock::now();
    model.applySnapshot(snapshot);
    const double modelTime = millisecondsSince(start);
    // The board renders on the next turn of the event loop; then the row's
    // layout gives every column its place.
    QApplication::sendPostedEvents();
    QApplication::processEvents();
    view.layout()->activate();
    for (auto* child : view.findChildren<QLayout*>()) {
        child->activate();
    }
    return {millisecondsSince(start), modelTime};
}

/// Frame times of one scroll across the board.
struct Frames {
    std::size_t count = 0;
    double median = 0;
    double p99 = 0;
    double worst = 0;
    /// The same on this thread's processor clock, which other programs on
    /// the machine do not stretch.
    double processorP99 = 0;
    double processorWorst = 0;
};

/// Steps the board's horizontal scroll bar from one end to the other, a
/// quarter of the viewport at a time, and times each step up to a finished
/// paint of the viewport.
Frames scrollAcross(ContentView& view) {
    auto* area = view.findChild<QScrollArea*>();
    QScrollBar* bar = area->horizontalScrollBar();
    const int step = std::max(1, area->viewport()->width() / 4);
    std::vector<double> times;
    std::vector<double> processorTimes;
    for (int value = bar->minimum(); value <= bar->maximum() + step - 1; value += step) {
        const auto start = std::chrono::steady_clock::now();
        const double processorStart = threadProcessorMilliseconds();
        bar->setValue(std::min(value, bar->maximum()));
        QApplication::sendPostedEvents();
        area->viewport()->repaint();
        times.push_back(millisecondsSince(start));
        processorTimes.push_back(threadProcessorMilliseconds() - processorStart);
    }
    bar->setValue(bar->minimum());
    QApplication::processEvents();
    Frames frames;
    frames.count = times.size();
    std::sort(times.begin(), times.end());
    frames.median = times[times.size() / 2];
    frames.p99 = times[std::min(times.size() - 1, times.size() * 99 / 100)];
    frames.worst = times.back();
    std::sort(processorTimes.begin(), processorTimes.end());
    frames.processorP99 = processorTimes[std::min(times.size() - 1, times.size() * 99 / 100)];
    frames.processorWorst = processorTimes.back();
    return frames;
}

struct Case {
    const char* name;
    std::size_t pinned;
};

void run(const fs::path& cache, int runs) {
    fs::create_directories(cache);
    const fs::path config = cache / "jj-config.toml";
    std::ofstream(config) << "[user]\nname = \"" << largeRepositoryUserName << "\"\nemail = \""
                          << largeRepositoryUserEmail << "\"\n[ui]\npaginate = \"never\"\n";
    ::setenv("JJ_CONFIG", config.c_str(), 1);
    DiagnosticLog::setSink([](std::string_view) {});

    const LargeRepository repository = prepareLargeRepository(cache, LargeRepositoryShape{});
    const auto session = RepoSession::open(repository.root.string());
    const SnapshotRef snapshot = session->refreshSnapshot();
    std::cout << "repository: " << repository.root.string() << " · "
              << snapshot->repoState.commits.size() << " commits, "
              << snapshot->repoState.bookmarks.size() << " bookmarks\n";

    for (const Case& shape : {Case{"repository's own board", 0}, Case{"100 bookmarks pinned", 100},
                              Case{"1,000 bookmarks pinned", 1000}}) {
        const SnapshotRef shown = shape.pinned == 0 ? snapshot : withPinned(snapshot, shape.pinned);
        // The same content as a new read delivers it: equal, not identical.
        const auto again = std::make_shared<RepoSnapshot>(*shown);
        // New content: one more bookmark pinned.
        const SnapshotRef changed = withPinned(shown, shape.pinned + 1);
        std::vector<Timing> first;
        std::vector<Timing> unchanged;
        std::vector<Timing> updated;
        std::size_t columns = 0;
        std::size_t widgets = 0;
        Frames frames;
        for (int index = 0; index <= runs; ++index) {
            RepoViewModel model;
            SelectionStore selection;
            ContentView view(&model, &selection, QString::fromStdString(repository.root));
            view.resize(1600, 900);
            view.show();
            QApplication::processEvents();
            const Timing arrival = applyAndLayOut(model, view, shown);
            columns = view.renderedSlots().size();
            const Timing same = applyAndLayOut(model, view, again);
            const Timing next = applyAndLayOut(model, view, changed);
            if (index == 0) {
                continue;  // warm-up: fonts, styles, first allocations
            }
            if (index == 1) {
                widgets = view.findChildren<BookmarkColumn*>().size();
                frames = scrollAcross(view);
            }
            first.push_back(arrival);
            unchanged.push_back(same);
            updated.push_back(next);
        }
        auto total = [](const std::vector<Timing>& timings) {
            std::vector<double> values;
            for (const auto& timing : timings) {
                values.push_back(timing.total);
            }
            return median(values);
        };
        auto modelPart = [](const std::vector<Timing>& timings) {
            std::vector<double> values;
            for (const auto& timing : timings) {
                values.push_back(timing.model);
            }
            return median(values);
        };
        std::printf(
            "%-24s %5zu columns · first arrival %7.1f ms · same content %6.1f ms · "
            "one more column %7.1f ms  (medians of %d)\n",
            shape.name, columns, total(first), total(unchanged), total(updated), runs);
        std::printf(
            "%-24s  view model part:  first arrival %7.1f ms · same content %6.1f ms · "
            "one more column %7.1f ms\n",
            "", modelPart(first), modelPart(unchanged), modelPart(updated));
        std::printf(
            "%-24s %5zu lane widgets · scroll %4zu frames · median %5.1f ms · p99 %5.1f ms · "
            "worst %5.1f ms · processor p99 %5.1f ms, worst %5.1f ms\n",
            "", widgets, frames.count, frames.median, frames.p99, frames.worst, frames.processorP99,
            frames.processorWorst);
    }
}

}  // namespace
}  // namespace vorda::bench

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    const QApplication app(argc, argv);
    std::filesystem::path cache = std::filesystem::temp_directory_path() / "vorda-board-bench";
    int runs = 5;
    const QStringList arguments = QCoreApplication::arguments();
    for (int index = 1; index < arguments.size(); ++index) {
        if (arguments[index] == "--cache" && index + 1 < arguments.size()) {
            cache = arguments[++index].toStdString();
        } else if (arguments[index] == "--runs" && index + 1 < arguments.size()) {
            runs = std::max(1, arguments[++index].toInt());
        } else {
            std::cerr << "usage: board_benchmark [--cache DIR] [--runs N]\n";
            return 2;
        }
    }
    try {
        vorda::bench::run(cache, runs);
    } catch (const std::exception& error) {
        std::cerr << "board_benchmark: " << error.what() << "\n";
        return 1;
    }
    return 0;
}
