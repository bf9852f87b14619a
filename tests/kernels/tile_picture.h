// A small framebuffer with triangles and textures, for tests whose figures are worked by hand. Positions are relative
// to the tile that is drawn.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <deque>
#include <vector>

#include "kernels_under_test.h"
#include "records/kernel_args.h"

namespace tlr2::judge {

/// The triangle (0, 0), (leg, 0), (0, leg): with `leg` a power of two its barycentrics are exactly b1 = px / leg and
/// b2 = py / leg at a centre (px, py). White, no texture, no depth, no blending, w = 1.
TriangleRecord Ramp(float leg = 16.0f);

/// A triangle that covers the tile at one depth, in one colour: LEQUAL, writing.
TriangleRecord Cover(float z, std::uint32_t color);

inline void SetColor(TriangleRecord& tri, std::uint32_t a, std::uint32_t b, std::uint32_t c) {
  tri.color[0] = a;
  tri.color[1] = b;
  tri.color[2] = c;
}

/// Second and third vertex exchanged.
TriangleRecord Reversed(TriangleRecord tri);

/// s' = s0 + perPixel * px, t' = t0, on a ramp of leg 16.
void SetTexture(TriangleRecord& tri, std::uint32_t index, std::uint32_t filter, float s0, float perPixel, float t0);

inline constexpr std::uint32_t kGrey = 0x010101u;  // times a byte: red, green and blue alike

class TilePicture {
 public:
  static constexpr std::int32_t kSide = 24;
  static constexpr std::uint32_t kBackground = 0xDEADBEEFu;

  TilePicture();

  void Add(TriangleRecord tri);
  /// Takes the record's positions as they are, for figures that a shift would round: then the tile at the buffer's
  /// origin is drawn.
  void AddWhereItIs(const TriangleRecord& tri) { triangles_.push_back(tri); }

  /// Levels one after another, each `width` by `height` halved; returns the texture's index.
  std::uint32_t AddTexture(std::int32_t width, std::int32_t height, const std::vector<std::uint32_t>& texels,
                           bool clamp, std::uint32_t wordAhead = 0);
  /// An entry of zeros.
  std::uint32_t AddAbsentTexture();

  void Fill(std::uint32_t color) { color_.fill(color); }
  void FillDepth(float depth) { depth_.fill(depth); }

  /// Draws the list into the tile at (8, 8), `columns` by `rows`.
  void Draw(const KernelUnderTest& kernel, std::int32_t columns = 8, std::int32_t rows = 8) {
    DrawTile(kernel, 8, 8, columns, rows);
  }
  void DrawAtOrigin(const KernelUnderTest& kernel) { DrawTile(kernel, 0, 0, 8, 8); }

  std::uint32_t& Pixel(std::int32_t x, std::int32_t y) { return color_[At(x, y)]; }
  float& Depth(std::int32_t x, std::int32_t y) { return depth_[At(x, y)]; }
  std::uint32_t Red(std::int32_t x, std::int32_t y) { return Pixel(x, y) >> 16 & 0xFFu; }

  float cell = 1.0f;
  std::int32_t mode = 0;

 private:
  void DrawTile(const KernelUnderTest& kernel, std::int32_t x0, std::int32_t y0, std::int32_t columns,
                std::int32_t rows);

  static std::size_t At(std::int32_t x, std::int32_t y) { return static_cast<std::size_t>((y + 8) * kSide + x + 8); }

  std::array<std::uint32_t, kSide * kSide> color_;
  std::array<float, kSide * kSide> depth_;
  std::vector<TriangleRecord> triangles_;
  std::vector<TextureCacheEntry> textures_;
  std::deque<std::vector<std::uint32_t>> texels_;
};

/// Tests with a kernel as parameter; one that the processor lacks is skipped by name.
class WithKernel : public testing::TestWithParam<KernelUnderTest> {
 protected:
  void SetUp() override {
    if (!GetParam().supported()) GTEST_SKIP() << "SKIPPED " << GetParam().name;
  }

  TilePicture picture;
};

inline std::string KernelName(const testing::TestParamInfo<KernelUnderTest>& info) { return info.param.name; }

#define TLR2_FOR_ALL_KERNELS(suite) \
  INSTANTIATE_TEST_SUITE_P(Kernels, suite, testing::ValuesIn(AllKernels().begin(), AllKernels().end()), KernelName)

}  // namespace tlr2::judge
