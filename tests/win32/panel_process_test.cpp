// The panel of the driver as a program loads it: once a process, past the driver's release, and gone with the process.
// Exit code 0 when all is right; the end of the process, with the panel open, is part of the test.
#include <windows.h>

#include <cstdio>

#include "test_window.h"

namespace {

int failures = 0;

void Check(bool good, const char* what) {
  std::printf("%s %s\n", good ? "ok    " : "FAILED", what);
  if (!good) ++failures;
}

struct Driver {
  HMODULE module = LoadLibraryW(L"opengl32.dll");
  template <typename Function>
  Function* Find(const char* name) const {
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(GetProcAddress(module, name)));
  }
  void* Open(HDC device) const {
    void* context = Find<void * WINAPI(HDC)>("wglCreateContext")(device);
    Find<BOOL WINAPI(HDC, void*)>("wglMakeCurrent")(device, context);
    return context;
  }
  void Frame(HDC device) const {
    Find<void WINAPI(float, float, float, float)>("glClearColor")(0, 1, 0, 1);
    Find<void WINAPI(unsigned)>("glClear")(0x4100);
    Find<BOOL WINAPI(HDC)>("wglSwapBuffers")(device);
  }
  void Close(void* context) const {
    Find<BOOL WINAPI(HDC, void*)>("wglMakeCurrent")(nullptr, nullptr);
    Find<BOOL WINAPI(void*)>("wglDeleteContext")(context);
  }
};

int Panels() {
  int count = 0;
  for (HWND found = nullptr; (found = FindWindowExW(nullptr, found, L"TLR2_ControlPanel_v1", nullptr)) != nullptr;) {
    DWORD process = 0;
    GetWindowThreadProcessId(found, &process);
    if (process == GetCurrentProcessId()) ++count;
  }
  return count;
}

bool WaitForPanels(int wanted) {
  for (int i = 0; i < 500 && Panels() != wanted; ++i) Sleep(10);
  return Panels() == wanted;
}

}  // namespace

int main() {
  std::setvbuf(stdout, nullptr, _IONBF, 0);
  tlr2::test::TestWindow window(64, 48), other(32, 32);
  {
    Driver driver;
    Check(driver.module != nullptr, "the driver is loaded");
    Sleep(200);
    Check(Panels() == 0, "without a context there is no panel");
    void* context = driver.Open(window.deviceContext());
    Check(context != nullptr && WaitForPanels(1), "the first context opens it");
    void* second = driver.Open(other.deviceContext());
    Sleep(500);
    Check(second != nullptr && Panels() == 1, "a second context opens no second one");
    driver.Close(second);
    driver.Close(context);
    FreeLibrary(driver.module);
  }
  Sleep(300);
  Check(Panels() == 1, "the panel lives on when the program lets the driver go");
  Driver again;
  void* context = again.Open(window.deviceContext());
  Check(context != nullptr, "the driver serves again");
  for (int i = 0; i < 5; ++i) again.Frame(window.deviceContext());
  Check(Panels() == 1, "still with one panel");
  std::printf("%d failed\n", failures);
  return failures == 0 ? 0 : 1;
}
