// The walk that executes a frame's records a second time and turns each glBegin/glEnd pair into a packet. It is safe on
// any bytes: captures come from files.
#include <cstring>
#include <iterator>
#include <type_traits>
#include <vector>

#include "api/state/effects.h"
#include "api/table/commands.h"
#include "frame/emission.h"
#include "frame/replay.h"
#include "frame/surface_cover.h"
#include "platform/clock.h"
#include "platform/thread_block.h"
#include "settings/stage_counters.h"
#include "textures/texture_ops.h"
#include "tiles/grid/grid.h"

namespace tlr2 {
namespace {

constexpr int kInterpreterStage = 1;

struct WalkCounts {
  std::uint64_t records = 0;
  std::uint64_t vertices = 0;
  std::uint64_t payloadBytes = 0;
  std::size_t images = 0;  // of the stream's converted images, those that the walk has passed
};

/// Part of the blob that a record names, or null when it does not lie in the blob whole: then the record acts as one
/// whose call had no data.
const std::uint8_t* BlobRange(const CommandStream& stream, std::uint64_t offset, std::uint64_t size) noexcept {
  const std::uint64_t total = stream.blob.size();
  if (size == 0 || offset > total || size > total - offset) return nullptr;
  return stream.blob.data() + offset;
}

/// The image that the entry made of the record's pixels, or null.
const ConvertedImage* ConvertedOf(const CommandStream& stream, const CmdTexImage2D& r, WalkCounts& counts) noexcept {
  const std::vector<ConvertedImage>& images = stream.images;
  while (counts.images < images.size() && images[counts.images].blobOffset < r.blobOffset) ++counts.images;
  if (counts.images == images.size()) return nullptr;
  const ConvertedImage& image = images[counts.images];
  const bool same = image.blobOffset == r.blobOffset && image.blobSize == r.blobSize && image.hash == r.hash &&
                    image.width == r.width && image.height == r.height && image.format == r.format &&
                    image.type == r.type;
  return same ? &image : nullptr;
}

/// For records of files: a damaged capture would take the memory of a 32-bit process for its names, which holds the
/// table twice while it grows. Such a record gets the names that are free and as many new ones as fill the table up to
/// here, like a call that asked for fewer.
constexpr std::size_t kGeneratedNameLimit = std::size_t{1} << 18;

void GenerateTextures(DriverState& state, GLsizei n, bool fromCalls) {
  if (n < 1) return;
  if (fromCalls) return AllocateTextureNames(state, n, nullptr, Touch::kSkip);
  const std::vector<TextureObject>& table = state.textureTable;
  auto wanted = static_cast<std::size_t>(n);
  const std::size_t present = table.empty() ? 1 : table.size();  // slot 0 comes into being with the first name
  std::size_t available = present < kGeneratedNameLimit ? kGeneratedNameLimit - present : 0;
  if (wanted > available) [[unlikely]] {
    for (const TextureObject& object : table) available += object.inUse == 0 ? 1 : 0;
    if (wanted > available) wanted = available;
  }
  AllocateTextureNames(state, static_cast<GLsizei>(wanted), nullptr, Touch::kSkip);
}

void DeleteRecordedTextures(DriverState& state, const CommandStream& stream, const CmdDeleteTextures& record) {
  const std::uint64_t size = record.blobSize;
  const std::uint8_t* source = BlobRange(stream, record.blobOffset, size);
  if (source == nullptr || record.n < 1) return;
  const std::uint64_t stored = size / sizeof(std::uint32_t);
  std::uint64_t left = static_cast<std::uint64_t>(record.n) < stored ? static_cast<std::uint64_t>(record.n) : stored;
  // By way of aligned storage: a blob offset need not be a multiple of four.
  std::uint32_t names[256];
  while (left != 0) {
    const std::uint64_t count = left < std::size(names) ? left : std::size(names);
    std::memcpy(names, source, static_cast<std::size_t>(count) * sizeof names[0]);
    DeleteTextures(state, static_cast<GLsizei>(count), names, Touch::kSkip);
    source += count * sizeof names[0];
    left -= count;
  }
}

void ReplayViewport(DriverState& state, const CmdViewport& record) {
  effect::StoreViewport(state, record.x, record.y, record.width, record.height);
  // The replay thread has no context: there the call itself has asked the surface already.
  if (ContextRecord* context = CurrentThreadGuard().currentContext; context != nullptr) [[unlikely]] {
    if (const SurfaceCoverFn cover = SurfaceCover(); cover != nullptr) cover(context, record.width, record.height);
  }
  CoverViewport(state, record.width, record.height);
}

/// Executes one record that is not the frame's end.
void Execute(DriverState& state, const CommandStream& stream, std::uint32_t id, const std::uint8_t* at,
             std::size_t size, WalkCounts& counts) {
  const auto read = [at, size]<typename Record>(std::type_identity<Record>) { return ReadRecord<Record>(at, size); };
#define TLR2_READ(name) const auto r = read(std::type_identity<Cmd##name>{})
  switch (static_cast<Cmd>(id)) {
    case Cmd::MatrixMode: {
      TLR2_READ(MatrixMode);
      effect::MatrixMode(state, r.mode);
      break;
    }
    case Cmd::LoadIdentity:
      effect::LoadIdentity(state);
      break;
    case Cmd::LoadMatrixf: {
      TLR2_READ(LoadMatrixf);
      effect::LoadMatrix(state, r.m);
      break;
    }
    case Cmd::MultMatrixf: {
      TLR2_READ(MultMatrixf);
      effect::MultMatrix(state, r.m);
      break;
    }
    case Cmd::PushMatrix:
      effect::PushMatrix(state);
      break;
    case Cmd::PopMatrix:
      effect::PopMatrix(state);
      break;
    case Cmd::Translatef: {
      TLR2_READ(Translatef);
      effect::Translate(state, r.x, r.y, r.z);
      break;
    }
    case Cmd::Rotatef: {
      TLR2_READ(Rotatef);
      effect::Rotate(state, r.angle, r.x, r.y, r.z);
      break;
    }
    case Cmd::Scalef: {
      TLR2_READ(Scalef);
      effect::Scale(state, r.x, r.y, r.z);
      break;
    }
    case Cmd::Ortho: {
      TLR2_READ(Ortho);
      effect::Ortho(state, r.left, r.right, r.bottom, r.top, r.zNear, r.zFar);
      break;
    }
    case Cmd::Frustum: {
      TLR2_READ(Frustum);
      effect::Frustum(state, r.left, r.right, r.bottom, r.top, r.zNear, r.zFar);
      break;
    }
    case Cmd::Viewport: {
      TLR2_READ(Viewport);
      ReplayViewport(state, r);
      break;
    }
    case Cmd::DepthRange: {
      TLR2_READ(DepthRange);
      effect::DepthRange(state, r.zNear, r.zFar);
      break;
    }
    case Cmd::Enable: {
      TLR2_READ(Enable);
      effect::SetCapability(state, r.cap, true);
      break;
    }
    case Cmd::Disable: {
      TLR2_READ(Disable);
      effect::SetCapability(state, r.cap, false);
      break;
    }
    case Cmd::BlendFunc: {
      TLR2_READ(BlendFunc);
      effect::BlendFunc(state, r.sfactor, r.dfactor);
      break;
    }
    case Cmd::AlphaFunc: {
      TLR2_READ(AlphaFunc);
      effect::AlphaFunc(state, r.func, r.ref);
      break;
    }
    case Cmd::DepthFunc: {
      TLR2_READ(DepthFunc);
      effect::DepthFunc(state, r.func);
      break;
    }
    case Cmd::DepthMask: {
      TLR2_READ(DepthMask);
      effect::DepthMask(state, r.flag);
      break;
    }
    case Cmd::TexEnvi: {
      TLR2_READ(TexEnvi);
      effect::TexEnvi(state, r.target, r.pname, r.param);
      break;
    }
    case Cmd::TexEnvfv: {
      TLR2_READ(TexEnvfv);
      effect::TexEnvfv(state, r.target, r.pname, r.params);
      break;
    }
    case Cmd::TexParameteri: {
      TLR2_READ(TexParameteri);
      SetTextureParameter(state, r.target, r.pname, r.param, Touch::kSkip);
      break;
    }
    case Cmd::CullFace: {
      TLR2_READ(CullFace);
      effect::CullFace(state, r.mode);
      break;
    }
    case Cmd::FrontFace: {
      TLR2_READ(FrontFace);
      effect::FrontFace(state, r.mode);
      break;
    }
    case Cmd::GenTextures: {
      TLR2_READ(GenTextures);
      GenerateTextures(state, r.n, stream.fromCalls);
      break;
    }
    case Cmd::DeleteTextures: {
      TLR2_READ(DeleteTextures);
      DeleteRecordedTextures(state, stream, r);
      break;
    }
    case Cmd::BindTexture: {
      TLR2_READ(BindTexture);
      BindTexture(state, r.target, r.name, Touch::kSkip);
      break;
    }
    case Cmd::TexImage2D: {
      TLR2_READ(TexImage2D);
      counts.payloadBytes += r.blobSize;
      const std::uint8_t* payload = BlobRange(stream, r.blobOffset, r.blobSize);
      if (const ConvertedImage* image = ConvertedOf(stream, r, counts); image != nullptr && payload != nullptr) {
        UploadConvertedImage(state, r.target, r.level, *image);
        break;
      }
      UploadImage(state, r.target, r.level, r.width, r.height, r.format, r.type, payload,
                  payload == nullptr ? 0 : static_cast<std::uint64_t>(r.blobSize), Touch::kSkip);
      break;
    }
    case Cmd::TexSubImage2D: {
      TLR2_READ(TexSubImage2D);
      counts.payloadBytes += r.blobSize;
      const std::uint8_t* payload = BlobRange(stream, r.blobOffset, r.blobSize);
      UploadSubImage(state, r.target, r.level, r.xoffset, r.yoffset, r.width, r.height, r.format, r.type, payload,
                     payload == nullptr ? 0 : static_cast<std::uint64_t>(r.blobSize), Touch::kSkip);
      break;
    }
    case Cmd::Color: {
      TLR2_READ(Color);
      effect::Color(state, r.color);
      break;
    }
    case Cmd::TexCoord2f: {
      TLR2_READ(TexCoord2f);
      effect::TexCoord(state, r.s, r.t);
      break;
    }
    case Cmd::Vertex2f: {
      TLR2_READ(Vertex2f);
      effect::Vertex(state, r.x, r.y, 0.0f);
      ++counts.vertices;
      break;
    }
    case Cmd::Vertex3f: {
      TLR2_READ(Vertex3f);
      effect::Vertex(state, r.x, r.y, r.z);
      ++counts.vertices;
      break;
    }
    case Cmd::ClearColor: {
      TLR2_READ(ClearColor);
      effect::ClearColor(state, r.red, r.green, r.blue, r.alpha);
      break;
    }
    case Cmd::ClearDepth: {
      TLR2_READ(ClearDepth);
      effect::ClearDepth(state, r.depth);
      break;
    }
    case Cmd::Clear: {
      TLR2_READ(Clear);
      effect::Clear(state, r.mask);
      break;
    }
    case Cmd::Begin: {
      TLR2_READ(Begin);
      effect::Begin(state, r.mode);
      break;
    }
    case Cmd::End:
      FlushPrimitive();
      effect::EndPrimitive(state);
      break;
    default:
      break;  // recorded for the capture alone
  }
#undef TLR2_READ
}

/// The walk over a stream's records.
class Walk {
 public:
  Walk(DriverState& state, const CommandStream& stream) noexcept
      : state_(state), stream_(stream), at_(stream.bytes.data()), end_(at_ + stream.bytes.size()) {}

  /// True when the walk came to the frame's end or the buffer's; false at a malformed record.
  bool Run() {
    for (;;) {
      FusedRun();
      if (at_ == end_) return true;
      if (Left() < kCmdHeaderBytes) return false;
      const std::uint32_t header = ReadCmdHeader(at_);
      const std::size_t size = CmdHeaderSize(header);
      if (size < kCmdHeaderBytes || size > Left()) return false;
      ++counts_.records;
      if (CmdHeaderId(header) == static_cast<std::uint32_t>(Cmd::SwapBuffers)) return true;
      Execute(state_, stream_, CmdHeaderId(header), at_, size, counts_);
      at_ += size;
    }
  }

  const WalkCounts& counts() const noexcept { return counts_; }

 private:
  template <typename Record>
  static constexpr std::uint32_t kHeader = PackCmdHeader(Record::kId, Record::kBytes);

  std::size_t Left() const noexcept { return static_cast<std::size_t>(end_ - at_); }

  /// Texture coordinates, colours and vertices for as long as they follow each other, with the current attributes in
  /// registers. Only records of exactly their layout's size, which one comparison of the header tells; all others, and
  /// a vertex for which the vector must grow, take a turn of their own with the same result.
  void FusedRun() {
    constexpr std::size_t kLongest = CmdVertex3f::kBytes;
    VertexVector& vertices = state_.vertices;
    PacketVertex* out = vertices.end();
    const PacketVertex* const limit = vertices.data() + vertices.capacity();
    std::uint32_t color = state_.currentColor;
    float s = state_.currentS, t = state_.currentT;
    const std::uint8_t* at = at_;
    std::size_t records = 0;
    while (static_cast<std::size_t>(end_ - at) >= kLongest) {
      const std::uint32_t header = ReadCmdHeader(at);
      if (header == kHeader<CmdVertex3f>) {
        if (out == limit) break;
        std::memcpy(&out->x, at + 4, 3 * sizeof(float));
        out->color = color;
        out->s = s;
        out->t = t;
        ++out;
        at += CmdVertex3f::kBytes;
      } else if (header == kHeader<CmdTexCoord2f>) {
        std::memcpy(&s, at + 4, sizeof s);
        std::memcpy(&t, at + 8, sizeof t);
        at += CmdTexCoord2f::kBytes;
      } else if (header == kHeader<CmdColor>) {
        std::memcpy(&color, at + 4, sizeof color);
        at += CmdColor::kBytes;
      } else if (header == kHeader<CmdVertex2f>) {
        if (out == limit) break;
        std::memcpy(&out->x, at + 4, 2 * sizeof(float));
        out->z = 0.0f;
        out->color = color;
        out->s = s;
        out->t = t;
        ++out;
        at += CmdVertex2f::kBytes;
      } else {
        break;
      }
      ++records;
    }
    const auto pushed = static_cast<std::size_t>(out - vertices.end());
    vertices.GrowUninitialized(pushed);  // within the capacity: moves the end
    state_.currentColor = color;
    state_.currentS = s;
    state_.currentT = t;
    at_ = at;
    counts_.records += records;
    counts_.vertices += pushed;
  }

  DriverState& state_;
  const CommandStream& stream_;
  const std::uint8_t* at_;
  const std::uint8_t* end_;
  WalkCounts counts_;
};

}  // namespace

void FlushPrimitive() {
  DriverState& state = DriverStateInstance();
  const std::size_t count = state.vertices.size();
  // Fewer than a triangle, or points: the mode of points is the one of "none open".
  if (count < 3 || state.primitiveMode == 0) return;
  const std::int64_t start = TicksNow();

  const std::size_t first = state.packetVertices.size();
  state.packetVertices.append(state.vertices.data(), count);
  effect::RefreshCombinedMatrix(state);

  NativePacket& packet = *state.packets.GrowUninitialized(1);
  packet.serial = state.packetSequence++;
  packet.mode = state.primitiveMode;
  packet.firstVertex = static_cast<std::uint32_t>(first);
  packet.vertexCount = static_cast<std::uint32_t>(count);
  std::memcpy(packet.mvp, state.combinedMatrix, sizeof packet.mvp);
  packet.viewportX = state.viewport[0];
  packet.viewportY = state.viewport[1];
  packet.viewportW = state.viewport[2];
  packet.viewportH = state.viewport[3];
  packet.depthNear = state.depthNear;
  packet.depthFar = state.depthFar;
  packet.cullEnabled = state.cullEnabled;
  packet.cullMode = state.cullMode;
  packet.frontFace = state.frontFace;
  BuildTriangleStateTemplate(state, packet.triangleTemplate);

  state.buildStats.packetCount = state.packets.size();
  state.buildStats.packetTicks += static_cast<std::uint64_t>(TicksNow() - start);
}

void StreamInterpreter(CommandStream& stream) {
  DriverState& state = DriverStateInstance();
  const std::int64_t start = TicksNow();
  Walk walk(state, stream);
  if (!walk.Run()) return;  // a malformed record: what was built so far stands, the figures do not
  const auto elapsed = static_cast<std::uint64_t>(TicksNow() - start);
  state.buildStats.records = walk.counts().records;
  state.buildStats.vertices = walk.counts().vertices;
  state.buildStats.streamBytes = stream.bytes.size();
  state.buildStats.blobBytes = stream.blob.size();
  state.buildStats.payloadBytes = walk.counts().payloadBytes;
  state.buildStats.interpreterTicks += elapsed;
  StageAdd(kInterpreterStage, elapsed, 1);
}

}  // namespace tlr2
