// The call summary of a small known run with all of its reports, byte for byte but for times.
#include <gtest/gtest.h>
#include <tlr2/headless.h>

#include <algorithm>
#include <filesystem>
#include <regex>
#include <string>
#include <vector>

#include "api/table/prototypes.h"
#include "capture/frame_tick.h"
#include "golden_text.h"
#include "scratch_folder.h"
#include "settings/profiler.h"
#include "settings/settings.h"

namespace tlr2 {
namespace {

using Lines = std::vector<std::string>;

std::size_t DepthOf(const std::string& line) { return line.find_first_not_of(' '); }

/// Siblings stand by their times, which vary: here by their names, each with all that stands below it.
Lines SortedTree(const Lines& lines) {
  std::vector<Lines> groups;
  for (const std::string& line : lines) {
    if (groups.empty() || DepthOf(line) <= DepthOf(groups.back().front())) groups.emplace_back();
    groups.back().push_back(line);
  }
  std::sort(groups.begin(), groups.end());
  Lines sorted;
  for (const Lines& group : groups) {
    sorted.push_back(group.front());
    const Lines below = SortedTree(Lines(group.begin() + 1, group.end()));
    sorted.insert(sorted.end(), below.begin(), below.end());
  }
  return sorted;
}

std::string WithoutTimes(std::string text) {
  text = std::regex_replace(text, std::regex("total_work_ns=[0-9]+ "), "total_work_ns=<ns> ");
  text = std::regex_replace(text, std::regex("avg_us_per_tile=[0-9]+\\.[0-9]{2}\n"), "avg_us_per_tile=<us>\n");
  // Each figure in its whole width; one that is wider stays and shows.
  return std::regex_replace(text,
                            std::regex("total=[ 0-9]{6}\\.[0-9]{3} ms \\([ 0-9]{3}\\.[0-9]{2}%\\)  "
                                       "mean=[ 0-9]{7}\\.[0-9]{2} us  min=[ 0-9]{7}\\.[0-9]{2} us  "
                                       "max=[ 0-9]{7}\\.[0-9]{2} us\n"),
                            "total=<ms> (<%>)  mean=<us>  min=<us>  max=<us>\n");
}

std::string WithTreesSorted(const std::string& text) {
  std::istringstream in(text);
  std::string out;
  Lines tree;
  const auto flush = [&] {
    for (const std::string& line : SortedTree(tree)) out += line + "\n";
    tree.clear();
  };
  for (std::string line; std::getline(in, line);) {
    if (line.find(" calls=") != std::string::npos) {
      tree.push_back(line);
    } else {
      flush();
      out += line + "\n";
    }
  }
  flush();
  return out;
}

void Triangle(float x) {
  glBegin(gl::kTriangles);
  glColor4ub(255, 0, 0, 255);
  glVertex3f(x, -1, 0);
  glVertex3f(1, -1, 0);
  glVertex3f(0, 1, 0);
  glEnd();
}

// With no pool started the frame is one task on this thread, so every count is known.
TEST(SummaryText, OfAKnownRun) {
  const std::string home = std::filesystem::current_path().string();
  const test::ScratchFolder folder;
  Settings().pipelineCutoff = 5;
  void* const window = tlr2HeadlessCreateWindow(64, 48);
  void* const context = wglCreateContext(window);
  wglMakeCurrent(window, context);
  for (int frame = 0; frame < 3; ++frame) {
    glViewport(0, 0, 64, 48);
    glMatrixMode(gl::kProjection);
    glLoadIdentity();
    glMatrixMode(gl::kModelview);
    glLoadIdentity();
    glClearColor(0, 0, 0, 1);
    glClear(gl::kColorBufferBit | gl::kDepthBufferBit);
    Triangle(-1);
    Triangle(-0.5f);
    glFogf(0x0B62, 0.5f);
    glVertex3d(1, 2, 3);
    if (frame < 2) glTexEnvf(gl::kTextureEnv, gl::kTextureEnvMode, 8448.0f);
    wglSwapBuffers(window);
  }
  WriteCallSummary();
  // Without the profiler its report is absent, and it is the last one.
  test::ExpectGolden("summary.txt", WithTreesSorted(WithoutTimes(test::FileBytes("TLR2_api_calls.log"))), home,
                     TLR2_PROFILING ? "" : "\n=== TLR2 scoped profile (");
  wglMakeCurrent(nullptr, nullptr);
  wglDeleteContext(context);
  tlr2HeadlessDestroyWindow(window);
}

}  // namespace
}  // namespace tlr2
