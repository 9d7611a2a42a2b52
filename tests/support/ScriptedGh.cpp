#include "support/ScriptedGh.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace vorda::testing {
namespace {

namespace fs = std::filesystem;

constexpr const char* script = R"sh(#!/bin/sh
here=$(dirname "$0")
line=""
for argument in "$@"; do line="$line[$argument]"; done
printf '%s\n' "$line" >> "$here/calls.log"
pwd >> "$here/cwd.log"
if [ "$1" = "--version" ]; then
  [ -e "$here/version-fail" ] && exit 1
  echo "gh version 2.45.0 (scripted)"
  exit 0
fi
if [ "$1 $2" = "pr create" ]; then
  if [ -e "$here/create-fail" ]; then cat "$here/create-fail" >&2; exit 1; fi
  echo "https://github.com/example/repo/pull/1"
  exit 0
fi
if [ "$1 $2" != "pr list" ]; then
  echo "unexpected call" >&2
  exit 2
fi
branch=""
previous=""
for argument in "$@"; do
  [ "$previous" = "--head" ] && branch=$argument
  previous=$argument
done
if [ -e "$here/barrier" ]; then
  : > "$here/started-$branch"
  expected=$(cat "$here/barrier")
  polls=0
  while [ "$(ls "$here" | grep -c '^started-')" -lt "$expected" ]; do
    polls=$((polls + 1))
    if [ "$polls" -gt 600 ]; then echo "barrier not reached" >&2; exit 1; fi
    sleep 0.05
  done
fi
if [ -e "$here/fail-$branch" ]; then cat "$here/fail-$branch" >&2; exit 1; fi
if [ -e "$here/pr-$branch.json" ]; then cat "$here/pr-$branch.json"; else echo "[]"; fi
)sh";

void writeFile(const fs::path& path, const std::string& contents) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << contents;
}

std::vector<std::string> lines(const fs::path& path) {
    std::ifstream stream(path);
    std::vector<std::string> result;
    for (std::string line; std::getline(stream, line);) {
        result.push_back(line);
    }
    return result;
}

}  // namespace

ScriptedGh::ScriptedGh() {
    const fs::path gh = folder_.path() / "gh";
    writeFile(gh, script);
    fs::permissions(gh, fs::perms::owner_all);
    path_.prependPath(folder_.path().string());
}

void ScriptedGh::answer(const std::string& branch, const std::string& json) const {
    writeFile(folder_.path() / ("pr-" + branch + ".json"), json);
}

void ScriptedGh::failList(const std::string& branch, const std::string& stderrText) const {
    writeFile(folder_.path() / ("fail-" + branch), stderrText);
}

void ScriptedGh::failCreate(const std::string& stderrText) const {
    writeFile(folder_.path() / "create-fail", stderrText);
}

void ScriptedGh::failVersion() const {
    writeFile(folder_.path() / "version-fail", "");
}

void ScriptedGh::requireConcurrentCalls(int count) const {
    writeFile(folder_.path() / "barrier", std::to_string(count));
}

std::vector<std::string> ScriptedGh::calls() const {
    return lines(folder_.path() / "calls.log");
}

std::vector<std::string> ScriptedGh::workingDirectories() const {
    return lines(folder_.path() / "cwd.log");
}

std::vector<std::string> ScriptedGh::askedBranches() const {
    std::vector<std::string> branches;
    const std::string head = "[--head][";
    for (const auto& line : calls()) {
        const auto start = line.find(head);
        if (start == std::string::npos) {
            branches.push_back("unexpected: " + line);
            continue;
        }
        const auto nameStart = start + head.size();
        branches.push_back(line.substr(nameStart, line.find(']', nameStart) - nameStart));
    }
    std::sort(branches.begin(), branches.end());
    return branches;
}

}  // namespace vorda::testing
