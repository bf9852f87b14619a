// The process that the driver was loaded into.
#pragma once

namespace tlr2 {

/// Keeps the module that holds this code loaded until the process ends, also for a program that lets it go: handlers
/// and threads point into it. Code of the program itself stays in any case.
void KeepModuleLoaded() noexcept;

/// Asks the application's message loop to end; nothing where there is none.
void PostProcessQuit() noexcept;

}  // namespace tlr2
