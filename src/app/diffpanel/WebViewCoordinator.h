#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "jjkit/diff/DiffPagePush.h"

class QWebEnginePage;

namespace vorda {

/// Between one diff page and the window: holds the newest patch and file
/// list until the page has loaded, pushes them once it has (skipping a push
/// the page already shows), and takes the page's messages, posted to the
/// channel object "vorda".
class WebViewCoordinator : public QObject {
    Q_OBJECT

  public:
    explicit WebViewCoordinator(QWebEnginePage* page, QObject* parent = nullptr);

    std::function<void(const QString& path)> onFileSelected;
    std::function<void(const QStringList& paths)> onSelectionChanged;
    std::function<void(int lineNumber, const QString& side)> onDiffLineClicked;

    /// New values from the view: pushed at once when the page is ready,
    /// otherwise kept until it is.
    void update(std::optional<std::string> patch,
                std::optional<std::vector<DiffFileEntry>> entries);
    /// The page finished loading: it is ready and gets the latest values.
    void pageFinished(bool ok);
    /// Makes the page draw in the dark or the light scheme, now or once it
    /// is ready.
    void setDarkScheme(bool dark);

    bool pageReady() const { return pageReady_; }
    const std::optional<std::string>& lastPushKey() const { return lastPushKey_; }

    /// The page's one way in; see `BridgeMessage` for the bodies.
    Q_INVOKABLE void postMessage(const QVariant& body) const;

  private:
    void pushLatest();
    void pushData(const std::optional<std::string>& patch,
                  const std::optional<std::vector<DiffFileEntry>>& entries);
    void applyScheme();

    QPointer<QWebEnginePage> page_;
    bool pageReady_ = false;
    std::optional<std::string> lastPushKey_;
    std::optional<std::string> latestPatch_;
    std::optional<std::vector<DiffFileEntry>> latestFileEntries_;
    std::optional<bool> darkScheme_;
};

}  // namespace vorda
