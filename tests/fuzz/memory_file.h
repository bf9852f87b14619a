// Bytes under a path, without a disk where the system can.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#if defined(__linux__)
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace tlr2::test {

class MemoryFile {
 public:
  MemoryFile(const std::uint8_t* data, std::size_t size) {
#if defined(__linux__)
    descriptor_ = memfd_create("input", 0);
    path_ = "/proc/self/fd/" + std::to_string(descriptor_);
    std::size_t done = 0;
    while (done < size) {
      const ssize_t written = write(descriptor_, data + done, size - done);
      if (written <= 0) std::abort();
      done += static_cast<std::size_t>(written);
    }
#else
    path_ = "fuzz_input.bin";
    std::FILE* file = std::fopen(path_.c_str(), "wb");
    if (file == nullptr || std::fwrite(data, 1, size, file) != size) std::abort();
    std::fclose(file);
#endif
  }
  ~MemoryFile() {
#if defined(__linux__)
    close(descriptor_);
#else
    std::remove(path_.c_str());
#endif
  }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  const char* path() const noexcept { return path_.c_str(); }

 private:
  int descriptor_ = -1;
  std::string path_;
};

}  // namespace tlr2::test
