#pragma once

#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "feature/commands/RepoCommand.h"
#include "feature/session/RepoSnapshot.h"
#include "jjkit/model/Bookmark.h"
#include "jjkit/records/JJOp.h"
#include "jjkit/rewrites/CompositionAttachmentPlan.h"
#include "jjkit/rewrites/CoordinatedRecoveryPlan.h"
#include "jjkit/rewrites/CoordinatedRoutingPlan.h"
#include "jjkit/rewrites/FeatureAppendPlan.h"
#include "jjkit/rewrites/FeatureAppendRecoveryPlan.h"
#include "jjkit/rewrites/FeatureInsertionPlan.h"
#include "jjkit/rewrites/LocalStackUpdatePlan.h"
#include "jjkit/rewrites/OperationRecord.h"

namespace vorda {

/// A question for the user before `followup` runs. The receiving side makes
/// these; the session never returns one.
struct ConfirmationRequestData {
    std::string id;
    std::string title;
    std::string message;
    RepoCommand followup;
};

/// A push that would overwrite the remote; the user's yes comes back as
/// `RepoCommand::PerformPush`.
struct ForcePushRequestData {
    std::string id;
    Bookmark bookmark;
    RemoteSyncState syncState;
};

/// A command that failed, as the receiving side reports it.
struct RepoCommandError {
    RepoCommand command;
    std::string message;
};

/// What a command gives back. A planned rewrite answers its `plan…` command
/// with the plan to preview and its `execute…` command with the receipt (or
/// the whole record, for flows of several steps).
struct RepoCommandResult {
    struct Refreshed {
        static constexpr std::string_view caseName = "refreshed";
        SnapshotRef snapshot;
    };
    struct Toast {
        static constexpr std::string_view caseName = "toast";
        std::string text;
    };
    struct RequiresConfirmation {
        static constexpr std::string_view caseName = "requiresConfirmation";
        ConfirmationRequestData request;
    };
    struct ForcePushRequired {
        static constexpr std::string_view caseName = "forcePushRequired";
        ForcePushRequestData request;
    };
    struct OpenURL {
        static constexpr std::string_view caseName = "openURL";
        std::string url;
    };
    struct RecentOps {
        static constexpr std::string_view caseName = "recentOps";
        std::vector<JJOp> ops;
    };
    // Case names equal the plan types' names, so the payloads name those
    // types with their namespace.
    struct LocalStackUpdatePlan {
        static constexpr std::string_view caseName = "localStackUpdatePlan";
        vorda::LocalStackUpdatePlan plan;
    };
    struct LocalStackUpdateCompleted {
        static constexpr std::string_view caseName = "localStackUpdateCompleted";
        LocalStackUpdateReceipt receipt;
    };
    struct CoordinatedRoutingPlan {
        static constexpr std::string_view caseName = "coordinatedRoutingPlan";
        CoordinatedFeatureRoutingPlan plan;
    };
    struct CoordinatedRoutingCompleted {
        static constexpr std::string_view caseName = "coordinatedRoutingCompleted";
        OperationRecord<CoordinatedFeatureRoutingPlan> record;
    };
    struct CoordinatedRecoveryCompleted {
        static constexpr std::string_view caseName = "coordinatedRecoveryCompleted";
        OperationRecord<CoordinatedRoutingRecoveryPlan> record;
    };
    struct CompositionAttachmentPlan {
        static constexpr std::string_view caseName = "compositionAttachmentPlan";
        vorda::CompositionAttachmentPlan plan;
    };
    struct CompositionAttachmentCompleted {
        static constexpr std::string_view caseName = "compositionAttachmentCompleted";
        OperationRecord<vorda::CompositionAttachmentPlan> record;
    };
    struct FeatureInsertionPlan {
        static constexpr std::string_view caseName = "featureInsertionPlan";
        vorda::FeatureInsertionPlan plan;
    };
    struct FeatureInsertionCompleted {
        static constexpr std::string_view caseName = "featureInsertionCompleted";
        LocalStackUpdateReceipt receipt;
    };
    struct FeatureAppendPlan {
        static constexpr std::string_view caseName = "featureAppendPlan";
        vorda::FeatureAppendPlan plan;
    };
    struct FeatureAppendCompleted {
        static constexpr std::string_view caseName = "featureAppendCompleted";
        OperationRecord<vorda::FeatureAppendPlan> record;
    };
    struct FeatureAppendRecoveryCompleted {
        static constexpr std::string_view caseName = "featureAppendRecoveryCompleted";
        OperationRecord<FeatureAppendRecoveryPlan> record;
    };
    struct Failure {
        static constexpr std::string_view caseName = "failure";
        RepoCommandError error;
    };

    using Value =
        std::variant<Refreshed, Toast, RequiresConfirmation, ForcePushRequired, OpenURL, RecentOps,
                     LocalStackUpdatePlan, LocalStackUpdateCompleted, CoordinatedRoutingPlan,
                     CoordinatedRoutingCompleted, CoordinatedRecoveryCompleted,
                     CompositionAttachmentPlan, CompositionAttachmentCompleted,
                     FeatureInsertionPlan, FeatureInsertionCompleted, FeatureAppendPlan,
                     FeatureAppendCompleted, FeatureAppendRecoveryCompleted, Failure>;
    Value value;

    /// Any case converts; it is taken by value, so copies and moves of a
    /// whole result still use the ordinary constructors.
    template <typename Case>
    requires(!std::is_same_v<Case, RepoCommandResult> && std::is_constructible_v<Value, Case>)
        RepoCommandResult(Case result)  // NOLINT(google-explicit-constructor): a case is a result
        : value(std::move(result)) {}

    static RepoCommandResult refreshed(SnapshotRef snapshot) {
        return Refreshed{std::move(snapshot)};
    }
    static RepoCommandResult toast(std::string text) { return Toast{std::move(text)}; }

    /// The toast's text; absent for any other case.
    const std::string* toastText() const;
    /// The refreshed snapshot; null for any other case.
    SnapshotRef refreshedSnapshot() const;
};

}  // namespace vorda
