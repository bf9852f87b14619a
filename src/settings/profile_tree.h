// The profiler's trees: a root for each thread, nodes that only their own thread writes, and the list of roots.
#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

namespace tlr2 {

struct ThreadGuard;

inline constexpr std::uint64_t kNoMinimum = ~std::uint64_t{0};

/// Never freed: nodes outlive their threads.
struct ProfileNode {
  ProfileNode(const char* scopeName, ProfileNode* parentNode, ProfileNode* sibling)
      : name(scopeName), parent(parentNode), nextSibling(sibling) {}

  const char* const name;     // identity is the pointer
  ProfileNode* const parent;  // null at a root
  std::atomic<ProfileNode*> firstChild{nullptr};
  std::atomic<ProfileNode*> nextSibling;  // of a root: the root registered after it
  std::atomic<std::uint64_t> totalTicks{0}, calls{0}, minTicks{kNoMinimum}, maxTicks{0};
};

/// Makes the calling thread's root, enters it into the list and sets both of the guard's pointers to it.
void RegisterProfileRoot(ThreadGuard& guard);
/// The roots in the order of registration.
std::vector<ProfileNode*> CopyProfileRoots();

/// A copy of one tree, or of several trees merged; it stands still.
struct ProfileSummary {
  explicit ProfileSummary(const char* scopeName) : name(scopeName) {}

  const char* name;
  std::uint64_t totalTicks = 0, calls = 0, minTicks = kNoMinimum, maxTicks = 0;
  std::vector<ProfileSummary> children;
};
/// The trees of all threads in one. The root is never closed and has no time of its own.
ProfileSummary MergedProfile();

}  // namespace tlr2
