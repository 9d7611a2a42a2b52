#!/usr/bin/env bash
# clang-tidy over the project's own sources, with the build's compile commands.
# Usage: check-tidy.sh BUILD_DIR
set -euo pipefail
ROOT=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
cd "$ROOT"
build=${1:-build/default}

mapfile -t sources < <(git ls-files --cached --others --exclude-standard -- \
  'src/*.cpp' 'tests/*.cpp')
echo "check: clang-tidy on ${#sources[@]} files"
run-clang-tidy -quiet -p "$build" -j "$(nproc)" "${sources[@]/#/$ROOT/}" >"$build/clang-tidy.log" 2>&1 || {
  grep -E 'warning:|error:' "$build/clang-tidy.log" | sort -u >&2
  echo "check: clang-tidy found problems (full log: $build/clang-tidy.log)" >&2
  exit 1
}
echo "check: clang-tidy ok"
