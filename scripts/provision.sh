#!/usr/bin/env bash
# Provisions what building and testing Vorda needs on Debian (bookworm):
#   1. the system packages listed in scripts/packages.txt (installed when missing);
#   2. jj >= JJ_MIN_VERSION: the one on PATH, or else Debian unstable's `jujutsu`
#      package run with that suite's own C library (the binary needs a newer glibc
#      than bookworm's), unpacked into a private tools folder;
#   3. git >= GIT_MIN_VERSION: the one on PATH, or else git built from Debian
#      trixie's source package into the same tools folder.
#
# Prints exactly one line on stdout: a colon-separated list of directories to put
# first on PATH, or an empty line when the system's own tools suffice. Everything
# else (progress, errors) goes to stderr. Safe to re-run: a run that finds
# everything in place touches neither apt nor the network.
#
# Usage:  dirs=$(scripts/provision.sh) && PATH="${dirs:+$dirs:}$PATH"
#
# Environment (all optional):
#   VORDA_TOOLS_DIR      private tools folder
#                        (default: ${XDG_CACHE_HOME:-$HOME/.cache}/vorda-tools)
#   VORDA_DEBIAN_MIRROR  Debian mirror URI (default: the one the system's apt uses)
#   VORDA_JJ_SUITE       suite that jj comes from (default: sid)
#   VORDA_GIT_SUITE      suite that git's source comes from (default: trixie)
#   VORDA_SKIP_PACKAGES  set to 1 to skip the system packages step
set -euo pipefail

# Keep stdout for the single result line; everything else goes to stderr.
exec 3>&1 1>&2

readonly JJ_MIN_VERSION=0.39.0
readonly GIT_MIN_VERSION=2.42.0
readonly KEYRING=/usr/share/keyrings/debian-archive-keyring.gpg
readonly STAMP=.vorda-complete

SCRIPT_DIR=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)
readonly SCRIPT_DIR
readonly PACKAGES_FILE="$SCRIPT_DIR/packages.txt"

log() { printf 'provision: %s\n' "$*" >&2; }
die() {
  printf 'provision: error: %s\n' "$*" >&2
  exit 1
}

# ---------------------------------------------------------------- helpers ---

# First dotted version number (X.Y or X.Y.Z...) found in the arguments.
version_in() {
  grep -oE '[0-9]+(\.[0-9]+)+' <<<"$*" | sed -n 1p || true
}

# version_ge A B: true when version A >= version B.
version_ge() {
  [[ -n $1 && -n $2 ]] || return 1
  printf '%s\n%s\n' "$2" "$1" | sort -V -C
}

# Upstream part of a Debian version: drops the epoch, the Debian revision and
# any +dfsg/~rc style suffix ("1:2.47.3-0+deb13u1" -> "2.47.3").
upstream_version() {
  sed -E 's/^[0-9]+://; s/^([0-9]+(\.[0-9]+)*).*/\1/' <<<"$1"
}

# Single-quotes a string for a POSIX shell script.
shell_quote() {
  local s=${1//\'/\'\\\'\'}
  printf "'%s'" "$s"
}

# Runs a command as root (directly, or through sudo).
as_root() {
  if [[ $EUID -eq 0 ]]; then
    "$@"
  elif command -v sudo >/dev/null 2>&1; then
    sudo "$@"
  else
    die "need root to run '$*' (not root and sudo is not installed)"
  fi
}

INSTALLED_DIR=
CLEANUP=()
cleanup() {
  local d
  for d in "${CLEANUP[@]}"; do
    [[ -n $d && -e $d ]] && rm -rf -- "$d"
  done
  return 0
}
trap cleanup EXIT

# ---------------------------------------------------------------- paths ---

home_dir=${HOME:-}
if [[ -z $home_dir ]]; then
  home_dir=$(getent passwd "$(id -u)" | cut -d: -f6)
fi
TOOLS=${VORDA_TOOLS_DIR:-${XDG_CACHE_HOME:-$home_dir/.cache}/vorda-tools}
[[ $TOOLS == /* ]] || TOOLS="$PWD/$TOOLS"
readonly TOOLS
readonly TOOLS_BIN="$TOOLS/bin"

# PATH without our own bin folder, to judge the system's tools on their own.
SYS_PATH=
IFS=: read -r -a path_entries <<<"${PATH:-}"
for entry in "${path_entries[@]}"; do
  [[ -z $entry || ${entry%/} == "$TOOLS_BIN" ]] && continue
  SYS_PATH+="${SYS_PATH:+:}$entry"
done
unset entry path_entries
readonly SYS_PATH

# ------------------------------------------------------- system packages ---

# The names that installed packages provide, as installed packages. Such a
# name counts as present: NodeSource's nodejs provides npm, and installing
# Debian's npm beside it would conflict.
provided_packages() {
  dpkg-query -W -f='${db:Status-Abbrev}|${Provides}\n' 2>/dev/null |
    awk -F'|' '$1 ~ /^ii/ { n = split($2, names, ",")
      for (i = 1; i <= n; i++) { sub(/\(.*/, "", names[i]); gsub(/[[:space:]]/, "", names[i])
        if (names[i] != "") print names[i] " install ok installed" } }'
}

ensure_system_packages() {
  [[ -r $PACKAGES_FILE ]] || die "missing package list $PACKAGES_FILE"
  local -a wanted missing
  mapfile -t wanted < <(sed -e 's/#.*//' -e 's/[[:space:]]//g' -e '/^$/d' "$PACKAGES_FILE")
  ((${#wanted[@]})) || return 0
  mapfile -t missing < <(
    awk 'NR == FNR { if ($2 " " $3 " " $4 == "install ok installed") ok[$1] = 1; next }
         { name = $0; sub(/:.*/, "", name); if (!(name in ok)) print $0 }' \
      <(dpkg-query -W -f='${Package} ${Status}\n' "${wanted[@]}" 2>/dev/null || true
        provided_packages) \
      <(printf '%s\n' "${wanted[@]}")
  )
  ((${#missing[@]})) || return 0

  log "installing system packages: ${missing[*]}"
  if [[ $EUID -ne 0 ]] && ! command -v sudo >/dev/null 2>&1; then
    die "missing packages (${missing[*]}); run as root or install sudo"
  fi
  as_root env DEBIAN_FRONTEND=noninteractive apt-get update -q
  as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -q \
    --no-install-recommends "${missing[@]}"
}

# ------------------------------------------- private apt (other suites) ---

# Debian mirror the system's apt already uses; stops with a message when apt
# names none and VORDA_DEBIAN_MIRROR is not set.
debian_mirror() {
  if [[ -n ${VORDA_DEBIAN_MIRROR:-} ]]; then
    printf '%s\n' "$VORDA_DEBIAN_MIRROR"
    return
  fi
  local uri
  # shellcheck disable=SC2016 # apt's own $(FIELD) placeholders
  uri=$(apt-get indextargets --format '$(REPO_URI) $(LABEL)' 'Target-Of: deb' 2>/dev/null |
    awk '!u && $2 == "Debian" { u = $1 } END { if (u) print u }' || true)
  if [[ -z $uri ]]; then
    # shellcheck disable=SC2016
    uri=$(apt-get indextargets --format '$(REPO_URI)' 'Target-Of: deb' 2>/dev/null |
      grep -E '/debian/?$' | sed -n 1p || true)
  fi
  [[ -n $uri ]] ||
    die "apt names no Debian mirror (apt-get indextargets); set VORDA_DEBIAN_MIRROR to one"
  printf '%s\n' "$uri"
}

APT_DIR=
# new_private_apt SOURCES_LINE: sets APT_DIR to a fresh apt state folder that
# uses only SOURCES_LINE. The system's sources, lists, caches, preferences and
# dpkg status are neither read nor written; only the system's apt.conf settings
# (proxies and the like) still apply, minus its update hooks.
new_private_apt() {
  APT_DIR=$(mktemp -d "${TMPDIR:-/tmp}/vorda-apt.XXXXXX")
  CLEANUP+=("$APT_DIR")
  chmod 755 "$APT_DIR"
  mkdir -p "$APT_DIR"/{lists/partial,cache/archives/partial,etc/sources.list.d,etc/preferences.d,download}
  : >"$APT_DIR/status"
  printf '%s\n' "$1" >"$APT_DIR/etc/sources.list"
  cat >"$APT_DIR/apt.conf" <<EOF
Dir::Etc::sourcelist "$APT_DIR/etc/sources.list";
Dir::Etc::sourceparts "$APT_DIR/etc/sources.list.d";
Dir::Etc::preferences "$APT_DIR/etc/preferences";
Dir::Etc::preferencesparts "$APT_DIR/etc/preferences.d";
Dir::State::Lists "$APT_DIR/lists";
Dir::State::status "$APT_DIR/status";
Dir::State::extended_states "$APT_DIR/extended_states";
Dir::Cache "$APT_DIR/cache";
Dir::Cache::archives "$APT_DIR/cache/archives";
Dir::Cache::pkgcache "pkgcache.bin";
Dir::Cache::srcpkgcache "srcpkgcache.bin";
Acquire::Languages "none";
// Debian mirrors reached from here may be frozen snapshots whose Release files
// are past their Valid-Until date; signatures are still checked.
Acquire::Check-Valid-Until "false";
#clear APT::Update::Pre-Invoke;
#clear APT::Update::Post-Invoke;
#clear APT::Update::Post-Invoke-Success;
EOF
  # apt downloads as the unprivileged _apt user when started as root.
  if [[ $EUID -eq 0 ]] && getent passwd _apt >/dev/null; then
    chown _apt "$APT_DIR/lists/partial" "$APT_DIR/cache/archives/partial" "$APT_DIR/download"
  fi
}

apt_get_private() { apt-get -c "$APT_DIR/apt.conf" -q "$@"; }
apt_cache_private() { apt-cache -c "$APT_DIR/apt.conf" "$@"; }

apt_update_private() {
  local out
  if ! out=$(apt_get_private update 2>&1); then
    printf '%s\n' "$out" >&2
    die "apt-get update of $(cat "$APT_DIR/etc/sources.list") failed"
  fi
  # apt-get update exits 0 on some fetch and signature failures; catch them.
  if grep -qE '^(W|E): .*(NO_PUBKEY|not signed|Failed to fetch|is not valid|EXPKEYSIG)' <<<"$out"; then
    printf '%s\n' "$out" >&2
    die "apt-get update of $(cat "$APT_DIR/etc/sources.list") reported problems"
  fi
}

# Field FIELD of the candidate record of binary package PKG in the private index.
package_field() {
  apt_cache_private show --no-all-versions "$1" 2>/dev/null |
    awk -v f="$2" 'BEGIN { f = f ":" } /^$/ { done = 1 }
      !done && index($0, f) == 1 { sub(/^[^:]*: */, ""); print; done = 1 }'
}

# True when the installed system satisfies dependency atom "name (op version)".
system_satisfies() {
  local name=$1 op=${2:-} ver=${3:-} status
  status=$(dpkg-query -W -f='${Status}|${Version}' "$name" 2>/dev/null || true)
  [[ ${status%%|*} == "install ok installed" ]] || return 1
  [[ -z $op ]] && return 0
  dpkg --compare-versions "${status#*|}" "$op" "$ver"
}

# Package closure to download for ROOT_PKG from the private index: the package,
# all of its direct dependencies (so its runtime comes from the same suite),
# and any further dependency that the installed system does not satisfy.
download_closure() {
  local root_pkg=$1
  local -A selected=(["$root_pkg"]=1)
  local -a queue=("$root_pkg") order=("$root_pkg")
  local pkg deps group alt name op ver chosen satisfied
  local -a groups alts
  while ((${#queue[@]})); do
    pkg=${queue[0]}
    queue=("${queue[@]:1}")
    deps=$(package_field "$pkg" Pre-Depends)
    deps+=${deps:+, }$(package_field "$pkg" Depends)
    [[ -n ${deps//[ ,]/} ]] || continue
    IFS=, read -r -a groups <<<"$deps"
    for group in "${groups[@]}"; do
      [[ -n ${group// /} ]] || continue
      IFS='|' read -r -a alts <<<"$group"
      chosen='' satisfied=''
      for alt in "${alts[@]}"; do
        read -r name op ver <<<"${alt//[()]/ }"
        name=${name%%:*}
        if [[ -n ${selected[$name]:-} ]]; then
          satisfied=1
          break
        fi
        if [[ $pkg != "$root_pkg" ]] && system_satisfies "$name" "$op" "$ver"; then
          satisfied=1
          break
        fi
        if [[ -z $chosen && -n $(package_field "$name" Version) ]]; then
          chosen=$name
        fi
      done
      [[ -n $satisfied ]] && continue
      if [[ -z $chosen ]]; then
        log "warning: no package in the index satisfies '$group' (needed by $pkg)"
        continue
      fi
      selected[$chosen]=1
      queue+=("$chosen")
      order+=("$chosen")
    done
  done
  printf '%s\n' "${order[@]}"
}

# --------------------------------------------------------- tools folder ---

# Newest complete TOOL-<version> folder with version >= MIN; prints its path.
best_installed() {
  local tool=$1 min=$2 d v best='' best_v=''
  for d in "$TOOLS/$tool"-*; do
    [[ -d $d && -f $d/$STAMP ]] || continue
    v=${d##*/"$tool"-}
    version_ge "$v" "$min" || continue
    if [[ -z $best_v ]] || version_ge "$v" "$best_v"; then
      best=$d best_v=$v
    fi
  done
  [[ -n $best ]] && printf '%s\n' "$best"
}

# Points TOOLS_BIN/NAME at TARGET, replacing any old link atomically.
link_tool() {
  local name=$1 target=$2 link="$TOOLS_BIN/$1"
  [[ -L $link && $(readlink -- "$link") == "$target" ]] && return 0
  ln -sfn -- "$target" "$link.tmp.$$"
  mv -Tf -- "$link.tmp.$$" "$link"
}

# ------------------------------------------------------------------- jj ---

system_jj_ok() {
  local v
  PATH=$SYS_PATH command -v jj >/dev/null 2>&1 || return 1
  v=$(version_in "$(PATH=$SYS_PATH jj version 2>/dev/null || true)")
  version_ge "$v" "$JJ_MIN_VERSION"
}

# Unpacks jj and its runtime libraries from Debian's $VORDA_JJ_SUITE into
# TOOLS/jj-<version> (renamed into place only once complete and working) and
# sets INSTALLED_DIR to that folder.
install_jj() {
  local suite=${VORDA_JJ_SUITE:-sid} arch mirror debver ver dest stage root
  local jj_bin interp loader lib_path rel_loader rel_libs d listing t0=$SECONDS
  arch=$(dpkg --print-architecture)
  mirror=$(debian_mirror)
  [[ -r $KEYRING ]] || die "missing $KEYRING (package debian-archive-keyring)"

  log "no jj >= $JJ_MIN_VERSION on PATH; fetching the $suite package index from $mirror"
  new_private_apt "deb [signed-by=$KEYRING arch=$arch target=Packages] $mirror $suite main"
  apt_update_private

  debver=$(package_field jujutsu Version)
  [[ -n $debver ]] || die "no jujutsu package in Debian $suite"
  ver=$(upstream_version "$debver")
  version_ge "$ver" "$JJ_MIN_VERSION" ||
    die "Debian $suite has jujutsu $debver, older than $JJ_MIN_VERSION"
  dest="$TOOLS/jj-$ver"
  if [[ -f $dest/$STAMP ]]; then
    INSTALLED_DIR=$dest
    return 0
  fi

  local -a pkgs
  mapfile -t pkgs < <(download_closure jujutsu)
  log "downloading from $suite: ${pkgs[*]}"
  (cd "$APT_DIR/download" && apt_get_private -qq download "${pkgs[@]}") ||
    die "apt-get download from $suite failed"

  stage=$(mktemp -d "$TOOLS/.tmp-jj-$ver.XXXXXX")
  CLEANUP+=("$stage")
  chmod 755 "$stage"
  root="$stage/root"
  mkdir -p "$root" "$stage/bin"
  for d in "$APT_DIR"/download/*.deb; do
    dpkg-deb -x "$d" "$root"
  done

  jj_bin="usr/bin/jj"
  [[ -x $root/$jj_bin ]] || die "the jujutsu package has no $jj_bin"
  interp=$(readelf -l "$root/$jj_bin" | sed -n 's/.*program interpreter: \(.*\)\]$/\1/p')
  [[ -n $interp ]] || die "cannot read the program interpreter of $jj_bin"
  loader=
  for d in "$root$interp" "$root/usr$interp"; do
    if [[ -e $d ]]; then
      loader=$d
      break
    fi
  done
  if [[ -z $loader ]]; then
    loader=$(find "$root" -name "${interp##*/}" \( -type f -o -type l \) | sed -n 1p)
  fi
  [[ -n $loader && -e $loader ]] ||
    die "the downloaded packages have no ${interp##*/}"
  rel_loader=${loader#"$root"/}

  # Every folder of shared libraries in the unpacked packages (not gconv modules).
  local -a lib_dirs
  mapfile -t lib_dirs < <(
    cd "$root" && find . \( -type f -o -type l \) -name 'lib*.so*' \
      -not -path '*/gconv/*' -printf '%h\n' | sed 's|^\./||' | sort -u
  )
  ((${#lib_dirs[@]})) || die "the downloaded packages hold no shared libraries"
  lib_path=
  for d in "${lib_dirs[@]}"; do
    lib_path+="${lib_path:+:}$root/$d"
  done

  # Every library jj needs must resolve, and the C library must be the one
  # that belongs to the loader we run it with.
  listing=$("$loader" --library-path "$lib_path" --list "$root/$jj_bin" 2>&1) ||
    die "cannot resolve the libraries of jj:"$'\n'"$listing"
  if grep -q 'not found' <<<"$listing"; then
    die "jj needs libraries that are missing:"$'\n'"$listing"
  fi
  grep -qE "libc\.so\.[0-9]+ => $root/" <<<"$listing" ||
    die "jj's C library does not come from the downloaded packages:"$'\n'"$listing"
  [[ $("$loader" --library-path "$lib_path" "$root/$jj_bin" version) == *"$ver"* ]] ||
    die "the unpacked jj does not report version $ver"

  # The wrapper runs jj with its own loader and libraries. Only jj itself gets
  # them: --library-path sets no environment, so the processes jj starts (git)
  # use the system's loader and libraries as usual.
  rel_libs=
  for d in "${lib_dirs[@]}"; do
    rel_libs+="${rel_libs:+:}$dest/root/$d"
  done
  {
    printf '#!/bin/sh\n'
    printf '# jj %s from Debian %s (jujutsu %s), run with the C library of that suite.\n' \
      "$ver" "$suite" "$debver"
    printf '# Written by scripts/provision.sh.\n'
    printf 'exec %s --library-path %s %s "$@"\n' \
      "$(shell_quote "$dest/root/$rel_loader")" "$(shell_quote "$rel_libs")" \
      "$(shell_quote "$dest/root/$jj_bin")"
  } >"$stage/bin/jj"
  chmod 755 "$stage/bin/jj"
  printf 'jujutsu %s from Debian %s: %s\n' "$debver" "$suite" "${pkgs[*]}" >"$stage/$STAMP"

  rm -rf -- "$dest"
  mv -T -- "$stage" "$dest"
  if [[ $("$dest/bin/jj" version || true) != *"$ver"* ]]; then
    rm -rf -- "$dest"
    die "the installed jj wrapper does not work"
  fi
  log "installed jj $ver into $dest in $((SECONDS - t0))s"
  INSTALLED_DIR=$dest
}

# ------------------------------------------------------------------ git ---

system_git_ok() {
  local v
  PATH=$SYS_PATH command -v git >/dev/null 2>&1 || return 1
  v=$(version_in "$(PATH=$SYS_PATH git --version 2>/dev/null || true)")
  version_ge "$v" "$GIT_MIN_VERSION"
}

# Checks that GIT can push to and fetch from a local bare repository and add a
# worktree, as jj needs.
git_smoke_test() {
  local git=$1 t
  t=$(mktemp -d "${TMPDIR:-/tmp}/vorda-git-check.XXXXXX")
  CLEANUP+=("$t")
  (
    set -e
    export HOME=$t GIT_CONFIG_NOSYSTEM=1 GIT_AUTHOR_NAME=t GIT_AUTHOR_EMAIL=t@t \
      GIT_COMMITTER_NAME=t GIT_COMMITTER_EMAIL=t@t PATH="${git%/*}:$PATH"
    cd "$t"
    git init -q --bare origin.git
    git init -q -b main work
    cd work
    echo x >f
    git add f
    git commit -q -m x
    git push -q ../origin.git main
    git -C ../origin.git rev-parse --verify -q refs/heads/main >/dev/null
    git fetch -q ../origin.git main
    git worktree add -q ../wt HEAD
    test -f ../wt/f
  ) >"$t/log" 2>&1 || {
    cat "$t/log" >&2
    return 1
  }
}

# Builds git from Debian $VORDA_GIT_SUITE's source package into TOOLS/git-<version>.
# git records its install prefix when built, so it is built for the final
# folder, installed into a staging DESTDIR and then renamed into place. Sets
# INSTALLED_DIR to that folder.
install_git() {
  local suite=${VORDA_GIT_SUITE:-trixie} mirror debver ver dest stage src dsc t0=$SECONDS t1
  mirror=$(debian_mirror)
  [[ -r $KEYRING ]] || die "missing $KEYRING (package debian-archive-keyring)"

  log "no git >= $GIT_MIN_VERSION on PATH; fetching the $suite source index from $mirror"
  new_private_apt "deb-src [signed-by=$KEYRING target=Sources] $mirror $suite main"
  apt_update_private

  debver=$(apt_cache_private showsrc --only-source git 2>/dev/null |
    awk '!v && /^Version:/ { v = $2 } END { if (v) print v }')
  [[ -n $debver ]] || die "no git source package in Debian $suite"
  ver=$(upstream_version "$debver")
  version_ge "$ver" "$GIT_MIN_VERSION" ||
    die "Debian $suite has git $debver, older than $GIT_MIN_VERSION"
  dest="$TOOLS/git-$ver"
  if [[ -f $dest/$STAMP ]]; then
    INSTALLED_DIR=$dest
    return 0
  fi

  stage=$(mktemp -d "$TOOLS/.tmp-git-$ver.XXXXXX")
  CLEANUP+=("$stage")
  chmod 755 "$stage"
  log "downloading git $debver source from $suite"
  (cd "$APT_DIR/download" && apt_get_private -qq --download-only source "git=$debver") ||
    die "apt-get source git=$debver failed"
  dsc=$(find "$APT_DIR/download" -maxdepth 1 -name 'git_*.dsc' | sed -n 1p)
  [[ -n $dsc ]] || die "apt-get source left no .dsc file"
  src="$stage/src"
  # The files' hashes were checked by apt against the signed index.
  dpkg-source --no-check -x "$dsc" "$src" >"$stage/unpack.log" 2>&1 || {
    cat "$stage/unpack.log" >&2
    die "dpkg-source -x failed"
  }

  log "building git $ver (log: $stage/build.log)"
  t1=$SECONDS
  local -a make_args=(
    -C "$src" -j"$(nproc)"
    prefix="$dest" sysconfdir=/etc DESTDIR="$stage/destdir" CFLAGS=-O2 INSTALL_STRIP=-s
    NO_CURL=1 NO_GETTEXT=1 NO_TCLTK=1 NO_PERL=1 NO_PYTHON=1 NO_EXPAT=1 NO_GITWEB=1
    # git's own test helpers, unit tests and fuzz objects: not installed, not needed.
    TEST_PROGRAMS= UNIT_TEST_PROGS= CLAR_TEST_PROG= test_bindir_programs= FUZZ_OBJS=
  )
  if ! make "${make_args[@]}" install >"$stage/build.log" 2>&1; then
    tail -n 40 "$stage/build.log" >&2
    die "building git $ver failed"
  fi
  log "built git $ver in $((SECONDS - t1))s"

  local built="$stage/destdir$dest"
  [[ -x $built/bin/git ]] || die "git's install left no $built/bin/git"
  [[ $("$built/bin/git" --version) == *"$ver"* ]] ||
    die "the built git does not report version $ver"
  printf 'git %s from Debian %s source\n' "$debver" "$suite" >"$built/$STAMP"

  rm -rf -- "$dest"
  mv -T -- "$built" "$dest"
  if ! git_smoke_test "$dest/bin/git"; then
    rm -rf -- "$dest"
    die "the built git fails to push, fetch or add a worktree"
  fi
  log "installed git $ver into $dest in $((SECONDS - t0))s"
  INSTALLED_DIR=$dest
}

# ----------------------------------------------------------------- main ---

main() {
  if [[ ${VORDA_SKIP_PACKAGES:-0} != 1 ]]; then
    ensure_system_packages
  fi

  local jj_dir='' git_dir='' need_jj='' need_git=''
  system_jj_ok || need_jj=1
  system_git_ok || need_git=1

  if [[ -n $need_jj || -n $need_git ]]; then
    mkdir -p "$TOOLS_BIN"
    exec 9>"$TOOLS/.lock"
    if ! flock -n 9; then
      log "waiting for another provision.sh run to finish"
      flock 9
    fi
    # Left-overs of interrupted runs (never complete, never in use).
    rm -rf -- "$TOOLS"/.tmp-*

    if [[ -n $need_jj ]]; then
      jj_dir=$(best_installed jj "$JJ_MIN_VERSION" || true)
      if [[ -z $jj_dir ]]; then
        install_jj
        jj_dir=$INSTALLED_DIR
      fi
    fi
    if [[ -n $need_git ]]; then
      git_dir=$(best_installed git "$GIT_MIN_VERSION" || true)
      if [[ -z $git_dir ]]; then
        install_git
        git_dir=$INSTALLED_DIR
      fi
    fi

    # TOOLS_BIN holds links to exactly the private tools in use.
    local -A keep=()
    if [[ -n $jj_dir ]]; then
      link_tool jj "$jj_dir/bin/jj"
      keep[jj]=1
    fi
    if [[ -n $git_dir ]]; then
      local f
      for f in "$git_dir"/bin/*; do
        [[ -f $f && -x $f ]] || continue
        link_tool "${f##*/}" "$f"
        keep[${f##*/}]=1
      done
    fi
    local l
    for l in "$TOOLS_BIN"/*; do
      if [[ -L $l && -z ${keep[${l##*/}]:-} ]]; then
        rm -f -- "$l"
      fi
    done
    printf '%s\n' "$TOOLS_BIN" >&3
  else
    printf '\n' >&3
  fi
}

main "$@"
