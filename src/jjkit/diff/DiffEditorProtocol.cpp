#include "jjkit/diff/DiffEditorProtocol.h"

#include <cstdint>
#include <limits>
#include <stdexcept>

#include "jjkit/support/Utf8.h"

namespace vorda {
namespace {

/// A selection nests four deep; anything far deeper is refused before the
/// recursive parser could exhaust the stack on it.
constexpr int maxNesting = 16;

/// True when the brackets and braces outside strings never open more than
/// `maxNesting` deep.
bool nestingIsShallow(std::string_view text) {
    int depth = 0;
    bool inString = false;
    bool escaped = false;
    for (const char character : text) {
        if (inString) {
            if (escaped) {
                escaped = false;
            } else if (character == '\\') {
                escaped = true;
            } else if (character == '"') {
                inString = false;
            }
            continue;
        }
        switch (character) {
            case '"':
                inString = true;
                break;
            case '[':
            case '{':
                if (++depth > maxNesting) {
                    return false;
                }
                break;
            case ']':
            case '}':
                --depth;
                break;
            default:
                break;
        }
    }
    return true;
}

int decodeOrdinal(const JsonReader& reader) {
    const auto& value = reader.value();
    if (value.is_number_unsigned()) {
        const auto ordinal = value.get<std::uint64_t>();
        if (ordinal > static_cast<std::uint64_t>(std::numeric_limits<int>::max())) {
            throw DecodingError("data corrupted at " + reader.pathText() + ": hunk ordinal " +
                                std::to_string(ordinal) + " is too large.");
        }
        return static_cast<int>(ordinal);
    }
    const std::int64_t ordinal = reader.integer();
    if (ordinal < 0) {
        throw DecodingError("data corrupted at " + reader.pathText() + ": hunk ordinal " +
                            std::to_string(ordinal) + " is negative.");
    }
    if (ordinal > std::numeric_limits<int>::max()) {
        throw DecodingError("data corrupted at " + reader.pathText() + ": hunk ordinal " +
                            std::to_string(ordinal) + " is too large.");
    }
    return static_cast<int>(ordinal);
}

}  // namespace

nlohmann::json toJSON(const DiffEditorProtocol::FileKeep& keep) {
    return {{"path", keep.path}, {"keepHunkOrdinals", keep.keepHunkOrdinals}};
}

nlohmann::json toJSON(const DiffEditorProtocol::HunkSelection& selection) {
    auto files = nlohmann::json::array();
    for (const auto& keep : selection.files) {
        files.push_back(toJSON(keep));
    }
    return {{"files", std::move(files)}};
}

DiffEditorProtocol::FileKeep decodeFileKeep(const JsonReader& reader) {
    DiffEditorProtocol::FileKeep keep;
    keep.path = reader.field("path").string();
    for (const auto& element : reader.field("keepHunkOrdinals").array()) {
        keep.keepHunkOrdinals.push_back(decodeOrdinal(element));
    }
    return keep;
}

DiffEditorProtocol::HunkSelection decodeHunkSelection(const JsonReader& reader) {
    DiffEditorProtocol::HunkSelection selection;
    for (const auto& element : reader.field("files").array()) {
        selection.files.push_back(decodeFileKeep(element));
    }
    return selection;
}

std::string DiffEditorProtocol::encode(const HunkSelection& selection) {
    for (const auto& keep : selection.files) {
        // JSON text is UTF-8; any other path would come back changed.
        if (!utf8::isValid(keep.path)) {
            throw std::invalid_argument("the selection names a path that is not UTF-8");
        }
    }
    return toJSON(selection).dump();
}

DiffEditorProtocol::HunkSelection DiffEditorProtocol::decode(std::string_view text) {
    if (!nestingIsShallow(text)) {
        throw DecodingError("data corrupted at <root>: The given data nests deeper than " +
                            std::to_string(maxNesting) + " levels.");
    }
    const nlohmann::json json = JsonReader::parse(text);
    return decodeHunkSelection(JsonReader(json));
}

}  // namespace vorda
