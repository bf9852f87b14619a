// The table of commands and what each command's function promises.
#pragma once

#include <string>
#include <vector>

namespace tlr2::tool {

/// Exit codes of the program.
enum ExitCode : int {
  kDone = 0,      // done, or identical
  kDiffer = 1,    // pictures or states differ
  kUsage = 2,     // wrong usage
  kRefused = 3,   // the file was refused
  kFailed = 4,    // replay error, limit reached, or interrupted
  kInternal = 5,  // a fault of the tool or of the system under it
};

/// Ends a command from any depth: the message goes to standard error, the code is the program's.
struct CommandFailure {
  ExitCode code;
  std::string message;
};

/// The words after the command's name.
using Words = std::vector<std::string>;

struct CommandRow {
  const char* name;
  const char* summary;
  int (*run)(const Words& words);  // data on stdout, messages on stderr; returns the exit code
};
extern const std::vector<CommandRow> kCommands;
/// Null for an unknown name.
const CommandRow* FindCommand(const std::string& name) noexcept;

#define TLR2_TOOL_COMMAND(name, Name, summary) int Run##Name(const Words& words);
#include "tlr2_replay/commands.def"
#undef TLR2_TOOL_COMMAND

/// The whole program: picks the command, turns failures into messages and exit codes.
int RunTool(int argc, const char* const* argv);

}  // namespace tlr2::tool
