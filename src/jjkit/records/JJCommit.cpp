#include "jjkit/records/JJCommit.h"

#include "jjkit/support/InternetDateTime.h"
#include "jjkit/support/Text.h"

namespace vorda {

std::optional<std::chrono::sys_seconds> JJSignature::date() const {
    return parseInternetDateTime(timestamp);
}

std::string JJCommit::summary() const {
    const std::string_view whole(description);
    return std::string(text::trimBlanks(whole.substr(0, whole.find('\n'))));
}

std::vector<std::string> JJCommit::bookmarkLabels(const std::set<std::string>& excluding) const {
    std::set<std::string> localNames;
    for (const auto& ref : localBookmarks) {
        localNames.insert(ref.name);
    }
    std::set<std::string> labels = localNames;
    for (const auto& ref : remoteBookmarks) {
        if (ref.remote && *ref.remote != "git" && !localNames.contains(ref.name)) {
            labels.insert(ref.name + "@" + *ref.remote);
        }
    }
    for (const auto& label : excluding) {
        labels.erase(label);
    }
    return {labels.begin(), labels.end()};
}

}  // namespace vorda
