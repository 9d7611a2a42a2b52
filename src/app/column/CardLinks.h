#pragma once

#include <QObject>
#include <QPersistentModelIndex>
#include <optional>
#include <string>

namespace vorda {

class CommitCardDelegate;
class CommitListView;

/// Makes the links on a lane's cards work: the pointer becomes a hand over
/// a link, a click opens it (without selecting the card), and a right click
/// on it shows the link's own menu. Repaints the cards when the links of
/// their summaries become known.
class CardLinks : public QObject {
    Q_OBJECT

  public:
    CardLinks(CommitListView* list, CommitCardDelegate* delegate, QObject* parent);

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    struct Pressed {
        QPersistentModelIndex index;
        std::string reference;
        std::size_t location = 0;
    };

    std::optional<Pressed> pressedLinkAt(const QPoint& position) const;

    CommitListView* list_;
    CommitCardDelegate* delegate_;
    std::optional<Pressed> pressed_;
};

}  // namespace vorda
