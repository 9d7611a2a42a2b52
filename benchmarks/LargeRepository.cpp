#include "LargeRepository.h"

#include <chrono>
#include <fstream>
#include <iostream>
#include <map>
#include <optional>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "jjkit/process/ProcessExecutor.h"
#include "jjkit/settings/BookmarkSettingsStore.h"
#include "jjkit/support/Text.h"

namespace vorda::bench {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view completionMarker = "complete";
constexpr std::string_view compositionPrefix = "wip: Vorda composition ";

struct Author {
    std::string name;
    std::string email;
};

const Author user{largeRepositoryUserName, largeRepositoryUserEmail};
const Author colleague{"Other Developer", "other@vorda.invalid"};

std::string run(std::string_view step, const std::vector<std::string>& arguments) {
    try {
        const auto result = ProcessExecutor::execute(arguments, std::nullopt, "bench", step);
        if (result.exitCode != 0) {
            throw std::runtime_error("large repository: step \"" + std::string(step) +
                                     "\" failed with status " + std::to_string(result.exitCode) +
                                     "\n" + result.stderr);
        }
        return result.stdout;
    } catch (const SpawnFailure&) {
        throw std::runtime_error("large repository: step \"" + std::string(step) +
                                 "\" could not start " + arguments.front());
    }
}

std::string jj(const fs::path& workspace, std::string_view step,
               std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(),
                     {"jj", "--no-pager", "--color=never", "-R", workspace.string()});
    return run(step, arguments);
}

// Writes the history as a `git fast-import` stream. Every commit names its
// parents by mark, so the branch it is written to is only where its ref ends
// up; trees are built by fast-import from each commit's first parent plus the
// files the commit lists.
class ImportStream {
  public:
    ImportStream(const fs::path& path, std::int64_t firstTime)
        : out_(path, std::ios::binary | std::ios::trunc), time_(firstTime) {
        if (!out_) {
            throw std::runtime_error("large repository: cannot write " + path.string());
        }
    }

    using Files = std::vector<std::pair<std::string, std::string>>;

    // One commit on `ref`, five minutes after the one before; returns its mark.
    std::size_t commit(const std::string& ref, const Author& author, const std::string& message,
                       const std::vector<std::size_t>& parents, const Files& files) {
        const std::size_t mark = nextMark_++;
        time_ += 300;
        const std::string signature =
            author.name + " <" + author.email + "> " + std::to_string(time_) + " +0000\n";
        out_ << "commit " << ref << "\nmark :" << mark << "\nauthor " << signature << "committer "
             << signature;
        data(message + "\n");
        for (std::size_t index = 0; index < parents.size(); ++index) {
            out_ << (index == 0 ? "from :" : "merge :") << parents[index] << "\n";
        }
        for (const auto& [path, contents] : files) {
            out_ << "M 100644 inline " << path << "\n";
            data(contents);
        }
        out_ << "\n";
        return mark;
    }

    void reset(const std::string& ref, std::size_t mark) {
        out_ << "reset " << ref << "\nfrom :" << mark << "\n\n";
    }

    void finish() {
        out_.flush();
        if (!out_) {
            throw std::runtime_error("large repository: writing the import stream failed");
        }
    }

  private:
    void data(const std::string& bytes) { out_ << "data " << bytes.size() << "\n" << bytes; }

    std::ofstream out_;
    std::int64_t time_;
    std::size_t nextMark_ = 1;
};

// The file a stack keeps changing, as it stands after its `step`th commit.
std::string stackFile(std::size_t stack) {
    return "stacks/" + std::to_string(stack) + ".txt";
}

std::string stackContents(std::size_t stack, std::size_t step) {
    std::string contents;
    for (std::size_t line = 0; line <= step; ++line) {
        contents += "stack " + std::to_string(stack) + ", change " + std::to_string(line) + "\n";
    }
    return contents;
}

struct Generated {
    std::vector<std::string> trackedRemotes;   // "name@origin"
    std::vector<std::string> helperBookmarks;  // only there to make commits visible
    std::vector<std::string> workspaceNames;   // "default" first
};

// The whole history as one stream; see `prepareLargeRepository` for the shape.
Generated writeHistory(const fs::path& streamPath, const LargeRepositoryShape& shape) {
    using std::chrono::duration_cast;
    using std::chrono::seconds;
    const auto commitCount = shape.trunkLength + shape.bookmarks * (shape.commitsPerBookmark + 1) +
                             shape.oneOffStacks * 3 + shape.extraWorkspaces + 1;
    const auto now = duration_cast<seconds>(std::chrono::system_clock::now().time_since_epoch());
    ImportStream stream(streamPath, now.count() - static_cast<std::int64_t>(commitCount) * 300);
    std::mt19937_64 random(42);
    const auto pick = [&](std::size_t count) {
        return static_cast<std::size_t>(random() % count);
    };
    Generated generated;

    std::vector<std::size_t> trunk;
    trunk.push_back(stream.commit("refs/heads/main", user, "Start the project", {},
                                  {{"README.md", "# A large repository\n"}}));
    for (std::size_t index = 1; index < shape.trunkLength; ++index) {
        trunk.push_back(stream.commit("refs/heads/main", index % 3 == 0 ? colleague : user,
                                      "Trunk change " + std::to_string(index), {trunk.back()},
                                      {{"trunk/" + std::to_string(index % 50) + ".txt",
                                        "trunk change " + std::to_string(index) + "\n"}}));
    }
    stream.reset("refs/remotes/origin/main", trunk.back());
    generated.trackedRemotes.emplace_back("main@origin");

    std::vector<std::size_t> tips;
    for (std::size_t stack = 0; stack < shape.bookmarks; ++stack) {
        const std::string name = "feature/" + std::to_string(stack);
        const std::string ref = "refs/heads/" + name;
        const Author& author = stack % 5 == 4 ? colleague : user;
        std::vector<std::size_t> base{trunk[shape.trunkLength / 2 + pick(shape.trunkLength / 2)]};
        ImportStream::Files files;
        if (stack % 50 == 0 && tips.size() > 2) {
            // A merge of two bookmarks; its tree has both of their files.
            const std::size_t left = pick(tips.size());
            std::size_t right = pick(tips.size());
            right = right == left ? (left + 1) % tips.size() : right;
            base = {tips[left], tips[right]};
            files.emplace_back(stackFile(right),
                               stackContents(right, shape.commitsPerBookmark - 1));
        } else if (stack % 3 == 0 && !tips.empty()) {
            base = {tips[pick(tips.size())]};  // stacked on another bookmark
        }
        std::size_t below = 0;
        std::size_t previous = 0;
        for (std::size_t step = 0; step < shape.commitsPerBookmark; ++step) {
            files.emplace_back(stackFile(stack), stackContents(stack, step));
            below = previous;
            previous = stream.commit(
                ref, author, "Feature " + std::to_string(stack) + ", step " + std::to_string(step),
                step == 0 ? base : std::vector<std::size_t>{previous}, files);
            files.clear();
        }
        tips.push_back(previous);
        if (stack % 50 == 25) {
            // A colleague's branch that was fetched but never tracked.
            stream.commit("refs/remotes/origin/colleague/" + std::to_string(stack), colleague,
                          "Spike for feature " + std::to_string(stack), {trunk.back()},
                          {{"spikes/" + std::to_string(stack) + ".txt", "spike\n"}});
        }
        if (stack % 10 == 0 && shape.commitsPerBookmark > 1) {
            stream.reset("refs/remotes/origin/" + name, below);  // one ahead of origin
            generated.trackedRemotes.push_back(name + "@origin");
        } else if (stack % 10 == 5) {
            // Somebody pushed on top: one behind origin.
            stream.commit("refs/remotes/origin/" + name, colleague,
                          "Review fixes for feature " + std::to_string(stack), {previous},
                          {{stackFile(stack), stackContents(stack, shape.commitsPerBookmark)}});
            generated.trackedRemotes.push_back(name + "@origin");
        }
    }

    for (std::size_t oneOff = 0; oneOff < shape.oneOffStacks; ++oneOff) {
        const std::string name = "oneoff/" + std::to_string(oneOff);
        std::size_t previous =
            oneOff % 2 == 0 ? trunk[pick(trunk.size())] : tips[pick(tips.size())];
        for (std::size_t step = 0; step < 3; ++step) {
            previous = stream.commit(
                "refs/heads/" + name, user,
                "Experiment " + std::to_string(oneOff) + ", step " + std::to_string(step),
                {previous},
                {{"experiments/" + std::to_string(oneOff) + ".txt",
                  "experiment " + std::to_string(oneOff) + ", step " + std::to_string(step) +
                      "\n"}});
        }
        generated.helperBookmarks.push_back(name);
    }

    // Each workspace's composition point: trunk and three bookmarks, with the
    // bookmarks' files in its tree so that it merges cleanly.
    for (std::size_t workspace = 0; workspace <= shape.extraWorkspaces; ++workspace) {
        const std::string name = workspace == 0 ? "default" : "ws" + std::to_string(workspace);
        std::vector<std::size_t> parents{trunk.back()};
        ImportStream::Files files;
        for (int count = 0; count < 3; ++count) {
            const std::size_t stack = pick(tips.size());
            parents.push_back(tips[stack]);
            files.emplace_back(stackFile(stack),
                               stackContents(stack, shape.commitsPerBookmark - 1));
        }
        stream.commit("refs/heads/composition/" + name, user, std::string(compositionPrefix) + name,
                      parents, files);
        generated.helperBookmarks.push_back("composition/" + name);
        generated.workspaceNames.push_back(name);
    }
    stream.finish();
    return generated;
}

fs::path gitStore(const fs::path& root) {
    const fs::path store = root / ".jj" / "repo" / "store";
    std::ifstream target(store / "git_target");
    std::string relative;
    std::getline(target, relative);
    relative = std::string(text::trimWhitespace(relative));
    if (relative.empty()) {
        throw std::runtime_error("large repository: no Git store under " + store.string());
    }
    return (store / relative).lexically_normal();
}

void generate(const fs::path& folder, const LargeRepositoryShape& shape) {
    const fs::path root = folder / "repo";
    const fs::path streamPath = folder / "history.fast-import";
    std::cerr << "[bench] generating " << shape.key() << " in " << folder.string() << " ...\n";

    const Generated generated = writeHistory(streamPath, shape);
    run("create the repository",
        {"jj", "--no-pager", "--color=never", "git", "init", "--no-colocate", root.string()});
    // fast-import reads standard input only; a shell redirects the file there.
    run("import the history", {"sh", "-c", "exec git --git-dir=\"$1\" fast-import --quiet < \"$2\"",
                               "sh", gitStore(root).string(), streamPath.string()});
    jj(root, "take the history into jj", {"git", "import"});
    std::vector<std::string> track{"bookmark", "track"};
    track.insert(track.end(), generated.trackedRemotes.begin(), generated.trackedRemotes.end());
    jj(root, "track the remote bookmarks", track);

    jj(root, "put the default working copy on its composition",
       {"new", "composition/" + generated.workspaceNames.front()});
    for (std::size_t index = 1; index < generated.workspaceNames.size(); ++index) {
        const std::string& name = generated.workspaceNames[index];
        jj(root, "add workspace " + name,
           {"workspace", "add", "--name", name, "-r", "composition/" + name,
            (folder / name).string()});
    }
    // The commits stay visible without the helper branches. The deletion
    // reaches the Git store only with an explicit export; until then each
    // commit would still carry its `name@git` bookmark, which counts as a
    // remote bookmark in the commit template.
    std::vector<std::string> drop{"bookmark", "delete"};
    drop.insert(drop.end(), generated.helperBookmarks.begin(), generated.helperBookmarks.end());
    jj(root, "delete the helper bookmarks", drop);
    jj(root, "export the deletions to Git", {"git", "export"});

    const auto compositions =
        jj(root, "find the composition points",
           {"log", "--no-graph", "--ignore-working-copy", "-r",
            "description(substring:\"" + std::string(compositionPrefix) + "\")", "-T",
            "description.first_line() ++ \"\\t\" ++ change_id ++ \"\\n\""});
    BookmarkSettingsStore settings(root);
    for (const auto line : text::splitNonEmpty(compositions, '\n')) {
        const auto tab = line.find('\t');
        if (tab == std::string_view::npos) {
            continue;
        }
        const auto workspace =
            line.substr(compositionPrefix.size(), tab - compositionPrefix.size());
        settings.setCompositionPoint(std::string(line.substr(tab + 1)), std::string(workspace));
    }
    fs::remove(streamPath);
    std::ofstream(folder / completionMarker) << shape.key() << "\n";
}

}  // namespace

std::string LargeRepositoryShape::key() const {
    std::ostringstream key;
    key << "read-bench-v2-b" << bookmarks << "-c" << commitsPerBookmark << "-t" << trunkLength
        << "-o" << oneOffStacks << "-w" << extraWorkspaces;
    return key.str();
}

LargeRepository prepareLargeRepository(const fs::path& cacheFolder,
                                       const LargeRepositoryShape& shape) {
    if (shape.bookmarks < 4 || shape.commitsPerBookmark < 1 || shape.trunkLength < 2) {
        throw std::runtime_error("large repository: the shape is too small to generate");
    }
    const fs::path folder = fs::absolute(cacheFolder) / shape.key();
    LargeRepository repository;
    repository.root = folder / "repo";
    for (std::size_t index = 1; index <= shape.extraWorkspaces; ++index) {
        repository.otherWorkspaces.push_back(folder / ("ws" + std::to_string(index)));
    }
    if (fs::exists(folder / completionMarker)) {
        return repository;
    }
    std::error_code ignored;
    fs::remove_all(folder, ignored);  // a generation that stopped halfway
    fs::create_directories(folder);
    generate(folder, shape);
    repository.generated = true;
    return repository;
}

}  // namespace vorda::bench
