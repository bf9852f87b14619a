#!/usr/bin/env bash
# Fetches, builds and runs programs that were not written for this driver: Debian's source packages, cross-built for Windows.
#
#   tools/dev/real_programs.sh [--fetch | --build | --run] [program...]
#
# Without an option all three steps run, in this order; each does nothing over again that is done already, but --run always runs.
# The programs are the recipes in real_programs/, one a file. Everything stands in build/programs, or in $TLR2_PROGRAMS, and
# nothing of it goes into the tree. By hand only: fetching and building take minutes and a network.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(cd "$here/../.." && pwd)
work=${TLR2_PROGRAMS:-$root/build/programs}
step=all

fail() { echo "real_programs: $*" >&2; exit 1; }

while [ $# -gt 0 ]; do
  case $1 in
    --fetch | --build | --run) step=${1#--}; shift ;;
    -*) sed -n '2,8s/^# \{0,1\}//p' "$0" >&2; exit 2 ;;
    *) break ;;
  esac
done

# A recipe sets `packages`, and `needs` where it uses what another recipe builds, and defines build_program: $1 the folder with the
# packages' sources, each under the package's name, $2 a folder to build in, $3 where the program and its data go.
load_recipe() {
  unset -f build_program
  packages=() needs=''
  [ -f "$here/real_programs/$1.sh" ] || fail "no recipe for $1 in tools/dev/real_programs"
  # shellcheck source=/dev/null
  . "$here/real_programs/$1.sh"
}

# apt with lists of its own, so that the machine's configuration stays as it is.
private_apt() {
  local apt=$work/apt
  apt-get -qq -o Dir::Etc::sourcelist=/dev/null -o Dir::Etc::sourceparts="$apt/sources" -o Dir::State::lists="$apt/lists" \
    -o Dir::Cache="$apt/cache" -o APT::Sandbox::User="$(id -un)" "$@"
}

# The machine's own Debian sources, with the word for binaries replaced by the one for sources.
write_sources() {
  local apt=$work/apt list count=0
  mkdir -p "$apt/sources" "$apt/lists/partial" "$apt/cache/archives/partial"
  rm -f "$apt/sources"/*
  for list in /etc/apt/sources.list.d/debian*.sources; do
    [ -f "$list" ] || continue
    sed 's/^Types:.*/Types: deb-src/' "$list" >"$apt/sources/$(basename "$list")"
    count=$((count + 1))
  done
  for list in /etc/apt/sources.list /etc/apt/sources.list.d/debian*.list; do
    [ -f "$list" ] || continue
    sed -n 's/^deb /deb-src /p' "$list" >"$apt/sources/$(basename "$list" .list).list"
    count=$((count + 1))
  done
  [ "$count" -gt 0 ] || fail "this machine names no Debian package source"
}

archive_of() { compgen -G "$work/archives/$1_*.orig.tar.*" | head -n 1 || true; }

fetch() {
  local program package updated=0 log=$work/fetch.log
  mkdir -p "$work/archives"
  for program in "$@"; do
    load_recipe "$program"
    for package in "${packages[@]}"; do
      [ -z "$(archive_of "$package")" ] || continue
      if [ "$updated" -eq 0 ]; then
        command -v apt-get >/dev/null || fail "needs apt-get"
        write_sources
        private_apt update >"$log" 2>&1 || fail "no source lists (see $log)"
        updated=1
      fi
      (cd "$work/archives" && private_apt source --tar-only --download-only "$package") >>"$log" 2>&1 ||
        fail "could not fetch the source package $package (see $log)"
      [ -n "$(archive_of "$package")" ] || fail "the source package $package holds no archive of its author's"
      echo "real_programs: fetched $package"
    done
    [ -z "$needs" ] || fetch "$needs"
  done
}

unpack() {
  local tarball source=$work/src/$1
  [ ! -f "$source/.unpacked" ] || return 0
  tarball=$(archive_of "$1")
  [ -n "$tarball" ] || fail "$1 is not there: run with --fetch first"
  rm -rf "$source"
  mkdir -p "$source"
  tar xf "$tarball" -C "$source" --strip-components 1 || fail "cannot unpack $tarball"
  touch "$source/.unpacked"
}

build() {
  local program package log
  command -v i686-w64-mingw32-gcc-posix >/dev/null || fail "no cross compiler: run tools/dev/packages.sh"
  for program in "$@"; do
    load_recipe "$program"
    [ ! -f "$work/bin/$program/$program.exe" ] || continue
    if [ -n "$needs" ]; then
      build "$needs"
      load_recipe "$program"
    fi
    log=$work/build-$program.log
    for package in "${packages[@]}"; do unpack "$package"; done
    rm -rf "$work/bin/$program.new"
    mkdir -p "$work/build/$program" "$work/bin/$program.new"
    # In the background and waited for, since errexit is off on the left side of ||.
    (set -euo pipefail; shopt -s inherit_errexit; build_program "$work/src" "$work/build/$program" "$work/bin/$program.new") \
      >"$log" 2>&1 &
    wait $! || fail "$program does not build (see $log)"
    [ -f "$work/bin/$program.new/$program.exe" ] || fail "the recipe of $program made no $program.exe"
    rm -rf "${work:?}/bin/$program"
    mv "$work/bin/$program.new" "$work/bin/$program"
    echo "real_programs: built $program"
  done
}

programs=("$@")
if [ ${#programs[@]} -eq 0 ]; then
  for recipe in "$here"/real_programs/*.sh; do programs+=("$(basename "$recipe" .sh)"); done
fi
case $step in
  fetch) fetch "${programs[@]}" ;;
  build) build "${programs[@]}" ;;
  run) TLR2_PROGRAMS=$work exec "$root/tests/programs/run.sh" "${programs[@]}" ;;
  all)
    fetch "${programs[@]}"
    build "${programs[@]}"
    TLR2_PROGRAMS=$work exec "$root/tests/programs/run.sh" "${programs[@]}"
    ;;
esac
