#pragma once

#include <array>
#include <string>
#include <string_view>
#include <tuple>

#include <nlohmann/json.hpp>

#include "feature/wire/WireCoding.h"
#include "feature/wire/WireRecord.h"
#include "jjkit/rewrites/CompositionAttachmentPlan.h"
#include "jjkit/rewrites/CoordinatedRecoveryPlan.h"
#include "jjkit/rewrites/CoordinatedRoutingPlan.h"
#include "jjkit/rewrites/FeatureAppendPlan.h"
#include "jjkit/rewrites/FeatureAppendRecoveryPlan.h"
#include "jjkit/rewrites/FeatureInsertionPlan.h"
#include "jjkit/rewrites/LocalStackUpdatePlan.h"
#include "jjkit/rewrites/OperationJournal.h"
#include "jjkit/rewrites/OperationRecord.h"

// Plans, receipts and records cross the wire in the very form they are
// stored in a journal: a plan printed by one process is executed by another
// exactly as it was planned, frozen commits included.

namespace vorda {

/// The wire coding of a value that has a stored form.
template <typename T>
struct StoredFormWire {
    static nlohmann::json encode(const T& value) { return RecordCoding<T>::encode(value); }
    static T decode(const JsonReader& reader) { return RecordCoding<T>::decode(reader); }
};

template <>
struct Wire<LocalStackUpdatePlan> : StoredFormWire<LocalStackUpdatePlan> {};
template <>
struct Wire<FeatureInsertionPlan> : StoredFormWire<FeatureInsertionPlan> {};
template <>
struct Wire<FeatureAppendPlan> : StoredFormWire<FeatureAppendPlan> {};
template <>
struct Wire<FeatureAppendRecoveryPlan> : StoredFormWire<FeatureAppendRecoveryPlan> {};
template <>
struct Wire<CompositionAttachmentPlan> : StoredFormWire<CompositionAttachmentPlan> {};
template <>
struct Wire<CoordinatedFeatureRoutingPlan> : StoredFormWire<CoordinatedFeatureRoutingPlan> {};
template <>
struct Wire<CoordinatedRoutingRecoveryPlan> : StoredFormWire<CoordinatedRoutingRecoveryPlan> {};
template <>
struct Wire<LocalStackUpdateReceipt> : StoredFormWire<LocalStackUpdateReceipt> {};
template <typename Plan>
struct Wire<OperationRecord<Plan>> : StoredFormWire<OperationRecord<Plan>> {};

/// A loaded journal: `{"records":[…],"warnings":[…]}`, newest first.
template <typename Plan>
nlohmann::json encodeLoadedJournal(const typename OperationJournal<Plan>::Loaded& loaded) {
    return {{"records", Wire<std::vector<OperationRecord<Plan>>>::encode(loaded.records)},
            {"warnings", Wire<std::vector<std::string>>::encode(loaded.warnings)}};
}

/// The inspection's enumerations travel as their display texts.
template <typename Enumeration, std::size_t Count>
struct DisplayTextWire {
    static nlohmann::json encode(Enumeration value) { return std::string(displayText(value)); }
    static Enumeration decode(const JsonReader& reader) {
        const auto text = reader.string();
        for (std::size_t index = 0; index < Count; ++index) {
            const auto value = static_cast<Enumeration>(index);
            if (displayText(value) == text) {
                return value;
            }
        }
        wire_detail::failCorrupted(reader, "unknown value \"" + text + "\"");
    }
};

template <>
struct Wire<FeatureAppendInspection::Topology>
    : DisplayTextWire<FeatureAppendInspection::Topology, 4> {};
template <>
struct Wire<FeatureAppendInspection::BookmarkState>
    : DisplayTextWire<FeatureAppendInspection::BookmarkState, 3> {};

template <>
struct WireFields<FeatureAppendInspection> {
    using Inspection = FeatureAppendInspection;
    static constexpr auto fields =
        std::tuple{wireField("recordID", &Inspection::recordID),
                   wireField("operationID", &Inspection::operationID),
                   wireField("latestRecordedOperationID", &Inspection::latestRecordedOperationID),
                   wireField("topology", &Inspection::topology),
                   wireField("bookmark", &Inspection::bookmark),
                   wireField("warnings", &Inspection::warnings),
                   wireField("conflictedChangeIDs", &Inspection::conflictedChangeIDs),
                   wireField("changedSinceCheckpoint", &Inspection::changedSinceCheckpoint)};
};

template <>
struct WireFields<CoordinatedRoutingInspection::RepairState> {
    using State = CoordinatedRoutingInspection::RepairState;
    static constexpr auto fields =
        std::tuple{wireField("changeID", &State::changeID),
                   wireField("matchesRoutedParents", &State::matchesRoutedParents),
                   wireField("matchesRepairedParents", &State::matchesRepairedParents)};
};

template <>
struct WireFields<CoordinatedRoutingInspection> {
    using Inspection = CoordinatedRoutingInspection;
    static constexpr auto fields =
        std::tuple{wireField("recordID", &Inspection::recordID),
                   wireField("operationID", &Inspection::operationID),
                   wireField("latestRecordedOperationID", &Inspection::latestRecordedOperationID),
                   wireField("matchingStages", &Inspection::matchingStages),
                   wireField("bookmarkState", &Inspection::bookmarkState),
                   wireField("repairs", &Inspection::repairs),
                   wireField("warnings", &Inspection::warnings),
                   wireField("conflictedChangeIDs", &Inspection::conflictedChangeIDs)};
};

}  // namespace vorda
