#!/usr/bin/env bash
# Prepares a Debian machine to build the driver for Windows and to run it: packages, and one Wine prefix a word size.
#
#   tools/dev/setup_rig.sh [--packages | --prefixes]
#
# Without an argument it does both. It asks nothing, and what is there already stays: running it again costs seconds.
# Packages need root or sudo. The prefixes stand in $TLR2_RIG, by default ${XDG_CACHE_HOME:-~/.cache}/tlr2-rig.
set -euo pipefail

rig=${TLR2_RIG:-${XDG_CACHE_HOME:-$HOME/.cache}/tlr2-rig}
codename=$(. /etc/os-release && echo "${VERSION_CODENAME:-stable}")

build_packages=(cmake ninja-build ccache g++ googletest python3 clang-19 libclang-rt-19-dev clang-tidy-19 clang-format-19
  g++-mingw-w64-i686-posix g++-mingw-w64-x86-64-posix)
# The 32-bit native build is a convenience; on a machine where it conflicts the rest still serves.
build32_packages=(g++-multilib libosmesa6:i386)
run_packages=(wine wine32:i386 wine64 mesa-vulkan-drivers mesa-vulkan-drivers:i386 libvulkan1 libvulkan1:i386
  libgl1:i386 libgl1-mesa-dri:i386 xvfb fonts-wine fonts-liberation imagemagick xdotool x11-apps x11-utils
  vkd3d-compiler spirv-tools)

say() { echo "setup_rig: $*" >&2; }

as_root() {
  if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo -n "$@"; fi
}

missing() {
  local package
  for package in "$@"; do
    dpkg-query -W -f '${db:Status-Abbrev}\n' "$package" 2>/dev/null | grep -q '^ii' || echo "$package"
  done
}

update_lists() {
  # A mirror in the middle of a synchronisation answers with mismatched sums for a minute or two.
  local try
  for try in 1 2 3 4 5; do
    if as_root apt-get -qq update; then return 0; fi
    say "package lists failed (try $try), waiting"
    sleep $((try * 10))
  done
  return 1
}

install() {
  local wanted
  mapfile -t wanted < <(missing "$@")
  [ "${#wanted[@]}" -gt 0 ] || return 0
  say "installing ${wanted[*]}"
  local options=(-y -qq --no-install-recommends -o Dpkg::Use-Pty=0)
  # When one architecture has newer security versions than the other offers, only the release itself fits together.
  as_root env DEBIAN_FRONTEND=noninteractive apt-get install "${options[@]}" "${wanted[@]}" >&2 ||
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install "${options[@]}" --allow-downgrades -t "$codename" \
      "${wanted[@]}" >&2
}

setup_packages() {
  local all=("${build_packages[@]}" "${build32_packages[@]}" "${run_packages[@]}")
  if [ -z "$(missing "${all[@]}")" ] && dpkg --print-foreign-architectures | grep -qx i386; then
    say "packages: all there"
    return 0
  fi
  dpkg --print-foreign-architectures | grep -qx i386 || as_root dpkg --add-architecture i386
  update_lists
  install "${build_packages[@]}"
  install "${run_packages[@]}"
  install "${build32_packages[@]}" || say "no 32-bit native build on this machine"
}

# setup_prefix BITS: a prefix in which Direct3D 11, Direct2D and DirectWrite work beside a replaced opengl32.dll.
setup_prefix() {
  local bits=$1 prefix=$rig/win$1
  if [ -e "$prefix/.complete" ]; then
    say "prefix $bits: there"
    return 0
  fi
  command -v wine >/dev/null || { say "Wine is missing; run this script with --packages first"; return 1; }
  rm -rf "$prefix"
  mkdir -p "$rig"
  (
    export WINEARCH=win$bits WINEPREFIX=$prefix WINEDEBUG=-all
    # No add-on installers, no menu entries, no display.
    export WINEDLLOVERRIDES='mscoree,mshtml=;winemenubuilder.exe=d'
    unset DISPLAY
    wineboot -i >/dev/null 2>&1
    # Wine's own Direct3D is otherwise written on opengl32.dll, the very name that the driver takes.
    wine reg add 'HKCU\Software\Wine\Direct3D' /v renderer /t REG_SZ /d vulkan /f >/dev/null 2>&1
    # A crash ends the program with its code instead of opening a dialogue.
    wine reg add 'HKCU\Software\Wine\WineDbg' /v ShowCrashDialog /t REG_DWORD /d 0 /f >/dev/null 2>&1
    # DirectWrite's last-resort font: without it no text is drawn at all.
    cp /usr/share/wine/fonts/tahoma.ttf /usr/share/wine/fonts/tahomabd.ttf "$prefix/drive_c/windows/Fonts/"
    local fonts='HKLM\Software\Microsoft\Windows NT\CurrentVersion\Fonts'
    wine reg add "$fonts" /v 'Tahoma (TrueType)' /t REG_SZ /d tahoma.ttf /f >/dev/null 2>&1
    wine reg add "$fonts" /v 'Tahoma Bold (TrueType)' /t REG_SZ /d tahomabd.ttf /f >/dev/null 2>&1
    wineserver -w
  )
  touch "$prefix/.complete"
  say "prefix $bits: made"
}

setup_prefixes() {
  mkdir -p "$rig"
  exec 8>"$rig/setup.lock"
  flock 8
  setup_prefix 32 8>&-
  setup_prefix 64 8>&-
  exec 8>&-
}

case ${1:-} in
  '') setup_packages; setup_prefixes ;;
  --packages) setup_packages ;;
  --prefixes) setup_prefixes ;;
  *) sed -n '2,8s/^# \{0,1\}//p' "$0" >&2; exit 2 ;;
esac
