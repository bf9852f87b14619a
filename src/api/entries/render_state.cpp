// Fixed-function state that triangles carry, and clears. Values are not validated. What rounds does so under the
// driver's float rules, as the replay of the record does.
#include "api/entries/entry_frame.h"
#include "api/state/driver_state.h"
#include "api/state/effects.h"
#include "platform/float_rules.h"

namespace tlr2 {

void TLR2_STDCALL glEnable(GLenum cap) noexcept {
  const ThreadGuard& guard = enter::glEnable(cap);
  if (Records(guard)) AppendRecord(CmdEnable{.cap = cap});
  effect::SetCapability(DriverStateInstance(), cap, true);
}

void TLR2_STDCALL glDisable(GLenum cap) noexcept {
  const ThreadGuard& guard = enter::glDisable(cap);
  if (Records(guard)) AppendRecord(CmdDisable{.cap = cap});
  effect::SetCapability(DriverStateInstance(), cap, false);
}

void TLR2_STDCALL glBlendFunc(GLenum sfactor, GLenum dfactor) noexcept {
  const ThreadGuard& guard = enter::glBlendFunc(sfactor, dfactor);
  if (Records(guard)) AppendRecord(CmdBlendFunc{.sfactor = sfactor, .dfactor = dfactor});
  effect::BlendFunc(DriverStateInstance(), sfactor, dfactor);
}

void TLR2_STDCALL glAlphaFunc(GLenum func, GLclampf ref) noexcept {
  const ThreadGuard& guard = enter::glAlphaFunc(func, ref);
  if (Records(guard)) AppendRecord(CmdAlphaFunc{.func = func, .ref = ref});
  effect::AlphaFunc(DriverStateInstance(), func, ref);
}

void TLR2_STDCALL glDepthFunc(GLenum func) noexcept {
  const ThreadGuard& guard = enter::glDepthFunc(func);
  if (Records(guard)) AppendRecord(CmdDepthFunc{.func = func});
  effect::DepthFunc(DriverStateInstance(), func);
}

void TLR2_STDCALL glDepthMask(GLboolean flag) noexcept {
  const ThreadGuard& guard = enter::glDepthMask(flag);
  if (Records(guard)) AppendRecord(CmdDepthMask{.flag = flag});
  effect::DepthMask(DriverStateInstance(), flag);
}

void TLR2_STDCALL glCullFace(GLenum mode) noexcept {
  const ThreadGuard& guard = enter::glCullFace(mode);
  if (Records(guard)) AppendRecord(CmdCullFace{.mode = mode});
  effect::CullFace(DriverStateInstance(), mode);
}

void TLR2_STDCALL glFrontFace(GLenum mode) noexcept {
  const ThreadGuard& guard = enter::glFrontFace(mode);
  if (Records(guard)) AppendRecord(CmdFrontFace{.mode = mode});
  effect::FrontFace(DriverStateInstance(), mode);
}

void TLR2_STDCALL glClearColor(GLclampf red, GLclampf green, GLclampf blue, GLclampf alpha) noexcept {
  const ThreadGuard& guard = enter::glClearColor(red, green, blue, alpha);
  const FloatRules rules;
  if (Records(guard)) AppendRecord(CmdClearColor{.red = red, .green = green, .blue = blue, .alpha = alpha});
  effect::ClearColor(DriverStateInstance(), FloatRules::Here(red), FloatRules::Here(green), FloatRules::Here(blue),
                     FloatRules::Here(alpha));
}

void TLR2_STDCALL glClearDepth(GLclampd depth) noexcept {
  const ThreadGuard& guard = enter::glClearDepth(depth);
  const FloatRules rules;
  const auto narrow = FloatRules::Narrow(depth);
  if (Records(guard)) AppendRecord(CmdClearDepth{.depth = narrow});
  effect::ClearDepth(DriverStateInstance(), narrow);
}

void TLR2_STDCALL glClear(GLbitfield mask) noexcept {
  const ThreadGuard& guard = enter::glClear(mask);
  if (Records(guard)) AppendRecord(CmdClear{.mask = mask});
  effect::Clear(DriverStateInstance(), mask);
}

void TLR2_STDCALL glTexEnvi(GLenum target, GLenum pname, GLint param) noexcept {
  const ThreadGuard& guard = enter::glTexEnvi(target, pname, param);
  if (Records(guard)) AppendRecord(CmdTexEnvi{.target = target, .pname = pname, .param = param});
  effect::TexEnvi(DriverStateInstance(), target, pname, param);
}

// The next two have no record of their own: the entry they call runs the whole frame again, so both calls count.

void TLR2_STDCALL glTexEnvf(GLenum target, GLenum pname, GLfloat param) noexcept {
  enter::glTexEnvf(target, pname, param);
  glTexEnvi(target, pname, TruncateToInt(param));
}

void TLR2_STDCALL glTexEnviv(GLenum target, GLenum pname, const GLint* params) noexcept {
  enter::glTexEnviv(target, pname, params);
  if (params == nullptr) return;
  glTexEnvi(target, pname, params[0]);
}

void TLR2_STDCALL glTexEnvfv(GLenum target, GLenum pname, const GLfloat* params) noexcept {
  const ThreadGuard& guard = enter::glTexEnvfv(target, pname, params);
  if (params == nullptr) return;
  if (Records(guard)) {
    CmdTexEnvfv record{.target = target, .pname = pname};
    std::memcpy(record.params, params, sizeof record.params);
    AppendRecord(record);
  }
  const FloatRules rules;
  effect::TexEnvfv(DriverStateInstance(), target, pname, params);
}

}  // namespace tlr2
