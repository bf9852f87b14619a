// How the system's flat processor numbers map to groups, and a set of them as the scheduler calls take it.
#pragma once

#include <sched.h>

#include <climits>
#include <cstddef>

namespace tlr2 {

inline constexpr unsigned kGroupSize = sizeof(void*) == 8 ? 64 : 32;
inline constexpr unsigned kProcessorLimit = 8192;  // what the largest kernel configuration allows

struct ProcessorSet {
  static constexpr unsigned kWordBits = sizeof(unsigned long) * CHAR_BIT;
  unsigned long words[kProcessorLimit / kWordBits];

  bool Has(unsigned processor) const noexcept {
    return (words[processor / kWordBits] >> (processor % kWordBits) & 1) != 0;
  }
  void Add(unsigned processor) noexcept { words[processor / kWordBits] |= 1UL << (processor % kWordBits); }
  cpu_set_t* Native() noexcept { return reinterpret_cast<cpu_set_t*>(words); }
};

/// The processors that the calling thread may run on; empty when the system does not tell.
ProcessorSet AllowedProcessors() noexcept;

}  // namespace tlr2
