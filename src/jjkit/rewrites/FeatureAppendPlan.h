#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "jjkit/records/JJCommit.h"
#include "jjkit/records/JJWorkspace.h"
#include "jjkit/records/RecordFields.h"
#include "jjkit/rewrites/FeatureInsertionPlan.h"
#include "jjkit/rewrites/OperationRecord.h"

namespace vorda {

/// The second step of an append: the feature's bookmark moved from its old
/// tip onto the moved work.
struct BookmarkAdvance {
    std::string name;
    /// The feature tip's commit ID at planning.
    std::string expectedOldCommitID;
    /// The change of the highest selected commit; its commit ID is known only
    /// after the first step.
    std::string targetChangeID;

    bool operator==(const BookmarkAdvance&) const = default;
};

/// A merge among the affected commits whose parents the routing changes,
/// for the preview.
struct AttachmentChange {
    std::string commitID;
    std::string changeID;
    std::vector<std::string> oldParentIDs;
    std::vector<std::string> expectedParentIDs;

    bool operator==(const AttachmentChange&) const = default;
};

/// Selected commits routed onto a feature's tip, then the feature's bookmark
/// advanced onto them: two commands with a checkpoint between them.
struct FeatureAppendPlan {
    static constexpr std::string_view journalDirectoryName = "Vorda-feature-append-receipts";

    /// The routing, planned with the feature tip as destination.
    FeatureInsertionPlan topology;
    BookmarkAdvance bookmarkAdvance;
    std::vector<AttachmentChange> attachmentChanges;

    FeatureAppendPlan() = default;
    /// Throws "Append must preserve the original feature tip." unless the
    /// topology appends at the tip, selects something and leaves the tip
    /// itself untouched.
    explicit FeatureAppendPlan(FeatureInsertionPlan routedTopology);

    /// The arguments of step two, after checking that it can run: the two
    /// operations equal, the bookmark still only at its old tip, the resolved
    /// tip of the right change with a full commit ID. Throws
    /// `JJError::UnsafeOperation`.
    std::vector<std::string> bookmarkCommand(
        const JJCommit& resolvedTip, const std::vector<std::string>& currentBookmarkCommitIDs,
        const std::string& currentOperationID, const std::string& expectedOperationID) const;

    bool operator==(const FeatureAppendPlan&) const = default;
};

/// What a later look at an append receipt finds in the repository.
struct FeatureAppendInspection {
    enum class Topology { original, routed, both, changed };
    enum class BookmarkState { original, advanced, changed };

    std::string recordID;
    std::string operationID;
    std::string latestRecordedOperationID;
    Topology topology = Topology::changed;
    BookmarkState bookmark = BookmarkState::changed;
    std::vector<std::string> warnings;
    std::vector<std::string> conflictedChangeIDs;
    bool changedSinceCheckpoint = false;

    /// Pure: compares what is visible now with the record.
    static FeatureAppendInspection build(const OperationRecord<FeatureAppendPlan>& record,
                                         const std::string& operationID,
                                         const std::vector<JJCommit>& visible,
                                         const std::vector<JJCommit>& bookmarkCommits,
                                         const std::vector<JJCommit>& originalTip,
                                         const std::vector<JJWorkspace>& workspaces);

    /// One sentence on what to do next.
    std::string guidance() const;

    bool operator==(const FeatureAppendInspection&) const = default;
};

/// The display texts, which are also the raw values on the wire.
std::string_view displayText(FeatureAppendInspection::Topology topology);
std::string_view displayText(FeatureAppendInspection::BookmarkState state);

template <>
struct RecordFields<BookmarkAdvance> {
    static constexpr auto fields =
        std::tuple{recordField("name", &BookmarkAdvance::name),
                   recordField("expectedOldCommitID", &BookmarkAdvance::expectedOldCommitID),
                   recordField("targetChangeID", &BookmarkAdvance::targetChangeID)};
};

template <>
struct RecordFields<AttachmentChange> {
    static constexpr auto fields =
        std::tuple{recordField("commitID", &AttachmentChange::commitID),
                   recordField("changeID", &AttachmentChange::changeID),
                   recordField("oldParentIDs", &AttachmentChange::oldParentIDs),
                   recordField("expectedParentIDs", &AttachmentChange::expectedParentIDs)};
};

template <>
struct RecordFields<FeatureAppendPlan> {
    static constexpr auto fields =
        std::tuple{recordField("topology", &FeatureAppendPlan::topology),
                   recordField("bookmarkAdvance", &FeatureAppendPlan::bookmarkAdvance),
                   recordField("attachmentChanges", &FeatureAppendPlan::attachmentChanges)};
};

}  // namespace vorda
