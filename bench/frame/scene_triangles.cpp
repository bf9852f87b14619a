// Many small triangles: layers of a jittered grid over the screen, back to front.
#include <algorithm>
#include <cmath>

#include "scene.h"

namespace bench {
namespace {

// A grid of cells of about `cell` pixels, as many layers as come nearest to `triangles`. Numbers: layers, columns,
// rows, then x, y, z of every corner in a space where the frustum's edge at depth d is d by 0.75 d.
void MakeGrid(Stage& stage, float cell, float triangles) {
  Random random(31);
  const int columns = std::max(1, static_cast<int>(std::lround(static_cast<float>(stage.width) / cell)));
  const int rows = std::max(1, static_cast<int>(std::lround(static_cast<float>(stage.height) / cell)));
  const int layers = std::max(
      1, static_cast<int>(std::lround(triangles / (2.0f * static_cast<float>(columns) * static_cast<float>(rows)))));
  stage.numbers = {static_cast<float>(layers), static_cast<float>(columns), static_cast<float>(rows)};
  for (int layer = 0; layer < layers; ++layer) {
    const float depth = 4.0f + 2.0f * static_cast<float>(layers - 1 - layer);
    for (int y = 0; y <= rows; ++y) {
      for (int x = 0; x <= columns; ++x) {
        const float u = (static_cast<float>(x) + random.Between(-0.25f, 0.25f)) / static_cast<float>(columns);
        const float v = (static_cast<float>(y) + random.Between(-0.25f, 0.25f)) / static_cast<float>(rows);
        stage.numbers.push_back((u * 2 - 1) * depth);
        stage.numbers.push_back((v * 2 - 1) * depth * 0.75f);
        stage.numbers.push_back(-depth + random.Between(-0.1f, 0.1f));
      }
    }
  }
}

void DrawGrid(Stage& stage, bool strips) {
  const Gl& gl = stage.gl;
  BeginPerspectiveFrame(stage);
  const int layers = static_cast<int>(stage.numbers[0]);
  const int columns = static_cast<int>(stage.numbers[1]);
  const int rows = static_cast<int>(stage.numbers[2]);
  const float* corners = stage.numbers.data() + 3;
  constexpr float kStep = 0.05f;
  for (int layer = 0; layer < layers; ++layer) {
    const auto corner = [&](int x, int y) {
      const float* at = corners + (static_cast<std::size_t>(layer) * (rows + 1) + y) * (columns + 1) * 3 + x * 3;
      gl.TexCoord2f(static_cast<float>(x) * kStep, static_cast<float>(y) * kStep);
      gl.Vertex3f(at[0], at[1], at[2]);
    };
    for (int y = 0; y < rows; ++y) {
      gl.Begin(strips ? kTriangleStrip : kTriangles);
      for (int x = 0; x < columns; ++x) {
        if (strips) {
          corner(x, y);
          corner(x, y + 1);
          if (x + 1 == columns) {
            corner(columns, y);
            corner(columns, y + 1);
          }
        } else {
          corner(x, y), corner(x + 1, y), corner(x + 1, y + 1);
          corner(x, y), corner(x + 1, y + 1), corner(x, y + 1);
        }
      }
      gl.End();
    }
  }
}

void SetUpSmall(Stage& stage) {
  stage.textures.push_back(MakeTexture(stage.gl, 256, 256, HighContrastTexels(), kNearest, kNearest, kRepeat));
  MakeGrid(stage, 4.295f, 200000);
}
void SetUpHundred(Stage& stage) {
  stage.textures.push_back(
      MakeTexture(stage.gl, 256, 256, HighContrastTexels(), kLinearMipmapLinear, kLinear, kRepeat));
  MakeGrid(stage, 13.57f, 20000);
}
void DrawList(Stage& stage, int) { DrawGrid(stage, false); }
void DrawStrips(Stage& stage, int) { DrawGrid(stage, true); }

}  // namespace

void AddTriangleScenes(std::vector<SceneRow>& rows) {
  rows.push_back({"small_list", "200,000 triangles of 10 px, textured, depth: list", SetUpSmall, DrawList, false});
  rows.push_back({"small_strips", "200,000 triangles of 10 px: strips", SetUpSmall, DrawStrips, false});
  rows.push_back({"hundred", "20,000 triangles of 100 px", SetUpHundred, DrawList, false});
}

}  // namespace bench
