// The entry table as data: names and rows, and the check that each row's stack bytes are those of its arguments.
#include "api/table/entry.h"
#include "api/table/row_macros.h"

namespace tlr2 {

const char* const EntryNames[kEntryCount] = {
#define TLR2_GL(name, ...) "gl" #name,
#define TLR2_WGL(name, ...) "wgl" #name,
#include "api/table/entries.def"
};

#define TLR2_GL(name, bytes, returns, body, ...) \
  static_assert(TLR2_STACK_BYTES(__VA_ARGS__) == bytes, "stack bytes of gl" #name);
#define TLR2_WGL(name, bytes, returns, body, ...) \
  static_assert(TLR2_STACK_BYTES(__VA_ARGS__) == bytes, "stack bytes of wgl" #name);
#include "api/table/entries.def"

#define TLR2_COUNT_ROW(...) +1
#define TLR2_GL TLR2_COUNT_ROW
#define TLR2_WGL TLR2_COUNT_ROW
static_assert(0
#include "api/table/entries.def"
              == kEntryCount);

#define TLR2_KIND_OWN EntryBody::kOwn
#define TLR2_KIND_ANSWER EntryBody::kAnswer
#define TLR2_KIND_STUB(answer) EntryBody::kStub

const EntryRow kEntryTable[kEntryCount] = {
#define TLR2_GL(name, bytes, returns, body, ...)                                                      \
  {"gl" #name, "TLR2::GL::" #name, TLR2_TRACE_FORMAT(__VA_ARGS__), "_tlr2" #name "@" #bytes, nullptr, \
   bytes,      TLR2_KIND_##body},
#define TLR2_WGL(name, bytes, returns, body, ...)                                                        \
  {"wgl" #name, "TLR2::WGL::" #name, TLR2_TRACE_FORMAT(__VA_ARGS__), "_vwgl2" #name "@" #bytes, nullptr, \
   bytes,       TLR2_KIND_##body},
#define TLR2_WGL_STEM(name, stem, bytes, returns, body, ...) \
  {"wgl" #name,                                              \
   "TLR2::WGL::" #name,                                      \
   TLR2_TRACE_FORMAT(__VA_ARGS__),                           \
   "_vwgl2" #stem "@" #bytes,                                \
   "_vwgl2" #name "@" #bytes,                                \
   bytes,                                                    \
   TLR2_KIND_##body},
#include "api/table/entries.def"
};

}  // namespace tlr2
