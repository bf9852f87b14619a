// The four texture environments over a colour gradient; the texture's alpha fades to the right.
#include "scene.h"

namespace tlr2::golden {
namespace {

void Draw() {
  ClearAll(0, 0, 0);
  PixelCoordinates();
  Image image = Board(32, 4, 0xFFFFFFFFu, 0xFF4060A0u);
  for (int y = 0; y < 32; ++y)
    for (int x = 0; x < 32; ++x)
      image.At(x, y) = (image.At(x, y) & 0xFFFFFFu) | static_cast<std::uint32_t>(255 - x * 8) << 24;
  glEnable(gl::kTexture2D);
  MakeTexture(image, gl::kNearest, gl::kNearest, gl::kClamp);
  const float constant[4] = {0.2f, 0.9f, 0.4f, 1};
  glTexEnvfv(gl::kTextureEnv, gl::kTextureEnvColor, constant);
  const std::uint32_t modes[] = {gl::kModulate, gl::kReplace, gl::kDecal, gl::kBlend};
  for (int i = 0; i < 4; ++i) {
    glTexEnvi(gl::kTextureEnv, gl::kTextureEnvMode, static_cast<int>(modes[i]));
    const float x = i % 2 == 0 ? 10.0f : 165.0f, y = i / 2 == 0 ? 125.0f : 10.0f;
    glBegin(gl::kQuads);
    glColor3f(1, 0, 0);
    glTexCoord2f(0, 0);
    glVertex2f(x, y);
    glTexCoord2f(1, 0);
    glVertex2f(x + 145, y);
    glColor3f(1, 1, 0.3f);
    glTexCoord2f(1, 1);
    glVertex2f(x + 145, y + 105);
    glTexCoord2f(0, 1);
    glVertex2f(x, y + 105);
    glEnd();
  }
}

const Scene scene("texture_environment", Draw);

}  // namespace
}  // namespace tlr2::golden
