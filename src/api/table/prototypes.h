// The exported functions, as the entry table declares them. Bodies with a calling convention of their own stand in
// api/entries. Nothing that includes this may include the system's window headers, which declare the same names as
// imports.
#pragma once

#include "api/table/row_macros.h"

namespace tlr2 {
extern "C" {
#define TLR2_GL(name, bytes, returns, body, ...) \
  TLR2_TYPE_##returns TLR2_STDCALL gl##name(TLR2_PARAMETERS(__VA_ARGS__)) noexcept;
#define TLR2_WGL(name, bytes, returns, body, ...) \
  TLR2_TYPE_##returns TLR2_STDCALL wgl##name(TLR2_PARAMETERS(__VA_ARGS__)) noexcept;
#include "api/table/entries.def"
}
}  // namespace tlr2
