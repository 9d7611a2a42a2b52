#include "app/board/BoardRow.h"

#include <QApplication>
#include <QEvent>
#include <algorithm>

namespace vorda {

namespace {

constexpr int rowMargin = 8;
constexpr int columnSpacing = 8;
/// Lane widgets kept for reuse beyond the ones in reach.
constexpr std::size_t poolLimit = 6;
/// Lanes this far beyond the visible edges already exist, so a scroll
/// step shows columns made before; at least this many pixels, and half
/// the viewport on wider ones.
constexpr int minimumReach = 300;

int widthOf(const QWidget& widget) {
    return widget.minimumWidth() > 0 ? widget.minimumWidth() : widget.sizeHint().width();
}

bool holdsFocus(const QWidget& column) {
    const QWidget* focus = QApplication::focusWidget();
    return focus != nullptr && column.isAncestorOf(focus);
}

}  // namespace

BoardRow::BoardRow(LaneFactory makeLane, LaneFiller showLane, QWidget* parent)
    : QWidget(parent), makeLane_(std::move(makeLane)), showLane_(std::move(showLane)) {
    if (parent != nullptr) {
        parent->installEventFilter(this);
    }
}

void BoardRow::setEntries(std::vector<Entry> entries) {
    entries_ = std::move(entries);
    indexOf_.clear();
    indexOf_.reserve(entries_.size());
    for (std::size_t index = 0; index < entries_.size(); ++index) {
        indexOf_.emplace(entries_[index].identity, index);
    }
    std::vector<std::string> gone;
    for (const auto& [identity, column] : lanes_) {
        const auto found = indexOf_.find(identity);
        if (found == indexOf_.end() || entries_[found->second].widget != nullptr) {
            gone.push_back(identity);
        } else {
            showLane_(*column, identity);
        }
    }
    for (const auto& identity : gone) {
        releaseLane(identity);
    }
    layOut();
}

BookmarkColumn* BoardRow::lane(const std::string& identity) const {
    const auto found = lanes_.find(identity);
    return found == lanes_.end() ? nullptr : found->second;
}

std::optional<std::pair<int, int>> BoardRow::span(const std::string& identity) const {
    const auto found = indexOf_.find(identity);
    if (found == indexOf_.end() || found->second >= offsets_.size()) {
        return std::nullopt;
    }
    return std::pair{offsets_[found->second], entries_[found->second].width};
}

// MARK: Following the scroll area

bool BoardRow::event(QEvent* event) {
    switch (event->type()) {
        case QEvent::LayoutRequest:
            // A column changed its width (a drag of its handle, a new input).
            layOut();
            return true;
        case QEvent::ParentAboutToChange:
            if (parentWidget() != nullptr) {
                parentWidget()->removeEventFilter(this);
            }
            break;
        case QEvent::ParentChange:
            if (parentWidget() != nullptr) {
                parentWidget()->installEventFilter(this);
            }
            break;
        default:
            break;
    }
    return QWidget::event(event);
}

bool BoardRow::eventFilter(QObject* watched, QEvent* event) {
    // A wider viewport shows more of a row that keeps its own width.
    if (watched == parentWidget() && event->type() == QEvent::Resize) {
        layOut();
    }
    return QWidget::eventFilter(watched, event);
}

void BoardRow::moveEvent(QMoveEvent* event) {
    QWidget::moveEvent(event);
    layOut();
}

void BoardRow::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    layOut();
}

// MARK: Layout

void BoardRow::layOut() {
    if (isLayingOut_) {
        return;
    }
    isLayingOut_ = true;
    // A lane made in reach may bring a width of its own; the places are
    // worked out again for it, a few times at most.
    for (int pass = 0; pass < 3; ++pass) {
        computeOffsets();
        setMinimumWidth(contentWidth_);
        const int viewWidth = parentWidget() != nullptr ? parentWidget()->width() : width();
        if (const int wanted = std::max(contentWidth_, viewWidth); wanted != width()) {
            resize(wanted, height());
        }
        if (updateReach()) {
            break;
        }
    }
    isLayingOut_ = false;
}

void BoardRow::computeOffsets() {
    for (const auto& [identity, column] : lanes_) {
        if (const auto found = indexOf_.find(identity); found != indexOf_.end()) {
            entries_[found->second].width = widthOf(*column);
        }
    }
    offsets_.resize(entries_.size());
    int x = rowMargin;
    for (std::size_t index = 0; index < entries_.size(); ++index) {
        if (entries_[index].widget != nullptr) {
            entries_[index].width = widthOf(*entries_[index].widget);
        }
        offsets_[index] = x;
        x += entries_[index].width + columnSpacing;
    }
    contentWidth_ = entries_.empty() ? 2 * rowMargin : x - columnSpacing + rowMargin;
}

std::pair<int, int> BoardRow::visibleSpan() const {
    const int viewWidth = parentWidget() != nullptr ? parentWidget()->width() : width();
    return {-x(), -x() + viewWidth};
}

std::pair<std::size_t, std::size_t> BoardRow::entriesWithin(int left, int right) const {
    auto first = static_cast<std::size_t>(std::upper_bound(offsets_.begin(), offsets_.end(), left) -
                                          offsets_.begin());
    if (first > 0) {
        --first;  // the column that starts before the left edge may reach over it
    }
    const auto last = static_cast<std::size_t>(
        std::lower_bound(offsets_.begin(), offsets_.end(), right) - offsets_.begin());
    return {first, std::max(first, last)};
}

bool BoardRow::updateReach() {
    const auto [left, right] = visibleSpan();
    const int reach = std::max(minimumReach, (right - left) / 2);
    // Lanes go a little further out than they come in, so a scroll back
    // and forth does not make and drop the same lane each step.
    const auto [keepFirst, keepLast] = entriesWithin(left - 2 * reach, right + 2 * reach);
    std::vector<std::string> gone;
    for (const auto& [identity, column] : lanes_) {
        const std::size_t index = indexOf_.at(identity);
        if ((index < keepFirst || index >= keepLast) && !holdsFocus(*column)) {
            gone.push_back(identity);
        }
    }
    for (const auto& identity : gone) {
        releaseLane(identity);
    }
    bool widthsHeld = true;
    const auto [first, last] = entriesWithin(left - reach, right + reach);
    for (std::size_t index = first; index < last; ++index) {
        const Entry& entry = entries_[index];
        if (entry.widget != nullptr || lanes_.contains(entry.identity)) {
            continue;
        }
        const BookmarkColumn* column = acquireLane(entry.identity);
        widthsHeld = widthsHeld && widthOf(*column) == entry.width;
    }
    for (const auto& [identity, column] : lanes_) {
        place(column, indexOf_.at(identity));
    }
    for (std::size_t index = 0; index < entries_.size(); ++index) {
        if (QWidget* widget = entries_[index].widget) {
            if (widget->parentWidget() != this) {
                widget->setParent(this);
            }
            place(widget, index);
            widget->show();
        }
    }
    return widthsHeld;
}

void BoardRow::place(QWidget* widget, std::size_t index) const {
    widget->setGeometry(offsets_[index], rowMargin, entries_[index].width,
                        std::max(0, height() - 2 * rowMargin));
}

BookmarkColumn* BoardRow::acquireLane(const std::string& identity) {
    BookmarkColumn* column = nullptr;
    if (pool_.empty()) {
        column = makeLane_(this);
    } else {
        column = pool_.back();
        pool_.pop_back();
    }
    lanes_[identity] = column;
    showLane_(*column, identity);
    place(column, indexOf_.at(identity));
    column->show();
    const auto saved = savedStates_.find(identity);
    column->restoreViewState(saved == savedStates_.end() ? BookmarkColumn::LaneViewState{}
                                                         : saved->second);
    return column;
}

void BoardRow::releaseLane(const std::string& identity) {
    const auto found = lanes_.find(identity);
    BookmarkColumn* column = found->second;
    lanes_.erase(found);
    savedStates_[identity] = column->viewState();
    column->hide();
    if (pool_.size() < poolLimit) {
        pool_.push_back(column);
    } else {
        column->deleteLater();
    }
}

}  // namespace vorda
