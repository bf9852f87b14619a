// Runs a program to its end and tells how it ended.
#pragma once

#if defined(_WIN32)
#include <windows.h>
#else
#include <sys/wait.h>
#include <unistd.h>
#endif

#include <cstdint>
#include <string>
#include <vector>

namespace tlr2::test {

struct ChildEnd {
  bool started = false;
  std::uint32_t code = 0;  // the exit code
  int signalNumber = 0;    // the signal that ended it, where there are signals
};

/// Runs `program` in the current directory; the arguments hold neither blanks nor quotes.
inline ChildEnd RunChild(const std::string& program, const std::vector<std::string>& arguments) {
  ChildEnd end;
#if defined(_WIN32)
  std::string line = "\"" + program + "\"";
  for (const std::string& argument : arguments) line += " " + argument;
  STARTUPINFOA start = {};
  start.cb = sizeof start;
  PROCESS_INFORMATION child = {};
  if (!CreateProcessA(program.c_str(), line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &start, &child))
    return end;
  end.started = WaitForSingleObject(child.hProcess, 30000) == WAIT_OBJECT_0;
  DWORD code = 0;
  if (end.started) {
    GetExitCodeProcess(child.hProcess, &code);
  } else {
    TerminateProcess(child.hProcess, 1);
  }
  CloseHandle(child.hThread);
  CloseHandle(child.hProcess);
  end.code = code;
#else
  const pid_t child = fork();
  if (child < 0) return end;
  if (child == 0) {
    std::vector<char*> words = {const_cast<char*>(program.c_str())};
    for (const std::string& argument : arguments) words.push_back(const_cast<char*>(argument.c_str()));
    words.push_back(nullptr);
    alarm(30);  // ends a child that hangs
    execv(program.c_str(), words.data());
    _exit(127);
  }
  int status = 0;
  if (waitpid(child, &status, 0) != child) return end;
  end.started = true;
  if (WIFSIGNALED(status)) end.signalNumber = WTERMSIG(status);
  if (WIFEXITED(status)) end.code = static_cast<std::uint32_t>(WEXITSTATUS(status));
#endif
  return end;
}

}  // namespace tlr2::test
