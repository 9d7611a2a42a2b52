#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

#include "TestIDs.h"
#include "app/column/BookmarkColumnInput.h"
#include "jjkit/model/SharedCommit.h"
#include "jjkit/records/JJCommit.h"

namespace vorda::columntest {

using apptest::changeIDFor;
using apptest::commitIDFor;
using apptest::makeCommit;

/// The instant the clock of the card tests stands at: 2024-03-04 12:00 UTC.
inline std::chrono::sys_seconds testNow() {
    using namespace std::chrono;
    return sys_days{year{2024} / March / 4} + hours{12};
}

/// `count` shared commits numbered from `first`, described "Commit " number.
inline std::vector<SharedCommit> makeCommits(std::size_t first, std::size_t count) {
    std::vector<JJCommit> commits;
    commits.reserve(count);
    for (std::size_t number = first; number < first + count; ++number) {
        commits.push_back(makeCommit(number, "Commit " + std::to_string(number)));
    }
    return SharedCommit::shareAll(std::move(commits));
}

/// A bookmark lane named `name` over `commits`.
inline BookmarkColumnInput bookmarkLane(const std::string& name,
                                        std::vector<SharedCommit> commits) {
    BookmarkColumnInput input;  // a bookmark lane, titled by its bookmark
    input.selectionColumnID = ColumnID::bookmark(name);
    input.bookmark.name = name;
    for (const auto& commit : commits) {
        input.bookmark.commitIDs.push_back(commit->commitID);
        input.bookmark.changeIDs.push_back(commit->changeID);
    }
    input.commits = std::move(commits);
    return input;
}

}  // namespace vorda::columntest
