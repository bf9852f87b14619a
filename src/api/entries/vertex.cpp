// Immediate geometry: begin and end, vertices, texture coordinates. The hottest entries of the driver: those that games
// call per vertex check once whether the call is a plain one with room for all it appends, and then run without a
// single call, so that they need no frame of their own; anything else goes the common way.
#include "api/entries/entry_frame.h"
#include "api/state/driver_state.h"
#include "api/state/effects.h"
#include "platform/clock.h"
#include "settings/stage_counters.h"

namespace tlr2 {

namespace {

TLR2_ALWAYS_INLINE void Vertex3(const ThreadGuard& guard, GLfloat x, GLfloat y, GLfloat z) {
  if (Records(guard)) [[likely]]
    AppendRecord(CmdVertex3f{.x = x, .y = y, .z = z});
  effect::Vertex(DriverStateInstance(), x, y, z);
}

TLR2_ALWAYS_INLINE void Vertex2(const ThreadGuard& guard, GLfloat x, GLfloat y) {
  if (Records(guard)) [[likely]]
    AppendRecord(CmdVertex2f{.x = x, .y = y});
  effect::Vertex(DriverStateInstance(), x, y, 0.0f);
}

TLR2_ALWAYS_INLINE void TexCoord2(const ThreadGuard& guard, GLfloat s, GLfloat t) {
  if (Records(guard)) [[likely]]
    AppendRecord(CmdTexCoord2f{.s = s, .t = t});
  effect::TexCoord(DriverStateInstance(), s, t);
}

}  // namespace

void TLR2_STDCALL glBegin(GLenum mode) noexcept {
  const ThreadGuard& guard = enter::glBegin(mode);
  if (Records(guard)) AppendRecord(CmdBegin{.mode = mode});
  effect::Begin(DriverStateInstance(), mode);
}

void TLR2_STDCALL glEnd() noexcept {
  const ThreadGuard& guard = enter::glEnd();
  const bool timed = StageTimingEnabled();
  const std::int64_t start = timed ? TicksNow() : 0;
  if (Records(guard)) AppendRecord(CmdEnd{});
  if (timed) StageAdd(0, static_cast<std::uint64_t>(TicksNow() - start), 1);
  effect::EndPrimitive(DriverStateInstance());
}

[[gnu::noinline]] static void TLR2_STDCALL CommonVertex3f(GLfloat x, GLfloat y, GLfloat z) noexcept {
  Vertex3(enter::glVertex3f(x, y, z), x, y, z);
}

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

// The one pointer entry whose trace prints the values.
void TLR2_STDCALL glVertex3fv(const GLfloat* v) noexcept {
  const ThreadGuard& guard = CountCall(Entry::glVertex3fv);
  if (Traced(guard)) [[unlikely]] {
    if (v != nullptr)
      TraceCall("TLR2::GL::Vertex3fv", "(x=%f, y=%f, z=%f)", static_cast<double>(v[0]), static_cast<double>(v[1]),
                static_cast<double>(v[2]));
    else
      TraceCall("TLR2::GL::Vertex3fv", "(v=NULL)");
  }
  if (v == nullptr) return;
  Vertex3(guard, v[0], v[1], v[2]);
}

[[gnu::noinline]] static void TLR2_STDCALL CommonVertex2f(GLfloat x, GLfloat y) noexcept {
  Vertex2(enter::glVertex2f(x, y), x, y);
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

void TLR2_STDCALL glVertex2fv(const GLfloat* v) noexcept {
  const ThreadGuard& guard = enter::glVertex2fv(v);
  if (v == nullptr) return;
  Vertex2(guard, v[0], v[1]);
}

[[gnu::noinline]] static void TLR2_STDCALL CommonTexCoord2f(GLfloat s, GLfloat t) noexcept {
  TexCoord2(enter::glTexCoord2f(s, t), s, t);
}

void TLR2_STDCALL glTexCoord2f(GLfloat s, GLfloat t) noexcept {
  ByteVector& bytes = CommandStreamInstance().bytes;
  if (!Plain(detail::ThreadGuardAtHand()) || bytes.spare() < sizeof(CmdTexCoord2f)) [[unlikely]]
    return CommonTexCoord2f(s, t);
  CounterAdd(CallCounters[static_cast<int>(Entry::glTexCoord2f)], 1);
  new (bytes.TakeSpare(sizeof(CmdTexCoord2f))) CmdTexCoord2f{.s = s, .t = t};
  effect::TexCoord(DriverStateInstance(), s, t);
}

void TLR2_STDCALL glTexCoord2fv(const GLfloat* v) noexcept {
  const ThreadGuard& guard = enter::glTexCoord2fv(v);
  if (v == nullptr) return;
  TexCoord2(guard, v[0], v[1]);
}

}  // namespace tlr2
