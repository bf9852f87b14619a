// Read-only walks over a stream: counting for validity, and listing the primitives for tools.
#include "api/table/commands.h"
#include "frame/replay.h"

namespace tlr2 {
namespace {

/// Record framing, shared by both walks.
class RecordCursor {
 public:
  explicit RecordCursor(const CommandStream& stream) noexcept
      : at_(stream.bytes.data()), end_(at_ + stream.bytes.size()) {}

  bool AtEnd() const noexcept { return at_ == end_; }
  /// False when no whole record stands here.
  bool Read() noexcept {
    const auto left = static_cast<std::size_t>(end_ - at_);
    if (left < kCmdHeaderBytes) return false;
    header_ = ReadCmdHeader(at_);
    return size() >= kCmdHeaderBytes && size() <= left;
  }
  void Advance() noexcept { at_ += size(); }

  std::uint32_t id() const noexcept { return CmdHeaderId(header_); }
  std::size_t size() const noexcept { return CmdHeaderSize(header_); }
  bool Is(Cmd id) const noexcept { return this->id() == static_cast<std::uint32_t>(id); }
  bool IsVertex() const noexcept { return Is(Cmd::Vertex2f) || Is(Cmd::Vertex3f); }
  template <typename Record>
  Record As() const noexcept {
    return ReadRecord<Record>(at_, size());
  }

 private:
  const std::uint8_t* at_;
  const std::uint8_t* end_;
  std::uint32_t header_ = 0;
};

bool CountRecords(const CommandStream& stream, StreamSummary& summary) noexcept {
  for (RecordCursor cursor(stream); !cursor.AtEnd(); cursor.Advance()) {
    if (!cursor.Read() || cursor.id() >= kFirstInvalidId) return false;
    ++summary.records;
    if (cursor.IsVertex()) ++summary.vertices;
    if (cursor.Is(Cmd::Begin)) ++summary.begins;
    if (cursor.Is(Cmd::SwapBuffers)) ++summary.frameEnds;
  }
  return true;
}

}  // namespace

bool ScanStream(const CommandStream& stream, StreamSummary* summary) noexcept {
  StreamSummary counted = {};
  const bool valid = CountRecords(stream, counted);
  if (valid) {
    counted.streamBytes = static_cast<std::uint32_t>(stream.bytes.size());
    counted.blobBytes = static_cast<std::uint32_t>(stream.blob.size());
  }
  if (summary != nullptr) *summary = counted;
  return valid;
}

bool ScanFrames(const CommandStream& stream, FrameIndex& index) {
  index.primitives.clear();
  index.vertexTotal = 0;
  index.nextSerial = stream.baseSequence;
  index.wellFormed = true;

  FrameIndexEntry open = {};
  bool isOpen = false;
  for (RecordCursor cursor(stream); !cursor.AtEnd(); cursor.Advance()) {
    if (!cursor.Read()) return false;
    if (cursor.Is(Cmd::Begin)) {
      if (isOpen) index.wellFormed = false;  // the open one is forgotten
      open = {index.nextSerial++, cursor.As<CmdBegin>().mode, index.vertexTotal, 0};
      isOpen = true;
    } else if (cursor.IsVertex()) {
      if (isOpen) {
        ++open.vertexCount;
        ++index.vertexTotal;
      }
    } else if (cursor.Is(Cmd::End)) {
      if (isOpen) {
        index.primitives.push_back(open);
      } else {
        index.wellFormed = false;
      }
      isOpen = false;
    } else if (cursor.Is(Cmd::SwapBuffers)) {
      break;
    }
  }
  // Id 45 or the buffer's end: a primitive that is still open was cut off.
  if (isOpen) index.wellFormed = false;
  return true;
}

}  // namespace tlr2
