// Fuzz target: an arbitrary stream after an arbitrary snapshot, checked, then interpreted, emitted and rendered.
//
// The input: one byte for the kernel target, one for the number of tasks, one for the number of snapshot changes; that
// many changes of six bytes, a place and a word; then two bytes for the length of the first frame's stream, that
// stream, and the second frame's. Every frame has the same blob.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "base/gl.h"
#include "fuzz_limits.h"
#include "textures/texture_ops.h"
#include "tlr2_replay/session.h"

namespace {

using namespace tlr2;

constexpr std::int32_t kWidth = 72, kHeight = 40;
constexpr std::size_t kBlobBytes = 1024;

struct Input {
  const std::uint8_t* at;
  std::size_t left;

  std::uint8_t Byte() {
    if (left == 0) return 0;
    --left;
    return *at++;
  }
  std::uint32_t Half() {
    const std::uint32_t low = Byte();
    return low | std::uint32_t{Byte()} << 8;
  }
  ByteVector Take(std::size_t size) {
    size = std::min(size, left);
    ByteVector bytes;
    bytes.append(at, size);
    at += size;
    left -= size;
    return bytes;
  }
};

/// As a program has it that set its viewport and made two textures.
CaptureContents Start() {
  CaptureContents contents;
  contents.width = kWidth;
  contents.height = kHeight;
  DriverState state;
  state.viewport[2] = state.fbWidth = kWidth;
  state.viewport[3] = state.fbHeight = kHeight;
  state.microCols = (kWidth + 7) / 8;
  state.microRows = (kHeight + 7) / 8;
  state.macroCols = (kWidth + 31) / 32;
  state.macroRows = (kHeight + 31) / 32;
  for (auto& stack : state.matrixStacks) stack[0][0] = stack[0][5] = stack[0][10] = stack[0][15] = 1;
  SnapshotFromState(state, contents.snapshot);
  std::uint8_t texels[8 * 4 * 4];
  for (std::size_t i = 0; i < sizeof texels; ++i) texels[i] = static_cast<std::uint8_t>(i * 37);
  for (const std::uint32_t name : {1u, 2u}) {
    BindTexture(state, gl::kTexture2D, name, Touch::kSkip);
    UploadImage(state, gl::kTexture2D, 0, 8, name == 1 ? 4 : 1, gl::kBgra, gl::kUnsignedByte, texels, sizeof texels,
                Touch::kSkip);
  }
  contents.textures = state.textureTable;
  return contents;
}

void AddFrame(CaptureContents& contents, ByteVector&& stream) {
  contents.streams.push_back(std::move(stream));
  ByteVector blob;
  blob.GrowUninitialized(kBlobBytes);
  for (std::size_t i = 0; i < kBlobBytes; ++i) blob[i] = static_cast<std::uint8_t>(i % 5 == 0 ? 1 : i * 11);
  contents.blobs.push_back(std::move(blob));
  contents.references.emplace_back();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input input = {data, size};
  const std::uint8_t target = input.Byte(), tasks = input.Byte(), changes = input.Byte();
  CaptureContents contents = Start();
  auto* snapshot = reinterpret_cast<std::uint8_t*>(&contents.snapshot);
  for (std::uint8_t i = 0; i < changes % 16; ++i) {
    const std::size_t place = input.Half() % (sizeof contents.snapshot / 4);
    const std::uint32_t low = input.Half();
    const std::uint32_t word = low | input.Half() << 16;
    std::memcpy(snapshot + place * 4, &word, sizeof word);
  }
  const std::size_t first = input.Half();
  AddFrame(contents, input.Take(first));
  AddFrame(contents, input.Take(input.left));
  if (!ValidateCapture(contents, test::kFuzzLimits).empty()) return 0;

  const std::vector<std::int32_t> targets = tool::SupportedTargets();
  tool::SessionOptions options;
  options.isa = targets[target % targets.size()];
  options.threads = 1 + tasks % 4;
  tool::Session session(contents, options);
  while (session.NextFrame() < session.FrameCount()) session.Step();
  const std::uint32_t hash = session.ColorHash();
  // What it draws depends on the file alone.
  options.threads = 1;
  tool::Session again(contents, options);
  while (again.NextFrame() < again.FrameCount()) again.Step();
  if (again.ColorHash() != hash) __builtin_trap();
  return 0;
}
