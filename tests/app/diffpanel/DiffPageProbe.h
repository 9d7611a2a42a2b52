#pragma once

// Reads the diff page from outside, as a test sees it: scripts run in the
// page and their answers come back as JSON.
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>
#include <QWebEnginePage>
#include <memory>

namespace vorda::testing {

/// Runs `script` in `page` and waits for its value (null after 20 s).
inline QVariant evaluate(QWebEnginePage* page, const QString& script) {
    auto answer = std::make_shared<std::optional<QVariant>>();
    page->runJavaScript(script, [answer](const QVariant& value) { *answer = value; });
    (void)QTest::qWaitFor([&] { return answer->has_value(); }, 20000);
    return answer->value_or(QVariant());
}

/// How many full renders of the diffs the page has finished.
inline int renders(QWebEnginePage* page) {
    return evaluate(page, QStringLiteral("window.__vordaRenders ?? -1")).toInt();
}

/// Waits until the page has finished more than `count` renders.
inline bool rendersPast(QWebEnginePage* page, int count) {
    return QTest::qWaitFor([&] { return renders(page) > count; }, 30000);
}

/// The tree's rows as "status path" lines, or its text when it lists none.
inline QStringList treeRows(QWebEnginePage* page) {
    const auto value = evaluate(page, QStringLiteral(R"JS(JSON.stringify((() => {
  const root = document.querySelector('#tree file-tree-container')?.shadowRoot;
  if (!root) return [document.getElementById('tree')?.textContent.trim() ?? ''];
  return [...root.querySelectorAll('button[data-type="item"][data-item-type="file"]')].map(
    (row) => (row.querySelector('[data-item-section="git"]')?.textContent ?? '') + ' ' +
      row.dataset.itemPath);
})()))JS"));
    QStringList rows;
    for (const auto& row : QJsonDocument::fromJson(value.toString().toUtf8()).array()) {
        rows.append(row.toString());
    }
    return rows;
}

/// One file's rendered diff: added and removed line rows, whether the
/// layout is split, and the text of its lines.
inline QJsonObject renderedFile(QWebEnginePage* page, const QString& path) {
    const auto value =
        evaluate(page, QStringLiteral(R"JS(JSON.stringify(((path) => {
  const block = [...document.querySelectorAll('#diffs .diff-block')].find(
    (b) => b.dataset.path === path);
  const root = block?.querySelector('diffs-container')?.shadowRoot;
  if (!root) return null;
  return {
    added: root.querySelectorAll('[data-line][data-line-type="change-addition"]').length,
    removed: root.querySelectorAll('[data-line][data-line-type="change-deletion"]').length,
    split: root.querySelector('pre[data-diff-type="split"]') !== null,
    text: [...root.querySelectorAll('[data-line]')].map((l) => l.textContent).join('\n'),
  };
})(%1[0])))JS")
                           .arg(QString::fromUtf8(
                               QJsonDocument(QJsonArray{path}).toJson(QJsonDocument::Compact))));
    return QJsonDocument::fromJson(value.toString().toUtf8()).object();
}

}  // namespace vorda::testing
