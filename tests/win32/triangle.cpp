// An ordinary program: the platform's headers, the platform's import library, GDI's way to a pixel format and to the
// swap. It draws with whatever opengl32.dll lies beside it and checks what it reads back and what the screen shows.
//
//   triangle [--hold MILLISECONDS]   keeps its last picture up that long
#include <GL/gl.h>
#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "test_window.h"

namespace {

constexpr int kWidth = 320, kHeight = 240;

int failures = 0;

void Check(bool good, const char* what) {
  std::printf("%s %s\n", good ? "ok    " : "FAILED", what);
  if (!good) ++failures;
}

bool Near(int a, int b) { return std::abs(a - b) <= 3; }

void CheckColor(std::uint32_t pixel, int red, int green, int blue, const char* what) {
  const int r = static_cast<int>(pixel >> 16 & 0xFF), g = static_cast<int>(pixel >> 8 & 0xFF);
  const int b = static_cast<int>(pixel & 0xFF);
  char line[160];
  std::snprintf(line, sizeof line, "%s: (%d, %d, %d), wanted (%d, %d, %d)", what, r, g, b, red, green, blue);
  Check(Near(r, red) && Near(g, green) && Near(b, blue), line);
}

void MakeTexture(GLuint name) {
  // Four quarters: white, yellow / cyan, black, in two by two texels.
  static const GLubyte kTexels[2 * 2 * 4] = {255, 255, 255, 255, 255, 255, 0, 255, 0, 255, 255, 255, 0, 0, 0, 255};
  glBindTexture(GL_TEXTURE_2D, name);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 2, 2, 0, GL_RGBA, GL_UNSIGNED_BYTE, kTexels);
}

// A red triangle low on the left, far; a green one over its right part, near; a textured square at the top right.
void DrawScene() {
  glClearColor(0.0f, 0.0f, 0.5f, 1.0f);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  glOrtho(0.0, kWidth, 0.0, kHeight, -1.0, 1.0);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  glEnable(GL_DEPTH_TEST);
  glDepthFunc(GL_LESS);
  glDisable(GL_TEXTURE_2D);
  glBegin(GL_TRIANGLES);
  glColor4f(0.0f, 1.0f, 0.0f, 1.0f);
  glVertex3f(120.0f, 20.0f, 0.5f);
  glVertex3f(220.0f, 20.0f, 0.5f);
  glVertex3f(120.0f, 140.0f, 0.5f);
  glColor4f(1.0f, 0.0f, 0.0f, 1.0f);
  glVertex3f(20.0f, 20.0f, 0.0f);
  glVertex3f(200.0f, 20.0f, 0.0f);
  glVertex3f(20.0f, 140.0f, 0.0f);
  glEnd();
  glEnable(GL_TEXTURE_2D);
  glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
  glColor4f(1.0f, 1.0f, 1.0f, 1.0f);
  glBegin(GL_QUADS);
  glTexCoord2f(0.0f, 0.0f);
  glVertex3f(200.0f, 140.0f, 0.0f);
  glTexCoord2f(1.0f, 0.0f);
  glVertex3f(300.0f, 140.0f, 0.0f);
  glTexCoord2f(1.0f, 1.0f);
  glVertex3f(300.0f, 220.0f, 0.0f);
  glTexCoord2f(0.0f, 1.0f);
  glVertex3f(200.0f, 220.0f, 0.0f);
  glEnd();
}

struct Probe {
  int x, y;  // from the bottom left
  int red, green, blue;
  const char* name;
};
constexpr Probe kProbes[] = {
    {40, 40, 255, 0, 0, "the red triangle"},     {130, 30, 0, 255, 0, "the nearer green triangle, drawn first"},
    {10, 230, 0, 0, 128, "the clear colour"},    {225, 160, 255, 255, 255, "the white texel"},
    {275, 160, 255, 255, 0, "the yellow texel"}, {225, 200, 0, 255, 255, "the cyan texel"},
    {275, 200, 0, 0, 0, "the black texel"},
};

void CheckReadBack() {
  static GLubyte pixels[kWidth * kHeight * 4];
  std::memset(pixels, 0x5A, sizeof pixels);
  glReadPixels(0, 0, kWidth, kHeight, GL_RGBA, GL_UNSIGNED_BYTE, pixels);
  for (const Probe& probe : kProbes) {
    const GLubyte* p = pixels + (probe.y * kWidth + probe.x) * 4;
    char what[96];
    std::snprintf(what, sizeof what, "read back, %s", probe.name);
    CheckColor(static_cast<std::uint32_t>(p[0] << 16 | p[1] << 8 | p[2]), probe.red, probe.green, probe.blue, what);
  }
}

bool ScreenIsRight(const std::vector<std::uint32_t>& screen) {
  for (const Probe& probe : kProbes) {
    const std::uint32_t pixel = screen[static_cast<std::size_t>((kHeight - 1 - probe.y) * kWidth + probe.x)];
    if (!Near(static_cast<int>(pixel >> 16 & 0xFF), probe.red) ||
        !Near(static_cast<int>(pixel >> 8 & 0xFF), probe.green) || !Near(static_cast<int>(pixel & 0xFF), probe.blue))
      return false;
  }
  return true;
}

// A window that has just appeared may still be painted over, so frames are drawn until the screen has the picture.
void CheckScreen(const tlr2::test::TestWindow& window) {
  std::vector<std::uint32_t> screen;
  int frames = 0;
  for (; frames < 60; ++frames) {
    DrawScene();
    SwapBuffers(window.deviceContext());
    tlr2::test::TestWindow::Pump();
    screen = window.Screen();
    if (frames >= 9 && ScreenIsRight(screen)) break;
    Sleep(20);
  }
  std::printf("       %d frames shown\n", frames + 1);
  for (const Probe& probe : kProbes) {
    char what[96];
    std::snprintf(what, sizeof what, "on the screen, %s", probe.name);
    CheckColor(screen[static_cast<std::size_t>((kHeight - 1 - probe.y) * kWidth + probe.x)], probe.red, probe.green,
               probe.blue, what);
  }
}

}  // namespace

int main(int count, char** arguments) {
  const DWORD hold = count == 3 && std::strcmp(arguments[1], "--hold") == 0
                         ? static_cast<DWORD>(std::strtoul(arguments[2], nullptr, 10))
                         : 0;
  std::setvbuf(stdout, nullptr, _IONBF, 0);
  tlr2::test::TestWindow window(kWidth, kHeight);
  PIXELFORMATDESCRIPTOR format = {};
  format.nSize = sizeof format;
  format.nVersion = 1;
  format.dwFlags = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL | PFD_DOUBLEBUFFER;
  format.iPixelType = PFD_TYPE_RGBA;
  format.cColorBits = 32;
  format.cDepthBits = 24;
  const int chosen = ChoosePixelFormat(window.deviceContext(), &format);
  Check(chosen != 0, "a pixel format is found");
  Check(SetPixelFormat(window.deviceContext(), chosen, &format) != FALSE, "and set");
  HGLRC context = wglCreateContext(window.deviceContext());
  Check(context != nullptr, "a context is made");
  Check(wglMakeCurrent(window.deviceContext(), context) != FALSE, "and made current");
  const auto* vendor = reinterpret_cast<const char*>(glGetString(GL_VENDOR));
  std::printf("       vendor \"%s\"\n", vendor == nullptr ? "(null)" : vendor);
  Check(vendor != nullptr && std::strcmp(vendor, "TLR2 Project") == 0, "the driver is the one beside the program");

  glViewport(0, 0, kWidth, kHeight);
  GLuint texture = 0;
  glGenTextures(1, &texture);
  MakeTexture(texture);
  CheckScreen(window);
  Sleep(hold);
  DrawScene();
  CheckReadBack();
  Check(glGetError() == GL_NO_ERROR, "no error is reported");

  Check(wglMakeCurrent(nullptr, nullptr) != FALSE, "the context is let go");
  Check(wglDeleteContext(context) != FALSE, "and deleted");
  std::printf("%d failed\n", failures);
  return failures == 0 ? 0 : 1;
}
