// The panel of the driver as a program loads it: once a process, past the driver's release, and gone with the process.
// It shows what the store holds but for the target, which each start forgets. Exit code 0 when all is right; the end of
// the process, with the panel open, is part of the test.
#include <windows.h>

#include <cstdio>
#include <cstring>

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

constexpr wchar_t kStore[] = L"Software\\TLR2\\Driver";

void Store(const wchar_t* name, DWORD value) {
  Check(RegSetKeyValueW(HKEY_CURRENT_USER, kStore, name, REG_DWORD, &value, sizeof value) == ERROR_SUCCESS,
        "a value is stored");
}

DWORD Stored(const wchar_t* name) {
  DWORD value = 99, size = sizeof value;
  RegGetValueW(HKEY_CURRENT_USER, kStore, name, RRF_RT_REG_DWORD, nullptr, &value, &size);
  return value;
}

/// A panel of this process; the last found.
HWND panel = nullptr;

int Panels() {
  int count = 0;
  for (HWND found = nullptr; (found = FindWindowExW(nullptr, found, L"TLR2_ControlPanel_v1", nullptr)) != nullptr;) {
    DWORD process = 0;
    GetWindowThreadProcessId(found, &process);
    if (process != GetCurrentProcessId()) continue;
    ++count;
    panel = found;
  }
  return count;
}

bool WaitForPanels(int wanted) {
  for (int i = 0; i < 500 && Panels() != wanted; ++i) Sleep(10);
  return Panels() == wanted;
}

void CheckWhatItShows() {
  SendMessageW(panel, WM_NULL, 0, 0);  // answered once the controls are there
  char text[64] = {};
  SendMessageA(GetDlgItem(panel, 190), WM_GETTEXT, sizeof text, reinterpret_cast<LPARAM>(text));
  Check(std::strcmp(text, "Auto") == 0, "the stored target is not shown");
  Check(SendMessageW(GetDlgItem(panel, 190), CB_GETCURSEL, 0, 0) == 0, "the first item is chosen");
  Check(SendMessageW(GetDlgItem(panel, 141), BM_GETCHECK, 0, 0) == BST_CHECKED, "another stored value is");
  Check(Stored(L"ForceIsa") == 3, "the store keeps its target until a choice is made");
  SendMessageW(GetDlgItem(panel, 141), BM_CLICK, 0, 0);
  Check(Stored(L"ForceIsa") == 0 && Stored(L"DisableHiZ") == 0, "a choice stores what the panel shows");
}

}  // namespace

int main() {
  std::setvbuf(stdout, nullptr, _IONBF, 0);
  SetEnvironmentVariableW(L"TLR2_ISA", nullptr);
  Store(L"ForceIsa", 3);
  Store(L"DisableHiZ", 1);
  tlr2::test::TestWindow window(64, 48), other(32, 32);
  {
    Driver driver;
    Check(driver.module != nullptr, "the driver is loaded");
    Sleep(200);
    Check(Panels() == 0, "without a context there is no panel");
    void* context = driver.Open(window.deviceContext());
    Check(context != nullptr && WaitForPanels(1), "the first context opens it");
    CheckWhatItShows();
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
  RegDeleteKeyW(HKEY_CURRENT_USER, kStore);
  std::printf("%d failed\n", failures);
  return failures == 0 ? 0 : 1;
}
