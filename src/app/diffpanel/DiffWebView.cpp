#include "app/diffpanel/DiffWebView.h"

#include <QAction>
#include <QContextMenuEvent>
#include <QEvent>
#include <QFile>
#include <QMenu>
#include <QVBoxLayout>
#include <QWebChannel>
#include <QWebEnginePage>
#include <QWebEngineScript>
#include <QWebEngineScriptCollection>

#include "app/diffpanel/MenuAwareWebView.h"
#include "app/diffpanel/WebViewCoordinator.h"
#include "app/start/ColorScheme.h"

namespace vorda {

namespace {

/// Qt's channel client and the line that hands the page the object
/// "vorda", run before the page's own script.
QWebEngineScript bridgeScript() {
    QFile client(QStringLiteral(":/qtwebchannel/qwebchannel.js"));
    QString source;
    if (client.open(QIODevice::ReadOnly)) {
        source = QString::fromUtf8(client.readAll());
    }
    source += QStringLiteral(
        "\nnew QWebChannel(qt.webChannelTransport, function (channel) {\n"
        "  window.vorda = channel.objects.vorda;\n});\n");
    QWebEngineScript script;
    script.setName(QStringLiteral("vorda-bridge"));
    script.setSourceCode(source);
    script.setInjectionPoint(QWebEngineScript::DocumentCreation);
    script.setWorldId(QWebEngineScript::MainWorld);
    return script;
}

/// The page's menu offers copying and nothing that would navigate it away.
class DiffPageView : public MenuAwareWebView {
  public:
    using MenuAwareWebView::MenuAwareWebView;

  protected:
    void contextMenuEvent(QContextMenuEvent* event) override {
        QMenu menu(this);
        menu.addAction(page()->action(QWebEnginePage::Copy));
        menu.addAction(page()->action(QWebEnginePage::SelectAll));
        menu.exec(event->globalPos());
    }
};

}  // namespace

DiffWebView::DiffWebView(QWidget* parent)
    : DiffPatchView(parent),
      view_(new DiffPageView(this)),
      coordinator_(new WebViewCoordinator(view_->page(), this)) {
    setObjectName(QStringLiteral("diff-web"));
    auto* page = view_->page();
    auto* channel = new QWebChannel(page);
    channel->registerObject(QStringLiteral("vorda"), coordinator_);
    page->setWebChannel(channel);
    page->scripts().insert(bridgeScript());
    connect(view_, &QWebEngineView::loadFinished, coordinator_, &WebViewCoordinator::pageFinished);
    followPalette();
    view_->load(QUrl(QStringLiteral("qrc:/vorda/diff.html")));

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(view_);
}

void DiffWebView::showPatch(const std::string& patch) {
    coordinator_->update(patch, pierreFileEntries(patch));
}

void DiffWebView::changeEvent(QEvent* event) {
    DiffPatchView::changeEvent(event);
    if (event->type() == QEvent::PaletteChange ||
        event->type() == QEvent::ApplicationPaletteChange) {
        followPalette();
    }
}

void DiffWebView::followPalette() {
    coordinator_->setDarkScheme(colorscheme::isDark(palette()));
    // Until the page paints, the column shows the window's colour, not white.
    view_->page()->setBackgroundColor(palette().color(QPalette::Base));
}

}  // namespace vorda
