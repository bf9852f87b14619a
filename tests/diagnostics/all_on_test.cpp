// Trace, profiler and call summary all on while workers draw and other threads call: nothing is lost, and a thread
// sanitizer finds nothing. The summary is also written again and again beside all that, as a crash on any thread would.
#include <gtest/gtest.h>
#include <tlr2/headless.h>

#include <atomic>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "api/accounting.h"
#include "api/table/entry.h"
#include "api/table/prototypes.h"
#include "capture/call_summary.h"
#include "capture/frame_tick.h"
#include "golden_text.h"
#include "scoped_environment.h"
#include "scratch_folder.h"
#include "settings/stage_counters.h"
#include "start/library.h"

namespace tlr2 {
namespace {

constexpr int kFrames = 125, kCallers = 3, kTriangles = 40;

void Draw(int frame) {
  glViewport(0, 0, 160, 96);
  glMatrixMode(gl::kProjection);
  glLoadIdentity();
  glMatrixMode(gl::kModelview);
  glLoadIdentity();
  glClear(gl::kColorBufferBit | gl::kDepthBufferBit);
  glBegin(gl::kTriangles);
  for (int i = 0; i < kTriangles; ++i) {
    const float x = static_cast<float>((i * 7 + frame) % 20) / 10.0f - 1.0f;
    glVertex3f(x, -1, 0);
    glVertex3f(x + 0.5f, -1, 0);
    glVertex3f(x, 1, 0);
  }
  glEnd();
}

TEST(AllOn, NothingIsLostWhileWorkersDrawAndOtherThreadsCall) {
  const test::ScratchFolder folder;
  const test::ScopedEnvironment threads("TLR2_THREADS", "3"), trace("TLR2_TRACE_FRAMES", "0-124");
  LibraryStart();
  SetStageTiming(true);
  void* const window = tlr2HeadlessCreateWindow(160, 96);
  void* const context = wglCreateContext(window);
  wglMakeCurrent(window, context);
  std::atomic<bool> over{false};
  std::atomic<std::uint64_t> calls{0};
  Draw(0);
  wglSwapBuffers(window);  // the size stands from here on
  std::vector<std::thread> callers;
  int summaries = 0;
  callers.emplace_back([&] {
    for (; !over.load(); ++summaries) WriteCallSummary();
  });
  for (int t = 0; t < kCallers; ++t)
    callers.emplace_back([&] {
      std::uint64_t mine = 0;
      for (; !over.load() && mine < 20000; ++mine) glFogf(0x0B62, 0.5f);
      calls += mine;
    });
  for (int frame = 1; frame < kFrames - 1; ++frame) {
    Draw(frame);
    wglSwapBuffers(window);  // rewrites the summary at frames 60 and 120
  }
  over = true;
  for (std::thread& caller : callers) caller.join();
  Draw(kFrames - 1);
  wglSwapBuffers(window);  // ends the trace
  SetStageTiming(false);

  EXPECT_EQ(CallCounters[static_cast<int>(Entry::glFogf)].load(), calls.load());
  const std::string text = test::FileBytes("TLR2_trace_frames0-124.tlr2-trace");
  std::istringstream lines(text);
  std::uint64_t fog = 0, vertices = 0, all = 0;
  for (std::string line; std::getline(lines, line);) {
    fog += line.find("TLR2::GL::Fogf ") != std::string::npos;
    vertices += line.find("TLR2::GL::Vertex3f ") != std::string::npos;
    all += line.rfind("[frame=", 0) == 0;
  }
  EXPECT_EQ(fog, calls.load());
  EXPECT_EQ(vertices, static_cast<std::uint64_t>(kFrames * kTriangles * 3));
  EXPECT_EQ(text.substr(text.size() - 21), "=== end of trace ===\n");
  std::uint64_t total = 0;
  for (const Counter64& counter : CallCounters) total += counter.load();
  EXPECT_EQ(all, total);
  EXPECT_GT(summaries, 0);
  wglMakeCurrent(nullptr, nullptr);
  wglDeleteContext(context);
  tlr2HeadlessDestroyWindow(window);
  LibraryEnd();
  EXPECT_NE(test::FileBytes("TLR2_api_calls.log").find("    glEnd                            :            125\n"),
            std::string::npos);
}

}  // namespace
}  // namespace tlr2
