#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vorda::utf8 {

/// True when `bytes` is well-formed UTF-8 (no overlong forms, no surrogates,
/// nothing above U+10FFFF).
bool isValid(std::string_view bytes);

/// `bytes` when it is valid UTF-8, else the empty text. Output of tools is
/// decoded this way: a stream with any invalid byte is dropped whole.
std::string decodeOrEmpty(std::string_view bytes);

/// Number of code points in valid UTF-8 text.
std::size_t codePointCount(std::string_view text);

/// The first `count` code points of valid UTF-8 text.
std::string_view prefixCodePoints(std::string_view text, std::size_t count);

}  // namespace vorda::utf8
