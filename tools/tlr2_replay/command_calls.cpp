// calls: the frames' streams as GL calls.
#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <regex>

#include "tlr2_replay/console.h"
#include "tlr2_replay/load.h"
#include "tlr2_replay/options.h"
#include "tlr2_replay/record_text.h"
#include "tlr2_replay/session_arguments.h"

namespace tlr2::tool {
namespace {

constexpr std::uint32_t kRecordsBetweenLooks = 4096;

struct CallFilter {
  std::vector<FrameSpan> records, primitives;  // empty: all
  std::optional<std::regex> pattern;

  static bool Holds(const std::vector<FrameSpan>& spans, std::uint32_t value) noexcept {
    if (spans.empty()) return true;
    for (const FrameSpan& span : spans) {
      if (span.first <= value && value <= span.last) return true;
    }
    return false;
  }
  bool Place(std::uint32_t record, std::uint32_t primitive) const noexcept {
    return Holds(records, record) &&
           (primitives.empty() || (primitive != PrimitiveCounter::kNone && Holds(primitives, primitive)));
  }
};

class CallPrinter {
 public:
  explicit CallPrinter(bool json) : json_(json) {
    if (json_) std::fputs("[", stdout);
  }
  void Print(std::uint32_t frame, std::uint32_t record, std::uint32_t primitive, const CallText& call,
             const std::string& line) {
    const bool inside = primitive != PrimitiveCounter::kNone;
    if (!json_) {
      const std::string place = Format("%u:%u", static_cast<unsigned>(frame), static_cast<unsigned>(record));
      const std::string pair = inside ? Format("p%u", static_cast<unsigned>(primitive)) : "";
      std::printf("%-10s %-6s %s\n", place.c_str(), pair.c_str(), line.c_str());
      return;
    }
    nlohmann::ordered_json entry = {{"frame", frame}, {"record", record}};
    entry["primitive"] = inside ? nlohmann::ordered_json(primitive) : nlohmann::ordered_json();
    entry["call"] = call.name;
    nlohmann::ordered_json& arguments = entry["arguments"] = nlohmann::ordered_json::object();
    for (const CallArgument& argument : call.arguments) {
      // Lists of numbers and numbers read as JSON as they stand.
      nlohmann::ordered_json value;
      if (argument.number || argument.text.front() == '[') {
        value = nlohmann::ordered_json::parse(argument.text, nullptr, false);
      }
      if (value.is_null() || value.is_discarded()) value = argument.text;
      arguments[argument.name] = value;
    }
    std::printf("%s\n  %s", first_ ? "" : ",", entry.dump().c_str());
    first_ = false;
  }
  void End() {
    if (json_) std::fputs(first_ ? "]\n" : "\n]\n", stdout);
  }

 private:
  bool json_;
  bool first_ = true;
};

void PrintFrame(const CaptureContents& contents, std::uint32_t frame, const CallFilter& filter, CallPrinter& printer) {
  PrimitiveCounter primitives;
  for (RecordWalk walk(contents.streams[frame]); walk.Next();) {
    if (walk.index() % kRecordsBetweenLooks == 0) StopIfInterrupted();
    const std::uint32_t primitive = primitives.Of(walk);
    if (!filter.Place(walk.index(), primitive)) continue;
    const CallText call = DescribeRecord(walk, contents.blobs[frame]);
    const std::string line = call.Line();
    if (filter.pattern && !std::regex_search(line, *filter.pattern)) continue;
    printer.Print(frame, walk.index(), primitive, call, line);
  }
}

void RequirePlaces(const std::vector<FrameSpan>& spans, std::uint32_t most, const char* what) {
  for (const FrameSpan& span : spans) {
    if (span.first < most) continue;
    FailUsage(Format("no %s %u: these frames have at most %u, counted from 0", what, static_cast<unsigned>(span.first),
                     static_cast<unsigned>(most)));
  }
}

/// That each span of --records and of --primitives begins inside at least one of the frames.
void CheckPlaces(const CaptureContents& contents, const std::vector<std::uint32_t>& frames, const CallFilter& filter) {
  if (filter.records.empty() && filter.primitives.empty()) return;
  std::uint32_t records = 0, primitives = 0;  // the most of a frame
  for (const std::uint32_t frame : frames) {
    PrimitiveCounter counter;
    for (RecordWalk walk(contents.streams[frame]); walk.Next();) {
      if (walk.index() % kRecordsBetweenLooks == 0) StopIfInterrupted();
      records = std::max(records, walk.index() + 1);
      const std::uint32_t primitive = counter.Of(walk);
      if (primitive != PrimitiveCounter::kNone) primitives = std::max(primitives, primitive + 1);
    }
  }
  RequirePlaces(filter.records, records, "record");
  RequirePlaces(filter.primitives, primitives, "primitive");
}

}  // namespace

int RunCalls(const Words& words) {
  CommandLine line("calls");
  std::string file, frames, records, primitives, pattern;
  line.AddFile(file);
  line.Add("--frames", frames, "Frames, as in 0-9,20; all without it");
  line.Add("--records", records, "Records of each frame, as in 0-9,20");
  line.Add("--primitives", primitives, "Primitives of each frame, from glBegin to glEnd, as in 0-9,20");
  line.Add("--grep", pattern, "Only calls whose line matches this regular expression");
  line.AddJson();
  if (const auto code = line.Parse(words)) return *code;

  CallFilter filter;
  if (!records.empty()) filter.records = ParseFrameSpans(records);
  if (!primitives.empty()) filter.primitives = ParseFrameSpans(primitives);
  if (!pattern.empty()) {
    try {
      filter.pattern.emplace(pattern);
    } catch (const std::regex_error& error) {
      FailUsage("--grep: " + std::string(error.what()));
    }
  }
  const CaptureContents contents = LoadCapture(file);
  const auto selected = SelectFrames(frames, static_cast<std::uint32_t>(contents.streams.size()));
  CheckPlaces(contents, selected, filter);
  CallPrinter printer(line.json);
  for (const std::uint32_t frame : selected) PrintFrame(contents, frame, filter, printer);
  printer.End();
  return kDone;
}

}  // namespace tlr2::tool
