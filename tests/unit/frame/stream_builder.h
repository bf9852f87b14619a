// Command streams for tests, written word by word from the published layouts, so that the reader is not tested with
// its own tables.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <vector>

#include "api/state/command_stream.h"

namespace frame_test {

enum Id : std::uint32_t {
  kMatrixMode = 0,
  kLoadIdentity = 1,
  kLoadMatrixf = 2,
  kMultMatrixf = 3,
  kPushMatrix = 4,
  kPopMatrix = 5,
  kTranslatef = 6,
  kRotatef = 7,
  kScalef = 8,
  kOrtho = 9,
  kFrustum = 10,
  kViewport = 11,
  kDepthRange = 12,
  kScissor = 13,
  kEnable = 14,
  kDisable = 15,
  kBlendFunc = 16,
  kAlphaFunc = 17,
  kDepthFunc = 18,
  kDepthMask = 19,
  kColorMask = 20,
  kTexEnvi = 21,
  kTexEnvfv = 22,
  kTexParameteri = 23,
  kPixelStorei = 24,
  kCullFace = 25,
  kFrontFace = 26,
  kShadeModel = 27,
  kPolygonMode = 28,
  kPolygonOffset = 29,
  kActiveTexture = 30,
  kGenTextures = 31,
  kDeleteTextures = 32,
  kBindTexture = 33,
  kTexImage2D = 34,
  kTexSubImage2D = 35,
  kColor = 36,
  kTexCoord2f = 37,
  kClearColor = 38,
  kClearDepth = 39,
  kClear = 40,
  kBegin = 41,
  kVertex2f = 42,
  kVertex3f = 43,
  kEnd = 44,
  kSwapBuffers = 45,
  kReadPixels = 46
};

/// A 32-bit field from an integer or a float.
struct Word {
  std::uint32_t bits;
  Word(int v) : bits(static_cast<std::uint32_t>(v)) {}
  Word(unsigned v) : bits(v) {}
  Word(float v) : bits(std::bit_cast<std::uint32_t>(v)) {}
  Word(double v) : bits(std::bit_cast<std::uint32_t>(static_cast<float>(v))) {}
};

class StreamBuilder {
 public:
  tlr2::CommandStream stream;

  StreamBuilder& Put(std::uint32_t id, std::initializer_list<Word> fields = {}) {
    return Put(id, std::vector<Word>(fields));
  }
  StreamBuilder& Put(std::uint32_t id, const std::vector<Word>& fields) {
    return PutSized(id, static_cast<std::uint32_t>(4 + 4 * fields.size()), fields);
  }
  /// A header that says `size`, followed by the fields, whatever their number.
  StreamBuilder& PutSized(std::uint32_t id, std::uint32_t size, const std::vector<Word>& fields = {}) {
    PutWord(size << 16 | id);
    for (const Word& field : fields) PutWord(field.bits);
    return *this;
  }
  StreamBuilder& PutWord(std::uint32_t word) {
    std::uint8_t bytes[4];
    std::memcpy(bytes, &word, 4);
    stream.bytes.append(bytes, 4);
    return *this;
  }
  StreamBuilder& Triangle(std::uint32_t mode = 4) {
    return Put(kBegin, {mode})
        .Put(kVertex3f, {0.0f, 0.0f, 0.0f})
        .Put(kVertex3f, {1.0f, 0.0f, 0.0f})
        .Put(kVertex3f, {0.0f, 1.0f, 0.0f})
        .Put(kEnd);
  }
  std::uint32_t Blob(const void* data, std::size_t size) {
    const auto offset = static_cast<std::uint32_t>(stream.blob.size());
    stream.blob.append(static_cast<const std::uint8_t*>(data), size);
    return offset;
  }
  /// Drops `count` bytes at the end.
  StreamBuilder& Cut(std::size_t count) {
    tlr2::ByteVector kept;
    if (count < stream.bytes.size()) kept.append(stream.bytes.data(), stream.bytes.size() - count);
    stream.bytes = kept;
    return *this;
  }
};

}  // namespace frame_test
