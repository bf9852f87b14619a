// Reading the idle spin time. The number is read as the 32-bit C library's unsigned conversion reads it, on every
// system, so that one value means one time everywhere.
#include "tiles/queue/idle_spin.h"

#include "platform/clock.h"
#include "platform/environment.h"

namespace RJQ {

namespace {

constexpr std::uint32_t kGreatest = 0xFFFFFFFFu;

bool IsBlank(char c) noexcept { return c == ' ' || (c >= '\t' && c <= '\r'); }

}  // namespace

bool ParseIdleSpin(const char* text, std::uint32_t& value) noexcept {
  while (IsBlank(*text)) ++text;
  const bool negative = *text == '-';
  if (negative || *text == '+') ++text;
  const char* const digits = text;
  std::uint64_t number = 0;
  bool fits = true;
  for (; *text >= '0' && *text <= '9'; ++text) {
    if (!fits) continue;
    number = number * 10 + static_cast<std::uint64_t>(*text - '0');
    fits = number <= kGreatest;
  }
  if (text == digits || *text != '\0') return false;
  value = !fits ? kGreatest : static_cast<std::uint32_t>(negative ? 0 - number : number);
  return true;
}

std::uint32_t ReadIdleSpinUs() noexcept {
  char text[32];
  std::uint32_t value = kDefaultIdleSpinUs;
  if (tlr2::ReadEnvironment("TLR2_RJQ_IDLE_SPIN_US", text, sizeof text) != 0) ParseIdleSpin(text, value);
  return value;
}

std::int64_t IdleSpinTicks(std::uint32_t microseconds) noexcept {
  return static_cast<std::int64_t>(microseconds) * tlr2::TicksPerSecond() / 1000000;
}

}  // namespace RJQ
