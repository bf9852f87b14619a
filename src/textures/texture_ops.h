// Texture objects: names, parameters, pixel conversion, uploads and the mip chain. Each operation is written once and
// applied twice, by the entry on the live table and by the interpreter on the rewound one.
#pragma once

#include <cstddef>
#include <cstdint>

#include "api/state/command_stream.h"
#include "api/state/driver_state.h"

namespace tlr2 {

/// Whether a change first saves the record for the keyframe. Entries note, the interpreter does not.
enum class Touch : std::uint8_t { kNote, kSkip };

/// Bytes of an upload: bytes a pixel (3 RGB and BGR, 1 luminance and alpha, else 4) times width times height; 0
/// unless `hasPixels` and both sizes are positive.
std::uint64_t PayloadBytes(GLenum format, GLsizei width, GLsizei height, bool hasPixels) noexcept;

std::uint32_t AllocateTextureName(DriverState& state, Touch touch);
/// The same as `n` single ones; `names` may be null.
void AllocateTextureNames(DriverState& state, GLsizei n, std::uint32_t* names, Touch touch);
/// The bound object; creates slot 0 if the table is empty; null if the bound name is not a slot.
TextureObject* CurrentTextureObject(DriverState& state);
void BindTexture(DriverState& state, GLenum target, std::uint32_t name, Touch touch);
void DeleteTextures(DriverState& state, GLsizei n, const std::uint32_t* names, Touch touch);
void SetTextureParameter(DriverState& state, GLenum target, GLenum pname, GLint param, Touch touch);
/// `payload` null: opaque black. `payloadBytes` bounds what is read: a row that does not fit ends the conversion.
void UploadImage(DriverState& state, GLenum target, GLint level, GLsizei width, GLsizei height, GLenum format,
                 GLenum type, const std::uint8_t* payload, std::uint64_t payloadBytes, Touch touch);
/// UploadImage where the texels of the whole mip chain have been made before, by the same call with the same pixels.
void UploadConvertedImage(DriverState& state, GLenum target, GLint level, const ConvertedImage& image);
void UploadSubImage(DriverState& state, GLenum target, GLint level, GLint xoffset, GLint yoffset, GLsizei width,
                    GLsizei height, GLenum format, GLenum type, const std::uint8_t* payload, std::uint64_t payloadBytes,
                    Touch touch);

/// Converts `count` pixels to 0xAARRGGBB; false, with nothing written, for an unknown format or type.
bool ConvertPixelRow(GLenum format, GLenum type, const std::uint8_t* source, std::uint32_t* destination,
                     std::int32_t count) noexcept;
/// Fills in the level arrays from the object's size; returns the texels of all levels.
std::size_t LayOutLevels(TextureObject& object);
/// Lays out the levels and fills them from level 0.
void BuildMipChain(TextureObject& object);
/// Offsets in bytes into `pixels`.
void GenerateLevel(TexelVector& pixels, std::uint32_t sourceOffset, std::uint32_t sourceWidth,
                   std::uint32_t sourceHeight, std::uint32_t destinationOffset, std::uint32_t destinationWidth,
                   std::uint32_t destinationHeight) noexcept;

}  // namespace tlr2
