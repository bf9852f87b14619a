// The shared object.
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

#include "library.h"

namespace bench {
namespace {
void* handle = nullptr;
}

void OpenLibrary(const char* path) {
  handle = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  if (handle != nullptr) return;
  std::fprintf(stderr, "bench_calls: %s\n", dlerror());
  std::exit(2);
}

void* FindFunction(const char* name) {
  void* function = dlsym(handle, name);
  if (function != nullptr) return function;
  std::fprintf(stderr, "bench_calls: no %s\n", name);
  std::exit(2);
}

}  // namespace bench
