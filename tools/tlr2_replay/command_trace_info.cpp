// trace-info: a trace file in figures.
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>
#include <vector>

#include "tlr2_replay/command.h"
#include "tlr2_replay/console.h"
#include "tlr2_replay/json_output.h"
#include "tlr2_replay/options.h"
#include "tlr2_replay/trace_summary.h"

namespace tlr2::tool {
namespace {

using Json = nlohmann::ordered_json;
using Counts = std::map<std::string, std::uint64_t>;
using Row = std::pair<std::string, std::uint64_t>;

std::uint64_t SumOf(const Counts& counts) {
  std::uint64_t sum = 0;
  for (const auto& [name, calls] : counts) sum += calls;
  return sum;
}

Counts OfAllFrames(const TraceSummary& summary) {
  Counts all;
  for (const auto& [frame, counts] : summary.frames)
    for (const auto& [name, calls] : counts) all[name] += calls;
  return all;
}

/// Greatest first, equal ones by name.
std::vector<Row> Ranked(const Counts& counts) {
  std::vector<Row> rows(counts.begin(), counts.end());
  std::sort(rows.begin(), rows.end(),
            [](const Row& a, const Row& b) { return a.second != b.second ? a.second > b.second : a.first < b.first; });
  return rows;
}

Json ToJson(const Counts& counts) {
  Json object = Json::object();
  for (const auto& [name, calls] : Ranked(counts)) object[name] = calls;
  return object;
}

void PrintJson(const std::string& file, const TraceSummary& summary) {
  Json frames = Json::array();
  for (const auto& [frame, counts] : summary.frames)
    frames.push_back({{"frame", frame}, {"calls", SumOf(counts)}, {"entries", ToJson(counts)}});
  const Json whole = {{"file", file},
                      {"source", summary.source},
                      {"firstFrame", summary.first},
                      {"lastFrame", summary.last},
                      {"target", summary.target},
                      {"end", NameOf(summary.end)},
                      {"calls", summary.lines},
                      {"messageLines", summary.messageLines},
                      {"otherLines", summary.otherLines},
                      {"missingNumbers", summary.MissingNumbers()},
                      {"entries", ToJson(OfAllFrames(summary))},
                      {"messages", ToJson(summary.messages)},
                      {"frames", frames}};
  WriteJson(whole);
}

void PrintText(const std::string& file, const TraceSummary& summary) {
  std::printf("%s\n", file.c_str());
  std::printf("  frames asked for   %d to %d (%s)\n", summary.first, summary.last, summary.source.c_str());
  if (!summary.target.empty()) std::printf("  target             %s\n", summary.target.c_str());
  std::printf("  end                %s\n", NameOf(summary.end));
  std::printf("  calls              %llu\n", static_cast<unsigned long long>(summary.lines));
  std::printf("  driver messages    %llu\n", static_cast<unsigned long long>(summary.messageLines));
  std::printf("  missing numbers    %llu\n", static_cast<unsigned long long>(summary.MissingNumbers()));
  std::printf("  other lines        %llu\n", static_cast<unsigned long long>(summary.otherLines));
  std::printf("\n%12s %14s %10s\n", "frame", "calls", "entries");
  for (const auto& [frame, counts] : summary.frames)
    std::printf("%12d %14llu %10zu\n", frame, static_cast<unsigned long long>(SumOf(counts)), counts.size());
  const std::size_t frames = std::max<std::size_t>(summary.frames.size(), 1);
  std::printf("\n%14s %14s  %s\n", "calls", "a frame", "entry");
  for (const auto& [name, calls] : Ranked(OfAllFrames(summary)))
    std::printf("%14llu %14.1f  %s\n", static_cast<unsigned long long>(calls),
                static_cast<double>(calls) / static_cast<double>(frames), name.c_str());
  if (summary.messages.empty()) return;
  std::printf("\n%14s  %s\n", "messages", "of");
  for (const auto& [name, lines] : Ranked(summary.messages))
    std::printf("%14llu  %s\n", static_cast<unsigned long long>(lines), name.c_str());
}

}  // namespace

int RunTraceInfo(const Words& words) {
  CommandLine line("trace-info");
  std::string file;
  line.Add("FILE", file, "Trace file", {.required = true});
  line.AddJson();
  if (const auto code = line.Parse(words)) return *code;
  std::ifstream in(file, std::ios::binary);
  if (!in) throw CommandFailure{kRefused, file + ": cannot open file"};
  TraceSummary summary;
  if (!SummariseTrace(in, summary)) throw CommandFailure{kRefused, file + ": not a trace of calls"};
  if (line.json) {
    PrintJson(file, summary);
  } else {
    PrintText(file, summary);
  }
  return kDone;
}

}  // namespace tlr2::tool
