// What is decided when the library is loaded: threads, target, cutoff.
#pragma once

#include <cstdint>

namespace tlr2 {

/// Parses TLR2_PIPELINE_CUTOFF and TLR2_ISA into the settings and the ISA status line.
void ParseCutoffEnvironment() noexcept;
void ParseIsaEnvironment() noexcept;
/// Reads TLR2_THREADS, starts the global pool and writes the threads status line.
void StartWorkerPool() noexcept;

/// -1 auto (always true), 0 sse4, 1 avx, 2 avx2, 3 avx512skx.
bool IsaSupported(std::int32_t selected) noexcept;
/// Maps the ForceIsa word to a supported target, else -1.
std::int32_t ResolveForcedIsa(std::int32_t forceIsaWord) noexcept;
std::int32_t SelectedIsa() noexcept;

}  // namespace tlr2
