// Fill: eight layers that each cover the screen, in several orders, filters and blends.
#include "scene.h"

namespace bench {
namespace {

constexpr int kLayers = 8;
constexpr int kColumns = 4;
constexpr int kRows = 3;

// One layer as kColumns by kRows jittered quads cut into triangles; five numbers a corner: s, t, x, y, z.
void MakeLayers(Stage& stage, float texelSpan) {
  Random random(5);
  stage.numbers.clear();
  for (int layer = 0; layer < kLayers; ++layer) {
    const float depth = 4.0f + 2.0f * static_cast<float>(layer);
    const float tilt = random.Between(-0.3f, 0.3f);
    float corner[kRows + 1][kColumns + 1][5];
    for (int y = 0; y <= kRows; ++y) {
      for (int x = 0; x <= kColumns; ++x) {
        const bool inner = x > 0 && x < kColumns && y > 0 && y < kRows;
        const float u = (static_cast<float>(x) + (inner ? random.Between(-0.2f, 0.2f) : 0)) / kColumns;
        const float v = (static_cast<float>(y) + (inner ? random.Between(-0.2f, 0.2f) : 0)) / kRows;
        const float out = depth * 1.15f;  // past the edge, so that the tilt uncovers nothing
        float* to = corner[y][x];
        to[0] = u * texelSpan;
        to[1] = v * texelSpan;
        to[2] = (u * 2 - 1) * out;
        to[3] = (v * 2 - 1) * out * 0.75f;
        to[4] = -(depth + tilt * (u * 2 - 1));
      }
    }
    for (int y = 0; y < kRows; ++y) {
      for (int x = 0; x < kColumns; ++x) {
        const float* quad[4] = {corner[y][x], corner[y][x + 1], corner[y + 1][x + 1], corner[y + 1][x]};
        for (const int index : {0, 1, 2, 0, 2, 3})
          stage.numbers.insert(stage.numbers.end(), quad[index], quad[index] + 5);
      }
    }
  }
}

enum class Coat { kTexture, kColor, kBoth };

void DrawLayers(Stage& stage, bool frontToBack, Coat coat, float alpha) {
  const Gl& gl = stage.gl;
  constexpr int kLayerNumbers = kColumns * kRows * 6 * 5;
  for (int i = 0; i < kLayers; ++i) {
    const int layer = frontToBack ? i : kLayers - 1 - i;
    const float* at = stage.numbers.data() + static_cast<std::size_t>(layer) * kLayerNumbers;
    gl.Begin(kTriangles);
    for (int vertex = 0; vertex < kColumns * kRows * 6; ++vertex, at += 5) {
      if (coat != Coat::kTexture) {
        gl.Color4f(0.4f + 0.6f * static_cast<float>(vertex % 5) / 4, 0.3f + 0.7f * static_cast<float>(vertex % 7) / 6,
                   static_cast<float>(layer) / kLayers, alpha);
      }
      if (coat != Coat::kColor) gl.TexCoord2f(at[0], at[1]);
      gl.Vertex3f(at[2], at[3], at[4]);
    }
    gl.End();
  }
}

void Textured(Stage& stage, const std::vector<std::uint8_t>& texels, Enum minify, Enum magnify, float span) {
  stage.textures.push_back(MakeTexture(stage.gl, 256, 256, texels, minify, magnify, kRepeat));
  MakeLayers(stage, span);
}

void SetUpNearest(Stage& stage) { Textured(stage, HighContrastTexels(), kNearest, kNearest, 2); }
void SetUpHigh(Stage& stage) { Textured(stage, HighContrastTexels(), kLinear, kLinear, 1); }
void SetUpLow(Stage& stage) { Textured(stage, LowContrastTexels(), kLinear, kLinear, 1); }
void SetUpTrilinear(Stage& stage) { Textured(stage, HighContrastTexels(), kLinearMipmapLinear, kLinear, 3); }
void SetUpUntextured(Stage& stage) { MakeLayers(stage, 1); }

void DrawFront(Stage& stage, int) {
  BeginPerspectiveFrame(stage);
  DrawLayers(stage, true, Coat::kTexture, 1);
}
void DrawBack(Stage& stage, int) {
  BeginPerspectiveFrame(stage);
  DrawLayers(stage, false, Coat::kTexture, 1);
}
void DrawBackLess(Stage& stage, int) {
  BeginPerspectiveFrame(stage);
  stage.gl.DepthFunc(kLess);
  DrawLayers(stage, false, Coat::kTexture, 1);
}
void DrawUntextured(Stage& stage, int) {
  BeginPerspectiveFrame(stage);
  stage.gl.Disable(kTexture2D);
  stage.gl.DepthFunc(kLess);
  DrawLayers(stage, false, Coat::kColor, 1);
}
void DrawBlended(Stage& stage, int) {
  BeginPerspectiveFrame(stage);
  stage.gl.Enable(kBlend);
  stage.gl.BlendFunc(kSrcAlpha, kOneMinusSrcAlpha);
  stage.gl.DepthMask(0);
  DrawLayers(stage, false, Coat::kBoth, 0.5f);
}
void DrawAdditive(Stage& stage, int) {
  BeginPerspectiveFrame(stage);
  stage.gl.Enable(kBlend);
  stage.gl.BlendFunc(kOne, kOne);
  stage.gl.DepthMask(0);
  DrawLayers(stage, false, Coat::kBoth, 0.25f);
}

}  // namespace

void AddLayerScenes(std::vector<SceneRow>& rows) {
  rows.push_back({"front", "8 full layers front to back, LEQUAL", SetUpNearest, DrawFront, false});
  rows.push_back({"back", "8 full layers back to front, LEQUAL", SetUpNearest, DrawBack, false});
  rows.push_back({"untextured", "8 layers back to front, LESS: untextured", SetUpUntextured, DrawUntextured, false});
  rows.push_back({"nearest", "8 layers, LESS: nearest", SetUpNearest, DrawBackLess, false});
  rows.push_back({"bilinear_high", "8 layers, LESS: bilinear, high contrast", SetUpHigh, DrawBackLess, false});
  rows.push_back({"bilinear_low", "8 layers, LESS: bilinear, low contrast", SetUpLow, DrawBackLess, false});
  rows.push_back({"trilinear", "8 layers, LESS: trilinear", SetUpTrilinear, DrawBackLess, false});
  rows.push_back({"blended", "8 alpha-blended layers", SetUpHigh, DrawBlended, false});
  rows.push_back({"additive", "8 additive layers", SetUpHigh, DrawAdditive, false});
}

}  // namespace bench
