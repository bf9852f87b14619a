// What a trace file holds: calls of each entry in each frame, and how the file ends.
#pragma once

#include <cstdint>
#include <istream>
#include <map>
#include <string>

namespace tlr2::tool {

enum class TraceEnd { kWhole, kCrashed, kCut };
const char* NameOf(TraceEnd end) noexcept;

struct TraceSummary {
  std::string source;                // "env" or "UI"
  std::int32_t first = 0, last = 0;  // the frames that were asked for
  std::string target;                // the line of the chosen instruction set; empty without one
  TraceEnd end = TraceEnd::kCut;
  std::uint64_t lines = 0;       // of calls
  std::uint64_t otherLines = 0;  // that no call looks like
  std::uint64_t leastNumber = 0, greatestNumber = 0;
  std::map<std::int32_t, std::map<std::string, std::uint64_t>> frames;  // calls by qualified name

  /// Sequence numbers that no line has: calls of a trace before this one in the process, or lines that are lost.
  std::uint64_t MissingNumbers() const noexcept {
    return lines == 0 ? 0 : greatestNumber - leastNumber + 1 > lines ? greatestNumber - leastNumber + 1 - lines : 0;
  }
};

/// False for a text that does not begin as a trace does.
bool SummariseTrace(std::istream& in, TraceSummary& summary);

}  // namespace tlr2::tool
