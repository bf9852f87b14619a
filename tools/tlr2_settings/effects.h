// What each stored setting does, in a line for people.
#pragma once

namespace tlr2 {

/// The effect of the setting of this name; null for a name that is none.
const char* EffectOfSetting(const char* name) noexcept;

}  // namespace tlr2
