#include "app/settings/CommitLinkPlayground.h"

#include <QEvent>
#include <QFontMetrics>
#include <QLabel>
#include <QPlainTextEdit>
#include <QTextBlock>
#include <QVBoxLayout>

#include "app/column/QtText.h"
#include "app/settings/CommitLinksSettings.h"

namespace vorda {

namespace {

const char* const footerText =
    "Preview uses the selected rule’s repository scope. Earlier rules win overlapping matches. "
    "Matching is limited to 16,384 characters and 100 links per description.";

QLabel* addLine(QVBoxLayout* layout, const char* objectName) {
    auto* label = new QLabel;
    label->setObjectName(QLatin1String(objectName));
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(label);
    return label;
}

void showLines(QLabel* label, const QStringList& lines) {
    label->setText(lines.join(QLatin1Char('\n')));
    label->setVisible(!lines.isEmpty());
}

QStringList qtLines(const std::vector<std::string>& lines) {
    QStringList converted;
    for (const auto& line : lines) {
        converted << qtText(line);
    }
    return converted;
}

/// A red (errors) or amber (warnings) that reads on the palette's window,
/// light or dark.
QColor alertColor(const QPalette& palette, bool error) {
    const bool dark = palette.color(QPalette::Window).lightness() < 128;
    return QColor::fromHsl(error ? 4 : 32, 180, dark ? 170 : 90);
}

}  // namespace

CommitLinkPlayground::CommitLinkPlayground(CommitLinksSettings* settings, QWidget* parent)
    : QWidget(parent), settings_(settings), sample_(new QPlainTextEdit) {
    auto* layout = new QVBoxLayout(this);
    layout->setSpacing(8);
    sample_->setObjectName(QStringLiteral("playgroundSample"));
    sample_->setPlainText(settings_->sample());
    sample_->setTabChangesFocus(true);
    sample_->setFixedHeight(QFontMetrics(sample_->font()).lineSpacing() * 4 + 12);
    layout->addWidget(sample_);
    noMatches_ = addLine(layout, "playgroundNoMatches");
    noMatches_->setText(QStringLiteral("No matches"));
    noMatches_->setForegroundRole(QPalette::PlaceholderText);
    preview_ = addLine(layout, "playgroundPreview");
    warnings_ = addLine(layout, "playgroundWarnings");
    errors_ = addLine(layout, "playgroundErrors");
    auto* footer = addLine(layout, "playgroundFooter");
    footer->setText(QString::fromUtf8(footerText));
    footer->setForegroundRole(QPalette::PlaceholderText);

    connect(sample_, &QPlainTextEdit::textChanged, this,
            [this] { settings_->setSample(sample_->toPlainText()); });
    connect(settings_, &CommitLinksSettings::previewChanged, this, &CommitLinkPlayground::refresh);
    applyColors();
    refresh();
}

void CommitLinkPlayground::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        applyColors();
        refresh();
    }
}

void CommitLinkPlayground::applyColors() {
    for (auto* label : {warnings_, errors_}) {
        QPalette colored = palette();
        colored.setColor(QPalette::WindowText, alertColor(palette(), label == errors_));
        label->setPalette(colored);
    }
}

void CommitLinkPlayground::refresh() {
    const auto& preview = settings_->preview();
    const bool ready = settings_->previewReady();
    noMatches_->setVisible(ready && preview.empty());

    QStringList lines;
    QList<QTextEdit::ExtraSelection> marks;
    QColor markColor = palette().color(QPalette::Highlight);
    markColor.setAlpha(70);
    for (const auto& match : preview) {
        const QStringList matchLines = commitLinkPreviewLines(match);
        lines << matchLines.front();
        for (qsizetype at = 1; at < matchLines.size(); ++at) {
            lines << QStringLiteral("    ") + matchLines.at(at);
        }
        QTextEdit::ExtraSelection mark;
        mark.cursor = QTextCursor(sample_->document());
        mark.cursor.setPosition(static_cast<int>(match.location));
        mark.cursor.setPosition(static_cast<int>(match.location + match.length),
                                QTextCursor::KeepAnchor);
        mark.format.setBackground(markColor);
        mark.format.setToolTip(qtText(match.webURL));
        marks << mark;
    }
    sample_->setExtraSelections(marks);
    showLines(preview_, lines);
    showLines(warnings_, qtLines(settings_->warnings()));
    showLines(errors_, qtLines(settings_->errors()));
}

}  // namespace vorda
