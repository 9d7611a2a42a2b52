#!/usr/bin/env bash
# clang-tidy over the project's own sources, with the build's compile commands.
# Usage: check-tidy.sh [--with-app] BUILD_DIR
#
# The desktop application's files (src/app, tests/app) parse the Qt headers:
# about 40 s of processor time each, half an hour for the whole application on
# two cores, more than the test run can spend. They are checked with
# --with-app before every submission; the test run checks everything else.
set -euo pipefail
ROOT=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
cd "$ROOT"
with_app=0
if [[ ${1:-} == --with-app ]]; then
  with_app=1
  shift
fi
build=${1:-build/default}

patterns=('src/*.cpp' 'tests/*.cpp')
(( with_app )) || patterns+=(':!src/app/*' ':!tests/app/*')
mapfile -t sources < <(git ls-files --cached --others --exclude-standard -- "${patterns[@]}")
echo "check: clang-tidy on ${#sources[@]} files$( (( with_app )) || echo ' (the application: --with-app)')"
run-clang-tidy -quiet -p "$build" -j "$(nproc)" "${sources[@]/#/$ROOT/}" >"$build/clang-tidy.log" 2>&1 || {
  grep -E 'warning:|error:' "$build/clang-tidy.log" | sort -u >&2
  echo "check: clang-tidy found problems (full log: $build/clang-tidy.log)" >&2
  exit 1
}
echo "check: clang-tidy ok"
