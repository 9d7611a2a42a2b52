#!/usr/bin/env bash
# Checks that Vorda installs and packages as a Debian system wants it, from a
# build folder that has been built (default: build/default):
#   1. `cmake --install` into an empty folder: every file in place, the
#      desktop entry and the AppStream metadata valid, the manual pages
#      clean, the bash completion completing;
#   2. cpack builds the .deb (build/default/package/); its dependencies are
#      printed, lintian must find no error (the warnings accepted are in
#      packaging/lintian-overrides, each with its reason);
#   3. the .deb unpacked into a fresh root: its vorda and vorda-cli print the
#      version, and its vorda draws a demo repository offscreen into a PNG
#      (kept in test-output/screenshots/installed-package.png of the build);
#   4. apt-get resolves the package's dependencies, simulated, on this
#      machine and on one with nothing installed.
# Usage: scripts/check-package.sh [BUILD_DIR]
set -euo pipefail

ROOT=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
build=$(cd -- "${1:-$ROOT/build/default}" && pwd)
work=$(mktemp -d "${TMPDIR:-/tmp}/vorda-package-XXXXXX")
trap 'rm -rf -- "$work"' EXIT
fail() {
  echo "package: $*" >&2
  exit 1
}
if ! command -v jj >/dev/null; then
  tool_dirs=$("$ROOT/scripts/provision.sh")
  export PATH="${tool_dirs:+$tool_dirs:}$PATH"
fi
version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")
[[ -n $version ]] || fail "no project version in $build/CMakeCache.txt"

cmake --build "$build" --target vorda vorda-cli vorda-diff-apply vorda_install_files >/dev/null

# 1. The installation.
stage=$work/stage
cmake --install "$build" --prefix "$stage/usr" --strip >/dev/null
expected=(
  usr/bin/vorda usr/bin/vorda-cli usr/libexec/vorda/vorda-diff-apply
  usr/share/applications/vorda.desktop usr/share/metainfo/dev.kelmar.vorda.metainfo.xml
  usr/share/icons/hicolor/scalable/apps/vorda.svg
  usr/share/man/man1/vorda.1.gz usr/share/man/man1/vorda-cli.1.gz
  usr/share/bash-completion/completions/vorda-cli
  usr/share/doc/vorda/copyright usr/share/doc/vorda/changelog.Debian.gz
)
for size in 16 22 24 32 48 64 128 256 512; do
  expected+=("usr/share/icons/hicolor/${size}x${size}/apps/vorda.png")
done
for file in "${expected[@]}"; do
  [[ -s $stage/$file ]] || fail "cmake --install left no $file"
done
grep -q '^MimeType=.*x-scheme-handler/vorda;' "$stage/usr/share/applications/vorda.desktop" ||
  fail "the desktop entry does not register the vorda: address scheme"
if command -v desktop-file-validate >/dev/null; then
  desktop-file-validate "$stage/usr/share/applications/vorda.desktop"
fi
appstreamcli validate --no-net --explain "$stage/usr/share/metainfo/dev.kelmar.vorda.metainfo.xml"
for page in "$stage"/usr/share/man/man1/*.1.gz; do
  warnings=$(LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -E UTF-8 -l -Tutf8 -Z "$page" 2>&1 >/dev/null)
  [[ -z $warnings ]] || fail "${page##*/} has errors: $warnings"
done
completes() {
  (
    # shellcheck disable=SC1091
    source "$stage/usr/share/bash-completion/completions/vorda-cli"
    COMP_WORDS=("$@")
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    _vorda_cli
    printf '%s\n' "${COMPREPLY[@]}"
  )
}
[[ $(completes vorda-cli qu) == query ]] || fail "the completion does not offer 'query'"
[[ $(completes vorda-cli query loadSn) == loadSnapshot ]] ||
  fail "the completion does not offer the reads of 'query'"
echo "package: cmake --install put ${#expected[@]} files in place; they validate"

# 2. The Debian package.
rm -f "$build"/package/vorda_*.deb
cpack --config "$build/CPackConfig.cmake" >"$work/cpack.log" 2>&1 || {
  cat "$work/cpack.log" >&2
  fail "cpack failed"
}
debs=("$build"/package/vorda_*.deb)
deb=${debs[0]}
[[ -f $deb ]] || fail "cpack made no .deb"
echo "package: built ${deb#"$ROOT"/} ($(du -h "$deb" | cut -f1))"
dpkg-deb --field "$deb" Depends Recommends Suggests | sed 's/^/package:   /'
lintian --fail-on error --tag-display-limit 0 "$deb" | sed 's/^/package: lintian: /' ||
  fail "lintian found errors in the package"

# 3. A fresh root with the package unpacked, and the programs from it.
root=$work/root
mkdir "$root"
dpkg-deb -x "$deb" "$root"
[[ $("$root/usr/bin/vorda" --version) == "vorda $version" ]] ||
  fail "the installed vorda --version does not print 'vorda $version'"
[[ $("$root/usr/bin/vorda-cli" --version) == "vorda-cli $version" ]] ||
  fail "the installed vorda-cli --version does not print 'vorda-cli $version'"
[[ -x $root/usr/bin/../libexec/vorda/vorda-diff-apply ]] ||
  fail "the helper is not where the installed vorda looks for it"
"$root/usr/bin/vorda-cli" demo "$work/demo" >/dev/null 2>"$work/demo.log" || {
  cat "$work/demo.log" >&2
  fail "the installed vorda-cli could not make a demo repository"
}
shot=$work/board.png
mkdir -p "$work/config" "$work/data"
XDG_CONFIG_HOME=$work/config XDG_DATA_HOME=$work/data QT_QPA_PLATFORM=offscreen \
  timeout 120 "$root/usr/bin/vorda" --screenshot="$shot" "$work/demo/repo" \
  >"$work/vorda.log" 2>&1 || {
  tail -20 "$work/vorda.log" >&2
  fail "the installed vorda did not draw the demo repository"
}
[[ -s $shot ]] || fail "the installed vorda saved no screenshot"
mkdir -p "$build/test-output/screenshots"
cp "$shot" "$build/test-output/screenshots/installed-package.png"
echo "package: the installed vorda $version drew the demo repository" \
  "(test-output/screenshots/installed-package.png)"

# 4. Its dependencies, as apt would install it here and on a machine with
# no package installed at all (an empty dpkg status): both must resolve.
apt-get install --simulate --quiet "$deb" >"$work/apt.log" 2>&1 || {
  cat "$work/apt.log" >&2
  fail "apt-get cannot resolve the package's dependencies on this machine"
}
grep -E '^Inst ' "$work/apt.log" | sed 's/^/package: apt here: /' || true
apt-get -o Dir::State::status=/dev/null install --simulate --quiet "$deb" \
  >"$work/apt-empty.log" 2>&1 || {
  cat "$work/apt-empty.log" >&2
  fail "apt-get cannot resolve the package's dependencies on an empty machine"
}
echo "package: apt on an empty machine: vorda and $(($(grep -c '^Inst ' "$work/apt-empty.log") - 1))" \
  "packages it needs, all found"
echo "package: all checks passed in $SECONDS s"
