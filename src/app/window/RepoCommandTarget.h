#pragma once

#include <QPointer>
#include <functional>
#include <optional>

#include "app/board/BookmarkAction.h"
#include "app/board/SelectionStore.h"
#include "app/viewmodel/RepoViewModel.h"
#include "jjkit/model/Bookmark.h"
#include "jjkit/records/JJCommit.h"

namespace vorda {

/// Carries out a gesture on a bookmark: the window's board turns it into a
/// command or a sheet.
using BookmarkActionHandler = std::function<void(const BookmarkAction&, const Bookmark&)>;
/// Carries out a gesture on a commit.
using CommitActionHandler = std::function<void(CommitAction, const JJCommit&)>;

/// What a repository window offers the application menus while it has focus:
/// its view model, its selection, and the gestures that open its sheets. The
/// menus act on whichever window published the last target; with none, they
/// are disabled.
///
/// The pointers are guarded: a window that goes away leaves them null, and a
/// target with a null view model counts as none.
struct RepoCommandTarget {
    QPointer<RepoViewModel> viewModel;
    QPointer<SelectionStore> selection;
    BookmarkActionHandler bookmarkAction;
    CommitActionHandler commitAction;
    /// Opens the create-bookmark sheet.
    std::function<void()> newBookmark;
    /// Describes the working-copy commit.
    std::function<void()> commitWorkingCopy;
    /// Puts the keyboard focus in the board's filter field.
    std::function<void()> focusFilter;
    /// Opens the operation log and reads it afresh.
    std::function<void()> openOperationLog;

    /// The state's bookmark named by the selection; absent when nothing is
    /// selected or the bookmark has gone.
    std::optional<Bookmark> selectedBookmark() const;
    /// The commit of the first selected change, if the view model knows it.
    std::optional<JJCommit> selectedCommit() const;
};

}  // namespace vorda
