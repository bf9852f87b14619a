#!/usr/bin/env bash
# Installs what is missing, builds the 32-bit Windows driver and runs the courtyard under it in a window: on the
# user's display, or on one of its own where there is none. Prints the frame rate and where the picture lies.
#
# usage: demo.sh [FRAMES]
set -euo pipefail
cd "$(dirname "$0")/../.."
frames=${1:-300}
case "$frames" in ''|*[!0-9]*) echo "demo.sh: FRAMES is a number, not '$frames'" >&2; exit 2 ;; esac

bash tools/dev/packages.sh
bash tools/dev/setup_rig.sh >/dev/null
launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
cmake --preset win32 "${launcher[@]}" >/dev/null
cmake --build build/win32 -j "$(nproc)" --target opengl32 courtyard >/dev/null
picture=$PWD/build/win32/courtyard.png
window=$PWD/build/win32/courtyard-window.png
rm -f "$picture" "$window"
root=$PWD
cd build/win32/bin  # the driver writes its call summary into the current directory
bash "$root/tools/dev/run_wine.sh" --screenshot "$window" --after 4 courtyard.exe --size 1024x640 --frames "$frames" \
  --screenshot "Z:$picture"
[ ! -s "$window" ] || echo "picture of the window: $window"
echo "picture read back:     $picture"
