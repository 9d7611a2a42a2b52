#pragma once

#include <chrono>
#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "jjkit/records/RecordFields.h"

namespace vorda {

/// Everything that can be kept in an operation journal: a plan with a JSON
/// coding and the name of the folder its receipts live in.
template <typename Plan>
concept JournaledOperationPlan = requires(const Plan& plan, const JsonReader& reader) {
    { Plan::journalDirectoryName } -> std::convertible_to<std::string_view>;
    { RecordCoding<Plan>::encode(plan) } -> std::same_as<nlohmann::json>;
    { RecordCoding<Plan>::decode(reader) } -> std::same_as<Plan>;
};

/// Receipt times: seconds since 2001-01-01 00:00:00 UTC with fraction, which
/// is how they are written, so a date read back compares equal.
using JournalClock = std::chrono::system_clock;
using JournalDate = std::chrono::time_point<JournalClock, std::chrono::duration<double>>;

/// 2001-01-01 00:00:00 UTC.
JournalDate journalReferenceDate();
JournalDate journalNow();
double secondsSinceReferenceDate(JournalDate date);
JournalDate journalDate(double secondsSinceReferenceDate);

/// One command-level step of a multi-step flow. Declared (and saved) with
/// `completed` false before its command runs; completed with the operation
/// read after the command exited successfully.
struct OperationStep {
    std::string name;
    std::string beforeOperationID;
    std::optional<std::string> afterOperationID;
    bool completed = false;

    bool operator==(const OperationStep&) const = default;
};

/// The final outcome of every planned rewrite.
struct LocalStackUpdateReceipt {
    /// The plan's operation.
    std::string beforeOperationID;
    /// The operation read after the last command.
    std::optional<std::string> afterOperationID;
    /// What stopped the flow.
    std::optional<std::string> commandError;
    std::vector<std::string> affectedWorkspaceNames;
    /// Everything reading back did not confirm; empty means verified.
    std::vector<std::string> verificationWarnings;
    /// Affected changes that are conflicted afterwards; not a warning.
    std::vector<std::string> conflictedChangeIDs;

    /// Ran without a command error and verified in full; conflicts may remain.
    bool succeeded() const { return !commandError && verificationWarnings.empty(); }

    bool operator==(const LocalStackUpdateReceipt&) const = default;
};

/// What reading a rewrite's outcome back found.
struct VerificationFindings {
    /// Everything that was not confirmed.
    std::vector<std::string> warnings;
    /// Change IDs of affected commits that are conflicted.
    std::vector<std::string> conflicts;

    bool operator==(const VerificationFindings&) const = default;
};

/// The guidance for a receipt, given the operation observed now (absent when
/// it could not be read).
std::string recoveryGuidance(const std::optional<LocalStackUpdateReceipt>& receipt,
                             const std::optional<std::string>& currentOperationID);

/// One receipt: made before anything runs, saved again as steps complete and
/// once more with the final outcome, always under the same `id`.
template <typename Plan>
struct OperationRecord {
    static constexpr std::int64_t currentSchemaVersion = 1;

    std::int64_t schemaVersion = currentSchemaVersion;
    /// Upper-case UUID text; also the file name.
    std::string id;
    JournalDate startedAt;
    Plan plan;
    /// Absent until the flow has ended.
    std::optional<LocalStackUpdateReceipt> receipt;
    /// Only in the multi-step flows.
    std::optional<std::vector<OperationStep>> steps;

    std::string recoveryGuidance(const std::optional<std::string>& currentOperationID) const {
        return vorda::recoveryGuidance(receipt, currentOperationID);
    }

    bool operator==(const OperationRecord&) const = default;
};

template <>
struct StoredValue<JournalDate> {
    static nlohmann::json encode(JournalDate date) { return secondsSinceReferenceDate(date); }
    static JournalDate decode(const JsonReader& reader) { return journalDate(reader.number()); }
};

template <>
struct RecordFields<OperationStep> {
    static constexpr auto fields =
        std::tuple{recordField("name", &OperationStep::name),
                   recordField("beforeOperationID", &OperationStep::beforeOperationID),
                   recordField("afterOperationID", &OperationStep::afterOperationID),
                   recordField("completed", &OperationStep::completed)};
};

template <>
struct RecordFields<LocalStackUpdateReceipt> {
    static constexpr auto fields = std::tuple{
        recordField("beforeOperationID", &LocalStackUpdateReceipt::beforeOperationID),
        recordField("afterOperationID", &LocalStackUpdateReceipt::afterOperationID),
        recordField("commandError", &LocalStackUpdateReceipt::commandError),
        recordField("affectedWorkspaceNames", &LocalStackUpdateReceipt::affectedWorkspaceNames),
        recordField("verificationWarnings", &LocalStackUpdateReceipt::verificationWarnings),
        recordField("conflictedChangeIDs", &LocalStackUpdateReceipt::conflictedChangeIDs)};
};

template <typename Plan>
struct RecordFields<OperationRecord<Plan>> {
    using Record = OperationRecord<Plan>;
    static constexpr auto fields = std::tuple{recordField("schemaVersion", &Record::schemaVersion),
                                              uuidField("id", &Record::id),
                                              recordField("startedAt", &Record::startedAt),
                                              recordField("plan", &Record::plan),
                                              recordField("receipt", &Record::receipt),
                                              recordField("steps", &Record::steps)};
};

}  // namespace vorda
