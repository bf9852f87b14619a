#!/usr/bin/env bash
# Prepares a Debian machine to build the driver for Windows and to run it: packages, and one Wine prefix a word size.
#
#   tools/dev/setup_rig.sh [--packages | --prefixes]
#
# Without an argument it does both. It asks nothing, and what is there already stays: running it again costs seconds.
# Packages need root or sudo. The prefixes stand in $TLR2_RIG, by default ${XDG_CACHE_HOME:-~/.cache}/tlr2-rig.
set -euo pipefail

rig=${TLR2_RIG:-${XDG_CACHE_HOME:-$HOME/.cache}/tlr2-rig}
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

say() { echo "setup_rig: $*" >&2; }

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
  '') bash "$here/packages.sh"; setup_prefixes ;;
  --packages) bash "$here/packages.sh" ;;
  --prefixes) setup_prefixes ;;
  *) sed -n '2,8s/^# \{0,1\}//p' "$0" >&2; exit 2 ;;
esac
