// How long an idle worker spins before it sleeps: TLR2_RJQ_IDLE_SPIN_US.
#pragma once

#include <cstdint>

namespace RJQ {

inline constexpr std::uint32_t kDefaultIdleSpinUs = 5000;

/// Decimal microseconds with blanks and a sign allowed in front and nothing behind; what does not fit 32 bits is the
/// greatest number, and a minus sign wraps around. False, leaving `value`, when the text is anything else.
bool ParseIdleSpin(const char* text, std::uint32_t& value) noexcept;
/// The environment's value, or the default where it is unset, empty, 32 characters or longer, or no number.
std::uint32_t ReadIdleSpinUs() noexcept;
/// In ticks of the performance counter; 0 turns spinning off.
std::int64_t IdleSpinTicks(std::uint32_t microseconds) noexcept;

}  // namespace RJQ
