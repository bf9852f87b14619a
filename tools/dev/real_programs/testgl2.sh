# SDL2's rotating cube. The library makes short-lived contexts on windows of its own before the real one.
# shellcheck shell=bash disable=SC2034,SC2154,SC2164
packages=(libsdl2)

build_program() {
  local cc=i686-w64-mingw32-gcc-posix
  cd "$2"
  [ -f Makefile ] || "$1/libsdl2/configure" --host=i686-w64-mingw32 CC=$cc CXX=i686-w64-mingw32-g++-posix --disable-shared --enable-static \
    --disable-joystick --disable-haptic --disable-hidapi --disable-sensor --disable-directx --disable-render-d3d \
    --disable-video-vulkan --disable-video-opengles --disable-audio
  nice make -j2 build/libSDL2.la build/libSDL2_test.la build/libSDL2main.la
  # The program demands two entries younger than OpenGL 1.1 by name before it draws, and never calls them.
  $cc -O2 -c "$here/real_programs/uncalled_entries.c" -Iinclude -I"$1/libsdl2/include" -o uncalled_entries.o
  $cc -O2 -DHAVE_OPENGL -DSDL_GL_GetProcAddress=ProcAddressOrTrap -Iinclude -I"$1/libsdl2/include" "$1/libsdl2/test/testgl2.c" uncalled_entries.o \
    build/.libs/libSDL2_test.a -static -Lbuild/.libs -lmingw32 -lSDL2main -lSDL2 -lm -luser32 -lgdi32 -lwinmm -limm32 -lole32 \
    -loleaut32 -lshell32 -lsetupapi -lversion -luuid -o "$3/testgl2.exe"
}
