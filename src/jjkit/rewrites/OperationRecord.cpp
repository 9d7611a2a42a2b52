#include "jjkit/rewrites/OperationRecord.h"

namespace vorda {

JournalDate journalReferenceDate() {
    using namespace std::chrono;
    return JournalDate(sys_days(year(2001) / January / 1).time_since_epoch());
}

JournalDate journalNow() {
    return std::chrono::time_point_cast<std::chrono::duration<double>>(JournalClock::now());
}

double secondsSinceReferenceDate(JournalDate date) {
    return (date - journalReferenceDate()).count();
}

JournalDate journalDate(double secondsSinceReferenceDate) {
    return journalReferenceDate() + std::chrono::duration<double>(secondsSinceReferenceDate);
}

std::string recoveryGuidance(const std::optional<LocalStackUpdateReceipt>& receipt,
                             const std::optional<std::string>& currentOperationID) {
    if (!receipt) {
        return "No final outcome was saved. Execution may not have started, may still be "
               "running, or may have finished. Inspect the operation log before retrying or "
               "recovering.";
    }
    if (!receipt->afterOperationID || !currentOperationID) {
        return "The current or resulting operation is unavailable. Refresh and inspect the "
               "operation log before choosing recovery.";
    }
    if (*currentOperationID != *receipt->afterOperationID) {
        return "The repository has changed since this receipt. Restoring its starting operation "
               "could discard later work. Review intervening operations; do not restore blindly.";
    }
    if (receipt->commandError || !receipt->verificationWarnings.empty()) {
        return "The observed operation matches this result, but the action needs inspection. "
               "Compare the recorded before/after operations before choosing recovery.";
    }
    return "The observed operation matches the verified result. Inspect any reported conflicts; "
           "no automatic recovery is needed.";
}

}  // namespace vorda
