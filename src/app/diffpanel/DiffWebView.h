#pragma once

#include "app/diffpanel/DiffPatchView.h"

class QWebEngineView;

namespace vorda {

class WebViewCoordinator;

/// The diff panel: the bundled page (a file tree beside split, highlighted
/// diffs) in a web view of its own, fed through a `WebViewCoordinator`.
class DiffWebView : public DiffPatchView {
    Q_OBJECT

  public:
    explicit DiffWebView(QWidget* parent = nullptr);

    void showPatch(const std::string& patch) override;

    WebViewCoordinator& coordinator() { return *coordinator_; }
    QWebEngineView* webView() const { return view_; }

  protected:
    void changeEvent(QEvent* event) override;

  private:
    void followPalette();

    QWebEngineView* view_;
    WebViewCoordinator* coordinator_;
};

}  // namespace vorda
