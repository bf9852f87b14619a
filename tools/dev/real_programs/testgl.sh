# SDL 1.2's rotating cube, with a logo in orthographic projection on demand. It imports the GL entries at load time.
# shellcheck shell=bash disable=SC2034,SC2154,SC2164
packages=(libsdl1.2)

build_program() {
  local cc=i686-w64-mingw32-gcc-posix
  cd "$2"
  [ -f Makefile ] || "$1/libsdl1.2/configure" --host=i686-w64-mingw32 CC=$cc --disable-shared --enable-static \
    --disable-cdrom --disable-directx --disable-audio --disable-stdio-redirect --disable-nasm
  nice make -j2
  $cc -O2 -DHAVE_OPENGL -Iinclude -I"$1/libsdl1.2/include" "$1/libsdl1.2/test/testgl.c" -static -Lbuild/.libs -lmingw32 -lSDLmain -lSDL -lopengl32 \
    -luser32 -lgdi32 -lwinmm -o "$3/testgl.exe"
  cp "$1/libsdl1.2/test/icon.bmp" "$3/"
}
