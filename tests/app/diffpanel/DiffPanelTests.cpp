// The diff panel in the real web engine: data pushed from the application
// reaches the bundled page intact and renders once, the page follows width
// changes and colour schemes, its messages reach the application, and the
// window's shortcuts keep working while the page has focus.
#include <QApplication>
#include <QDir>
#include <QMainWindow>
#include <QMenuBar>
#include <QShortcut>
#include <QWebEngineScript>
#include <QWebEngineScriptCollection>
#include <QWebEngineView>
#include <mutex>

#include <gtest/gtest.h>

#include "app/diffpanel/DiffWebView.h"
#include "app/diffpanel/WebViewCoordinator.h"
#include "app/start/ColorScheme.h"
#include "diffpanel/DiffPageProbe.h"
#include "jjkit/support/DiagnosticLog.h"

namespace vorda {
namespace {

using testing::evaluate;
using testing::renderedFile;
using testing::renders;
using testing::rendersPast;
using testing::treeRows;

// A modified C++ file whose new line holds a backtick, "${" and
// backslashes, an added file and a deleted one.
const std::string threeFiles = R"(diff --git a/src/app.cpp b/src/app.cpp
index 1111111..2222222 100644
--- a/src/app.cpp
+++ b/src/app.cpp
@@ -1,3 +1,3 @@
 int main() {
-    return 0;
+    return puts(`tick` "${HOME}" "C:\dir\\");
 }
diff --git a/notes.txt b/notes.txt
new file mode 100644
index 0000000..3333333
--- /dev/null
+++ b/notes.txt
@@ -0,0 +1,2 @@
+first
+second
diff --git a/old.txt b/old.txt
deleted file mode 100644
index 4444444..0000000
--- a/old.txt
+++ /dev/null
@@ -1 +0,0 @@
-gone
)";

void save(QWidget* widget, const QString& name) {
    QApplication::processEvents();
    const QString folder = QStringLiteral(VORDA_TEST_OUTPUT_DIR "/screenshots");
    QDir().mkpath(folder);
    EXPECT_TRUE(widget->grab().save(folder + "/" + name + ".png", "PNG")) << name.toStdString();
}

class DiffPanel : public ::testing::Test {
  protected:
    void SetUp() override {
        view_.resize(1000, 420);
        view_.show();
    }
    QWebEnginePage* page() const { return view_.webView()->page(); }

    DiffWebView view_;
};

TEST_F(DiffPanel, APushShowsTheTreeAndSplitDiffsIntactAndTheSameDataRendersOnce) {
    // Pushed before the page has loaded: it waits, then shows.
    view_.showPatch(threeFiles);
    ASSERT_TRUE(rendersPast(page(), 0));
    const QStringList rows = treeRows(page());
    for (const char* row : {"M src/app.cpp", "A notes.txt", "D old.txt"}) {
        EXPECT_TRUE(rows.contains(QString::fromLatin1(row))) << rows.join(", ").toStdString();
    }
    const auto cpp = renderedFile(page(), QStringLiteral("src/app.cpp"));
    EXPECT_TRUE(cpp[QStringLiteral("split")].toBool());
    EXPECT_EQ(cpp[QStringLiteral("added")].toInt(), 1);
    EXPECT_EQ(cpp[QStringLiteral("removed")].toInt(), 1);
    EXPECT_TRUE(cpp[QStringLiteral("text")].toString().contains(
        QStringLiteral(R"(return puts(`tick` "${HOME}" "C:\dir\\");)")))
        << cpp[QStringLiteral("text")].toString().toStdString();
    EXPECT_EQ(renderedFile(page(), QStringLiteral("notes.txt"))[QStringLiteral("added")].toInt(),
              2);
    save(&view_, QStringLiteral("diff-panel-light"));

    // Choosing a file in the tree brings its diff into view, ringed.
    evaluate(page(), QStringLiteral(R"JS(document.querySelector('#tree file-tree-container')
      .shadowRoot.querySelector('button[data-item-path="old.txt"]').click())JS"));
    EXPECT_TRUE(QTest::qWaitFor([&] {
        return evaluate(page(), QStringLiteral("document.querySelector('.diff-block[data-path="
                                               "\"old.txt\"]').classList.contains('focus-ring')"))
            .toBool();
    }));

    view_.setPalette(colorscheme::darkPalette());
    QTest::qWait(800);
    EXPECT_EQ(evaluate(page(), QStringLiteral("document.documentElement.style.colorScheme")),
              QStringLiteral("dark"));
    save(&view_, QStringLiteral("diff-panel-dark"));

    // The same files and patch again: nothing is evaluated, nothing drawn.
    const int before = renders(page());
    view_.showPatch(threeFiles);
    QTest::qWait(500);
    EXPECT_EQ(renders(page()), before);

    view_.coordinator().update(std::string(), std::vector<DiffFileEntry>{});
    ASSERT_TRUE(rendersPast(page(), before));
    EXPECT_EQ(treeRows(page()), QStringList{QStringLiteral("No files")});
}

TEST_F(DiffPanel, DataLeftBeforeThePageScriptRanIsShownOnceItRuns) {
    // The push script runs before the page's own script: the data waits in
    // the pending globals.
    const auto push = DiffPagePush::make(threeFiles, pierreFileEntries(threeFiles));
    QWebEngineScript early;
    early.setSourceCode(QString::fromStdString(push->script()));
    early.setInjectionPoint(QWebEngineScript::DocumentCreation);
    early.setWorldId(QWebEngineScript::MainWorld);
    page()->scripts().insert(early);
    page()->triggerAction(QWebEnginePage::Reload);
    ASSERT_TRUE(QTest::qWaitFor([&] { return treeRows(page()).size() == 3; }, 30000))
        << treeRows(page()).join(", ").toStdString();
}

TEST_F(DiffPanel, OnlyAWidthChangeOfTwoPixelsRendersAgainOnceTheDragRests) {
    view_.showPatch(threeFiles);
    ASSERT_TRUE(rendersPast(page(), 0));
    QTest::qWait(300);
    const int before = renders(page());
    view_.resize(view_.width() + 1, view_.height());
    QTest::qWait(400);
    EXPECT_EQ(renders(page()), before);
    for (int step = 0; step < 5; ++step) {
        view_.resize(view_.width() + 30, view_.height());
        QTest::qWait(20);
    }
    ASSERT_TRUE(rendersPast(page(), before));
    QTest::qWait(400);
    EXPECT_EQ(renders(page()), before + 1);
}

TEST_F(DiffPanel, PageMessagesReachTheApplicationAndMalformedOnesAreDropped) {
    std::mutex lock;
    std::vector<std::string> logged;
    const auto previous = DiagnosticLog::setSink([&](std::string_view text) {
        const std::scoped_lock guard(lock);
        logged.emplace_back(text);
    });
    QStringList heard;
    view_.coordinator().onFileSelected = [&](const QString& path) {
        heard << "file " + path;
    };
    view_.coordinator().onSelectionChanged = [&](const QStringList& paths) {
        heard << "selection " + paths.join(QLatin1Char(','));
    };
    view_.coordinator().onDiffLineClicked = [&](int line, const QString& side) {
        heard << QStringLiteral("line %1 %2").arg(line).arg(side);
    };
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
            return evaluate(page(), QStringLiteral("typeof window.vorda?.postMessage")) ==
                   QStringLiteral("function");
        },
        30000));
    evaluate(page(), QStringLiteral(R"JS(
      for (const body of [
        {type: 'fileSelected', path: 3}, 'not a dictionary', {type: 'diffLineClicked', lineNumber: 1.5, side: 'x'},
        {type: 'selectionChanged', paths: ['a', 7]}, {type: 'mystery'}, {path: 'no type'},
        {type: 'fileSelected', path: 'src/app.cpp'}, {type: 'selectionChanged', paths: ['a', 'b']},
        {type: 'diffLineClicked', lineNumber: 12, side: 'additions'}, {type: 'log', message: 'hello'},
      ]) window.__vordaPost(body);
      true)JS"));
    EXPECT_TRUE(QTest::qWaitFor([&] { return heard.size() >= 3; }, 10000));
    QTest::qWait(200);
    DiagnosticLog::setSink(previous);
    EXPECT_EQ(heard,
              (QStringList{QStringLiteral("file src/app.cpp"), QStringLiteral("selection a,b"),
                           QStringLiteral("line 12 additions")}));
    EXPECT_EQ(logged, (std::vector<std::string>{"[WebView] Unknown message type: mystery\n",
                                                "[WebView] Unknown message type: unknown\n",
                                                "[WebView] hello\n"}));
}

TEST(DiffPanelKeys, TheWindowsShortcutsWinWhileThePageHasFocus) {
    QMainWindow window;
    int undos = 0;
    int logs = 0;
    auto* undo =
        window.menuBar()->addMenu(QStringLiteral("Repo"))->addAction(QStringLiteral("Undo"));
    undo->setShortcut(QKeySequence::Undo);
    QObject::connect(undo, &QAction::triggered, [&] { ++undos; });
    auto* operations = new QShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z), &window);
    QObject::connect(operations, &QShortcut::activated, [&] { ++logs; });
    auto* view = new DiffWebView(&window);
    window.setCentralWidget(view);
    window.resize(800, 400);
    window.show();
    view->showPatch(threeFiles);
    ASSERT_TRUE(rendersPast(view->webView()->page(), 0));
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    QWidget* renderer = view->webView()->focusProxy();
    ASSERT_NE(renderer, nullptr);
    renderer->setFocus();
    ASSERT_TRUE(QTest::qWaitFor([&] { return renderer->hasFocus(); }));
    ASSERT_EQ(evaluate(view->webView()->page(), QStringLiteral(R"JS(
      const field = document.querySelector('#tree file-tree-container').shadowRoot.querySelector('input');
      field.focus();
      field.matches(':focus'))JS")),
              QVariant(true));
    // Once the user types there, the field claims editing keys like Ctrl+Z.
    QTest::keyClicks(renderer, QStringLiteral("ab"));
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return renderer->inputMethodQuery(Qt::ImEnabled).toBool(); }));
    QTest::keyClick(renderer, Qt::Key_Z, Qt::ControlModifier);
    QTest::keyClick(renderer, Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(undos, 1);
    EXPECT_EQ(logs, 1);
}

}  // namespace
}  // namespace vorda
