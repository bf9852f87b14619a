// Names of GL constants. Those the driver acts on come from its own list, the others are what programs pass in calls
// that the driver only records.
#include "tlr2_replay/gl_names.h"

#include <algorithm>
#include <iterator>

#include "base/gl.h"
#include "tlr2_replay/console.h"

namespace tlr2::tool {
namespace {

struct Named {
  std::uint32_t value;
  const char* name;
};

constexpr Named kPrimitives[] = {
    {gl::kPoints, "GL_POINTS"},
    {gl::kLines, "GL_LINES"},
    {gl::kLineLoop, "GL_LINE_LOOP"},
    {gl::kLineStrip, "GL_LINE_STRIP"},
    {gl::kTriangles, "GL_TRIANGLES"},
    {gl::kTriangleStrip, "GL_TRIANGLE_STRIP"},
    {gl::kTriangleFan, "GL_TRIANGLE_FAN"},
    {gl::kQuads, "GL_QUADS"},
    {gl::kQuadStrip, "GL_QUAD_STRIP"},
    {gl::kPolygon, "GL_POLYGON"},
};

constexpr Named kFactors[] = {
    {gl::kZero, "GL_ZERO"},
    {gl::kOne, "GL_ONE"},
    {gl::kSrcColor, "GL_SRC_COLOR"},
    {gl::kOneMinusSrcColor, "GL_ONE_MINUS_SRC_COLOR"},
    {gl::kSrcAlpha, "GL_SRC_ALPHA"},
    {gl::kOneMinusSrcAlpha, "GL_ONE_MINUS_SRC_ALPHA"},
    {0x0304, "GL_DST_ALPHA"},
    {0x0305, "GL_ONE_MINUS_DST_ALPHA"},
    {0x0306, "GL_DST_COLOR"},
    {0x0307, "GL_ONE_MINUS_DST_COLOR"},
    {0x0308, "GL_SRC_ALPHA_SATURATE"},
};

constexpr Named kOthers[] = {
    {gl::kNever, "GL_NEVER"},
    {gl::kLess, "GL_LESS"},
    {gl::kEqual, "GL_EQUAL"},
    {gl::kLequal, "GL_LEQUAL"},
    {gl::kGreater, "GL_GREATER"},
    {gl::kNotequal, "GL_NOTEQUAL"},
    {gl::kGequal, "GL_GEQUAL"},
    {gl::kAlways, "GL_ALWAYS"},
    {gl::kFront, "GL_FRONT"},
    {gl::kBack, "GL_BACK"},
    {gl::kFrontAndBack, "GL_FRONT_AND_BACK"},
    {gl::kCw, "GL_CW"},
    {gl::kCcw, "GL_CCW"},
    {gl::kCullFace, "GL_CULL_FACE"},
    {gl::kDepthTest, "GL_DEPTH_TEST"},
    {gl::kAlphaTest, "GL_ALPHA_TEST"},
    {gl::kBlend, "GL_BLEND"},
    {gl::kTexture2D, "GL_TEXTURE_2D"},
    {0x0B10, "GL_POINT_SMOOTH"},
    {0x0B20, "GL_LINE_SMOOTH"},
    {0x0B24, "GL_LINE_STIPPLE"},
    {0x0B41, "GL_POLYGON_SMOOTH"},
    {0x0B42, "GL_POLYGON_STIPPLE"},
    {0x0B50, "GL_LIGHTING"},
    {0x0B57, "GL_COLOR_MATERIAL"},
    {0x0B60, "GL_FOG"},
    {0x0B90, "GL_STENCIL_TEST"},
    {0x0BA1, "GL_NORMALIZE"},
    {0x0BD0, "GL_DITHER"},
    {0x0BF1, "GL_INDEX_LOGIC_OP"},
    {0x0BF2, "GL_COLOR_LOGIC_OP"},
    {0x0C11, "GL_SCISSOR_TEST"},
    {0x0C60, "GL_TEXTURE_GEN_S"},
    {0x0C61, "GL_TEXTURE_GEN_T"},
    {0x0C62, "GL_TEXTURE_GEN_R"},
    {0x0C63, "GL_TEXTURE_GEN_Q"},
    {0x0D80, "GL_AUTO_NORMAL"},
    {0x0DE0, "GL_TEXTURE_1D"},
    {0x2A01, "GL_POLYGON_OFFSET_POINT"},
    {0x2A02, "GL_POLYGON_OFFSET_LINE"},
    {0x8037, "GL_POLYGON_OFFSET_FILL"},
    {0x3000, "GL_CLIP_PLANE0"},
    {0x3001, "GL_CLIP_PLANE1"},
    {0x3002, "GL_CLIP_PLANE2"},
    {0x3003, "GL_CLIP_PLANE3"},
    {0x3004, "GL_CLIP_PLANE4"},
    {0x3005, "GL_CLIP_PLANE5"},
    {0x4000, "GL_LIGHT0"},
    {0x4001, "GL_LIGHT1"},
    {0x4002, "GL_LIGHT2"},
    {0x4003, "GL_LIGHT3"},
    {0x4004, "GL_LIGHT4"},
    {0x4005, "GL_LIGHT5"},
    {0x4006, "GL_LIGHT6"},
    {0x4007, "GL_LIGHT7"},
    {0x8074, "GL_VERTEX_ARRAY"},
    {0x8075, "GL_NORMAL_ARRAY"},
    {0x8076, "GL_COLOR_ARRAY"},
    {0x8078, "GL_TEXTURE_COORD_ARRAY"},
    {0x0CF0, "GL_UNPACK_SWAP_BYTES"},
    {0x0CF1, "GL_UNPACK_LSB_FIRST"},
    {0x0CF2, "GL_UNPACK_ROW_LENGTH"},
    {0x0CF3, "GL_UNPACK_SKIP_ROWS"},
    {0x0CF4, "GL_UNPACK_SKIP_PIXELS"},
    {0x0CF5, "GL_UNPACK_ALIGNMENT"},
    {0x0D00, "GL_PACK_SWAP_BYTES"},
    {0x0D01, "GL_PACK_LSB_FIRST"},
    {0x0D02, "GL_PACK_ROW_LENGTH"},
    {0x0D03, "GL_PACK_SKIP_ROWS"},
    {0x0D04, "GL_PACK_SKIP_PIXELS"},
    {0x0D05, "GL_PACK_ALIGNMENT"},
    {gl::kModelview, "GL_MODELVIEW"},
    {gl::kProjection, "GL_PROJECTION"},
    {gl::kTexture, "GL_TEXTURE"},
    {0x1800, "GL_COLOR"},
    {0x1400, "GL_BYTE"},
    {gl::kUnsignedByte, "GL_UNSIGNED_BYTE"},
    {0x1402, "GL_SHORT"},
    {0x1403, "GL_UNSIGNED_SHORT"},
    {0x1404, "GL_INT"},
    {0x1405, "GL_UNSIGNED_INT"},
    {0x1406, "GL_FLOAT"},
    {0x140A, "GL_DOUBLE"},
    {0x1A00, "GL_BITMAP"},
    {0x1900, "GL_COLOR_INDEX"},
    {0x1901, "GL_STENCIL_INDEX"},
    {0x1902, "GL_DEPTH_COMPONENT"},
    {0x1903, "GL_RED"},
    {0x1904, "GL_GREEN"},
    {0x1905, "GL_BLUE"},
    {gl::kAlpha, "GL_ALPHA"},
    {gl::kRgb, "GL_RGB"},
    {gl::kRgba, "GL_RGBA"},
    {gl::kLuminance, "GL_LUMINANCE"},
    {gl::kLuminanceAlpha, "GL_LUMINANCE_ALPHA"},
    {gl::kBgr, "GL_BGR"},
    {gl::kBgra, "GL_BGRA"},
    {0x2A10, "GL_R3_G3_B2"},
    {0x803B, "GL_ALPHA4"},
    {0x803C, "GL_ALPHA8"},
    {0x803F, "GL_LUMINANCE4"},
    {0x8040, "GL_LUMINANCE8"},
    {0x8043, "GL_LUMINANCE4_ALPHA4"},
    {0x8045, "GL_LUMINANCE8_ALPHA8"},
    {0x8049, "GL_INTENSITY"},
    {0x804B, "GL_INTENSITY8"},
    {0x804F, "GL_RGB4"},
    {0x8050, "GL_RGB5"},
    {0x8051, "GL_RGB8"},
    {0x8054, "GL_RGB16"},
    {0x8055, "GL_RGBA2"},
    {0x8056, "GL_RGBA4"},
    {0x8057, "GL_RGB5_A1"},
    {0x8058, "GL_RGBA8"},
    {0x8059, "GL_RGB10_A2"},
    {0x805B, "GL_RGBA16"},
    {gl::kTextureEnv, "GL_TEXTURE_ENV"},
    {gl::kTextureEnvMode, "GL_TEXTURE_ENV_MODE"},
    {gl::kTextureEnvColor, "GL_TEXTURE_ENV_COLOR"},
    {gl::kModulate, "GL_MODULATE"},
    {gl::kDecal, "GL_DECAL"},
    {gl::kReplace, "GL_REPLACE"},
    {0x0104, "GL_ADD"},
    {gl::kNearest, "GL_NEAREST"},
    {gl::kLinear, "GL_LINEAR"},
    {gl::kNearestMipmapNearest, "GL_NEAREST_MIPMAP_NEAREST"},
    {gl::kLinearMipmapNearest, "GL_LINEAR_MIPMAP_NEAREST"},
    {gl::kNearestMipmapLinear, "GL_NEAREST_MIPMAP_LINEAR"},
    {gl::kLinearMipmapLinear, "GL_LINEAR_MIPMAP_LINEAR"},
    {gl::kTextureMagFilter, "GL_TEXTURE_MAG_FILTER"},
    {gl::kTextureMinFilter, "GL_TEXTURE_MIN_FILTER"},
    {gl::kTextureWrapS, "GL_TEXTURE_WRAP_S"},
    {gl::kTextureWrapT, "GL_TEXTURE_WRAP_T"},
    {0x1004, "GL_TEXTURE_BORDER_COLOR"},
    {0x8066, "GL_TEXTURE_PRIORITY"},
    {gl::kClamp, "GL_CLAMP"},
    {gl::kRepeat, "GL_REPEAT"},
    {gl::kClampToBorder, "GL_CLAMP_TO_BORDER"},
    {gl::kClampToEdge, "GL_CLAMP_TO_EDGE"},
    {0x1B00, "GL_POINT"},
    {0x1B01, "GL_LINE"},
    {0x1B02, "GL_FILL"},
    {0x1D00, "GL_FLAT"},
    {0x1D01, "GL_SMOOTH"},
    {0x84C0, "GL_TEXTURE0_ARB"},
    {0x84C1, "GL_TEXTURE1_ARB"},
    {0x84C2, "GL_TEXTURE2_ARB"},
    {0x84C3, "GL_TEXTURE3_ARB"},
};

const char* Find(const Named* first, const Named* last, std::uint32_t value) noexcept {
  const Named* found = std::find_if(first, last, [value](const Named& named) { return named.value == value; });
  return found == last ? nullptr : found->name;
}

}  // namespace

std::string GlName(std::uint32_t value, NameGroup group) {
  const char* name = nullptr;
  switch (group) {
    case NameGroup::kPrimitive:
      name = Find(std::begin(kPrimitives), std::end(kPrimitives), value);
      break;
    case NameGroup::kBlendFactor:
      name = Find(std::begin(kFactors), std::end(kFactors), value);
      break;
    case NameGroup::kAny:
      name = Find(std::begin(kOthers), std::end(kOthers), value);
      break;
  }
  return name != nullptr ? name : Format("0x%04X", static_cast<unsigned>(value));
}

std::string GlClearMask(std::uint32_t mask) {
  constexpr Named kBits[] = {{gl::kColorBufferBit, "GL_COLOR_BUFFER_BIT"},
                             {gl::kDepthBufferBit, "GL_DEPTH_BUFFER_BIT"},
                             {gl::kStencilBufferBit, "GL_STENCIL_BUFFER_BIT"},
                             {0x200, "GL_ACCUM_BUFFER_BIT"}};
  std::string text;
  for (const Named& bit : kBits) {
    if ((mask & bit.value) == 0) continue;
    text += (text.empty() ? "" : "|") + std::string(bit.name);
    mask &= ~bit.value;
  }
  if (mask != 0) text += (text.empty() ? "" : "|") + Format("0x%X", static_cast<unsigned>(mask));
  return text.empty() ? "0" : text;
}

}  // namespace tlr2::tool
