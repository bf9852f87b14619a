// Start and end of the library, in their fixed orders.
#pragma once

namespace tlr2 {

/// The module kept loaded, cutoff and target parsers, diagnostics, lane count, worker pool, replay thread, the panel's
/// starter. Runs once; later calls do nothing.
void LibraryStart() noexcept;
/// Panel, replay thread, pool pointer, final diagnostics.
void LibraryEnd() noexcept;

}  // namespace tlr2
