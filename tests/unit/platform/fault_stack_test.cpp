// The stack for faults that a thread has from its first call into the driver to its end.
#if !defined(_WIN32)
#include <errno.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>

#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "platform/thread.h"
#include "platform/thread_block.h"

namespace tlr2 {
namespace {

stack_t PresentStack() {
  stack_t present = {};
  sigaltstack(nullptr, &present);
  return present;
}

void SetStack(std::vector<char>& memory) {
  stack_t stack = {};
  stack.ss_sp = memory.data();
  stack.ss_size = memory.size();
  sigaltstack(&stack, nullptr);
}

int Mappings() {
  std::ifstream maps("/proc/self/maps");
  int count = 0;
  for (std::string line; std::getline(maps, line);) ++count;
  return count;
}

class FaultStack : public testing::Test {
 protected:
  void SetUp() override {
#if defined(TLR2_SANITIZED_ADDRESS)
    GTEST_SKIP() << "SKIPPED: the sanitizer gives every thread a signal stack of its own";
#endif
  }
  static void OnAThread(const std::function<void()>& work) { std::thread(work).join(); }
};

TEST_F(FaultStack, AThreadHasOneFromItsFirstCallOn) {
  OnAThread([] {
    EXPECT_NE(PresentStack().ss_flags & SS_DISABLE, 0) << "before the first call";
    errno = 77;
    CurrentThreadGuard();
    EXPECT_EQ(errno, 77);
    const stack_t present = PresentStack();
    EXPECT_EQ(present.ss_flags & SS_DISABLE, 0);
    EXPECT_GE(present.ss_size, 64u * 1024);
    static_cast<volatile char*>(present.ss_sp)[0] = 1;
    static_cast<volatile char*>(present.ss_sp)[present.ss_size - 1] = 1;
    CurrentThreadGuard();
    EXPECT_EQ(PresentStack().ss_sp, present.ss_sp);
  });
}

TEST_F(FaultStack, TheDriversOwnThreadsHaveOneFromTheirStart) {
  ThreadHandle thread;
  stack_t present = {};
  ASSERT_TRUE(ThreadStart(thread, [](void* out) { *static_cast<stack_t*>(out) = PresentStack(); }, &present));
  EXPECT_TRUE(ThreadWait(thread, kNoTimeout));
  ThreadClose(thread);
  EXPECT_EQ(present.ss_flags & SS_DISABLE, 0);
  EXPECT_NE(present.ss_sp, nullptr);
}

TEST_F(FaultStack, OneThatTheThreadHasAlreadyIsKept) {
  std::vector<char> own(64 * 1024);
  OnAThread([&] {
    SetStack(own);
    CurrentThreadGuard();
    EXPECT_EQ(PresentStack().ss_sp, own.data());
    EXPECT_EQ(PresentStack().ss_size, own.size());
  });
}

TEST_F(FaultStack, OneThatTheThreadSetsLaterIsStillThereWhenTheFirstIsGone) {
  static std::vector<char> own(64 * 1024);
  static bool looked = false;
  OnAThread([] { CurrentThreadGuard(); });  // so that the driver's key is the older one, whose value goes first
  pthread_key_t last;
  ASSERT_EQ(pthread_key_create(&last,
                               [](void*) {
                                 EXPECT_EQ(PresentStack().ss_sp, own.data());
                                 looked = true;
                               }),
            0);
  OnAThread([last] {
    CurrentThreadGuard();
    SetStack(own);
    CurrentThreadGuard();
    EXPECT_EQ(PresentStack().ss_sp, own.data());
    pthread_setspecific(last, &own);
  });
  pthread_key_delete(last);
  EXPECT_TRUE(looked);
}

TEST_F(FaultStack, AThousandThreadsLeaveNothingMapped) {
  std::vector<char> own(64 * 1024);
  const auto lives = [&](int count) {
    for (int i = 0; i < count; ++i)
      OnAThread([&] {
        CurrentThreadGuard();
        if (i % 4 == 3) SetStack(own);
      });
  };
  lives(50);  // what the C library keeps of ended threads for the next ones
  const int before = Mappings();
  lives(1000);
  EXPECT_LE(Mappings(), before + 2);
  EXPECT_GT(before, 0);
}

}  // namespace
}  // namespace tlr2
#endif
