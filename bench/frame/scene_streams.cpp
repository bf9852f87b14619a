// What costs outside the pixels: vertices, state changes, uploads, clears and read-back.
#include "scene.h"

namespace bench {
namespace {

constexpr int kBatches = 1000;
constexpr int kBatchVertices = 300;

void SetUpNothing(Stage& stage) {
  stage.textures.push_back(MakeTexture(stage.gl, 256, 256, HighContrastTexels(), kNearest, kNearest, kRepeat));
}

void DrawVertexList(Stage& stage, int) {
  const Gl& gl = stage.gl;
  BeginPerspectiveFrame(stage);
  for (int batch = 0; batch < kBatches; ++batch) {
    gl.Begin(kTriangles);
    for (int i = 0; i < kBatchVertices; ++i) {
      const float u = static_cast<float>(i) * 0.01f;
      gl.TexCoord2f(u, 0.5f);
      gl.Color4ub(static_cast<std::uint8_t>(i), 128, 64, 255);
      gl.Vertex3f(500.0f + u, u, -5.0f);  // off to the right of the screen
    }
    gl.End();
  }
}

void DrawVertexStrips(Stage& stage, int) {
  const Gl& gl = stage.gl;
  BeginPerspectiveFrame(stage);
  for (int batch = 0; batch < kBatches; ++batch) {
    gl.Begin(kTriangleStrip);
    for (int i = 0; i < kBatchVertices; ++i) {
      gl.Vertex3f(500.0f + static_cast<float>(i) * 0.01f, static_cast<float>(i & 1), -5.0f);
    }
    gl.End();
  }
}

void DrawTinyViewport(Stage& stage, int) {
  const Gl& gl = stage.gl;
  BeginPerspectiveFrame(stage);
  gl.Viewport(0, 0, 8, 8);
  for (int batch = 0; batch < kBatches; ++batch) {
    gl.Begin(kTriangleStrip);
    for (int i = 0; i < kBatchVertices; ++i) {
      const float u = static_cast<float>(i) / kBatchVertices;
      gl.TexCoord2f(u, static_cast<float>(i & 1));
      gl.Vertex3f((u * 2 - 1) * 5.0f, (static_cast<float>(i & 1) * 2 - 1) * 3.0f, -5.0f);
    }
    gl.End();
  }
}

void SetUpStates(Stage& stage) {
  for (std::uint32_t i = 0; i < 16; ++i) {
    std::vector<std::uint8_t> rgba(32 * 32 * 4);
    Random random(i + 1);
    for (auto& byte : rgba) byte = static_cast<std::uint8_t>(random.Next());
    stage.textures.push_back(MakeTexture(stage.gl, 32, 32, rgba, kNearest, kNearest, kRepeat));
  }
}

void DrawStates(Stage& stage, int) {
  const Gl& gl = stage.gl;
  BeginPixelFrame(stage);
  gl.Disable(kDepthTest);
  gl.Enable(kBlend);
  Random random(9);
  for (int i = 0; i < 20000; ++i) {
    if (i % 4 == 0) gl.BindTexture(kTexture2D, stage.textures[static_cast<std::size_t>(i / 4 % 16)]);
    if (i % 2 == 0) {
      gl.BlendFunc(kSrcAlpha, kOneMinusSrcAlpha);
    } else {
      gl.BlendFunc(kOne, kOne);
    }
    const float x = static_cast<float>(random.Next() % static_cast<std::uint32_t>(stage.width - 8));
    const float y = static_cast<float>(random.Next() % static_cast<std::uint32_t>(stage.height - 8));
    gl.Color4f(1, 1, 1, 0.5f);
    gl.Begin(kQuads);
    gl.TexCoord2f(0, 0), gl.Vertex2f(x, y);
    gl.TexCoord2f(1, 0), gl.Vertex2f(x + 7, y);
    gl.TexCoord2f(1, 1), gl.Vertex2f(x + 7, y + 7);
    gl.TexCoord2f(0, 1), gl.Vertex2f(x, y + 7);
    gl.End();
  }
}

void SetUpUpload(Stage& stage) {
  stage.pixels.resize(1024 * 1024 * 4);
  Random random(3);
  for (auto& byte : stage.pixels) byte = static_cast<std::uint8_t>(random.Next());
  std::uint32_t name = 0;
  stage.gl.GenTextures(1, &name);
  stage.textures.push_back(name);
  stage.gl.BindTexture(kTexture2D, name);
  stage.gl.TexParameteri(kTexture2D, kMinFilter, static_cast<std::int32_t>(kNearest));
  stage.gl.TexParameteri(kTexture2D, kMagFilter, static_cast<std::int32_t>(kNearest));
}

void DrawUpload(Stage& stage, int) {
  const Gl& gl = stage.gl;
  BeginPixelFrame(stage);
  gl.TexImage2D(kTexture2D, 0, static_cast<std::int32_t>(kRgba), 1024, 1024, 0, kRgba, kUnsignedByte,
                stage.pixels.data());
  gl.Begin(kQuads);
  gl.TexCoord2f(0, 0), gl.Vertex2f(10, 10);
  gl.TexCoord2f(1, 0), gl.Vertex2f(42, 10);
  gl.TexCoord2f(1, 1), gl.Vertex2f(42, 42);
  gl.TexCoord2f(0, 1), gl.Vertex2f(10, 42);
  gl.End();
}

void DrawClear(Stage& stage, int) { BeginPerspectiveFrame(stage); }

void DrawAndRead(Stage& stage, Enum format) {
  const Gl& gl = stage.gl;
  BeginPixelFrame(stage);
  gl.Begin(kTriangles);
  gl.TexCoord2f(0, 0), gl.Vertex2f(20, 20);
  gl.TexCoord2f(1, 0), gl.Vertex2f(120, 20);
  gl.TexCoord2f(0, 1), gl.Vertex2f(20, 120);
  gl.End();
  stage.pixels.resize(static_cast<std::size_t>(stage.width) * stage.height * 4);
  gl.ReadPixels(0, 0, stage.width, stage.height, format, kUnsignedByte, stage.pixels.data());
}
void DrawReadBgra(Stage& stage, int) { DrawAndRead(stage, kBgra); }
void DrawReadRgba(Stage& stage, int) { DrawAndRead(stage, kRgba); }

}  // namespace

void AddStreamScenes(std::vector<SceneRow>& rows) {
  rows.push_back(
      {"vertices_list", "300,000 vertices with texcoord and colour, off screen", SetUpNothing, DrawVertexList, false});
  rows.push_back(
      {"vertices_strips", "300,000 vertices alone (strips), off screen", SetUpNothing, DrawVertexStrips, false});
  rows.push_back({"vertices_tiny", "300,000 vertices with texcoord into 8x8", SetUpNothing, DrawTinyViewport, false});
  rows.push_back({"states", "20,000 state changes with a quad each", SetUpStates, DrawStates, false});
  rows.push_back({"upload", "1024x1024 upload a frame", SetUpUpload, DrawUpload, false});
  rows.push_back({"clear", "clear and swap", SetUpNothing, DrawClear, false});
  rows.push_back({"read_bgra", "full read-back BGRA", SetUpNothing, DrawReadBgra, true});
  rows.push_back({"read_rgba", "full read-back RGBA", SetUpNothing, DrawReadRgba, true});
}

}  // namespace bench
