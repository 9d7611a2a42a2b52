#include "app/board/ColumnID.h"

#include <type_traits>

namespace vorda {

std::string ColumnID::storageKey() const {
    return std::visit(
        [](const auto& column) -> std::string {
            using Column = std::decay_t<decltype(column)>;
            if constexpr (std::is_same_v<Column, OneOff>) {
                return "oneoff:" + column.changeID;
            } else if constexpr (std::is_same_v<Column, BookmarkColumn>) {
                return column.name;
            } else if constexpr (std::is_same_v<Column, WorkingCopyStack>) {
                return column.name ? "wcstack:" + *column.name : std::string("wcstack");
            } else {
                static_assert(std::is_same_v<Column, Hidden>);
                return "hidden";
            }
        },
        value);
}

}  // namespace vorda
