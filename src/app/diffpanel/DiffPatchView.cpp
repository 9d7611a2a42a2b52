#include "app/diffpanel/DiffPatchView.h"

#include <QFontDatabase>
#include <QPlainTextEdit>
#include <QVBoxLayout>

#ifdef VORDA_WEB_DIFF
#include "app/diffpanel/DiffWebView.h"
#endif

namespace vorda {

DiffPatchView* DiffPatchView::make(QWidget* parent) {
#ifdef VORDA_WEB_DIFF
    return new DiffWebView(parent);
#else
    return new PlainDiffView(parent);
#endif
}

PlainDiffView::PlainDiffView(QWidget* parent) : DiffPatchView(parent) {
    auto* text = new QPlainTextEdit(this);
    text->setObjectName(QStringLiteral("diff-text"));
    text->setReadOnly(true);
    text->setLineWrapMode(QPlainTextEdit::NoWrap);
    text->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(text);
}

void PlainDiffView::showPatch(const std::string& patch) {
    auto* text = findChild<QPlainTextEdit*>();
    const QString shown = QString::fromStdString(patch);
    if (text->toPlainText() != shown) {
        text->setPlainText(shown);
    }
}

}  // namespace vorda
