// A program that draws until it is killed: endless FILE. The number of swaps that have come back stands in the file's
// first four bytes, written without a buffer, so that it outlives the program.
#include <GL/gl.h>
#include <windows.h>

#include <cstdint>
#include <cstdio>

#include "test_window.h"

namespace {

constexpr int kWidth = 160, kHeight = 120, kTexels = 32;

// Frames of different lengths, some with texels that no other frame has.
void DrawFrame(std::uint32_t frame) {
  static GLubyte texels[kTexels * kTexels * 4];
  glClearColor(0.0f, 0.0f, 0.3f, 1.0f);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  glEnable(GL_TEXTURE_2D);
  if (frame % 3 == 0) {
    for (unsigned i = 0; i < sizeof texels; ++i) texels[i] = static_cast<GLubyte>((i ^ frame) * 37u >> 2);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, kTexels, kTexels, 0, GL_RGBA, GL_UNSIGNED_BYTE, texels);
  }
  glBegin(GL_TRIANGLES);
  for (std::uint32_t i = 0; i < 50 + frame % 17 * 40; ++i) {
    const float x = static_cast<float>(i % 40) / 20.0f - 1.0f, y = static_cast<float>(i / 40) / 9.0f - 1.0f;
    glTexCoord2f(0.0f, 0.0f);
    glVertex3f(x, y, 0.0f);
    glTexCoord2f(1.0f, 0.0f);
    glVertex3f(x + 0.05f, y, 0.0f);
    glTexCoord2f(0.0f, 1.0f);
    glVertex3f(x, y + 0.1f, 0.0f);
  }
  glEnd();
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) return 2;
  const HANDLE file = CreateFileA(arguments[1], GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS, 0, nullptr);
  if (file == INVALID_HANDLE_VALUE) return 4;
  const tlr2::test::TestWindow window(kWidth, kHeight);
  if (window.OpenContext() == nullptr) return 4;
  glViewport(0, 0, kWidth, kHeight);
  for (std::uint32_t frame = 0;;) {
    DrawFrame(frame);
    SwapBuffers(window.deviceContext());
    ++frame;
    OVERLAPPED start = {};
    DWORD written = 0;
    if (!WriteFile(file, &frame, sizeof frame, &written, &start)) return 3;
    tlr2::test::TestWindow::Pump();
  }
}
