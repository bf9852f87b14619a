# The bouncing ball of GLFW's examples. It looks every GL entry up by name, and makes a context on its one window.
# shellcheck shell=bash disable=SC2034,SC2154,SC2164
packages=(glfw3)

build_program() {
  cmake -S "$1/glfw3" -B "$2" -G Ninja -DCMAKE_BUILD_TYPE=Release -DGLFW_BUILD_TESTS=OFF -DGLFW_BUILD_DOCS=OFF \
    -DCMAKE_TOOLCHAIN_FILE="$root/cmake/toolchain-i686-w64-mingw32.cmake"
  nice ninja -C "$2" boing
  cp "$2/examples/boing.exe" "$3/"
}
