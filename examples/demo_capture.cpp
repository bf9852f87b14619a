// The second start, by each system's own call.
#include "demo_capture.h"

#include <cstdio>
#include <cstdlib>
#ifdef _WIN32
#include <process.h>
#include <windows.h>
#else
#include <unistd.h>
#endif

namespace demo {
namespace {

constexpr const char* kFrames = "TLR2_CAPTURE_FRAMES";
constexpr const char* kPixels = "TLR2_CAPTURE_REFERENCE_PIXELS";

#ifdef _WIN32
int StartAgain(char** values) {
  char path[MAX_PATH];
  const DWORD length = GetModuleFileNameA(nullptr, path, sizeof path);
  if (length == 0 || length >= sizeof path) return 1;
  // Arguments with blanks need quotes: the C library joins them with blanks.
  std::vector<std::string> quoted;
  for (char** value = values; *value != nullptr; ++value) quoted.push_back('"' + std::string(*value) + '"');
  std::vector<const char*> words;
  for (const std::string& word : quoted) words.push_back(word.c_str());
  words.push_back(nullptr);
  return static_cast<int>(_spawnv(_P_WAIT, path, words.data()));
}
void Set(const char* name, const char* value) { _putenv_s(name, value); }
#else
int StartAgain(char** values) {
  execv("/proc/self/exe", values);
  return 1;  // only when it could not be started
}
void Set(const char* name, const char* value) { setenv(name, value, 1); }
#endif

}  // namespace

int RunAgainForCapture(const Arguments& arguments, char** values) {
  if (arguments.capture.empty()) return -1;
  if (const char* present = std::getenv(kFrames); present != nullptr && arguments.capture == present) return -1;
  Set(kFrames, arguments.capture.c_str());
  Set(kPixels, arguments.referencePixels ? "1" : "0");
  std::fflush(nullptr);
  const int code = StartAgain(values);
  if (code != 0) std::fprintf(stderr, "courtyard: the run for the capture ended with code %d\n", code);
  return code < 0 ? 1 : code;
}

}  // namespace demo
