// The logical processors of the machine.
#pragma once

#include <cstdint>
#include <vector>

namespace tlr2 {

inline constexpr std::uint16_t kNumaUnknown = 0xFFFF;

struct ProcessorSlot {
  std::uint16_t group = 0;
  std::uint64_t mask = 0;  // exactly one bit; processors of a group are 64 at most on 64-bit systems, 32 otherwise
  std::uint16_t numaNode = kNumaUnknown;
};

/// One slot a logical processor, core after core in the system's order, the hardware threads of a core next to each
/// other from the lowest mask bit up. Empty when the system does not tell.
std::vector<ProcessorSlot> EnumerateProcessors();
std::uint32_t ActiveProcessorCount() noexcept;  // over all groups
std::uint16_t ActiveGroupCount() noexcept;
std::uint32_t ActiveProcessorCount(std::uint16_t group) noexcept;

}  // namespace tlr2
