#pragma once

#include <optional>
#include <string>
#include <variant>

namespace vorda {

/// The identity of a selectable column of the board.
struct ColumnID {
    struct OneOff {
        std::string changeID;
        bool operator==(const OneOff&) const = default;
    };
    struct BookmarkColumn {
        std::string name;
        bool operator==(const BookmarkColumn&) const = default;
    };
    struct WorkingCopyStack {
        std::optional<std::string> name;
        bool operator==(const WorkingCopyStack&) const = default;
    };
    struct Hidden {
        bool operator==(const Hidden&) const = default;
    };
    std::variant<OneOff, BookmarkColumn, WorkingCopyStack, Hidden> value;

    static ColumnID oneOff(std::string changeID) { return {OneOff{std::move(changeID)}}; }
    static ColumnID bookmark(std::string name) { return {BookmarkColumn{std::move(name)}}; }
    static ColumnID workingCopyStack(std::optional<std::string> name) {
        return {WorkingCopyStack{std::move(name)}};
    }
    static ColumnID hidden() { return {Hidden{}}; }

    /// The text a column's width is stored under: "oneoff:" change ID, the
    /// bookmark name, "wcstack:" name or "wcstack", or "hidden".
    std::string storageKey() const;

    bool operator==(const ColumnID&) const = default;
};

}  // namespace vorda
