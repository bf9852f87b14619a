// Queries that read the driver state as the entries left it. They record nothing.
#include "api/entries/entry_frame.h"
#include "api/state/driver_state.h"
#include "api/state/effects.h"
#include "platform/float_rules.h"

namespace tlr2 {

GLboolean TLR2_STDCALL glIsEnabled(GLenum cap) noexcept {
  enter::glIsEnabled(cap);
  const std::uint8_t* flag = effect::CapabilityFlag(DriverStateInstance(), cap);
  return flag != nullptr && *flag != 0 ? 1 : 0;
}

GLboolean TLR2_STDCALL glIsTexture(GLuint texture) noexcept {
  enter::glIsTexture(texture);
  const DriverState& state = DriverStateInstance();
  if (texture == 0 || texture >= state.textureTable.size()) return 0;
  return state.textureTable[texture].hasImage != 0 ? 1 : 0;
}

void TLR2_STDCALL glGetFloatv(GLenum pname, GLfloat* params) noexcept {
  enter::glGetFloatv(pname, params);
  if (params == nullptr) return;
  const DriverState& state = DriverStateInstance();
  switch (pname) {
    case gl::kDepthRange:
      params[0] = state.depthNear;
      params[1] = state.depthFar;
      return;
    case gl::kViewport: {
      const FloatRules rules;
      for (int i = 0; i < 4; ++i) params[i] = static_cast<float>(FloatRules::Here(state.viewport[i]));
      return;
    }
    case gl::kModelviewMatrix:
    case gl::kProjectionMatrix:
    case gl::kTextureMatrix: {
      const GLenum stack = pname - gl::kModelviewMatrix;
      std::memcpy(params, state.matrixStacks[stack][state.stackDepth[stack]], 16 * sizeof(float));
      return;
    }
    default:
      params[0] = 0.0f;
  }
}

}  // namespace tlr2
