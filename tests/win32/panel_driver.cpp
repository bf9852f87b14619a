// Calls of the driver's entries, and the scene of the panel's tests.
#include "panel_driver.h"

#include "api/state/driver_state.h"
#include "api/table/prototypes.h"
#include "platform/clock.h"
#include "present/dxgi/fps_overlay.h"
#include "present_overlay.h"
#include "start/library.h"
#include "wgl/context.h"

namespace tlr2::test {

namespace {

constexpr int kCell = 48;  // pixels; cells stand in rows of five from the lower left
constexpr int kColumns = 5;

struct Cell {
  float x, y;
};
Cell CellAt(int index) {
  return {static_cast<float>(4 + kCell * (index % kColumns)), static_cast<float>(4 + kCell * (index / kColumns))};
}

void Quad(float x, float y, float width, float height, float z, float textures = 1.0f, bool back = false) {
  const float xs[4] = {x, x + width, x + width, x}, ys[4] = {y, y, y + height, y + height};
  const float ss[4] = {0, textures, textures, 0}, ts[4] = {0, 0, textures, textures};
  glBegin(gl::kQuads);
  for (int i = 0; i < 4; ++i) {
    const int corner = back ? 3 - i : i;
    glTexCoord2f(ss[corner], ts[corner]);
    glVertex3f(xs[corner], ys[corner], z);
  }
  glEnd();
}

void FillCell(int index, float z = 0, float textures = 1, bool back = false) {
  const Cell cell = CellAt(index);
  Quad(cell.x, cell.y, kCell - 6, kCell - 6, z, textures, back);
}

void MakeTexture(std::uint32_t name, std::uint32_t filter, std::uint32_t minFilter, std::uint32_t wrap) {
  constexpr int kSize = 64;
  static std::uint32_t texels[kSize * kSize];
  for (int i = 0; i < kSize * kSize; ++i) {
    const bool dark = ((i % kSize / 5) ^ (i / kSize / 7)) & 1;
    texels[i] = dark ? 0xFF203040u : 0xFFF0C080u + static_cast<std::uint32_t>(i % kSize);
  }
  glBindTexture(gl::kTexture2D, name);
  glTexParameteri(gl::kTexture2D, gl::kTextureMagFilter, static_cast<std::int32_t>(filter));
  glTexParameteri(gl::kTexture2D, gl::kTextureMinFilter, static_cast<std::int32_t>(minFilter));
  glTexParameteri(gl::kTexture2D, gl::kTextureWrapS, static_cast<std::int32_t>(wrap));
  glTexParameteri(gl::kTexture2D, gl::kTextureWrapT, static_cast<std::int32_t>(wrap));
  glTexImage2D(gl::kTexture2D, 0, static_cast<std::int32_t>(gl::kRgba), kSize, kSize, 0, gl::kRgba, gl::kUnsignedByte,
               texels);
}

void DrawTextures() {
  glEnable(gl::kTexture2D);
  glColor4f(1, 1, 1, 1);
  MakeTexture(1, gl::kNearest, gl::kNearest, gl::kRepeat);
  FillCell(0, 0, 0.2f);  // enlarged
  FillCell(1, 0, 1.7f);  // repeated
  FillCell(2, 0, 6.0f);  // reduced
  MakeTexture(2, gl::kLinear, gl::kLinearMipmapLinear, gl::kClampToEdge);
  FillCell(3, 0, 0.2f);
  FillCell(4, 0, 1.7f);
  glDisable(gl::kTexture2D);
}

void DrawOverrides() {
  glEnable(gl::kBlend);
  glBlendFunc(gl::kSrcAlpha, gl::kOneMinusSrcAlpha);
  glColor4f(1, 0, 0, 0.5f);
  FillCell(5);
  glDisable(gl::kBlend);

  glEnable(gl::kCullFace);
  glCullFace(gl::kBack);
  glFrontFace(gl::kCcw);
  glColor4f(0, 1, 1, 1);
  FillCell(6, 0, 1, true);
  glCullFace(gl::kFront);
  FillCell(7, 0, 1, false);
  glDisable(gl::kCullFace);

  glEnable(gl::kAlphaTest);
  glAlphaFunc(gl::kGreater, 0.666f);
  glColor4f(1, 1, 0, 0.3f);
  FillCell(8);
  glDisable(gl::kAlphaTest);

  // Nearer than the cleared depth, equal to it, and farther.
  glEnable(gl::kDepthTest);
  glDepthFunc(gl::kLess);
  const Cell cell = CellAt(9);
  glColor4f(1, 0, 1, 1);
  Quad(cell.x, cell.y, 12, 40, 0.5f);
  Quad(cell.x + 14, cell.y, 12, 40, 0);
  Quad(cell.x + 28, cell.y, 12, 40, -0.5f);
  glDisable(gl::kDepthTest);
}

/// Colours that pass through many roundings: instruction sets with and without fused products differ in some.
void DrawRoundings() {
  glEnable(gl::kBlend);
  glBlendFunc(gl::kSrcAlpha, gl::kOneMinusSrcAlpha);
  glEnable(gl::kTexture2D);
  glBindTexture(gl::kTexture2D, 2);
  for (int i = 0; i < 12; ++i) {
    const float t = static_cast<float>(i);
    glBegin(gl::kTriangles);
    glColor4f(0.9f - 0.05f * t, 0.11f * t, 0.37f, 0.31f + 0.02f * t);
    glTexCoord2f(0.013f * t, 0.7f);
    glVertex3f(4.3f, 101.0f + t, 0);
    glColor4f(0.3f, 0.9f, 0.07f * t, 0.73f);
    glTexCoord2f(0.91f, 0.03f * t);
    glVertex3f(250.0f - 3.1f * t, 103.7f, 0.1f);
    glColor4f(0.05f * t, 0.2f, 0.9f, 0.5f);
    glTexCoord2f(0.5f, 0.99f);
    glVertex3f(120.0f + 5.3f * t, 189.0f, -0.1f);
    glEnd();
  }
  glDisable(gl::kTexture2D);
  glDisable(gl::kBlend);
}

}  // namespace

void StartDriver() { LibraryStart(); }
void EndDriver() { LibraryEnd(); }

void* OpenContext(void* deviceContext) {
  void* context = wglCreateContext(deviceContext);
  if (context != nullptr) wglMakeCurrent(deviceContext, context);
  return context;
}

void CloseContext(void* context) {
  wglMakeCurrent(nullptr, nullptr);
  wglDeleteContext(context);
}

void DrawScene(std::uint32_t clearColor) {
  const auto channel = [clearColor](int shift) { return static_cast<float>(clearColor >> shift & 0xFF) / 255.0f; };
  glViewport(0, 0, kSceneWidth, kSceneHeight);
  glClearColor(channel(16), channel(8), channel(0), 1);
  glClearDepth(0.5);
  glClear(0x4100);
  glMatrixMode(gl::kProjection);
  glLoadIdentity();
  glOrtho(0, kSceneWidth, 0, kSceneHeight, -1, 1);
  glMatrixMode(gl::kModelview);
  glLoadIdentity();
  glTexEnvi(gl::kTextureEnv, gl::kTextureEnvMode, static_cast<std::int32_t>(gl::kModulate));
  DrawTextures();
  DrawOverrides();
  DrawRoundings();
}

void ShowScene(void* deviceContext) { wglSwapBuffers(deviceContext); }

std::vector<std::uint32_t> ReadScene() {
  std::vector<std::uint32_t> pixels(static_cast<std::size_t>(kSceneWidth) * kSceneHeight);
  glReadPixels(0, 0, kSceneWidth, kSceneHeight, gl::kBgra, gl::kUnsignedByte, pixels.data());
  return pixels;
}

std::size_t LastTaskCount() { return DriverStateInstance().partitions.size(); }

void EndOverlaySecond(void* context) {
  OverlayOf(*static_cast<ContextRecord*>(context)->surface.device).meter.lastUpdateTicks -= TicksPerSecond();
}
std::int32_t OverlayRate(void* context) {
  return OverlayOf(*static_cast<ContextRecord*>(context)->surface.device).meter.shownFps;
}

}  // namespace tlr2::test
