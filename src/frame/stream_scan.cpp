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
  const std::uint8_t* at() const noexcept { return at_; }
  const std::uint8_t* end() const noexcept { return end_; }
  /// `at`: the head of a later record, or the end.
  void SkipTo(const std::uint8_t* at) noexcept { at_ = at; }
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

template <typename Record>
constexpr std::uint32_t kHeader = PackCmdHeader(Record::kId, Record::kBytes);

/// Moves over texture coordinates, colours and vertices of exactly their layouts' sizes, which one comparison of the
/// header tells, for as long as they follow each other. A frame's stream is mostly these; with sizes that the
/// comparison implies, the walk does not wait for each record's own.
const std::uint8_t* CountVertexRun(const std::uint8_t* at, const std::uint8_t* end, StreamSummary& summary) noexcept {
  constexpr std::size_t kLongest = CmdTexCoord2f::kBytes + CmdColor::kBytes + CmdVertex3f::kBytes;
  std::uint32_t records = 0, vertices = 0;
  while (static_cast<std::size_t>(end - at) >= kLongest) {
    const std::uint32_t header = ReadCmdHeader(at);
    if (header == kHeader<CmdVertex3f>) {
      at += CmdVertex3f::kBytes;
      ++vertices;
    } else if (header == kHeader<CmdTexCoord2f>) {
      const std::uint32_t next = ReadCmdHeader(at + CmdTexCoord2f::kBytes);
      if (next == kHeader<CmdVertex3f>) {
        at += CmdTexCoord2f::kBytes + CmdVertex3f::kBytes;
        ++records;
        ++vertices;
      } else if (next == kHeader<CmdColor> &&
                 ReadCmdHeader(at + CmdTexCoord2f::kBytes + CmdColor::kBytes) == kHeader<CmdVertex3f>) {
        at += kLongest;
        records += 2;
        ++vertices;
      } else {
        at += CmdTexCoord2f::kBytes;
      }
    } else if (header == kHeader<CmdColor>) {
      at += CmdColor::kBytes;
    } else if (header == kHeader<CmdVertex2f>) {
      at += CmdVertex2f::kBytes;
      ++vertices;
    } else {
      break;
    }
    ++records;
  }
  summary.records += records;
  summary.vertices += vertices;
  return at;
}

bool CountRecords(const CommandStream& stream, StreamSummary& summary) noexcept {
  for (RecordCursor cursor(stream);; cursor.Advance()) {
    cursor.SkipTo(CountVertexRun(cursor.at(), cursor.end(), summary));
    if (cursor.AtEnd()) return true;
    if (!cursor.Read() || cursor.id() >= kFirstInvalidId) return false;
    ++summary.records;
    if (cursor.IsVertex()) ++summary.vertices;
    if (cursor.Is(Cmd::Begin)) ++summary.begins;
    if (cursor.Is(Cmd::SwapBuffers)) ++summary.frameEnds;
  }
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
