// The current colour. These entries change the state first and record after it: the record carries the packed word.
#include "base/color.h"

#include "api/entries/common_calls.h"
#include "api/entries/entry_frame.h"
#include "api/state/driver_state.h"
#include "api/state/effects.h"

namespace tlr2 {

namespace {

TLR2_ALWAYS_INLINE void SetColor(const ThreadGuard& guard, std::uint32_t color) {
  effect::Color(DriverStateInstance(), color);
  if (Records(guard)) [[likely]]
    AppendRecord(CmdColor{.color = color});
}

}  // namespace

void TLR2_STDCALL glColor3f(GLfloat red, GLfloat green, GLfloat blue) noexcept {
  SetColor(enter::glColor3f(red, green, blue), PackColor(red, green, blue, 1.0f));
}

void TLR2_STDCALL glColor3fv(const GLfloat* v) noexcept {
  const ThreadGuard& guard = enter::glColor3fv(v);
  if (v == nullptr) return;
  SetColor(guard, PackColor(v[0], v[1], v[2], 1.0f));
}

void TLR2_STDCALL CommonColor4f(GLfloat red, GLfloat green, GLfloat blue, GLfloat alpha) noexcept {
  SetColor(enter::glColor4f(red, green, blue, alpha), PackColor(red, green, blue, alpha));
}

void TLR2_STDCALL glColor4fv(const GLfloat* v) noexcept {
  const ThreadGuard& guard = enter::glColor4fv(v);
  if (v == nullptr) return;
  SetColor(guard, PackColor(v[0], v[1], v[2], v[3]));
}

void TLR2_STDCALL glColor3ubv(const GLubyte* v) noexcept {
  const ThreadGuard& guard = enter::glColor3ubv(v);
  if (v == nullptr) return;
  SetColor(guard, PackBytes(v[0], v[1], v[2], 255));
}

void TLR2_STDCALL CommonColor4ub(GLubyte red, GLubyte green, GLubyte blue, GLubyte alpha) noexcept {
  SetColor(enter::glColor4ub(red, green, blue, alpha), PackBytes(red, green, blue, alpha));
}

void TLR2_STDCALL glColor4ubv(const GLubyte* v) noexcept {
  const ThreadGuard& guard = enter::glColor4ubv(v);
  if (v == nullptr) return;
  SetColor(guard, PackBytes(v[0], v[1], v[2], v[3]));
}

}  // namespace tlr2
