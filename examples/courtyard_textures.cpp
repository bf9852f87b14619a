// Procedural textures of the courtyard: paving, brick, plaster, leaves, an iron fence, water, glows, light maps, a
// font.
#include "courtyard_textures.h"

#include <algorithm>
#include <cmath>

#include "courtyard_plan.h"

namespace courtyard {
namespace {

Image Blank(int width, int height) {
  return {width, height, std::vector<std::uint8_t>(static_cast<std::size_t>(width) * height * 4)};
}

std::uint8_t Byte(double value) { return static_cast<std::uint8_t>(std::clamp(value, 0.0, 255.0)); }

void Put(Image& image, int x, int y, double r, double g, double b, double a = 255) {
  std::uint8_t* texel = &image.rgba[(static_cast<std::size_t>(y) * image.width + x) * 4];
  texel[0] = Byte(r);
  texel[1] = Byte(g);
  texel[2] = Byte(b);
  texel[3] = Byte(a);
}

// A repeatable value in 0 to 1 for a lattice point.
double Grain(int x, int y, int seed) {
  std::uint32_t h = static_cast<std::uint32_t>(x) * 0x8DA6B343u ^ static_cast<std::uint32_t>(y) * 0xD8163841u ^
                    static_cast<std::uint32_t>(seed) * 0xCB1AB31Fu;
  h ^= h >> 13;
  h *= 0x5BD1E995u;
  h ^= h >> 15;
  return (h & 0xFFFF) / 65535.0;
}

// Smooth noise that repeats after `period` lattice cells.
double Noise(double x, double y, int period, int seed) {
  const int x0 = static_cast<int>(std::floor(x));
  const int y0 = static_cast<int>(std::floor(y));
  double fx = x - x0;
  double fy = y - y0;
  fx = fx * fx * (3 - 2 * fx);
  fy = fy * fy * (3 - 2 * fy);
  const auto at = [&](int i, int j) {
    return Grain((i % period + period) % period, (j % period + period) % period, seed);
  };
  const double top = at(x0, y0) * (1 - fx) + at(x0 + 1, y0) * fx;
  const double bottom = at(x0, y0 + 1) * (1 - fx) + at(x0 + 1, y0 + 1) * fx;
  return top * (1 - fy) + bottom * fy;
}

double Cloud(double u, double v, int period, int seed) {
  double sum = 0;
  double weight = 0.5;
  for (int octave = 0; octave < 4; ++octave) {
    sum += weight * Noise(u * period, v * period, period, seed + octave);
    period *= 2;
    weight *= 0.5;
  }
  return sum;
}

}  // namespace

Image MakePaving() {
  Image image = Blank(256, 256);
  for (int y = 0; y < 256; ++y) {
    for (int x = 0; x < 256; ++x) {
      const int slabX = x / 64;
      const int slabY = y / 64;
      const int inX = x % 64;
      const int inY = y % 64;
      const bool joint = inX < 3 || inY < 3;
      const double slab = 0.75 + 0.25 * Grain(slabX, slabY, 3);
      const double stone = (120 + 70 * Cloud(x / 256.0, y / 256.0, 8, 11)) * slab;
      const double edge = (inX < 6 || inY < 6) ? 1.08 : (inX > 60 || inY > 60) ? 0.85 : 1.0;
      const double dark = (slabX + slabY) % 2 == 0 ? 1.0 : 0.78;
      if (joint) {
        Put(image, x, y, 62, 58, 52);
      } else {
        Put(image, x, y, stone * edge * dark * 1.02, stone * edge * dark * 0.96, stone * edge * dark * 0.86);
      }
    }
  }
  return image;
}

Image MakeBrick() {
  Image image = Blank(256, 256);
  for (int y = 0; y < 256; ++y) {
    const int course = y / 32;
    for (int x = 0; x < 256; ++x) {
      const int shifted = (x + (course % 2) * 32) % 256;
      const int brick = shifted / 64;
      const int inX = shifted % 64;
      const int inY = y % 32;
      const double grain = Cloud(x / 256.0, y / 256.0, 16, 29);
      if (inX < 4 || inY < 4) {
        const double mortar = 130 + 40 * grain;
        Put(image, x, y, mortar, mortar * 0.97, mortar * 0.9);
      } else {
        const double tone = 0.7 + 0.3 * Grain(brick, course, 7);
        const double lit = (inY > 27 ? 1.12 : inY < 8 ? 0.85 : 1.0) * (0.75 + 0.5 * grain) * tone;
        Put(image, x, y, 186 * lit, 96 * lit, 72 * lit);
      }
    }
  }
  return image;
}

Image MakePlaster() {
  Image image = Blank(128, 128);
  for (int y = 0; y < 128; ++y) {
    for (int x = 0; x < 128; ++x) {
      const double v = 175 + 70 * Cloud(x / 128.0, y / 128.0, 4, 51);
      Put(image, x, y, v, v * 0.96, v * 0.88);
    }
  }
  return image;
}

Image MakeFoliage() {
  Image image = Blank(256, 256);
  for (int y = 0; y < 256; ++y) {
    for (int x = 0; x < 256; ++x) Put(image, x, y, 46, 84, 30, 0);
  }
  // The trunk, then leaves as small discs within a crown.
  for (int y = 0; y < 130; ++y) {
    for (int x = 118 - y / 30; x < 138 + y / 30 - 4; ++x) {
      const double bark = 70 + 50 * Grain(x / 2, y / 7, 5);
      Put(image, x, y, bark, bark * 0.78, bark * 0.55);
    }
  }
  for (int leaf = 0; leaf < 1500; ++leaf) {
    const double angle = Grain(leaf, 0, 91) * 6.2831853;
    const double reach = std::sqrt(Grain(leaf, 1, 91));
    const int cx = static_cast<int>(128 + std::cos(angle) * reach * 108);
    const int cy = static_cast<int>(168 + std::sin(angle) * reach * 74);
    const double light = 0.55 + 0.45 * Grain(leaf, 2, 91) + 0.25 * (cy - 168) / 74.0;
    const int size = 3 + static_cast<int>(4 * Grain(leaf, 3, 91));
    for (int y = std::max(0, cy - size); y <= std::min(255, cy + size); ++y) {
      for (int x = std::max(0, cx - size); x <= std::min(255, cx + size); ++x) {
        if ((x - cx) * (x - cx) + (y - cy) * (y - cy) * 2 <= size * size)
          Put(image, x, y, 74 * light, 142 * light, 48 * light);
      }
    }
  }
  return image;
}

Image MakeFence() {
  Image image = Blank(128, 128);
  for (int y = 0; y < 128; ++y) {
    for (int x = 0; x < 128; ++x) {
      const int bar = x % 32;
      const bool upright = bar >= 13 && bar < 19 && y < 112;
      const bool point = y >= 112 && std::abs(bar - 16) * 2 <= 124 - y;
      const bool rail = (y >= 12 && y < 20) || (y >= 88 && y < 96);
      const double ringX = bar - 16.0;
      const double ringY = (y - 72.0);
      const double ring = std::sqrt(ringX * ringX + ringY * ringY);
      const bool circle = ring > 9 && ring < 13;
      const bool solid = upright || point || rail || circle;
      const double shine = 40 + 50 * (upright ? 1 - std::abs(bar - 15) / 4.0 : 0.4);
      Put(image, x, y, shine, shine, shine * 1.08, solid ? 255 : 0);
    }
  }
  return image;
}

Image MakeWater() {
  Image image = Blank(128, 128);
  for (int y = 0; y < 128; ++y) {
    for (int x = 0; x < 128; ++x) {
      const double wave = Cloud(x / 128.0, y / 128.0, 8, 77);
      const double crest = std::pow(wave, 6) * 900;
      Put(image, x, y, 40 + crest, 96 + 40 * wave + crest, 120 + 60 * wave + crest, 255);
    }
  }
  return image;
}

Image MakeGlow() {
  Image image = Blank(64, 64);
  for (int y = 0; y < 64; ++y) {
    for (int x = 0; x < 64; ++x) {
      const double dx = (x - 31.5) / 32;
      const double dy = (y - 31.5) / 32;
      const double fall = std::max(0.0, 1 - std::sqrt(dx * dx + dy * dy));
      const double v = 255 * fall * fall;
      Put(image, x, y, v, v * 0.72, v * 0.34);
    }
  }
  return image;
}

Image MakeGroundLight() {
  constexpr int kSize = 128;
  Image image = Blank(kSize, kSize);
  for (int y = 0; y < kSize; ++y) {
    for (int x = 0; x < kSize; ++x) {
      const double wx = (x + 0.5) / kSize * 2 * kCourtHalf - kCourtHalf;
      const double wz = (y + 0.5) / kSize * 2 * kCourtHalf - kCourtHalf;
      double light = 0.42;
      double warm = 0;
      for (const Point& lamp : kLamps) {
        const double d2 = (wx - lamp.x) * (wx - lamp.x) + (wz - lamp.z) * (wz - lamp.z);
        warm += 2.2 / (2.2 + d2);
      }
      for (const Point& column : kColumns) {
        // A soft shadow that falls away from the low sun.
        const double along = (wx - column.x) * 0.8 + (wz - column.z) * 0.6;
        const double across = -(wx - column.x) * 0.6 + (wz - column.z) * 0.8;
        if (along > 0 && along < 6) light -= 0.2 * std::exp(-across * across / 0.5) * (1 - along / 6);
      }
      const double wall = std::min(kCourtHalf - std::abs(wx), kCourtHalf - std::abs(wz));
      light *= 0.7 + 0.3 * std::min(1.0, wall / 3);
      Put(image, x, y, 255 * (light + warm * 0.9), 255 * (light + warm * 0.72), 255 * (light * 1.05 + warm * 0.46));
    }
  }
  return image;
}

Image MakeWallLight() {
  constexpr int kWidth = 128;
  constexpr int kHeight = 32;
  Image image = Blank(kWidth, kHeight);
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      const double along = (x + 0.5) / kWidth * 2 * kCourtHalf;
      const double up = (y + 0.5) / kHeight * kWallHeight;
      double warm = 0;
      for (double lamp = 4; lamp < 2 * kCourtHalf; lamp += 8) {
        const double d2 = (along - lamp) * (along - lamp) + (up - 3.4) * (up - 3.4) * 0.7;
        warm += 1.1 / (1.1 + d2);
      }
      const double sky = 0.36 + 0.22 * up / kWallHeight;
      Put(image, x, y, 255 * (sky + warm * 0.85), 255 * (sky + warm * 0.66), 255 * (sky * 1.1 + warm * 0.4));
    }
  }
  return image;
}

}  // namespace courtyard
