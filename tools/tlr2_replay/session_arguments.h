// The options by which a person says how a capture is to be drawn.
#pragma once

#include <string>
#include <vector>

#include "tlr2_replay/options.h"
#include "tlr2_replay/session.h"

namespace tlr2::tool {

struct SessionArguments {
  std::string isa, cutoff;
  std::string threads, kernelMode;
  std::vector<std::string> set;  // Name=Value

  /// Adds --isa, --threads, --kernel-mode, --set and --cutoff; with `prefix` "b-" they are --b-isa and so on.
  void AddTo(CommandLine& line, const std::string& prefix = "");
  /// Its parts, for commands that do not take all: --isa and --threads; --kernel-mode and --set; --cutoff.
  void AddTargetTo(CommandLine& line, const std::string& prefix = "");
  void AddSettingsTo(CommandLine& line, const std::string& prefix = "");
  void AddCutoffTo(CommandLine& line, const std::string& prefix = "");
  /// Fails as wrong usage for unknown words and values out of range.
  SessionOptions Options() const;
  /// The options given here over those of `base`.
  SessionOptions Over(const SessionArguments& base) const;
};

/// "sse4", "avx", "avx2", "avx512skx", "auto".
std::int32_t ParseTarget(const std::string& text);

/// The frames that `text` selects out of `count`, ascending, each once; all of them for an empty text. Fails as wrong
/// usage for a frame that the capture does not have.
std::vector<std::uint32_t> SelectFrames(const std::string& text, std::uint32_t count);

/// Name and word of every setting that a frame's picture or speed could depend on.
struct NamedSetting {
  std::string name;
  SettingWord DriverSettings::* word;
  std::int32_t minimum, maximum;
};
std::vector<NamedSetting> NamedSettings();

}  // namespace tlr2::tool
