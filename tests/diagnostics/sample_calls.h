// One call of each entry, with arguments that tell their place: kind and position give the value.
#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <tuple>

#include "api/table/entry.h"
#include "api/table/prototypes.h"

namespace tlr2::test {

/// What pointers of the gl entries point to: enough for every entry that reads or writes through one.
alignas(16) inline float room[4096];
/// The pointer argument of all entries that follow; the wgl entries get null.
inline void* samplePointer = room;

/// Counts an entry's arguments.
struct Place {
  int next = 0;
  int operator()() { return next++; }
};

#define TLR2_SAMPLE_GLenum static_cast<GLenum>(0x1900 + place())
#define TLR2_SAMPLE_GLboolean static_cast<GLboolean>(1 + place())
#define TLR2_SAMPLE_GLbitfield static_cast<GLbitfield>(0x4000 + place())
#define TLR2_SAMPLE_GLbyte static_cast<GLbyte>(-1 - place())
#define TLR2_SAMPLE_GLshort static_cast<GLshort>(-1000 - place())
#define TLR2_SAMPLE_GLint static_cast<GLint>(-20 - place())
#define TLR2_SAMPLE_GLsizei static_cast<GLsizei>(1 + place())
#define TLR2_SAMPLE_GLubyte static_cast<GLubyte>(200 + place())
#define TLR2_SAMPLE_GLushort static_cast<GLushort>(50000 + place())
#define TLR2_SAMPLE_GLuint (3000000000u + static_cast<GLuint>(place()))
#define TLR2_SAMPLE_GLuintMask (3000000000u + static_cast<GLuint>(place()))
#define TLR2_SAMPLE_GLfloat (static_cast<GLfloat>(place()) + 0.5f)
#define TLR2_SAMPLE_GLclampf (static_cast<GLclampf>(place()) + 0.25f)
#define TLR2_SAMPLE_GLdouble (static_cast<GLdouble>(place()) + 0.125)
#define TLR2_SAMPLE_GLclampd (static_cast<GLclampd>(place()) + 0.0625)
#define TLR2_SAMPLE_WglInt static_cast<WglInt>(-20 - place())
#define TLR2_SAMPLE_WglUint (3000000000u + static_cast<WglUint>(place()))
#define TLR2_SAMPLE_WglBool static_cast<WglBool>(1 + place())
#define TLR2_SAMPLE_WglMask static_cast<WglMask>(0x4000 + place())
#define TLR2_SAMPLE_WglFloat (static_cast<WglFloat>(place()) + 0.5f)
#define TLR2_SAMPLE_TEXT (place(), "glFogf")
#define TLR2_SAMPLE_POINTER(...) (place(), static_cast<TLR2_POINTEE(__VA_ARGS__)*>(samplePointer))
#define TLR2_SAMPLE_POINTER_AS_DOUBLE(...) (place(), static_cast<TLR2_POINTEE(__VA_ARGS__)*>(samplePointer))
#define TLR2_SAMPLE_ONE(tag, name) TLR2_SAMPLE_##tag
#define TLR2_SAMPLE_NEXT(tag, name) , TLR2_SAMPLE_##tag
#define TLR2_SAMPLE_TYPE_ONE(tag, name) TLR2_TYPE_##tag

// Braces evaluate from left to right.
#define TLR2_SAMPLE_CALL(name, ...)                                                    \
  inline void Call_##name() {                                                          \
    [[maybe_unused]] Place place;                                                      \
    const std::tuple<TLR2_PARAMETER_TYPES(__VA_ARGS__)> all{                           \
        TLR2_EACH(TLR2_SAMPLE_ONE, TLR2_SAMPLE_NEXT __VA_OPT__(, ) __VA_ARGS__)};      \
    std::apply([](auto... arguments) { static_cast<void>(name(arguments...)); }, all); \
  }
#define TLR2_GL(name, bytes, returns, body, ...) TLR2_SAMPLE_CALL(gl##name __VA_OPT__(, ) __VA_ARGS__)
#define TLR2_WGL(name, bytes, returns, body, ...) TLR2_SAMPLE_CALL(wgl##name __VA_OPT__(, ) __VA_ARGS__)
#include "api/table/entries.def"

inline void (*const kSampleCalls[kEntryCount])() = {
#define TLR2_GL(name, ...) Call_gl##name,
#define TLR2_WGL(name, ...) Call_wgl##name,
#include "api/table/entries.def"
};

/// Calls the entry of row `i`.
inline void SampleCall(int i) {
  std::fill(std::begin(room), std::end(room), 1.5f);
  samplePointer = EntryNames[i][0] == 'w' ? nullptr : static_cast<void*>(room);
  kSampleCalls[i]();
}

}  // namespace tlr2::test
