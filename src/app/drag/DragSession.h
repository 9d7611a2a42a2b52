#pragma once

#include <optional>
#include <utility>

#include "app/drag/DragPayloads.h"

namespace vorda {

/// The payload of the drag under way, for the whole process: a drop target
/// decides while the pointer hovers, before the drop hands over the data.
/// Set when a drag begins, cleared when it ends; GUI thread only.
template <typename Payload>
class DragSession {
  public:
    static const std::optional<Payload>& current() { return current_; }
    static void begin(Payload payload) { current_ = std::move(payload); }
    static void end() { current_.reset(); }

  private:
    inline static std::optional<Payload> current_;
};

using CommitDragSession = DragSession<CommitDragPayload>;
using LaneMarkerDragSession = DragSession<LaneMarkerDragPayload>;
using BookmarkDragSession = DragSession<BookmarkDragPayload>;

}  // namespace vorda
