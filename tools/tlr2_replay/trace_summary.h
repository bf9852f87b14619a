// What a trace file holds: calls of each entry in each frame, messages of the driver, and how the file ends.
#pragma once

#include <cstdint>
#include <istream>
#include <map>
#include <string>

namespace tlr2::tool {

/// The last of the file's marks decides: a program that handled its fault goes on.
enum class TraceEnd { kEnded, kCrashed, kCut };
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
  std::uint64_t messageLines = 0;                 // that the driver itself wrote, numbered as calls are
  std::map<std::string, std::uint64_t> messages;  // by the name of what wrote them

  /// Sequence numbers that no line has: calls of a trace before this one in the process, or lines that are lost.
  std::uint64_t MissingNumbers() const noexcept {
    const std::uint64_t numbered = lines + messageLines;
    if (numbered == 0) return 0;
    const std::uint64_t span = greatestNumber - leastNumber + 1;
    return span > numbered ? span - numbered : 0;
  }
};

/// False for a text that does not begin as a trace does.
bool SummariseTrace(std::istream& in, TraceSummary& summary);

}  // namespace tlr2::tool
