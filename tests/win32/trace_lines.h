// Collects the trace lines of the code under test instead of writing a trace file.
#pragma once

#include <string>
#include <vector>

namespace tlr2::test {

/// "name arguments", in the order of the calls.
std::vector<std::string>& TraceLines();

}  // namespace tlr2::test
