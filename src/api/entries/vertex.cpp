// Immediate geometry: begin and end, vertices, texture coordinates. Of the calls that games make per vertex, only what
// is not plain comes here; see plain_calls.cpp.
#include "api/entries/common_calls.h"
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

void TLR2_STDCALL CommonVertex3f(GLfloat x, GLfloat y, GLfloat z) noexcept {
  Vertex3(enter::glVertex3f(x, y, z), x, y, z);
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

void TLR2_STDCALL CommonVertex2f(GLfloat x, GLfloat y) noexcept { Vertex2(enter::glVertex2f(x, y), x, y); }

void TLR2_STDCALL glVertex2fv(const GLfloat* v) noexcept {
  const ThreadGuard& guard = enter::glVertex2fv(v);
  if (v == nullptr) return;
  Vertex2(guard, v[0], v[1]);
}

void TLR2_STDCALL CommonTexCoord2f(GLfloat s, GLfloat t) noexcept { TexCoord2(enter::glTexCoord2f(s, t), s, t); }

void TLR2_STDCALL glTexCoord2fv(const GLfloat* v) noexcept {
  const ThreadGuard& guard = enter::glTexCoord2fv(v);
  if (v == nullptr) return;
  TexCoord2(guard, v[0], v[1]);
}

}  // namespace tlr2
