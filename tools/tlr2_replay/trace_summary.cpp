// Reading a trace file line by line, however long it is.
#include "tlr2_replay/trace_summary.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "tlr2_replay/console.h"

namespace tlr2::tool {
namespace {

// Longer than any line that the driver writes; what is beyond belongs to no trace and is passed over.
constexpr std::size_t kLongestLine = 4096;

/// The next line without its end; false behind the last.
bool NextLine(std::istream& in, std::string& line) {
  line.clear();
  int c;
  while ((c = in.get()) != std::istream::traits_type::eof()) {
    if (c == '\n') return true;
    if (line.size() < kLongestLine) line.push_back(static_cast<char>(c));
  }
  return !line.empty();
}

bool ReadHead(const std::string& line, TraceSummary& summary) {
  char source[32];
  int used = 0;
  if (std::sscanf(line.c_str(), "=== TLR2 trace (%31[^,], frames %" SCNd32 "..%" SCNd32 " inclusive) ===%n", source,
                  &summary.first, &summary.last, &used) != 3)
    return false;
  summary.source = source;
  return used > 0;
}

bool IsEntry(const char* name) {
  return std::strncmp(name, "TLR2::GL::", 10) == 0 || std::strncmp(name, "TLR2::WGL::", 11) == 0;
}

bool ReadNumberedLine(const std::string& line, TraceSummary& summary) {
  std::int32_t frame = 0;
  unsigned long long number = 0;
  char name[128];
  if (std::sscanf(line.c_str(), "[frame=%" SCNd32 "][seq=%llu] %127[^( ]", &frame, &number, name) != 3) return false;
  summary.leastNumber =
      summary.lines + summary.messageLines == 0 ? number : std::min<std::uint64_t>(summary.leastNumber, number);
  summary.greatestNumber = std::max<std::uint64_t>(summary.greatestNumber, number);
  if (IsEntry(name)) {
    ++summary.lines;
    ++summary.frames[frame][name];
  } else {
    ++summary.messageLines;
    ++summary.messages[name];
  }
  return true;
}

}  // namespace

const char* NameOf(TraceEnd end) noexcept {
  return end == TraceEnd::kEnded ? "ended" : end == TraceEnd::kCrashed ? "crashed" : "cut";
}

bool SummariseTrace(std::istream& in, TraceSummary& summary) {
  summary = {};
  std::string line;
  if (!NextLine(in, line) || !ReadHead(line, summary)) return false;
  for (std::uint64_t number = 2; NextLine(in, line); ++number) {
    if (number % 65536 == 0) StopIfInterrupted();
    if (ReadNumberedLine(line, summary)) continue;
    if (line == "=== end of trace ===") {
      summary.end = TraceEnd::kEnded;
    } else if (line == "=== CRASH (vectored handler triggered) ===") {
      summary.end = TraceEnd::kCrashed;
    } else if (number == 2 && !line.empty() && line.front() == '[') {
      summary.target = line;
    } else if (!line.empty()) {
      ++summary.otherLines;
    }
  }
  return true;
}

}  // namespace tlr2::tool
