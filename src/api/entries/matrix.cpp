// Matrix stacks, viewport and depth range. What computes does so under the driver's float rules, not the program's: the
// replay of the record must come to the same bits.
#include "api/entries/entry_frame.h"
#include "api/state/driver_state.h"
#include "api/state/effects.h"
#include "platform/float_rules.h"
#include "present/surface.h"
#include "tiles/grid/grid.h"
#include "wgl/context.h"

namespace tlr2 {

void TLR2_STDCALL glMatrixMode(GLenum mode) noexcept {
  const ThreadGuard& guard = enter::glMatrixMode(mode);
  if (Records(guard)) AppendRecord(CmdMatrixMode{.mode = mode});
  effect::MatrixMode(DriverStateInstance(), mode);
}

void TLR2_STDCALL glLoadIdentity() noexcept {
  const ThreadGuard& guard = enter::glLoadIdentity();
  if (Records(guard)) AppendRecord(CmdLoadIdentity{});
  effect::LoadIdentity(DriverStateInstance());
}

void TLR2_STDCALL glLoadMatrixf(const GLfloat* m) noexcept {
  const ThreadGuard& guard = enter::glLoadMatrixf(m);
  if (m == nullptr) return;
  if (Records(guard)) {
    CmdLoadMatrixf record;
    std::memcpy(record.m, m, sizeof record.m);
    AppendRecord(record);
  }
  effect::LoadMatrix(DriverStateInstance(), m);
}

void TLR2_STDCALL glMultMatrixf(const GLfloat* m) noexcept {
  const ThreadGuard& guard = enter::glMultMatrixf(m);
  if (m == nullptr) return;
  if (Records(guard)) {
    CmdMultMatrixf record;
    std::memcpy(record.m, m, sizeof record.m);
    AppendRecord(record);
  }
  const FloatRules rules;
  effect::MultMatrix(DriverStateInstance(), m);
}

void TLR2_STDCALL glPushMatrix() noexcept {
  const ThreadGuard& guard = enter::glPushMatrix();
  if (Records(guard)) AppendRecord(CmdPushMatrix{});
  effect::PushMatrix(DriverStateInstance());
}

void TLR2_STDCALL glPopMatrix() noexcept {
  const ThreadGuard& guard = enter::glPopMatrix();
  if (Records(guard)) AppendRecord(CmdPopMatrix{});
  effect::PopMatrix(DriverStateInstance());
}

void TLR2_STDCALL glTranslatef(GLfloat x, GLfloat y, GLfloat z) noexcept {
  const ThreadGuard& guard = enter::glTranslatef(x, y, z);
  const FloatRules rules;
  if (Records(guard)) AppendRecord(CmdTranslatef{.x = x, .y = y, .z = z});
  effect::Translate(DriverStateInstance(), x, y, z);
}

void TLR2_STDCALL glRotatef(GLfloat angle, GLfloat x, GLfloat y, GLfloat z) noexcept {
  const ThreadGuard& guard = enter::glRotatef(angle, x, y, z);
  const FloatRules rules;
  if (Records(guard)) AppendRecord(CmdRotatef{.angle = angle, .x = x, .y = y, .z = z});
  effect::Rotate(DriverStateInstance(), angle, x, y, z);
}

void TLR2_STDCALL glScalef(GLfloat x, GLfloat y, GLfloat z) noexcept {
  const ThreadGuard& guard = enter::glScalef(x, y, z);
  const FloatRules rules;
  if (Records(guard)) AppendRecord(CmdScalef{.x = x, .y = y, .z = z});
  effect::Scale(DriverStateInstance(), x, y, z);
}

// Doubles narrow before they are recorded, so that the replay computes from the same floats.

void TLR2_STDCALL glOrtho(GLdouble left, GLdouble right, GLdouble bottom, GLdouble top, GLdouble zNear,
                          GLdouble zFar) noexcept {
  const ThreadGuard& guard = enter::glOrtho(left, right, bottom, top, zNear, zFar);
  const FloatRules rules;
  const auto l = FloatRules::Narrow(left), r = FloatRules::Narrow(right), b = FloatRules::Narrow(bottom),
             t = FloatRules::Narrow(top), n = FloatRules::Narrow(zNear), f = FloatRules::Narrow(zFar);
  if (Records(guard)) AppendRecord(CmdOrtho{.left = l, .right = r, .bottom = b, .top = t, .zNear = n, .zFar = f});
  effect::Ortho(DriverStateInstance(), l, r, b, t, n, f);
}

void TLR2_STDCALL glFrustum(GLdouble left, GLdouble right, GLdouble bottom, GLdouble top, GLdouble zNear,
                            GLdouble zFar) noexcept {
  const ThreadGuard& guard = enter::glFrustum(left, right, bottom, top, zNear, zFar);
  const FloatRules rules;
  const auto l = FloatRules::Narrow(left), r = FloatRules::Narrow(right), b = FloatRules::Narrow(bottom),
             t = FloatRules::Narrow(top), n = FloatRules::Narrow(zNear), f = FloatRules::Narrow(zFar);
  if (Records(guard)) AppendRecord(CmdFrustum{.left = l, .right = r, .bottom = b, .top = t, .zNear = n, .zFar = f});
  effect::Frustum(DriverStateInstance(), l, r, b, t, n, f);
}

void TLR2_STDCALL glViewport(GLint x, GLint y, GLsizei width, GLsizei height) noexcept {
  const ThreadGuard& guard = enter::glViewport(x, y, width, height);
  if (Records(guard)) AppendRecord(CmdViewport{.x = x, .y = y, .width = width, .height = height});
  DriverState& state = DriverStateInstance();
  effect::StoreViewport(state, x, y, width, height);
  // The grid follows the largest viewport, not the window; the surface must hold whatever the grid may draw.
  if (ContextRecord* context = guard.currentContext) SurfaceEnsureSize(context->surface, width, height, context->hdc);
  CoverViewport(state, width, height);
}

void TLR2_STDCALL glDepthRange(GLclampd zNear, GLclampd zFar) noexcept {
  const ThreadGuard& guard = enter::glDepthRange(zNear, zFar);
  const FloatRules rules;
  const auto n = FloatRules::Narrow(zNear), f = FloatRules::Narrow(zFar);
  if (Records(guard)) AppendRecord(CmdDepthRange{.zNear = n, .zFar = f});
  effect::DepthRange(DriverStateInstance(), n, f);
}

}  // namespace tlr2
