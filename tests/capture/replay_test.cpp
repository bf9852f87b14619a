// What a captured program drew and what its capture draws: the same, on the same target, to the last pixel.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "api/state/driver_state.h"
#include "api/table/prototypes.h"
#include "capture/record_walk.h"
#include "captured_program.h"
#include "courtyard.h"
#include "scene.h"
#include "tiles/runtime_config.h"
#include "tlr2_replay/known_pixels.h"
#include "tlr2_replay/picture.h"
#include "tlr2_replay/scalar_frame.h"
#include "tlr2_replay/session.h"

namespace tlr2::tool {
namespace {

using test::CaptureProgram;
using test::Program;
using test::RandomProgram;

const int kThreadCounts[] = {1, 2, 7};

Program Courtyard(int frames) {
  return [frames](void* window) {
    courtyard::Scene* scene = courtyard::CreateScene();
    for (int frame = 0; frame < frames; ++frame) {
      courtyard::DrawScene(*scene, test::kProgramWidth, test::kProgramHeight, 2.0 + frame * 0.5, 60);
      wglSwapBuffers(window);
    }
    courtyard::DestroyScene(scene);
  };
}

SessionOptions OptionsFor(int isa, int threads) {
  SessionOptions options;
  options.isa = isa;
  options.threads = threads;
  options.keepKnown = true;
  return options;
}

/// Plays the capture and expects every judged pixel of every frame as captured; returns how many were not judged.
std::uint64_t ExpectAsCaptured(CaptureContents& capture, const SessionOptions& options, const std::string& what) {
  Session session(capture, options);
  std::uint64_t unjudged = 0;
  for (std::uint32_t frame = 0; frame < session.FrameCount(); ++frame) {
    session.Step();
    const PictureView reference = session.Reference();
    EXPECT_NE(reference.pixels, nullptr) << what << ", frame " << frame;
    if (reference.pixels == nullptr) continue;
    const Comparison comparison = Compare(session.Picture(), reference, 0, &session.Known()->Color());
    EXPECT_EQ(comparison.differing, 0u) << what << ", frame " << frame << ": worst " << comparison.worst << " at "
                                        << comparison.worstX << ',' << comparison.worstY;
    unjudged += comparison.unjudged;
  }
  return unjudged;
}

std::vector<std::uint32_t> Hashes(CaptureContents& capture, const SessionOptions& options) {
  Session session(capture, options);
  std::vector<std::uint32_t> hashes;
  while (session.NextFrame() < session.FrameCount()) {
    session.Step();
    hashes.push_back(session.ColorHash());
    hashes.push_back(session.DepthHash());
  }
  return hashes;
}

class OnTarget : public testing::TestWithParam<int> {
 protected:
  void SetUp() override {
    if (!IsaSupported(GetParam())) GTEST_SKIP() << "SKIPPED: " << kTargetNames[GetParam()];
  }
};

TEST_P(OnTarget, TheCourtyardPlaysAsItWasCaptured) {
  CaptureContents capture = CaptureProgram(GetParam(), 1, 3, Courtyard(5));
  ASSERT_EQ(capture.streams.size(), 3u);
  for (const int threads : kThreadCounts)
    EXPECT_EQ(ExpectAsCaptured(capture, OptionsFor(GetParam(), threads), "courtyard"), 0u);
}

TEST_P(OnTarget, FramesOfRandomCallsPlayAsTheyWereCaptured) {
  for (std::uint32_t seed = 1; seed <= 12; ++seed) {
    CaptureContents capture = CaptureProgram(GetParam(), 0, 3, RandomProgram(seed, 4, true));
    ASSERT_EQ(capture.streams.size(), 4u);
    const std::string what = "random program " + std::to_string(seed);
    for (const int threads : kThreadCounts)
      EXPECT_EQ(ExpectAsCaptured(capture, OptionsFor(GetParam(), threads), what), 0u);
  }
}

TEST_P(OnTarget, ACaptureBegunLateInRandomCallsPlaysAsItWasCaptured) {
  for (std::uint32_t seed = 21; seed <= 26; ++seed) {
    CaptureContents capture = CaptureProgram(GetParam(), 5, 6, RandomProgram(seed, 8, true));
    EXPECT_EQ(ExpectAsCaptured(capture, OptionsFor(GetParam(), 2), "late start"), 0u);
  }
}

TEST_P(OnTarget, EveryGoldenSceneShowsNoWrongPixel) {
  for (const golden::Scene* scene = golden::firstScene; scene != nullptr; scene = scene->next) {
    CaptureContents capture = CaptureProgram(GetParam(), 0, 2, [scene](void* window) {
      scene->draw();
      wglSwapBuffers(window);
    });
    const std::string name = scene->name;
    const std::uint64_t unjudged = ExpectAsCaptured(capture, OptionsFor(GetParam(), 2), name);
    // What a read-back drew and consumed is in no file, and its picture is what later records draw on.
    const bool readsBack = name == "read_back" || name == "frame_without_clear";
    EXPECT_EQ(unjudged != 0, readsBack) << name << ": " << unjudged;
  }
}

TEST_P(OnTarget, TheScalarWalkDrawsTheSamePictureAndDepths) {
  CaptureContents capture = CaptureProgram(GetParam(), 1, 1, Courtyard(2));
  SessionOptions options = OptionsFor(GetParam(), 2);
  Session session(capture, options);
  bool walked = false;
  StepHooks hooks;
  hooks.rendered = [&] {
    FrameStart start = session.Start();
    const StoredPicture drawn = StorePicture(session.Picture());
    EXPECT_NE(start.color, drawn.pixels);
    WalkFrame(start, session.Target(), {}, {});
    EXPECT_EQ(start.color, drawn.pixels);
    EXPECT_EQ(0, std::memcmp(start.depth.data(), session.Depth().depths, start.depth.size() * sizeof(float)));
    walked = true;
  };
  session.Step(hooks);
  EXPECT_TRUE(walked);
}

INSTANTIATE_TEST_SUITE_P(Targets, OnTarget, testing::Values(0, 1, 2, 3),
                         [](const auto& chosen) { return std::string(kTargetNames[chosen.param]); });

TEST(Replay, ASpanDependsOnTheFileAloneWhateverTheTaskCount) {
  CaptureContents capture = CaptureProgram(0, 0, 3, RandomProgram(5, 4, false));
  SessionOptions options;
  options.isa = 0;
  options.threads = 1;
  const std::vector<std::uint32_t> once = Hashes(capture, options);
  for (const int threads : {1, 2, 64, 0}) {
    options.threads = threads;
    EXPECT_EQ(Hashes(capture, options), once) << threads << " tasks";
  }
}

TEST(Replay, RewindingStartsFromTheFileAgain) {
  CaptureContents capture = CaptureProgram(0, 1, 3, RandomProgram(9, 4, false));
  SessionOptions options;
  options.isa = 0;
  Session session(capture, options);
  session.Step();
  const std::uint32_t first = session.ColorHash();
  session.StepTo(2);
  const std::uint32_t last = session.ColorHash();
  session.StepTo(0);
  EXPECT_EQ(session.ColorHash(), first);
  session.StepTo(2);
  EXPECT_EQ(session.ColorHash(), last);
}

TEST(Replay, TheCaptureIsGivenBackAsItWas) {
  CaptureContents capture = CaptureProgram(0, 0, 1, RandomProgram(2, 2, true));
  const ByteVector stream = capture.streams[0], blob = capture.blobs[0];
  {
    Session session(capture, {});
    session.Step();
    session.Step();
  }
  ASSERT_EQ(capture.streams[0].size(), stream.size());
  EXPECT_EQ(0, std::memcmp(capture.streams[0].data(), stream.data(), stream.size()));
  ASSERT_EQ(capture.blobs[0].size(), blob.size());
}

TEST(Replay, AClearOfAnEarlierFrameIsInTheKeyframe) {
  CaptureContents capture = CaptureProgram(0, 3, 4, [](void* window) {
    golden::ClearAll(0.25f, 0.5f, 0.75f);
    for (int frame = 0; frame < 6; ++frame) {
      golden::PixelCoordinates();
      glColor3f(1, 1, 1);
      golden::Rectangle(10.0f * static_cast<float>(frame), 20, 60, 100, 0);
      wglSwapBuffers(window);
    }
  });
  EXPECT_EQ(capture.snapshot.pendingColorClear, 1);
  EXPECT_EQ(ExpectAsCaptured(capture, OptionsFor(0, 1), "cleared once"), 0u);
}

TEST(Replay, AViewportThatGrowsTheSurfaceGrowsItInThatFrame) {
  CaptureContents capture = CaptureProgram(0, 0, 2, [](void* window) {
    for (int frame = 0; frame < 3; ++frame) {
      if (frame == 1) glViewport(0, 0, 400, 200);
      golden::ClearAll(0.1f, 0.2f, static_cast<float>(frame) * 0.3f);
      golden::PixelCoordinates();
      golden::Rectangle(10, 20, 300, 100, 0);
      wglSwapBuffers(window);
    }
  });
  EXPECT_EQ(ExpectAsCaptured(capture, OptionsFor(0, 2), "growing viewport"), 0u);
  Session session(capture, {});
  session.Step();
  EXPECT_EQ(session.Picture().width, 320);
  session.Step();
  EXPECT_EQ(session.Picture().width, 400);
  EXPECT_EQ(session.Picture().height, 240);
}

TEST(Replay, AFrameWithoutClearsDrawsOnThePictureOfTwoFramesAgo) {
  CaptureContents capture = CaptureProgram(0, 0, 3, [](void* window) {
    golden::PixelCoordinates();
    for (int frame = 0; frame < 4; ++frame) {
      glColor3f(1, static_cast<float>(frame) * 0.25f, 0);
      const float at = 20.0f * static_cast<float>(frame);
      golden::Rectangle(at, at, at + 15, at + 15, 0);
      wglSwapBuffers(window);
    }
  });
  ExpectAsCaptured(capture, OptionsFor(0, 1), "no clears");
  SessionOptions options = OptionsFor(0, 1);
  Session session(capture, options);
  session.StepTo(2);
  const PictureView picture = session.Picture();
  EXPECT_EQ(picture.Row(239 - 5)[5], 0xFFFF0000u);    // of frame 0
  EXPECT_NE(picture.Row(239 - 25)[25], 0xFFFF4000u);  // frame 1's is in the other buffer
  EXPECT_TRUE(session.Known()->ColorKnown(5, 239 - 5));
  EXPECT_FALSE(session.Known()->ColorKnown(25, 239 - 25));
}

// -- What no file holds ---------------------------------------------------------------------------------------------

TEST(Unjudged, PixelsThatLeftoversCanChangeAreNeverCalledKnown) {
  std::uint64_t known = 0, unknown = 0;
  for (std::uint32_t seed = 31; seed <= 38; ++seed) {
    CaptureContents capture = CaptureProgram(0, 2, 5, RandomProgram(seed, 6, false));
    std::vector<StoredPicture> pictures;
    std::vector<std::vector<std::uint8_t>> knowns;
    for (const std::uint32_t leftovers : {0u, 77u, 123456u, 99u}) {
      SessionOptions options = OptionsFor(0, 1);
      options.leftovers = leftovers;
      Session session(capture, options);
      for (std::uint32_t frame = 0; frame < session.FrameCount(); ++frame) {
        session.Step();
        if (leftovers == 0) {
          pictures.push_back(StorePicture(session.Picture()));
          knowns.push_back(session.Known()->Color());
          for (const std::uint8_t pixel : knowns.back()) ++(pixel != 0 ? known : unknown);
          continue;
        }
        ASSERT_EQ(knowns[frame], session.Known()->Color()) << "knowledge itself depends on nothing";
        const Comparison comparison = Compare(session.Picture(), pictures[frame].View(), 0, &knowns[frame]);
        EXPECT_EQ(comparison.differing, 0u) << "program " << seed << ", frame " << frame;
      }
    }
  }
  EXPECT_GT(known, 10000u);
  EXPECT_GT(unknown, 10000u);
}

TEST(Unjudged, AFrameThatClearsColorButTestsOldDepthsHasUnjudgedPixelsWhereItDraws) {
  CaptureContents capture = CaptureProgram(0, 2, 2, [](void* window) {
    golden::PixelCoordinates();
    for (int frame = 0; frame < 3; ++frame) {
      glClearColor(0, 0, 1, 1);
      glClear(gl::kColorBufferBit);
      glEnable(gl::kDepthTest);
      glDepthFunc(gl::kLequal);
      golden::Rectangle(0, 0, 160, 240, 0);
      wglSwapBuffers(window);
    }
  });
  EXPECT_EQ(ExpectAsCaptured(capture, OptionsFor(0, 1), "old depths"), 160u * 240u);
}

TEST(Unjudged, AGrownSurfaceHoldsNothingThatIsKnown) {
  CaptureContents capture = CaptureProgram(0, 0, 1, [](void* window) {
    golden::Rectangle(-1, -1, 1, 1, 0);
    wglSwapBuffers(window);
    glViewport(0, 0, 400, 240);
    golden::Rectangle(-1, -1, 0, 1, 0);
    wglSwapBuffers(window);
  });
  EXPECT_EQ(ExpectAsCaptured(capture, OptionsFor(0, 1), "grown"), 200u * 240u);
}

/// Three frames that clear and draw. With `readsBack`, the second sets its colours ahead of a read-back of what it drew
/// so far; without, it does nothing of this.
Program ReadsBackInTheSecondFrame(bool readsBack, bool clearsBehind) {
  return [=](void* window) {
    golden::PixelCoordinates();
    for (int frame = 0; frame < 3; ++frame) {
      if (frame == 0) golden::ClearAll(0, 0, 1);
      if (frame == 1 && readsBack) {
        glClearColor(0, 1, 0, 1);
        glColor3f(1, 0, 0);
        golden::Rectangle(0, 0, 300, 200, 0);
        std::uint32_t pixel = 0;
        glReadPixels(0, 0, 1, 1, gl::kBgra, gl::kUnsignedByte, &pixel);
      }
      if (frame != 0 && clearsBehind) glClear(gl::kColorBufferBit | gl::kDepthBufferBit);
      golden::Rectangle(50, 60, 150, 160, 0);
      wglSwapBuffers(window);
    }
  };
}

TEST(Unjudged, WhatAReadBackDrewInTheFirstFrameIsToldApart) {
  for (const bool clearsBehind : {true, false}) {
    CaptureContents capture = CaptureProgram(0, 1, 1, ReadsBackInTheSecondFrame(true, clearsBehind));
    // The keyframe is the state behind the read-back. What it drew is not in the file.
    EXPECT_EQ(ExpectAsCaptured(capture, OptionsFor(0, 1), "first frame"),
              clearsBehind ? 0u : 320u * 240u - 100u * 100u);
  }
}

TEST(Unjudged, AReadBackInALaterFrameLeavesNoTraceInTheFile) {
  for (const bool clearsBehind : {true, false}) {
    CaptureContents with = CaptureProgram(0, 0, 2, ReadsBackInTheSecondFrame(true, clearsBehind));
    const CaptureContents without = CaptureProgram(0, 0, 2, ReadsBackInTheSecondFrame(false, clearsBehind));
    const auto same = [](const ByteVector& a, const ByteVector& b) {
      return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size()) == 0);
    };
    EXPECT_EQ(0, std::memcmp(&with.snapshot, &without.snapshot, sizeof with.snapshot));
    ASSERT_EQ(with.streams.size(), 3u);
    for (std::size_t frame = 0; frame < 3; ++frame) {
      EXPECT_TRUE(same(with.streams[frame], without.streams[frame])) << frame;
      EXPECT_TRUE(same(with.blobs[frame], without.blobs[frame])) << frame;
      EXPECT_EQ(same(with.references[frame], without.references[frame]), frame == 0) << frame;
    }
    // So no reader can tell: the replay is the program without the read-back, and the pixels count as differing.
    Session session(with, OptionsFor(0, 1));
    session.StepTo(1);
    const Comparison comparison = Compare(session.Picture(), session.Reference(), 0, &session.Known()->Color());
    EXPECT_GT(comparison.differing, 0u);
    EXPECT_EQ(comparison.unjudged, 0u);
  }
}

TEST(Unjudged, StateThatAReadBackOfNothingDrainedIsLostInTheProgramAsInTheFile) {
  CaptureContents capture = CaptureProgram(0, 0, 2, [](void* window) {
    golden::PixelCoordinates();
    for (int frame = 0; frame < 3; ++frame) {
      if (frame == 1) {
        glColor3f(0, 1, 0);
        std::uint32_t pixel = 0;
        glReadPixels(0, 0, 1, 1, gl::kBgra, gl::kUnsignedByte, &pixel);
      }
      golden::Rectangle(50, 60, 150, 160, 0);
      wglSwapBuffers(window);
    }
  });
  ExpectAsCaptured(capture, OptionsFor(0, 1), "state lost");
  for (RecordWalk walk(capture.streams[1]); walk.Next();) EXPECT_FALSE(walk.Is(Cmd::Color));
}

// -- A primitive that is open at the swap ---------------------------------------------------------------------------

TEST(OpenPrimitive, KeepsItsModeAndLosesItsVerticesInTheProgramAsInTheFile) {
  const Program program = [](void* window) {
    golden::PixelCoordinates();
    for (int frame = 0; frame < 4; ++frame) {
      glClear(gl::kColorBufferBit | gl::kDepthBufferBit);
      glColor3f(1, 0, 0);
      for (const float x : {20.0f, 120.0f}) glVertex2f(x, 20);
      for (const float x : {120.0f, 20.0f}) glVertex2f(x, 120);
      glEnd();  // of the frame before; the first frame has nothing to end
      glColor3f(0, 1, 0);
      golden::Rectangle(150, 60, 250, 160, 0);
      glBegin(gl::kQuads);
      glVertex2f(0, 0);
      glVertex2f(300, 0);
      wglSwapBuffers(window);
    }
  };
  for (const std::int32_t first : {0, 2}) {
    CaptureContents capture = CaptureProgram(0, first, 3, program);
    EXPECT_EQ(capture.snapshot.primitiveMode, first == 0 ? 0u : gl::kQuads);
    EXPECT_EQ(ExpectAsCaptured(capture, OptionsFor(0, 1), "open primitive"), 0u);
    Session session(capture, OptionsFor(0, 1));
    for (std::uint32_t frame = 0; frame < session.FrameCount(); ++frame) {
      EXPECT_EQ(session.OpenPrimitiveMode(), first + frame == 0 ? 0u : gl::kQuads) << frame;
      EXPECT_EQ(session.Step().packets, first + frame == 0 ? 1u : 2u) << frame;
    }
  }
}

// -- The picture after each primitive -------------------------------------------------------------------------------

TEST(Prefix, TheLastPrimitivesPictureIsTheFrames) {
  CaptureContents capture = CaptureProgram(0, 1, 2, Courtyard(3));
  SessionOptions options;
  options.isa = 0;
  options.keepStart = true;
  Session session(capture, options);
  session.Step();
  int compared = 0;
  StepHooks hooks;
  hooks.rendered = [&] {
    std::uint32_t total = 0;
    for (const std::uint32_t count : session.TrianglesOfPrimitives()) total += count;
    EXPECT_EQ(total, DriverStateInstance().triangles.size());
    std::vector<float> depth;
    EXPECT_EQ(session.DrawPrefix(0), session.Start().color);
    EXPECT_NE(session.DrawPrefix(total / 2), StorePicture(session.Picture()).pixels);
    EXPECT_EQ(session.DrawPrefix(total, &depth), StorePicture(session.Picture()).pixels);
    EXPECT_EQ(0, std::memcmp(depth.data(), session.Depth().depths, depth.size() * sizeof(float)));
    EXPECT_EQ(DriverStateInstance().triangles.size(), total) << "the frame's triangles stay";
    ++compared;
  };
  session.Step(hooks);
  EXPECT_EQ(compared, 1);
}

}  // namespace
}  // namespace tlr2::tool
