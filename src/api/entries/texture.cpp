// Texture objects and uploads. Each records before it acts; the application's pixels go to the blob at the time of the
// call.
#include <stdexcept>

#include "api/entries/entry_frame.h"
#include "api/state/driver_state.h"
#include "base/convert.h"
#include "base/hash.h"
#include "textures/texture_ops.h"

namespace tlr2 {

namespace {

/// A size for the blob. More than a vector holds fails as its growth would, also where a size has 32 bits.
std::size_t BlobBytes(std::uint64_t bytes) {
  if (bytes > 0x7FFFFFFFu) throw std::length_error("vector too long");
  return static_cast<std::size_t>(bytes);
}

/// Appends an upload's record with its pixels in the blob; returns the record. It takes its place before the blob
/// grows.
template <typename Record>
Record AppendUpload(Record record, const void* pixels, std::uint64_t payload) {
  CommandStream& stream = CommandStreamInstance();
  std::uint8_t* place = stream.bytes.GrowUninitialized(sizeof(Record));
  if (payload != 0) {
    const std::size_t size = BlobBytes(payload);
    record.blobOffset = BlobAppend(stream, pixels, size);
    record.blobSize = payload;
    record.hash = Fnv1a(pixels, size);
  }
  std::memcpy(place, &record, sizeof record);
  return record;
}

/// Kept images hold their memory until the frame's end, so only those of the blob's first part are: a frame that loads
/// a whole level converts the rest twice.
constexpr std::uint64_t kKeptBlobBytes = 16u << 20;

/// Keeps what the record's pixels became in the bound object, for the replay of the record.
void KeepUploadedImage(DriverState& state, const CmdTexImage2D& record) {
  if (record.target != gl::kTexture2D || record.level != 0 || record.blobSize == 0) return;
  if (record.blobOffset + record.blobSize > kKeptBlobBytes) return;
  const TextureObject* object = CurrentTextureObject(state);
  if (object == nullptr || object->hasImage == 0) return;
  KeepImage(CommandStreamInstance(), {record.blobOffset, record.blobSize, record.hash, record.width, record.height,
                                      record.format, record.type, object->pixels});
}

}  // namespace

void TLR2_STDCALL glGenTextures(GLsizei n, GLuint* textures) noexcept {
  const ThreadGuard& guard = enter::glGenTextures(n, textures);
  if (textures == nullptr || n < 1) return;
  // The names are not recorded: the replay allocates them again by the same rule.
  if (Records(guard)) AppendRecord(CmdGenTextures{.n = n});
  AllocateTextureNames(DriverStateInstance(), n, textures, Touch::kNote);
}

void TLR2_STDCALL glDeleteTextures(GLsizei n, const GLuint* textures) noexcept {
  const ThreadGuard& guard = enter::glDeleteTextures(n, textures);
  if (textures == nullptr || n < 1) return;
  if (Records(guard)) {
    CommandStream& stream = CommandStreamInstance();
    std::uint8_t* place = stream.bytes.GrowUninitialized(sizeof(CmdDeleteTextures));
    const std::size_t size = BlobBytes(static_cast<std::uint64_t>(n) * sizeof(GLuint));
    CmdDeleteTextures record{.n = n};
    record.blobOffset = BlobAppend(stream, textures, size);
    record.blobSize = size;
    std::memcpy(place, &record, sizeof record);
  }
  DeleteTextures(DriverStateInstance(), n, textures, Touch::kNote);
}

void TLR2_STDCALL glBindTexture(GLenum target, GLuint texture) noexcept {
  const ThreadGuard& guard = enter::glBindTexture(target, texture);
  if (Records(guard)) AppendRecord(CmdBindTexture{.target = target, .name = texture});
  BindTexture(DriverStateInstance(), target, texture, Touch::kNote);
}

void TLR2_STDCALL glTexParameteri(GLenum target, GLenum pname, GLint param) noexcept {
  const ThreadGuard& guard = enter::glTexParameteri(target, pname, param);
  if (Records(guard)) AppendRecord(CmdTexParameteri{.target = target, .pname = pname, .param = param});
  SetTextureParameter(DriverStateInstance(), target, pname, param, Touch::kNote);
}

// No record of its own: the entry it calls runs the whole frame again, so both calls count.
void TLR2_STDCALL glTexParameterf(GLenum target, GLenum pname, GLfloat param) noexcept {
  enter::glTexParameterf(target, pname, param);
  glTexParameteri(target, pname, TruncateToInt(param));
}

void TLR2_STDCALL glTexImage2D(GLenum target, GLint level, GLint internalformat, GLsizei width, GLsizei height,
                               GLint border, GLenum format, GLenum type, const void* pixels) noexcept {
  const ThreadGuard& guard =
      enter::glTexImage2D(target, level, internalformat, width, height, border, format, type, pixels);
  const std::uint64_t payload = PayloadBytes(format, width, height, pixels != nullptr);
  CmdTexImage2D record{.target = target,
                       .level = level,
                       .internalformat = internalformat,
                       .width = width,
                       .height = height,
                       .border = border,
                       .format = format,
                       .type = type};
  const bool records = Records(guard);
  if (records) record = AppendUpload(record, pixels, payload);
  DriverState& state = DriverStateInstance();
  UploadImage(state, target, level, width, height, format, type, static_cast<const std::uint8_t*>(pixels), payload,
              Touch::kNote);
  if (records) KeepUploadedImage(state, record);
}

void TLR2_STDCALL glTexSubImage2D(GLenum target, GLint level, GLint xoffset, GLint yoffset, GLsizei width,
                                  GLsizei height, GLenum format, GLenum type, const void* pixels) noexcept {
  const ThreadGuard& guard =
      enter::glTexSubImage2D(target, level, xoffset, yoffset, width, height, format, type, pixels);
  const std::uint64_t payload = PayloadBytes(format, width, height, pixels != nullptr);
  if (Records(guard))
    AppendUpload(CmdTexSubImage2D{.target = target,
                                  .level = level,
                                  .xoffset = xoffset,
                                  .yoffset = yoffset,
                                  .width = width,
                                  .height = height,
                                  .format = format,
                                  .type = type},
                 pixels, payload);
  UploadSubImage(DriverStateInstance(), target, level, xoffset, yoffset, width, height, format, type,
                 static_cast<const std::uint8_t*>(pixels), payload, Touch::kNote);
}

}  // namespace tlr2
