// The processors' load, read by one thread in each processor group: a thread sees its own group's times only.
#pragma once

#include <cstdint>

#include "platform/system_times.h"

namespace tlr2 {

struct LoadSampler;

/// How the threads read the times of their group. A test's own may fail, or come late.
using ReadTimes = bool (*)(SystemTimes& times) noexcept;

/// Starts the threads; null when they cannot be had.
LoadSampler* StartLoadSampler(ReadTimes read = ReadSystemTimes) noexcept;
/// Reads all groups and gives the load in percent since the reading before; `kept` for the first reading, and when a
/// group does not answer within a tenth of a second.
std::int32_t SampleLoad(LoadSampler* sampler, std::int32_t kept) noexcept;
/// Ends the threads, waiting a quarter of a second for each. Null does nothing.
void StopLoadSampler(LoadSampler* sampler) noexcept;

}  // namespace tlr2
