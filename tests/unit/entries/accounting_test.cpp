// Counting, recording and suppression: what each entry does before its own work.
#include <thread>
#include <vector>

#include "entry_fixture.h"

namespace tlr2 {
namespace {

using Accounting = Entries;

TEST_F(Accounting, ACallCountsInItsOwnRow) {
  const std::uint64_t begin = CallsOf(Entry::glBegin), end = CallsOf(Entry::glEnd);
  glBegin(gl::kTriangles);
  glBegin(gl::kTriangles);
  EXPECT_EQ(CallsOf(Entry::glBegin), begin + 2);
  EXPECT_EQ(CallsOf(Entry::glEnd), end);
}

TEST_F(Accounting, AStubCountsAndChangesNothing) {
  StateSnapshot before = {}, after = {};
  SnapshotFromState(state(), before);
  const std::uint64_t calls = CallsOf(Entry::glVertex3d);
  glVertex3d(1, 2, 3);
  SnapshotFromState(state(), after);
  EXPECT_EQ(CallsOf(Entry::glVertex3d), calls + 1);
  EXPECT_EQ(std::memcmp(&before, &after, sizeof before), 0);
  EXPECT_TRUE(state().vertices.empty());
  EXPECT_EQ(stream().bytes.size(), 0u);
}

TEST_F(Accounting, FormsThatAProgramMightExpectToWorkAreStubs) {
  const float m[16] = {};
  const double d[16] = {};
  glColor3ub(1, 2, 3);
  glColor3d(1, 0, 0);
  glNormal3f(0, 0, 1);
  glVertex4f(1, 2, 3, 4);
  glTexCoord2d(1, 1);
  glLoadMatrixd(d);
  glMultMatrixd(d);
  glTranslated(1, 2, 3);
  glRotated(45, 0, 0, 1);
  glScaled(2, 2, 2);
  glMultiTexCoord2fARB(0x84C0, 1, 1);
  glMTexCoord2fSGIS(0x835E, 1, 1);
  glDrawArrays(gl::kTriangles, 0, 3);
  glDrawElements(gl::kTriangles, 3, 0x1405, m);
  glCallList(1);
  glFlush();
  glFinish();
  StateSnapshot snapshot = {}, fresh = {};
  SnapshotFromState(state(), snapshot);
  SnapshotFromState(DriverState(), fresh);
  EXPECT_EQ(std::memcmp(&snapshot, &fresh, sizeof fresh), 0);
  EXPECT_EQ(stream().bytes.size(), 0u);
}

TEST_F(Accounting, CallsFromManyThreadsCountExactly) {
  constexpr int kThreads = 8, kCalls = 20000;
  const std::uint64_t flush = CallsOf(Entry::glFlush), fog = CallsOf(Entry::glFogf);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t)
    threads.emplace_back([] {
      for (int i = 0; i < kCalls; ++i) {
        glFlush();
        glFogf(0x0B62, 0.5f);
      }
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(CallsOf(Entry::glFlush), flush + kThreads * kCalls);
  EXPECT_EQ(CallsOf(Entry::glFogf), fog + kThreads * kCalls);
}

TEST_F(Accounting, WithTheStreamCutOffStateStillChangesAndCallsStillCount) {
  Settings().pipelineCutoff = 0;
  const std::uint64_t calls = CallsOf(Entry::glBegin);
  glBegin(gl::kQuads);
  glColor4ub(1, 2, 3, 4);
  glVertex3f(1, 2, 3);
  EXPECT_EQ(CallsOf(Entry::glBegin), calls + 1);
  EXPECT_EQ(state().primitiveMode, gl::kQuads);
  EXPECT_EQ(state().currentColor, 0x04010203u);
  EXPECT_EQ(state().vertices.size(), 1u);
  EXPECT_EQ(stream().bytes.size(), 0u);
}

TEST_F(Accounting, TheRecordingTestIsMadeAfreshOnEachCall) {
  glEnable(gl::kBlend);
  Settings().pipelineCutoff = 0;
  glDisable(gl::kBlend);
  Settings().pipelineCutoff = 1;
  glEnable(gl::kBlend);
  EXPECT_EQ(recordCount(), 2u);
}

TEST_F(Accounting, ASuppressedThreadNeitherCountsNorRecordsButWorks) {
  const std::uint64_t calls = CallsOf(Entry::glEnable);
  CurrentThreadGuard().suppress = true;
  glEnable(gl::kBlend);
  glColor4ub(255, 0, 0, 255);
  CurrentThreadGuard().suppress = false;
  EXPECT_EQ(CallsOf(Entry::glEnable), calls);
  EXPECT_EQ(stream().bytes.size(), 0u);
  EXPECT_EQ(state().blendEnabled, 1);
  EXPECT_EQ(state().currentColor, 0xFFFF0000u);
}

TEST_F(Accounting, EveryRecordOpensWithIdAndSize) {
  glBegin(gl::kTriangles);
  glVertex3f(1, 2, 3);
  ASSERT_EQ(stream().bytes.size(), 24u);
  EXPECT_EQ(ReadCmdHeader(stream().bytes.data()), 0x00080029u);
  EXPECT_EQ(ReadCmdHeader(stream().bytes.data() + 8), 0x0010002Bu);
}

}  // namespace
}  // namespace tlr2
