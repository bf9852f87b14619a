// Parsing of options, with messages and exit codes the same for every command.
#include "tlr2_replay/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cstdio>

#include "tlr2_replay/console.h"

namespace tlr2::tool {

namespace {

void Apply(CLI::App& app, CLI::Option& option, const OptionRules& rules) {
  if (rules.required) option.required();
  if (rules.range) option.check(CLI::Range(rules.range->first, rules.range->second));
  if (!rules.choices.empty()) option.check(CLI::IsMember(rules.choices));
  if (rules.showsDefault) option.capture_default_str();
  for (const std::string& other : rules.excludes) option.excludes(app.get_option(other));
}

}  // namespace

CommandLine::CommandLine(const char* command)
    : app_(std::make_unique<CLI::App>(FindCommand(command)->summary, std::string("tlr2_replay ") + command)) {
  app_->allow_windows_style_options(false);  // a path may begin with a slash
  Add("--max-memory", maxMemoryMiB_, "End with exit code 4 beyond this much memory, in MiB; 0 for no limit",
      {.showsDefault = true});
  Add("--max-seconds", maxSeconds_, "End with exit code 4 after this time; 0 for no limit", {.showsDefault = true});
}

CommandLine::~CommandLine() = default;

void CommandLine::Add(const std::string& name, std::string& value, const std::string& text, const OptionRules& rules) {
  Apply(*app_, *app_->add_option(name, value, text), rules);
}
void CommandLine::Add(const std::string& name, std::uint32_t& value, const std::string& text,
                      const OptionRules& rules) {
  Apply(*app_, *app_->add_option(name, value, text), rules);
}
void CommandLine::Add(const std::string& name, std::optional<std::uint32_t>& value, const std::string& text,
                      const OptionRules& rules) {
  Apply(*app_, *app_->add_option(name, value, text), rules);
}
void CommandLine::Add(const std::string& name, int& value, const std::string& text, const OptionRules& rules) {
  Apply(*app_, *app_->add_option(name, value, text), rules);
}
void CommandLine::Add(const std::string& name, double& value, const std::string& text, const OptionRules& rules) {
  Apply(*app_, *app_->add_option(name, value, text), rules);
}

void CommandLine::AddFlag(const std::string& name, bool& value, const std::string& text, const OptionRules& rules) {
  Apply(*app_, *app_->add_flag(name, value, text), rules);
}

void CommandLine::AddRepeated(const std::string& name, std::vector<std::string>& values, const std::string& text) {
  app_->add_option(name, values, text)->expected(1)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

void CommandLine::AddPair(const std::string& name, std::vector<std::string>& values, const std::string& text,
                          const OptionRules& rules) {
  Apply(*app_, *app_->add_option(name, values, text)->expected(2), rules);
}

void CommandLine::AddJson() { AddFlag("--json", json, "Report as JSON"); }

void CommandLine::AddFile(std::string& file) { Add("FILE", file, "Capture file", {.required = true}); }

std::optional<int> CommandLine::Parse(const Words& words) {
  try {
    app_->parse(Words(words.rbegin(), words.rend()));  // taken from the back
  } catch (const CLI::CallForHelp&) {
    std::fputs(app_->help().c_str(), stdout);
    return kDone;
  } catch (const CLI::ParseError& error) {
    FailUsage(error.what());
  }
  BeginLimits(maxMemoryMiB_, maxSeconds_);
  return std::nullopt;
}

void FailUsage(const std::string& message) { throw CommandFailure{kUsage, message}; }

void FailNoFrame(std::uint32_t frame, std::size_t frameCount) {
  FailUsage(Format("no frame %u: the capture has %zu %s, counted from 0", static_cast<unsigned>(frame), frameCount,
                   frameCount == 1 ? "frame" : "frames"));
}

std::optional<std::uint32_t> ParseNumber(const std::string& text) noexcept {
  std::uint32_t value = 0;
  const char* end = text.data() + text.size();
  const auto [at, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || at != end) return std::nullopt;
  return value;
}

std::vector<FrameSpan> ParseFrameSpans(const std::string& text) {
  std::vector<FrameSpan> spans;
  std::size_t at = 0;
  while (at <= text.size()) {
    const std::size_t end = std::min(text.find(',', at), text.size());
    const std::string item = text.substr(at, end - at);
    const std::size_t minus = item.find('-');
    const auto first = ParseNumber(item.substr(0, minus));
    const auto last = minus == std::string::npos ? first : ParseNumber(item.substr(minus + 1));
    if (!first || !last || *last < *first) FailUsage("'" + text + "' is no list of numbers such as 0-9,20");
    spans.push_back({*first, *last});
    at = end + 1;
  }
  return spans;
}

}  // namespace tlr2::tool
