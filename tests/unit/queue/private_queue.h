// A queue of the test's own, with as many workers as it wants on whatever machine it runs.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "tiles/queue/ring.h"

namespace RJQ::test {

struct StopAtEnd {
  void operator()(RenderJobQueue* queue) const { StopQueue(queue); }
};
using OwnedQueue = std::unique_ptr<RenderJobQueue, StopAtEnd>;

inline std::vector<tlr2::ProcessorSlot> Processors(int count) {
  std::vector<tlr2::ProcessorSlot> processors;
  for (int i = 0; i < count; ++i)
    processors.push_back({static_cast<std::uint16_t>(i / 32), std::uint64_t{1} << (i % 32), 0});
  return processors;
}

inline OwnedQueue MakeQueue(int workers, QueueOptions options = {}) {
  const auto processors = Processors(workers);
  options.processors = &processors;
  return OwnedQueue(StartQueue(options));
}

inline JobRange Tasks(std::int32_t count) { return JobRange{{0, 0, 0, 0}, count}; }

/// A task that waits until the test opens it.
struct Gate {
  std::atomic<bool> open{false};
  std::atomic<int> entered{0};
  std::atomic<int> left{0};
  static void Pass(const JobRange*, std::int32_t, void* context) {
    auto& gate = *static_cast<Gate*>(context);
    gate.entered.fetch_add(1);
    while (!gate.open.load()) std::this_thread::yield();
    gate.left.fetch_add(1);
  }
};

template <typename Condition>
bool Eventually(Condition condition) {
  for (int i = 0; i < 10000; ++i) {
    if (condition()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return false;
}

}  // namespace RJQ::test
