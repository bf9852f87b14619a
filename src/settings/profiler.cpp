// The scoped profiler. A tree is written only by its own thread, without locks and without locked instructions; the
// report reads it as it stands.
#include "settings/profiler.h"

#if TLR2_PROFILING

#include <algorithm>

#include "platform/clock.h"
#include "platform/sync.h"
#include "platform/thread_block.h"
#include "settings/profile_tree.h"

namespace tlr2 {

namespace {

constexpr char kThreadRootName[] = "<thread root>";

constinit CriticalSection rootsLock{};
ProfileNode* firstRoot = nullptr;
ProfileNode* lastRoot = nullptr;
constinit std::atomic<std::uint32_t> threadCount{0};

ProfileNode* ChildOf(ProfileNode& parent, const char* name) {
  ProfileNode* const head = parent.firstChild.load(std::memory_order_relaxed);
  for (ProfileNode* child = head; child != nullptr; child = child->nextSibling.load(std::memory_order_relaxed))
    if (child->name == name) return child;
  auto* child = new ProfileNode(name, &parent, head);
  parent.firstChild.store(child, std::memory_order_release);  // a report may be walking the list
  return child;
}

/// One thread writes, so a load and a store do what a locked add would.
void Add(std::atomic<std::uint64_t>& counter, std::uint64_t amount) noexcept {
  counter.store(counter.load(std::memory_order_relaxed) + amount, std::memory_order_relaxed);
}

void AddFigures(ProfileNode& node, const ScopeFigures& f) noexcept {
  Add(node.totalTicks, f.total);
  Add(node.calls, f.calls);
  if (f.least < node.minTicks.load(std::memory_order_relaxed)) node.minTicks.store(f.least, std::memory_order_relaxed);
  if (f.greatest > node.maxTicks.load(std::memory_order_relaxed))
    node.maxTicks.store(f.greatest, std::memory_order_relaxed);
}

/// Makes the node of `name` under the calling thread's cursor the cursor.
ProfileNode* EnterNode(const char* name) {
  ThreadGuard& guard = CurrentThreadGuard();
  if (guard.profileRoot == nullptr) [[unlikely]]
    RegisterProfileRoot(guard);
  ProfileNode* node = ChildOf(*guard.profileCursor, name);
  guard.profileCursor = node;
  return node;
}

void ResetTree(ProfileNode& node) noexcept {
  node.totalTicks.store(0, std::memory_order_relaxed);
  node.calls.store(0, std::memory_order_relaxed);
  node.minTicks.store(kNoMinimum, std::memory_order_relaxed);
  node.maxTicks.store(0, std::memory_order_relaxed);
  for (ProfileNode* child = node.firstChild.load(std::memory_order_acquire); child != nullptr;
       child = child->nextSibling.load(std::memory_order_relaxed))
    ResetTree(*child);
}

}  // namespace

void RegisterProfileRoot(ThreadGuard& guard) {
  auto* root = new ProfileNode(kThreadRootName, nullptr, nullptr);
  {
    const LockHolder holder(rootsLock);
    if (lastRoot == nullptr)
      firstRoot = root;
    else
      lastRoot->nextSibling.store(root, std::memory_order_relaxed);
    lastRoot = root;
  }
  threadCount.fetch_add(1, std::memory_order_relaxed);
  guard.profileRoot = root;
  guard.profileCursor = root;
}

std::vector<ProfileNode*> CopyProfileRoots() {
  std::vector<ProfileNode*> roots;
  roots.reserve(threadCount.load(std::memory_order_relaxed));
  const LockHolder holder(rootsLock);
  for (ProfileNode* root = firstRoot; root != nullptr; root = root->nextSibling.load(std::memory_order_relaxed))
    roots.push_back(root);
  return roots;
}

ScopeTimer::ScopeTimer(const char* name) noexcept
    : node_(EnterNode(name)), start_(TicksNow()) {}  // in this order, so that the search is not measured

ScopeTimer::~ScopeTimer() {
  ScopeFigures figures;
  figures.Add(TicksNow() - start_);
  AddFigures(*node_, figures);
  CurrentThreadGuard().profileCursor = node_->parent;
}

std::int64_t ProfileMark() noexcept { return TicksNow(); }

ScopeSeries::ScopeSeries(const char* name, std::int64_t& mark) noexcept
    : node_(EnterNode(name)), mark_(mark), start_(mark) {}

ScopeSeries::~ScopeSeries() {
  AddFigures(*node_, figures_);
  CurrentThreadGuard().profileCursor = node_->parent;
}

DividedScopes::DividedScopes(const char* name, std::int64_t& mark) noexcept : node_(EnterNode(name)), mark_(mark) {
  boundaries_[0] = ProcessorCounter();
}

DividedScopes::~DividedScopes() {
  Settle();
  figures_.AddEmpties(empties_);
  AddFigures(*node_, figures_);
  CurrentThreadGuard().profileCursor = node_->parent;
}

void DividedScopes::End() noexcept {
  const std::uint64_t counter = ProcessorCounter(), before = boundaries_[count_];
  boundaries_[++count_] = counter > before ? counter : before;
  if (count_ == kMost) Divide();
}

void DividedScopes::Divide() noexcept {
  const std::int64_t start = mark_;
  mark_ = TicksNow();
  const auto since = [this](int i) { return static_cast<std::int64_t>(boundaries_[i] - boundaries_[0]); };
  const std::int64_t all = since(count_), span = mark_ - start;
  const double ticksACount = all != 0 ? static_cast<double>(span) / static_cast<double>(all) : 0.0;
  // Between floats and integers of 32 bits there are instructions in all builds.
  const bool small = all <= INT32_MAX && span < INT32_MAX;
  std::int64_t begin = start;
  for (int i = 1; i <= count_; ++i) {
    const std::int64_t part = since(i);
    std::int64_t end = mark_;  // where all is counted, and for the last scope where the counter stood still
    if (part != all || (all == 0 && i != count_)) {
      end = small ? start + static_cast<std::int32_t>(static_cast<std::int32_t>(part) * ticksACount)
                  : start + static_cast<std::int64_t>(static_cast<double>(part) * ticksACount);
      end = std::min(end, mark_);
    }
    figures_.Add(end - begin);
    begin = end;
  }
  boundaries_[0] = ProcessorCounter();
  count_ = 0;
}

void DividedScopes::Skip() noexcept {
  mark_ = TicksNow();
  boundaries_[0] = ProcessorCounter();
}

void ProfileReset() {
  const LockHolder holder(rootsLock);
  for (ProfileNode* root = firstRoot; root != nullptr; root = root->nextSibling.load(std::memory_order_relaxed))
    ResetTree(*root);
}

}  // namespace tlr2

#endif
