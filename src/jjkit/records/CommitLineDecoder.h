#pragma once

#include <string_view>

#include "jjkit/records/JJCommit.h"

namespace vorda {

/// The quick way through one line of the commit template, for the tens of
/// thousands of lines of a repository load.
///
/// It reads the JSON that jj prints in place, with one allocation for each
/// text it keeps, and gives up (returns false) at anything it was not made
/// for: an unknown or repeated key, a missing one, a number, a control
/// character or a lone surrogate in a text, anything after the record. The
/// caller then decodes the line through `RecordCoding`, which gives the same
/// record for every line this accepts and the precise error for every line it
/// refuses. `line` must be valid UTF-8.
bool decodeCommitLine(std::string_view line, JJCommit& commit);

/// The same with the two facts of the repository load's template, the keys
/// "mine" and "behind_trunk", both required.
bool decodeCommitLine(std::string_view line, LoggedCommit& logged);

}  // namespace vorda
