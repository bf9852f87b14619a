// The call summary and its drift scan.
#pragma once

namespace tlr2 {

/// The entry is recorded in the stream and replayed from a capture: one of 55 fixed names.
bool IsRoundTrippable(const char* name) noexcept;

}  // namespace tlr2
