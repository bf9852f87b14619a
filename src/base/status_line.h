// Fixed text buffers that the call summary prints at its head.
#pragma once

#include <cstddef>
#include <cstdio>

namespace tlr2 {

template <std::size_t Size>
struct StatusLine {
  char text[Size];
};

}  // namespace tlr2
