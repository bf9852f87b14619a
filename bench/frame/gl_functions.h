// The GL functions that the scenes call, found by name in a library at run time, so that two libraries that export
// the same names can be timed by the same scenes.
#pragma once

#include <cstdint>

namespace bench {

using Enum = std::uint32_t;

/// Every function a scene may use. `Load` fills all of them.
struct Gl {
  void (*Begin)(Enum mode);
  void (*End)();
  void (*Vertex2f)(float x, float y);
  void (*Vertex3f)(float x, float y, float z);
  void (*Color4f)(float r, float g, float b, float a);
  void (*Color4ub)(std::uint8_t r, std::uint8_t g, std::uint8_t b, std::uint8_t a);
  void (*TexCoord2f)(float s, float t);
  void (*MatrixMode)(Enum mode);
  void (*LoadIdentity)();
  void (*Frustum)(double left, double right, double bottom, double top, double nearPlane, double farPlane);
  void (*Ortho)(double left, double right, double bottom, double top, double nearPlane, double farPlane);
  void (*Translatef)(float x, float y, float z);
  void (*Rotatef)(float angle, float x, float y, float z);
  void (*PushMatrix)();
  void (*PopMatrix)();
  void (*Viewport)(std::int32_t x, std::int32_t y, std::int32_t w, std::int32_t h);
  void (*Enable)(Enum cap);
  void (*Disable)(Enum cap);
  void (*BlendFunc)(Enum source, Enum destination);
  void (*AlphaFunc)(Enum func, float reference);
  void (*DepthFunc)(Enum func);
  void (*DepthMask)(std::uint8_t flag);
  void (*ClearColor)(float r, float g, float b, float a);
  void (*ClearDepth)(double depth);
  void (*Clear)(std::uint32_t mask);
  void (*GenTextures)(std::int32_t n, std::uint32_t* names);
  void (*DeleteTextures)(std::int32_t n, const std::uint32_t* names);
  void (*BindTexture)(Enum target, std::uint32_t name);
  void (*TexImage2D)(Enum target, std::int32_t level, std::int32_t internalFormat, std::int32_t width,
                     std::int32_t height, std::int32_t border, Enum format, Enum type, const void* pixels);
  void (*TexParameteri)(Enum target, Enum pname, std::int32_t param);
  void (*TexEnvi)(Enum target, Enum pname, std::int32_t param);
  void (*ReadPixels)(std::int32_t x, std::int32_t y, std::int32_t w, std::int32_t h, Enum format, Enum type,
                     void* pixels);
  const std::uint8_t* (*GetString)(Enum name);
};

inline constexpr Enum kTriangles = 4, kTriangleStrip = 5, kTriangleFan = 6, kQuads = 7;
inline constexpr Enum kTexture2D = 0x0DE1, kBlend = 0x0BE2, kDepthTest = 0x0B71, kAlphaTest = 0x0BC0;
inline constexpr Enum kZero = 0, kOne = 1, kSrcColor = 0x0300, kSrcAlpha = 0x0302, kOneMinusSrcAlpha = 0x0303;
inline constexpr Enum kLess = 0x0201, kLequal = 0x0203, kGreater = 0x0204;
inline constexpr Enum kModelview = 0x1700, kProjection = 0x1701;
inline constexpr Enum kNearest = 0x2600, kLinear = 0x2601, kLinearMipmapLinear = 0x2703;
inline constexpr Enum kMagFilter = 0x2800, kMinFilter = 0x2801, kWrapS = 0x2802, kWrapT = 0x2803;
inline constexpr Enum kRepeat = 0x2901, kClampToEdge = 0x812F;
inline constexpr Enum kRgba = 0x1908, kBgra = 0x80E1, kUnsignedByte = 0x1401;
inline constexpr std::uint32_t kColorBit = 0x4000, kDepthBit = 0x100;

}  // namespace bench
