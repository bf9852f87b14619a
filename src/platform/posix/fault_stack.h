// A stack for faults: a thread that has used up its own can handle nothing on it.
#pragma once

namespace tlr2 {

/// Gives the calling thread a stack for fault handlers until it ends; leaves one alone that the thread already has.
/// Without memory for one the thread stays as it is. `errno` stays as it was.
void GiveFaultStack() noexcept;

}  // namespace tlr2
