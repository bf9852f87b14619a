// A tree of sums as trace events and as folded stacks.
#include "tlr2_replay/profile_forms.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace tlr2::tool {
namespace {

using Json = nlohmann::ordered_json;

std::uint64_t SumOfChildren(const ProfileSummary& node) {
  std::uint64_t sum = 0;
  for (const ProfileSummary& child : node.children) sum += child.totalTicks;
  return sum;
}

/// Equal ones as they stand in `nodes`.
std::vector<const ProfileSummary*> LongestFirst(const std::vector<ProfileSummary>& nodes) {
  std::vector<const ProfileSummary*> sorted;
  for (const ProfileSummary& node : nodes) sorted.push_back(&node);
  std::sort(sorted.begin(), sorted.end(), [](const ProfileSummary* a, const ProfileSummary* b) {
    return a->totalTicks != b->totalTicks ? a->totalTicks > b->totalTicks : a < b;
  });
  return sorted;
}

void AddEvents(const ProfileSummary& node, double startTicks, double microsecondsPerTick, Json& events) {
  for (const ProfileSummary* child : LongestFirst(node.children)) {
    const auto us = [microsecondsPerTick](std::uint64_t ticks) {
      return static_cast<double>(ticks) * microsecondsPerTick;
    };
    const bool called = child->calls != 0;
    events.push_back({{"name", child->name},
                      {"ph", "X"},
                      {"ts", startTicks * microsecondsPerTick},
                      {"dur", us(child->totalTicks)},
                      {"pid", 1},
                      {"tid", 1},
                      {"args",
                       {{"calls", child->calls},
                        {"meanUs", called ? us(child->totalTicks) / static_cast<double>(child->calls) : 0.0},
                        {"minUs", called ? us(child->minTicks) : 0.0},
                        {"maxUs", called ? us(child->maxTicks) : 0.0}}}});
    AddEvents(*child, startTicks, microsecondsPerTick, events);
    startTicks += static_cast<double>(child->totalTicks);
  }
}

void AddStacks(const ProfileSummary& node, const std::string& outer, double nanosecondsPerTick, std::string& text) {
  for (const ProfileSummary* child : LongestFirst(node.children)) {
    const std::string stack = outer.empty() ? child->name : outer + ';' + child->name;
    // Inner scopes can be measured a tick longer than what encloses them.
    const std::uint64_t inner = std::min(SumOfChildren(*child), child->totalTicks);
    const double own = static_cast<double>(child->totalTicks - inner) * nanosecondsPerTick;
    text += stack + ' ' + std::to_string(static_cast<std::uint64_t>(own)) + '\n';
    AddStacks(*child, stack, nanosecondsPerTick, text);
  }
}

}  // namespace

std::string ChromeTrace(const ProfileSummary& tree, double ticksPerSecond) {
  Json events = Json::array();
  events.push_back({{"name", "process_name"}, {"ph", "M"}, {"pid", 1}, {"tid", 1}, {"args", {{"name", "TLR2"}}}});
  events.push_back({{"name", "thread_name"}, {"ph", "M"}, {"pid", 1}, {"tid", 1}, {"args", {{"name", "all threads"}}}});
  AddEvents(tree, 0, 1e6 / ticksPerSecond, events);
  return Json{{"traceEvents", events}, {"displayTimeUnit", "ms"}}.dump(1) + '\n';
}

std::string FoldedStacks(const ProfileSummary& tree, double ticksPerSecond) {
  std::string text;
  AddStacks(tree, "", 1e9 / ticksPerSecond, text);
  return text;
}

}  // namespace tlr2::tool
