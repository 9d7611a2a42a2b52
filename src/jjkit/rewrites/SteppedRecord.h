#pragma once

#include <functional>
#include <optional>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "jjkit/client/JJClient.h"
#include "jjkit/rewrites/OperationRecord.h"
#include "jjkit/rewrites/PlannedFlow.h"

// The receipt of a flow of several commands, from its first save on. Each
// step is declared and saved before its command runs, so that a process that
// dies meanwhile leaves it declared, and completed with the operation its
// command left, which becomes the checkpoint the next step must start from.
namespace vorda::flow {

/// Ends a flow early; its message becomes the receipt's `commandError`.
struct FlowStopped : std::runtime_error {
    using std::runtime_error::runtime_error;
};
[[noreturn]] inline void stopFlow(std::string_view message) {
    throw FlowStopped(std::string(message));
}

template <typename Plan>
class SteppedRecord {
  public:
    SteppedRecord(const JJClient& client, OperationRecord<Plan> record,
                  const PersistRecord<Plan>& persist, std::string planOperationID)
        : client_(client),
          record_(std::move(record)),
          persist_(persist),
          planOperationID_(std::move(planOperationID)) {}

    /// Adds a step that has not run yet and saves the record.
    void declare(std::string_view name, const std::string& beforeOperationID) {
        steps().push_back({std::string(name), beforeOperationID, std::nullopt, false});
        persist_(record_);
    }

    /// Marks the last step done with the operation its command left and
    /// saves; returns that operation, the new checkpoint.
    std::string complete() {
        std::string after = client_.currentOperationID();
        auto& step = steps().back();
        step.afterOperationID = after;
        step.completed = true;
        persist_(record_);
        return after;
    }

    /// One whole step: declared at the last checkpoint, stopped with
    /// `changedMessage` unless the repository still stands there, run with
    /// `reason` (exit code 0 only), completed. Returns the new checkpoint.
    std::string runStep(std::string_view name, const std::vector<std::string>& arguments,
                        std::string_view reason, std::string_view changedMessage,
                        const std::stop_token& stop) {
        const std::string before = lastCheckpoint();
        declare(name, before);
        if (client_.currentOperationID() != before) {
            stopFlow(changedMessage);
        }
        checkCancelled(stop);
        client_.run(arguments, reason);
        return complete();
    }

    /// The operation the last completed step left, or the plan's before any.
    std::string lastCheckpoint() const {
        std::string checkpoint = planOperationID_;
        if (record_.steps) {
            for (const auto& step : *record_.steps) {
                if (step.completed && step.afterOperationID) {
                    checkpoint = *step.afterOperationID;
                }
            }
        }
        return checkpoint;
    }

    /// Runs `steps`, whatever stops them becoming `commandError`, then
    /// finishes with the findings they left in `warnings` and `conflicts`.
    OperationRecord<Plan> conclude(const std::function<void()>& steps,
                                   std::vector<std::string> workspaceNames,
                                   std::vector<std::string>& warnings,
                                   std::vector<std::string>& conflicts, const FlowWords& words,
                                   std::string_view changedSinceCheckpoint) && {
        LocalStackUpdateReceipt receipt;
        try {
            steps();
        } catch (...) {
            receipt.commandError = describeCurrentException();
        }
        receipt.affectedWorkspaceNames = std::move(workspaceNames);
        receipt.verificationWarnings = std::move(warnings);
        receipt.conflictedChangeIDs = std::move(conflicts);
        return std::move(*this).finish(std::move(receipt), words, changedSinceCheckpoint);
    }

  private:
    /// Completes `receipt` with the operation read now (a warning when it
    /// cannot be read, `changedSinceCheckpoint` when it is not the last
    /// checkpoint) and saves the final record; a failing save adds the
    /// flow's final-save warning to what is returned only.
    OperationRecord<Plan> finish(LocalStackUpdateReceipt receipt, const FlowWords& words,
                                 std::string_view changedSinceCheckpoint) && {
        const auto current = readOperation(client_);
        if (!current) {
            receipt.verificationWarnings.push_back(std::string(words.verificationPrefix) +
                                                   std::string(words.operationUnavailable));
        } else if (*current != lastCheckpoint()) {
            receipt.verificationWarnings.emplace_back(changedSinceCheckpoint);
        }
        receipt.beforeOperationID = planOperationID_;
        receipt.afterOperationID = current;
        record_.receipt = saveFinalRecord(record_, std::move(receipt), persist_, words);
        return std::move(record_);
    }

    std::vector<OperationStep>& steps() {
        if (!record_.steps) {
            record_.steps = std::vector<OperationStep>{};
        }
        return *record_.steps;
    }

    const JJClient& client_;
    OperationRecord<Plan> record_;
    const PersistRecord<Plan>& persist_;
    std::string planOperationID_;
};

}  // namespace vorda::flow
