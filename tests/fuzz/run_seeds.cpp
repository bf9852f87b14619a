// A fuzz target without a fuzzer: runs every file of the folders given, each also cut short in a few places.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
  std::size_t inputs = 0;
  for (int i = 1; i < argc; ++i) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[i])) {
      if (!entry.is_regular_file()) continue;
      std::ifstream in(entry.path(), std::ios::binary);
      const std::vector<char> bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
      const auto* data = reinterpret_cast<const std::uint8_t*>(bytes.data());
      for (std::size_t part = 0; part <= 8; ++part) {
        LLVMFuzzerTestOneInput(data, bytes.size() * part / 8);
        ++inputs;
      }
    }
  }
  std::printf("%zu inputs\n", inputs);
  return inputs == 0 ? 1 : 0;
}
