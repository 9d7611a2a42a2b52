#include "app/diffpanel/WebViewCoordinator.h"

#include <QWebEnginePage>

#include "app/diffpanel/BridgeMessage.h"
#include "jjkit/support/DiagnosticLog.h"
#include "jjkit/support/Overloaded.h"
#include "jjkit/trace/Perf.h"

namespace vorda {

namespace {

void logLine(const QString& text) {
    DiagnosticLog::writeLine("[WebView] " + text.toStdString());
}

}  // namespace

WebViewCoordinator::WebViewCoordinator(QWebEnginePage* page, QObject* parent)
    : QObject(parent), page_(page) {}

void WebViewCoordinator::update(std::optional<std::string> patch,
                                std::optional<std::vector<DiffFileEntry>> entries) {
    latestPatch_ = std::move(patch);
    latestFileEntries_ = std::move(entries);
    if (pageReady_) {
        pushData(latestPatch_, latestFileEntries_);
    }
}

void WebViewCoordinator::pageFinished(bool ok) {
    if (!ok) {
        return;
    }
    pageReady_ = true;
    // A reload starts from an empty page: whatever it showed is gone.
    lastPushKey_.reset();
    applyScheme();
    pushLatest();
}

void WebViewCoordinator::setDarkScheme(bool dark) {
    if (darkScheme_ == dark) {
        return;
    }
    darkScheme_ = dark;
    applyScheme();
}

void WebViewCoordinator::pushLatest() {
    if (page_ != nullptr && pageReady_) {
        pushData(latestPatch_, latestFileEntries_);
    }
}

void WebViewCoordinator::pushData(const std::optional<std::string>& patch,
                                  const std::optional<std::vector<DiffFileEntry>>& entries) {
    auto* page = page_.data();
    if (page == nullptr) {
        return;
    }
    const auto push = DiffPagePush::make(patch, entries);
    if (!push || lastPushKey_ == push->key) {
        return;
    }
    lastPushKey_ = push->key;
    const std::uint64_t start = Perf::nowNs();
    page->runJavaScript(QString::fromStdString(push->script()));
    Perf::record("webview.push(combined, " + std::to_string(push->patch.size()) + " chars)",
                 PerfCategory::webview, start, Perf::nowNs());
}

void WebViewCoordinator::applyScheme() {
    auto* page = page_.data();
    if (page == nullptr || !pageReady_ || !darkScheme_) {
        return;
    }
    page->runJavaScript(
        QStringLiteral("window.__vordaSetColorScheme && window.__vordaSetColorScheme('%1');")
            .arg(*darkScheme_ ? QStringLiteral("dark") : QStringLiteral("light")));
}

void WebViewCoordinator::postMessage(const QVariant& body) const {
    const auto message = BridgeMessage::decode(body);
    if (!message) {
        return;
    }
    std::visit(Overloaded{
                   [&](const BridgeMessage::FileSelected& m) {
                       if (onFileSelected) {
                           onFileSelected(m.path);
                       }
                   },
                   [&](const BridgeMessage::SelectionChanged& m) {
                       if (onSelectionChanged) {
                           onSelectionChanged(m.paths);
                       }
                   },
                   [&](const BridgeMessage::DiffLineClicked& m) {
                       if (onDiffLineClicked) {
                           onDiffLineClicked(m.lineNumber, m.side);
                       }
                   },
                   [](const BridgeMessage::Log& m) { logLine(m.message); },
                   [](const BridgeMessage::Unknown& m) {
                       logLine(QStringLiteral("Unknown message type: ") + m.type);
                   },
               },
               message->value);
}

}  // namespace vorda
