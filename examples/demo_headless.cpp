// The courtyard without a window: the native library, its picture as a PNG.
#include <chrono>
#include <cstdio>
#include <vector>

#include "courtyard.h"
#include "demo_arguments.h"
#include "demo_capture.h"
#include "system_gl.h"
#include "tlr2/headless.h"

extern "C" {
void* wglCreateContext(void* device);
int wglMakeCurrent(void* device, void* context);
int wglDeleteContext(void* context);
int wglSwapBuffers(void* device);
}

namespace {

double Seconds() { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(); }

int Run(const demo::Arguments& arguments, void* window) {
  void* context = wglCreateContext(window);
  if (context == nullptr || wglMakeCurrent(window, context) == 0) {
    std::fprintf(stderr, "courtyard: no GL context\n");
    return 1;
  }
  courtyard::Scene* scene = courtyard::CreateScene();
  const int frames = arguments.frames > 0 ? arguments.frames : 120;
  const double step = arguments.step > 0 ? arguments.step : 1.0 / 60;
  const double begin = Seconds();
  for (int frame = 0; frame < frames; ++frame) {
    const double elapsed = Seconds() - begin;
    courtyard::DrawScene(*scene, arguments.width, arguments.height, arguments.start + frame * step,
                         frame > 0 ? frame / elapsed : 0);
    wglSwapBuffers(window);
  }
  const double elapsed = Seconds() - begin;
  std::printf("%d frames of %dx%d in %.2f s: %.1f frames a second\n", frames, arguments.width, arguments.height,
              elapsed, frames / elapsed);
  int result = 0;
  if (!arguments.screenshot.empty()) {
    const auto count = static_cast<std::uint32_t>(arguments.width * arguments.height);
    std::vector<std::uint32_t> shown(count);
    if (tlr2HeadlessCopyPicture(window, shown.data(), count) != count) {
      std::fprintf(stderr, "courtyard: no picture was shown\n");
      return 1;
    }
    // Shown rows run from the top, words are 0xAARRGGBB; the PNG writer takes RGBA rows from the bottom.
    std::vector<std::uint8_t> pixels(static_cast<std::size_t>(count) * 4);
    for (int y = 0; y < arguments.height; ++y) {
      for (int x = 0; x < arguments.width; ++x) {
        const std::uint32_t word = shown[static_cast<std::size_t>(arguments.height - 1 - y) * arguments.width + x];
        std::uint8_t* to = &pixels[(static_cast<std::size_t>(y) * arguments.width + x) * 4];
        to[0] = static_cast<std::uint8_t>(word >> 16);
        to[1] = static_cast<std::uint8_t>(word >> 8);
        to[2] = static_cast<std::uint8_t>(word);
        to[3] = static_cast<std::uint8_t>(word >> 24);
      }
    }
    if (!demo::WritePicture(arguments.screenshot, arguments.width, arguments.height, pixels)) result = 1;
  }
  courtyard::DestroyScene(scene);
  wglMakeCurrent(nullptr, nullptr);
  wglDeleteContext(context);
  return result;
}

}  // namespace

int main(int count, char** values) {
  demo::Arguments arguments;
  if (const int leave = demo::ParseArguments(count, values, arguments); leave >= 0) return leave;
  if (const int code = demo::RunAgainForCapture(arguments, values); code >= 0) return code;
  void* window = tlr2HeadlessCreateWindow(arguments.width, arguments.height);
  if (window == nullptr) {
    std::fprintf(stderr, "courtyard: no window of that size\n");
    return 1;
  }
  const int result = Run(arguments, window);
  tlr2HeadlessDestroyWindow(window);
  return result;
}
