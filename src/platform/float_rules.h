// How the processor rounds floats while the driver computes pictures.
#pragma once

namespace tlr2 {

/// Rounding to nearest, denormals kept, no exception raised, for as long as it lives; then as it was. Programs set
/// their threads up otherwise, and a new thread may begin as the one that started it: the picture must not depend on
/// it.
class FloatRules {
 public:
  FloatRules() noexcept : saved_(__builtin_ia32_stmxcsr()) {
    if (Differ()) [[unlikely]]
      __builtin_ia32_ldmxcsr(kControlWord);
  }
  ~FloatRules() {
    if (Differ()) [[unlikely]]
      __builtin_ia32_ldmxcsr(saved_);
  }
  FloatRules(const FloatRules&) = delete;
  FloatRules& operator=(const FloatRules&) = delete;

  static constexpr unsigned kControlWord = 0x1F80;  // all exceptions masked, all else off

  /// The value. Compilers know nothing of the rules and move operations across their change: not what is computed from
  /// Here(value), if it then goes to memory or through Here itself while the rules still hold. Functions that are
  /// called and change memory need none of this.
  template <typename T>
  static T Here(T value) noexcept {
    __asm__ volatile("" : "+m"(value));
    return value;
  }
  /// The value in single precision, rounded by the rules that hold.
  static float Narrow(double value) noexcept { return static_cast<float>(Here(value)); }

 private:
  /// Most threads have these rules anyway, and loading the word takes longer than a call's arithmetic. The low six bits
  /// are no rules: they gather which exceptions have been.
  bool Differ() const noexcept { return (saved_ & ~0x3Fu) != kControlWord; }

  unsigned saved_;
};

}  // namespace tlr2
