// A fuzz target without a fuzzer: runs every file of the folders given, each also cut short in a few places and, with
// --mutations N, changed N times by chance that is the same every time. What a fuzzer found, in folders named "found",
// stands for itself: it is run as it is and cut short, not changed.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint32_t kWords[] = {0, 1, 4, 0x7F, 0xFF, 0xFFFF, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0x7FC00000};

void Mutate(Bytes& bytes, std::mt19937& chance) {
  for (std::uint32_t changes = 1 + chance() % 4; changes != 0 && !bytes.empty(); --changes) {
    const std::size_t at = chance() % bytes.size();
    switch (chance() % 4) {
      case 0:
        bytes[at] = static_cast<std::uint8_t>(bytes[at] ^ 1u << chance() % 8);
        break;
      case 1:
        bytes[at] = static_cast<std::uint8_t>(chance());
        break;
      case 2: {
        const std::uint32_t word = kWords[chance() % std::size(kWords)];
        const std::size_t place = at / 4 * 4;
        std::memcpy(bytes.data() + place, &word, std::min(sizeof word, bytes.size() - place));
        break;
      }
      default: {  // a run of bytes once more, somewhere else
        const std::size_t length = std::min<std::size_t>(1 + chance() % 64, bytes.size() - at);
        const Bytes run(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                        bytes.begin() + static_cast<std::ptrdiff_t>(at + length));
        bytes.insert(bytes.begin() + static_cast<std::ptrdiff_t>(chance() % bytes.size()), run.begin(), run.end());
      }
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  std::size_t inputs = 0;
  long mutations = 0;
  int first = 1;
  if (argc > 2 && std::strcmp(argv[1], "--mutations") == 0) {
    mutations = std::strtol(argv[2], nullptr, 10);
    first = 3;
  }
  std::mt19937 chance(1);
  for (int i = first; i < argc; ++i) {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[i])) {
      if (entry.is_regular_file()) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    for (const std::filesystem::path& path : files) {
      std::ifstream in(path, std::ios::binary);
      const Bytes bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
      for (std::size_t part = 0; part <= 8; ++part, ++inputs) {
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size() * part / 8);
      }
      const bool found = path.parent_path().filename() == "found";
      for (long n = 0; n < mutations && !found; ++n, ++inputs) {
        Bytes changed = bytes;
        Mutate(changed, chance);
        LLVMFuzzerTestOneInput(changed.data(), changed.size());
      }
    }
  }
  std::printf("%zu inputs\n", inputs);
  return inputs == 0 ? 1 : 0;
}
