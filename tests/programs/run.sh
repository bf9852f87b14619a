#!/usr/bin/env bash
# Runs the programs that tools/dev/real_programs.sh built, with Wine's own opengl32 and with the driver, and judges the two.
#
#   tests/programs/run.sh [program...]
#
# The driver is build/win32's, or $TLR2_DRIVER. Pictures, output and call summaries stay in build/programs/run (or under
# $TLR2_PROGRAMS), one folder a case and library. The exit code is 0 when every case stands. By hand only, like the building.
set -euo pipefail

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(cd "$here/../.." && pwd)
work=${TLR2_PROGRAMS:-$root/build/programs}
driver=${TLR2_DRIVER:-$root/build/win32/bin/opengl32.dll}
rig=${TLR2_RIG:-${XDG_CACHE_HOME:-$HOME/.cache}/tlr2-rig}
run_wine=$root/tools/dev/run_wine.sh
seconds=4    # from the start to the first picture: the window is up and the animation under way
pictures=20  # of each run; a cube's turn has 72 pictures, so that some of both runs show the same

fail() { echo "programs: $*" >&2; exit 1; }

if [ -z "${TLR2_RIG_SESSION:-}" ]; then
  [ -f "$driver" ] || fail "no driver at $driver: cmake --preset win32 && ninja -C build/win32 opengl32"
  exec "$run_wine" --session "$0" "$@"
fi

# Runs a case once: $1 its folder, $2 the program's file, $3 how it ends, then options for run_wine.sh, then -- and arguments.
run_once() {
  local folder=$1 program=$2 ends=$3 options=() running code=0 number
  shift 3
  while [ "$1" != -- ]; do options+=("$1"); shift; done
  shift
  (cd "$folder" && exec "$run_wine" "${options[@]}" --timeout 240 "./$program" "$@" >output.txt 2>&1) &
  running=$!
  sleep "$seconds"
  for number in $(seq -w "$pictures"); do
    # Over the whole of what ends by itself, since the two libraries go through it at different paces.
    [ "$ends" = closed ] || sleep 0.7
    import -window root -depth 8 "$folder/$number.png"
  done
  # Closed by its window, as a user would: the driver writes its call summary when it is unloaded.
  [ "$ends" = itself ] || "$run_wine" --builtin --timeout 30 "$rig/win32/drive_c/windows/system32/taskkill.exe" /im "$program" >/dev/null 2>&1 || true
  wait "$running" || code=$?
  echo "$code" >"$folder/exit_code"
}

failed=0 count=0
while read -r name program ends judge drift arguments; do
  case $name in '#'* | '') continue ;; esac
  [ $# -eq 0 ] || [[ " $* " == *" $program "* ]] || continue
  [ -f "$work/bin/$program/$program.exe" ] || fail "no $program.exe: tools/dev/real_programs.sh --build $program"
  for library in reference driver; do
    folder=$work/run/$name/$library
    rm -rf "$folder"
    mkdir -p "$folder"
    cp -r "$work/bin/$program"/* "$folder/"
    if [ "$library" = driver ]; then
      cp "$driver" "$folder/opengl32.dll"
      # shellcheck disable=SC2086
      run_once "$folder" "$program.exe" "$ends" -- $arguments </dev/null
    else
      # shellcheck disable=SC2086
      run_once "$folder" "$program.exe" "$ends" --builtin -- $arguments </dev/null
    fi
  done
  count=$((count + 1))
  python3 "$here/compare.py" "$judge" "$drift" "$work/run/$name" || failed=$((failed + 1))
done <"$here/cases.txt"
[ "$count" -gt 0 ] || fail "no case for $*"
echo "$((count - failed)) passed, $failed failed"
[ "$failed" -eq 0 ]
