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

constexpr int kCalls = 5000;  // a run; its records stay inside the first level of what the stream reserves
constexpr int kRuns = 4000;   // the shortest counts: whatever disturbs a run makes it longer

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
[[gnu::noinline]] void TLR2_STDCALL BareBlendFunc(GLenum s, GLenum d) {
  Append(CmdBlendFunc{.sfactor = s, .dfactor = d});
}
[[gnu::noinline]] void TLR2_STDCALL Nothing(GLfloat, GLfloat, GLfloat) { __asm__ volatile(""); }

void Empty() {
  CommandStreamInstance().bytes.clear();
  DriverStateInstance().vertices.clear();
}

/// Nanoseconds of a whole run.
template <typename Call>
double Run(Call&& call) {
  Empty();
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < kCalls; ++i) call(i);
  return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count();
}

struct Cost {
  double entryNs, bareNs;  // a call
};

/// Both turn by turn, so that what changes the machine's pace changes it for both.
template <typename Entry, typename Bare>
Cost Measure(Entry&& entry, Bare&& bare) {
  double entryLeast = 1e30, bareLeast = 1e30;
  for (int run = 0; run < kRuns; ++run) {
    entryLeast = std::min(entryLeast, Run(entry));
    bareLeast = std::min(bareLeast, Run(bare));
  }
  Empty();
  return {entryLeast / kCalls, bareLeast / kCalls};
}

/// Nanoseconds over the bare append, by how the build calls and counts.
struct Budget {
  double words64, words32, windows32;
  double Now() const { return sizeof(void*) == 8 ? words64 : TLR2_BENCH_WINDOWS != 0 ? windows32 : words32; }
};

struct Line {
  const char* entry;
  Cost cost;
  Budget budget;
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
  const auto blend = [](int i) { return i % 2 == 0 ? gl::kSrcAlpha : gl::kOneMinusSrcAlpha; };
  glBegin(gl::kTriangles);
  const Line lines[] = {
      {"glVertex3f",
       Measure([&](int i) { glVertex3f(f(i), 1, 2); }, [&](int i) { BareVertex(f(i), 1, 2); }),
       {6, 12, 10}},
      {"glColor4ub",
       Measure([&](int i) { glColor4ub(b(i), 1, 2, 3); }, [&](int i) { BareColor(b(i), 1, 2, 3); }),
       {4, 10, 10}},
      {"glTexCoord2f",
       Measure([&](int i) { glTexCoord2f(f(i), 1); }, [&](int i) { BareTexCoord(f(i), 1); }),
       {4, 8, 8}},
      {"glBlendFunc",
       Measure([&](int i) { glBlendFunc(blend(i), gl::kOne); }, [&](int i) { BareBlendFunc(blend(i), gl::kOne); }),
       {6, 16, 18}},
      {"glNormal3f (counted stub; beside an empty function)",
       Measure([&](int i) { glNormal3f(f(i), 1, 2); }, [&](int i) { Nothing(f(i), 1, 2); }),
       {4, 14, 8}},
  };
  glEnd();
  std::printf("%8s %8s %8s %8s  %s\n", "ns", "append", "over", "budget", "entry");
  bool within = true;
  for (const auto& [entry, cost, budget] : lines) {
    const double over = cost.entryNs - cost.bareNs;
    const bool fits = over <= budget.Now();
    within = within && fits;
    std::printf("%8.2f %8.2f %8.2f %8.2f  %s%s\n", cost.entryNs, cost.bareNs, over, budget.Now(), entry,
                fits ? "" : "  BEYOND ITS BUDGET");
  }
  return check && !within ? 1 : 0;
}
