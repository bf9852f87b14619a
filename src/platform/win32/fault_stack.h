// Stack for faults: what a thread has left once it has used up its own.
#pragma once

namespace tlr2 {

/// Keeps enough of the calling thread's stack back for the system to find out what to do about an overflow: with the
/// page that it keeps by itself it may end the thread and leave the process. More that is kept already stays.
void KeepStackForFaults() noexcept;

}  // namespace tlr2
