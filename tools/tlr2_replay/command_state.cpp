// state: what the driver state is before a record, and what changed between two records.
#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "capture/record_walk.h"
#include "tlr2_replay/console.h"
#include "tlr2_replay/json_output.h"
#include "tlr2_replay/load.h"
#include "tlr2_replay/options.h"
#include "tlr2_replay/state_text.h"
#include "tlr2_replay/state_walk.h"

namespace tlr2::tool {
namespace {

using Json = nlohmann::ordered_json;

/// Before record `record` of frame `frame`; a record equal to the frame's count stands for its end.
struct Point {
  std::uint32_t frame, record;
};

Point ParsePoint(const std::string& text) {
  const std::size_t colon = text.find(':');
  const auto frame = ParseNumber(text.substr(0, colon));
  const auto record = colon == std::string::npos ? std::nullopt : ParseNumber(text.substr(colon + 1));
  if (!frame || !record) FailUsage("'" + text + "' is no place such as 3:120, which is frame 3, before record 120");
  return {*frame, *record};
}

std::uint32_t CountRecords(const ByteVector& stream) noexcept {
  std::uint32_t count = 0;
  for (RecordWalk walk(stream); walk.Next();) ++count;
  return count;
}

Json StateAt(CaptureContents& contents, const Point& point) {
  if (point.frame >= contents.streams.size()) {
    FailNoFrame(point.frame, contents.streams.size());
  }
  const std::uint32_t records = CountRecords(contents.streams[point.frame]);
  if (point.record > records) {
    FailUsage(Format("no record %u: frame %u has %u", static_cast<unsigned>(point.record),
                     static_cast<unsigned>(point.frame), static_cast<unsigned>(records)));
  }
  StateWalk walk(contents);
  walk.ToFrame(point.frame);
  walk.RunRecords(point.record);
  return DescribeState(DriverStateInstance());
}

std::string Side(const Json& value) {
  if (value.is_null()) return "nothing";
  return value.is_string() ? value.get<std::string>() : value.dump();
}

int PrintChanges(const std::vector<StateChange>& changes, bool json) {
  if (json) {
    Json list = Json::array();
    for (const StateChange& change : changes) {
      list.push_back({{"name", change.name}, {"before", change.before}, {"after", change.after}});
    }
    WriteJson(list);
  } else {
    for (const StateChange& change : changes) {
      std::printf("%s: %s -> %s\n", change.name.c_str(), Side(change.before).c_str(), Side(change.after).c_str());
    }
  }
  return changes.empty() ? kDone : kDiffer;
}

}  // namespace

int RunState(const Words& words) {
  CommandLine line("state");
  std::string file, at;
  std::vector<std::string> pair;
  line.AddFile(file);
  line.Add("--at", at, "The state before this record, as in 3:120");
  line.AddPair("--diff", pair, "What changed between two places; exit code 1 when anything did",
               {.excludes = {"--at"}});
  line.AddJson();
  if (const auto code = line.Parse(words)) return *code;
  if (at.empty() == pair.empty()) FailUsage("--at or --diff is required");

  if (!at.empty()) {
    const Point point = ParsePoint(at);
    CaptureContents contents = LoadCapture(file);
    const Json state = StateAt(contents, point);
    if (line.json) {
      WriteJson(state);
    } else {
      const std::string text = StateLines(state);
      std::fwrite(text.data(), 1, text.size(), stdout);
    }
    return kDone;
  }
  const Point first = ParsePoint(pair[0]), second = ParsePoint(pair[1]);
  CaptureContents contents = LoadCapture(file);
  const Json before = StateAt(contents, first);
  return PrintChanges(CompareStates(before, StateAt(contents, second)), line.json);
}

}  // namespace tlr2::tool
