#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace vorda {

/// The whole file, or absent when it cannot be opened or read, or is not a
/// regular file (a folder, a FIFO or a device at the path never blocks or is
/// read).
std::optional<std::string> readWholeFile(const std::filesystem::path& path);

/// Replaces `target` with `bytes` so that a reader sees either the old or the
/// new file, never a part: the bytes go to a fresh file in the same folder,
/// are flushed to disk, and the file is renamed over the target. Failures
/// throw `std::filesystem::filesystem_error`.
void writeAtomically(const std::filesystem::path& target, const std::string& bytes);

}  // namespace vorda
