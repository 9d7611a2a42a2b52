#pragma once

#include <string>

namespace vorda::bench {

/// Reads `root` as a session does, and once more with the two facts (one's
/// own commits, commits behind trunk) from separate queries and trunk's
/// commit from a query of its own, the way a read went before jj answered
/// them in the commit log; then compares the two encoded snapshots byte for
/// byte and prints one line, "snapshot check (LABEL): identical …" or
/// "… DIFFERENT …". Returns whether they are identical.
bool printSnapshotCheck(const std::string& label, const std::string& root);

}  // namespace vorda::bench
