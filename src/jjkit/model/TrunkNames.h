#pragma once

#include <array>
#include <string_view>

namespace vorda {

/// Bookmark names treated as trunk wherever trunk matters, matched as whole
/// names, in order of preference.
inline constexpr std::array<std::string_view, 4> trunkNames{"main", "master", "trunk", "develop"};

inline bool isTrunkName(std::string_view name) {
    for (const auto trunk : trunkNames) {
        if (name == trunk) {
            return true;
        }
    }
    return false;
}

}  // namespace vorda
