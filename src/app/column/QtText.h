#pragma once

#include <QString>
#include <string>
#include <string_view>

namespace vorda {

/// UTF-8 text of the model as a Qt string.
inline QString qtText(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

}  // namespace vorda
