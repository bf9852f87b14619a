// Each scene on each target, held to the picture that was looked at: expected.txt has a hash a scene and arithmetic.
//
// TLR2_GOLDEN_PICTURES=DIR writes the pictures as PPM; TLR2_GOLDEN_UPDATE=FILE writes the hashes.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include "api/state/command_stream.h"
#include "api/state/driver_state.h"
#include "api/state/keyframe.h"
#include "base/hash.h"
#include "scene.h"
#include "settings/settings.h"
#include "start/library.h"
#include "tiles/runtime_config.h"
#include "tlr2/headless.h"

namespace tlr2::golden {
namespace {

struct Target {
  const char* name;
  int isa;                 // as IsaSupported counts
  const char* arithmetic;  // targets of one arithmetic and lane count give the same picture
};
constexpr Target kTargets[] = {{"sse4", 0, "sse4"}, {"avx", 1, "avx"}, {"avx2", 2, "fused"}, {"avx512skx", 3, "fused"}};

const std::map<std::string, std::string>& Expected() {
  static const std::map<std::string, std::string> lines = [] {
    std::map<std::string, std::string> read;
    std::ifstream file(TLR2_GOLDEN_EXPECTED);
    for (std::string scene, arithmetic, hash; file >> scene >> arithmetic >> hash;)
      read[scene + ' ' + arithmetic] = hash;
    return read;
  }();
  return lines;
}

// The state of a process that has just started.
void Begin(int isa) {
  DriverStateInstance() = DriverState{};
  static_cast<Keyframe&>(LiveKeyframeInstance()) = Keyframe{};
  LiveKeyframeInstance().touched.clear();
  CommandStreamInstance().bytes.clear();
  CommandStreamInstance().blob.clear();
  Settings().forceIsa = isa + 1;
}

std::vector<std::uint32_t> Picture(const Scene& scene, int isa) {
  Begin(isa);
  void* window = tlr2HeadlessCreateWindow(kWidth, kHeight);
  void* context = wglCreateContext(window);
  wglMakeCurrent(window, context);
  glMatrixMode(gl::kProjection);
  glLoadIdentity();
  glMatrixMode(gl::kModelview);
  glLoadIdentity();
  glViewport(0, 0, kWidth, kHeight);
  scene.draw();
  wglSwapBuffers(window);
  std::vector<std::uint32_t> pixels(kWidth * kHeight);
  EXPECT_EQ(tlr2HeadlessCopyPicture(window, pixels.data(), kWidth * kHeight), kWidth * kHeight);
  wglMakeCurrent(nullptr, nullptr);
  wglDeleteContext(context);
  tlr2HeadlessDestroyWindow(window);
  return pixels;
}

void WritePicture(const std::string& path, const std::vector<std::uint32_t>& pixels) {
  std::ofstream file(path, std::ios::binary);
  file << "P6 " << kWidth << ' ' << kHeight << " 255\n";
  for (const std::uint32_t word : pixels) {
    file.put(static_cast<char>(word >> 16)).put(static_cast<char>(word >> 8)).put(static_cast<char>(word));
  }
}

class Golden : public testing::TestWithParam<Target> {};

TEST_P(Golden, EveryScenesPictureIsTheOneThatWasLookedAt) {
  LibraryStart();
  if (!IsaSupported(GetParam().isa)) GTEST_SKIP() << "SKIPPED: " << GetParam().name;
  const char* folder = std::getenv("TLR2_GOLDEN_PICTURES");
  const char* update = std::getenv("TLR2_GOLDEN_UPDATE");
  int scenes = 0;
  for (const Scene* scene = firstScene; scene != nullptr; scene = scene->next, ++scenes) {
    const std::vector<std::uint32_t> pixels = Picture(*scene, GetParam().isa);
    char hash[16];
    std::snprintf(hash, sizeof hash, "%08x", static_cast<unsigned>(Fnv1a(pixels.data(), pixels.size() * 4)));
    const std::string key = std::string(scene->name) + ' ' + GetParam().arithmetic;
    if (folder != nullptr)
      WritePicture(std::string(folder) + '/' + scene->name + '-' + GetParam().name + ".ppm", pixels);
    if (update != nullptr) {
      std::ofstream(update, std::ios::app) << key << ' ' << hash << '\n';
      continue;
    }
    const auto known = Expected().find(key);
    ASSERT_NE(known, Expected().end()) << "no hash for " << key;
    EXPECT_EQ(known->second, hash) << scene->name << " on " << GetParam().name;
    // The same picture however many tasks share the screen.
    for (const int tasks : {1, 2, 7, 64}) {
      Settings().workerLimit = tasks;
      EXPECT_EQ(Picture(*scene, GetParam().isa), pixels) << scene->name << " with at most " << tasks << " tasks";
    }
    Settings().workerLimit = 0;
  }
  EXPECT_GE(scenes, 17);
}

INSTANTIATE_TEST_SUITE_P(Targets, Golden, testing::ValuesIn(kTargets),
                         [](const auto& chosen) { return std::string(chosen.param.name); });

}  // namespace
}  // namespace tlr2::golden
