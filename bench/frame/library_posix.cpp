// The libraries on Linux: this driver with its headless windows, and OSMesa with a buffer.
#include <dlfcn.h>
#include <time.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>

#include "library.h"

namespace bench {
namespace {

struct Library {
  void* handle = nullptr;
  bool ours = false;
  Gl gl = {};
  int width = 0, height = 0;
  std::vector<std::uint32_t> buffer;  // the peer's target, and what TargetPicture copies to
  void* window = nullptr;
  void* context = nullptr;
  // ours
  void* (*createWindow)(std::int32_t, std::int32_t) = nullptr;
  void (*destroyWindow)(void*) = nullptr;
  void* (*createContext)(void*) = nullptr;
  int (*makeCurrent)(void*, void*) = nullptr;
  int (*deleteContext)(void*) = nullptr;
  int (*swapBuffers)(void*) = nullptr;
  std::uint32_t (*copyPicture)(void*, std::uint32_t*, std::uint32_t) = nullptr;
  // the peer
  void* (*osCreate)(std::uint32_t, std::int32_t, std::int32_t, std::int32_t, void*) = nullptr;
  unsigned char (*osMakeCurrent)(void*, void*, std::uint32_t, std::int32_t, std::int32_t) = nullptr;
  void (*osDestroy)(void*) = nullptr;
  void (*finish)() = nullptr;
};
Library library;

struct {
  double processor = 0;
  std::vector<double> threads;
} work;

double ClockMilliseconds(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) * 1e-6;
}
double ProcessorMilliseconds() { return ClockMilliseconds(CLOCK_PROCESS_CPUTIME_ID); }

/// Of each thread, in the order in which they were started. By the clock that the system numbers after the thread: what
/// /proc tells of a running one is some milliseconds old.
std::vector<double> ThreadMilliseconds() {
  std::set<int> numbers;
  std::error_code error;
  for (const auto& task : std::filesystem::directory_iterator("/proc/self/task", error))
    numbers.insert(std::atoi(task.path().filename().c_str()));
  std::vector<double> times;
  for (const int number : numbers) times.push_back(ClockMilliseconds(static_cast<clockid_t>(~number * 8 | 6)));
  return times;
}

template <typename Function>
void Find(Function& function, const char* name) {
  void* symbol = dlsym(library.handle, name);
  if (symbol == nullptr) {
    std::fprintf(stderr, "frame_host: no %s in the library\n", name);
    std::exit(2);
  }
  std::memcpy(&function, &symbol, sizeof function);
}

}  // namespace

double Milliseconds() {
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

void StartWork() {
  work.threads = ThreadMilliseconds();
  work.processor = ProcessorMilliseconds();  // last, so that reading the threads' times does not count
}

/// The driver's workers are the threads that it starts first, right after the process's own.
void WorkSinceStart(FrameTimes& times) {
  times.processor = times.chain = ProcessorMilliseconds() - work.processor;
  const char* const setting = std::getenv("TLR2_THREADS");
  const std::size_t workers = library.ours && setting != nullptr ? static_cast<std::size_t>(std::atoi(setting)) : 1;
  const std::vector<double> now = ThreadMilliseconds();
  if (workers < 2 || now.size() != work.threads.size() || now.size() <= workers) return;
  double sum = 0, longest = 0;
  for (std::size_t i = 1; i <= workers; ++i) {
    const double own = now[i] - work.threads[i];
    sum += own;
    longest = std::max(longest, own);
  }
  times.chain -= sum - longest;
}

bool OpenLibrary(const char* kind, const char* path) {
  library.ours = std::strcmp(kind, "tlr2") == 0;
  if (!library.ours && std::strcmp(kind, "osmesa") != 0) return false;
  library.handle = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  if (library.handle == nullptr) {
    std::fprintf(stderr, "frame_host: %s\n", dlerror());
    std::exit(2);
  }
#define BENCH_FIND(name) Find(library.gl.name, "gl" #name);
  BENCH_GL_FUNCTIONS(BENCH_FIND)
#undef BENCH_FIND
  if (library.ours) {
    Find(library.createWindow, "tlr2HeadlessCreateWindow");
    Find(library.destroyWindow, "tlr2HeadlessDestroyWindow");
    Find(library.copyPicture, "tlr2HeadlessCopyPicture");
    Find(library.createContext, "wglCreateContext");
    Find(library.makeCurrent, "wglMakeCurrent");
    Find(library.deleteContext, "wglDeleteContext");
    Find(library.swapBuffers, "wglSwapBuffers");
  } else {
    Find(library.osCreate, "OSMesaCreateContextExt");
    Find(library.osMakeCurrent, "OSMesaMakeCurrent");
    Find(library.osDestroy, "OSMesaDestroyContext");
    Find(library.finish, "glFinish");
  }
  return true;
}

const Gl& LibraryFunctions() { return library.gl; }

bool OpenTarget(int width, int height) {
  library.width = width;
  library.height = height;
  library.buffer.assign(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 0);
  if (library.ours) {
    library.window = library.createWindow(width, height);
    library.context = library.createContext(library.window);
    return library.context != nullptr && library.makeCurrent(library.window, library.context) != 0;
  }
  library.context = library.osCreate(1 /* BGRA */, 24, 0, 0, nullptr);
  return library.context != nullptr &&
         library.osMakeCurrent(library.context, library.buffer.data(), kUnsignedByte, width, height) != 0;
}

void EndFrame() {
  if (library.ours) {
    library.swapBuffers(library.window);
  } else {
    library.finish();
  }
}

double PresentMilliseconds() { return 0; }

std::vector<std::uint32_t> TargetPicture() {
  if (library.ours) {
    library.copyPicture(library.window, library.buffer.data(), static_cast<std::uint32_t>(library.buffer.size()));
    return library.buffer;
  }
  std::vector<std::uint32_t> picture;
  const auto width = static_cast<std::ptrdiff_t>(library.width);
  for (int y = library.height; y-- > 0;)
    picture.insert(picture.end(), library.buffer.begin() + y * width, library.buffer.begin() + (y + 1) * width);
  return picture;
}

void CloseTarget() {
  if (library.ours) {
    library.swapBuffers(library.window);
    library.makeCurrent(nullptr, nullptr);
    library.deleteContext(library.context);
    library.destroyWindow(library.window);
  } else {
    library.osDestroy(library.context);
  }
}

}  // namespace bench
