// The calls that games make per vertex, in the form that does everything: counts, traces, grows what is full.
#pragma once

#include "base/gl.h"

namespace tlr2 {

void TLR2_STDCALL CommonVertex3f(GLfloat x, GLfloat y, GLfloat z) noexcept;
void TLR2_STDCALL CommonVertex2f(GLfloat x, GLfloat y) noexcept;
void TLR2_STDCALL CommonTexCoord2f(GLfloat s, GLfloat t) noexcept;
void TLR2_STDCALL CommonColor4f(GLfloat red, GLfloat green, GLfloat blue, GLfloat alpha) noexcept;
void TLR2_STDCALL CommonColor4ub(GLubyte red, GLubyte green, GLubyte blue, GLubyte alpha) noexcept;

}  // namespace tlr2
