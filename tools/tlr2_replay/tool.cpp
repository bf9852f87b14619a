// The program around the commands: help, version, failures to messages and exit codes.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>
#include <stdexcept>

#include "capture/format.h"
#include "tlr2_replay/command.h"
#include "tlr2_replay/console.h"
#include "tlr2_replay/limits.h"

namespace tlr2::tool {

const std::vector<CommandRow> kCommands = {
#define TLR2_TOOL_COMMAND(name, Name, summary) {name, summary, Run##Name},
#include "tlr2_replay/commands.def"
#undef TLR2_TOOL_COMMAND
};

const CommandRow* FindCommand(const std::string& name) noexcept {
  const auto found =
      std::find_if(kCommands.begin(), kCommands.end(), [&](const CommandRow& row) { return name == row.name; });
  return found == kCommands.end() ? nullptr : &*found;
}

namespace {

void PrintUsage(std::FILE* to) {
  std::fputs("Usage: tlr2_replay <command> [options] FILE...\n\nCommands:\n", to);
  for (const CommandRow& row : kCommands) std::fprintf(to, "  %-12s %s\n", row.name, row.summary);
  std::fputs(
      "  help         this list, or with a command's name its options\n"
      "\n"
      "  --version    version of the tool, format version and layout hash that it reads\n"
      "\n"
      "Data goes to standard output, messages to standard error. Frames count from 0 inside a file.\n"
      "Exit codes: 0 done or identical, 1 pictures or states differ, 2 wrong usage, 3 file refused,\n"
      "4 replay error, limit reached or interrupted, 5 internal.\n",
      to);
}

int WrongUsage(const std::string& message) {
  PrintMessage(message);
  std::fputs("Try 'tlr2_replay help'.\n", stderr);
  return kUsage;
}

int Version() {
  std::printf("tlr2_replay %s\ncapture format version %u\nlayout hash 0x%08X\n", TLR2_VERSION,
              static_cast<unsigned>(kCaptureVersion), static_cast<unsigned>(kCaptureLayoutHash));
  return kDone;
}

/// Wrong usage, found while parsing or later, is told with the command's name and where its help is.
int RunCommand(const CommandRow& row, const Words& words) {
  try {
    return row.run(words);
  } catch (const CommandFailure& failure) {
    if (failure.code != kUsage) throw;
    const std::string name = row.name;
    throw CommandFailure{kUsage, name + ": " + failure.message + "\nTry 'tlr2_replay help " + name + "'."};
  }
}

bool AsksForHelp(const std::string& word) { return word == "help" || word == "--help" || word == "-h"; }

int Help(const Words& words) {
  if (words.empty()) {
    PrintUsage(stdout);
    return kDone;
  }
  if (words.size() > 1) return WrongUsage("help takes one command");
  if (AsksForHelp(words[0])) return Help({});
  if (words[0] == "--version") return Version();
  const CommandRow* row = FindCommand(words[0]);
  if (row == nullptr) return WrongUsage("no command '" + words[0] + "'");
  return row->run({"--help"});
}

int Dispatch(const Words& words) {
  if (words.empty()) {
    PrintUsage(stderr);
    return kUsage;
  }
  const std::string& name = words[0];
  const Words rest(words.begin() + 1, words.end());
  if (AsksForHelp(name)) return Help(rest);
  if (name == "--version") {
    if (!rest.empty()) return WrongUsage("--version takes no arguments");
    return Version();
  }
  const CommandRow* row = FindCommand(name);
  if (row == nullptr) return WrongUsage("no command '" + name + "'");
  return RunCommand(*row, rest);
}

}  // namespace

int RunTool(int argc, const char* const* argv) {
  PrepareConsole();
  int code = kInternal;
  try {
    code = Dispatch(Words(argv + (argc > 0 ? 1 : 0), argv + argc));
  } catch (const CommandFailure& failure) {
    PrintMessage(failure.message);
    code = failure.code;
  } catch (const std::bad_alloc&) {
    PrintMessage("out of memory");
    code = kFailed;
  } catch (const std::length_error& error) {
    // What the driver's vectors throw; a live program would have ended here.
    PrintMessage(std::string("replay failed: ") + error.what());
    code = kFailed;
  } catch (const std::exception& error) {
    PrintMessage(std::string("internal error: ") + error.what());
    code = kInternal;
  }
  EndLimits();
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    PrintMessage("cannot write to standard output");
    return kInternal;
  }
  return code;
}

}  // namespace tlr2::tool
