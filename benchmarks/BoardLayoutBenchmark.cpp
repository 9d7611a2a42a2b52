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
// cost grows with the number of columns. Runs offscreen.
#include <QApplication>
#include <QLayout>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "LargeRepository.h"
#include "app/board/ContentView.h"
#include "app/board/SelectionStore.h"
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

/// Applies `snapshot` to `model` and returns the milliseconds until `view`
/// has rendered and laid out its row.
double applyAndLayOut(RepoViewModel& model, ContentView& view, const SnapshotRef& snapshot) {
    const auto start = std::chrono::steady_clock::now();
    model.applySnapshot(snapshot);
    // The board renders on the next turn of the event loop; then the row's
    // layout gives every column its place.
    QApplication::sendPostedEvents();
    QApplication::processEvents();
    view.layout()->activate();
    for (auto* child : view.findChildren<QLayout*>()) {
        child->activate();
    }
    return millisecondsSince(start);
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
        std::vector<double> first;
        std::vector<double> unchanged;
        std::vector<double> updated;
        std::size_t columns = 0;
        for (int index = 0; index <= runs; ++index) {
            RepoViewModel model;
            SelectionStore selection;
            ContentView view(&model, &selection, QString::fromStdString(repository.root));
            view.resize(1600, 900);
            view.show();
            QApplication::processEvents();
            const double arrival = applyAndLayOut(model, view, shown);
            columns = view.renderedSlots().size();
            const double same = applyAndLayOut(model, view, again);
            const double next = applyAndLayOut(model, view, changed);
            if (index == 0) {
                continue;  // warm-up: fonts, styles, first allocations
            }
            first.push_back(arrival);
            unchanged.push_back(same);
            updated.push_back(next);
        }
        std::printf(
            "%-24s %5zu columns · first arrival %7.1f ms · same content %6.1f ms · "
            "one more column %7.1f ms  (medians of %d)\n",
            shape.name, columns, median(first), median(unchanged), median(updated), runs);
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
