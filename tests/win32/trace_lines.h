// Collects the trace lines of the code under test instead of writing a trace file.
#pragma once

#include <string>
#include <vector>

namespace tlr2::test {

/// "name arguments", in the order of the calls.
std::vector<std::string>& TraceLines();

/// Called after each line, while not null: the code under test is between two of its steps.
extern void (*onTraceLine)();

}  // namespace tlr2::test
