#pragma once

#include <string_view>
#include <tuple>

#include "feature/commands/RepoCommand.h"
#include "feature/wire/BookmarkWire.h"
#include "feature/wire/CommandWire.h"
#include "feature/wire/CompositionWire.h"
#include "feature/wire/DiffWire.h"
#include "feature/wire/RecordWire.h"
#include "feature/wire/RewriteWire.h"
#include "feature/wire/SettingsWire.h"
#include "feature/wire/WireCases.h"
#include "feature/wire/WireRecord.h"

// The payload labels of every command case. They are the command's labels,
// which are the members' names but for a few: a bookmark's rename is
// `{"renameBookmark":{"old":"a","new":"b"}}`, and the one unlabelled payload,
// the create-bookmark input, stands under `_0`. Cases without payload need no
// table: they are `{"refresh":{}}`.

namespace vorda {

template <>
struct WireFields<BookmarkStartingPoint::SpecificRevision> {
    static constexpr auto fields =
        std::tuple{wireField("_0", &BookmarkStartingPoint::SpecificRevision::revision)};
};
/// The selection is unlabelled, the helper's path labelled.
template <>
struct WireFields<BookmarkStartingPoint::WorkingCopyCarveHunks> {
    static constexpr auto fields = std::tuple{
        wireField("_0", &BookmarkStartingPoint::WorkingCopyCarveHunks::selection),
        wireField("helperPath", &BookmarkStartingPoint::WorkingCopyCarveHunks::helperPath)};
};
template <>
struct WireCases<BookmarkStartingPoint> {
    static constexpr std::string_view name = "starting point";
    static constexpr auto variant = &BookmarkStartingPoint::value;
};

template <>
struct WireFields<CreateBookmarkInput> {
    static constexpr auto fields =
        std::tuple{wireField("name", &CreateBookmarkInput::name),
                   wireField("parent", &CreateBookmarkInput::parent),
                   wireField("startingPoint", &CreateBookmarkInput::startingPoint),
                   wireField("enableAfterCreating", &CreateBookmarkInput::enableAfterCreating),
                   wireField("trackUpstream", &CreateBookmarkInput::trackUpstream)};
};

/// The progress callback stays in the process; a decoded fetch reports none.
template <>
struct WireFields<RepoCommand::Fetch> {
    static constexpr std::tuple<> fields{};
};

template <>
struct WireFields<RepoCommand::Push> {
    static constexpr auto fields = std::tuple{wireField("bookmark", &RepoCommand::Push::bookmark)};
};

template <>
struct WireFields<RepoCommand::PerformPush> {
    static constexpr auto fields =
        std::tuple{wireField("bookmark", &RepoCommand::PerformPush::bookmark)};
};

template <>
struct WireFields<RepoCommand::SyncWithTrunk> {
    static constexpr auto fields =
        std::tuple{wireField("bookmark", &RepoCommand::SyncWithTrunk::bookmark)};
};

template <>
struct WireFields<RepoCommand::PlanLocalStackUpdate> {
    using Case = RepoCommand::PlanLocalStackUpdate;
    static constexpr auto fields = std::tuple{wireField("bookmarks", &Case::bookmarks),
                                              wireField("oneOffChangeIDs", &Case::oneOffChangeIDs)};
};

template <>
struct WireFields<RepoCommand::ExecuteLocalStackUpdate> {
    static constexpr auto fields =
        std::tuple{wireField("plan", &RepoCommand::ExecuteLocalStackUpdate::plan)};
};

template <>
struct WireFields<RepoCommand::PlanCoordinatedRouting> {
    using Case = RepoCommand::PlanCoordinatedRouting;
    static constexpr auto fields = std::tuple{
        wireField("changeIDs", &Case::changeIDs), wireField("afterChangeID", &Case::afterChangeID),
        wireField("bookmark", &Case::bookmark), wireField("repairBookmark", &Case::repairBookmark)};
};
template <>
struct WireFields<RepoCommand::ExecuteCoordinatedRouting> {
    static constexpr auto fields =
        std::tuple{wireField("plan", &RepoCommand::ExecuteCoordinatedRouting::plan)};
};
template <>
struct WireFields<RepoCommand::ExecuteCoordinatedRecovery> {
    using Case = RepoCommand::ExecuteCoordinatedRecovery;
    static constexpr auto fields =
        std::tuple{wireField("plan", &Case::plan), wireField("source", &Case::source)};
};

template <>
struct WireFields<RepoCommand::PlanCompositionAttachment> {
    using Case = RepoCommand::PlanCompositionAttachment;
    static constexpr auto fields =
        std::tuple{wireField("compositionChangeID", &Case::compositionChangeID),
                   wireField("bookmark", &Case::bookmark)};
};
template <>
struct WireFields<RepoCommand::ExecuteCompositionAttachment> {
    static constexpr auto fields =
        std::tuple{wireField("plan", &RepoCommand::ExecuteCompositionAttachment::plan)};
};

template <>
struct WireFields<RepoCommand::PlanFeatureInsertion> {
    using Case = RepoCommand::PlanFeatureInsertion;
    static constexpr auto fields = std::tuple{wireField("changeIDs", &Case::changeIDs),
                                              wireField("afterChangeID", &Case::afterChangeID),
                                              wireField("bookmark", &Case::bookmark)};
};

template <>
struct WireFields<RepoCommand::ExecuteFeatureInsertion> {
    static constexpr auto fields =
        std::tuple{wireField("plan", &RepoCommand::ExecuteFeatureInsertion::plan)};
};

template <>
struct WireFields<RepoCommand::PlanFeatureAppend> {
    using Case = RepoCommand::PlanFeatureAppend;
    static constexpr auto fields = std::tuple{wireField("changeIDs", &Case::changeIDs),
                                              wireField("bookmark", &Case::bookmark)};
};

template <>
struct WireFields<RepoCommand::ExecuteFeatureAppend> {
    static constexpr auto fields =
        std::tuple{wireField("plan", &RepoCommand::ExecuteFeatureAppend::plan)};
};
template <>
struct WireFields<RepoCommand::ExecuteFeatureAppendRecovery> {
    using Case = RepoCommand::ExecuteFeatureAppendRecovery;
    static constexpr auto fields =
        std::tuple{wireField("plan", &Case::plan), wireField("source", &Case::source)};
};

template <>
struct WireFields<RepoCommand::CreateBookmark> {
    static constexpr auto fields = std::tuple{wireField("_0", &RepoCommand::CreateBookmark::input)};
};

template <>
struct WireFields<RepoCommand::RenameBookmark> {
    static constexpr auto fields =
        std::tuple{wireField("old", &RepoCommand::RenameBookmark::oldName),
                   wireField("new", &RepoCommand::RenameBookmark::newName)};
};

template <>
struct WireFields<RepoCommand::AbandonBookmark> {
    static constexpr auto fields =
        std::tuple{wireField("name", &RepoCommand::AbandonBookmark::name)};
};

template <>
struct WireFields<RepoCommand::DeleteBookmark> {
    static constexpr auto fields =
        std::tuple{wireField("name", &RepoCommand::DeleteBookmark::name)};
};

template <>
struct WireFields<RepoCommand::RebaseBookmark> {
    static constexpr auto fields =
        std::tuple{wireField("name", &RepoCommand::RebaseBookmark::name),
                   wireField("destination", &RepoCommand::RebaseBookmark::destination)};
};

template <>
struct WireFields<RepoCommand::ReparentToTrunk> {
    static constexpr auto fields =
        std::tuple{wireField("name", &RepoCommand::ReparentToTrunk::name)};
};

template <>
struct WireFields<RepoCommand::SquashBookmarkToSingle> {
    static constexpr auto fields =
        std::tuple{wireField("name", &RepoCommand::SquashBookmarkToSingle::name)};
};

template <>
struct WireFields<RepoCommand::MoveBookmark> {
    static constexpr auto fields =
        std::tuple{wireField("name", &RepoCommand::MoveBookmark::name),
                   wireField("toCommitID", &RepoCommand::MoveBookmark::toCommitID),
                   wireField("allowBackwards", &RepoCommand::MoveBookmark::allowBackwards)};
};

template <>
struct WireFields<RepoCommand::AbsorbBookmark> {
    static constexpr auto fields =
        std::tuple{wireField("source", &RepoCommand::AbsorbBookmark::source),
                   wireField("target", &RepoCommand::AbsorbBookmark::target),
                   wireField("tipCommitID", &RepoCommand::AbsorbBookmark::tipCommitID)};
};

template <>
struct WireFields<RepoCommand::TrackRemoteBookmark> {
    static constexpr auto fields =
        std::tuple{wireField("name", &RepoCommand::TrackRemoteBookmark::name),
                   wireField("remote", &RepoCommand::TrackRemoteBookmark::remote),
                   wireField("tipCommitID", &RepoCommand::TrackRemoteBookmark::tipCommitID),
                   wireField("pin", &RepoCommand::TrackRemoteBookmark::pin)};
};

template <>
struct WireFields<RepoCommand::StageFiles> {
    static constexpr auto fields = std::tuple{wireField("paths", &RepoCommand::StageFiles::paths),
                                              wireField("into", &RepoCommand::StageFiles::into)};
};

template <>
struct WireFields<RepoCommand::UnstageFiles> {
    static constexpr auto fields = std::tuple{wireField("paths", &RepoCommand::UnstageFiles::paths),
                                              wireField("from", &RepoCommand::UnstageFiles::from)};
};

template <>
struct WireFields<RepoCommand::StageHunks> {
    static constexpr auto fields =
        std::tuple{wireField("filePath", &RepoCommand::StageHunks::filePath),
                   wireField("hunkOrdinals", &RepoCommand::StageHunks::hunkOrdinals),
                   wireField("into", &RepoCommand::StageHunks::into),
                   wireField("helperPath", &RepoCommand::StageHunks::helperPath)};
};

template <>
struct WireFields<RepoCommand::SplitCommit> {
    static constexpr auto fields =
        std::tuple{wireField("changeID", &RepoCommand::SplitCommit::changeID),
                   wireField("stayingPaths", &RepoCommand::SplitCommit::stayingPaths),
                   wireField("ignoreImmutable", &RepoCommand::SplitCommit::ignoreImmutable)};
};

template <>
struct WireFields<RepoCommand::SplitCommitByHunks> {
    static constexpr auto fields =
        std::tuple{wireField("changeID", &RepoCommand::SplitCommitByHunks::changeID),
                   wireField("selection", &RepoCommand::SplitCommitByHunks::selection),
                   wireField("helperPath", &RepoCommand::SplitCommitByHunks::helperPath),
                   wireField("ignoreImmutable", &RepoCommand::SplitCommitByHunks::ignoreImmutable)};
};

template <>
struct WireFields<RepoCommand::DescribeCommit> {
    static constexpr auto fields =
        std::tuple{wireField("changeID", &RepoCommand::DescribeCommit::changeID),
                   wireField("message", &RepoCommand::DescribeCommit::message),
                   wireField("ignoreImmutable", &RepoCommand::DescribeCommit::ignoreImmutable)};
};

template <>
struct WireFields<RepoCommand::ResolveFile> {
    static constexpr auto fields = std::tuple{wireField("path", &RepoCommand::ResolveFile::path)};
};

template <>
struct WireFields<RepoCommand::AdvanceOrphan> {
    static constexpr auto fields =
        std::tuple{wireField("commitID", &RepoCommand::AdvanceOrphan::commitID)};
};

template <>
struct WireFields<RepoCommand::AdvanceAllOneOffs> {
    static constexpr auto fields =
        std::tuple{wireField("commitIDs", &RepoCommand::AdvanceAllOneOffs::commitIDs)};
};

template <>
struct WireFields<RepoCommand::AbandonOneOff> {
    static constexpr auto fields =
        std::tuple{wireField("changeID", &RepoCommand::AbandonOneOff::changeID)};
};

template <>
struct WireFields<RepoCommand::RebaseCommits> {
    static constexpr auto fields =
        std::tuple{wireField("commitIDs", &RepoCommand::RebaseCommits::commitIDs),
                   wireField("destination", &RepoCommand::RebaseCommits::destination)};
};

template <>
struct WireFields<RepoCommand::RebaseCommitsIntoBookmark> {
    static constexpr auto fields =
        std::tuple{wireField("commitIDs", &RepoCommand::RebaseCommitsIntoBookmark::commitIDs),
                   wireField("tipChangeID", &RepoCommand::RebaseCommitsIntoBookmark::tipChangeID),
                   wireField("destination", &RepoCommand::RebaseCommitsIntoBookmark::destination),
                   wireField("bookmark", &RepoCommand::RebaseCommitsIntoBookmark::bookmark)};
};

template <>
struct WireFields<RepoCommand::ComposeCommitsAsBookmark> {
    static constexpr auto fields = std::tuple{
        wireField("workspaceName", &RepoCommand::ComposeCommitsAsBookmark::workspaceName),
        wireField("commitIDs", &RepoCommand::ComposeCommitsAsBookmark::commitIDs),
        wireField("tipChangeID", &RepoCommand::ComposeCommitsAsBookmark::tipChangeID),
        wireField("immutableBaseCommitID",
                  &RepoCommand::ComposeCommitsAsBookmark::immutableBaseCommitID)};
};

template <>
struct WireFields<RepoCommand::DuplicateCommits> {
    static constexpr auto fields =
        std::tuple{wireField("commitIDs", &RepoCommand::DuplicateCommits::commitIDs),
                   wireField("destination", &RepoCommand::DuplicateCommits::destination)};
};

template <>
struct WireFields<RepoCommand::ApplyEnabledBookmarks> {
    static constexpr auto fields =
        std::tuple{wireField("apex", &RepoCommand::ApplyEnabledBookmarks::apex),
                   wireField("names", &RepoCommand::ApplyEnabledBookmarks::names),
                   wireField("previousNames", &RepoCommand::ApplyEnabledBookmarks::previousNames)};
};

template <>
struct WireFields<RepoCommand::ApplyApexParents> {
    static constexpr auto fields =
        std::tuple{wireField("apex", &RepoCommand::ApplyApexParents::apex),
                   wireField("parents", &RepoCommand::ApplyApexParents::parents)};
};

template <>
struct WireFields<RepoCommand::SetWorkspaceBookmarkInclusion> {
    static constexpr auto fields = std::tuple{
        wireField("workspaceName", &RepoCommand::SetWorkspaceBookmarkInclusion::workspaceName),
        wireField("bookmarkName", &RepoCommand::SetWorkspaceBookmarkInclusion::bookmarkName),
        wireField("include", &RepoCommand::SetWorkspaceBookmarkInclusion::include)};
};

template <>
struct WireFields<RepoCommand::SetWorkspaceBookmarkAttachment> {
    static constexpr auto fields = std::tuple{
        wireField("workspaceName", &RepoCommand::SetWorkspaceBookmarkAttachment::workspaceName),
        wireField("bookmarkName", &RepoCommand::SetWorkspaceBookmarkAttachment::bookmarkName),
        wireField("commitID", &RepoCommand::SetWorkspaceBookmarkAttachment::commitID)};
};

template <>
struct WireFields<RepoCommand::AdvanceWorkspaceOntoTrunk> {
    static constexpr auto fields = std::tuple{
        wireField("workspaceName", &RepoCommand::AdvanceWorkspaceOntoTrunk::workspaceName)};
};

template <>
struct WireFields<RepoCommand::RestoreToOp> {
    static constexpr auto fields = std::tuple{
        wireField("op", &RepoCommand::RestoreToOp::op),
        wireField("expectedOperationID", &RepoCommand::RestoreToOp::expectedOperationID)};
};

template <>
struct WireFields<RepoCommand::SetUpdateStrategy> {
    static constexpr auto fields =
        std::tuple{wireField("strategy", &RepoCommand::SetUpdateStrategy::strategy),
                   wireField("bookmark", &RepoCommand::SetUpdateStrategy::bookmark)};
};

template <>
struct WireFields<RepoCommand::TogglePinned> {
    static constexpr auto fields =
        std::tuple{wireField("bookmark", &RepoCommand::TogglePinned::bookmark)};
};

template <>
struct WireFields<RepoCommand::ToggleBookmarkColumnVisibility> {
    static constexpr auto fields =
        std::tuple{wireField("bookmark", &RepoCommand::ToggleBookmarkColumnVisibility::bookmark)};
};

template <>
struct WireFields<RepoCommand::CloseBookmarkColumn> {
    static constexpr auto fields =
        std::tuple{wireField("bookmark", &RepoCommand::CloseBookmarkColumn::bookmark)};
};

template <>
struct WireFields<RepoCommand::SetTags> {
    static constexpr auto fields =
        std::tuple{wireField("tags", &RepoCommand::SetTags::tags),
                   wireField("bookmark", &RepoCommand::SetTags::bookmark)};
};

template <>
struct WireFields<RepoCommand::ToggleTag> {
    static constexpr auto fields =
        std::tuple{wireField("tag", &RepoCommand::ToggleTag::tag),
                   wireField("bookmark", &RepoCommand::ToggleTag::bookmark)};
};

template <>
struct WireFields<RepoCommand::SetRoutingRules> {
    static constexpr auto fields =
        std::tuple{wireField("rules", &RepoCommand::SetRoutingRules::rules)};
};

template <>
struct WireFields<RepoCommand::SetRoutingRulesForBookmark> {
    static constexpr auto fields =
        std::tuple{wireField("name", &RepoCommand::SetRoutingRulesForBookmark::name),
                   wireField("rules", &RepoCommand::SetRoutingRulesForBookmark::rules)};
};

template <>
struct WireFields<RepoCommand::RefreshPullRequestStatuses> {
    static constexpr auto fields = std::tuple{
        wireField("force", &RepoCommand::RefreshPullRequestStatuses::force),
        wireField("forceBranches", &RepoCommand::RefreshPullRequestStatuses::forceBranches),
        wireField("limitTo", &RepoCommand::RefreshPullRequestStatuses::limitTo)};
};

template <>
struct WireFields<RepoCommand::CreatePullRequest> {
    static constexpr auto fields =
        std::tuple{wireField("bookmark", &RepoCommand::CreatePullRequest::bookmark),
                   wireField("title", &RepoCommand::CreatePullRequest::title),
                   wireField("body", &RepoCommand::CreatePullRequest::body),
                   wireField("base", &RepoCommand::CreatePullRequest::base),
                   wireField("draft", &RepoCommand::CreatePullRequest::draft)};
};

template <>
struct WireCases<RepoCommand> {
    static constexpr std::string_view name = "command";
    static constexpr auto variant = &RepoCommand::value;
};

}  // namespace vorda
