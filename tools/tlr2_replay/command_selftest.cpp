// selftest: draws the built-in scene on every target of this processor and compares.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "tlr2_replay/command.h"
#include "tlr2_replay/console.h"
#include "tlr2_replay/json_output.h"
#include "tlr2_replay/options.h"
#include "tlr2_replay/picture.h"
#include "tlr2_replay/scalar_frame.h"
#include "tlr2_replay/selftest_scene.h"
#include "tlr2_replay/session.h"

namespace tlr2::tool {
namespace {

using Json = nlohmann::ordered_json;

/// Hashes of color and depth a frame. Targets of one arithmetic and lane count draw the same.
struct Expected {
  std::uint32_t color[kSelftestFrames], depth[kSelftestFrames];
};
constexpr Expected kExpected[3] = {
    {{0x5c027b0d, 0x5fcd98c1, 0xd026d7d7}, {0x12ee6636, 0x4947e3bb, 0x4d801d05}},  // sse4
    {{0xa5972e9b, 0x81a189de, 0x5c3a21cb}, {0x12ee6636, 0x4947e3bb, 0x759f4f7b}},  // avx
    {{0x656293e4, 0xf4980c64, 0x8ac31c0d}, {0x7caf3008, 0x8ca9a147, 0x634dc1c2}},  // avx2 and avx512skx
};
const Expected& ExpectedOf(std::int32_t target) { return kExpected[target < 2 ? target : 2]; }

struct FrameResult {
  std::uint32_t color = 0, depth = 0;
  bool expected = false;  // the hashes are the known ones
  bool scalar = false;    // the scalar kernel draws the same
};

/// `pictures`, where not empty, is a folder for the frames.
std::vector<FrameResult> DrawAll(std::int32_t target, std::int32_t threads, bool withScalar,
                                 const std::string& pictures) {
  CaptureContents capture = MakeSelftestCapture();
  SessionOptions options;
  options.isa = target;
  options.threads = threads;
  options.keepStart = withScalar;
  Session session(capture, options);
  std::vector<FrameResult> results;
  for (std::uint32_t frame = 0; frame < session.FrameCount(); ++frame) {
    FrameResult result;
    result.scalar = !withScalar;
    StepHooks hooks;
    if (withScalar) {
      hooks.rendered = [&] {
        FrameStart start = session.Start();
        WalkFrame(start, target, {}, {});
        result.scalar = start.color == StorePicture(session.Picture()).pixels;
      };
    }
    session.Step(hooks);
    if (!pictures.empty()) {
      const Bytes png = PngOfPicture(session.Picture());
      WriteFile((std::filesystem::path(pictures) /
                 Format("%s_frame%u.png", kTargetNames[target], static_cast<unsigned>(frame)))
                    .string(),
                png.data(), png.size());
    }
    result.color = session.ColorHash();
    result.depth = session.DepthHash();
    result.expected =
        result.color == ExpectedOf(target).color[frame] && result.depth == ExpectedOf(target).depth[frame];
    results.push_back(result);
  }
  return results;
}

}  // namespace

int RunSelftest(const Words& words) {
  CommandLine line("selftest");
  std::string pictures;
  line.Add("--out", pictures, "Folder for the pictures that each target drew");
  line.AddJson();
  if (const auto code = line.Parse(words)) return *code;
  if (!pictures.empty()) MakeFolder(pictures);
  bool failed = false;
  Json report = Json::array();
  for (const std::int32_t target : SupportedTargets()) {
    for (const std::int32_t threads : {1, 2, 7}) {
      StopIfInterrupted();
      std::uint32_t frame = 0;
      for (const FrameResult& result : DrawAll(target, threads, threads == 1, threads == 1 ? pictures : "")) {
        const bool good = result.expected && result.scalar;
        failed = failed || !good;
        const std::string color = Format("%08x", static_cast<unsigned>(result.color));
        const std::string depth = Format("%08x", static_cast<unsigned>(result.depth));
        const char* verdict = good               ? "as expected"
                              : !result.expected ? "not the expected picture"
                                                 : "not what the scalar kernel draws";
        if (line.json) {
          report.push_back({{"target", kTargetNames[target]},
                            {"threads", threads},
                            {"frame", frame},
                            {"color", color},
                            {"depth", depth},
                            {"good", good}});
        } else {
          std::printf("%-10s %d tasks, frame %u: color %s, depth %s, %s\n", kTargetNames[target],
                      static_cast<int>(threads), static_cast<unsigned>(frame), color.c_str(), depth.c_str(), verdict);
        }
        ++frame;
      }
    }
  }
  for (std::int32_t target = 0; target < 4 && !line.json; ++target) {
    const std::vector<std::int32_t> supported = SupportedTargets();
    if (std::find(supported.begin(), supported.end(), target) == supported.end())
      std::printf("%-10s left out: this processor lacks it\n", kTargetNames[target]);
  }
  if (line.json) {
    const Json whole = {{"good", !failed}, {"frames", report}};
    WriteJson(whole);
  }
  return failed ? kDiffer : kDone;
}

}  // namespace tlr2::tool
