// A program of random calls: random_calls SEED FRAMES, with a clear at the start of every frame. What its captures hold
// is drawn again elsewhere; see random_captures.py.
#include <windows.h>

#include <cstdlib>
#include <functional>

#include "test_window.h"

namespace tlr2::test {
std::function<void(void* window)> RandomProgram(std::uint32_t seed, int frames, bool clears);
}  // namespace tlr2::test

int main(int count, char** arguments) {
  if (count != 3) return 2;
  const auto seed = static_cast<std::uint32_t>(std::strtoul(arguments[1], nullptr, 10));
  const tlr2::test::TestWindow window(320, 240);
  const HGLRC context = window.OpenContext();
  if (context == nullptr) return 4;
  tlr2::test::RandomProgram(seed, std::atoi(arguments[2]), true)(window.deviceContext());
  wglMakeCurrent(nullptr, nullptr);
  wglDeleteContext(context);
  return 0;
}
