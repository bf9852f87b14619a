// Whether an entry asks for a trace line at all. The linker leads each call of TraceCall to the counter here, which
// goes on to the real one: that one looks at the range again, so lines alone would not tell.
#include <cstdint>
#include <limits>

#include "../../diagnostics/sample_calls.h"
#include "entry_fixture.h"

extern "C" std::uint32_t traceCallsSeen asm("traceCallsSeen");
std::uint32_t traceCallsSeen = 0;

// In assembly, since a function of any number of arguments cannot pass them on. The library's name for the function is
// also named in tests/CMakeLists.txt.
#define TEXT_OF(x) TEXT_OF_EXPANDED(x)
#define TEXT_OF_EXPANDED(x) #x
#define SYMBOL(name) TEXT_OF(__USER_LABEL_PREFIX__) name
#define TRACE_CALL "_ZN4tlr29TraceCallEPKcS1_z"
#if defined(__x86_64__)
#define COUNT_ONE "incl traceCallsSeen(%rip)\n"
#else
#define COUNT_ONE "incl traceCallsSeen\n"
#endif
asm(".text\n.globl " SYMBOL("__wrap_" TRACE_CALL) "\n" SYMBOL("__wrap_" TRACE_CALL) ":\n" COUNT_ONE "jmp " SYMBOL(
    "__real_" TRACE_CALL) "\n");

namespace tlr2 {
namespace {

class TraceGate : public Entries {
 protected:
  void TearDown() override {
    traceFirstFrame = -1;
    traceLastFrame = -1;
    Entries::TearDown();
  }
  /// Calls of TraceCall that a call of row `i` makes.
  static std::uint32_t SeenOf(int i) {
    traceCallsSeen = 0;
    test::SampleCall(i);
    return traceCallsSeen;
  }
};

TEST_F(TraceGate, OnlyAFrameInTheRangeReachesTheTrace) {
  // Swaps are among the calls: the ranges stay ahead of them, behind them, or around them.
  constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
  const std::int32_t frame = currentFrame.load();
  for (int i = 0; i < kEntryCount; ++i) {
    traceFirstFrame = -1;
    traceLastFrame = kMost;
    EXPECT_EQ(SeenOf(i), 0u) << EntryNames[i] << " with no trace";
    traceFirstFrame = kMost - 1;
    EXPECT_EQ(SeenOf(i), 0u) << EntryNames[i] << " before the range";
    currentFrame = frame + 100;
    traceFirstFrame = frame;
    traceLastFrame = frame + 99;
    EXPECT_EQ(SeenOf(i), 0u) << EntryNames[i] << " behind the range";
    currentFrame = frame;
    traceLastFrame = kMost;
    EXPECT_GE(SeenOf(i), 1u) << EntryNames[i];
    traceFirstFrame = frame + 1;
    currentFrame = frame + 1;
    EXPECT_GE(SeenOf(i), 1u) << EntryNames[i] << " in the first frame";
    currentFrame = frame;
  }
}

TEST_F(TraceGate, ASuppressedThreadNeverReachesTheTrace) {
  traceFirstFrame = 0;
  traceLastFrame = std::numeric_limits<std::int32_t>::max();
  CurrentThreadGuard().suppress = true;
  for (int i = 0; i < kEntryCount; ++i) EXPECT_EQ(SeenOf(i), 0u) << EntryNames[i];
}

}  // namespace
}  // namespace tlr2
