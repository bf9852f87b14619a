// Parsing of the demo's arguments, and its PNG output.
#include "demo_arguments.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb_image_write.h>

namespace demo {
namespace {

constexpr const char* kHelp =
    "usage: %s [--size WxH] [--frames N] [--start SECONDS] [--step SECONDS] [--screenshot FILE.png]\n"
    "       [--capture N-M] [--reference-pixels yes|no]\n"
    "Draws a courtyard in immediate mode.\n"
    "  --size WxH         size of the picture (1024x640)\n"
    "  --frames N         end after N frames\n"
    "  --start SECONDS    where on the camera's path to begin (0)\n"
    "  --step SECONDS     time between frames, instead of the clock's\n"
    "  --screenshot FILE  write the last frame as PNG\n"
    "  --capture N-M      capture frames N to M, counted from 0, into the current folder; ends behind them in a "
    "window\n"
    "  --reference-pixels yes|no\n"
    "                     whether the capture holds the frames' pixels too (yes)\n";

/// "N" or "N-M" in digits alone.
bool IsFrameRange(const std::string& text) {
  const std::size_t minus = text.find('-');
  const std::string first = text.substr(0, minus);
  const std::string last = minus == std::string::npos ? first : text.substr(minus + 1);
  const auto digits = [](const std::string& part) {
    return !part.empty() && part.size() <= 9 && part.find_first_not_of("0123456789") == std::string::npos;
  };
  return digits(first) && digits(last) && std::atoi(last.c_str()) >= std::atoi(first.c_str());
}

bool ParseNumber(const char* text, double& value) {
  char* end = nullptr;
  value = std::strtod(text, &end);
  return end != text && *end == '\0';
}

}  // namespace

int ParseArguments(int count, char** values, Arguments& arguments) {
  for (int i = 1; i < count; ++i) {
    const std::string name = values[i];
    if (name == "--help" || name == "-h") {
      std::printf(kHelp, values[0]);
      return 0;
    }
    if (i + 1 >= count) {
      std::fprintf(stderr, "%s: '%s' is unknown or lacks its value; --help lists the arguments\n", values[0],
                   name.c_str());
      return 2;
    }
    const char* value = values[++i];
    double number = 0;
    bool good = true;
    if (name == "--size") {
      char rest = 0;
      good = std::sscanf(value, "%dx%d%c", &arguments.width, &arguments.height, &rest) == 2 && arguments.width > 0 &&
             arguments.height > 0 && arguments.width <= 8192 && arguments.height <= 8192;
    } else if (name == "--frames") {
      good = ParseNumber(value, number) && number >= 1 && number <= 1e9;
      arguments.frames = static_cast<int>(number);
    } else if (name == "--start") {
      good = ParseNumber(value, arguments.start);
    } else if (name == "--step") {
      good = ParseNumber(value, arguments.step) && arguments.step > 0;
    } else if (name == "--screenshot") {
      arguments.screenshot = value;
    } else if (name == "--capture") {
      arguments.capture = value;
      good = IsFrameRange(arguments.capture);
    } else if (name == "--reference-pixels") {
      arguments.referencePixels = std::strcmp(value, "yes") == 0;
      good = arguments.referencePixels || std::strcmp(value, "no") == 0;
    } else {
      std::fprintf(stderr, "%s: unknown argument '%s'; --help lists them\n", values[0], name.c_str());
      return 2;
    }
    if (!good) {
      std::fprintf(stderr, "%s: bad value '%s' for %s\n", values[0], value, name.c_str());
      return 2;
    }
  }
  return -1;
}

bool WritePicture(const std::string& path, int width, int height, const std::vector<std::uint8_t>& pixels) {
  // The window's alpha is not part of the picture.
  std::vector<std::uint8_t> rgb(static_cast<std::size_t>(width) * height * 3);
  for (int y = 0; y < height; ++y) {
    const std::uint8_t* from = &pixels[static_cast<std::size_t>(height - 1 - y) * width * 4];
    std::uint8_t* to = &rgb[static_cast<std::size_t>(y) * width * 3];
    for (int x = 0; x < width; ++x) {
      to[3 * x] = from[4 * x];
      to[3 * x + 1] = from[4 * x + 1];
      to[3 * x + 2] = from[4 * x + 2];
    }
  }
  if (stbi_write_png(path.c_str(), width, height, 3, rgb.data(), width * 3) != 0) return true;
  std::fprintf(stderr, "cannot write '%s'\n", path.c_str());
  return false;
}

}  // namespace demo
