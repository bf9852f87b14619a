// The GL functions that the scenes call, found by name in a library at run time, so that two libraries that export
// the same names can be timed by the same scenes.
#pragma once

#include <cstdint>

namespace bench {

using Enum = std::uint32_t;

#ifdef _WIN32
#define BENCH_CALL __stdcall
#else
#define BENCH_CALL
#endif

/// Every function a scene may use; a library fills all of them.
struct Gl {
  void(BENCH_CALL* Begin)(Enum mode);
  void(BENCH_CALL* End)();
  void(BENCH_CALL* Vertex2f)(float x, float y);
  void(BENCH_CALL* Vertex3f)(float x, float y, float z);
  void(BENCH_CALL* Color4f)(float r, float g, float b, float a);
  void(BENCH_CALL* Color4ub)(std::uint8_t r, std::uint8_t g, std::uint8_t b, std::uint8_t a);
  void(BENCH_CALL* TexCoord2f)(float s, float t);
  void(BENCH_CALL* MatrixMode)(Enum mode);
  void(BENCH_CALL* LoadIdentity)();
  void(BENCH_CALL* Frustum)(double left, double right, double bottom, double top, double nearPlane, double farPlane);
  void(BENCH_CALL* Ortho)(double left, double right, double bottom, double top, double nearPlane, double farPlane);
  void(BENCH_CALL* Translatef)(float x, float y, float z);
  void(BENCH_CALL* Rotatef)(float angle, float x, float y, float z);
  void(BENCH_CALL* PushMatrix)();
  void(BENCH_CALL* PopMatrix)();
  void(BENCH_CALL* Viewport)(std::int32_t x, std::int32_t y, std::int32_t w, std::int32_t h);
  void(BENCH_CALL* Enable)(Enum cap);
  void(BENCH_CALL* Disable)(Enum cap);
  void(BENCH_CALL* BlendFunc)(Enum source, Enum destination);
  void(BENCH_CALL* AlphaFunc)(Enum func, float reference);
  void(BENCH_CALL* DepthFunc)(Enum func);
  void(BENCH_CALL* DepthMask)(std::uint8_t flag);
  void(BENCH_CALL* ClearColor)(float r, float g, float b, float a);
  void(BENCH_CALL* ClearDepth)(double depth);
  void(BENCH_CALL* Clear)(std::uint32_t mask);
  void(BENCH_CALL* GenTextures)(std::int32_t n, std::uint32_t* names);
  void(BENCH_CALL* DeleteTextures)(std::int32_t n, const std::uint32_t* names);
  void(BENCH_CALL* BindTexture)(Enum target, std::uint32_t name);
  void(BENCH_CALL* TexImage2D)(Enum target, std::int32_t level, std::int32_t internalFormat, std::int32_t width,
                               std::int32_t height, std::int32_t border, Enum format, Enum type, const void* pixels);
  void(BENCH_CALL* TexParameteri)(Enum target, Enum pname, std::int32_t param);
  void(BENCH_CALL* TexEnvi)(Enum target, Enum pname, std::int32_t param);
  void(BENCH_CALL* ReadPixels)(std::int32_t x, std::int32_t y, std::int32_t w, std::int32_t h, Enum format, Enum type,
                               void* pixels);
  const std::uint8_t*(BENCH_CALL* GetString)(Enum name);
};

/// X(name) for each of them.
// clang-format off
#define BENCH_GL_FUNCTIONS(X) \
  X(Begin) X(End) X(Vertex2f) X(Vertex3f) X(Color4f) X(Color4ub) X(TexCoord2f) X(MatrixMode) X(LoadIdentity) \
  X(Frustum) X(Ortho) X(Translatef) X(Rotatef) X(PushMatrix) X(PopMatrix) X(Viewport) X(Enable) X(Disable) \
  X(BlendFunc) X(AlphaFunc) X(DepthFunc) X(DepthMask) X(ClearColor) X(ClearDepth) X(Clear) X(GenTextures) \
  X(DeleteTextures) X(BindTexture) X(TexImage2D) X(TexParameteri) X(TexEnvi) X(ReadPixels) X(GetString)
// clang-format on

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
