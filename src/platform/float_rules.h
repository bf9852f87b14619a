// How the processor rounds floats while the driver computes pictures.
#pragma once

namespace tlr2 {

/// Rounding to nearest, denormals kept, no exception raised, for as long as it lives. Programs set their threads up
/// otherwise, and a new thread may begin as the one that started it: the picture must not depend on it.
class FloatRules {
 public:
  FloatRules() noexcept : saved_(__builtin_ia32_stmxcsr()) { __builtin_ia32_ldmxcsr(kControlWord); }
  ~FloatRules() { __builtin_ia32_ldmxcsr(saved_); }
  FloatRules(const FloatRules&) = delete;
  FloatRules& operator=(const FloatRules&) = delete;

  static constexpr unsigned kControlWord = 0x1F80;  // all exceptions masked, all else off

 private:
  unsigned saved_;
};

}  // namespace tlr2
