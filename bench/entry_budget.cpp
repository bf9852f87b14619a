// What a call of the hottest entries costs while nothing is traced, in nanoseconds, beside the bare append of its
// record; with --check, exit code 1 when one costs more over the append than its budget. Budgets: docs/performance.md.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <new>

#include "api/state/command_stream.h"
#include "api/state/driver_state.h"
#include "api/table/commands.h"
#include "api/table/prototypes.h"

namespace {

using namespace tlr2;

constexpr int kCalls = 20000;  // a run; its records stay inside the first level of what the stream reserves
constexpr int kRuns = 400;     // the shortest counts: whatever disturbs a run makes it longer

template <typename Record>
void Append(const Record& record) {
  ByteVector& bytes = CommandStreamInstance().bytes;
  if (bytes.spare() < sizeof(Record)) return;
  new (bytes.TakeSpare(sizeof(Record))) Record(record);
}

[[gnu::noinline]] void TLR2_STDCALL BareVertex(GLfloat x, GLfloat y, GLfloat z) {
  Append(CmdVertex3f{.x = x, .y = y, .z = z});
}
[[gnu::noinline]] void TLR2_STDCALL BareColor(GLubyte r, GLubyte g, GLubyte b, GLubyte a) {
  Append(CmdColor{.color = static_cast<std::uint32_t>(a) << 24 | static_cast<std::uint32_t>(r) << 16 |
                           static_cast<std::uint32_t>(g) << 8 | b});
}
[[gnu::noinline]] void TLR2_STDCALL BareTexCoord(GLfloat s, GLfloat t) { Append(CmdTexCoord2f{.s = s, .t = t}); }
[[gnu::noinline]] void TLR2_STDCALL Nothing(GLfloat, GLfloat, GLfloat) { __asm__ volatile(""); }

void Empty() {
  CommandStreamInstance().bytes.clear();
  DriverStateInstance().vertices.clear();
}

/// Nanoseconds a call.
template <typename Call>
double Measure(Call&& call) {
  double least = 1e30;
  for (int run = 0; run < kRuns; ++run) {
    Empty();
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < kCalls; ++i) call(i);
    const std::chrono::duration<double, std::nano> took = std::chrono::steady_clock::now() - start;
    least = std::min(least, took.count() / kCalls);
  }
  Empty();
  return least;
}

struct Line {
  const char* entry;
  double entryNs, bareNs;
  double budgetNs;  // over the bare append
};

}  // namespace

int main(int count, char** arguments) {
  const bool check = count == 2 && std::strcmp(arguments[1], "--check") == 0;
  if (count > 1 && !check) {
    std::fprintf(stderr, "usage: bench_entry_budget [--check]\n");
    return 2;
  }
  const auto f = [](int i) { return static_cast<float>(i); };
  const auto b = [](int i) { return static_cast<GLubyte>(i); };
  glBegin(gl::kTriangles);
  const Line lines[] = {
      {"glVertex3f", Measure([&](int i) { glVertex3f(f(i), 1, 2); }), Measure([&](int i) { BareVertex(f(i), 1, 2); }),
       6},
      {"glColor4ub", Measure([&](int i) { glColor4ub(b(i), 1, 2, 3); }),
       Measure([&](int i) { BareColor(b(i), 1, 2, 3); }), 4},
      {"glTexCoord2f", Measure([&](int i) { glTexCoord2f(f(i), 1); }), Measure([&](int i) { BareTexCoord(f(i), 1); }),
       4},
      {"glNormal3f (counted stub; beside an empty function)", Measure([&](int i) { glNormal3f(f(i), 1, 2); }),
       Measure([&](int i) { Nothing(f(i), 1, 2); }), 4},
  };
  glEnd();
  std::printf("%8s %8s %8s %8s  %s\n", "ns", "append", "over", "budget", "entry");
  bool within = true;
  for (const Line& line : lines) {
    const double over = line.entryNs - line.bareNs;
    within = within && over <= line.budgetNs;
    std::printf("%8.2f %8.2f %8.2f %8.2f  %s%s\n", line.entryNs, line.bareNs, over, line.budgetNs, line.entry,
                over <= line.budgetNs ? "" : "  BEYOND ITS BUDGET");
  }
  return check && !within ? 1 : 0;
}
