// A command's options: parsing, its help, and the limits that every command takes.
#pragma once

#include <CLI/CLI.hpp>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "tlr2_replay/command.h"
#include "tlr2_replay/limits.h"

namespace tlr2::tool {

/// The command line of one command. Add options to `app`, then call Parse.
struct CommandLine {
  /// `command` is a row of the table. Adds --max-memory and --max-seconds.
  explicit CommandLine(const char* command);

  /// Adds --json; for commands that report.
  void AddJson() { app.add_flag("--json", json, "Report as JSON"); }
  /// Adds the positional capture file.
  void AddFile(std::string& file) { app.add_option("FILE", file, "Capture file")->required(); }

  /// An exit code when the command is to end here: help was asked for, or the usage is wrong. Otherwise the limits
  /// are in force.
  std::optional<int> Parse(const Words& words);

  CLI::App app;
  bool json = false;
  std::uint32_t maxMemoryMiB = kDefaultMaxMemoryMiB;
  std::uint32_t maxSeconds = kDefaultMaxSeconds;
};

/// Ends the command with exit code 2.
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
