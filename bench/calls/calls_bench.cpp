// What the calls that games make per vertex cost a program that has the driver as a library: nanoseconds a call, beside
// what the driver must do in each, alone.
//
// usage: bench_calls LIBRARY [--imported] [--rounds N] [--only NAME]
//   --imported    through the program's import table; otherwise through pointers that the library was asked for.
//                 LIBRARY must then be the one that the program has imported
//   --only NAME   that function alone and once a round: for instruction counts under a profiler
//
// Rounds of a few thousand calls, all functions and pieces in turn; the least of each is told.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "library.h"
#include "pieces.h"

#ifdef _WIN32
#define CALLING __stdcall
// As the platform's import library has them.
extern "C" {
__declspec(dllimport) void __stdcall glVertex3f(float x, float y, float z);
__declspec(dllimport) void __stdcall glVertex2f(float x, float y);
__declspec(dllimport) void __stdcall glTexCoord2f(float s, float t);
__declspec(dllimport) void __stdcall glColor4ub(unsigned char r, unsigned char g, unsigned char b, unsigned char a);
__declspec(dllimport) void __stdcall glColor4f(float r, float g, float b, float a);
__declspec(dllimport) void __stdcall glNormal3f(float x, float y, float z);
}
#else
#define CALLING
#endif

namespace {

constexpr int kCalls = 4000;  // a round; what they record stays inside the stream's first reserve
constexpr std::uint32_t kTriangles = 4;

struct Functions {
  void(CALLING* vertex3f)(float, float, float);
  void(CALLING* vertex2f)(float, float);
  void(CALLING* texCoord2f)(float, float);
  void(CALLING* color4ub)(unsigned char, unsigned char, unsigned char, unsigned char);
  void(CALLING* color4f)(float, float, float, float);
  void(CALLING* normal3f)(float, float, float);
  // Around each round, not timed.
  void(CALLING* begin)(std::uint32_t mode);
  void(CALLING* end)();
  int(CALLING* swapBuffers)(void*);
};
Functions library;

template <typename Function>
void Find(Function& function, const char* name) {
  void* found = bench::FindFunction(name);
  std::memcpy(&function, &found, sizeof function);
}

float F(int i) { return static_cast<float>(i); }
unsigned char B(int i) { return static_cast<unsigned char>(i); }

template <typename Call>
double Nanoseconds(Call&& call) {
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < kCalls; ++i) call(i);
  return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count() / kCalls;
}

struct Line {
  const char* name;
  double (*round)();
  double least = std::numeric_limits<double>::infinity();
};

#define BY_POINTER(call) +[] { return Nanoseconds([](int i) { library.call; }); }
#ifdef _WIN32
#define BY_IMPORT(call) +[] { return Nanoseconds([](int i) { call; }); }
#endif

std::vector<Line> Lines(bool imported) {
  std::vector<Line> lines;
#ifdef _WIN32
  if (imported) {
    lines = {
        {"glVertex3f", BY_IMPORT(glVertex3f(F(i), 1, 2))},      {"glVertex2f", BY_IMPORT(glVertex2f(F(i), 1))},
        {"glTexCoord2f", BY_IMPORT(glTexCoord2f(F(i), 1))},     {"glColor4ub", BY_IMPORT(glColor4ub(B(i), 1, 2, 3))},
        {"glColor4f", BY_IMPORT(glColor4f(F(i & 1), 0, 1, 1))}, {"glNormal3f", BY_IMPORT(glNormal3f(F(i), 1, 2))}};
  }
#endif
  if (!imported) {
    lines = {{"glVertex3f", BY_POINTER(vertex3f(F(i), 1, 2))},      {"glVertex2f", BY_POINTER(vertex2f(F(i), 1))},
             {"glTexCoord2f", BY_POINTER(texCoord2f(F(i), 1))},     {"glColor4ub", BY_POINTER(color4ub(B(i), 1, 2, 3))},
             {"glColor4f", BY_POINTER(color4f(F(i & 1), 0, 1, 1))}, {"glNormal3f", BY_POINTER(normal3f(F(i), 1, 2))}};
  }
  const std::vector<Line> pieces = {
      {"an empty function", +[] { return Nanoseconds([](int i) { bench::Nothing(F(i), 1, 2); }); }},
      {"the locked 64-bit count", +[] { return Nanoseconds([](int) { bench::Count(); }); }},
      {"the append of a vertex record", +[] { return Nanoseconds([](int i) { bench::Append(F(i), 1, 2); }); }},
      {"the live vertex", +[] { return Nanoseconds([](int i) { bench::PushVertex(F(i), 1, 2); }); }},
      {"the thread's block", +[] { return Nanoseconds([](int) { bench::ReachThread(); }); }},
      {"count, append and live vertex", +[] { return Nanoseconds([](int i) { bench::All(F(i), 1, 2); }); }},
  };
  lines.insert(lines.end(), pieces.begin(), pieces.end());
  return lines;
}

}  // namespace

int main(int count, char** arguments) {
  bool imported = false;
  int rounds = 2000;
  std::string only;
  for (int i = 2; i < count; ++i) {
    if (std::strcmp(arguments[i], "--imported") == 0) imported = true;
    if (std::strcmp(arguments[i], "--rounds") == 0 && i + 1 < count) rounds = std::atoi(arguments[++i]);
    if (std::strcmp(arguments[i], "--only") == 0 && i + 1 < count) only = arguments[++i];
  }
  if (count < 2) {
    std::fprintf(stderr, "usage: bench_calls LIBRARY [--imported] [--rounds N] [--only NAME]\n");
    return 2;
  }
  bench::OpenLibrary(arguments[1]);
  Find(library.vertex3f, "glVertex3f"), Find(library.vertex2f, "glVertex2f");
  Find(library.texCoord2f, "glTexCoord2f"), Find(library.color4ub, "glColor4ub");
  Find(library.color4f, "glColor4f"), Find(library.normal3f, "glNormal3f");
  Find(library.begin, "glBegin"), Find(library.end, "glEnd"), Find(library.swapBuffers, "wglSwapBuffers");

  std::vector<Line> lines = Lines(imported);
  if (!only.empty()) {
    lines.erase(std::remove_if(lines.begin(), lines.end(), [&](const Line& line) { return only != line.name; }),
                lines.end());
  }
  for (int round = 0; round < rounds; ++round) {
    for (Line& line : lines) {
      bench::EmptyPieces();
      library.begin(kTriangles);
      line.least = std::min(line.least, line.round());
      library.end();
      library.swapBuffers(nullptr);  // without a context it drops what was recorded
    }
  }
  for (const Line& line : lines) std::printf("%8.2f ns  %s\n", line.least, line.name);
  return 0;
}
