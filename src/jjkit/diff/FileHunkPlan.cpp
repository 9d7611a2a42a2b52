#include "jjkit/diff/FileHunkPlan.h"

#include <stdexcept>

#include "jjkit/diff/LineHunks.h"

namespace vorda {
namespace {

/// A folder at the path is no file of the diff: the same as nothing.
TreeEntry asDiffed(const TreeEntry& entry) {
    return entry.isPresent() ? entry : TreeEntry{};
}

bool bothTextFiles(const TreeEntry& left, const TreeEntry& right) {
    return left.kind == TreeEntry::Kind::file && right.kind == TreeEntry::Kind::file &&
           !left.isBinary() && !right.isBinary();
}

/// The hunk count when the change is shown whole, or has no content change.
std::size_t wholeChangeCount(const TreeEntry& left, const TreeEntry& right) {
    if (!left.isPresent() && !right.isPresent()) {
        return 0;
    }
    if (!left.isPresent() || !right.isPresent()) {
        return 1;  // added or deleted
    }
    if (left.contents == right.contents) {
        return 0;  // jj prints the mode change and no hunk
    }
    if (left.isBinary() || right.isBinary()) {
        return 1;
    }
    // A link's target diffs as text; its hunks still go together.
    return unifiedLineHunks(left.contents, right.contents).size();
}

void requireOrdinals(const std::string& path, const std::set<int>& keep, std::size_t count) {
    for (const int ordinal : keep) {
        if (ordinal < 0 || static_cast<std::size_t>(ordinal) >= count) {
            throw std::out_of_range("no hunk " + std::to_string(ordinal) + " in " + path +
                                    " (it has " + std::to_string(count) + ")");
        }
    }
}

}  // namespace

FileHunkPlan planFileHunks(const std::string& path, const TreeEntry& leftEntry,
                           const TreeEntry& rightEntry, const std::set<int>& keep) {
    const TreeEntry left = asDiffed(leftEntry);
    const TreeEntry right = asDiffed(rightEntry);
    FileHunkPlan plan;

    if (bothTextFiles(left, right) && left.contents != right.contents) {
        const auto hunks = unifiedLineHunks(left.contents, right.contents);
        plan.hunkCount = hunks.size();
        requireOrdinals(path, keep, plan.hunkCount);
        if (keep.size() == hunks.size()) {
            return plan;  // everything kept: the right side as it is
        }
        if (keep.empty()) {
            plan.replacement = left;
            return plan;
        }
        plan.replacement = TreeEntry::file(
            applyLineHunks(left.contents, right.contents, hunks, keep), right.executable);
        return plan;
    }

    plan.hunkCount = wholeChangeCount(left, right);
    requireOrdinals(path, keep, plan.hunkCount);
    if (keep.empty() && left != right) {
        plan.replacement = left;
    }
    return plan;
}

}  // namespace vorda
