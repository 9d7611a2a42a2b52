#!/usr/bin/env bash
# Builds a small demonstration repository at $1 (which must not exist yet): a
# trunk pushed to a local bare origin, two stacked feature bookmarks, a one-off
# commit, a conflict and a second workspace. Needs jj and git on PATH.
set -euo pipefail
target=${1:?usage: make-demo-repo.sh FOLDER}
[[ -e $target ]] && { echo "make-demo-repo: $target already exists" >&2; exit 1; }
mkdir -p "$target"
target=$(cd "$target" && pwd)

config="$target/.demo-jj-config.toml"
cat >"$config" <<'TOML'
[user]
name = "Demo User"
email = "demo@vorda.invalid"
[ui]
paginate = "never"
TOML
export JJ_CONFIG=$config
jj() { command jj --no-pager --color=never -R "$target/repo" "$@" >/dev/null 2>&1; }

command jj git init "$target/repo" >/dev/null 2>&1
git init --quiet --bare "$target/origin.git"
jj git remote add origin "$target/origin.git"

cd "$target/repo"
printf '# Demo\n' >README.md
jj commit -m "Initial commit"
jj bookmark create main -r @-
jj git push --bookmark main

printf 'fn parse() {}\n' >parser.rs
jj commit -m "Add parser"
printf 'fn parse() { tokens() }\n' >parser.rs
jj commit -m "Parser: tokens"
jj bookmark create feature/parser -r @-

printf 'fn render() {}\n' >render.rs
jj commit -m "Render on top of the parser"
jj bookmark create feature/render -r @-

jj new main -m "One-off: fix typo"
printf '# Demo project\n' >README.md
jj new main -m "Conflicting README"
printf '# Another title\n' >README.md
jj new 'description(exact:"One-off: fix typo\n")' 'description(exact:"Conflicting README\n")' -m "Merge of both titles"
jj new feature/render
jj workspace add --name second "$target/second"
echo "$target/repo"
