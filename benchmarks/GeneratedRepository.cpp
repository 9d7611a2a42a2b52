#include "GeneratedRepository.h"

#include <random>

namespace vorda::bench {
namespace {

// IDs look like jj's: uniformly spread, so no two share a long prefix.
std::string randomID(std::size_t number, std::size_t length, char first, int alphabet) {
    std::mt19937_64 random(number * 0x9E3779B97F4A7C15ULL + length);
    std::string id(length, first);
    for (auto& character : id) {
        const auto digit = static_cast<int>(random() % static_cast<unsigned>(alphabet));
        character = first == '0' && digit >= 10 ? static_cast<char>('a' + digit - 10)
                                                : static_cast<char>(first + digit);
    }
    return id;
}

std::string hexID(std::size_t number) {
    return randomID(number, 40, '0', 16);
}

std::string changeID(std::size_t number) {
    return randomID(number, 32, 'k', 16);
}

class Builder {
  public:
    std::size_t add(std::vector<std::size_t> parents, bool immutable, const std::string& message) {
        JJCommit commit;
        const std::size_t number = commits.size();
        commit.commitID = hexID(number + 1);
        commit.changeID = changeID(number + 1);
        for (const auto parent : parents) {
            commit.parents.push_back(commits[parent].commitID);
        }
        commit.description = message + "\n";
        const std::string time = "2026-11-" + std::to_string(1 + number % 28) + "T10:00:00+01:00";
        commit.author = {"Dev", "dev@example.org", time};
        commit.committer = commit.author;
        commit.immutable = immutable;
        commits.push_back(std::move(commit));
        return number;
    }
    void bookmark(std::size_t at, const std::string& name) {
        commits[at].localBookmarks.push_back(
            {name, std::nullopt, {commits[at].commitID}, std::nullopt});
    }
    void remote(std::size_t at, const std::string& name, const std::string& tracking) {
        commits[at].remoteBookmarks.push_back(
            {name, "origin", {commits[at].commitID}, std::vector{tracking}});
    }

    std::vector<JJCommit> commits;
};

}  // namespace

GeneratedRepository GeneratedRepository::make(std::size_t commitCount, std::size_t bookmarkCount,
                                              std::size_t workspaceCount) {
    std::mt19937_64 random(42);
    Builder builder;
    const std::size_t trunkLength = commitCount / 4;
    std::vector<std::size_t> trunk;
    for (std::size_t index = 0; index < trunkLength; ++index) {
        trunk.push_back(builder.add(
            index == 0 ? std::vector<std::size_t>{} : std::vector<std::size_t>{trunk.back()}, true,
            "trunk " + std::to_string(index)));
    }
    builder.bookmark(trunk.back(), "main");
    builder.remote(trunk.back(), "main", builder.commits[trunk.back()].commitID);

    const std::size_t perStack = std::max<std::size_t>(1, (commitCount * 7 / 10) / bookmarkCount);
    std::vector<std::size_t> tips;
    for (std::size_t stack = 0; stack < bookmarkCount; ++stack) {
        std::vector<std::size_t> base{trunk[trunkLength / 2 + random() % (trunkLength / 2)]};
        if (!tips.empty() && stack % 3 == 0) {
            base = {tips[random() % tips.size()]};  // stacked on another bookmark
        }
        if (tips.size() > 2 && stack % 50 == 0) {
            base = {tips[random() % tips.size()], tips[random() % tips.size()]};  // a merge
            if (base[0] == base[1]) {
                base.pop_back();
            }
        }
        std::size_t previous =
            builder.add(base, false, "stack " + std::to_string(stack) + " start");
        std::size_t belowTip = previous;
        for (std::size_t step = 1; step < perStack; ++step) {
            belowTip = previous;
            previous = builder.add({previous}, false, "stack " + std::to_string(stack));
        }
        const std::string name = "feature/" + std::to_string(stack);
        builder.bookmark(previous, name);
        if (stack % 10 == 0) {
            builder.remote(belowTip, name, builder.commits[previous].commitID);  // ahead by one
        }
        tips.push_back(previous);
    }

    GeneratedRepository repository;
    for (std::size_t index = 0; index < workspaceCount; ++index) {
        const auto composition =
            builder.add({tips[random() % tips.size()], tips[random() % tips.size()], trunk.back()},
                        false, "wip: Vorda composition ws" + std::to_string(index));
        const auto head = builder.add({composition}, false, "");
        const std::string name = index == 0 ? "default" : "ws" + std::to_string(index);
        builder.commits[composition].description = "wip: Vorda composition " + name + "\n";
        repository.compositionChangeIDs[name] = builder.commits[composition].changeID;
        repository.workspaces.push_back({name, "/work/" + name, builder.commits[head].commitID,
                                         builder.commits[head].changeID});
        if (index == 0) {
            builder.commits[head].workingCopy = true;
        }
    }
    while (builder.commits.size() < commitCount) {  // one-off work on random tips
        builder.add({tips[random() % tips.size()]}, false, "one-off");
    }
    repository.trunkCommitID = builder.commits[trunk.back()].commitID;
    repository.commits = std::move(builder.commits);
    return repository;
}

}  // namespace vorda::bench
