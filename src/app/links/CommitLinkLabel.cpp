#include "app/links/CommitLinkLabel.h"

#include <QContextMenuEvent>
#include <QLabel>
#include <QMenu>

#include "app/links/CommitLinkActions.h"
#include "app/links/CommitLinkLookup.h"
#include "app/links/LinkRepository.h"

namespace vorda {

namespace {

const QString anchorPrefix = QStringLiteral("link:");

/// `text` as rich text, with each link's range an anchor naming its index.
QString linkedHTML(const QString& text, const std::vector<CommitLinkMatch>& links,
                   const QColor& linkColor) {
    QString html;
    qsizetype position = 0;
    for (std::size_t index = 0; index < links.size(); ++index) {
        const auto start = static_cast<qsizetype>(links[index].location);
        const auto length = static_cast<qsizetype>(links[index].length);
        if (start < position || start + length > text.size()) {
            continue;
        }
        html += text.mid(position, start - position).toHtmlEscaped();
        html += QStringLiteral("<a href=\"%1%2\" style=\"color:%3\">%4</a>")
                    .arg(anchorPrefix)
                    .arg(index)
                    .arg(linkColor.name(), text.mid(start, length).toHtmlEscaped());
        position = start + length;
    }
    html += text.mid(position).toHtmlEscaped();
    // Keeps runs of blanks and the line breaks of a description.
    return QStringLiteral("<span style=\"white-space:pre-wrap\">") + html +
           QStringLiteral("</span>");
}

}  // namespace

CommitLinkLabel* CommitLinkLabel::attach(QLabel* label) {
    return new CommitLinkLabel(label);
}

CommitLinkLabel::CommitLinkLabel(QLabel* label)
    : QObject(label), label_(label), text_(label->text()) {
    label_->setOpenExternalLinks(false);
    label_->installEventFilter(this);
    connect(label_, &QLabel::linkActivated, this, [this](const QString& anchor) {
        if (const auto* link = linkOf(anchor)) {
            commitlinks::open(*link);
        }
    });
    connect(label_, &QLabel::linkHovered, this, [this](const QString& anchor) {
        hovered_ = anchor;
        const auto* link = linkOf(anchor);
        label_->setToolTip(link != nullptr ? commitlinks::tooltip(*link) : QString());
    });
    connect(&CommitLinkLookup::shared(), &CommitLinkLookup::resolved, this,
            &CommitLinkLabel::refresh);
    refresh();
}

void CommitLinkLabel::setPlainText(const QString& text) {
    if (text == text_) {
        return;
    }
    text_ = text;
    refresh();
}

void CommitLinkLabel::refresh() {
    auto links = CommitLinkLookup::shared().links(text_, linkRepository(label_));
    show(links ? std::move(*links) : std::vector<CommitLinkMatch>{});
}

void CommitLinkLabel::show(std::vector<CommitLinkMatch> links) {
    if (shown_ && *shown_ == text_ && links == links_) {
        return;
    }
    shown_ = text_;
    links_ = std::move(links);
    hovered_.clear();
    label_->setToolTip({});
    if (links_.empty()) {
        label_->setTextFormat(Qt::PlainText);
        label_->setTextInteractionFlags(Qt::TextSelectableByMouse);
        label_->setText(text_);
        return;
    }
    label_->setTextFormat(Qt::RichText);
    label_->setTextInteractionFlags(Qt::TextBrowserInteraction);
    label_->setText(linkedHTML(text_, links_, label_->palette().color(QPalette::Link)));
}

const CommitLinkMatch* CommitLinkLabel::linkOf(const QString& anchor) const {
    if (!anchor.startsWith(anchorPrefix)) {
        return nullptr;
    }
    bool isNumber = false;
    const auto index = anchor.mid(anchorPrefix.size()).toULongLong(&isNumber);
    return isNumber && index < links_.size() ? &links_[index] : nullptr;
}

bool CommitLinkLabel::eventFilter(QObject* watched, QEvent* event) {
    if (watched != label_) {
        return false;
    }
    switch (event->type()) {
        // A label shown in a repository window learns its repository here.
        case QEvent::ParentChange:
        case QEvent::Show:
            refresh();
            return false;
        case QEvent::ContextMenu: {
            const auto* link = linkOf(hovered_);
            if (link == nullptr) {
                return false;
            }
            QMenu menu(label_);
            commitlinks::addMenuEntries(menu, *link);
            menu.exec(static_cast<QContextMenuEvent*>(event)->globalPos());
            return true;
        }
        default:
            return false;
    }
}

}  // namespace vorda
