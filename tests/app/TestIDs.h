#pragma once

#include <cstddef>
#include <string>

namespace vorda::apptest {

/// A full change ID (32 letters from k to z) that spells `number`.
inline std::string changeIDFor(std::size_t number) {
    std::string id(32, 'k');
    for (std::size_t position = id.size(); position-- > 0 && number > 0; number /= 16) {
        id[position] = static_cast<char>('k' + number % 16);
    }
    return id;
}

/// A full commit ID (40 hexadecimal digits) that spells `number`.
inline std::string commitIDFor(std::size_t number) {
    static constexpr char digits[] = "0123456789abcdef";
    std::string id(40, '0');
    for (std::size_t position = id.size(); position-- > 0 && number > 0; number /= 16) {
        id[position] = digits[number % 16];
    }
    return id;
}

}  // namespace vorda::apptest
