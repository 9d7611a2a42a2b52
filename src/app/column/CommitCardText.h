#pragma once

#include <QString>
#include <chrono>

#include "jjkit/records/JJCommit.h"

/// The words of one commit card, as pure functions of the commit.
namespace vorda::cardtext {

/// The first line of the description, or "(no description set)".
QString summary(const JJCommit& commit);

/// "Change " change ID " · commit " commit ID.
QString cardTooltip(const JJCommit& commit);

/// The author's name, or "Unknown author" when it is empty.
QString authorLabel(const JJSignature& author);

/// Name " <" email ">", or "Author unavailable" when the name is empty.
QString authorTooltip(const JJSignature& author);

/// How long ago the signature was made, from `now`; the timestamp as jj
/// printed it when it cannot be read.
QString relativeTimestamp(const JJSignature& signature, std::chrono::sys_seconds now);

/// "Committed " and the local date and time; the raw timestamp when it
/// cannot be read.
QString timestampTooltip(const JJSignature& signature);

}  // namespace vorda::cardtext
