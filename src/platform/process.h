// The process that the driver was loaded into.
#pragma once

namespace tlr2 {

/// Asks the application's message loop to end; nothing where there is none.
void PostProcessQuit() noexcept;

}  // namespace tlr2
