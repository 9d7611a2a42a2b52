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
case "$1 $2 $3" in
  "--version  ") call=version ;;
  "pr create --head") call=create ;;
  "pr list --head") call="list-$4" ;;
  *) echo "unexpected call" >&2; exit 2 ;;
esac
if [ -e "$here/barrier" ] && [ "$call" != version ] && [ "$call" != create ]; then
  : > "$here/started-$call"
  polls=0
  while [ "$(ls "$here" | grep -c '^started-')" -lt "$(cat "$here/barrier")" ]; do
    polls=$((polls + 1))
    if [ "$polls" -gt 600 ]; then echo "barrier not reached" >&2; exit 1; fi
    sleep 0.05
  done
fi
if [ -e "$here/fail-$call" ]; then cat "$here/fail-$call" >&2; exit 1; fi
if [ -e "$here/answer-$call" ]; then cat "$here/answer-$call"; else echo "[]"; fi
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
    writeFile(folder_.path() / ("answer-list-" + branch), json);
}

void ScriptedGh::fail(const std::string& call, const std::string& stderrText) const {
    writeFile(folder_.path() / ("fail-" + call), stderrText);
}

void ScriptedGh::requireConcurrentCalls(int count) const {
    writeFile(folder_.path() / "barrier", std::to_string(count));
}

void ScriptedGh::forgetCalls() const {
    fs::remove(folder_.path() / "calls.log");
    fs::remove(folder_.path() / "cwd.log");
}

std::vector<std::string> ScriptedGh::calls() const {
    return lines(folder_.path() / "calls.log");
}

std::vector<std::string> ScriptedGh::workingDirectories() const {
    return lines(folder_.path() / "cwd.log");
}

std::vector<std::string> ScriptedGh::askedBranches() const {
    std::vector<std::string> branches;
    for (const auto& line : calls()) {
        const bool list = line.starts_with("[pr][list][--head][");
        branches.push_back(list ? line.substr(19, line.find(']', 19) - 19) : "unexpected: " + line);
    }
    std::sort(branches.begin(), branches.end());
    return branches;
}

}  // namespace vorda::testing
