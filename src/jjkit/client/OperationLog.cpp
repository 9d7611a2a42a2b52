// The operation log: the current operation that every guard compares, the
// log itself, and the two ways back.

#include "jjkit/client/JJClient.h"
#include "jjkit/support/Text.h"
#include "jjkit/templates/JJTemplateBuilder.h"
#include "jjkit/templates/OutputParsing.h"

namespace vorda {

std::string JJClient::currentOperationID() const {
    const auto result =
        run({"op", "log", "--ignore-working-copy", "--no-graph", "--limit", "1", "-T", "id"},
            "currentOperationID");
    return std::string(text::trimWhitespace(result.stdout));
}

std::vector<JJOp> JJClient::opLog(int limit) const {
    const auto limitText = std::to_string(limit);
    const auto result = run({"op", "log", "--no-graph", "--ignore-working-copy", "--limit",
                             limitText, "-T", std::string(JJTemplateBuilder::opTemplate)},
                            "opLog limit=" + limitText);
    return parseNDJSON<JJOp>(result.stdout, "op log");
}

void JJClient::opRestore(const std::string& opID, const std::string& expectedOperationID) const {
    // The snapshot turns unrecorded edits in the working copy into an
    // operation of their own, so that they too stop a restore the user
    // confirmed while looking at another state.
    snapshotWorkingCopy("opRestore/snapshot");
    if (currentOperationID() != expectedOperationID) {
        throw JJError::unsafeOperation(
            "Repository or working copy changed since the operation log was reviewed. Refresh "
            "and confirm recovery again.");
    }
    run({"op", "restore", opID}, "opRestore op=" + opID);
}

void JJClient::undoLastOp() const {
    run({"undo"}, "undoLastOp");
}

}  // namespace vorda
