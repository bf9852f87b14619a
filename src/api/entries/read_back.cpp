// glReadPixels: builds and renders what is recorded so far, then copies the rasteriser's pixels out.
#include "api/entries/entry_frame.h"
#include "base/pixel_rows.h"
#include "wgl/context.h"
#include "wgl/frame_boundary.h"

namespace tlr2 {

namespace {

/// Copies one row of B, G, R, A pixels in the order that `format` wants; false for a format that is not written.
bool CopyRow(GLenum format, const std::uint8_t* source, std::uint8_t* destination, std::size_t count) noexcept {
  switch (format) {
    case gl::kBgra:
      std::memcpy(destination, source, count * 4);
      return true;
    case gl::kRgba:
      SwapRedBlueRow(source, destination, count);
      return true;
    case gl::kBgr:
      PackTriplesRow<false>(source, destination, count);
      return true;
    case gl::kRgb:
      PackTriplesRow<true>(source, destination, count);
      return true;
    default:
      return false;
  }
}

/// The result's rows run bottom to top and are tight: pixel-store settings are never looked at.
void CopyOut(const SurfaceView& surface, GLint x, GLint y, GLsizei width, GLsizei height, GLenum format,
             std::uint8_t* destination) noexcept {
  const std::size_t pixelBytes = format == gl::kBgra || format == gl::kRgba ? 4 : 3;
  const std::size_t rowBytes = pixelBytes * static_cast<std::size_t>(width);
  const auto* base = reinterpret_cast<const std::uint8_t*>(surface.colorBuffer);
  for (GLsizei i = 0; i < height; ++i) {
    const auto row = static_cast<std::size_t>(surface.height - 1 - y - i);
    const std::uint8_t* source = base + row * surface.rowPitch + static_cast<std::size_t>(x) * 4;
    std::uint8_t* out = destination + static_cast<std::size_t>(i) * rowBytes;
    if (!CopyRow(format, source, out, static_cast<std::size_t>(width))) return;
  }
}

}  // namespace

void TLR2_STDCALL glReadPixels(GLint x, GLint y, GLsizei width, GLsizei height, GLenum format, GLenum type,
                               void* pixels) noexcept {
  const ThreadGuard& guard = enter::glReadPixels(x, y, width, height, format, type, pixels);
  // The record goes first, before any test of the arguments.
  if (Records(guard))
    AppendRecord(CmdReadPixels{.x = x, .y = y, .width = width, .height = height, .format = format, .type = type});
  if (pixels == nullptr || width < 1 || height < 1) return;
  const ContextRecord* context = guard.currentContext;
  if (context == nullptr) return;
  if (!DrainForReadBack()) return;

  const Surface& surface = context->surface;
  if (!SurfaceReady(surface) || type != gl::kUnsignedByte) return;
  if (x < 0 || y < 0 || std::int64_t{x} + width > surface.width || std::int64_t{y} + height > surface.height) return;
  CopyOut(surface, x, y, width, height, format, static_cast<std::uint8_t*>(pixels));
}

}  // namespace tlr2
