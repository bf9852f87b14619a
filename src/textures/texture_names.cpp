// Texture names: the table's slots, their allocation, binding, deletion and parameters.
#include <algorithm>
#include <stdexcept>

#include "api/state/keyframe.h"
#include "textures/texture_ops.h"

namespace tlr2 {
namespace {

/// More slots than this do not fit the 32-bit address space.
constexpr std::uint64_t kSlotLimit = 0x7FFFFFFFu / sizeof(TextureObject);

void Note(Touch touch, std::uint32_t slot) {
  if (touch == Touch::kNote) TouchTexture(slot);
}

/// Slot 0 stands for the unbound state. It exists as soon as anything looks at the table.
void EnsureSlotZero(DriverState& state) {
  if (!state.textureTable.empty()) return;
  state.textureTable.emplace_back().inUse = 1;
  state.lowestFreeTexture = 1;
}

void EmptySlot(TextureObject& object) noexcept {
  // Filters and wraps outlive the image, as they do an upload.
  object.width = 0;
  object.height = 0;
  object.inUse = 0;
  object.hasImage = 0;
  object.pixels.reset();
  object.levelCount = 0;
  for (int i = 0; i < kMaxLevels; ++i) {
    object.levelWidth[i] = 0;
    object.levelHeight[i] = 0;
    object.levelPitch[i] = 0;
    object.levelTexelBytes[i] = 0;
    object.levelOffset[i] = 0;
  }
}

/// Takes the lowest free slot; appends one when none is free. The search goes on from where the last one ended, so that
/// a program which asks for its names one by one does not walk the table once for each.
std::uint32_t TakeSlot(DriverState& state, Touch touch) {
  std::vector<TextureObject>& table = state.textureTable;
  std::size_t slot = std::min<std::size_t>(state.lowestFreeTexture, table.size());
  while (slot < table.size() && table[slot].inUse != 0) ++slot;
  if (slot < table.size()) {
    Note(touch, static_cast<std::uint32_t>(slot));
    table[slot].inUse = 1;
    table[slot].hasImage = 0;
  } else {
    if (slot >= kSlotLimit) throw std::length_error("vector too long");
    table.emplace_back().inUse = 1;
  }
  state.lowestFreeTexture = static_cast<std::uint32_t>(slot) + 1;
  return static_cast<std::uint32_t>(slot);
}

}  // namespace

std::uint32_t AllocateTextureName(DriverState& state, Touch touch) {
  EnsureSlotZero(state);
  return TakeSlot(state, touch);
}

void AllocateTextureNames(DriverState& state, GLsizei n, std::uint32_t* names, Touch touch) {
  EnsureSlotZero(state);
  for (GLsizei i = 0; i < n; ++i) {
    const std::uint32_t name = TakeSlot(state, touch);
    if (names != nullptr) names[i] = name;
  }
}

TextureObject* CurrentTextureObject(DriverState& state) {
  EnsureSlotZero(state);
  if (state.boundTexture >= state.textureTable.size()) return nullptr;
  return &state.textureTable[state.boundTexture];
}

void BindTexture(DriverState& state, GLenum target, std::uint32_t name, Touch touch) {
  if (target != gl::kTexture2D) return;
  std::vector<TextureObject>& table = state.textureTable;
  EnsureSlotZero(state);
  if (name >= table.size()) {
    if (name >= kSlotLimit) throw std::length_error("vector too long");
    SlotBecameFree(state, table.size());
    table.resize(static_cast<std::size_t>(name) + 1);
  }
  // Binding a name that is in use changes no object, and a frame that only binds saves no texture.
  if (table[name].inUse == 0) {
    Note(touch, name);
    table[name].inUse = 1;
  }
  state.boundTexture = name;
}

void DeleteTextures(DriverState& state, GLsizei n, const std::uint32_t* names, Touch touch) {
  for (GLsizei i = 0; i < n; ++i) {
    const std::uint32_t name = names[i];
    if (name == 0 || name >= state.textureTable.size()) continue;
    Note(touch, name);
    EmptySlot(state.textureTable[name]);
    SlotBecameFree(state, name);
    if (name == state.boundTexture) state.boundTexture = 0;
  }
}

void SetTextureParameter(DriverState& state, GLenum target, GLenum pname, GLint param, Touch touch) {
  if (target != gl::kTexture2D) return;
  TextureObject* object = CurrentTextureObject(state);
  if (object == nullptr) return;
  std::uint32_t TextureObject::* field = nullptr;
  switch (pname) {
    case gl::kTextureMagFilter:
      field = &TextureObject::magFilter;
      break;
    case gl::kTextureMinFilter:
      field = &TextureObject::minFilter;
      break;
    case gl::kTextureWrapS:
      field = &TextureObject::wrapS;
      break;
    case gl::kTextureWrapT:
      field = &TextureObject::wrapT;
      break;
    default:
      return;
  }
  const auto value = static_cast<std::uint32_t>(param);
  if (object->*field == value) return;  // no change, nothing to save
  Note(touch, state.boundTexture);
  object->*field = value;
}

}  // namespace tlr2
