// bench: how long the frames of a capture take, stage by stage, on which targets and task counts.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include "tlr2_replay/command.h"
#include "tlr2_replay/console.h"
#include "tlr2_replay/json_output.h"
#include "tlr2_replay/load.h"
#include "tlr2_replay/options.h"
#include "tlr2_replay/session_arguments.h"

namespace tlr2::tool {
namespace {

using Json = nlohmann::ordered_json;

struct Stage {
  const char* name;
  double FrameFigures::* value;
};
/// In the order of a frame. Binning and rasterising are summed over the tasks; the others are wall time.
constexpr Stage kStages[] = {
    {"total", &FrameFigures::totalMs},   {"interpret", &FrameFigures::interpretMs}, {"emit", &FrameFigures::emitMs},
    {"prep", &FrameFigures::prepMs},     {"workers", &FrameFigures::workersMs},     {"bin", &FrameFigures::binMs},
    {"raster", &FrameFigures::rasterMs},
};
constexpr std::size_t kStageCount = sizeof kStages / sizeof kStages[0];

/// A row of the result; times in milliseconds.
struct Row {
  std::string target;
  std::uint32_t threads = 0;
  std::string frame;  // a number, or "all" for a whole pass
  std::string stage;
  double minimum = 0, median = 0, p95 = 0, maximum = 0;

  std::string Key() const { return target + ',' + std::to_string(threads) + ',' + frame + ',' + stage; }
};

constexpr int kMostPasses = 100000;

double Quantile(const std::vector<double>& sorted, double part) {
  const double at = part * static_cast<double>(sorted.size() - 1);
  const auto below = static_cast<std::size_t>(at);
  const std::size_t above = std::min(below + 1, sorted.size() - 1);
  return sorted[below] + (sorted[above] - sorted[below]) * (at - static_cast<double>(below));
}

Row Summarised(std::vector<double> samples) {
  std::sort(samples.begin(), samples.end());
  Row row;
  row.minimum = samples.front();
  row.median = Quantile(samples, 0.5);
  row.p95 = Quantile(samples, 0.95);
  row.maximum = samples.back();
  return row;
}

struct Plan {
  std::vector<std::uint32_t> frames;
  std::uint32_t warmUp = 1, repeats = 5;
};

/// All passes of one target and task count.
void Measure(CaptureContents& capture, const SessionOptions& options, const Plan& plan, Progress& progress,
             std::uint64_t& done, std::vector<Row>& rows) {
  Session session(capture, options);
  // samples[frame][stage][pass], and the sums of each pass behind the last frame
  std::vector<std::vector<std::vector<double>>> samples(plan.frames.size() + 1,
                                                        std::vector<std::vector<double>>(kStageCount));
  for (std::uint32_t pass = 0; pass < plan.warmUp + plan.repeats; ++pass) {
    session.Rewind();
    double sums[kStageCount] = {};
    for (std::size_t i = 0; i < plan.frames.size(); ++i) {
      StopIfInterrupted();
      progress.Show(done++);
      const FrameFigures& figures = session.StepTo(plan.frames[i]);
      if (pass < plan.warmUp) continue;
      for (std::size_t s = 0; s < kStageCount; ++s) {
        samples[i][s].push_back(figures.*kStages[s].value);
        sums[s] += figures.*kStages[s].value;
      }
    }
    for (std::size_t s = 0; pass >= plan.warmUp && s < kStageCount; ++s) samples.back()[s].push_back(sums[s]);
  }
  for (std::size_t i = 0; i < samples.size(); ++i) {
    for (std::size_t s = 0; s < kStageCount; ++s) {
      Row row = Summarised(samples[i][s]);
      row.target = kTargetNames[session.Target()];
      row.threads = static_cast<std::uint32_t>(options.threads);
      row.frame = i < plan.frames.size() ? std::to_string(plan.frames[i]) : "all";
      row.stage = kStages[s].name;
      rows.push_back(std::move(row));
    }
  }
}

constexpr const char* kCsvHead = "target,threads,frame,stage,min_ms,median_ms,p95_ms,max_ms";

void PrintCsv(const std::vector<Row>& rows) {
  std::printf("%s\n", kCsvHead);
  for (const Row& row : rows)
    std::printf("%s,%.6f,%.6f,%.6f,%.6f\n", row.Key().c_str(), row.minimum, row.median, row.p95, row.maximum);
}

void PrintJson(const std::string& file, const Plan& plan, const std::vector<Row>& rows) {
  Json list = Json::array();
  for (const Row& row : rows)
    list.push_back({{"target", row.target},
                    {"threads", row.threads},
                    {"frame", row.frame},
                    {"stage", row.stage},
                    {"min_ms", row.minimum},
                    {"median_ms", row.median},
                    {"p95_ms", row.p95},
                    {"max_ms", row.maximum}});
  const Json whole = {{"file", file}, {"warmUp", plan.warmUp}, {"repeats", plan.repeats}, {"rows", list}};
  WriteJson(whole);
}

bool IsTime(double milliseconds) noexcept { return std::isfinite(milliseconds) && milliseconds >= 0; }

/// Medians by key, of an earlier run's CSV or JSON.
std::map<std::string, double> ReadBaseline(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw CommandFailure{kRefused, path + ": cannot open file"};
  std::ostringstream read;
  read << file.rdbuf();  // what cannot be read, as a folder, is empty
  const std::string text = read.str();
  std::map<std::string, double> medians;
  if (text.rfind(kCsvHead, 0) == 0) {
    std::size_t at = 0;
    for (std::size_t line = 0; at < text.size(); ++line) {
      const std::size_t end = std::min(text.find('\n', at), text.size());
      const std::string row = text.substr(at, end - at);
      at = end + 1;
      if (line == 0 || row.empty()) continue;
      std::size_t comma = 0;
      for (int i = 0; i < 4 && comma != std::string::npos; ++i) comma = row.find(',', comma + (i == 0 ? 0 : 1));
      double least = 0, median = 0;
      if (comma == std::string::npos || std::sscanf(row.c_str() + comma, ",%lf,%lf", &least, &median) != 2 ||
          !IsTime(median))
        throw CommandFailure{kRefused, path + ": line " + std::to_string(line + 1) + " is no row of a benchmark"};
      medians[row.substr(0, comma)] = median;
    }
    return medians;
  }
  const Json json = Json::parse(text, nullptr, false);
  if (json.is_discarded() || !json.is_object() || !json.contains("rows") || !json["rows"].is_array())
    throw CommandFailure{kRefused, path + ": not the CSV or JSON of an earlier benchmark"};
  for (const Json& entry : json["rows"]) {
    try {
      Row row;
      row.target = entry.at("target").get<std::string>();
      row.threads = entry.at("threads").get<std::uint32_t>();
      row.frame = entry.at("frame").get<std::string>();
      row.stage = entry.at("stage").get<std::string>();
      row.median = entry.at("median_ms").get<double>();
      if (!IsTime(row.median)) throw CommandFailure{kRefused, path + ": a median is no time"};
      medians[row.Key()] = row.median;
    } catch (const Json::exception&) {
      throw CommandFailure{kRefused, path + ": a row lacks a field"};
    }
  }
  return medians;
}

/// A row beside the baseline's.
struct Change {
  const Row* row;
  double before;   // median, in milliseconds
  double percent;  // that it takes longer
  bool slower;     // beyond the threshold
};

/// The whole passes' medians, and those of frames that got slower.
std::vector<Change> ChangesFrom(const std::map<std::string, double>& baseline, const std::vector<Row>& rows,
                                double thresholdPercent) {
  std::vector<Change> changes;
  std::size_t matched = 0;
  for (const Row& row : rows) {
    const auto found = baseline.find(row.Key());
    if (found == baseline.end() || !(found->second > 0)) continue;
    ++matched;
    const double percent = (row.median / found->second - 1) * 100;
    const bool slower = row.stage == "total" && percent > thresholdPercent;
    if (row.frame == "all" || slower) changes.push_back({&row, found->second, percent, slower});
  }
  if (matched == 0) throw CommandFailure{kFailed, "the baseline has none of these targets, task counts and frames"};
  return changes;
}

void PrintChanges(const std::vector<Change>& changes) {
  std::printf("%-10s %7s %6s %-10s %12s %12s %9s\n", "target", "threads", "frame", "stage", "before ms", "now ms",
              "change");
  for (const Change& change : changes) {
    const Row& row = *change.row;
    std::printf("%-10s %7u %6s %-10s %12.3f %12.3f %+8.1f%%%s\n", row.target.c_str(),
                static_cast<unsigned>(row.threads), row.frame.c_str(), row.stage.c_str(), change.before, row.median,
                change.percent, change.slower ? " slower" : "");
  }
}

void PrintChangesJson(const std::string& file, const std::string& baseline, double thresholdPercent, bool slower,
                      const std::vector<Change>& changes) {
  Json list = Json::array();
  for (const Change& change : changes)
    list.push_back({{"target", change.row->target},
                    {"threads", change.row->threads},
                    {"frame", change.row->frame},
                    {"stage", change.row->stage},
                    {"before_ms", change.before},
                    {"now_ms", change.row->median},
                    {"change_percent", change.percent},
                    {"slower", change.slower}});
  const Json whole = {
      {"file", file}, {"baseline", baseline}, {"threshold", thresholdPercent}, {"slower", slower}, {"rows", list}};
  WriteJson(whole);
}

std::vector<std::string> SplitList(const std::string& text) {
  std::vector<std::string> items;
  for (std::size_t at = 0; at <= text.size();) {
    const std::size_t end = std::min(text.find(',', at), text.size());
    items.push_back(text.substr(at, end - at));
    at = end + 1;
  }
  return items;
}

}  // namespace

int RunBench(const Words& words) {
  CommandLine line("bench");
  std::string file, frames, targets = "auto", threads = "0", baseline;
  double threshold = 5;
  Plan plan;
  SessionArguments arguments;
  line.AddFile(file);
  line.Add("--frames", frames, "Frames to time, as in 0-9,20; all without it. Frames between are drawn too");
  line.Add("--isas", targets, "Targets, as in sse4,avx2; or all, or auto", {.showsDefault = true});
  line.Add("--thread-counts", threads, "Task counts, as in 1,2,4; 0 for one a processor", {.showsDefault = true});
  line.Add("--warm-up", plan.warmUp, "Passes that are not counted",
           {.showsDefault = true, .range = {{0, kMostPasses}}});
  line.Add("--repeats", plan.repeats, "Passes that are counted", {.showsDefault = true, .range = {{1, kMostPasses}}});
  line.Add(
      "--baseline", baseline,
      "CSV or JSON of an earlier run: prints the changes instead; exit code 1 when a whole pass got slower than the "
      "threshold");
  line.Add("--threshold", threshold, "Percent by which a pass may be slower than the baseline", {.showsDefault = true});
  arguments.AddSettingsTo(line);
  arguments.AddCutoffTo(line);
  line.AddJson();
  if (const auto code = line.Parse(words)) return *code;

  if (!(threshold >= 0)) FailUsage("--threshold takes a percentage, 0 or more");

  std::vector<SessionOptions> configurations;
  const std::vector<std::string> counts = SplitList(threads);
  std::vector<std::string> names = SplitList(targets);
  if (targets == "all") {
    names.clear();
    for (const std::int32_t target : SupportedTargets()) names.push_back(kTargetNames[target]);
  }
  for (const std::string& name : names) {
    if (name.empty()) FailUsage("'" + targets + "' is no list of targets such as sse4,avx2");
    for (const std::string& count : counts) {
      if (count.empty()) FailUsage("'" + threads + "' is no list of task counts such as 1,2,4");
      arguments.isa = name;
      arguments.threads = count;
      configurations.push_back(arguments.Options());
      ResolveTarget(configurations.back().isa);
    }
  }
  std::map<std::string, double> before;
  if (!baseline.empty()) before = ReadBaseline(baseline);

  CaptureContents capture = LoadCapture(file);
  plan.frames = SelectFrames(frames, static_cast<std::uint32_t>(capture.streams.size()));
  if (plan.frames.empty()) throw CommandFailure{kFailed, "the capture has no frames"};
  std::vector<Row> rows;
  Progress progress("frame", std::uint64_t{configurations.size()} * (plan.warmUp + plan.repeats) * plan.frames.size());
  std::uint64_t done = 0;
  for (const SessionOptions& options : configurations) Measure(capture, options, plan, progress, done, rows);
  Progress::Clear();
  if (!baseline.empty()) {
    const std::vector<Change> changes = ChangesFrom(before, rows, threshold);
    // Single frames are too noisy to fail by.
    const bool slower = std::any_of(changes.begin(), changes.end(),
                                    [](const Change& change) { return change.slower && change.row->frame == "all"; });
    if (line.json) {
      PrintChangesJson(file, baseline, threshold, slower, changes);
    } else {
      PrintChanges(changes);
    }
    return slower ? kDiffer : kDone;
  }
  if (line.json) {
    PrintJson(file, plan, rows);
  } else {
    PrintCsv(rows);
  }
  return kDone;
}

}  // namespace tlr2::tool
