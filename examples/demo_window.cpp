// The courtyard in a window: an ordinary program that gets its GL through the system's names.
#include <cstdio>
#include <vector>

#include "courtyard.h"
#include "demo_arguments.h"
#include "demo_capture.h"
#include "system_gl.h"

namespace {

bool windowClosed = false;

LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM wide, LPARAM narrow) {
  if (message == WM_CLOSE || message == WM_DESTROY || (message == WM_KEYDOWN && wide == VK_ESCAPE)) {
    windowClosed = true;
    return 0;
  }
  return DefWindowProcA(window, message, wide, narrow);
}

HWND MakeWindow(int width, int height) {
  WNDCLASSA windowClass = {};
  windowClass.style = CS_OWNDC;
  windowClass.lpfnWndProc = OnMessage;
  windowClass.hInstance = GetModuleHandleA(nullptr);
  windowClass.hCursor = LoadCursorA(nullptr, reinterpret_cast<LPCSTR>(IDC_ARROW));
  windowClass.lpszClassName = "TLR2 courtyard";
  RegisterClassA(&windowClass);
  RECT frame = {0, 0, width, height};
  constexpr DWORD kStyle = WS_OVERLAPPEDWINDOW & ~static_cast<DWORD>(WS_THICKFRAME | WS_MAXIMIZEBOX);
  AdjustWindowRect(&frame, kStyle, FALSE);
  return CreateWindowA("TLR2 courtyard", "TLR2 courtyard", kStyle | WS_VISIBLE, 40, 40, frame.right - frame.left,
                       frame.bottom - frame.top, nullptr, nullptr, windowClass.hInstance, nullptr);
}

double Seconds() {
  LARGE_INTEGER ticks;
  LARGE_INTEGER frequency;
  QueryPerformanceCounter(&ticks);
  QueryPerformanceFrequency(&frequency);
  return static_cast<double>(ticks.QuadPart) / static_cast<double>(frequency.QuadPart);
}

int Run(const demo::Arguments& arguments, HWND window, HDC device) {
  PIXELFORMATDESCRIPTOR format = {};
  format.nSize = sizeof format;
  format.nVersion = 1;
  format.dwFlags = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL | PFD_DOUBLEBUFFER;
  format.iPixelType = PFD_TYPE_RGBA;
  format.cColorBits = 32;
  format.cDepthBits = 24;
  if (SetPixelFormat(device, ChoosePixelFormat(device, &format), &format) == FALSE) {
    std::fprintf(stderr, "courtyard: no pixel format\n");
    return 1;
  }
  HGLRC context = wglCreateContext(device);
  if (context == nullptr || wglMakeCurrent(device, context) == FALSE) {
    std::fprintf(stderr, "courtyard: no GL context for the window\n");
    return 1;
  }
  std::printf("renderer: %s, %s\n", reinterpret_cast<const char*>(glGetString(GL_VENDOR)),
              reinterpret_cast<const char*>(glGetString(GL_RENDERER)));
  courtyard::Scene* scene = courtyard::CreateScene();
  const double begin = Seconds();
  double shown = 0;
  double mark = begin;
  int markFrame = 0;
  int frame = 0;
  for (; !windowClosed && (arguments.frames == 0 || frame < arguments.frames); ++frame) {
    for (MSG message; PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE) != FALSE;) {
      if (message.message == WM_QUIT) windowClosed = true;
      TranslateMessage(&message);
      DispatchMessageA(&message);
    }
    const double now = Seconds();
    if (now - mark >= 0.5) {
      shown = (frame - markFrame) / (now - mark);
      mark = now;
      markFrame = frame;
    }
    const double time = arguments.start + (arguments.step > 0 ? frame * arguments.step : now - begin);
    courtyard::DrawScene(*scene, arguments.width, arguments.height, time, shown);
    SwapBuffers(device);
  }
  const double elapsed = Seconds() - begin;
  std::printf("%d frames of %dx%d in %.2f s: %.1f frames a second\n", frame, arguments.width, arguments.height, elapsed,
              frame / elapsed);
  std::fflush(stdout);
  int result = 0;
  if (!arguments.screenshot.empty()) {
    // Drawn once more and read before any swap: a read consumes what was drawn.
    const double time = arguments.start + (arguments.step > 0 ? (frame - 1) * arguments.step : elapsed);
    courtyard::DrawScene(*scene, arguments.width, arguments.height, time, shown);
    std::vector<std::uint8_t> pixels(static_cast<std::size_t>(arguments.width) * arguments.height * 4);
    glReadPixels(0, 0, arguments.width, arguments.height, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
    if (!demo::WritePicture(arguments.screenshot, arguments.width, arguments.height, pixels)) result = 1;
  }
  courtyard::DestroyScene(scene);
  wglMakeCurrent(nullptr, nullptr);
  wglDeleteContext(context);
  ReleaseDC(window, device);
  return result;
}

}  // namespace

int main(int count, char** values) {
  demo::Arguments arguments;
  if (const int leave = demo::ParseArguments(count, values, arguments); leave >= 0) return leave;
  if (const int code = demo::RunAgainForCapture(arguments, values); code >= 0) return code;
  HWND window = MakeWindow(arguments.width, arguments.height);
  if (window == nullptr) {
    std::fprintf(stderr, "courtyard: no window\n");
    return 1;
  }
  return Run(arguments, window, GetDC(window));
}
