// The PNG writer of stb, over memory.
#include "tlr2_replay/png.h"

#include <filesystem>

#include "tlr2_replay/command.h"
#include "tlr2_replay/output_file.h"

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#define STBI_WRITE_NO_STDIO
#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#include <stb_image_write.h>
#pragma GCC diagnostic pop

namespace tlr2::tool {

Bytes EncodePng(const std::uint8_t* pixels, std::int32_t width, std::int32_t height, int channels) {
  Bytes bytes;
  const auto append = [](void* context, void* data, int size) {
    const auto* from = static_cast<const std::uint8_t*>(data);
    static_cast<Bytes*>(context)->insert(static_cast<Bytes*>(context)->end(), from, from + size);
  };
  if (width < 1 || height < 1 ||
      stbi_write_png_to_func(append, &bytes, width, height, channels, pixels, width * channels) == 0)
    throw CommandFailure{kFailed, "a picture of " + std::to_string(width) + "x" + std::to_string(height) +
                                      " pixels cannot be written as PNG"};
  return bytes;
}

void WriteFile(const std::string& path, const void* data, std::size_t size) {
  OutputFile file(path);
  file.Write(data, size);
  file.Close();
  file.Keep();
}

void MakeFolder(const std::string& path) {
  std::error_code error;
  std::filesystem::create_directories(path, error);
  if (!std::filesystem::is_directory(path, error))
    throw CommandFailure{kFailed, "cannot make the folder '" + path + "'"};
}

}  // namespace tlr2::tool
