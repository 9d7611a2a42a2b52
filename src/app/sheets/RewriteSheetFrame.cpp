#include "app/sheets/RewriteSheetFrame.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

#include "app/links/CommitLinkLabel.h"
#include "app/sheets/SheetLines.h"

namespace vorda {

RewriteSheetFrame::RewriteSheetFrame(QWidget* parent)
    : QDialog(parent),
      heading_(new QLabel(this)),
      scroll_(new QScrollArea(this)),
      frame_(new QVBoxLayout(this)) {
    setWindowModality(Qt::WindowModal);
    setAttribute(Qt::WA_DeleteOnClose);
    heading_->setTextFormat(Qt::PlainText);
    heading_->setObjectName(QStringLiteral("sheet-heading"));
    auto font = heading_->font();
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * 1.2);
    heading_->setFont(font);
    scroll_->setWidgetResizable(true);
    scroll_->setFrameShape(QFrame::NoFrame);
    frame_->setSpacing(10);
    frame_->addWidget(heading_);
    frame_->addWidget(scroll_, 1);
    setMinimumSize(560, 480);
}

void RewriteSheetFrame::beginState(const QString& heading) {
    setWindowTitle(heading);
    heading_->setText(heading);
    auto* content = new QWidget;
    body_ = new QVBoxLayout(content);
    body_->setAlignment(Qt::AlignTop);
    body_->setContentsMargins(0, 0, 0, 0);
    // A button of the previous state may be the one that began this one:
    // its widgets go once its click has been handled.
    if (auto* previous = scroll_->takeWidget()) {
        previous->hide();
        previous->deleteLater();
    }
    scroll_->setWidget(content);
    if (buttonRow_ != nullptr) {
        buttonRow_->hide();
        buttonRow_->deleteLater();
    }
    buttonRow_ = new QWidget(this);
    buttons_ = new QHBoxLayout(buttonRow_);
    buttons_->setContentsMargins(0, 0, 0, 0);
    buttons_->addStretch();
    frame_->addWidget(buttonRow_);
}

QLabel* RewriteSheetFrame::addLine(const QString& text, const QString& objectName) {
    return addTextLine(body_, text, objectName);
}

QLabel* RewriteSheetFrame::addCommitLine(const QString& text) {
    QLabel* line = addTextLine(body_, text);
    CommitLinkLabel::attach(line);
    return line;
}

QLabel* RewriteSheetFrame::addHeading(const QString& text) {
    return addHeadingLine(body_, text);
}

QLabel* RewriteSheetFrame::addNote(const QString& text) {
    return addNoteLine(body_, text);
}

QPushButton* RewriteSheetFrame::addButton(const QString& label, std::function<void()> onPress,
                                          bool isDefault) {
    auto* button = new QPushButton(label, buttonRow_);
    button->setAutoDefault(isDefault);
    button->setDefault(isDefault);
    connect(button, &QPushButton::clicked, this, [onPress = std::move(onPress)] { onPress(); });
    buttons_->addWidget(button);
    return button;
}

QPushButton* RewriteSheetFrame::addCopyButton(const QString& label, const std::string& text) {
    auto* button = new QPushButton(label);
    connect(button, &QPushButton::clicked, this,
            [copied = sheetText(text)] { QGuiApplication::clipboard()->setText(copied); });
    body_->addWidget(button, 0, Qt::AlignLeft);
    return button;
}

void RewriteSheetFrame::showWorking(const QString& heading, const QString& line) {
    beginState(heading);
    addLine(line, QStringLiteral("working"));
    addButton(QStringLiteral("Cancel"), [this] { reject(); });
}

void RewriteSheetFrame::addExecutionRefusal(const std::optional<std::string>& refusal) {
    if (refusal) {
        addHeading(QStringLiteral("This preview was not carried out"))
            ->setStyleSheet(QStringLiteral("color: #c0392b;"));
        addLine(sheetText(*refusal), QStringLiteral("execution-refusal"));
    }
}

bool RewriteSheetFrame::addPreviewButtons(const QString& closeLabel, const QString& changeLabel,
                                          bool refused, std::function<void()> change,
                                          std::function<void()> again) {
    addButton(closeLabel, [this] { reject(); });
    addButton(changeLabel, std::move(change));
    if (refused) {
        addButton(QStringLiteral("Preview Again"), std::move(again), true)
            ->setObjectName(QStringLiteral("preview-again"));
    }
    return !refused;
}

}  // namespace vorda
