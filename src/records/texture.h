// The texture object that the calls change.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "base/gl.h"
#include "base/growing_vector.h"
#include "records/texture_cache_entry.h"

namespace tlr2 {

/// Texels of all levels, 0xAARRGGBB, with one readable word of 0 ahead of the first and one behind the last. Lanes
/// that sample past the end of a mip chain read the word ahead; a 1 by 1 texture with wild coordinates reads the one
/// behind. Neither is counted, captured or changed.
///
/// Copies share the texels until one of them is written through: keyframes copy textures of which the next upload
/// replaces every texel. The functions that are not const make the texels the object's own.
class TexelVector {
 public:
  /// The most texels that fit, in a block below 2 GiB.
  static constexpr std::size_t kLimit = 0x7FFFFFFFu / 4 - 2;

  std::uint32_t* data() {
    Own();
    return Filled() ? words_->data() + 1 : nullptr;
  }
  const std::uint32_t* data() const noexcept { return Filled() ? words_->data() + 1 : nullptr; }
  std::size_t size() const noexcept { return Filled() ? words_->size() - 2 : 0; }
  bool empty() const noexcept { return size() == 0; }
  std::uint32_t& operator[](std::size_t i) {
    Own();
    return (*words_)[i + 1];
  }
  const std::uint32_t& operator[](std::size_t i) const noexcept { return (*words_)[i + 1]; }
  /// Keeps existing texels; new ones are 0.
  void resize(std::size_t count) {
    const std::size_t old = size();
    Own();
    if (words_ == nullptr) words_ = Hold(new Words);
    words_->resize(count + 2);
    if (count < old) (*words_)[count + 1] = 0;
  }
  /// The same, but new texels behind others are for the caller to write, all of them.
  void Extend(std::size_t count) {
    if (count <= size() || empty()) return resize(count);
    Own();
    words_->GrowUninitialized(count - size());
    (*words_)[count + 1] = 0;
  }
  void assign(std::size_t count, std::uint32_t value) {
    Renew(count);
    for (std::size_t i = 0; i < count; ++i) (*words_)[i + 1] = value;
  }
  /// `count` texels that the caller writes, all of them; `room` texels fit without moving.
  void Renew(std::size_t count, std::size_t room = 0) {
    const std::size_t wanted = (room > count ? room : count) + 2;
    if (words_ == nullptr || words_.use_count() != 1) words_ = Hold(SpareFits(wanted) ? TakeSpare() : new Words);
    words_->clear();
    words_->reserve(wanted);
    words_->GrowUninitialized(count + 2);
    (*words_)[0] = 0;
    (*words_)[count + 1] = 0;
  }
  /// The large block that was let go last waits for the next upload: a program that replaces a texture each frame would
  /// otherwise have its pages taken away and given back each time. Called at a frame's end, so that it waits for the
  /// frame after at most. Objects are let go by the application's thread and by the replay, which never run at a time.
  static void DropSpare() noexcept { delete TakeSpare(); }
  static std::size_t SpareWords() noexcept { return spare_ != nullptr ? spare_->capacity() : 0; }
  /// Lets go of the storage.
  void reset() noexcept { words_.reset(); }

 private:
  using Words = GrowingVector<std::uint32_t>;

  bool Filled() const noexcept { return words_ != nullptr && !words_->empty(); }
  void Own() {
    if (words_ != nullptr && words_.use_count() != 1) words_ = Hold(new Words(*words_));
  }

  /// Blocks that are not worth keeping, in words.
  static constexpr std::size_t kLeastSpare = 65536;
  static bool SpareFits(std::size_t wanted) noexcept {
    return spare_ != nullptr && spare_->capacity() >= wanted && spare_->capacity() / 2 <= wanted;
  }
  static Words* TakeSpare() noexcept { return std::exchange(spare_, nullptr); }
  static void Retire(Words* words) noexcept {
    if (words->capacity() >= kLeastSpare) words = std::exchange(spare_, words);
    delete words;
  }
  static std::shared_ptr<Words> Hold(Words* words) { return {words, Retire}; }

  inline static Words* spare_ = nullptr;

  std::shared_ptr<Words> words_;
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
