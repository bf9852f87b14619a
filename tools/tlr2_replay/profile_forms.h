// The profiler's merged tree in forms that other programs draw.
#pragma once

#include <string>

#include "settings/profile_tree.h"

namespace tlr2::tool {

/// JSON of trace events for trace viewers. A tree of sums has no moments: below their parent the scopes stand one
/// behind the other, each as long as its sum, with calls, mean, least and greatest time as arguments.
std::string ChromeTrace(const ProfileSummary& tree, double ticksPerSecond);
/// A line a scope, "outer;inner NANOSECONDS" of the scope's own time, for flame graphs.
std::string FoldedStacks(const ProfileSummary& tree, double ticksPerSecond);

}  // namespace tlr2::tool
