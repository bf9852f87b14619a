// A bare window of an exact client size, and what the screen shows of it.
#pragma once

#include <windows.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace tlr2::test {

class TestWindow {
 public:
  TestWindow(int width, int height) : width_(width), height_(height) {
    WNDCLASSW type = {};
    type.lpfnWndProc = DefWindowProcW;
    type.hInstance = GetModuleHandleW(nullptr);
    type.lpszClassName = L"TestWindow";
    RegisterClassW(&type);
    window_ = CreateWindowExW(WS_EX_TOPMOST, type.lpszClassName, L"", WS_POPUP, kLeft, kTop, width, height, nullptr,
                              nullptr, type.hInstance, nullptr);
    // Without activation: an active window waits for an answer of the window manager, and the rig has none.
    ShowWindow(window_, SW_SHOWNOACTIVATE);
    deviceContext_ = GetDC(window_);
    Pump();
  }
  ~TestWindow() {
    ReleaseDC(window_, deviceContext_);
    DestroyWindow(window_);
    Pump();
  }
  TestWindow(const TestWindow&) = delete;
  TestWindow& operator=(const TestWindow&) = delete;

  HWND handle() const { return window_; }
  HDC deviceContext() const { return deviceContext_; }

  /// A context, made current, of a format with colour and depth; null where there is none. By the platform's names,
  /// which the program must link.
  HGLRC OpenContext() const {
    PIXELFORMATDESCRIPTOR format = {};
    format.nSize = sizeof format;
    format.nVersion = 1;
    format.dwFlags = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL | PFD_DOUBLEBUFFER;
    format.cColorBits = 32;
    format.cDepthBits = 24;
    SetPixelFormat(deviceContext_, ChoosePixelFormat(deviceContext_, &format), &format);
    const HGLRC context = wglCreateContext(deviceContext_);
    return context != nullptr && wglMakeCurrent(deviceContext_, context) != FALSE ? context : nullptr;
  }

  static void Pump() {
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
  }

  /// The pixels of the window's place on the screen, rows from the top, 0xAARRGGBB with an alpha of no meaning.
  std::vector<std::uint32_t> Screen() const {
    std::vector<std::uint32_t> pixels(static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_));
    BITMAPINFO format = {};
    format.bmiHeader.biSize = sizeof format.bmiHeader;
    format.bmiHeader.biWidth = width_;
    format.bmiHeader.biHeight = -height_;
    format.bmiHeader.biPlanes = 1;
    format.bmiHeader.biBitCount = 32;
    HDC screen = GetDC(nullptr);
    HDC memory = CreateCompatibleDC(screen);
    void* bits = nullptr;
    HBITMAP bitmap = CreateDIBSection(memory, &format, DIB_RGB_COLORS, &bits, nullptr, 0);
    HGDIOBJ before = SelectObject(memory, bitmap);
    BitBlt(memory, 0, 0, width_, height_, screen, kLeft, kTop, SRCCOPY);
    GdiFlush();
    std::memcpy(pixels.data(), bits, pixels.size() * sizeof pixels[0]);
    SelectObject(memory, before);
    DeleteObject(bitmap);
    DeleteDC(memory);
    ReleaseDC(nullptr, screen);
    return pixels;
  }

 private:
  static constexpr int kLeft = 40, kTop = 30;
  int width_, height_;
  HWND window_ = nullptr;
  HDC deviceContext_ = nullptr;
};

}  // namespace tlr2::test
