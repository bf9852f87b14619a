// The call itself: what it touches, which kernel an auto entry picks, and how a processor's facts decide that.
#include <cstring>

#include "kernels/tile_kernel.h"
#include "random_tile.h"
#include "tile_picture.h"
#if __has_include(<sys/mman.h>)
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace tlr2::judge {
namespace {

class Entry : public WithKernel {};
TLR2_FOR_ALL_KERNELS(Entry);

TEST_P(Entry, AnEmptyListLeavesTheCellAndOneEntryStoresIt) {
  const TriangleRecord tri = Cover(0.25f, 0xFFFFFFFFu);
  std::uint32_t pixels[64] = {};
  float depths[64] = {};
  for (float& d : depths) d = 1.0f;
  KernelFrameArgs args{};
  args.colorStrideBytes = 32;
  args.colorPixels = pixels;
  args.depthPixels = depths;
  args.depthStrideBytes = 32;
  args.triangles = &tri;
  args.textureCacheCount = 0;
  const std::uint32_t entry = 0;
  for (const std::int32_t none : {0, -1, -2147483647 - 1}) {
    GetParam().run(&args, 0, 0, 8, 8, &entry, none, nullptr);  // neither read nor written
    EXPECT_EQ(pixels[0], 0u);
  }
  float cell = 1.0f;
  GetParam().run(&args, 0, 0, 8, 8, &entry, 1, &cell);
  EXPECT_EQ(cell, 0.25f);
  EXPECT_EQ(pixels[63], 0xFFFFFFFFu);
  EXPECT_EQ(depths[63], 0.25f);
}

TEST_P(Entry, APartialTileWritesOnlyItsColumnsAndRows) {
  struct Bounds {
    std::int32_t columns, rows;
  };
  for (const Bounds bounds : {Bounds{3, 8}, Bounds{8, 3}, Bounds{1, 1}, Bounds{5, 6}, Bounds{7, 4}, Bounds{2, 5}}) {
    for (const std::int32_t mode : {0, 1, 2}) {
      picture.mode = mode;
      picture.cell = 1.0f;
      picture.Fill(TilePicture::kBackground);
      picture.FillDepth(1.0f);
      picture.Add(Cover(0.5f, 0xFF00FF00u));
      picture.Draw(GetParam(), bounds.columns, bounds.rows);
      for (std::int32_t y = -8; y < 16; ++y) {
        for (std::int32_t x = -8; x < 16; ++x) {
          const bool inside = x >= 0 && x < bounds.columns && y >= 0 && y < bounds.rows;
          EXPECT_EQ(picture.Pixel(x, y), inside ? 0xFF00FF00u : TilePicture::kBackground);
          EXPECT_EQ(picture.Depth(x, y), inside ? 0.5f : 1.0f);
        }
      }
    }
  }
}

#if __has_include(<sys/mman.h>)
/// Memory whose first and last byte each stand against a page that faults.
class Walled {
 public:
  explicit Walled(std::size_t bytes, bool atEnd) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    inner_ = (bytes + page - 1) / page * page;
    size_ = inner_ + 2 * page;
    base_ = static_cast<char*>(mmap(nullptr, size_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    mprotect(base_ + page, inner_, PROT_READ | PROT_WRITE);
    data_ = base_ + page + (atEnd ? inner_ - bytes : 0);
  }
  ~Walled() { munmap(base_, size_); }
  Walled(const Walled&) = delete;
  Walled& operator=(const Walled&) = delete;
  char* data() { return data_; }

 private:
  std::size_t inner_, size_;
  char* base_;
  char* data_;
};

TEST_P(Entry, APartialTileTouchesNothingOutsideTheBuffers) {
  // A buffer of exactly the tile's pixels, against a faulting page ahead or behind; every kind of access.
  for (const bool atEnd : {false, true}) {
    for (std::int32_t columns = 1; columns <= 8; ++columns) {
      for (std::int32_t rows = 1; rows <= 8; ++rows) {
        const auto bytes = static_cast<std::size_t>(columns * rows * 4);
        Walled color(bytes, atEnd);
        Walled depth(bytes, atEnd);
        Walled words(12, atEnd);  // a texel with a word ahead and one behind
        Walled list(2 * sizeof(std::uint32_t), atEnd);
        Walled records(2 * sizeof(TriangleRecord), atEnd);
        Walled cache(sizeof(TextureCacheEntry), atEnd);
        TextureCacheEntry entry{};
        entry.width = entry.height = 1;
        entry.levelWidth[0] = entry.levelHeight[0] = 1;
        entry.levelStrideBytes[0] = 4;
        entry.texels[0] =
            static_cast<std::uint64_t>(static_cast<std::int64_t>(reinterpret_cast<std::intptr_t>(words.data() + 4)));
        std::memcpy(cache.data(), &entry, sizeof entry);
        const std::uint32_t entries[2] = {0, 1};
        std::memcpy(list.data(), entries, sizeof entries);
        for (const std::uint32_t filter : {0u, 1u, 2u}) {
          TriangleRecord tri[2] = {Cover(0.5f, 0x80402010u), Cover(0.25f, 0x80402010u)};
          tri[1].blendMode = 3;
          for (TriangleRecord& one : tri) {
            one.textureIndex = 0;
            one.filterMode = filter;
            one.s[1] = 50.0f;
          }
          std::memcpy(records.data(), tri, sizeof tri);
          KernelFrameArgs args{};
          args.colorStrideBytes = static_cast<std::uint32_t>(columns * 4);
          args.colorPixels = reinterpret_cast<std::uint32_t*>(color.data());
          args.depthPixels = reinterpret_cast<float*>(depth.data());
          args.depthStrideBytes = args.colorStrideBytes;
          args.triangles = reinterpret_cast<const TriangleRecord*>(records.data());
          args.textureCache = reinterpret_cast<const TextureCacheEntry*>(cache.data());
          args.textureCacheCount = 1;
          for (args.kernelMode = 0; args.kernelMode < 3; ++args.kernelMode) {
            std::fill(args.depthPixels, args.depthPixels + columns * rows, 1.0f);
            float cell = 1.0f;
            GetParam().run(&args, 0, 0, columns, rows, reinterpret_cast<const std::uint32_t*>(list.data()), 2, &cell);
            EXPECT_EQ(args.depthPixels[columns * rows - 1], 0.25f);
          }
        }
      }
    }
  }
}
#endif

TEST_P(Entry, WithoutATextureNoEntryIsTouched) {
  // The picture has no texture, so the cache pointer is null though the count is 1.
  TriangleRecord tri = Ramp();
  tri.textureIndex = kNoTexture;
  tri.texEnvMode = 1;
  tri.filterMode = 1;
  SetColor(tri, 0u, 0x40404040u, 0u);
  for (const std::int32_t mode : {0, 1, 2}) {
    picture.mode = mode;
    picture.Add(tri);
    picture.Draw(GetParam());
    EXPECT_EQ(picture.Pixel(6, 6), 0x1A1A1A1Au);  // 64 * 13/32, interpolated
  }
}

TEST_P(Entry, TheSameCallGivesTheSameBytes) {
  RandomTile tile;
  for (std::uint64_t seed = 900000; seed < 900300; ++seed) {
    MakeRandomTile(seed, tile);
    std::vector<std::uint32_t> color[2] = {tile.color, tile.color};
    std::vector<float> depth[2] = {tile.depth, tile.depth};
    float cell[2] = {tile.hizCell, tile.hizCell};
    for (int i = 0; i < 2; ++i) {
      const KernelFrameArgs args = tile.Args(color[i].data(), depth[i].data());
      GetParam().run(&args, tile.x0, tile.y0, tile.x1, tile.y1, tile.entries.data(), tile.entryCount, &cell[i]);
    }
    EXPECT_EQ(color[0], color[1]) << seed;
    EXPECT_EQ(std::memcmp(depth[0].data(), depth[1].data(), depth[0].size() * 4), 0) << seed;
    EXPECT_EQ(std::memcmp(&cell[0], &cell[1], 4), 0) << seed;
  }
}

// -- Choosing a target ----------------------------------------------------------------------------------------------

constexpr std::uint32_t kSse2 = 1u << 26;   // leaf 1 EDX
constexpr std::uint32_t kSse41 = 1u << 19;  // leaf 1 ECX
constexpr std::uint32_t kSse42 = 1u << 20;
constexpr std::uint32_t kOsxsave = 1u << 27;
constexpr std::uint32_t kAvx = 1u << 28;
constexpr std::uint32_t kF16c = 1u << 29;
constexpr std::uint32_t kRdrand = 1u << 30;
constexpr std::uint32_t kAvx2 = 1u << 5;  // leaf 7 EBX
constexpr std::uint32_t kAvx512F = 1u << 16;
constexpr std::uint32_t kServer = 0xD0020000u;    // DQ, CD, BW, VL
constexpr std::uint32_t kManyCore = 0x1C000000u;  // PF, ER, CD
constexpr std::uint32_t kAvxVnni = 1u << 4;       // leaf 7 subleaf 1 EAX

CpuFacts Modern() { return {kSse41 | kSse42 | kOsxsave | kAvx | kF16c | kRdrand, kSse2, kAvx2, 0, 0x7}; }

TEST(TargetChoice, Avx2WithoutHalfFloatsOrRandomNumbersCountsAsAvx) {
  CpuFacts facts = Modern();
  EXPECT_EQ(KernelLevel(facts), 5);
  facts.leaf1Ecx &= ~kF16c;
  EXPECT_EQ(KernelLevel(facts), 3);
  EXPECT_EQ(KernelTargetOfLevel(KernelLevel(facts)), 1);
  facts = Modern();
  facts.leaf1Ecx &= ~kRdrand;
  EXPECT_EQ(KernelTargetOfLevel(KernelLevel(facts)), 1);
  facts.leaf7Sub1Eax = kAvxVnni;
  EXPECT_EQ(KernelLevel(facts), 6) << "asked before the two";
}

TEST(TargetChoice, AvxNeedsTheSystemToSaveItsState) {
  CpuFacts facts = Modern();
  facts.leaf7Ebx = 0;
  EXPECT_EQ(KernelLevel(facts), 3);
  for (const std::uint64_t xcr0 : {0x0u, 0x1u, 0x2u, 0x3u, 0x4u, 0x5u}) {
    facts.xcr0 = xcr0;
    EXPECT_EQ(KernelLevel(facts), 2) << xcr0;
  }
  facts = Modern();
  facts.leaf1Ecx &= ~kOsxsave;
  EXPECT_EQ(KernelLevel(facts), 2);
  facts = Modern();
  facts.leaf1Ecx &= ~kAvx;
  EXPECT_EQ(KernelLevel(facts), 2);
}

TEST(TargetChoice, OlderProcessorsGoDownTheLevels) {
  CpuFacts facts{};
  EXPECT_EQ(KernelLevel(facts), -1);
  facts.leaf1Edx = kSse2;
  EXPECT_EQ(KernelLevel(facts), 0);
  facts.leaf1Ecx = kSse41;
  EXPECT_EQ(KernelLevel(facts), 1);
  facts.leaf1Ecx |= kSse42;
  EXPECT_EQ(KernelLevel(facts), 2);
}

TEST(TargetChoice, WideVectorsNeedEveryBitOfTheirGroup) {
  CpuFacts facts = Modern();
  facts.leaf7Ebx |= kAvx512F | kServer;
  facts.xcr0 = 0xE7;
  EXPECT_GE(KernelLevel(facts), 8);
  for (const int bit : {17, 28, 30, 31}) {
    CpuFacts less = facts;
    less.leaf7Ebx &= ~(1u << bit);
    EXPECT_EQ(KernelLevel(less), 5) << bit;
  }
  for (const int bit : {1, 2, 5, 6, 7}) {
    CpuFacts less = facts;
    less.xcr0 &= ~(std::uint64_t{1} << bit);
    EXPECT_EQ(KernelLevel(less), bit < 5 ? 2 : 5) << bit;
  }
  CpuFacts less = facts;
  less.leaf7Ebx &= ~kAvx512F;
  EXPECT_EQ(KernelLevel(less), 5);
  less = facts;
  less.leaf7Ebx &= ~kAvx2;
  EXPECT_EQ(KernelLevel(less), 3);
  facts.leaf7Ebx = kAvx2 | kAvx512F | kManyCore;
  EXPECT_EQ(KernelLevel(facts), 7);
}

TEST(TargetChoice, LevelsNameTheirTargets) {
  const std::int32_t targets[] = {-1, 0, 0, 1, 1, 2, 2};
  for (std::int32_t level = 0; level <= 6; ++level) EXPECT_EQ(KernelTargetOfLevel(level), targets[level]) << level;
  EXPECT_EQ(KernelTargetOfLevel(8), 3);
  EXPECT_EQ(KernelTargetOfLevel(12), 3);
  EXPECT_EQ(KernelTargetOfLevel(-1), -1);
}

TEST(TargetChoice, AForcedTargetIsItsDirectEntryAndAnyOtherTheAutoEntry) {
  for (std::int32_t target = 0; target < 4; ++target) {
    EXPECT_EQ(KernelForTarget(target), RealKernels()[static_cast<std::size_t>(target)].run);
  }
  for (const std::int32_t other : {-1, 4, 100, -2147483647 - 1}) {
    EXPECT_EQ(KernelForTarget(other), static_cast<TileKernelFn>(tlr2_TileKernel));
  }
}

/// The target that the auto entry has to select here: the widest that runs, given that these processors with AVX2 all
/// have the two other bits that level 5 asks for.
const KernelUnderTest& Widest() {
  const KernelUnderTest* widest = nullptr;
  for (const KernelUnderTest& kernel : RealKernels()) {
    if (kernel.supported()) widest = &kernel;
  }
  return *widest;
}

TEST(TargetChoice, TheLaneCountIsThatOfTheSelectedTarget) {
  std::int32_t lanes = -1;
  KernelLaneCount(&lanes);
  EXPECT_EQ(lanes, Widest().lanes);
  EXPECT_EQ(RealKernels()[0].lanes, 8);
  EXPECT_EQ(RealKernels()[3].lanes, 16);
}

TEST(TargetChoice, TheAutoEntryForwardsToTheSelectedTarget) {
  RandomTile tile;
  for (std::uint64_t seed = 700000; seed < 700500; ++seed) {
    MakeRandomTile(seed, tile);
    std::vector<std::uint32_t> color[2] = {tile.color, tile.color};
    std::vector<float> depth[2] = {tile.depth, tile.depth};
    float cell = tile.hizCell;
    KernelFrameArgs args = tile.Args(color[0].data(), depth[0].data());
    tlr2_TileKernel(&args, tile.x0, tile.y0, tile.x1, tile.y1, tile.entries.data(), tile.entryCount, &cell);
    cell = tile.hizCell;
    args = tile.Args(color[1].data(), depth[1].data());
    Widest().run(&args, tile.x0, tile.y0, tile.x1, tile.y1, tile.entries.data(), tile.entryCount, &cell);
    EXPECT_EQ(color[0], color[1]) << seed;
  }
}

}  // namespace
}  // namespace tlr2::judge
