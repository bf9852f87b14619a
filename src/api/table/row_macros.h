// How the arguments of an entry's row become parameters, trace formats, trace values and stack bytes.
#pragma once

#include <bit>
#include <cstdint>
#include <type_traits>

#include "base/gl.h"

namespace tlr2 {

// Scalars of the window-system interface. A mask is an unsigned integer that the trace prints as a bit mask.
using WglInt = std::int32_t;
using WglUint = std::uint32_t;
using WglBool = std::int32_t;
using WglMask = std::uint32_t;
using WglFloat = float;

/// For an argument whose pointer the trace prints with %f: the pointer's bits, zero-extended, are the double's.
inline double PointerAsDouble(const void* pointer) noexcept {
  return std::bit_cast<double>(static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(pointer)));
}

/// Bytes that an argument takes on the 32-bit stack: two words for a double, one for everything else, pointers too.
template <typename T>
constexpr unsigned StackBytes() noexcept {
  return std::is_same_v<T, double> ? 8 : 4;
}

}  // namespace tlr2

// Type tags: the tag's type. A bit mask prints as one also where its type is the unsigned integer's.
#define TLR2_TYPE_void void
#define TLR2_TYPE_GLenum GLenum
#define TLR2_TYPE_GLboolean GLboolean
#define TLR2_TYPE_GLbitfield GLbitfield
#define TLR2_TYPE_GLbyte GLbyte
#define TLR2_TYPE_GLshort GLshort
#define TLR2_TYPE_GLint GLint
#define TLR2_TYPE_GLsizei GLsizei
#define TLR2_TYPE_GLubyte GLubyte
#define TLR2_TYPE_GLushort GLushort
#define TLR2_TYPE_GLuint GLuint
#define TLR2_TYPE_GLuintMask GLuint
#define TLR2_TYPE_GLfloat GLfloat
#define TLR2_TYPE_GLclampf GLclampf
#define TLR2_TYPE_GLdouble GLdouble
#define TLR2_TYPE_GLclampd GLclampd
#define TLR2_TYPE_WglInt WglInt
#define TLR2_TYPE_WglUint WglUint
#define TLR2_TYPE_WglBool WglBool
#define TLR2_TYPE_WglMask WglMask
#define TLR2_TYPE_WglFloat WglFloat
#define TLR2_TYPE_TEXT const char*
#define TLR2_TYPE_POINTER(...) TLR2_POINTEE(__VA_ARGS__)*
#define TLR2_TYPE_POINTER_AS_DOUBLE(...) TLR2_POINTEE(__VA_ARGS__)*
#define TLR2_POINTEE(...) __VA_ARGS__

// Type tags: the trace's conversion.
#define TLR2_PRINT_GLenum "0x%04X"
#define TLR2_PRINT_GLboolean "%u"
#define TLR2_PRINT_GLbitfield "0x%08X"
#define TLR2_PRINT_GLbyte "%d"
#define TLR2_PRINT_GLshort "%d"
#define TLR2_PRINT_GLint "%d"
#define TLR2_PRINT_GLsizei "%d"
#define TLR2_PRINT_GLubyte "%u"
#define TLR2_PRINT_GLushort "%u"
#define TLR2_PRINT_GLuint "%u"
#define TLR2_PRINT_GLuintMask "0x%08X"
#define TLR2_PRINT_GLfloat "%f"
#define TLR2_PRINT_GLclampf "%f"
#define TLR2_PRINT_GLdouble "%f"
#define TLR2_PRINT_GLclampd "%f"
#define TLR2_PRINT_WglInt "%d"
#define TLR2_PRINT_WglUint "%u"
#define TLR2_PRINT_WglBool "%u"
#define TLR2_PRINT_WglMask "0x%08X"
#define TLR2_PRINT_WglFloat "%f"
#define TLR2_PRINT_TEXT "\"%s\""
#define TLR2_PRINT_POINTER(...) "%p"
#define TLR2_PRINT_POINTER_AS_DOUBLE(...) "%f"

// Type tags: the trace's value, promoted as the conversion reads it.
#define TLR2_AS_SIGNED(name) static_cast<int>(name)
#define TLR2_AS_UNSIGNED(name) static_cast<unsigned>(name)
#define TLR2_AS_DOUBLE(name) static_cast<double>(name)
#define TLR2_AS_POINTER(name) static_cast<const void*>(name)
#define TLR2_AS_POINTER_BITS(name) PointerAsDouble(name)
#define TLR2_AS_TEXT(name) ((name) != nullptr ? (name) : "")
#define TLR2_VALUE_GLenum TLR2_AS_UNSIGNED
#define TLR2_VALUE_GLboolean TLR2_AS_UNSIGNED
#define TLR2_VALUE_GLbitfield TLR2_AS_UNSIGNED
#define TLR2_VALUE_GLbyte TLR2_AS_SIGNED
#define TLR2_VALUE_GLshort TLR2_AS_SIGNED
#define TLR2_VALUE_GLint TLR2_AS_SIGNED
#define TLR2_VALUE_GLsizei TLR2_AS_SIGNED
#define TLR2_VALUE_GLubyte TLR2_AS_UNSIGNED
#define TLR2_VALUE_GLushort TLR2_AS_UNSIGNED
#define TLR2_VALUE_GLuint TLR2_AS_UNSIGNED
#define TLR2_VALUE_GLuintMask TLR2_AS_UNSIGNED
#define TLR2_VALUE_GLfloat TLR2_AS_DOUBLE
#define TLR2_VALUE_GLclampf TLR2_AS_DOUBLE
#define TLR2_VALUE_GLdouble TLR2_AS_DOUBLE
#define TLR2_VALUE_GLclampd TLR2_AS_DOUBLE
#define TLR2_VALUE_WglInt TLR2_AS_SIGNED
#define TLR2_VALUE_WglUint TLR2_AS_UNSIGNED
#define TLR2_VALUE_WglBool TLR2_AS_UNSIGNED
#define TLR2_VALUE_WglMask TLR2_AS_UNSIGNED
#define TLR2_VALUE_WglFloat TLR2_AS_DOUBLE
#define TLR2_VALUE_TEXT TLR2_AS_TEXT
#define TLR2_VALUE_POINTER(...) TLR2_AS_POINTER
#define TLR2_VALUE_POINTER_AS_DOUBLE(...) TLR2_AS_POINTER_BITS

// TLR2_EACH(one, next, (tag, name)...): `one` applied to the first argument, `next` to each further one; nothing for
// none. No row has more than ten.
#define TLR2_EACH(one, next, ...) __VA_OPT__(TLR2_EACH_1(one, next, __VA_ARGS__))
#define TLR2_EACH_1(one, next, a, ...) one a __VA_OPT__(TLR2_EACH_2(next, __VA_ARGS__))
#define TLR2_EACH_2(next, a, ...) next a __VA_OPT__(TLR2_EACH_3(next, __VA_ARGS__))
#define TLR2_EACH_3(next, a, ...) next a __VA_OPT__(TLR2_EACH_4(next, __VA_ARGS__))
#define TLR2_EACH_4(next, a, ...) next a __VA_OPT__(TLR2_EACH_5(next, __VA_ARGS__))
#define TLR2_EACH_5(next, a, ...) next a __VA_OPT__(TLR2_EACH_6(next, __VA_ARGS__))
#define TLR2_EACH_6(next, a, ...) next a __VA_OPT__(TLR2_EACH_7(next, __VA_ARGS__))
#define TLR2_EACH_7(next, a, ...) next a __VA_OPT__(TLR2_EACH_8(next, __VA_ARGS__))
#define TLR2_EACH_8(next, a, ...) next a __VA_OPT__(TLR2_EACH_9(next, __VA_ARGS__))
#define TLR2_EACH_9(next, a, ...) next a __VA_OPT__(TLR2_EACH_10(next, __VA_ARGS__))
#define TLR2_EACH_10(next, a) next a

#define TLR2_PARAMETER_ONE(tag, name) TLR2_TYPE_##tag name
#define TLR2_PARAMETER_NEXT(tag, name) , TLR2_TYPE_##tag name
#define TLR2_UNNAMED_ONE(tag, name) TLR2_TYPE_##tag
#define TLR2_UNNAMED_NEXT(tag, name) , TLR2_TYPE_##tag
#define TLR2_FORMAT_ONE(tag, name) #name "=" TLR2_PRINT_##tag
#define TLR2_FORMAT_NEXT(tag, name) ", " #name "=" TLR2_PRINT_##tag
#define TLR2_VALUE_NEXT(tag, name) , TLR2_VALUE_##tag(name)
#define TLR2_NAME_ONE(tag, name) name
#define TLR2_NAME_NEXT(tag, name) , name
#define TLR2_STACK_NEXT(tag, name) +StackBytes<TLR2_TYPE_##tag>()

// What a row's arguments give.
#define TLR2_PARAMETERS(...) TLR2_EACH(TLR2_PARAMETER_ONE, TLR2_PARAMETER_NEXT __VA_OPT__(, ) __VA_ARGS__)
#define TLR2_PARAMETER_TYPES(...) TLR2_EACH(TLR2_UNNAMED_ONE, TLR2_UNNAMED_NEXT __VA_OPT__(, ) __VA_ARGS__)
#define TLR2_ARGUMENT_NAMES(...) TLR2_EACH(TLR2_NAME_ONE, TLR2_NAME_NEXT __VA_OPT__(, ) __VA_ARGS__)
#define TLR2_TRACE_FORMAT(...) "(" TLR2_EACH(TLR2_FORMAT_ONE, TLR2_FORMAT_NEXT __VA_OPT__(, ) __VA_ARGS__) ")"
#define TLR2_TRACE_VALUES(...) TLR2_EACH(TLR2_VALUE_NEXT, TLR2_VALUE_NEXT __VA_OPT__(, ) __VA_ARGS__)
#define TLR2_STACK_BYTES(...) (0u TLR2_EACH(TLR2_STACK_NEXT, TLR2_STACK_NEXT __VA_OPT__(, ) __VA_ARGS__))
