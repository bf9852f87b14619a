// The trace of one call of each entry, byte for byte; and their counters when eight threads call at once.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <thread>
#include <vector>

#include "capture/trace_file.h"
#include "golden_text.h"
#include "sample_calls.h"
#include "scratch_folder.h"
#include "settings/settings.h"

namespace tlr2 {
namespace {

// First in its program: the file's first line must have the number 1.
TEST(TraceText, OneCallOfEachEntry) {
  const std::string home = std::filesystem::current_path().string();
  const test::ScratchFolder folder;
  Settings().pipelineCutoff = 5;
  OpenTrace(0, 9, "env", false);
  for (int i = 0; i < kEntryCount; ++i) test::SampleCall(i);
  EndTrace();
  std::string text = test::FileBytes("TLR2_trace_frames0-9.tlr2-trace");
  // Systems print pointers each in its own way.
  char pointer[32];
  std::snprintf(pointer, sizeof pointer, "=%p", static_cast<void*>(test::room));
  test::ReplaceAll(text, pointer, "=<room>");
  std::snprintf(pointer, sizeof pointer, "=%p", static_cast<void*>(nullptr));
  test::ReplaceAll(text, pointer, "=<null>");
  test::ExpectGolden("trace.txt", text, home);
}

TEST(Counters, AreExactWhenEightThreadsCallEveryStubAtOnce) {
  constexpr int kThreads = 8, kRounds = 400;
  traceFirstFrame = -1;
  std::vector<std::uint64_t> before;
  for (const Counter64& counter : CallCounters) before.push_back(counter.load());
  test::samplePointer = nullptr;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t)
    threads.emplace_back([] {
      for (int round = 0; round < kRounds; ++round)
        for (int i = 0; i < kEntryCount; ++i)
          if (kEntryTable[i].body == EntryBody::kStub) test::kSampleCalls[i]();
    });
  for (std::thread& thread : threads) thread.join();
  for (int i = 0; i < kEntryCount; ++i) {
    const bool stub = kEntryTable[i].body == EntryBody::kStub;
    EXPECT_EQ(CallCounters[i].load() - before[static_cast<std::size_t>(i)], stub ? kThreads * kRounds : 0u)
        << EntryNames[i];
  }
}

}  // namespace
}  // namespace tlr2
