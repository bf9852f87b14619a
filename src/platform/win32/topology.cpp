// Processors from the system's relation records.
#include "platform/topology.h"

#include <windows.h>

#include <cstddef>

namespace tlr2 {

namespace {

using Record = SYSTEM_LOGICAL_PROCESSOR_INFORMATION_EX;

/// Calls `visit` for each record of `relation` in the system's order.
template <typename Visit>
void ForEachRecord(LOGICAL_PROCESSOR_RELATIONSHIP relation, Visit visit) {
  DWORD size = 0;
  GetLogicalProcessorInformationEx(relation, nullptr, &size);
  std::vector<std::max_align_t> buffer;
  do {  // the machine may gain a processor between asking for the size and for the records
    if (size == 0) return;
    buffer.assign(size / sizeof(std::max_align_t) + 1, {});
    if (GetLogicalProcessorInformationEx(relation, reinterpret_cast<Record*>(buffer.data()), &size)) break;
    if (GetLastError() != ERROR_INSUFFICIENT_BUFFER) return;
  } while (true);
  const auto* bytes = reinterpret_cast<const std::byte*>(buffer.data());
  for (DWORD at = 0; at < size;) {
    const auto* record = reinterpret_cast<const Record*>(bytes + at);
    if (record->Size == 0) return;
    if (record->Relationship == relation) visit(*record);
    at += record->Size;
  }
}

struct NodeMask {
  std::uint16_t group;
  std::uint64_t mask;
  std::uint16_t node;
};

std::uint16_t NodeOf(const std::vector<NodeMask>& nodes, std::uint16_t group, std::uint64_t bit) noexcept {
  for (const NodeMask& entry : nodes)
    if (entry.group == group && (entry.mask & bit) != 0) return entry.node;
  return kNumaUnknown;
}

}  // namespace

std::vector<ProcessorSlot> EnumerateProcessors() {
  std::vector<NodeMask> nodes;
  ForEachRecord(RelationNumaNode, [&](const Record& record) {
    const GROUP_AFFINITY& affinity = record.NumaNode.GroupMask;
    nodes.push_back({affinity.Group, affinity.Mask, static_cast<std::uint16_t>(record.NumaNode.NodeNumber)});
  });
  std::vector<ProcessorSlot> slots;
  ForEachRecord(RelationProcessorCore, [&](const Record& record) {
    for (WORD i = 0; i < record.Processor.GroupCount; ++i) {
      const GROUP_AFFINITY& affinity = record.Processor.GroupMask[i];
      for (std::uint64_t left = affinity.Mask; left != 0; left &= left - 1) {
        const std::uint64_t bit = left & (~left + 1);
        slots.push_back({affinity.Group, bit, NodeOf(nodes, affinity.Group, bit)});
      }
    }
  });
  return slots;
}

std::uint32_t ActiveProcessorCount() noexcept { return GetActiveProcessorCount(ALL_PROCESSOR_GROUPS); }
std::uint16_t ActiveGroupCount() noexcept { return GetActiveProcessorGroupCount(); }
std::uint32_t ActiveProcessorCount(std::uint16_t group) noexcept { return GetActiveProcessorCount(group); }

}  // namespace tlr2
