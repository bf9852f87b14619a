// The records of the command stream: ids, layouts, names and bounded reading, all from the rows of commands.def.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace tlr2 {

enum class Cmd : std::uint16_t {
#define TLR2_COMMAND(id, name, bytes, replayed, fields) name = id,
#include "api/table/commands.def"
#undef TLR2_COMMAND
};

inline constexpr std::uint32_t kCommandCount = 47;
/// Ids above this one are skipped by a walk: they are in the stream for the capture alone.
inline constexpr std::uint32_t kLastReplayedId = 45;
/// Ids from this one on make a stream invalid for the scans.
inline constexpr std::uint32_t kFirstInvalidId = 50;

/// Every record opens with one word: id in the low half, total size in bytes in the high half.
inline constexpr std::size_t kCmdHeaderBytes = 4;
constexpr std::uint32_t PackCmdHeader(Cmd id, std::uint32_t bytes) noexcept {
  return bytes << 16 | static_cast<std::uint32_t>(id);
}
constexpr std::uint32_t CmdHeaderId(std::uint32_t header) noexcept { return header & 0xFFFFu; }
constexpr std::uint32_t CmdHeaderSize(std::uint32_t header) noexcept { return header >> 16; }
inline std::uint32_t ReadCmdHeader(const std::uint8_t* record) noexcept {
  std::uint32_t header;
  std::memcpy(&header, record, sizeof header);
  return header;
}

/// A 64-bit field: records are only 4-byte aligned.
struct WideWord {
  std::uint32_t low = 0, high = 0;
  WideWord() noexcept = default;
  constexpr WideWord(std::uint64_t value) noexcept  // NOLINT(google-explicit-constructor)
      : low(static_cast<std::uint32_t>(value)), high(static_cast<std::uint32_t>(value >> 32)) {}
  constexpr operator std::uint64_t() const noexcept {  // NOLINT(google-explicit-constructor)
    return static_cast<std::uint64_t>(high) << 32 | low;
  }
};

/// How a field is stored and printed.
enum class FieldKind : std::uint8_t { Enum, Int, Uint, Hex, Float, Wide, Zero };

namespace field {
using Enum = std::uint32_t;  // a GL constant
using Int = std::int32_t;
using Uint = std::uint32_t;
using Hex = std::uint32_t;  // packed colour, hash or bit mask
using Float = float;
using Wide = WideWord;
using Zero = std::uint32_t;  // written as 0, read by nobody
}  // namespace field

// One plain struct a row: CmdMatrixMode, CmdVertex3f and so on. A default-made one has its header set and all fields 0.
#define TLR2_FIELD(kind, name) field::kind name = {};
#define TLR2_FIELD_ARRAY(kind, name, count) field::kind name[count] = {};
#define TLR2_COMMAND(id, name, bytes, replayed, fields)     \
  struct Cmd##name {                                        \
    static constexpr Cmd kId = Cmd::name;                   \
    static constexpr std::uint32_t kBytes = bytes;          \
    std::uint32_t header = PackCmdHeader(Cmd::name, bytes); \
    fields                                                  \
  };                                                        \
  static_assert(sizeof(Cmd##name) == bytes && alignof(Cmd##name) == 4);
#include "api/table/commands.def"
#undef TLR2_COMMAND
#undef TLR2_FIELD
#undef TLR2_FIELD_ARRAY

static_assert(offsetof(CmdTexImage2D, blobOffset) == 40 && offsetof(CmdTexImage2D, blobSize) == 48);
static_assert(offsetof(CmdTexImage2D, width) == 16 && offsetof(CmdTexImage2D, format) == 28);
static_assert(offsetof(CmdTexImage2D, hash) == 56 && offsetof(CmdTexSubImage2D, hash) == 56);
static_assert(offsetof(CmdTexSubImage2D, xoffset) == 12 && offsetof(CmdTexSubImage2D, width) == 20);
static_assert(offsetof(CmdTexSubImage2D, blobOffset) == 40 && offsetof(CmdTexSubImage2D, blobSize) == 48);
static_assert(offsetof(CmdDeleteTextures, blobOffset) == 8 && offsetof(CmdDeleteTextures, blobSize) == 16);
static_assert(offsetof(CmdTexEnvfv, params) == 12 && offsetof(CmdReadPixels, format) == 20);

/// The record at `record`, of which the header says `size` bytes. A record too short for its layout is read as if the
/// missing bytes were zero; a longer one is read to its layout's end. The caller has checked that `size` bytes exist.
template <typename Record>
inline Record ReadRecord(const std::uint8_t* record, std::size_t size) noexcept {
  Record out;
  if (size >= sizeof(Record)) [[likely]] {
    std::memcpy(static_cast<void*>(&out), record, sizeof(Record));
  } else {
    std::memcpy(static_cast<void*>(&out), record, size);
    std::memset(reinterpret_cast<std::uint8_t*>(&out) + size, 0, sizeof(Record) - size);
  }
  return out;
}

/// A field as tools see it.
struct CommandField {
  const char* name;
  std::uint16_t offset;
  FieldKind kind;
  std::uint8_t count;  // elements; 1 unless an array
};

struct CommandRow {
  const char* name;
  std::uint16_t bytes;
  bool replayed;  // false: no interpreter case
  std::uint8_t fieldCount;
  const CommandField* fields;
};

/// Row `i` describes id `i`.
extern const CommandRow kCommandTable[kCommandCount];

}  // namespace tlr2
