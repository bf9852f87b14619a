// A game-like level: terrain and buildings in two passes, foliage, figures, sky, HUD, on a camera path of 100 frames.
#include <cmath>

#include "scene.h"

namespace bench {
namespace {

constexpr int kTerrain = 34;  // quads a side
constexpr float kCell = 3;
constexpr int kBuildings = 48;
constexpr int kTrees = 150;
constexpr int kFigures = 32;
constexpr int kLightMaps = 128;
enum Picture { kGround, kWall, kLeaves, kSkin, kHud, kFirstLight };

float Height(float x, float z) { return 0.8f * std::sin(x * 0.13f) + 0.6f * std::cos(z * 0.17f) - 1.6f; }

std::vector<std::uint8_t> Texels(int size, std::uint32_t seed, int low, int high, bool holes) {
  Random random(seed);
  std::vector<std::uint8_t> rgba(static_cast<std::size_t>(size) * size * 4);
  for (int y = 0; y < size; ++y) {
    for (int x = 0; x < size; ++x) {
      std::uint8_t* to = &rgba[(static_cast<std::size_t>(y) * size + x) * 4];
      const int block = ((x / 8 + y / 8) & 1) != 0 ? (high - low) / 2 : 0;
      for (int c = 0; c < 3; ++c)
        to[c] = static_cast<std::uint8_t>(
            low + block + static_cast<int>(random.Next() % static_cast<std::uint32_t>((high - low) / 2 + 1)));
      to[3] = static_cast<std::uint8_t>(holes && random.Unit() < 0.45f ? 0 : 255);
    }
  }
  return rgba;
}

void SetUp(Stage& stage) {
  const Gl& gl = stage.gl;
  auto& names = stage.textures;
  names.push_back(MakeTexture(gl, 256, 256, Texels(256, 1, 60, 170, false), kLinearMipmapLinear, kLinear, kRepeat));
  names.push_back(MakeTexture(gl, 128, 128, Texels(128, 2, 80, 200, false), kLinearMipmapLinear, kLinear, kRepeat));
  names.push_back(MakeTexture(gl, 64, 64, Texels(64, 3, 20, 140, true), kNearest, kNearest, kRepeat));
  names.push_back(MakeTexture(gl, 64, 64, Texels(64, 4, 90, 220, false), kLinearMipmapLinear, kLinear, kRepeat));
  names.push_back(MakeTexture(gl, 64, 64, Texels(64, 5, 120, 250, false), kNearest, kNearest, kRepeat));
  for (int i = 0; i < kLightMaps; ++i) {
    names.push_back(MakeTexture(gl, 32, 32, Texels(32, 100u + static_cast<std::uint32_t>(i), 110, 240, false), kLinear,
                                kLinear, kClampToEdge));
  }
  Random random(77);
  stage.numbers.clear();
  for (int i = 0; i < kBuildings + kTrees + kFigures; ++i) {
    stage.numbers.push_back(random.Between(-45, 45));
    stage.numbers.push_back(random.Between(-45, 45));
    stage.numbers.push_back(random.Between(2, 6));
    stage.numbers.push_back(random.Between(2, 9));
  }
}

void Corner(const Gl& gl, float s, float t, float x, float y, float z) {
  gl.TexCoord2f(s, t);
  gl.Vertex3f(x, y, z);
}

void DrawTerrain(Stage& stage, bool light) {
  const Gl& gl = stage.gl;
  constexpr float kHalf = kTerrain * kCell / 2;
  for (int row = 0; row < kTerrain; ++row) {
    if (light) gl.BindTexture(kTexture2D, stage.textures[kFirstLight + static_cast<std::size_t>(row)]);
    gl.Begin(kTriangles);
    for (int column = 0; column < kTerrain; ++column) {
      float at[4][5];
      for (int i = 0; i < 4; ++i) {
        const int dx = i == 1 || i == 2;
        const int dz = i >= 2;
        at[i][2] = static_cast<float>(column + dx) * kCell - kHalf;
        at[i][4] = static_cast<float>(row + dz) * kCell - kHalf;
        at[i][3] = Height(at[i][2], at[i][4]);
        at[i][0] = light ? static_cast<float>(column + dx) / kTerrain : static_cast<float>(column + dx) * 0.75f;
        at[i][1] = light ? static_cast<float>(dz) : static_cast<float>(row + dz) * 0.75f;
      }
      for (const int i : {0, 1, 2, 0, 2, 3}) Corner(gl, at[i][0], at[i][1], at[i][2], at[i][3], at[i][4]);
    }
    gl.End();
  }
}

void DrawBuildings(Stage& stage, bool light) {
  const Gl& gl = stage.gl;
  for (int i = 0; i < kBuildings; ++i) {
    const float* at = &stage.numbers[static_cast<std::size_t>(i) * 4];
    const float x0 = at[0], z0 = at[1], x1 = x0 + at[2], z1 = z0 + at[2], y0 = -3, y1 = at[3];
    if (light) gl.BindTexture(kTexture2D, stage.textures[kFirstLight + 40 + static_cast<std::size_t>(i)]);
    const float s = light ? 1 : at[2] * 0.5f;
    const float t = light ? 1 : (y1 - y0) * 0.5f;
    gl.Begin(kQuads);
    const float wall[4][4] = {{x0, z0, x1, z0}, {x1, z0, x1, z1}, {x1, z1, x0, z1}, {x0, z1, x0, z0}};
    for (const auto& w : wall) {
      Corner(gl, 0, 0, w[0], y0, w[1]), Corner(gl, s, 0, w[2], y0, w[3]);
      Corner(gl, s, t, w[2], y1, w[3]), Corner(gl, 0, t, w[0], y1, w[1]);
    }
    Corner(gl, 0, 0, x0, y1, z0), Corner(gl, s, 0, x1, y1, z0), Corner(gl, s, s, x1, y1, z1),
        Corner(gl, 0, s, x0, y1, z1);
    gl.End();
  }
}

void DrawFoliage(Stage& stage) {
  const Gl& gl = stage.gl;
  gl.BindTexture(kTexture2D, stage.textures[kLeaves]);
  gl.Enable(kAlphaTest);
  gl.AlphaFunc(kGreater, 0.666f);
  gl.Begin(kQuads);
  for (int i = kBuildings; i < kBuildings + kTrees; ++i) {
    const float* at = &stage.numbers[static_cast<std::size_t>(i) * 4];
    const float y = Height(at[0], at[1]);
    Corner(gl, 0, 0, at[0] - 1, y, at[1]), Corner(gl, 1, 0, at[0] + 1, y, at[1]);
    Corner(gl, 1, 1, at[0] + 1, y + 2.5f, at[1]), Corner(gl, 0, 1, at[0] - 1, y + 2.5f, at[1]);
  }
  gl.End();
  gl.Disable(kAlphaTest);
}

void DrawFigures(Stage& stage, int frame) {
  const Gl& gl = stage.gl;
  gl.BindTexture(kTexture2D, stage.textures[kSkin]);
  for (int i = kBuildings + kTrees; i < kBuildings + kTrees + kFigures; ++i) {
    const float* at = &stage.numbers[static_cast<std::size_t>(i) * 4];
    gl.PushMatrix();
    gl.Translatef(at[0], Height(at[0], at[1]), at[1]);
    gl.Rotatef(static_cast<float>(frame * 3 + i * 40), 0, 1, 0);
    gl.Begin(kTriangleStrip);
    for (int side = 0; side <= 6; ++side) {
      const float angle = static_cast<float>(side) * 1.0471976f;
      gl.Color4ub(static_cast<std::uint8_t>(120 + side * 20), 180, 160, 255);
      Corner(gl, static_cast<float>(side) / 3, 0, 0.4f * std::cos(angle), 0, 0.4f * std::sin(angle));
      Corner(gl, static_cast<float>(side) / 3, 1, 0.3f * std::cos(angle), 1.8f, 0.3f * std::sin(angle));
    }
    gl.End();
    gl.PopMatrix();
  }
  gl.Color4f(1, 1, 1, 1);
}

void DrawSky(Stage& stage) {
  const Gl& gl = stage.gl;
  gl.Disable(kTexture2D);
  gl.DepthMask(0);
  gl.Begin(kTriangleStrip);
  for (int i = 0; i <= 16; ++i) {
    const float angle = static_cast<float>(i) * 0.39269908f;
    gl.Color4f(0.7f, 0.75f, 0.8f, 1);
    gl.Vertex3f(60 * std::cos(angle), -4, 60 * std::sin(angle));
    gl.Color4f(0.2f, 0.35f, 0.7f, 1);
    gl.Vertex3f(40 * std::cos(angle), 45, 40 * std::sin(angle));
  }
  gl.End();
  gl.Color4f(1, 1, 1, 1);
  gl.DepthMask(1);
  gl.Enable(kTexture2D);
}

void DrawHud(Stage& stage) {
  const Gl& gl = stage.gl;
  gl.MatrixMode(kProjection);
  gl.LoadIdentity();
  gl.Ortho(0, 640, 360, 0, -1, 1);
  gl.MatrixMode(kModelview);
  gl.LoadIdentity();
  gl.Disable(kDepthTest);
  gl.Enable(kBlend);
  gl.BlendFunc(kSrcAlpha, kOneMinusSrcAlpha);
  gl.BindTexture(kTexture2D, stage.textures[kHud]);
  gl.Color4f(1, 1, 1, 0.7f);
  gl.Begin(kQuads);
  for (int i = 0; i < 24; ++i) {
    const float x = 20 + static_cast<float>(i) * 12;
    Corner(gl, 0, 0, x, 330, 0), Corner(gl, 1, 0, x + 10, 330, 0), Corner(gl, 1, 1, x + 10, 345, 0),
        Corner(gl, 0, 1, x, 345, 0);
  }
  Corner(gl, 0, 0, 520, 240, 0), Corner(gl, 1, 0, 630, 240, 0), Corner(gl, 1, 1, 630, 350, 0),
      Corner(gl, 0, 1, 520, 350, 0);
  gl.End();
  gl.Disable(kBlend);
}

void Draw(Stage& stage, int frame) {
  const Gl& gl = stage.gl;
  BeginPerspectiveFrame(stage);
  const float way = static_cast<float>(frame % 100) / 100;
  gl.Rotatef(10, 1, 0, 0);
  gl.Rotatef(way * 90 - 45, 0, 1, 0);
  gl.Translatef(10 * std::sin(way * 6.28f), -3.0f, -28 + 20 * way);
  DrawSky(stage);
  gl.BindTexture(kTexture2D, stage.textures[kGround]);
  DrawTerrain(stage, false);
  gl.BindTexture(kTexture2D, stage.textures[kWall]);
  DrawBuildings(stage, false);
  gl.Enable(kBlend);
  gl.BlendFunc(kZero, kSrcColor);
  DrawTerrain(stage, true);
  DrawBuildings(stage, true);
  gl.Disable(kBlend);
  DrawFoliage(stage);
  DrawFigures(stage, frame);
  DrawHud(stage);
}

}  // namespace

void AddGameScene(std::vector<SceneRow>& rows) {
  rows.push_back({"game", "game-like level: light-map pass, foliage, HUD", SetUp, Draw, false});
}

}  // namespace bench
