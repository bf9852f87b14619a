# A whole game, in its own time demo: four cycles on their own, a fixed step of the clock a frame, and it ends by itself.
# shellcheck shell=bash disable=SC2034,SC2154,SC2164
packages=(gltron zlib libpng1.6)
needs=testgl

build_program() {
  cd "$2"
  cp "$1/libpng1.6/scripts/pnglibconf.h.prebuilt" pnglibconf.h
  # One include there spells a header's name in the wrong case, and another wants the sound library that is left out.
  echo '#include "Nebu_scripting.h"' >nebu_scripting.h
  : >SDL_sound.h
  nice make -j2 -f "$here/real_programs/gltron.mk" SOURCES="$1" SDL="$work/build/testgl" SILENCE="$here/real_programs/gltron_silence.c"
  cp gltron.exe "$3/"
  cp -r "$1/gltron/art" "$1/gltron/data" "$1/gltron/music" "$1/gltron/scripts" "$3/"
  # The switch that the script offers: "enable below to run in timedemo-only mode".
  sed -i 's/^if(nil) then/if(1) then/' "$3/scripts/main.lua"
}
