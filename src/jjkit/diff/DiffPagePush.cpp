#include "jjkit/diff/DiffPagePush.h"

#include <nlohmann/json.hpp>

namespace vorda {

namespace {

bool startsWith(std::string_view line, std::string_view prefix) {
    return line.substr(0, prefix.size()) == prefix;
}

/// The last blank-separated word of a "diff --git " line, without "b/".
std::string headerPath(std::string_view line) {
    line.remove_prefix(std::string_view("diff --git ").size());
    while (!line.empty() && line.back() == ' ') {
        line.remove_suffix(1);
    }
    const auto blank = line.rfind(' ');
    std::string_view word = blank == std::string_view::npos ? line : line.substr(blank + 1);
    if (startsWith(word, "b/")) {
        word.remove_prefix(2);
    }
    return std::string(word);
}

std::string filesJSONText(const std::vector<DiffFileEntry>& entries) {
    if (entries.empty()) {
        return "[]";
    }
    auto array = nlohmann::json::array();
    for (const auto& entry : entries) {
        array.push_back({{"path", entry.path}, {"status", entry.status}});
    }
    // A path that is not UTF-8 shows with replacement characters rather
    // than emptying the whole tree.
    return array.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace

std::vector<DiffFileEntry> pierreFileEntries(const std::optional<std::string>& patch) {
    std::vector<DiffFileEntry> entries;
    if (!patch || patch->empty()) {
        return entries;
    }
    std::string_view rest = *patch;
    while (!rest.empty()) {
        const auto end = rest.find('\n');
        const std::string_view line = rest.substr(0, end);
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
        if (startsWith(line, "diff --git ")) {
            entries.push_back({headerPath(line), "M"});
        } else if (entries.empty()) {
            continue;
        } else if (startsWith(line, "new file mode")) {
            entries.back().status = "A";
        } else if (startsWith(line, "deleted file mode")) {
            entries.back().status = "D";
        } else if (startsWith(line, "rename from ")) {
            entries.back().status = "R";
        }
    }
    return entries;
}

std::optional<DiffPagePush> DiffPagePush::make(
    const std::optional<std::string>& patch,
    const std::optional<std::vector<DiffFileEntry>>& entries) {
    if (!patch && !entries) {
        return std::nullopt;
    }
    DiffPagePush push;
    push.filesJSON = filesJSONText(entries.value_or(std::vector<DiffFileEntry>{}));
    push.patch = patch.value_or("");
    push.key = push.filesJSON + '\x01' + push.patch;
    return push;
}

std::string DiffPagePush::script() const {
    const std::string escaped = escapeForTemplateLiteral(patch);
    return "(function() {\n  const files = " + filesJSON +
           ";\n  if (window.__vordaCombined && window.__vordaCombined.setData) {\n"
           "    window.__vordaCombined.setData(files, `" +
           escaped +
           "`);\n  } else {\n    window.__vordaPendingCombinedFiles = files;\n"
           "    window.__vordaPendingCombinedPatch = `" +
           escaped + "`;\n  }\n})();";
}

std::string escapeForTemplateLiteral(std::string_view text) {
    std::string escaped;
    escaped.reserve(text.size() + text.size() / 16);
    for (const char c : text) {
        if (c == '\\' || c == '`' || c == '$') {
            escaped += '\\';
        }
        escaped += c;
    }
    return escaped;
}

}  // namespace vorda
