// The counted stubs: entries that count and trace their call and give a fixed answer.
#include "api/entries/entry_frame.h"

namespace tlr2 {

#define TLR2_ARE_OWN(...)
#define TLR2_ARE_ANSWER(...)
#define TLR2_ARE_STUB(answer) TLR2_STUB_ANSWERING_##answer
#define TLR2_STUB_ANSWERING_0(...) TLR2_STUB_BODY(0, __VA_ARGS__)
#define TLR2_STUB_ANSWERING_1(...) TLR2_STUB_BODY(1, __VA_ARGS__)

// A result of type void takes the cast as well.
#define TLR2_STUB_BODY(answer, name, returns, ...)                               \
  TLR2_TYPE_##returns TLR2_STDCALL name(TLR2_PARAMETERS(__VA_ARGS__)) noexcept { \
    enter::name(TLR2_ARGUMENT_NAMES(__VA_ARGS__));                               \
    return (TLR2_TYPE_##returns)(answer);                                        \
  }

#define TLR2_GL(name, bytes, returns, body, ...) TLR2_ARE_##body(gl##name, returns __VA_OPT__(, ) __VA_ARGS__)
#define TLR2_WGL(name, bytes, returns, body, ...) TLR2_ARE_##body(wgl##name, returns __VA_OPT__(, ) __VA_ARGS__)
#include "api/table/entries.def"

}  // namespace tlr2
