#!/usr/bin/env bash
# Runs a Windows program under Wine with the driver that lies beside it, on a display of its own where there is none.
#
#   tools/dev/run_wine.sh [option...] program.exe [argument...]
#   tools/dev/run_wine.sh --session command [argument...]
#
#   --screenshot FILE   save the display as a PNG, --after SECONDS (default 3) once the program has started
#   --after SECONDS     when to take the screenshot
#   --timeout SECONDS   end the program then, with exit code 124 (default 600)
#   --builtin           use Wine's own opengl32 even where one lies beside the program
#   --session           run a native command, as in `--session ctest`, with one display and one Wine for all its programs
#
# The current directory stays the caller's. The exit code is the program's. The prefix is chosen by the program's word
# size; setup_rig.sh makes it on first use. With no DISPLAY set, runs take turns: Wine keeps its desktop on one display.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
rig=${TLR2_RIG:-${XDG_CACHE_HOME:-$HOME/.cache}/tlr2-rig}
screenshot='' after=3 limit=600 builtin=0 session=0

while [ $# -gt 0 ]; do
  case $1 in
    --screenshot) screenshot=$2; shift 2 ;;
    --after) after=$2; shift 2 ;;
    --timeout) limit=$2; shift 2 ;;
    --builtin) builtin=1; shift ;;
    --session) session=1; shift; break ;;
    -*) sed -n '2,15s/^# \{0,1\}//p' "$0" >&2; exit 2 ;;
    *) break ;;
  esac
done
[ $# -gt 0 ] || { sed -n '2,15s/^# \{0,1\}//p' "$0" >&2; exit 2; }

say() { echo "run_wine: $*" >&2; }

# The machine word of the PE header, which stands behind the offset at 0x3C.
word_size() {
  local header machine
  header=$(od -A n -t u4 -j 60 -N 4 "$1" | tr -d ' ')
  machine=$(od -A n -t x2 -j $((header + 4)) -N 2 "$1" | tr -d ' ')
  case $machine in
    014c) echo 32 ;;
    8664) echo 64 ;;
    *) say "$1 is no Windows program"; return 1 ;;
  esac
}

xvfb=''
running=''
held=''
cleanup() {
  trap - EXIT INT TERM
  [ -z "$held" ] || rm -rf "$held"
  [ -z "$running" ] || kill "$running" 2>/dev/null || true
  if [ -n "$xvfb" ]; then
    for bits in 32 64; do
      [ ! -e "$rig/win$bits/.complete" ] || WINEPREFIX=$rig/win$bits wineserver -k 2>/dev/null || true
    done
    kill "$xvfb" 2>/dev/null || true
    wait "$xvfb" 2>/dev/null || true
  fi
}

# Sets DISPLAY to a new virtual display, of a number that the server finds free. Its life ends with this script's.
start_display() {
  local numbers
  numbers=$(mktemp)
  setpriv --pdeathsig TERM Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp -noreset \
    3>"$numbers" >/dev/null 2>&1 9>&- &
  xvfb=$!
  local try
  for try in $(seq 200); do
    [ ! -s "$numbers" ] || break
    kill -0 "$xvfb" 2>/dev/null || break
    sleep 0.05
  done
  DISPLAY=:$(cat "$numbers")
  rm -f "$numbers"
  [ "$DISPLAY" != : ] || { say "Xvfb did not start"; exit 1; }
  export DISPLAY
}

mkdir -p "$rig"
if [ -z "${TLR2_RIG_SESSION:-}" ]; then
  exec 9>"$rig/run.lock"
  if [ -n "${DISPLAY:-}" ]; then
    flock -s -w 1800 9 || { say "the rig is busy"; exit 1; }
  else
    flock -w 1800 9 || { say "the rig is busy"; exit 1; }
    trap cleanup EXIT
    trap 'exit 130' INT
    trap 'exit 143' TERM
    for bits in 32 64; do  # what an ended run may have left on a display that is gone
      [ ! -e "$rig/win$bits/.complete" ] || WINEPREFIX=$rig/win$bits wineserver -k 2>/dev/null 9>&- || true
    done
    start_display
  fi
fi

if [ "$session" -eq 1 ]; then
  code=0
  # Where what keeps Wine up stands; on a display of the user's own nothing does, for nothing here would end it.
  [ -z "$xvfb" ] || held=$(mktemp -d)
  TLR2_RIG_SESSION=${held:-none} "$@" 9>&- || code=$?
  exit "$code"
fi

# A program that finds no Wine running starts its server and services, which hold the program's output open: whoever
# reads it to its end waits until they go, seconds later, and the next program starts them again. So a session keeps one
# program waiting, for a line that never comes.
keep_wine_up() {
  mkdir "$TLR2_RIG_SESSION/$bits" 2>/dev/null || return 0
  mkfifo "$TLR2_RIG_SESSION/$bits/line"
  (cd / && exec setsid wine cmd <>"$TLR2_RIG_SESSION/$bits/line" >/dev/null 2>&1 9>&-) &
  wine cmd /c exit </dev/null >/dev/null 2>&1 9>&-  # back once all of it is up
}

[ -f "$1" ] || { say "no program $1"; exit 2; }
bits=$(word_size "$1")
[ -e "$rig/win$bits/.complete" ] || "$here/setup_rig.sh" --prefixes 9>&-
export WINEPREFIX=$rig/win$bits WINEARCH=win$bits
export WINEDEBUG=${WINEDEBUG:--all}
# Only where there is one: Wine's Direct3D imports that name too, and with nothing to load it would not load either.
override=opengl32=b
[ "$builtin" -eq 1 ] || [ ! -f "$(dirname "$1")/opengl32.dll" ] || override=opengl32=n
export WINEDLLOVERRIDES=${WINEDLLOVERRIDES:+$WINEDLLOVERRIDES;}$override

[ ! -d "${TLR2_RIG_SESSION:-}" ] || WINEDLLOVERRIDES=opengl32=b keep_wine_up
timeout --kill-after=10 "$limit" wine "$@" 9>&- &
running=$!
if [ -n "$screenshot" ]; then
  sleep "$after"
  import -window root "$screenshot" 9>&- || say "no screenshot"
fi
code=0
wait "$running" || code=$?
running=''
exit "$code"
