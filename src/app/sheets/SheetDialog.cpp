#include "app/sheets/SheetDialog.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>

namespace vorda {

SheetDialog::SheetDialog(const QString& title, const QString& confirmLabel, QWidget* parent)
    : QDialog(parent),
      body_(new QVBoxLayout),
      buttons_(new QDialogButtonBox(QDialogButtonBox::Cancel, this)),
      confirm_(buttons_->addButton(confirmLabel, QDialogButtonBox::AcceptRole)) {
    setWindowTitle(title);
    setWindowModality(Qt::WindowModal);
    setAttribute(Qt::WA_DeleteOnClose);
    confirm_->setDefault(true);
    auto* heading = new QLabel(title, this);
    heading->setTextFormat(Qt::PlainText);
    auto font = heading->font();
    font.setBold(true);
    font.setPointSizeF(font.pointSizeF() * 1.2);
    heading->setFont(font);
    auto* layout = new QVBoxLayout(this);
    layout->setSpacing(10);
    layout->addWidget(heading);
    layout->addLayout(body_);
    layout->addWidget(buttons_);
    connect(buttons_, &QDialogButtonBox::accepted, this, &SheetDialog::accept);
    connect(buttons_, &QDialogButtonBox::rejected, this, &SheetDialog::reject);
    setMinimumWidth(420);
}

QLabel* SheetDialog::addSection(const QString& text) {
    auto* label = new QLabel(text, this);
    label->setTextFormat(Qt::PlainText);
    auto font = label->font();
    font.setBold(true);
    label->setFont(font);
    body_->addWidget(label);
    return label;
}

QLabel* SheetDialog::addParagraph(const QString& text) {
    auto* label = new QLabel(text, this);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    body_->addWidget(label);
    return label;
}

void SheetDialog::makeDestructive() {
    confirm_->setDefault(false);
    confirm_->setAutoDefault(false);
    if (auto* cancel = buttons_->button(QDialogButtonBox::Cancel)) {
        cancel->setDefault(true);
    }
}

void SheetDialog::addImmutableMark() {
    auto* row = new QHBoxLayout;
    auto* lock = new QLabel(this);
    const int size = style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, this);
    lock->setPixmap(QIcon::fromTheme(QStringLiteral("object-locked"),
                                     style()->standardIcon(QStyle::SP_MessageBoxWarning))
                        .pixmap(size));
    auto* mark = new QLabel(QStringLiteral("Immutable — overriding"), this);
    mark->setObjectName(QStringLiteral("immutable-mark"));
    row->addWidget(lock);
    row->addWidget(mark, 1);
    body_->addLayout(row);
}

void SheetDialog::hideCancel() {
    if (auto* cancel = buttons_->button(QDialogButtonBox::Cancel)) {
        cancel->hide();
    }
}

void SheetDialog::accept() {
    if (!confirm_->isEnabled()) {
        return;
    }
    if (onConfirm_) {
        onConfirm_();
    }
    QDialog::accept();
}

}  // namespace vorda
