// The parsers of the environment, the processor test and the start of the pool.
#include "tiles/runtime_config.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "platform/cpu.h"
#include "platform/environment.h"
#include "platform/topology.h"
#include "settings/settings.h"
#include "settings/status.h"
#include "tiles/queue/render_job_queue.h"

namespace tlr2 {
namespace {

struct CutoffSpelling {
  std::int32_t stage;
  const char* text;
};

constexpr CutoffSpelling kCutoffSpellings[] = {
    {0, "0"},
    {0, "command-stream"},
    {0, "null-command-stream"},
    {0, "api-null"},
    {1, "1"},
    {1, "native"},
    {1, "packets"},
    {1, "native-packets"},
    {2, "2"},
    {2, "triangles"},
    {2, "triangle-emit"},
    {3, "3"},
    {3, "prep"},
    {3, "render-prep"},
    {4, "4"},
    {4, "bin"},
    {4, "worker-bin"},
    {4, "null-raster"},
    {5, "5"},
    {5, "full"},
};

struct IsaSpelling {
  const char* text;
  std::int32_t selected;
  const char* name;  // in the message of a forced target
};

constexpr IsaSpelling kIsaSpellings[] = {
    {"auto", -1, ""},   {"sse4", 0, "sse4"}, {"sse4.1", 0, "sse4"},   {"sse41", 0, "sse4"},       {"avx", 1, "avx"},
    {"avx1", 1, "avx"}, {"avx2", 2, "avx2"}, {"avx512", 3, "avx512"}, {"avx512skx", 3, "avx512"},
};

constexpr std::int32_t kCutoffFull = 5;
constexpr std::int32_t kQueueCapacity = 64;
constexpr std::uint32_t kListedGroups = 16;

std::int32_t selectedIsa = -1;

CpuFacts ReadCpuFacts() noexcept {
  const CpuidResult leaf1 = Cpuid(1, 0), leaf7 = Cpuid(7, 0);
  CpuFacts facts = {};
  facts.leaf1Ecx = leaf1.ecx;
  facts.leaf1Edx = leaf1.edx;
  facts.leaf7Ebx = leaf7.ebx;
  if ((leaf1.ecx >> 27 & 1) != 0) facts.xcr0 = Xgetbv0();
  return facts;
}

bool HasBits(std::uint32_t word, std::uint32_t bits) noexcept { return (word & bits) == bits; }

}  // namespace

void NormalizeSpelling(char* text) noexcept {
  for (; *text != '\0'; ++text) {
    if (*text >= 'A' && *text <= 'Z') *text = static_cast<char>(*text - 'A' + 'a');
    if (*text == '\r' || *text == '\n' || *text == ' ') *text = '\0';
    if (*text == '\0') return;
  }
}

std::int32_t CutoffOfSpelling(char* value) noexcept {
  if (value == nullptr || *value == '\0') return kCutoffFull;
  NormalizeSpelling(value);
  for (const CutoffSpelling& known : kCutoffSpellings)
    if (std::strcmp(value, known.text) == 0) return known.stage;
  return kCutoffFull;
}

std::int32_t IsaOfSpelling(char* value, bool (*supported)(std::int32_t selected), char* line,
                           std::size_t lineSize) noexcept {
  constexpr const char* kAutoLine = "[TLR2 ISA = auto (auto-detected by ISPC)]";
  if (value == nullptr || *value == '\0') {
    std::snprintf(line, lineSize, "%s", kAutoLine);
    return -1;
  }
  NormalizeSpelling(value);
  for (const IsaSpelling& known : kIsaSpellings) {
    if (std::strcmp(value, known.text) != 0) continue;
    if (known.selected < 0) {
      std::snprintf(line, lineSize, "%s", kAutoLine);
      return -1;
    }
    if (supported(known.selected)) {
      std::snprintf(line, lineSize, "[TLR2 ISA = %s (forced via TLR2_ISA env var)]", known.name);
      return known.selected;
    }
    std::snprintf(line, lineSize,
                  "[TLR2 ISA = auto (env $TLR2_ISA=\"%s\" is not supported by this CPU/OS; falling back to ISPC "
                  "auto-detect)]",
                  value);
    return -1;
  }
  std::snprintf(line, lineSize,
                "[TLR2 ISA = auto (env $TLR2_ISA=\"%s\" not recognized; falling back to ISPC auto-detect)]", value);
  return -1;
}

std::int32_t ForcedThreads(const char* value) noexcept {
  const long parsed = std::strtol(value, nullptr, 10);
  constexpr long kMost = std::numeric_limits<std::int32_t>::max();
  return static_cast<std::int32_t>(std::clamp(parsed, 0L, kMost));
}

std::int32_t DefaultThreads(std::uint32_t logicalProcessors) noexcept {
  return std::max(static_cast<std::int32_t>(logicalProcessors) - 1, 1);
}

GroupList ListGroups(std::uint32_t groups, std::uint32_t (*processorsOf)(std::uint16_t group)) noexcept {
  GroupList list = {};
  std::size_t used = 0;
  for (std::uint32_t group = 0; group < std::min(groups, kListedGroups); ++group) {
    const std::uint32_t count = processorsOf(static_cast<std::uint16_t>(group));
    list.processors += count;
    const int written = std::snprintf(list.text + used, sizeof list.text - used, group == 0 ? "%u" : ",%u", count);
    if (written > 0) used = std::min(used + static_cast<std::size_t>(written), sizeof list.text - 1);
  }
  return list;
}

void ParseCutoffEnvironment() noexcept {
  char value[32];
  ReadEnvironment("TLR2_PIPELINE_CUTOFF", value, sizeof value);
  Settings().pipelineCutoff = CutoffOfSpelling(value);
}

void ParseIsaEnvironment() noexcept {
  char value[16];
  ReadEnvironment("TLR2_ISA", value, sizeof value);
  selectedIsa = IsaOfSpelling(value, IsaSupported, isaStatusLine, sizeof isaStatusLine);
  Settings().forceIsa = selectedIsa + 1;
}

bool IsaSupportedBy(const CpuFacts& facts, std::int32_t selected) noexcept {
  constexpr std::uint32_t kSse41 = 1u << 19, kOsxsave = 1u << 27, kAvx = 1u << 28;         // leaf 1, ECX
  constexpr std::uint32_t kAvx2 = 1u << 5;                                                 // leaf 7, EBX
  constexpr std::uint32_t kAvx512 = 1u << 16 | 1u << 17 | 1u << 28 | 1u << 30 | 1u << 31;  // F, DQ, CD, BW, VL
  const bool avx = HasBits(facts.leaf1Ecx, kOsxsave | kAvx) && (facts.xcr0 & 6) == 6;
  switch (selected) {
    case -1:
      return true;
    case 0:
      return HasBits(facts.leaf1Ecx, kSse41);
    case 1:
      return avx;
    case 2:
      return avx && HasBits(facts.leaf7Ebx, kAvx2);
    case 3:
      return avx && (facts.xcr0 & 0xE6) == 0xE6 && HasBits(facts.leaf7Ebx, kAvx512);
    default:
      return false;
  }
}

bool IsaSupported(std::int32_t selected) noexcept {
  if (selected == -1) return true;
  // Read once: the question is asked on every frame, and a virtual machine traps the instruction.
  static const CpuFacts facts = ReadCpuFacts();
  return IsaSupportedBy(facts, selected);
}

std::int32_t ResolveForcedIsa(std::int32_t forceIsaWord) noexcept {
  const std::int32_t selected = forceIsaWord >= 1 && forceIsaWord <= 4 ? forceIsaWord - 1 : -1;
  return IsaSupported(selected) ? selected : -1;
}

std::int32_t SelectedIsa() noexcept { return selectedIsa; }

void StartWorkerPool() noexcept {
  char value[16];
  std::int32_t forced = 0;
  if (ReadEnvironment("TLR2_THREADS", value, sizeof value) != 0) forced = ForcedThreads(value);
  std::int32_t cap = forced;
  if (forced > 0) {
    std::snprintf(threadsStatusLine, sizeof threadsStatusLine, "[TLR2 threads = %d (forced via TLR2_THREADS env var)]",
                  forced);
  } else {
    cap = DefaultThreads(ActiveProcessorCount());
    std::snprintf(threadsStatusLine, sizeof threadsStatusLine, "[TLR2 threads = default cap %d (LPs minus producer)]",
                  cap);
  }
  if (!RJQ::StartPool(kQueueCapacity, cap)) return;

  const std::uint32_t groups = ActiveGroupCount();
  const GroupList list = ListGroups(groups, ActiveProcessorCount);
  const std::uint32_t workers = static_cast<std::uint32_t>(RJQ::WorkerCount(RJQ::Pool()));
  std::snprintf(threadsStatusLine, sizeof threadsStatusLine,
                forced > 0
                    ? "[TLR2 threads = %u workers (capped via TLR2_THREADS=%d) | Windows: %lu LPs / %u groups (%s)]"
                    : "[TLR2 threads = %u workers (default, LPs minus producer; cap=%d) | Windows: %lu LPs / %u groups "
                      "(%s)]",
                workers, cap, list.processors, groups, list.text);
}

}  // namespace tlr2
