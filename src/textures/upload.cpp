// Uploads: payload sizes, and images into level 0.
#include <stdexcept>

#include "api/state/keyframe.h"
#include "textures/texture_ops.h"

namespace tlr2 {
namespace {

constexpr std::uint32_t kOpaqueBlack = 0xFF000000u;

constexpr std::uint32_t BytesPerPixel(GLenum format) noexcept {
  switch (format) {
    case gl::kRgb:
    case gl::kBgr:
      return 3;
    case gl::kLuminance:
    case gl::kAlpha:
      return 1;
    default:
      return 4;
  }
}

/// Texels of the whole mip chain, at most TexelVector's limit.
std::uint64_t ChainTexels(GLsizei width, GLsizei height) noexcept {
  std::uint64_t total = 0;
  for (int level = 0; level < kMaxLevels; ++level) {
    total += static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height);
    if (width < 2 && height < 2) break;
    width = width < 2 ? width : width / 2;
    height = height < 2 ? height : height / 2;
  }
  return total < TexelVector::kLimit ? total : TexelVector::kLimit;
}

/// Tight rows of `width` pixels into rows `pitch` texels apart, up to the first that fails or is not all there. Returns
/// the number of rows converted.
GLsizei ConvertRows(GLenum format, GLenum type, const std::uint8_t* payload, std::uint64_t payloadBytes,
                    std::uint32_t* destination, std::uint64_t pitch, GLsizei width, GLsizei height) noexcept {
  const std::uint64_t stride = std::uint64_t{BytesPerPixel(format)} * static_cast<std::uint32_t>(width);
  const std::uint64_t whole = payloadBytes / stride;
  for (GLsizei row = 0; row < height; ++row) {
    const auto r = static_cast<std::uint64_t>(row);
    if (r >= whole) return row;
    if (!ConvertPixelRow(format, type, payload + static_cast<std::size_t>(r * stride),
                         destination + static_cast<std::size_t>(r * pitch), width)) {
      return row;
    }
  }
  return height;
}

}  // namespace

std::uint64_t PayloadBytes(GLenum format, GLsizei width, GLsizei height, bool hasPixels) noexcept {
  if (!hasPixels || width <= 0 || height <= 0) return 0;
  return std::uint64_t{BytesPerPixel(format)} * static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height);
}

void UploadImage(DriverState& state, GLenum target, GLint level, GLsizei width, GLsizei height, GLenum format,
                 GLenum type, const std::uint8_t* payload, std::uint64_t payloadBytes, Touch touch) {
  if (target != gl::kTexture2D || width < 1 || height < 1) return;
  TextureObject* object = CurrentTextureObject(state);
  if (object == nullptr || level != 0) return;
  const std::uint64_t texels = static_cast<std::uint64_t>(width) * static_cast<std::uint64_t>(height);
  if (texels > TexelVector::kLimit) throw std::length_error("vector too long");
  if (touch == Touch::kNote) TouchTexture(state.boundTexture);
  // No image while the old texels do not match the new size, should memory run out.
  object->hasImage = 0;
  // Room for the chain at once: the levels above would move level 0.
  object->pixels.Renew(static_cast<std::size_t>(texels), static_cast<std::size_t>(ChainTexels(width, height)));
  object->width = width;
  object->height = height;
  std::uint32_t* level0 = object->pixels.data();
  const auto pitch = static_cast<std::uint64_t>(width);
  const GLsizei rows =
      payload != nullptr ? ConvertRows(format, type, payload, payloadBytes, level0, pitch, width, height) : 0;
  for (std::uint64_t i = static_cast<std::uint64_t>(rows) * pitch; i < texels; ++i) {
    level0[static_cast<std::size_t>(i)] = kOpaqueBlack;
  }
  BuildMipChain(*object);
  object->hasImage = 1;
}

void UploadConvertedImage(DriverState& state, GLenum target, GLint level, const ConvertedImage& image) {
  if (target != gl::kTexture2D || image.width < 1 || image.height < 1) return;
  TextureObject* object = CurrentTextureObject(state);
  if (object == nullptr || level != 0) return;
  object->pixels = image.texels;
  object->width = image.width;
  object->height = image.height;
  LayOutLevels(*object);
  object->hasImage = 1;
}

void UploadSubImage(DriverState& state, GLenum target, GLint level, GLint xoffset, GLint yoffset, GLsizei width,
                    GLsizei height, GLenum format, GLenum type, const std::uint8_t* payload, std::uint64_t payloadBytes,
                    Touch touch) {
  if (target != gl::kTexture2D || level != 0 || width < 1 || height < 1 || payload == nullptr) return;
  TextureObject* object = CurrentTextureObject(state);
  if (object == nullptr || object->hasImage == 0 || xoffset < 0 || yoffset < 0) return;
  if (static_cast<std::int64_t>(xoffset) + width > object->width) return;
  if (static_cast<std::int64_t>(yoffset) + height > object->height) return;
  const std::uint64_t pitch = static_cast<std::uint64_t>(object->width);
  // A record may say more than the texels hold when it comes from a damaged file.
  if (pitch * static_cast<std::uint64_t>(object->height) > object->pixels.size()) return;
  if (touch == Touch::kNote) TouchTexture(state.boundTexture);
  std::uint32_t* first = object->pixels.data() + static_cast<std::size_t>(static_cast<std::uint64_t>(yoffset) * pitch +
                                                                          static_cast<std::uint64_t>(xoffset));
  // The levels above keep their old texels: trilinear sampling then mixes old and new. Kept on purpose.
  ConvertRows(format, type, payload, payloadBytes, first, pitch, width, height);
}

}  // namespace tlr2
