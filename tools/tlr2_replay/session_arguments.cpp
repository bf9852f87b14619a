// From option texts to a session's options.
#include "tlr2_replay/session_arguments.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>

#include "tiles/runtime_config.h"

namespace tlr2::tool {
namespace {

constexpr std::uint32_t kMostThreads = 4096;
constexpr const char* kCutoffNames[] = {"command-stream", "packets", "triangles", "prep", "bin", "full"};

bool ParseSigned(const std::string& text, std::int32_t& value) {
  const char* end = text.data() + text.size();
  const auto [at, error] = std::from_chars(text.data(), end, value);
  return error == std::errc() && at == end;
}

std::int32_t ParseCutoff(const std::string& text) {
  for (std::int32_t stage = 0; stage < 6; ++stage)
    if (text == kCutoffNames[stage] || text == std::to_string(stage)) return stage;
  FailUsage("'" + text + "' is no stage: command-stream, packets, triangles, prep, bin, full, or 0 to 5");
}

// The messages name values, not options: other commands and the second side have these under other names.
std::pair<SettingWord DriverSettings::*, std::int32_t> ParseSetting(const std::string& text) {
  const std::size_t equals = text.find('=');
  const std::string name = text.substr(0, equals);
  for (const NamedSetting& setting : NamedSettings()) {
    if (setting.name != name) continue;
    std::int32_t value = 0;
    if (equals == std::string::npos || !ParseSigned(text.substr(equals + 1), value) || value < setting.minimum ||
        value > setting.maximum)
      FailUsage("the setting " + name + " takes " + std::to_string(setting.minimum) + " to " +
                std::to_string(setting.maximum));
    return {setting.word, value};
  }
  std::string names;
  for (const NamedSetting& setting : NamedSettings()) names += (names.empty() ? "" : ", ") + setting.name;
  FailUsage("no setting '" + name + "'; there are " + names);
}

std::string Dashed(const std::string& prefix, const char* name) { return "--" + prefix + name; }
std::string SideOf(const std::string& prefix) { return prefix.empty() ? "" : ", on the second side"; }

}  // namespace

std::vector<NamedSetting> NamedSettings() {
  std::vector<NamedSetting> named;
  for (const SettingRow& row : kSettingRows) named.push_back({row.name, row.word, row.minimum, row.maximum});
  named.push_back({"KernelMode", &DriverSettings::kernelMode, 0, 2});
  named.push_back({"PanelDpi", &DriverSettings::panelDpi, 0, std::numeric_limits<std::int32_t>::max()});
  return named;
}

std::int32_t ParseTarget(const std::string& text) {
  if (text == "auto") return -1;
  for (std::int32_t target = 0; target < 4; ++target)
    if (text == kTargetNames[target]) return target;
  FailUsage("'" + text + "' is no target: sse4, avx, avx2, avx512skx or auto");
}

void SessionArguments::AddTo(CommandLine& line, const std::string& prefix) {
  AddTargetTo(line, prefix);
  AddSettingsTo(line, prefix);
  AddCutoffTo(line, prefix);
}

void SessionArguments::AddTargetTo(CommandLine& line, const std::string& prefix) {
  line.Add(Dashed(prefix, "isa"), isa,
           "Target: sse4, avx, avx2, avx512skx, or auto for this processor's best" + SideOf(prefix));
  line.Add(Dashed(prefix, "threads"), threads, "Tasks a frame is spread over; 0 for one a processor" + SideOf(prefix));
}

void SessionArguments::AddSettingsTo(CommandLine& line, const std::string& prefix) {
  line.Add(Dashed(prefix, "kernel-mode"), kernelMode,
           "0 every pixel shaded, 1 adaptive sharing, 2 one pixel in four" + SideOf(prefix));
  line.AddRepeated(Dashed(prefix, "set"), set,
                   "A settings word, as in ForceFilter=2; may be given several times" + SideOf(prefix));
}

void SessionArguments::AddCutoffTo(CommandLine& line, const std::string& prefix) {
  line.Add(Dashed(prefix, "cutoff"), cutoff,
           "Stop each frame after a stage: command-stream, packets, triangles, prep, bin, full" + SideOf(prefix));
}

SessionOptions SessionArguments::Options() const {
  SessionOptions options;
  for (const std::string& text : set) options.settings.push_back(ParseSetting(text));
  if (!isa.empty()) options.isa = ParseTarget(isa);
  if (!cutoff.empty()) options.cutoff = ParseCutoff(cutoff);
  if (!threads.empty()) {
    const auto count = ParseNumber(threads);
    if (!count || *count > kMostThreads)
      FailUsage("'" + threads + "' is no task count: 0 to " + std::to_string(kMostThreads));
    options.threads = static_cast<std::int32_t>(*count);
  }
  if (!kernelMode.empty()) {
    const auto mode = ParseNumber(kernelMode);
    if (!mode || *mode > 2) FailUsage("'" + kernelMode + "' is no kernel mode: 0, 1 or 2");
    options.settings.push_back({&DriverSettings::kernelMode, static_cast<std::int32_t>(*mode)});
  }
  // These two have options of their own; as settings they say the same.
  std::erase_if(options.settings, [&](const auto& setting) {
    if (setting.first == &DriverSettings::forceIsa) {
      if (isa.empty()) options.isa = setting.second - 1;
      return true;
    }
    if (setting.first == &DriverSettings::pipelineCutoff) {
      if (cutoff.empty()) options.cutoff = setting.second;
      return true;
    }
    return false;
  });
  return options;
}

SessionOptions SessionArguments::Over(const SessionArguments& base) const {
  SessionArguments merged = base;
  if (!isa.empty()) merged.isa = isa;
  if (!cutoff.empty()) merged.cutoff = cutoff;
  if (!threads.empty()) merged.threads = threads;
  if (!kernelMode.empty()) merged.kernelMode = kernelMode;
  merged.set.insert(merged.set.end(), set.begin(), set.end());
  return merged.Options();
}

std::vector<std::uint32_t> SelectFrames(const std::string& text, std::uint32_t count) {
  std::vector<std::uint32_t> frames;
  if (text.empty()) {
    for (std::uint32_t i = 0; i < count; ++i) frames.push_back(i);
    return frames;
  }
  for (const FrameSpan& span : ParseFrameSpans(text)) {
    if (span.last >= count) FailNoFrame(span.last, count);
    for (std::uint32_t i = span.first; i <= span.last; ++i) frames.push_back(i);
  }
  std::sort(frames.begin(), frames.end());
  frames.erase(std::unique(frames.begin(), frames.end()), frames.end());
  return frames;
}

}  // namespace tlr2::tool
