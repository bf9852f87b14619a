// A folder of its own for a test that writes files, and the text that a report writes.
#pragma once

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace tlr2::test {

/// Made empty, entered, left and removed with the object.
class ScratchFolder {
 public:
  ScratchFolder() : home_(std::filesystem::current_path()) {
    const auto ticks = std::chrono::steady_clock::now().time_since_epoch().count();
    path_ = std::filesystem::temp_directory_path() / ("tlr2_test_" + std::to_string(ticks));
    std::filesystem::create_directories(path_);
    std::filesystem::current_path(path_);
  }
  ~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::current_path(home_, ignored);
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  const std::filesystem::path& Path() const { return path_; }

 private:
  std::filesystem::path home_, path_;
};

/// What `write` puts into the file that it is given, byte for byte.
template <typename Write>
std::string WrittenText(const Write& write) {
  const ScratchFolder folder;
  std::FILE* file = std::fopen("text", "wb");
  if (file == nullptr) return "no scratch file";
  write(file);
  std::fclose(file);
  std::ifstream in("text", std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

}  // namespace tlr2::test
