// The demo's command line, the same for the windowed and the headless program.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace demo {

struct Arguments {
  int width = 1024;
  int height = 640;
  int frames = 0;               // 0: until the window is closed; the headless program then draws 120
  double start = 0;             // seconds into the camera's path
  double step = 0;              // seconds a frame; 0: the clock's
  std::string screenshot;       // PNG of the last frame; empty for none
  std::string capture;          // frames to capture, "N" or "N-M"; empty for none
  bool referencePixels = true;  // with their pixels
};

/// Returns an exit code to leave with, or -1 to go on.
int ParseArguments(int count, char** values, Arguments& arguments);
/// Writes `pixels` (RGBA, rows from the bottom up) as a PNG. False with a message when it cannot.
bool WritePicture(const std::string& path, int width, int height, const std::vector<std::uint8_t>& pixels);

}  // namespace demo
