// The scene as records: a textured floor, blended and alpha-tested walls, smooth triangles, each environment and
// filter.
#include "tlr2_replay/selftest_scene.h"

#include "api/state/driver_state.h"
#include "api/table/commands.h"
#include "base/gl.h"

namespace tlr2::tool {
namespace {

constexpr std::int32_t kWidth = 203, kHeight = 149;  // neither a multiple of a tile
constexpr std::int32_t kTextureSize = 64;

struct Writer {
  CommandStream stream;

  template <typename Record>
  void Add(const Record& record) {
    AppendRecord(stream, record);
  }
  void Color(std::uint32_t color) { Add(CmdColor{.color = color}); }
  void Vertex(float s, float t, float x, float y, float z) {
    Add(CmdTexCoord2f{.s = s, .t = t});
    Add(CmdVertex3f{.x = x, .y = y, .z = z});
  }
  void Enable(GLenum capability, bool on) {
    if (on) {
      Add(CmdEnable{.cap = capability});
    } else {
      Add(CmdDisable{.cap = capability});
    }
  }
  void Identity(GLenum mode) {
    Add(CmdMatrixMode{.mode = mode});
    Add(CmdLoadIdentity{});
  }
};

void AddTexture(Writer& out, GLenum minFilter, GLenum magFilter, std::uint32_t seed) {
  std::uint32_t texels[kTextureSize * kTextureSize];
  for (std::int32_t y = 0; y < kTextureSize; ++y) {
    for (std::int32_t x = 0; x < kTextureSize; ++x) {
      seed = seed * 1664525u + 1013904223u;
      const std::uint32_t grain = seed >> 27;
      const bool light = (x / 8 + y / 8) % 2 == 0;
      const std::uint32_t level = (light ? 180u : 60u) + grain;
      const std::uint32_t alpha = (x - 32) * (x - 32) + (y - 32) * (y - 32) < 700 ? 255u : 90u;
      texels[y * kTextureSize + x] = alpha << 24 | level << 16 | (level / 2 + 60) << 8 | (light ? 40u : 120u);
    }
  }
  out.Add(CmdTexParameteri{
      .target = gl::kTexture2D, .pname = gl::kTextureMinFilter, .param = static_cast<GLint>(minFilter)});
  out.Add(CmdTexParameteri{
      .target = gl::kTexture2D, .pname = gl::kTextureMagFilter, .param = static_cast<GLint>(magFilter)});
  const std::uint64_t offset = BlobAppend(out.stream, texels, sizeof texels);
  out.Add(CmdTexImage2D{.target = gl::kTexture2D,
                        .internalformat = static_cast<GLint>(gl::kRgba),
                        .width = kTextureSize,
                        .height = kTextureSize,
                        .format = gl::kBgra,
                        .type = gl::kUnsignedByte,
                        .blobOffset = offset,
                        .blobSize = sizeof texels});
}

void AddTextures(Writer& out) {
  constexpr GLenum kFilters[][2] = {
      {gl::kNearest, gl::kNearest}, {gl::kLinear, gl::kLinear}, {gl::kLinearMipmapLinear, gl::kLinear}};
  out.Add(CmdGenTextures{.n = 3});
  for (std::uint32_t i = 0; i < 3; ++i) {
    out.Add(CmdBindTexture{.target = gl::kTexture2D, .name = i + 1});
    AddTexture(out, kFilters[i][0], kFilters[i][1], i + 7);
  }
}

void AddFloor(Writer& out) {
  out.Color(0xFFFFFFFFu);
  out.Add(CmdBegin{.mode = gl::kTriangleStrip});
  out.Vertex(0, 0, -9, -1, 1.5f);
  out.Vertex(18, 0, 9, -1, 1.5f);
  out.Vertex(0, 18, -9, -1, -16);
  out.Vertex(18, 18, 9, -1, -16);
  out.Add(CmdEnd{});
}

void AddWall(Writer& out, float x, float z, float width) {
  out.Add(CmdBegin{.mode = gl::kQuads});
  out.Color(0xC0FF8040u);
  out.Vertex(0, 0, x, -1, z);
  out.Color(0x6040C0FFu);
  out.Vertex(1, 0, x + width, -1, z - 1);
  out.Color(0xFFFFFFFFu);
  out.Vertex(1, 1, x + width, 1.2f, z - 1);
  out.Color(0xA0208020u);
  out.Vertex(0, 1, x, 1.2f, z);
  out.Add(CmdEnd{});
}

CommandStream MakeFrame(std::uint32_t frame) {
  const float turn = static_cast<float>(frame);
  Writer out;
  if (frame == 0) {
    out.Add(CmdViewport{.width = kWidth, .height = kHeight});
    AddTextures(out);
  }
  out.Add(CmdClearColor{.red = 0.2f, .green = 0.3f, .blue = 0.45f, .alpha = 1});
  out.Add(CmdClear{.mask = gl::kColorBufferBit | gl::kDepthBufferBit});
  out.Identity(gl::kProjection);
  out.Add(CmdFrustum{.left = -1, .right = 1, .bottom = -0.75f, .top = 0.75f, .zNear = 1, .zFar = 40});
  out.Identity(gl::kModelview);
  out.Add(CmdRotatef{.angle = 9 * turn, .x = 0, .y = 1, .z = 0.2f});
  out.Add(CmdTranslatef{.x = 0.1f * turn, .y = 0, .z = -2});
  out.Enable(gl::kDepthTest, true);
  out.Add(CmdDepthFunc{.func = gl::kLequal});
  out.Enable(gl::kTexture2D, true);
  out.Add(CmdBindTexture{.target = gl::kTexture2D, .name = 3});
  AddFloor(out);

  constexpr GLenum kEnvironments[] = {gl::kModulate, gl::kReplace, gl::kDecal, gl::kBlend};
  for (std::uint32_t i = 0; i < 4; ++i) {
    out.Add(CmdBindTexture{.target = gl::kTexture2D, .name = 1 + (i + frame) % 3});
    out.Add(CmdTexEnvi{
        .target = gl::kTextureEnv, .pname = gl::kTextureEnvMode, .param = static_cast<GLint>(kEnvironments[i])});
    AddWall(out, -3.0f + 1.5f * static_cast<float>(i), -2.5f - 0.7f * static_cast<float>(i), 1.6f);
  }
  out.Add(
      CmdTexEnvi{.target = gl::kTextureEnv, .pname = gl::kTextureEnvMode, .param = static_cast<GLint>(gl::kModulate)});
  out.Enable(gl::kAlphaTest, true);
  out.Add(CmdAlphaFunc{.func = gl::kGreater, .ref = 0.5f});
  AddWall(out, -1.2f, -1.4f, 0.9f);
  out.Enable(gl::kAlphaTest, false);

  constexpr GLenum kBlends[][2] = {
      {gl::kSrcAlpha, gl::kOneMinusSrcAlpha}, {gl::kOne, gl::kOne}, {gl::kZero, gl::kSrcColor}};
  out.Enable(gl::kBlend, true);
  out.Add(CmdDepthMask{.flag = 0});
  for (std::uint32_t i = 0; i < 3; ++i) {
    out.Add(CmdBlendFunc{.sfactor = kBlends[i][0], .dfactor = kBlends[i][1]});
    AddWall(out, -0.6f + 0.5f * static_cast<float>(i), -1.0f - 0.2f * static_cast<float>(i), 0.7f);
  }
  out.Add(CmdDepthMask{.flag = 1});
  out.Enable(gl::kBlend, false);
  out.Enable(gl::kTexture2D, false);
  out.Add(CmdBegin{.mode = gl::kTriangleFan});
  constexpr std::uint32_t kColors[] = {0xFFFFFFFFu, 0xFFFF2020u, 0xFF20FF20u, 0xFF2020FFu, 0xFFFFFF20u};
  constexpr float kCorners[][2] = {{0, 0.5f}, {-0.5f, 0.3f}, {-0.3f, 0.9f}, {0.3f, 1.0f}, {0.5f, 0.2f}};
  for (std::uint32_t i = 0; i < 5; ++i) {
    out.Color(kColors[i]);
    out.Vertex(0, 0, kCorners[i][0], kCorners[i][1], -1.2f - 0.3f * static_cast<float>(i));
  }
  out.Add(CmdEnd{});
  out.Add(CmdSwapBuffers{});
  return std::move(out.stream);
}

}  // namespace

CaptureContents MakeSelftestCapture() {
  CaptureContents capture;
  capture.width = kWidth;
  capture.height = kHeight;
  SnapshotFromState(DriverState{}, capture.snapshot);
  for (std::uint32_t frame = 0; frame < kSelftestFrames; ++frame) {
    CommandStream stream = MakeFrame(frame);
    capture.streamBytes += stream.bytes.size();
    capture.frameBlobBytes += stream.blob.size();
    capture.streams.push_back(std::move(stream.bytes));
    capture.blobs.push_back(std::move(stream.blob));
    capture.references.emplace_back();
  }
  return capture;
}

}  // namespace tlr2::tool
