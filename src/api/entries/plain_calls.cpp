// The calls that games make per vertex, the hottest entries of the driver. Each checks once whether the call is a plain
// one with room for all it appends, and then runs without a single call; anything else goes the common way.
//
// On 32-bit systems this file keeps whatever alignment the caller's stack has: aligning it takes as long as the rest of
// a call. So nothing here may call but functions of the driver, which align it themselves.
#include "api/entries/common_calls.h"
#include "api/entries/entry_frame.h"
#include "api/state/driver_state.h"
#include "api/state/effects.h"
#include "base/color.h"

namespace tlr2 {

void TLR2_STDCALL glVertex3f(GLfloat x, GLfloat y, GLfloat z) noexcept {
  ByteVector& bytes = CommandStreamInstance().bytes;
  DriverState& state = DriverStateInstance();
  if (!Plain(detail::ThreadGuardAtHand()) || bytes.spare() < sizeof(CmdVertex3f) || state.vertices.spare() == 0)
      [[unlikely]]
    return CommonVertex3f(x, y, z);
  CounterAdd(CallCounters[static_cast<int>(Entry::glVertex3f)], 1);
  new (bytes.TakeSpare(sizeof(CmdVertex3f))) CmdVertex3f{.x = x, .y = y, .z = z};
  new (state.vertices.TakeSpare(1)) PacketVertex{x, y, z, state.currentColor, state.currentS, state.currentT};
}

void TLR2_STDCALL glVertex2f(GLfloat x, GLfloat y) noexcept {
  ByteVector& bytes = CommandStreamInstance().bytes;
  DriverState& state = DriverStateInstance();
  if (!Plain(detail::ThreadGuardAtHand()) || bytes.spare() < sizeof(CmdVertex2f) || state.vertices.spare() == 0)
      [[unlikely]]
    return CommonVertex2f(x, y);
  CounterAdd(CallCounters[static_cast<int>(Entry::glVertex2f)], 1);
  new (bytes.TakeSpare(sizeof(CmdVertex2f))) CmdVertex2f{.x = x, .y = y};
  new (state.vertices.TakeSpare(1)) PacketVertex{x, y, 0.0f, state.currentColor, state.currentS, state.currentT};
}

void TLR2_STDCALL glTexCoord2f(GLfloat s, GLfloat t) noexcept {
  ByteVector& bytes = CommandStreamInstance().bytes;
  if (!Plain(detail::ThreadGuardAtHand()) || bytes.spare() < sizeof(CmdTexCoord2f)) [[unlikely]]
    return CommonTexCoord2f(s, t);
  CounterAdd(CallCounters[static_cast<int>(Entry::glTexCoord2f)], 1);
  new (bytes.TakeSpare(sizeof(CmdTexCoord2f))) CmdTexCoord2f{.s = s, .t = t};
  effect::TexCoord(DriverStateInstance(), s, t);
}

void TLR2_STDCALL glColor4f(GLfloat red, GLfloat green, GLfloat blue, GLfloat alpha) noexcept {
  ByteVector& bytes = CommandStreamInstance().bytes;
  if (!Plain(detail::ThreadGuardAtHand()) || bytes.spare() < sizeof(CmdColor)) [[unlikely]]
    return CommonColor4f(red, green, blue, alpha);
  CounterAdd(CallCounters[static_cast<int>(Entry::glColor4f)], 1);
  const std::uint32_t color = PackColor(red, green, blue, alpha);
  effect::Color(DriverStateInstance(), color);
  new (bytes.TakeSpare(sizeof(CmdColor))) CmdColor{.color = color};
}

void TLR2_STDCALL glColor4ub(GLubyte red, GLubyte green, GLubyte blue, GLubyte alpha) noexcept {
  ByteVector& bytes = CommandStreamInstance().bytes;
  if (!Plain(detail::ThreadGuardAtHand()) || bytes.spare() < sizeof(CmdColor)) [[unlikely]]
    return CommonColor4ub(red, green, blue, alpha);
  CounterAdd(CallCounters[static_cast<int>(Entry::glColor4ub)], 1);
  const std::uint32_t color = PackBytes(red, green, blue, alpha);
  effect::Color(DriverStateInstance(), color);
  new (bytes.TakeSpare(sizeof(CmdColor))) CmdColor{.color = color};
}

}  // namespace tlr2
