#pragma once

#include <string>
#include <string_view>

namespace vorda {

/// A new random (version 4) UUID in its canonical upper-case text form,
/// "8-4-4-4-12" hexadecimal digits, e.g. "3F2504E0-4F89-41D3-9A0C-0305E82C3301".
/// Safe to call from any thread: each thread draws from its own generator.
std::string makeUuid();

/// True when `text` is a UUID in the 8-4-4-4-12 hexadecimal form, in either
/// case. The version and variant digits are not checked, so identifiers made
/// elsewhere are accepted as long as their shape is right.
bool isValidUuid(std::string_view text);

/// `text` with its hexadecimal letters in upper case, the form `makeUuid`
/// produces; for comparing and storing UUIDs that may arrive in lower case.
std::string canonicalUuid(std::string_view text);

}  // namespace vorda
