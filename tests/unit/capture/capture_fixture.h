// A fresh driver in a folder of its own: the files that trace, summary and captures leave in the current directory.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <memory>
#include <string>

#include "api/accounting.h"
#include "api/state/command_stream.h"
#include "api/state/driver_state.h"
#include "api/state/keyframe.h"
#include "api/table/entry.h"
#include "api/table/prototypes.h"
#include "capture/frame_tick.h"
#include "capture/trace_file.h"
#include "capture/writer.h"
#include "platform/thread_block.h"
#include "scratch_folder.h"
#include "settings/settings.h"

namespace tlr2 {

/// What the driver's poll of the keyboard sees; hotkey_stand_in.cpp.
extern bool hotkeyHeld;
/// How often the driver asked the application to end; quit_stand_in.cpp.
extern int quitsPosted;

inline constexpr char kNoFile[] = "<no such file>";

/// The bytes of a file of the current directory.
inline std::string BytesOf(const std::string& name) {
  std::ifstream in(name, std::ios::binary);
  if (!in) return kNoFile;
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline bool FolderIsEmpty() { return std::filesystem::is_empty(std::filesystem::current_path()); }

class Diagnostics : public ::testing::Test {
 protected:
  void SetUp() override {
    folder = std::make_unique<test::ScratchFolder>();
    Reset();
  }
  void TearDown() override {
    Reset();
    folder.reset();
  }

  static void Reset() {
    if (TraceOpen()) EndTrace();
    TakeTraceQuit();
    traceFirstFrame = -1;
    traceLastFrame = -1;
    FinishCaptureRange(std::numeric_limits<std::int32_t>::max());
    SetCaptureReferencePixels(false);
    hotkeyHeld = false;
    captureRequested = 0;
    traceRequested = 0;
    currentFrame = 0;
    FrameTick();  // sees the hotkey up
    Settings().captureFrameCount = 5;
    Settings().pipelineCutoff = 5;
    CurrentThreadGuard().currentContext = nullptr;
    DriverStateInstance() = DriverState();
    LiveKeyframeInstance() = LiveKeyframe();
    CommandStreamInstance().bytes.clear();
    CommandStreamInstance().blob.clear();
  }

  /// The control step that ends frame `frame` - 1.
  static void TickInto(std::int32_t frame) {
    currentFrame = frame;
    FrameTick();
  }

  std::unique_ptr<test::ScratchFolder> folder;
};

}  // namespace tlr2
