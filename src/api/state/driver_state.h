// The one driver state of the process, and its saved form.
#pragma once

#include "records/driver_state.h"
#include "records/state_snapshot.h"

namespace tlr2 {

namespace detail {
extern DriverState driverState;
}
/// The record that every entry and the interpreter go through. Built at library load, never freed before exit.
inline DriverState& DriverStateInstance() noexcept { return detail::driverState; }

/// A slot of the texture table is free that was not, or a new one is: the search for free names begins there at the
/// latest.
inline void SlotBecameFree(DriverState& state, std::size_t slot) noexcept {
  if (slot != 0 && slot < state.lowestFreeTexture) state.lowestFreeTexture = static_cast<std::uint32_t>(slot);
}

/// Field by field, in the snapshot's order; neither touches a vector.
void SnapshotFromState(const DriverState& state, StateSnapshot& snapshot) noexcept;
void StateFromSnapshot(DriverState& state, const StateSnapshot& snapshot) noexcept;

}  // namespace tlr2
