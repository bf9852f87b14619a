// The texture object that the calls change.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/gl.h"
#include "base/growing_vector.h"
#include "records/texture_cache_entry.h"

namespace tlr2 {

/// Texels of all levels, 0xAARRGGBB, with one readable word of 0 ahead of the first and one behind the last. Lanes
/// that sample past the end of a mip chain read the word ahead; a 1 by 1 texture with wild coordinates reads the one
/// behind. Neither is counted, captured or changed.
class TexelVector {
 public:
  /// The most texels that fit, in a block below 2 GiB.
  static constexpr std::size_t kLimit = 0x7FFFFFFFu / 4 - 2;

  std::uint32_t* data() noexcept { return words_.empty() ? nullptr : words_.data() + 1; }
  const std::uint32_t* data() const noexcept { return words_.empty() ? nullptr : words_.data() + 1; }
  std::size_t size() const noexcept { return words_.empty() ? 0 : words_.size() - 2; }
  bool empty() const noexcept { return size() == 0; }
  std::uint32_t& operator[](std::size_t i) noexcept { return words_[i + 1]; }
  const std::uint32_t& operator[](std::size_t i) const noexcept { return words_[i + 1]; }
  /// Keeps existing texels; new ones are 0.
  void resize(std::size_t count) {
    const std::size_t old = size();
    words_.resize(count + 2);
    if (count < old) words_[count + 1] = 0;
  }
  void assign(std::size_t count, std::uint32_t value) {
    Renew(count);
    for (std::size_t i = 0; i < count; ++i) words_[i + 1] = value;
  }
  /// `count` texels that the caller writes, all of them.
  void Renew(std::size_t count) {
    words_.clear();
    words_.GrowUninitialized(count + 2);
    words_[0] = 0;
    words_[count + 1] = 0;
  }
  /// Frees the storage.
  void reset() noexcept { words_.reset(); }

 private:
  GrowingVector<std::uint32_t> words_;
};

struct TextureObject {
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::uint32_t wrapS = gl::kRepeat;
  std::uint32_t wrapT = gl::kRepeat;
  std::uint32_t magFilter = gl::kLinear;
  std::uint32_t minFilter = gl::kLinearMipmapLinear;  // deliberately not the interface's own default
  std::uint8_t inUse = 0;
  std::uint8_t hasImage = 0;
  TexelVector pixels;
  std::uint32_t levelCount = 0;
  std::uint32_t levelWidth[kMaxLevels] = {};
  std::uint32_t levelHeight[kMaxLevels] = {};
  std::uint32_t levelPitch[kMaxLevels] = {};       // bytes per row
  std::uint32_t levelTexelBytes[kMaxLevels] = {};  // 4 for each level in use
  std::uint32_t levelOffset[kMaxLevels] = {};      // bytes from the first texel of level 0
};

}  // namespace tlr2
