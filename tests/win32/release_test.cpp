// A program that loads the driver and lets it go without a context: nothing of the driver may point at what is gone.
// Besides, what loading does to error dialogs; with the argument "abort", the program aborts under the driver.
// Exit code 0 when all is right.
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

int handled = 0;

/// Steps over the two bytes of the instruction. It stands behind the driver's own handler.
LONG CALLBACK Handle(EXCEPTION_POINTERS* fault) {
  if (fault->ExceptionRecord->ExceptionCode != static_cast<DWORD>(EXCEPTION_ILLEGAL_INSTRUCTION))
    return EXCEPTION_CONTINUE_SEARCH;
  ++handled;
#if defined(__i386__)
  fault->ContextRecord->Eip += 2;
#else
  fault->ContextRecord->Rip += 2;
#endif
  return EXCEPTION_CONTINUE_EXECUTION;
}

[[gnu::noinline]] void Fault() { __asm__ volatile("ud2"); }

bool Check(bool good, const char* what) {
  std::printf("%s %s\n", good ? "ok    " : "FAILED", what);
  return good;
}

constexpr UINT kNoDialogs = SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX;
static_assert(kNoDialogs == 0x8003);

/// Runs this program with "abort": it ends soon, with the C runtime's own code. A dialog would keep it.
bool AbortEndsWithoutADialog() {
  wchar_t name[MAX_PATH] = {}, line[] = L"release abort";
  GetModuleFileNameW(nullptr, name, MAX_PATH);
  STARTUPINFOW start = {};
  start.cb = sizeof start;
  PROCESS_INFORMATION child = {};
  if (CreateProcessW(name, line, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start, &child) == FALSE) return false;
  constexpr DWORD kPatienceMs = 20000, kAbortCode = 3;
  DWORD code = 0;
  if (WaitForSingleObject(child.hProcess, kPatienceMs) != WAIT_OBJECT_0) TerminateProcess(child.hProcess, 1);
  WaitForSingleObject(child.hProcess, INFINITE);
  GetExitCodeProcess(child.hProcess, &code);
  CloseHandle(child.hThread);
  CloseHandle(child.hProcess);
  return code == kAbortCode;
}

}  // namespace

int main(int count, char** arguments) {
  std::setvbuf(stdout, nullptr, _IONBF, 0);
  SetErrorMode(0);
  const bool none = GetErrorMode() == 0;
  HMODULE driver = LoadLibraryW(L"opengl32.dll");
  if (count == 2 && std::strcmp(arguments[1], "abort") == 0 && driver != nullptr) std::abort();
  bool good = Check(driver != nullptr && GetProcAddress(driver, "wglCreateContext") != nullptr, "the driver is loaded");
  wchar_t here[MAX_PATH] = {}, loaded[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, here, MAX_PATH);
  GetModuleFileNameW(driver, loaded, MAX_PATH);
  *(wcsrchr(here, L'\\') + 1) = *(wcsrchr(loaded, L'\\') + 1) = L'\0';
  good = Check(lstrcmpiW(here, loaded) == 0, "it is the one beside the program") && good;
  good = Check(none && (GetErrorMode() & kNoDialogs) == kNoDialogs, "the process shows no error dialogs") && good;
  good = Check((GetThreadErrorMode() & kNoDialogs) == kNoDialogs, "nor does the thread that loaded it") && good;
  good = Check(AbortEndsWithoutADialog(), "nor does an abort") && good;
  AddVectoredExceptionHandler(0, Handle);
  // Once for the program, and for whichever libraries beneath the driver look for this name too.
  for (int i = 0; i < 32; ++i) FreeLibrary(driver);
  Sleep(300);  // its workers leave their spinning, and wake up
  good = Check(GetModuleHandleW(L"opengl32.dll") == driver, "the driver stays for its workers") && good;
  Fault();
  good = Check(handled == 1, "a fault passes by its handler to the program's") && good;
  HMODULE again = LoadLibraryW(L"opengl32.dll");
  good = Check(again == driver, "loading it again finds it") && good;
  FreeLibrary(again);
  Sleep(50);
  Fault();
  good = Check(handled == 2, "and again") && good;
  return good ? 0 : 1;
}
