#include "jjkit/process/StderrLinePump.h"

#include "jjkit/support/Text.h"
#include "jjkit/support/Utf8.h"

namespace vorda {

void StderrLinePump::feed(std::string_view bytes) {
    whole_.append(bytes);
    pending_.append(bytes);
    std::size_t consumed = 0;
    while (true) {
        const auto end = pending_.find_first_of("\n\r", consumed);
        if (end == std::string::npos) {
            break;
        }
        handleLine(std::string_view(pending_).substr(consumed, end - consumed));
        consumed = end + 1;
    }
    pending_.erase(0, consumed);
}

void StderrLinePump::finish() {
    if (!pending_.empty()) {
        handleLine(pending_);
        pending_.clear();
    }
}

void StderrLinePump::handleLine(std::string_view bytes) {
    const auto trimmed = text::trimBlanks(utf8::isValid(bytes) ? bytes : std::string_view());
    if (!trimmed.empty()) {
        onLine_(std::string(trimmed));
    }
}

}  // namespace vorda
