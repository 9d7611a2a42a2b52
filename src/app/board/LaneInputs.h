#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "app/column/BookmarkColumnInput.h"
#include "app/column/InlineBookmarkTip.h"

namespace vorda {

class BoardModel;
class SelectionStore;

/// Builds what each lane column shows from the view model and the
/// selection; the board calls these once per render. Reads only.
class LaneInputs {
  public:
    LaneInputs(const BoardModel& board, const SelectionStore& selection);

    BookmarkColumnInput bookmarkLane(const Bookmark& bookmark) const;
    BookmarkColumnInput workingCopyLane(const std::optional<std::string>& workspaceName) const;
    BookmarkColumnInput oneOffLane(const OneOffLane& lane) const;
    /// The trunk bookmark's pinned box; absent when no trunk is known.
    std::optional<BookmarkColumnInput> trunkLane() const;

    /// Bookmark tips by the commit they point at, each list by name.
    const std::map<std::string, std::vector<InlineBookmarkTip>>& inlineBookmarkTipsByCommitID()
        const {
        return tips_;
    }

  private:
    void markSelection(BookmarkColumnInput& input) const;
    std::map<std::string, std::vector<InlineBookmarkTip>> buildTips() const;

    const BoardModel& viewModel_;
    const SelectionStore& selection_;
    std::map<std::string, std::vector<InlineBookmarkTip>> tips_;
    std::map<std::string, OneOffLane> folded_;
};

}  // namespace vorda
