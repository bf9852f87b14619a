// The trace of calls, replaced for tests of what is traced.
#include "trace_lines.h"

#include <cstdarg>
#include <cstdio>

#include "capture/trace.h"

namespace tlr2 {

namespace test {
void (*onTraceLine)() = nullptr;

std::vector<std::string>& TraceLines() {
  static std::vector<std::string> lines;
  return lines;
}
}  // namespace test

// Linked ahead of the library's own.
void TraceCall(const char* name, const char* format, ...) noexcept {
  char text[512];
  va_list list;
  va_start(list, format);
  std::vsnprintf(text, sizeof text, format, list);
  va_end(list);
  test::TraceLines().push_back(std::string(name) + " " + text);
  if (test::onTraceLine != nullptr) test::onTraceLine();
}

}  // namespace tlr2
