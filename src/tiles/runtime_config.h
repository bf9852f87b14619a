// What is decided when the library is loaded: threads, target, cutoff.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kernels/tile_kernel.h"

namespace tlr2 {

/// Parses TLR2_PIPELINE_CUTOFF and TLR2_ISA into the settings and the ISA status line.
void ParseCutoffEnvironment() noexcept;
void ParseIsaEnvironment() noexcept;
/// Reads TLR2_THREADS, starts the global pool and writes the threads status line.
void StartWorkerPool() noexcept;

/// -1 auto (always true), 0 sse4, 1 avx, 2 avx2, 3 avx512skx.
bool IsaSupported(std::int32_t selected) noexcept;
/// The same question about the processor that `facts` describe.
bool IsaSupportedBy(const CpuFacts& facts, std::int32_t selected) noexcept;
/// Maps the ForceIsa word to a supported target, else -1.
std::int32_t ResolveForcedIsa(std::int32_t forceIsaWord) noexcept;
/// What the environment selected; -1 for auto.
std::int32_t SelectedIsa() noexcept;

/// Lower-cases ASCII letters; the first carriage return, line feed or blank ends the text.
void NormalizeSpelling(char* text) noexcept;
/// Stage 0 to 5 of a value of TLR2_PIPELINE_CUTOFF; 5 for null, empty and unknown ones. Normalises `value`.
std::int32_t CutoffOfSpelling(char* value) noexcept;
/// Target of a value of TLR2_ISA, -1 for auto, and the status line that says why. Normalises `value`; null is unset.
std::int32_t IsaOfSpelling(char* value, bool (*supported)(std::int32_t selected), char* line,
                           std::size_t lineSize) noexcept;
/// The processors of the groups in order, 16 groups at most: a list with commas, and their sum.
struct GroupList {
  char text[96];
  unsigned long processors;
};
GroupList ListGroups(std::uint32_t groups, std::uint32_t (*processorsOf)(std::uint16_t group)) noexcept;

/// The cap that a value of TLR2_THREADS forces; 0 for none.
std::int32_t ForcedThreads(const char* value) noexcept;
/// The cap without one: the thread that renders keeps a logical processor for itself, where there is another.
std::int32_t DefaultThreads(std::uint32_t logicalProcessors) noexcept;

}  // namespace tlr2
