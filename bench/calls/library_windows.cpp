// The DLL.
#include <windows.h>

#include <cstdio>
#include <cstdlib>

#include "library.h"

namespace bench {
namespace {
HMODULE module = nullptr;
}

void OpenLibrary(const char* path) {
  module = LoadLibraryA(path);
  if (module != nullptr) return;
  std::fprintf(stderr, "bench_calls: %s cannot be loaded: %lu\n", path, GetLastError());
  std::exit(2);
}

void* FindFunction(const char* name) {
  void* function = reinterpret_cast<void*>(GetProcAddress(module, name));
  if (function != nullptr) return function;
  std::fprintf(stderr, "bench_calls: no %s\n", name);
  std::exit(2);
}

}  // namespace bench
