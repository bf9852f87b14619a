// Entries that reach the stream, and so a capture, and that nothing in the driver acts on.
#include "api/entries/entry_frame.h"

namespace tlr2 {

void TLR2_STDCALL glColorMask(GLboolean red, GLboolean green, GLboolean blue, GLboolean alpha) noexcept {
  const ThreadGuard& guard = enter::glColorMask(red, green, blue, alpha);
  if (Records(guard)) AppendRecord(CmdColorMask{.red = red, .green = green, .blue = blue, .alpha = alpha});
}

void TLR2_STDCALL glScissor(GLint x, GLint y, GLsizei width, GLsizei height) noexcept {
  const ThreadGuard& guard = enter::glScissor(x, y, width, height);
  if (Records(guard)) AppendRecord(CmdScissor{.x = x, .y = y, .width = width, .height = height});
}

void TLR2_STDCALL glShadeModel(GLenum mode) noexcept {
  const ThreadGuard& guard = enter::glShadeModel(mode);
  if (Records(guard)) AppendRecord(CmdShadeModel{.mode = mode});
}

void TLR2_STDCALL glPolygonMode(GLenum face, GLenum mode) noexcept {
  const ThreadGuard& guard = enter::glPolygonMode(face, mode);
  if (Records(guard)) AppendRecord(CmdPolygonMode{.face = face, .mode = mode});
}

void TLR2_STDCALL glPolygonOffset(GLfloat factor, GLfloat units) noexcept {
  const ThreadGuard& guard = enter::glPolygonOffset(factor, units);
  if (Records(guard)) AppendRecord(CmdPolygonOffset{.factor = factor, .units = units});
}

void TLR2_STDCALL glPixelStorei(GLenum pname, GLint param) noexcept {
  const ThreadGuard& guard = enter::glPixelStorei(pname, param);
  if (Records(guard)) AppendRecord(CmdPixelStorei{.pname = pname, .param = param});
}

void TLR2_STDCALL glActiveTextureARB(GLenum texture) noexcept {
  const ThreadGuard& guard = enter::glActiveTextureARB(texture);
  if (Records(guard)) AppendRecord(CmdActiveTextureARB{.texture = texture});
}

}  // namespace tlr2
