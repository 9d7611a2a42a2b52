#pragma once

#include <QToolButton>
#include <optional>

#include "jjkit/model/Bookmark.h"

namespace vorda {

/// The toolbar's push button for the selected bookmark: "Push", or "Force
/// Push" when the remote is ahead or has diverged; its tooltip says what the
/// push would do. Disabled with no bookmark, while that bookmark is being
/// pushed, and when the remote already has it.
class PushToolbarButton : public QToolButton {
    Q_OBJECT

  public:
    explicit PushToolbarButton(QWidget* parent = nullptr);

    void setBookmark(const std::optional<Bookmark>& bookmark, bool pushing);
    const std::optional<Bookmark>& bookmark() const { return bookmark_; }

    /// "Push" or "Force Push".
    static QString label(const std::optional<Bookmark>& bookmark);

  Q_SIGNALS:
    /// Pressed with a bookmark set.
    void pushRequested(const vorda::Bookmark& bookmark);

  private:
    std::optional<Bookmark> bookmark_;
};

}  // namespace vorda
