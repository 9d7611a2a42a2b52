#include "jjkit/graph/RemoteSync.h"

#include <algorithm>
#include <queue>

namespace vorda {

RemoteTips::RemoteTips(const CommitGraph& graph) {
    for (CommitGraph::Index index = 0; index < graph.size(); ++index) {
        if (!graph.hasRemoteBookmarks(index)) {
            continue;
        }
        for (const auto& ref : graph.commit(index).remoteBookmarks) {
            if (ref.remote && *ref.remote != "git") {
                first_.try_emplace(ref.name, Entry{index, *ref.remote});
            }
        }
    }
}

const RemoteTips::Entry* RemoteTips::find(const std::string& name) const {
    const auto found = first_.find(name);
    return found == first_.end() ? nullptr : &found->second;
}

BookmarkOrigin determineOrigin(const std::string& name, const RemoteTips& remoteTips) {
    if (const auto* entry = remoteTips.find(name)) {
        return BookmarkOrigin::upstream(entry->remote);
    }
    return BookmarkOrigin::local();
}

AheadBehindCounter::AheadBehindCounter(const CommitGraph& graph)
    : graph_(graph),
      generation_(graph.size(), 0),
      paint_(graph.size(), 0),
      taken_(graph.size(), 0) {
    // jj lists children before their parents; then a single backward pass
    // finds every generation, as the general pass below would.
    bool parentsComeLater = true;
    for (CommitGraph::Index index = 0; index < graph.size() && parentsComeLater; ++index) {
        const auto parents = graph.parents(index);
        parentsComeLater = std::all_of(parents.begin(), parents.end(),
                                       [&](CommitGraph::Index parent) { return parent > index; });
    }
    if (parentsComeLater) {
        for (auto index = static_cast<CommitGraph::Index>(graph.size()); index-- > 0;) {
            std::uint32_t generation = 1;
            for (const auto parent : graph.parents(index)) {
                generation = std::max(generation, generation_[parent] + 1);
            }
            generation_[index] = generation;
        }
        return;
    }
    // Generations by an iterative depth-first pass; an edge back into a
    // commit still being processed (a cycle, which jj never reports) is
    // ignored.
    enum : std::uint8_t { unseen, open, done };
    std::vector<std::uint8_t> state(graph.size(), unseen);
    std::vector<std::pair<CommitGraph::Index, std::size_t>> stack;
    for (CommitGraph::Index root = 0; root < graph.size(); ++root) {
        if (state[root] != unseen) {
            continue;
        }
        stack.emplace_back(root, 0);
        state[root] = open;
        while (!stack.empty()) {
            auto& [current, next] = stack.back();
            const auto parents = graph.parents(current);
            if (next < parents.size()) {
                const auto parent = parents[next++];
                if (state[parent] == unseen) {
                    state[parent] = open;
                    stack.emplace_back(parent, 0);
                }
                continue;
            }
            std::uint32_t generation = 1;
            for (const auto parent : parents) {
                if (state[parent] == done) {
                    generation = std::max(generation, generation_[parent] + 1);
                }
            }
            generation_[current] = generation;
            state[current] = done;
            stack.pop_back();
        }
    }
}

AheadBehindCounter::Counts AheadBehindCounter::count(CommitGraph::Index local,
                                                     CommitGraph::Index remote) {
    constexpr std::uint8_t fromLocal = 1;
    constexpr std::uint8_t fromRemote = 2;
    constexpr std::uint8_t fromBoth = fromLocal | fromRemote;
    ++round_;
    std::vector<CommitGraph::Index> touched;
    const auto byGeneration = [this](CommitGraph::Index a, CommitGraph::Index b) {
        return generation_[a] < generation_[b] || (generation_[a] == generation_[b] && a < b);
    };
    std::priority_queue<CommitGraph::Index, std::vector<CommitGraph::Index>, decltype(byGeneration)>
        queue(byGeneration);
    // Queued commits not yet reached by both tips; a commit sits in the queue
    // once, from its first paint until it is taken.
    std::size_t queuedNotShared = 0;
    const auto paint = [&](CommitGraph::Index commit, std::uint8_t colour) {
        const std::uint8_t before = paint_[commit];
        const std::uint8_t after = before | colour;
        if (taken_[commit] == round_ || after == before) {
            return;
        }
        paint_[commit] = after;
        if (before == 0) {
            touched.push_back(commit);
            queue.push(commit);
            queuedNotShared += after == fromBoth ? 0 : 1;
        } else if (after == fromBoth) {
            --queuedNotShared;
        }
    };
    paint(local, fromLocal);
    paint(remote, fromRemote);

    Counts counts;
    while (!queue.empty() && queuedNotShared > 0) {
        const auto commit = queue.top();
        queue.pop();
        taken_[commit] = round_;
        const std::uint8_t colour = paint_[commit];
        if (colour != fromBoth) {
            --queuedNotShared;
        }
        counts.ahead += colour == fromLocal ? 1 : 0;
        counts.behind += colour == fromRemote ? 1 : 0;
        for (const auto parent : graph_.parents(commit)) {
            paint(parent, colour);
        }
    }
    for (const auto commit : touched) {
        paint_[commit] = 0;
    }
    return counts;
}

RemoteSyncState determineRemoteSyncState(const std::string& name,
                                         const std::vector<CommitGraph::Index>& localTips,
                                         const RemoteTips& remoteTips,
                                         AheadBehindCounter& counter) {
    const auto* remote = remoteTips.find(name);
    if (localTips.size() != 1 || remote == nullptr) {
        return {RemoteSyncState::Untracked{}};
    }
    const CommitGraph::Index local = localTips.front();
    if (local == remote->commit) {
        return {RemoteSyncState::UpToDate{remote->remote}};
    }
    const auto [ahead, behind] = counter.count(local, remote->commit);
    if (ahead > 0 && behind > 0) {
        return {RemoteSyncState::Diverged{remote->remote, ahead, behind}};
    }
    if (behind > 0) {
        return {RemoteSyncState::Behind{remote->remote, behind}};
    }
    if (ahead > 0) {
        return {RemoteSyncState::Ahead{remote->remote, ahead}};
    }
    return {RemoteSyncState::UpToDate{remote->remote}};
}

}  // namespace vorda
