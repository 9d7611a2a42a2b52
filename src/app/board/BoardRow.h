#pragma once

#include <QWidget>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "app/column/BookmarkColumn.h"

namespace vorda {

/// The board's row of columns, placed by hand so that a board of a thousand
/// lanes costs about what one of a dozen does. Every column has its place,
/// worked out from the widths alone, but only the lanes in and near the
/// viewport exist as `BookmarkColumn` widgets. A lane that scrolls out of
/// reach hands its widget to a small pool; the next lane to come into reach
/// takes it and shows its own input. What the user set up in a lane (the
/// list's scroll position, the file lists, the routes) is kept by lane
/// identity and put back when the lane returns, and a lane that holds the
/// keyboard focus (a rename being typed) keeps its widget wherever it is.
///
/// The other columns (the diff column, the hidden panel, the placeholder)
/// are widgets that always exist; the row only places them.
///
/// The row lives in a horizontal `QScrollArea` (resizable widget): it
/// follows the area's scrolling by its own moves and the viewport's size.
///
/// ```
/// auto* row = new BoardRow(makeLane, showLane);
/// scrollArea->setWidget(row);
/// row->setEntries({{"feat", nullptr, 260}, {"new-placeholder", placeholder}});
/// row->lane("feat");  // the widget while the lane is in reach, else null
/// ```
class BoardRow : public QWidget {
    Q_OBJECT

  public:
    struct Entry {
        std::string identity;
        /// A column that always exists; null for a lane.
        QWidget* widget = nullptr;
        /// A lane's width while it has no widget.
        int width = 0;
    };
    /// Makes a lane widget with its signals wired; the row owns it.
    using LaneFactory = std::function<BookmarkColumn*(QWidget* parent)>;
    /// Gives a lane widget the input of the lane `identity`.
    using LaneFiller = std::function<void(BookmarkColumn& column, const std::string& identity)>;

    BoardRow(LaneFactory makeLane, LaneFiller showLane, QWidget* parent = nullptr);

    /// The row from now on, in order. Lanes in reach get their input again
    /// through `showLane`, in their own widget when they had one.
    void setEntries(std::vector<Entry> entries);
    /// The widget of the lane `identity` while it is in reach, else null.
    BookmarkColumn* lane(const std::string& identity) const;
    /// The lane widgets in reach, by identity.
    const std::map<std::string, BookmarkColumn*>& lanes() const { return lanes_; }
    /// Where the column `identity` stands: its left edge and its width.
    std::optional<std::pair<int, int>> span(const std::string& identity) const;

  protected:
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    /// Works out every column's place from the widths, sizes the row, and
    /// brings the lanes in reach into being.
    void layOut();
    /// The offsets and the row's width from the current widths.
    void computeOffsets();
    /// Releases the lanes out of reach, makes the ones in reach, and
    /// places every widget; false when a new lane's width differs from the
    /// width it was given, and the offsets must be worked out again.
    bool updateReach();
    /// The first and one past the last entry that overlap [left, right).
    std::pair<std::size_t, std::size_t> entriesWithin(int left, int right) const;
    /// The visible part of the row, as left and right edges.
    std::pair<int, int> visibleSpan() const;
    BookmarkColumn* acquireLane(const std::string& identity);
    void releaseLane(const std::string& identity);
    void place(QWidget* widget, std::size_t index) const;
    int liveWidth(std::size_t index) const;

    LaneFactory makeLane_;
    LaneFiller showLane_;
    std::vector<Entry> entries_;
    std::vector<int> offsets_;
    std::unordered_map<std::string, std::size_t> indexOf_;
    std::map<std::string, BookmarkColumn*> lanes_;
    std::vector<BookmarkColumn*> pool_;
    std::unordered_map<std::string, BookmarkColumn::LaneViewState> savedStates_;
    int contentWidth_ = 0;
    bool isLayingOut_ = false;
};

}  // namespace vorda
