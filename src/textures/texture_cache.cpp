// The flat view of the textures that the kernels gather from.
#include "textures/texture_cache.h"

#include <algorithm>

#include "settings/profiler.h"
#include "settings/settings.h"

namespace tlr2 {
namespace {

constexpr std::int32_t kForceRepeat = 1, kForceClamp = 2;

bool Usable(const TextureObject& object) noexcept {
  return object.hasImage != 0 && !object.pixels.empty() && object.width != 0 && object.height != 0 &&
         object.levelCount > 0;
}

std::int32_t Clamps(std::uint32_t wrap) noexcept {
  return wrap == gl::kClampToEdge || wrap == gl::kClamp || wrap == gl::kClampToBorder ? 1 : 0;
}

void FillEntry(const TextureObject& object, std::int32_t forceWrap, TextureCacheEntry& entry) noexcept {
  entry.width = object.width;
  entry.height = object.height;
  for (int i = 0; i < kMaxLevels; ++i) {
    entry.levelWidth[i] = static_cast<std::int32_t>(object.levelWidth[i]);
    entry.levelHeight[i] = static_cast<std::int32_t>(object.levelHeight[i]);
    entry.levelStrideBytes[i] = static_cast<std::int32_t>(object.levelPitch[i]);
    entry.levelTexelBytes[i] = static_cast<std::int32_t>(object.levelTexelBytes[i]);
    entry.levelOffsetBytes[i] = static_cast<std::int32_t>(object.levelOffset[i]);
  }
  if (object.minFilter == gl::kLinear && object.magFilter == gl::kLinear) {
    // Filtered linearly both ways, a texture never repeats, whatever its wrap says. Kept on purpose.
    entry.wrapClampS = entry.wrapClampT = 1;
  } else {
    entry.wrapClampS = Clamps(object.wrapS);
    entry.wrapClampT = Clamps(object.wrapT);
  }
  if (forceWrap == kForceRepeat) entry.wrapClampS = entry.wrapClampT = 0;
  if (forceWrap == kForceClamp) entry.wrapClampS = entry.wrapClampT = 1;
  const auto address = reinterpret_cast<std::intptr_t>(object.pixels.data());
  entry.texels[0] = static_cast<std::uint64_t>(static_cast<std::int64_t>(address));
}

}  // namespace

void BuildTextureCache(const DriverState& state, std::vector<TextureCacheEntry>& cache) {
  const ScopeTimer scope("tlr2::BuildTextureCache");
  const std::vector<TextureObject>& table = state.textureTable;
  // Never empty: the kernels always have an entry 0 to read.
  cache.assign(std::max<std::size_t>(table.size(), 1), TextureCacheEntry{});
  const std::int32_t forceWrap = Settings().forceWrap;
  for (std::size_t i = 0; i < table.size(); ++i) {
    if (Usable(table[i])) FillEntry(table[i], forceWrap, cache[i]);
  }
}

}  // namespace tlr2
