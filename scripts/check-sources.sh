#!/usr/bin/env bash
# Source checks that need no build: formatting and layering.
set -euo pipefail
ROOT=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
cd "$ROOT"

mapfile -t sources < <(git ls-files --cached --others --exclude-standard -- \
  'src/*.cpp' 'src/*.h' 'tests/*.cpp' 'tests/*.h')

echo "check: clang-format on ${#sources[@]} files"
clang-format --dry-run --Werror "${sources[@]}"

# The core libraries are standard C++ only: no Qt header may reach them.
core_qt=$(grep -lE '^\s*#\s*include\s*<Q' -- $(git ls-files --cached --others --exclude-standard \
  -- 'src/jjkit/*' 'src/feature/*' 'src/diffapply/*') 2>/dev/null || true)
if [[ -n $core_qt ]]; then
  echo "check: Qt headers in the core libraries:" >&2
  echo "$core_qt" >&2
  exit 1
fi
# jjkit sits below feature: it may not include anything from it.
if grep -rlE '#\s*include\s*"feature/' src/jjkit >/dev/null 2>&1; then
  echo "check: src/jjkit includes src/feature:" >&2
  grep -rlE '#\s*include\s*"feature/' src/jjkit >&2
  exit 1
fi
echo "check: layering ok"

# Test volume, counted as the house counts it (non-blank, non-comment lines):
# tests against code should stay about a quarter to a third.
count_lines() {
  git ls-files -- "$@" | grep -E '\.(cpp|cc|h|hpp|py|sh|ts|tsx|js|mjs|css|html)$' |
    grep -vE '(^|/)(node_modules|dist|vendor|third_party|generated)/' |
    while IFS= read -r f; do [[ -f $f ]] && cat -- "$f"; done |
    grep -cvE '^\s*$|^\s*(//|/\*|\*|#)'
}
test_lines=$(count_lines tests)
code_lines=$(count_lines src web)
echo "check: tests $test_lines lines against code $code_lines lines:" \
  "$(awk -v t="$test_lines" -v c="$code_lines" 'BEGIN { printf "%.2f", t / c }')" \
  "(the house rule: about 0.25 to 0.33)"
