#pragma once

#include <string_view>
#include <tuple>

#include "feature/commands/RepoCommand.h"
#include "feature/commands/RepoCommandResult.h"
#include "feature/wire/BookmarkWire.h"
#include "feature/wire/CommandWire.h"
#include "feature/wire/RecordWire.h"
#include "feature/wire/ResultWire.h"
#include "feature/wire/RewriteWire.h"
#include "feature/wire/SnapshotWire.h"
#include "feature/wire/WireCases.h"
#include "feature/wire/WireRecord.h"

// The payloads of every result case, and the records they carry.

namespace vorda {

template <>
struct WireFields<ConfirmationRequestData> {
    static constexpr auto fields =
        std::tuple{wireField("id", &ConfirmationRequestData::id),
                   wireField("title", &ConfirmationRequestData::title),
                   wireField("message", &ConfirmationRequestData::message),
                   wireField("followup", &ConfirmationRequestData::followup)};
};

template <>
struct WireFields<ForcePushRequestData> {
    static constexpr auto fields =
        std::tuple{wireField("id", &ForcePushRequestData::id),
                   wireField("bookmark", &ForcePushRequestData::bookmark),
                   wireField("syncState", &ForcePushRequestData::syncState)};
};

template <>
struct WireFields<RepoCommandError> {
    static constexpr auto fields = std::tuple{wireField("command", &RepoCommandError::command),
                                              wireField("message", &RepoCommandError::message)};
};

// A command has no default value. The records that hold one start decoding
// from a placeholder, which the required `command` or `followup` key always
// replaces.
template <>
struct WireSeed<ConfirmationRequestData> {
    static ConfirmationRequestData make() { return {{}, {}, {}, RepoCommand::Refresh{}}; }
};
template <>
struct WireSeed<RepoCommandError> {
    static RepoCommandError make() { return {RepoCommand::Refresh{}, {}}; }
};
template <>
struct WireSeed<RepoCommandResult::RequiresConfirmation> {
    static RepoCommandResult::RequiresConfirmation make() {
        return {WireSeed<ConfirmationRequestData>::make()};
    }
};
template <>
struct WireSeed<RepoCommandResult::Failure> {
    static RepoCommandResult::Failure make() { return {WireSeed<RepoCommandError>::make()}; }
};

template <>
struct WireFields<RepoCommandResult::Refreshed> {
    static constexpr auto fields =
        std::tuple{wireField("_0", &RepoCommandResult::Refreshed::snapshot)};
};
template <>
struct WireFields<RepoCommandResult::Toast> {
    static constexpr auto fields = std::tuple{wireField("_0", &RepoCommandResult::Toast::text)};
};
template <>
struct WireFields<RepoCommandResult::RequiresConfirmation> {
    static constexpr auto fields =
        std::tuple{wireField("_0", &RepoCommandResult::RequiresConfirmation::request)};
};
template <>
struct WireFields<RepoCommandResult::ForcePushRequired> {
    static constexpr auto fields =
        std::tuple{wireField("_0", &RepoCommandResult::ForcePushRequired::request)};
};
template <>
struct WireFields<RepoCommandResult::OpenURL> {
    static constexpr auto fields = std::tuple{wireField("_0", &RepoCommandResult::OpenURL::url)};
};
template <>
struct WireFields<RepoCommandResult::RecentOps> {
    static constexpr auto fields = std::tuple{wireField("_0", &RepoCommandResult::RecentOps::ops)};
};
template <>
struct WireFields<RepoCommandResult::LocalStackUpdatePlan> {
    static constexpr auto fields =
        std::tuple{wireField("_0", &RepoCommandResult::LocalStackUpdatePlan::plan)};
};
template <>
struct WireFields<RepoCommandResult::LocalStackUpdateCompleted> {
    static constexpr auto fields =
        std::tuple{wireField("_0", &RepoCommandResult::LocalStackUpdateCompleted::receipt)};
};
template <>
struct WireFields<RepoCommandResult::CoordinatedRoutingPlan> {
    static constexpr auto fields =
        std::tuple{wireField("_0", &RepoCommandResult::CoordinatedRoutingPlan::plan)};
};
template <>
struct WireFields<RepoCommandResult::CoordinatedRoutingCompleted> {
    static constexpr auto fields =
        std::tuple{wireField("_0", &RepoCommandResult::CoordinatedRoutingCompleted::record)};
};
template <>
struct WireFields<RepoCommandResult::CoordinatedRecoveryCompleted> {
    static constexpr auto fields =
        std::tuple{wireField("_0", &RepoCommandResult::CoordinatedRecoveryCompleted::record)};
};
template <>
struct WireFields<RepoCommandResult::CompositionAttachmentPlan> {
    static constexpr auto fields =
        std::tuple{wireField("_0", &RepoCommandResult::CompositionAttachmentPlan::plan)};
};
template <>
struct WireFields<RepoCommandResult::CompositionAttachmentCompleted> {
    static constexpr auto fields =
        std::tuple{wireField("_0", &RepoCommandResult::CompositionAttachmentCompleted::record)};
};
template <>
struct WireFields<RepoCommandResult::FeatureInsertionPlan> {
    static constexpr auto fields =
        std::tuple{wireField("_0", &RepoCommandResult::FeatureInsertionPlan::plan)};
};
template <>
struct WireFields<RepoCommandResult::FeatureInsertionCompleted> {
    static constexpr auto fields =
        std::tuple{wireField("_0", &RepoCommandResult::FeatureInsertionCompleted::receipt)};
};
template <>
struct WireFields<RepoCommandResult::FeatureAppendPlan> {
    static constexpr auto fields =
        std::tuple{wireField("_0", &RepoCommandResult::FeatureAppendPlan::plan)};
};
template <>
struct WireFields<RepoCommandResult::FeatureAppendCompleted> {
    static constexpr auto fields =
        std::tuple{wireField("_0", &RepoCommandResult::FeatureAppendCompleted::record)};
};
template <>
struct WireFields<RepoCommandResult::FeatureAppendRecoveryCompleted> {
    static constexpr auto fields =
        std::tuple{wireField("_0", &RepoCommandResult::FeatureAppendRecoveryCompleted::record)};
};
template <>
struct WireFields<RepoCommandResult::Failure> {
    static constexpr auto fields = std::tuple{wireField("_0", &RepoCommandResult::Failure::error)};
};

template <>
struct WireCases<RepoCommandResult> {
    static constexpr std::string_view name = "result";
    static constexpr auto variant = &RepoCommandResult::value;
};

}  // namespace vorda
