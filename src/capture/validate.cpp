// The checks between the reader and the driver. The writer makes no file that fails them; what a damaged or hostile
// file could index or ask for is stopped here, because the driver itself trusts its own state.
#include "capture/validate.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "capture/record_walk.h"

namespace tlr2 {
namespace {

#if defined(__MINGW_PRINTF_FORMAT)  // where the C library's own formats are not the compiler's
#define TLR2_PRINTF_FORMAT __MINGW_PRINTF_FORMAT
#else
#define TLR2_PRINTF_FORMAT printf
#endif
__attribute__((format(TLR2_PRINTF_FORMAT, 1, 2))) std::string Fault(const char* format, ...);
std::string Fault(const char* format, ...) {
  char text[240];
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  return text;
}

/// The levels of an image as the mip chain lays them out: nothing else may stand in a texture table.
struct Chain {
  std::uint32_t count = 0;
  std::uint64_t texels = 0;
  std::uint64_t width[kMaxLevels], height[kMaxLevels], offset[kMaxLevels];  // offset in bytes

  Chain(std::uint64_t w, std::uint64_t h) noexcept {
    for (;;) {
      width[count] = w;
      height[count] = h;
      offset[count] = texels * 4;
      texels += w * h;
      ++count;
      if ((w < 2 && h < 2) || count == kMaxLevels) break;
      w = w < 2 ? w : w / 2;
      h = h < 2 ? h : h / 2;
    }
  }
};

bool LevelsFit(const TextureObject& object) noexcept {
  const Chain chain(static_cast<std::uint64_t>(object.width), static_cast<std::uint64_t>(object.height));
  if (object.levelCount != chain.count || object.pixels.size() != chain.texels) return false;
  for (std::uint32_t i = 0; i < chain.count; ++i) {
    if (object.levelWidth[i] != chain.width[i] || object.levelHeight[i] != chain.height[i] ||
        object.levelPitch[i] != chain.width[i] * 4 || object.levelTexelBytes[i] != 4 ||
        object.levelOffset[i] != chain.offset[i]) {
      return false;
    }
  }
  for (std::uint32_t i = chain.count; i < kMaxLevels; ++i) {
    if (object.levelWidth[i] != 0 || object.levelHeight[i] != 0 || object.levelPitch[i] != 0 ||
        object.levelTexelBytes[i] != 0 || object.levelOffset[i] != 0) {
      return false;
    }
  }
  return true;
}

/// Whether `size` bytes from `offset` on lie in the blob.
std::string BlobRange(const ByteVector& blob, std::uint64_t offset, std::uint64_t size) {
  const std::uint64_t total = blob.size();
  if (size == 0 || (offset <= total && size <= total - offset)) return {};
  return Fault("%llu bytes from %llu on are not all among the frame's %llu blob bytes",
               static_cast<unsigned long long>(size), static_cast<unsigned long long>(offset),
               static_cast<unsigned long long>(total));
}

}  // namespace

/// Grows the surface that the capture needs; false beyond the limits.
bool CaptureCheck::Cover(std::int64_t width, std::int64_t height) noexcept {
  width_ = std::max(width_, width);
  height_ = std::max(height_, height);
  return width_ <= limits_.surfaceAxis && height_ <= limits_.surfaceAxis &&
         static_cast<std::uint64_t>(width_ * height_) <= limits_.surfacePixels;
}

/// Notes the texels that texture `name` has from now on.
bool CaptureCheck::Hold(std::uint32_t name, std::uint64_t bytes) {
  std::uint64_t& held = held_[name];
  texelBytes_ = texelBytes_ - held + bytes;
  held = bytes;
  return texelBytes_ <= limits_.texelBytes;
}

std::string CaptureCheck::TooManyTexels() const {
  return Fault("more than %llu MiB of texels are beyond the limits",
               static_cast<unsigned long long>(limits_.texelBytes >> 20));
}

std::string CaptureCheck::Keyframe(const CaptureContents& contents) {
  if (contents.width == 0 || contents.height == 0) return "surface without pixels";
  if (!Cover(contents.width, contents.height)) {
    return Fault("surface of %u by %u pixels is beyond the limits", static_cast<unsigned>(contents.width),
                 static_cast<unsigned>(contents.height));
  }
  std::string fault = Snapshot(contents.snapshot);
  if (fault.empty()) fault = Textures(contents.textures);
  bound_ = contents.snapshot.boundTexture;
  return fault;
}

std::string CaptureCheck::Snapshot(const StateSnapshot& s) {
  if (s.matrixMode < 0 || s.matrixMode >= kMatrixStacks) {
    return Fault("keyframe: matrix mode %d", static_cast<int>(s.matrixMode));
  }
  for (int stack = 0; stack < kMatrixStacks; ++stack) {
    if (s.stackDepth[stack] < 0 || s.stackDepth[stack] >= kMatrixDepth) {
      return Fault("keyframe: depth %d of matrix stack %d", static_cast<int>(s.stackDepth[stack]), stack);
    }
  }
  const auto tiles = [](std::int32_t pixels, int shift) {
    return (static_cast<std::int64_t>(pixels) + (1 << shift) - 1) >> shift;
  };
  if (s.fbWidth < 0 || s.fbHeight < 0) {
    return Fault("keyframe: grid of %d by %d pixels", static_cast<int>(s.fbWidth), static_cast<int>(s.fbHeight));
  }
  if (s.microCols != tiles(s.fbWidth, 3) || s.microRows != tiles(s.fbHeight, 3) || s.macroCols != tiles(s.fbWidth, 5) ||
      s.macroRows != tiles(s.fbHeight, 5)) {
    return "keyframe: tile counts do not follow from the grid's size";
  }
  if (!Cover(s.fbWidth, s.fbHeight)) {
    return Fault("keyframe: grid of %d by %d pixels is beyond the limits", static_cast<int>(s.fbWidth),
                 static_cast<int>(s.fbHeight));
  }
  if (!Cover(s.viewport[2], s.viewport[3])) {
    return Fault("keyframe: viewport of %d by %d pixels is beyond the limits", static_cast<int>(s.viewport[2]),
                 static_cast<int>(s.viewport[3]));
  }
  for (const std::uint8_t flag : {s.matricesDirty, s.pendingColorClear, s.pendingDepthClear, s.texture2DEnabled,
                                  s.blendEnabled, s.alphaTestEnabled, s.depthTestEnabled, s.depthMask, s.cullEnabled}) {
    if (flag > 1) return "keyframe: a flag is neither 0 nor 1";
  }
  return {};
}

std::string CaptureCheck::Textures(const std::vector<TextureObject>& textures) {
  if (textures.size() > limits_.textureNames) return Fault("%zu textures are beyond the limits", textures.size());
  for (std::size_t name = 0; name < textures.size(); ++name) {
    const TextureObject& object = textures[name];
    used_.push_back(object.inUse != 0);
    if (object.hasImage == 0) continue;
    if (object.width < 1 || object.height < 1 || !LevelsFit(object)) {
      return Fault("texture %zu: its levels do not follow from its size or do not fit its texels", name);
    }
    if (!Hold(static_cast<std::uint32_t>(name), object.pixels.size() * std::uint64_t{4})) return TooManyTexels();
  }
  return {};
}

std::string CaptureCheck::Frame(const ByteVector& stream, const ByteVector& blob, const ByteVector& reference) {
  const std::string place = Fault("frame %zu: ", frame_++);
  if (reference.size() % 4 != 0) return place + "reference pixels end within a pixel";
  RecordWalk walk(stream);
  while (walk.Next()) {
    if (std::string fault = Record(walk, blob); !fault.empty()) {
      const char* name = walk.id() < kCommandCount ? kCommandTable[walk.id()].name : "unknown";
      return (place + Fault("record %u (%s): ", static_cast<unsigned>(walk.index()), name)).append(fault);
    }
  }
  if (walk.Whole()) return {};
  return place + Fault("no whole record stands behind the first %u", static_cast<unsigned>(walk.index() + 1));
}

std::string CaptureCheck::Record(const RecordWalk& walk, const ByteVector& blob) {
  if (walk.id() >= kFirstInvalidId) return Fault("no record has id %u", static_cast<unsigned>(walk.id()));
  if (walk.id() >= kCommandCount) return {};  // skipped by every walk
  if (walk.size() != kCommandTable[walk.id()].bytes) {
    return Fault("%zu bytes instead of %u", walk.size(), static_cast<unsigned>(kCommandTable[walk.id()].bytes));
  }
  switch (static_cast<Cmd>(walk.id())) {
    case Cmd::Viewport: {
      const auto r = walk.As<CmdViewport>();
      if (Cover(r.width, r.height)) return {};
      return Fault("viewport of %d by %d pixels is beyond the limits", static_cast<int>(r.width),
                   static_cast<int>(r.height));
    }
    case Cmd::BindTexture: {
      const auto r = walk.As<CmdBindTexture>();
      if (r.target != gl::kTexture2D) return {};
      if (r.name >= limits_.textureNames) {
        return Fault("texture name %u is beyond the limits", static_cast<unsigned>(r.name));
      }
      bound_ = r.name;
      if (r.name >= used_.size()) used_.resize(std::size_t{r.name} + 1);
      used_[r.name] = true;
      return {};
    }
    case Cmd::GenTextures:
      return Generation(walk.As<CmdGenTextures>().n);
    case Cmd::DeleteTextures:
      return Deletion(walk.As<CmdDeleteTextures>(), blob);
    case Cmd::TexImage2D: {
      const auto r = walk.As<CmdTexImage2D>();
      std::string fault = BlobRange(blob, r.blobOffset, r.blobSize);
      return fault.empty() ? Upload(r) : fault;
    }
    case Cmd::TexSubImage2D: {
      const auto r = walk.As<CmdTexSubImage2D>();
      return BlobRange(blob, r.blobOffset, r.blobSize);
    }
    default:
      return {};
  }
}

std::string CaptureCheck::Upload(const CmdTexImage2D& r) {
  if (r.target != gl::kTexture2D || r.level != 0 || r.width < 1 || r.height < 1) return {};
  const auto width = static_cast<std::uint64_t>(r.width), height = static_cast<std::uint64_t>(r.height);
  // Level 0 alone first: the texels of its chain, and the sum with other textures, then cannot overflow.
  if (width * height > limits_.texelBytes / 4) return TooManyTexels();
  return Hold(bound_, Chain(width, height).texels * 4) ? std::string() : TooManyTexels();
}

/// The lowest free names are handed out first, so that the table grows only when none is free.
std::string CaptureCheck::Generation(std::int32_t count) {
  if (count < 1) return {};
  if (used_.empty()) used_.push_back(true);
  std::size_t& name = lowestFree_;
  for (std::int32_t i = 0; i < count; ++i) {
    while (name < used_.size() && used_[name]) ++name;
    if (name >= limits_.textureNames) {
      return Fault("%d more texture names are beyond the limits", static_cast<int>(count));
    }
    if (name == used_.size()) used_.push_back(true);
    used_[name] = true;
  }
  return {};
}

std::string CaptureCheck::Deletion(const CmdDeleteTextures& r, const ByteVector& blob) {
  if (std::string fault = BlobRange(blob, r.blobOffset, r.blobSize); !fault.empty()) return fault;
  if (r.n < 0 || std::uint64_t{r.blobSize} != static_cast<std::uint64_t>(r.n) * 4) {
    return Fault("%d names in %llu bytes", static_cast<int>(r.n), static_cast<unsigned long long>(r.blobSize));
  }
  for (std::int32_t i = 0; i < r.n; ++i) {
    std::uint32_t name = 0;
    std::memcpy(&name, blob.data() + static_cast<std::size_t>(r.blobOffset) + static_cast<std::size_t>(i) * 4,
                sizeof name);
    if (name == 0) continue;  // never deleted
    if (const auto held = held_.find(name); held != held_.end()) {
      texelBytes_ -= held->second;
      held_.erase(held);
    }
    if (name < used_.size()) used_[name] = false;
    lowestFree_ = std::min<std::size_t>(lowestFree_, name);
    if (name == bound_) bound_ = 0;
  }
  return {};
}

std::string ValidateCapture(const CaptureContents& contents, const CaptureLimits& limits) {
  CaptureCheck check(limits);
  std::string fault = check.Keyframe(contents);
  for (std::size_t i = 0; i < contents.streams.size() && fault.empty(); ++i) {
    fault = check.Frame(contents.streams[i], contents.blobs[i], contents.references[i]);
  }
  return fault;
}

}  // namespace tlr2
