// PNG files, in memory and on disk.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tlr2::tool {

using Bytes = std::vector<std::uint8_t>;

/// `channels` bytes a pixel, 3 or 4: red, green, blue and alpha, rows from the top, tight.
Bytes EncodePng(const std::uint8_t* pixels, std::int32_t width, std::int32_t height, int channels);
/// Fails the command with exit code 4 when the file cannot be written; what stood there before then stays.
void WriteFile(const std::string& path, const void* data, std::size_t size);
/// Makes the folder and those above it.
void MakeFolder(const std::string& path);

}  // namespace tlr2::tool
