// The driver of one process, started afresh for each capture.
#include "captured_program.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <limits>

#include "api/accounting.h"
#include "api/state/command_stream.h"
#include "api/state/driver_state.h"
#include "api/state/keyframe.h"
#include "api/table/prototypes.h"
#include "capture/frame_tick.h"
#include "capture/writer.h"
#include "scratch_folder.h"
#include "settings/settings.h"
#include "start/library.h"
#include "tlr2/headless.h"

namespace tlr2::test {
namespace {

void FreshDriver(int isa) {
  LibraryStart();
  DriverStateInstance() = DriverState{};
  static_cast<Keyframe&>(LiveKeyframeInstance()) = Keyframe{};
  LiveKeyframeInstance().touched.clear();
  CommandStreamInstance().bytes.clear();
  CommandStreamInstance().blob.clear();
  const DriverSettings builtIn;
  const auto* from = reinterpret_cast<const SettingWord*>(&builtIn);
  auto* to = reinterpret_cast<SettingWord*>(&Settings());
  for (std::size_t i = 0; i < sizeof(DriverSettings) / sizeof(SettingWord); ++i) to[i] = std::int32_t{from[i]};
  Settings().forceIsa = isa + 1;
  currentFrame = 0;
}

}  // namespace

CaptureContents CaptureProgram(int isa, std::int32_t first, std::int32_t last, const Program& program) {
  const ScratchFolder folder;
  FreshDriver(isa);
  SetCaptureReferencePixels(true);
  SetCaptureRange(first, last, "test", false);

  void* window = tlr2HeadlessCreateWindow(kProgramWidth, kProgramHeight);
  void* context = wglCreateContext(window);
  wglMakeCurrent(window, context);
  glMatrixMode(gl::kProjection);
  glLoadIdentity();
  glMatrixMode(gl::kModelview);
  glLoadIdentity();
  glViewport(0, 0, kProgramWidth, kProgramHeight);
  program(window);
  wglMakeCurrent(nullptr, nullptr);
  wglDeleteContext(context);
  tlr2HeadlessDestroyWindow(window);
  FinishCaptureRange(std::numeric_limits<std::int32_t>::max());
  SetCaptureReferencePixels(false);
  currentFrame = 0;

  CaptureContents contents;
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(folder.Path())) {
    if (entry.path().extension() != ".tlr2-capture") continue;
    ++files;
    const char* error = nullptr;
    EXPECT_TRUE(ReadCapture(entry.path().string().c_str(), contents, &error)) << error;
  }
  EXPECT_EQ(files, 1);
  return contents;
}

}  // namespace tlr2::test
