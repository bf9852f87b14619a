// Stubs with an answer: entries that count and trace their call and answer without looking at the state.
#include "api/entries/entry_frame.h"

namespace tlr2 {

const GLubyte* TLR2_STDCALL glGetString(GLenum name) noexcept {
  enter::glGetString(name);
  const char* text = "";
  switch (name) {
    case gl::kVendor:
      text = "TLR2 Project";
      break;
    case gl::kRenderer:
      text = "TLR2 Null Renderer";
      break;
    case gl::kVersion:
      text = "1.1";
      break;
    default:
      // The extensions too: a program is to learn nothing of the extension entries.
      break;
  }
  return reinterpret_cast<const GLubyte*>(text);
}

void TLR2_STDCALL glGetIntegerv(GLenum pname, GLint* params) noexcept {
  enter::glGetIntegerv(pname, params);
  if (params == nullptr) return;
  if (pname == gl::kMaxTextureSize)
    *params = 1024;  // uploads keep no limit
  else if (pname >= gl::kRedBits && pname <= gl::kAlphaBits)
    *params = 8;
  else if (pname == gl::kDepthBits)
    *params = 24;
  else
    *params = 0;
}

void TLR2_STDCALL glGetBooleanv(GLenum pname, GLboolean* params) noexcept {
  enter::glGetBooleanv(pname, params);
  if (params != nullptr) *params = 0;
}

void TLR2_STDCALL glGetDoublev(GLenum pname, GLdouble* params) noexcept {
  enter::glGetDoublev(pname, params);
  if (params != nullptr) *params = 0.0;
}

GLuint TLR2_STDCALL glGenLists(GLsizei range) noexcept {
  // Ranges are handed out and never used.
  static GLuint genListsCounter = 1;
  enter::glGenLists(range);
  const GLuint first = genListsCounter;
  if (range > 0) genListsCounter += static_cast<GLuint>(range);
  return first;
}

GLboolean TLR2_STDCALL glAreTexturesResident(GLsizei n, const GLuint* textures, GLboolean* residences) noexcept {
  enter::glAreTexturesResident(n, textures, residences);
  if (residences != nullptr && n >= 1) std::memset(residences, 1, static_cast<std::size_t>(n));
  return 1;
}

}  // namespace tlr2
