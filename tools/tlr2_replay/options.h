// A command's options: parsing, its help, and the limits that every command takes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tlr2_replay/command.h"
#include "tlr2_replay/limits.h"

namespace CLI {
class App;
}

namespace tlr2::tool {

/// What holds for an option beside its type.
struct OptionRules {
  bool required = false;
  bool showsDefault = false;  // the help tells the value that holds without the option
  std::optional<std::pair<int, int>> range = std::nullopt;
  std::vector<std::string> choices = {};
  std::vector<std::string> excludes = {};  // options that were added before and do not go with this one
};

/// The command line of one command. Add its options, then call Parse. The library that parses stays behind this class:
/// it is large, and is compiled once instead of once a command.
class CommandLine {
 public:
  /// `command` is a row of the table. Adds --max-memory and --max-seconds.
  explicit CommandLine(const char* command);
  ~CommandLine();
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  /// Adds "--name VALUE", or a positional argument for a name without dashes. `value` is written by Parse, and keeps
  /// what it holds when the option is not given.
  void Add(const std::string& name, std::string& value, const std::string& text, const OptionRules& rules = {});
  void Add(const std::string& name, std::uint32_t& value, const std::string& text, const OptionRules& rules = {});
  void Add(const std::string& name, std::optional<std::uint32_t>& value, const std::string& text,
           const OptionRules& rules = {});
  void Add(const std::string& name, int& value, const std::string& text, const OptionRules& rules = {});
  void Add(const std::string& name, double& value, const std::string& text, const OptionRules& rules = {});
  /// "--name", without a value.
  void AddFlag(const std::string& name, bool& value, const std::string& text, const OptionRules& rules = {});
  /// "--name VALUE", as often as wanted.
  void AddRepeated(const std::string& name, std::vector<std::string>& values, const std::string& text);
  /// "--name VALUE VALUE".
  void AddPair(const std::string& name, std::vector<std::string>& values, const std::string& text,
               const OptionRules& rules = {});
  /// --json; for commands that report.
  void AddJson();
  /// The positional capture file.
  void AddFile(std::string& file);

  /// An exit code when the command is to end here: help was asked for. Otherwise the limits are in force. Fails as
  /// wrong usage.
  std::optional<int> Parse(const Words& words);

  bool json = false;

 private:
  std::unique_ptr<CLI::App> app_;
  std::uint32_t maxMemoryMiB_ = kDefaultMaxMemoryMiB;
  std::uint32_t maxSeconds_ = kDefaultMaxSeconds;
};

/// Ends the command with exit code 2. The message goes out with the command's name ahead of it and a word on its help
/// behind it.
[[noreturn]] void FailUsage(const std::string& message);
/// The same, for a frame that a capture of `frameCount` frames does not have.
[[noreturn]] void FailNoFrame(std::uint32_t frame, std::size_t frameCount);

/// "0-9,20": inclusive ranges of frames or of what else is counted, in the order given. Fails as wrong usage for
/// anything else.
struct FrameSpan {
  std::uint32_t first, last;
};
std::vector<FrameSpan> ParseFrameSpans(const std::string& text);
/// Parses a whole text as a decimal number.
std::optional<std::uint32_t> ParseNumber(const std::string& text) noexcept;

}  // namespace tlr2::tool
