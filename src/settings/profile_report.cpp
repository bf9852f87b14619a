// The profiler's report: the threads' trees merged into one, then each thread's own.
#include "settings/profiler.h"

#if TLR2_PROFILING

#include <algorithm>

#include "platform/clock.h"
#include "settings/profile_tree.h"

namespace tlr2 {

namespace {

constexpr char kMergedRootName[] = "<all threads>";

void Merge(ProfileSummary& target, const ProfileNode& source) {
  target.totalTicks += source.totalTicks.load(std::memory_order_relaxed);
  target.calls += source.calls.load(std::memory_order_relaxed);
  target.minTicks = std::min(target.minTicks, source.minTicks.load(std::memory_order_relaxed));
  target.maxTicks = std::max(target.maxTicks, source.maxTicks.load(std::memory_order_relaxed));
  for (const ProfileNode* child = source.firstChild.load(std::memory_order_acquire); child != nullptr;
       child = child->nextSibling.load(std::memory_order_relaxed)) {
    auto same = std::find_if(target.children.begin(), target.children.end(),
                             [child](const ProfileSummary& known) { return known.name == child->name; });
    if (same == target.children.end()) same = target.children.insert(same, ProfileSummary{child->name});
    Merge(*same, *child);
  }
}

ProfileSummary MergedOf(const std::vector<ProfileNode*>& roots) {
  ProfileSummary merged{kMergedRootName};
  for (const ProfileNode* root : roots) Merge(merged, *root);
  return merged;
}

void SortByTotal(std::vector<ProfileSummary>& summaries) {
  std::sort(summaries.begin(), summaries.end(),
            [](const ProfileSummary& a, const ProfileSummary& b) { return a.totalTicks > b.totalTicks; });
}

void PrintTree(std::FILE* file, ProfileSummary& node, int depth, std::uint64_t parentTicks) {
  for (int i = 0; i < depth; ++i) std::fputs("  ", file);
  const auto frequency = static_cast<double>(TicksPerSecond());
  const auto total = static_cast<double>(node.totalTicks);
  const auto microseconds = [&](double ticks) { return node.calls == 0 ? 0.0 : ticks * 1000000.0 / frequency; };
  const double mean = node.calls == 0 ? 0.0 : microseconds(total) / static_cast<double>(node.calls);
  const double percent = parentTicks == 0 ? 0.0 : total * 100.0 / static_cast<double>(parentTicks);
  std::fprintf(file, "%-50s calls=%10llu  total=%10.3f ms (%6.2f%%)  mean=%10.2f us  min=%10.2f us  max=%10.2f us\n",
               node.name, static_cast<unsigned long long>(node.calls), total * 1000.0 / frequency, percent, mean,
               microseconds(static_cast<double>(node.minTicks)), microseconds(static_cast<double>(node.maxTicks)));
  SortByTotal(node.children);
  for (ProfileSummary& child : node.children) PrintTree(file, child, depth + 1, node.totalTicks);
}

}  // namespace

ProfileSummary MergedProfile() { return MergedOf(CopyProfileRoots()); }

void ProfileReport(std::FILE* file) {
  if (file == nullptr) return;
  const std::vector<ProfileNode*> roots = CopyProfileRoots();
  if (roots.empty()) {
    std::fputs("\n=== TLR2 scoped profile: no data (TLR2_PROFILING enabled but no scopes executed) ===\n\n", file);
    return;
  }
  ProfileSummary merged = MergedOf(roots);
  std::fprintf(file,
               "\n=== TLR2 scoped profile (merged across %zu thread(s)) ===\n"
               "[compiled with TLR2_PROFILING=1; define 0 to disable.]\n"
               "[columns: calls | total ms | %% of parent | mean us | min us | max us]\n\n",
               roots.size());
  SortByTotal(merged.children);
  // The merged root is never closed and has no time of its own: each top line is its own whole.
  for (ProfileSummary& child : merged.children)
    PrintTree(file, child, 0, merged.totalTicks != 0 ? merged.totalTicks : child.totalTicks);

  std::fputs("\n=== TLR2 scoped profile: per-thread breakdown ===\n\n", file);
  for (std::size_t i = 0; i < roots.size(); ++i) {
    ProfileSummary thread{roots[i]->name};
    Merge(thread, *roots[i]);
    if (thread.children.empty()) continue;
    std::fprintf(file, "-- thread[%d] (%s) --\n", static_cast<int>(i), i == 0 ? "main/first" : "worker");
    SortByTotal(thread.children);
    std::uint64_t sum = 0;
    for (const ProfileSummary& child : thread.children) sum += child.totalTicks;
    for (ProfileSummary& child : thread.children) PrintTree(file, child, 0, sum);
    std::fputs("\n", file);
  }
}

}  // namespace tlr2

#endif
