// Fault stacks: mapped, with a page below that nobody may touch, and gone with their thread.
#include "platform/posix/fault_stack.h"

#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>

namespace tlr2 {

namespace {

constexpr std::size_t kStackBytes = 128 * 1024;  // address space; what is never touched takes no memory

pthread_once_t keyOnce = PTHREAD_ONCE_INIT;
pthread_key_t key;  // holds the thread's mapping
bool keyMade = false;

std::size_t GuardBytes() noexcept { return static_cast<std::size_t>(sysconf(_SC_PAGESIZE)); }

/// At the thread's end, unless it has put another stack in the place of `mapping` since.
void TakeBack(void* mapping) noexcept {
  stack_t present = {};
  sigaltstack(nullptr, &present);
  if (present.ss_sp == static_cast<char*>(mapping) + GuardBytes()) {
    if ((present.ss_flags & SS_ONSTACK) != 0) return;  // the thread ends in a fault handler, so it stands on it
    stack_t none = {};
    none.ss_flags = SS_DISABLE;
    sigaltstack(&none, nullptr);
  }
  munmap(mapping, GuardBytes() + kStackBytes);
}

void Give() noexcept {
  stack_t present = {};
  if (sigaltstack(nullptr, &present) != 0 || (present.ss_flags & SS_DISABLE) == 0) return;
  pthread_once(&keyOnce, [] { keyMade = pthread_key_create(&key, TakeBack) == 0; });
  if (!keyMade) return;
  const std::size_t bytes = GuardBytes() + kStackBytes;
  void* const mapping =
      mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_STACK, -1, 0);
  if (mapping == MAP_FAILED) return;
  stack_t stack = {};
  stack.ss_sp = static_cast<char*>(mapping) + GuardBytes();
  stack.ss_size = kStackBytes;
  if (mprotect(mapping, GuardBytes(), PROT_NONE) == 0 && pthread_setspecific(key, mapping) == 0) {
    if (sigaltstack(&stack, nullptr) == 0) return;
    pthread_setspecific(key, nullptr);
  }
  munmap(mapping, bytes);
}

}  // namespace

void GiveFaultStack() noexcept {
  const int error = errno;
  Give();
  errno = error;
}

}  // namespace tlr2
