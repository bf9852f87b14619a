// Processors from the scheduler's mask and the kernel's topology files. A process that is confined to some processors
// sees only those.
#include "platform/topology.h"

#include <cstdio>
#include <cstdlib>

#include "platform/posix/processor_groups.h"

namespace tlr2 {

namespace {

/// Reads a list such as "0-3,8" from `path`; empty when there is no such file.
ProcessorSet ReadProcessorList(const char* path) noexcept {
  ProcessorSet set{};
  std::FILE* file = std::fopen(path, "re");
  if (file == nullptr) return set;
  unsigned first = 0;
  while (std::fscanf(file, "%u", &first) == 1) {
    unsigned last = first;
    int separator = std::fgetc(file);
    if (separator == '-') {
      if (std::fscanf(file, "%u", &last) != 1) break;
      separator = std::fgetc(file);
    }
    for (unsigned i = first; i <= last && i < kProcessorLimit; ++i) set.Add(i);
    if (separator != ',') break;
  }
  std::fclose(file);
  return set;
}

ProcessorSet HardwareThreadsOfCore(unsigned processor) noexcept {
  char path[96];
  std::snprintf(path, sizeof path, "/sys/devices/system/cpu/cpu%u/topology/thread_siblings_list", processor);
  ProcessorSet set = ReadProcessorList(path);
  set.Add(processor);
  return set;
}

struct NumaNodes {
  std::vector<std::uint16_t> nodeOf = std::vector<std::uint16_t>(kProcessorLimit, kNumaUnknown);

  NumaNodes() {
    const ProcessorSet nodes = ReadProcessorList("/sys/devices/system/node/online");
    for (unsigned node = 0; node < kProcessorLimit; ++node) {
      if (!nodes.Has(node)) continue;
      char path[64];
      std::snprintf(path, sizeof path, "/sys/devices/system/node/node%u/cpulist", node);
      const ProcessorSet members = ReadProcessorList(path);
      for (unsigned i = 0; i < kProcessorLimit; ++i)
        if (members.Has(i) && nodeOf[i] == kNumaUnknown) nodeOf[i] = static_cast<std::uint16_t>(node);
    }
  }
};

std::uint32_t CountIn(const ProcessorSet& set, unsigned first, unsigned end) noexcept {
  std::uint32_t count = 0;
  for (unsigned i = first; i < end && i < kProcessorLimit; ++i) count += set.Has(i) ? 1u : 0u;
  return count;
}

}  // namespace

ProcessorSet AllowedProcessors() noexcept {
  ProcessorSet set{};
  if (sched_getaffinity(0, sizeof set, set.Native()) != 0) return ProcessorSet{};
  return set;
}

std::vector<ProcessorSlot> EnumerateProcessors() {
  const ProcessorSet allowed = AllowedProcessors();
  const NumaNodes numa;
  std::vector<ProcessorSlot> slots;
  ProcessorSet listed{};
  for (unsigned first = 0; first < kProcessorLimit; ++first) {
    if (!allowed.Has(first) || listed.Has(first)) continue;
    const ProcessorSet core = HardwareThreadsOfCore(first);
    for (unsigned i = first; i < kProcessorLimit; ++i) {
      if (!core.Has(i) || !allowed.Has(i) || listed.Has(i)) continue;
      listed.Add(i);
      slots.push_back(
          {static_cast<std::uint16_t>(i / kGroupSize), std::uint64_t{1} << (i % kGroupSize), numa.nodeOf[i]});
    }
  }
  return slots;
}

std::uint32_t ActiveProcessorCount() noexcept { return CountIn(AllowedProcessors(), 0, kProcessorLimit); }

std::uint16_t ActiveGroupCount() noexcept {
  const ProcessorSet allowed = AllowedProcessors();
  for (unsigned i = kProcessorLimit; i-- > 0;)
    if (allowed.Has(i)) return static_cast<std::uint16_t>(i / kGroupSize + 1);
  return 0;
}

std::uint32_t ActiveProcessorCount(std::uint16_t group) noexcept {
  return CountIn(AllowedProcessors(), group * kGroupSize, group * kGroupSize + kGroupSize);
}

}  // namespace tlr2
