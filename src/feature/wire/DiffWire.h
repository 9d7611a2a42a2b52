#pragma once

#include <array>
#include <string_view>
#include <tuple>
#include <utility>

#include <nlohmann/json.hpp>

#include "feature/wire/RecordWire.h"
#include "feature/wire/WireCases.h"
#include "feature/wire/WireCoding.h"
#include "feature/wire/WireRecord.h"
#include "jjkit/diff/ConflictReview.h"
#include "jjkit/diff/DiffEditorProtocol.h"
#include "jjkit/diff/UnifiedDiffParser.h"
#include "jjkit/records/JsonReader.h"

// Parsed diffs, hunk selections and conflict reviews on the wire. A hunk
// selection travels in the diff editor protocol's own coding, which has the
// same keys: `{"files":[{"path":"a.txt","keepHunkOrdinals":[0,2]}]}`.

namespace vorda {

template <>
struct Wire<DiffEditorProtocol::FileKeep> {
    static nlohmann::json encode(const DiffEditorProtocol::FileKeep& keep);
    static DiffEditorProtocol::FileKeep decode(const JsonReader& reader);
};

template <>
struct Wire<DiffEditorProtocol::HunkSelection> {
    static nlohmann::json encode(const DiffEditorProtocol::HunkSelection& selection);
    static DiffEditorProtocol::HunkSelection decode(const JsonReader& reader);
};

template <>
struct WireEnum<DiffLine::Kind> {
    static constexpr std::string_view name = "diff line kind";
    static constexpr std::array cases{
        std::pair{DiffLine::Kind::context, std::string_view("context")},
        std::pair{DiffLine::Kind::added, std::string_view("added")},
        std::pair{DiffLine::Kind::removed, std::string_view("removed")},
    };
};

template <>
struct WireFields<DiffLine> {
    static constexpr auto fields =
        std::tuple{wireField("kind", &DiffLine::kind), wireField("text", &DiffLine::text)};
};

template <>
struct WireFields<DiffHunk> {
    static constexpr auto fields = std::tuple{
        wireField("id", &DiffHunk::id),
        wireField("oldStart", &DiffHunk::oldStart),
        wireField("oldCount", &DiffHunk::oldCount),
        wireField("newStart", &DiffHunk::newStart),
        wireField("newCount", &DiffHunk::newCount),
        wireField("header", &DiffHunk::header),
        wireField("lines", &DiffHunk::lines),
    };
};

template <>
struct WireFields<DiffFile> {
    static constexpr auto fields = std::tuple{
        wireField("path", &DiffFile::path), wireField("status", &DiffFile::status),
        wireField("isBinary", &DiffFile::isBinary), wireField("hunks", &DiffFile::hunks)};
};

template <>
struct WireFields<UnifiedDiff> {
    static constexpr auto fields = std::tuple{wireField("files", &UnifiedDiff::files)};
};

template <>
struct WireFields<RebaseConflictReview::File> {
    static constexpr auto fields =
        std::tuple{wireField("path", &RebaseConflictReview::File::path),
                   wireField("contents", &RebaseConflictReview::File::contents)};
};

template <>
struct WireFields<RebaseConflictReview> {
    static constexpr auto fields = std::tuple{wireField("commit", &RebaseConflictReview::commit),
                                              wireField("patch", &RebaseConflictReview::patch),
                                              wireField("files", &RebaseConflictReview::files)};
};

}  // namespace vorda
