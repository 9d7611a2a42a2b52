// From a push into the diff panel to the page having drawn it, for a patch
// of 5,000 lines in ten C++ files, in the real web engine, offscreen:
//
//   diff_page_benchmark [--runs N]
//
// The first push pays for the page's load and for turning the C++ grammar
// into regular expressions; the following pushes each carry a patch the
// page has not shown yet (one line differs), so none is skipped.
#include <QApplication>
#include <QTest>
#include <QWebEnginePage>
#include <QWebEngineView>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/diffpanel/DiffWebView.h"
#include "app/start/WebEngineSetup.h"

namespace vorda::bench {
namespace {

constexpr int fileCount = 10;
constexpr int linesPerFile = 500;

/// Ten files; in each, runs of context, removed and added lines.
std::string patchOfFiveThousandLines(int variant, const std::string& extension) {
    std::string patch;
    for (int file = 0; file < fileCount; ++file) {
        const std::string name = "src/module" + std::to_string(file) + extension;
        patch.append("diff --git a/").append(name).append(" b/").append(name);
        patch.append("\nindex 1111111..2222222 100644\n--- a/").append(name);
        patch.append("\n+++ b/").append(name).append("\n@@ -1,334 +1,333 @@\n");
        for (int line = 0; line < linesPerFile; ++line) {
            patch.append(line % 3 == 0 ? " " : line % 3 == 1 ? "-" : "+");
            patch.append("    int value").append(std::to_string(line)).append(" = compute(");
            patch.append(std::to_string(line * 7 + variant)).append(");\n");
        }
    }
    return patch;
}

int renders(QWebEnginePage* page) {
    auto answer = std::make_shared<std::optional<int>>();
    page->runJavaScript(QStringLiteral("window.__vordaRenders ?? -1"),
                        [answer](const QVariant& value) { *answer = value.toInt(); });
    (void)QTest::qWaitFor([&] { return answer->has_value(); }, 20000);
    return answer->value_or(-1);
}

/// Milliseconds from handing `patch` to the view until the page has drawn
/// every file of it; absent when it did not within a minute.
std::optional<double> pushToRendered(DiffWebView& view, const std::string& patch) {
    QWebEnginePage* page = view.webView()->page();
    const int before = std::max(renders(page), 0);
    const auto start = std::chrono::steady_clock::now();
    view.showPatch(patch);
    if (!QTest::qWaitFor([&] { return renders(page) > before; }, 60000)) {
        return std::nullopt;
    }
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

}  // namespace
}  // namespace vorda::bench

int main(int argc, char** argv) {
    using namespace vorda::bench;
    int runs = 7;
    for (int index = 1; index + 1 < argc; ++index) {
        if (std::string(argv[index]) == "--runs") {
            runs = std::max(1, std::atoi(argv[index + 1]));
        }
    }
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", QByteArray("offscreen"));
    }
    vorda::prepareWebEngine();
    const QApplication app(argc, argv);
    vorda::DiffWebView view;
    view.resize(1200, 800);
    view.show();

    for (const std::string extension : {".cpp", ".txt"}) {
        const std::string first = patchOfFiveThousandLines(0, extension);
        std::printf("diff page: a patch of %d lines, %zu characters, in %d %s files\n",
                    fileCount * linesPerFile, first.size(), fileCount, extension.c_str());
        const auto cold = pushToRendered(view, first);
        if (!cold) {
            std::fprintf(stderr, "diff page: the first push was not drawn within a minute\n");
            return 1;
        }
        std::printf("  first push: %.0f ms\n", *cold);
        std::vector<double> warm;
        for (int run = 1; run <= runs; ++run) {
            const auto time = pushToRendered(view, patchOfFiveThousandLines(run, extension));
            if (!time) {
                std::fprintf(stderr, "diff page: push %d was not drawn within a minute\n", run);
                return 1;
            }
            warm.push_back(*time);
        }
        std::sort(warm.begin(), warm.end());
        std::printf(
            "  push to rendered over %d pushes: median %.0f ms, fastest %.0f ms, "
            "slowest %.0f ms\n",
            runs, warm[warm.size() / 2], warm.front(), warm.back());
    }
    return 0;
}
