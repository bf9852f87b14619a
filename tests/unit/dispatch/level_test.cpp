// The level and target that processor facts lead to, and what the entries do with them.
#include <gtest/gtest.h>

#include <algorithm>
#include <thread>
#include <vector>

#include "kernels/tile_kernel.h"
#include "platform/cpu.h"

namespace tlr2 {
namespace {

constexpr std::uint32_t kSse41 = 1u << 19, kSse42 = 1u << 20, kOsxsave = 1u << 27, kAvx = 1u << 28, kF16c = 1u << 29,
                        kRdrand = 1u << 30, kSse2 = 1u << 26, kAvx2 = 1u << 5, kAvx512f = 1u << 16;
constexpr std::uint32_t kServer = 0xD0020000u, kManyCore = 0x1C000000u;

CpuFacts Server() {
  return {kSse41 | kSse42 | kOsxsave | kAvx | kF16c | kRdrand, kSse2, kAvx2 | kAvx512f | kServer, 0, 0xE7};
}
CpuFacts Desktop() {
  CpuFacts facts = Server();
  facts.leaf7Ebx = kAvx2;
  facts.xcr0 = 7;
  return facts;
}
std::int32_t Target(const CpuFacts& facts) { return KernelTargetOfLevel(KernelLevel(facts)); }

TEST(Dispatch, AllServerSetsGiveTheWidestTarget) {
  EXPECT_EQ(KernelLevel(Server()), 8);
  EXPECT_EQ(Target(Server()), 3);
}

TEST(Dispatch, EachMissingServerSetFallsBackToAvx2) {
  for (const std::uint32_t bit : {1u << 17, 1u << 28, 1u << 30, 1u << 31, kAvx512f}) {
    CpuFacts facts = Server();
    facts.leaf7Ebx &= ~bit;
    EXPECT_EQ(KernelLevel(facts), 5) << std::hex << bit;
  }
}

TEST(Dispatch, WideVectorsWithoutAvx2CountAsAvx) {
  CpuFacts facts = Server();
  facts.leaf7Ebx &= ~kAvx2;
  EXPECT_EQ(KernelLevel(facts), 3);
  facts = Server();
  facts.leaf1Ecx &= ~kOsxsave;
  EXPECT_EQ(KernelLevel(facts), 2);
}

TEST(Dispatch, EachUnsavedRegisterFileFallsBackToAvx2) {
  for (const std::uint64_t bit : {0x20u, 0x40u, 0x80u}) {
    CpuFacts facts = Server();
    facts.xcr0 &= ~bit;
    EXPECT_EQ(KernelLevel(facts), 5) << std::hex << bit;
  }
}

TEST(Dispatch, ManyCoreSetsAreALevelWithoutATarget) {
  CpuFacts facts = Server();
  facts.leaf7Ebx = kAvx2 | kAvx512f | kManyCore;
  EXPECT_EQ(KernelLevel(facts), 7);
  EXPECT_EQ(KernelTargetOfLevel(7), -1);
}

TEST(Dispatch, ServerSetsGoBeforeManyCoreSets) {
  CpuFacts facts = Server();
  facts.leaf7Ebx |= kManyCore;
  EXPECT_EQ(KernelLevel(facts), 8);
}

TEST(Dispatch, VnniGoesBeforeTheOtherBitsOfAvx) {
  CpuFacts facts = Desktop();
  facts.leaf7Sub1Eax = 1u << 4;
  EXPECT_EQ(KernelLevel(facts), 6);
  facts.leaf1Ecx &= ~(kF16c | kRdrand);
  EXPECT_EQ(KernelLevel(facts), 6);
  EXPECT_EQ(Target(facts), 2);
}

TEST(Dispatch, Avx2WithoutHalfFloatsOrRandomCountsAsAvx) {
  for (const std::uint32_t bit : {kF16c, kRdrand}) {
    CpuFacts facts = Desktop();
    ASSERT_EQ(Target(facts), 2);
    facts.leaf1Ecx &= ~bit;
    EXPECT_EQ(KernelLevel(facts), 3);
    EXPECT_EQ(Target(facts), 1);
  }
}

TEST(Dispatch, NoAvx2GivesAvx) {
  CpuFacts facts = Desktop();
  facts.leaf7Ebx = 0;
  EXPECT_EQ(KernelLevel(facts), 3);
}

TEST(Dispatch, AvxThatTheSystemDoesNotSaveCountsAsSse) {
  for (const std::uint64_t xcr0 : {1u, 3u, 5u}) {
    CpuFacts facts = Desktop();
    facts.xcr0 = xcr0;
    EXPECT_EQ(KernelLevel(facts), 2) << xcr0;
  }
  CpuFacts facts = Desktop();
  facts.leaf1Ecx &= ~kOsxsave;
  EXPECT_EQ(KernelLevel(facts), 2);
  facts = Desktop();
  facts.leaf1Ecx &= ~kAvx;
  EXPECT_EQ(KernelLevel(facts), 2);
}

TEST(Dispatch, SseLevelsDownToNone) {
  EXPECT_EQ(KernelLevel({kSse42 | kSse41, kSse2, 0, 0, 0}), 2);
  EXPECT_EQ(KernelLevel({kSse41, kSse2, 0, 0, 0}), 1);
  EXPECT_EQ(KernelLevel({0, kSse2, 0, 0, 0}), 0);
  EXPECT_EQ(KernelLevel({0, 0, 0, 0, 0}), -1);
}

TEST(Dispatch, TargetOfEveryLevel) {
  const std::int32_t expected[] = {-1, -1, 0, 0, 1, 1, 2, 2, -1, 3, 3, 3};
  for (std::int32_t level = -1; level <= 10; ++level) {
    EXPECT_EQ(KernelTargetOfLevel(level), expected[level + 1]) << level;
  }
}

TEST(Dispatch, KernelOfTargetOrTheAutoEntry) {
  EXPECT_EQ(KernelForTarget(0), tlr2_TileKernel_sse4);
  EXPECT_EQ(KernelForTarget(1), tlr2_TileKernel_avx);
  EXPECT_EQ(KernelForTarget(2), tlr2_TileKernel_avx2);
  EXPECT_EQ(KernelForTarget(3), tlr2_TileKernel_avx512skx);
  for (const std::int32_t other : {-1, 4, 1000, -2147483647}) EXPECT_EQ(KernelForTarget(other), tlr2_TileKernel);
}

TEST(Dispatch, ClearingFormOfItsOwnKernelsAlone) {
  EXPECT_EQ(ClearingForm(tlr2_TileKernel_sse4), tlr2_ClearingTileKernel_sse4);
  EXPECT_EQ(ClearingForm(tlr2_TileKernel_avx), tlr2_ClearingTileKernel_avx);
  EXPECT_EQ(ClearingForm(tlr2_TileKernel_avx2), tlr2_ClearingTileKernel_avx2);
  EXPECT_EQ(ClearingForm(tlr2_TileKernel_avx512skx), tlr2_ClearingTileKernel_avx512skx);
  EXPECT_EQ(ClearingForm(tlr2_TileKernel), tlr2_ClearingTileKernel);
  const TileKernelFn foreign = [](const KernelFrameArgs*, std::int32_t, std::int32_t, std::int32_t, std::int32_t,
                                  const std::uint32_t*, std::int32_t, float*) {};
  EXPECT_EQ(ClearingForm(foreign), nullptr);
  EXPECT_EQ(ClearingForm(nullptr), nullptr);
}

CpuFacts OfThisProcessor() {
  const CpuidResult leaf1 = Cpuid(1, 0), leaf7 = Cpuid(7, 0);
  const std::uint32_t sub1 = leaf7.eax >= 1 ? Cpuid(7, 1).eax : 0;
  return {leaf1.ecx, leaf1.edx, leaf7.ebx, sub1, (leaf1.ecx & kOsxsave) != 0 ? Xgetbv0() : 0};
}

TEST(Dispatch, LaneCountIsThatOfTheSelectedTarget) {
  std::int32_t lanes = -1;
  KernelLaneCount(&lanes);
  EXPECT_EQ(lanes, Target(OfThisProcessor()) == 0 ? 8 : 16);
}

struct Call {
  std::vector<std::uint32_t> color = std::vector<std::uint32_t>(64, 0x11223344u);
  std::vector<float> depth = std::vector<float>(64, 1.0f);
  float cell = 1.0f;

  void Run(TileKernelFn kernel, std::int32_t count) {
    Run([kernel](const auto&... arguments) { kernel(arguments...); }, count);
  }
  void Run(ClearingTileKernelFn kernel, std::int32_t count) {
    const TileClears clears = {.color = true, .depth = true, .colorValue = 0x55667788u, .depthBits = 0x3F000000u};
    Run([kernel, &clears](const auto&... arguments) { kernel(arguments..., &clears); }, count);
  }
  template <typename Kernel>
  void Run(const Kernel& kernel, std::int32_t count) {
    TriangleRecord t = {};
    const float x[3] = {-1.3f, 9.1f, 2.7f}, y[3] = {-3.2f, 1.9f, 12.4f}, z[3] = {0.25f, 0.5f, 0.75f};
    for (int i = 0; i < 3; ++i) {
      t.x[i] = x[i];
      t.y[i] = y[i];
      t.z[i] = z[i];
      t.invW[i] = 1.0f + 0.25f * static_cast<float>(i);
      t.color[i] = 0x80402010u << i;
    }
    t.textureIndex = kNoTexture;
    t.depthTest = t.depthWrite = 1;
    t.depthFunc = 2;
    t.zMin = 0.25f;
    t.zMax = 0.75f;
    const TextureCacheEntry none = {};
    KernelFrameArgs args = {};
    args.colorStrideBytes = args.depthStrideBytes = 32;
    args.colorPixels = color.data();
    args.depthPixels = depth.data();
    args.triangles = &t;
    args.textureCache = &none;
    args.textureCacheCount = 1;
    args.kernelMode = 1;
    const std::uint32_t entry = 0;
    kernel(&args, 0, 0, 8, 8, &entry, count, &cell);
  }
};

TEST(Dispatch, AutoEntryDrawsAsItsTarget) {
  Call automatic, direct;
  automatic.Run(tlr2_TileKernel, 1);
  direct.Run(KernelForTarget(Target(OfThisProcessor())), 1);
  EXPECT_EQ(automatic.color, direct.color);
  EXPECT_EQ(automatic.depth, direct.depth);
  EXPECT_EQ(automatic.cell, direct.cell);
  EXPECT_NE(automatic.color, Call().color);
}

TEST(Dispatch, AutoClearingEntryClearsAndDrawsAsItsTarget) {
  Call automatic, direct;
  automatic.Run(tlr2_ClearingTileKernel, 1);
  direct.Run(ClearingForm(KernelForTarget(Target(OfThisProcessor()))), 1);
  EXPECT_EQ(automatic.color, direct.color);
  EXPECT_EQ(automatic.depth, direct.depth);
  EXPECT_EQ(automatic.cell, direct.cell);
  EXPECT_EQ(std::count(direct.color.begin(), direct.color.end(), 0x11223344u), 0);
  EXPECT_NE(std::count(direct.color.begin(), direct.color.end(), 0x55667788u), 0);
  EXPECT_NE(std::count(direct.color.begin(), direct.color.end(), 0x55667788u), 64);
  EXPECT_EQ(std::count(direct.depth.begin(), direct.depth.end(), 1.0f), 0);
}

TEST(Dispatch, AutoEntryForwardsAnEmptyListUntouched) {
  Call call;
  call.cell = 0.125f;
  call.Run(tlr2_TileKernel, 0);
  EXPECT_EQ(call.color, Call().color);
  EXPECT_EQ(call.cell, 0.125f);
}

TEST(Dispatch, ThreadsThatRaceThroughTheChoiceAgree) {
  Call reference;
  reference.Run(KernelForTarget(Target(OfThisProcessor())), 1);
  std::vector<Call> calls(8);
  std::vector<std::thread> threads;
  for (Call& call : calls) threads.emplace_back([&call] { call.Run(tlr2_TileKernel, 1); });
  for (std::thread& thread : threads) thread.join();
  for (const Call& call : calls) EXPECT_EQ(call.color, reference.color);
}

}  // namespace
}  // namespace tlr2
