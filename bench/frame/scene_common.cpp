// What the benchmark's scenes share: textures, the frame's start, the list of all scenes.
#include <algorithm>

#include "scene.h"

namespace bench {

std::uint32_t MakeTexture(const Gl& gl, int width, int height, const std::vector<std::uint8_t>& rgba, Enum minify,
                          Enum magnify, Enum wrap) {
  std::uint32_t name = 0;
  gl.GenTextures(1, &name);
  gl.BindTexture(kTexture2D, name);
  gl.TexParameteri(kTexture2D, kMinFilter, static_cast<std::int32_t>(minify));
  gl.TexParameteri(kTexture2D, kMagFilter, static_cast<std::int32_t>(magnify));
  gl.TexParameteri(kTexture2D, kWrapS, static_cast<std::int32_t>(wrap));
  gl.TexParameteri(kTexture2D, kWrapT, static_cast<std::int32_t>(wrap));
  std::vector<std::uint8_t> level = rgba;
  for (int depth = 0;; ++depth) {
    gl.TexImage2D(kTexture2D, depth, static_cast<std::int32_t>(kRgba), width, height, 0, kRgba, kUnsignedByte,
                  level.data());
    if (width == 1 && height == 1) return name;
    const int halfWidth = std::max(1, width / 2);
    const int halfHeight = std::max(1, height / 2);
    std::vector<std::uint8_t> half(static_cast<std::size_t>(halfWidth) * halfHeight * 4);
    for (int y = 0; y < halfHeight; ++y) {
      for (int x = 0; x < halfWidth; ++x) {
        const int x1 = std::min(2 * x + 1, width - 1);
        const int y1 = std::min(2 * y + 1, height - 1);
        for (int c = 0; c < 4; ++c) {
          const auto at = [&](int i, int j) { return level[(static_cast<std::size_t>(j) * width + i) * 4 + c]; };
          half[(static_cast<std::size_t>(y) * halfWidth + x) * 4 + c] =
              static_cast<std::uint8_t>((at(2 * x, 2 * y) + at(x1, 2 * y) + at(2 * x, y1) + at(x1, y1) + 2) >> 2);
        }
      }
    }
    level = std::move(half);
    width = halfWidth;
    height = halfHeight;
  }
}

void BeginPerspectiveFrame(Stage& stage) {
  const Gl& gl = stage.gl;
  gl.Viewport(0, 0, stage.width, stage.height);
  gl.ClearColor(0.1f, 0.1f, 0.2f, 1);
  gl.ClearDepth(1);
  gl.Clear(kColorBit | kDepthBit);
  gl.MatrixMode(kProjection);
  gl.LoadIdentity();
  gl.Frustum(-1, 1, -0.75, 0.75, 1, 100);
  gl.MatrixMode(kModelview);
  gl.LoadIdentity();
  gl.Enable(kDepthTest);
  gl.DepthFunc(kLequal);
  gl.DepthMask(1);
  gl.Disable(kBlend);
  gl.Disable(kAlphaTest);
  gl.Enable(kTexture2D);
  gl.Color4f(1, 1, 1, 1);
}

void BeginPixelFrame(Stage& stage) {
  BeginPerspectiveFrame(stage);
  const Gl& gl = stage.gl;
  gl.MatrixMode(kProjection);
  gl.LoadIdentity();
  gl.Ortho(0, stage.width, stage.height, 0, -1, 1);
  gl.MatrixMode(kModelview);
}

std::vector<std::uint8_t> HighContrastTexels() {
  Random random(17);
  std::vector<std::uint8_t> rgba(256 * 256 * 4);
  for (int y = 0; y < 256; ++y) {
    for (int x = 0; x < 256; ++x) {
      const std::uint32_t base = ((x / 8 + y / 8) & 1) != 0 ? 160 : 40;
      for (int c = 0; c < 4; ++c) {
        rgba[(static_cast<std::size_t>(y) * 256 + x) * 4 + c] =
            static_cast<std::uint8_t>(c == 3 ? 255 : std::min<std::uint32_t>(255, base + random.Next() % 91));
      }
    }
  }
  return rgba;
}

std::vector<std::uint8_t> LowContrastTexels() {
  Random random(23);
  std::vector<std::uint8_t> rgba(256 * 256 * 4);
  for (int y = 0; y < 256; ++y) {
    for (int x = 0; x < 256; ++x) {
      for (int c = 0; c < 4; ++c) {
        rgba[(static_cast<std::size_t>(y) * 256 + x) * 4 + c] =
            static_cast<std::uint8_t>(c == 3 ? 255 : 120 + 8 * x / 256 + static_cast<int>(random.Next() & 1));
      }
    }
  }
  return rgba;
}

const std::vector<SceneRow>& Scenes() {
  static const std::vector<SceneRow> rows = [] {
    std::vector<SceneRow> made;
    AddLayerScenes(made);
    AddTriangleScenes(made);
    AddGameScene(made);
    AddStreamScenes(made);
    return made;
  }();
  return rows;
}

}  // namespace bench
