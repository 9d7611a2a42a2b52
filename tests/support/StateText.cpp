#include "support/StateText.h"

#include <regex>
#include <set>
#include <sstream>

#include "support/ModelPrinting.h"
#include "support/TestRepo.h"

namespace vorda::testing {

IDNames idNames(const TestRepo& repo, const std::vector<std::string>& names) {
    IDNames result;
    for (const auto& name : names) {
        result[repo.id(name)] = name;
        result[repo.commitID(repo.id(name))] = name;
    }
    return result;
}

namespace {

template <typename Range>
std::string join(const Range& words, const std::string& before = " ") {
    std::string text;
    for (const auto& word : words) {
        text += before + word;
    }
    return text;
}

template <typename Value>
std::string printed(const Value& value) {
    std::ostringstream out;
    PrintTo(value, &out);
    return out.str();
}

std::string anchors(const std::vector<BaseAnchor>& anchors) {
    std::string text;
    for (const auto& anchor : anchors) {
        text += " | base " + anchor.commitID + (anchor.isTrunk ? " trunk [" : " [") +
                join(anchor.bookmarkNames).substr(anchor.bookmarkNames.empty() ? 0 : 1) + "]";
    }
    return text;
}

std::string facts(const Bookmark& bookmark, const CommitIndex& commits) {
    // The tips are shown only where they are not simply the first commit.
    const auto first =
        bookmark.commitIDs.empty() ? commits.end() : commits.find(bookmark.commitIDs[0]);
    const bool plainTip = bookmark.changeIDs.size() == 1 && first != commits.end() &&
                          first->second->changeID == bookmark.changeIDs[0];
    return join(bookmark.commitIDs) + (plainTip ? "" : " | tips" + join(bookmark.changeIDs)) +
           " | " + printed(bookmark.origin) + " " + printed(bookmark.remoteSyncState) +
           (bookmark.parentBookmarks.empty() ? "" : " | on" + join(bookmark.parentBookmarks)) +
           (bookmark.landedUpstreamParents.empty()
                ? ""
                : " | landed" + join(bookmark.landedUpstreamParents)) +
           (bookmark.isDivergent ? " | divergent" : "") +
           (bookmark.hasConflict ? " | conflict" : "");
}

std::string workspaceLine(const std::string& name, const WorkspaceState& workspace) {
    const auto& composition = workspace.composition;
    std::string text = "workspace " + name + ": ";
    if (const auto* made = std::get_if<WorkspaceComposition::Materialized>(&composition.kind)) {
        text += "composed " + made->changeID + "/" + made->commitID;
    } else if (const auto* shared =
                   std::get_if<WorkspaceComposition::LegacyShared>(&composition.kind)) {
        text += "legacy " + shared->changeID + "/" + shared->commitID;
    } else {
        text += "direct";
    }
    if (!composition.directParentBookmarks.empty()) {
        text += " | parents" + join(composition.directParentBookmarks);
    }
    static constexpr const char* roles[] = {"trunk", "mutable", "protected", "unresolved"};
    for (const auto& attachment : composition.attachments) {
        text += " | attached " + attachment.commitID + " " +
                roles[static_cast<int>(attachment.role)] + join(attachment.bookmarkNames);
    }
    for (const auto& [bookmark, role] : workspace.bookmarkRoles) {
        text += " | " + bookmark + " " + printed(role);
    }
    return text + anchors(workspace.baseAnchors) + (workspace.hasConflict ? " | conflict" : "");
}

}  // namespace

std::string stateText(const RepoState& state, const IDNames& names) {
    IDNames all = names;
    if (state.workingCopy) {
        all.try_emplace(state.workingCopy->commitID, "@");
        all.try_emplace(state.workingCopy->changeID, "@");
    }
    all.try_emplace(std::string(40, '0'), "root");
    // A word that is a known ID becomes its name, an unknown ID a short mark.
    static const std::regex word(R"([^\s|\[\]()/,:*]+)"), id("[0-9a-f]{40}|[k-z]{32}");
    const auto nameOf = [&](const std::string& text) {
        const auto found = all.find(text);
        return found != all.end()           ? found->second
               : std::regex_match(text, id) ? "?" + text.substr(0, 8)
                                            : text;
    };
    const auto rename = [&](const std::string& raw) {
        std::string text;
        auto last = raw.cbegin();
        for (std::sregex_iterator match(raw.begin(), raw.end(), word), end; match != end; ++match) {
            text.append(last, (*match)[0].first) += nameOf(match->str());
            last = (*match)[0].second;
        }
        return text.append(last, raw.cend());
    };
    std::ostringstream out;
    for (const auto& [name, bookmark] : state.bookmarks) {
        out << "bookmark " << name << ":" << facts(bookmark, state.commits)
            << anchors(state.baseAnchors(name)) << "\n";
    }
    for (const auto& conflict : state.conflicts) {
        out << "conflict " << conflict.bookmarkA << " " << conflict.bookmarkB << "\n";
    }
    if (const auto& copy = state.workingCopy) {
        out << "working copy @:" << join(copy->enabledBookmarks)
            << (copy->hasConflict ? " | conflict" : "") << "\n";
    }
    for (const auto& [name, workspace] : state.workspaces) {
        out << workspaceLine(name == state.selectedWorkspaceName ? name + "*" : name, workspace)
            << "\n";
    }
    if (const auto& apex = state.apex) {
        out << "apex " << apex->changeID << ":";
        for (const auto& parent : apex->parents) {
            const auto* bookmark = std::get_if<ApexParent::Bookmark>(&parent.value);
            out << " " << (bookmark ? bookmark->name : "trunk");
        }
        out << " | immutable" << join(apex->immutableParentCommitIDs) << "\n";
    }
    std::set<std::string> oneOffs;
    for (const auto& orphan : state.orphanWIPs) {
        oneOffs.insert(rename("one-off " + orphan.changeID + " on" + join(orphan.parentChangeIDs) +
                              (orphan.ownerBookmark ? " | owner " + *orphan.ownerBookmark : "") +
                              (orphan.isMine ? "" : " | theirs") +
                              (orphan.hasConflict ? " | conflict" : "")));
    }
    for (const auto& lane : state.oneOffLanes()) {
        std::string line = "lane " + lane.id() + ":";
        for (const auto& commit : lane.commits) {
            line += " " + commit.commitID;
        }
        line += lane.parentBookmarkNames.empty() ? "" : " | on" + join(lane.parentBookmarkNames);
        for (const auto& [bookmark, attached] : lane.parentBookmarkAttachments) {
            line += " | " + bookmark + " at" + join(attached);
        }
        oneOffs.insert(rename(line));
    }
    for (const auto& line : oneOffs) {
        out << line << "\n";
    }
    for (const auto& remote : state.untrackedRemoteBookmarks()) {
        out << "remote bookmark " << remote.name << ":" << facts(remote, state.commits) << "\n";
    }

    std::set<std::string> immutable, conflicted, behind;
    for (const auto& [commitID, commit] : state.commits) {
        if (commit->immutable) {
            immutable.insert(nameOf(commitID));
        }
        if (commit->conflict) {
            conflicted.insert(nameOf(commitID));
        }
    }
    for (const auto& each : state.behindTrunkCommitIDs) {
        behind.insert(nameOf(each));
    }
    out << "immutable" << join(immutable) << " | conflicted" << join(conflicted)
        << " | behind trunk" << join(behind) << "\n";

    return rename(out.str());
}

std::string lines(std::string_view text) {
    std::string result;
    std::istringstream in{std::string(text)};
    for (std::string line; std::getline(in, line);) {
        const auto first = line.find_first_not_of(" \t");
        if (first != std::string::npos) {
            result += line.substr(first, line.find_last_not_of(" \t") + 1 - first) + "\n";
        }
    }
    return result;
}

}  // namespace vorda::testing
