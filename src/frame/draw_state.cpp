// The draw state of a packet: nine words that each of its triangles carries by value.
#include "base/gl.h"
#include "frame/emission.h"
#include "settings/settings.h"

namespace tlr2 {
namespace {

std::uint32_t BlendMode(const DriverState& state, const DriverSettings& settings) noexcept {
  if (state.blendEnabled == 0 || settings.disableBlend != 0) return 0;
  if (state.blendSrc == gl::kOne && state.blendDst == gl::kOne) return 1;
  if (state.blendSrc == gl::kZero && state.blendDst == gl::kSrcColor) return 2;
  if (state.blendSrc == gl::kSrcAlpha && state.blendDst == gl::kOneMinusSrcAlpha) return 3;
  return 0;  // any other pair is drawn unblended
}

std::uint32_t DepthFuncCode(std::uint32_t func) noexcept {
  switch (func) {
    case gl::kAlways:
      return 0;
    case gl::kLequal:
      return 2;
    case gl::kEqual:
      return 3;
    case gl::kGequal:
      return 4;
    case gl::kGreater:
      return 5;
    case gl::kNotequal:
      return 6;
    case gl::kNever:
      return 7;
    default:
      return 1;  // less, and whatever is no comparison
  }
}

void SetDepthWords(const DriverState& state, const DriverSettings& settings, TriangleRecord& out) noexcept {
  // Without the test nothing is written either.
  if (state.depthTestEnabled == 0 || settings.disableDepthTest != 0) return;
  out.depthTest = 1;
  out.depthWrite = state.depthMask != 0 ? 1 : 0;
  out.depthFunc = DepthFuncCode(state.depthFunc);
  const std::int32_t forced = settings.forceDepthFunc;
  if (forced >= 1 && forced <= 8) out.depthFunc = static_cast<std::uint32_t>(forced - 1);
}

std::uint32_t EnvironmentMode(std::uint32_t mode) noexcept {
  switch (mode) {
    case gl::kReplace:
      return 1;
    case gl::kDecal:
      return 2;
    case gl::kBlend:
      return 3;
    default:
      return 0;
  }
}

/// Magnification alone decides nearest sampling.
std::uint32_t FilterMode(const TextureObject& texture, std::int32_t forced) noexcept {
  if (forced == 1) return 0;
  if (forced == 2) return 2;
  if (forced == 3) return 1;
  if (texture.magFilter == gl::kNearest) return 0;
  switch (texture.minFilter) {
    case gl::kNearest:
    case gl::kLinear:
    case gl::kNearestMipmapNearest:
    case gl::kLinearMipmapNearest:
      return 2;
    default:
      return 1;
  }
}

}  // namespace

void BuildTriangleStateTemplate(const DriverState& state, TriangleRecord& out) noexcept {
  const DriverSettings& settings = Settings();
  out = {};
  const bool textured = state.texture2DEnabled != 0 && state.boundTexture < state.textureTable.size() &&
                        state.textureTable[state.boundTexture].hasImage != 0;
  out.textureIndex = textured ? state.boundTexture : kNoTexture;
  out.blendMode = BlendMode(state, settings);
  out.alphaTest =
      state.alphaTestEnabled != 0 && state.alphaFunc == gl::kGreater && settings.disableAlphaTest == 0 ? 1 : 0;
  SetDepthWords(state, settings, out);
  out.texEnvMode = EnvironmentMode(state.texEnvMode);
  out.texEnvColor = state.texEnvColor;
  out.filterMode = textured ? FilterMode(state.textureTable[state.boundTexture], settings.forceFilter) : 0;
}

}  // namespace tlr2
