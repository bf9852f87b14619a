// What the scenes share.
#include "scene.h"

#include <cstdlib>

namespace tlr2::golden {

Scene* firstScene = nullptr;

Scene::Scene(const char* sceneName, SceneFn sceneDraw) : name(sceneName), draw(sceneDraw), next(firstScene) {
  firstScene = this;
}

void NextFrame() { wglSwapBuffers(wglGetCurrentDC()); }

void Perspective() {
  glMatrixMode(gl::kProjection);
  glLoadIdentity();
  glFrustum(-1, 1, -0.75, 0.75, 1, 100);
  glMatrixMode(gl::kModelview);
  glLoadIdentity();
}

void PixelCoordinates() {
  glMatrixMode(gl::kProjection);
  glLoadIdentity();
  glOrtho(0, kWidth, 0, kHeight, -1, 1);
  glMatrixMode(gl::kModelview);
  glLoadIdentity();
}

void ClearAll(float r, float g, float b) {
  glClearColor(r, g, b, 1);
  glClear(gl::kColorBufferBit | gl::kDepthBufferBit);
}

Image MakeImage(int width, int height, std::uint32_t fill) {
  return {width, height, std::vector<std::uint32_t>(static_cast<std::size_t>(width * height), fill)};
}

Image Board(int size, int squares, std::uint32_t light, std::uint32_t dark) {
  Image image = MakeImage(size, size, dark);
  const int side = size / squares;
  for (int y = 0; y < size; ++y)
    for (int x = 0; x < size; ++x)
      if ((x / side + y / side) % 2 == 0) image.At(x, y) = light;
  for (int i = 0; i < side; ++i) {
    image.At(i, 0) = 0xFFFF0000u;  // along s: red
    image.At(0, i) = 0xFF00FF00u;  // along t: green
  }
  return image;
}

Image Noise(int size, std::uint32_t seed) {
  Image image = MakeImage(size, size, 0);
  std::uint32_t state = seed;
  for (std::uint32_t& texel : image.texels) {
    state = state * 1664525u + 1013904223u;
    const std::uint32_t level = 64 + (state >> 24) / 2;
    texel = 0xFF000000u | level << 16 | level << 8 | (level + 32);
  }
  return image;
}

std::uint32_t MakeTexture(const Image& image, std::uint32_t minFilter, std::uint32_t magFilter, std::uint32_t wrap) {
  std::uint32_t name = 0;
  glGenTextures(1, &name);
  glBindTexture(gl::kTexture2D, name);
  glTexParameteri(gl::kTexture2D, gl::kTextureMinFilter, static_cast<int>(minFilter));
  glTexParameteri(gl::kTexture2D, gl::kTextureMagFilter, static_cast<int>(magFilter));
  glTexParameteri(gl::kTexture2D, gl::kTextureWrapS, static_cast<int>(wrap));
  glTexParameteri(gl::kTexture2D, gl::kTextureWrapT, static_cast<int>(wrap));
  // In memory the words run blue, green, red, alpha.
  glTexImage2D(gl::kTexture2D, 0, static_cast<int>(gl::kRgba), image.width, image.height, 0, gl::kBgra,
               gl::kUnsignedByte, image.texels.data());
  return name;
}

void Rectangle(float x0, float y0, float x1, float y1, float z, float s, float t) {
  glBegin(gl::kQuads);
  glTexCoord2f(0, 0);
  glVertex3f(x0, y0, z);
  glTexCoord2f(s, 0);
  glVertex3f(x1, y0, z);
  glTexCoord2f(s, t);
  glVertex3f(x1, y1, z);
  glTexCoord2f(0, t);
  glVertex3f(x0, y1, z);
  glEnd();
}

void Floor(float repeats) {
  constexpr float kEdge = 60, kDepth = -90;
  glBegin(gl::kTriangleStrip);
  glTexCoord2f(0, 0);
  glVertex3f(-kEdge, -1, 2);  // behind the eye: the near plane cuts it
  glTexCoord2f(repeats, 0);
  glVertex3f(kEdge, -1, 2);
  glTexCoord2f(0, repeats);
  glVertex3f(-kEdge, -1, kDepth);
  glTexCoord2f(repeats, repeats);
  glVertex3f(kEdge, -1, kDepth);
  glEnd();
}

}  // namespace tlr2::golden
