// A program that dies under the driver, as its arguments say: HOW access|illegal|overflow|divide|killed|sent|caught, or
// ends as programs should, HOW ends; WHERE main|other|armed.
// Built twice: over the driver's rooms, where the other thread is one of the pool's workers, and over the built
// library, where it is a thread of the program's own, armed with a signal stack of its own or not. Exit code 3: it did
// not die; 4: it could not begin.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#include <setjmp.h>
#include <signal.h>
#include <sys/resource.h>
#include <unistd.h>
#endif

#if !defined(TLR2_LIBRARY)
#include "start/library.h"
#include "tiles/queue/render_job_queue.h"
#endif

#if defined(_WIN32) && defined(__i386__)
#define CALLING __attribute__((stdcall))
#else
#define CALLING
#endif

#if !defined(TLR2_LIBRARY)
// Not from the entry table's header, which the system's window header may not meet.
extern "C" void CALLING glBegin(std::uint32_t mode) noexcept;
extern "C" int CALLING wglSwapBuffers(void* hdc) noexcept;
#endif

namespace {

constexpr int kFramesBeforeTheEnd = 150;

const char* how = "";

struct Driver {
  void(CALLING* begin)(std::uint32_t mode);
  int(CALLING* swap)(void* hdc);
};

bool Load(Driver& driver) {
#if !defined(TLR2_LIBRARY)
  tlr2::LibraryStart();
  driver = {glBegin, wglSwapBuffers};
  return RJQ::Pool() != nullptr;
#elif defined(_WIN32)
  const HMODULE library = LoadLibraryA(TLR2_LIBRARY);
  if (library == nullptr) return false;
  const auto find = [library](const char* name) { return reinterpret_cast<void*>(GetProcAddress(library, name)); };
#else
  void* const library = dlopen(TLR2_LIBRARY, RTLD_NOW);
  if (library == nullptr) return false;
  const auto find = [library](const char* name) { return dlsym(library, name); };
#endif
#if defined(TLR2_LIBRARY)
  driver.begin = reinterpret_cast<decltype(driver.begin)>(find("glBegin"));
  driver.swap = reinterpret_cast<decltype(driver.swap)>(find("wglSwapBuffers"));
  return driver.begin != nullptr && driver.swap != nullptr;
#endif
}

[[gnu::noinline]] int Deeper(int depth) {
  volatile char frame[512];
  frame[0] = static_cast<char>(depth);
  frame[511] = frame[0];
  if (depth < 0) return 0;  // never: the stack ends long before
  return Deeper(depth + 1) + frame[511];
}

void Die() {
  if (std::strcmp(how, "access") == 0) {
    volatile int* volatile nowhere = nullptr;
    *nowhere = 1;
  } else if (std::strcmp(how, "illegal") == 0) {
    __asm__ volatile("ud2");
  } else if (std::strcmp(how, "overflow") == 0) {
    std::printf("%d\n", Deeper(0));
  } else if (std::strcmp(how, "divide") == 0) {
    __asm__ volatile("movl $1, %%eax\n\tcltd\n\txorl %%ecx, %%ecx\n\tidivl %%ecx" ::: "eax", "ecx", "edx", "cc");
#if defined(_WIN32)
  } else if (std::strcmp(how, "killed") == 0) {
    TerminateProcess(GetCurrentProcess(), 9);
#else
  } else if (std::strcmp(how, "killed") == 0) {
    kill(getpid(), SIGKILL);
  } else if (std::strcmp(how, "sent") == 0) {
    raise(SIGSEGV);  // no instruction to run again: whoever passes it on must send it on
#endif
  }
}

// The program's own way with faults: the first one is overcome, the second ends it with a code of its own.
constexpr int kCaughtCode = 42;
int caught = 0;

#if defined(_WIN32)
LONG CALLBACK Catch(EXCEPTION_POINTERS* fault) {
  if (++caught == 2) TerminateProcess(GetCurrentProcess(), kCaughtCode);
#if defined(__i386__)
  fault->ContextRecord->Eip += 2;  // behind the two bytes of ud2
#else
  fault->ContextRecord->Rip += 2;
#endif
  return EXCEPTION_CONTINUE_EXECUTION;
}
void CatchFaults() { SetUnhandledExceptionFilter(Catch); }
#else
sigjmp_buf overcome;
void Catch(int) {
  if (++caught == 2) _exit(kCaughtCode);
  siglongjmp(overcome, 1);
}
void CatchFaults() {
  struct sigaction action = {};
  action.sa_handler = Catch;
  sigaction(SIGILL, &action, nullptr);
}
#endif

[[gnu::noinline]] void Fault() { __asm__ volatile("ud2"); }

void FaultTwice(const Driver& driver) {
#if !defined(_WIN32)
  if (sigsetjmp(overcome, 1) == 0)
#endif
    Fault();
  driver.begin(4);
  Fault();
}

void DieElsewhere([[maybe_unused]] const Driver& driver, [[maybe_unused]] bool armed) {
#if defined(TLR2_LIBRARY)
  std::thread([begin = driver.begin, armed] {
#if !defined(_WIN32)
    static char stack[256 * 1024];
    stack_t own = {};
    own.ss_sp = stack;
    own.ss_size = sizeof stack;
    if (armed) sigaltstack(&own, nullptr);
#endif
    begin(4);
    Die();
  }).join();
#else
  const RJQ::JobRange range{{0, 0, 0, 0}, 1};
  RJQ::Enqueue(*RJQ::Pool(), RJQ::kTaskJob, range, [](const RJQ::JobRange*, std::int32_t, void*) { Die(); }, nullptr);
  RJQ::WaitIdle(*RJQ::Pool());
#endif
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) return 2;
  how = arguments[1];
#if !defined(_WIN32)
  const rlimit none{0, 0};
  setrlimit(RLIMIT_CORE, &none);
#endif
  if (std::strcmp(how, "caught") == 0) CatchFaults();
  Driver driver = {};
  if (!Load(driver)) return 4;
  if (std::strcmp(how, "killed") == 0) {
    for (int frame = 0; frame < kFramesBeforeTheEnd; ++frame) {
      driver.begin(4);
      driver.swap(nullptr);
    }
  } else {
    driver.begin(4);
  }
  if (std::strcmp(how, "ends") == 0) {
#if defined(_WIN32)
    // Wine kills a process in the middle of its end if one of its threads was still starting: the driver's have begun
    // by then.
    Sleep(300);
#endif
    return 0;
  }
  if (std::strcmp(how, "caught") == 0) {
    FaultTwice(driver);
  } else if (std::strcmp(arguments[2], "main") == 0) {
    Die();
  } else {
    DieElsewhere(driver, std::strcmp(arguments[2], "armed") == 0);
  }
  return 3;
}
