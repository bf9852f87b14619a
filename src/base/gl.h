// The GL types and the GL and WGL constants that the driver acts on. Values are those the interface publishes.
#pragma once

#include <cstdint>

#if defined(__GNUC__) && defined(__i386__) && defined(_WIN32)
#define TLR2_STDCALL __attribute__((stdcall))
#else
#define TLR2_STDCALL
#endif

namespace tlr2 {

using GLenum = std::uint32_t;
using GLboolean = std::uint8_t;
using GLbitfield = std::uint32_t;
using GLbyte = std::int8_t;
using GLshort = std::int16_t;
using GLint = std::int32_t;
using GLsizei = std::int32_t;
using GLubyte = std::uint8_t;
using GLushort = std::uint16_t;
using GLuint = std::uint32_t;
using GLfloat = float;
using GLclampf = float;
using GLdouble = double;
using GLclampd = double;
using GLvoid = void;

namespace gl {
// Primitive modes. Points share the value 0 with "no primitive open".
inline constexpr GLenum kPoints = 0, kLines = 1, kLineLoop = 2, kLineStrip = 3, kTriangles = 4, kTriangleStrip = 5,
                        kTriangleFan = 6, kQuads = 7, kQuadStrip = 8, kPolygon = 9;
// Blend factors.
inline constexpr GLenum kZero = 0, kOne = 1, kSrcColor = 0x0300, kOneMinusSrcColor = 0x0301, kSrcAlpha = 0x0302,
                        kOneMinusSrcAlpha = 0x0303;
// Comparison functions.
inline constexpr GLenum kNever = 0x0200, kLess = 0x0201, kEqual = 0x0202, kLequal = 0x0203, kGreater = 0x0204,
                        kNotequal = 0x0205, kGequal = 0x0206, kAlways = 0x0207;
// Faces and windings.
inline constexpr GLenum kFront = 0x0404, kBack = 0x0405, kFrontAndBack = 0x0408, kCw = 0x0900, kCcw = 0x0901;
// Capabilities.
inline constexpr GLenum kCullFace = 0x0B44, kDepthTest = 0x0B71, kAlphaTest = 0x0BC0, kBlend = 0x0BE2,
                        kTexture2D = 0x0DE1;
// Queries.
inline constexpr GLenum kDepthRange = 0x0B70, kViewport = 0x0BA2, kModelviewMatrix = 0x0BA6, kProjectionMatrix = 0x0BA7,
                        kTextureMatrix = 0x0BA8, kMaxTextureSize = 0x0D33, kRedBits = 0x0D52, kAlphaBits = 0x0D55,
                        kDepthBits = 0x0D56, kVendor = 0x1F00, kRenderer = 0x1F01, kVersion = 0x1F02,
                        kExtensions = 0x1F03;
// Matrix modes.
inline constexpr GLenum kModelview = 0x1700, kProjection = 0x1701, kTexture = 0x1702;
// Pixel types and formats.
inline constexpr GLenum kUnsignedByte = 0x1401, kAlpha = 0x1906, kRgb = 0x1907, kRgba = 0x1908, kLuminance = 0x1909,
                        kLuminanceAlpha = 0x190A, kBgr = 0x80E0, kBgra = 0x80E1;
// Texture environment.
inline constexpr GLenum kTextureEnv = 0x2300, kTextureEnvMode = 0x2200, kTextureEnvColor = 0x2201, kModulate = 0x2100,
                        kDecal = 0x2101, kReplace = 0x1E01;
// Texture parameters.
inline constexpr GLenum kNearest = 0x2600, kLinear = 0x2601, kNearestMipmapNearest = 0x2700,
                        kLinearMipmapNearest = 0x2701, kNearestMipmapLinear = 0x2702, kLinearMipmapLinear = 0x2703,
                        kTextureMagFilter = 0x2800, kTextureMinFilter = 0x2801, kTextureWrapS = 0x2802,
                        kTextureWrapT = 0x2803, kClamp = 0x2900, kRepeat = 0x2901, kClampToBorder = 0x812D,
                        kClampToEdge = 0x812F;
// Clear mask bits.
inline constexpr GLbitfield kDepthBufferBit = 0x100, kStencilBufferBit = 0x400, kColorBufferBit = 0x4000;
}  // namespace gl

}  // namespace tlr2
