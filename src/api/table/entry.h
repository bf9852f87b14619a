// Entry: the exported base names as indices of the counters and the name table, and what each row says of its body.
#pragma once

#include <cstdint>

#include "api/accounting.h"

namespace tlr2 {

enum class Entry : std::uint16_t {
#define TLR2_GL(name, ...) gl##name,
#define TLR2_WGL(name, ...) wgl##name,
#include "api/table/entries.def"
};

enum class EntryBody : std::uint8_t { kOwn, kAnswer, kStub };

/// A row as data, for those who print or check entries.
struct EntryRow {
  const char* name;         // "glBegin"
  const char* traceName;    // "TLR2::GL::Begin"
  const char* traceFormat;  // "(mode=0x%04X)"
  const char* alias;        // "_tlr2Begin@4"
  const char* secondAlias;  // the other form of an alias that drops a letter, else null
  std::uint8_t stackBytes;  // of the 32-bit calling convention
  EntryBody body;
};
extern const EntryRow kEntryTable[kEntryCount];

}  // namespace tlr2
