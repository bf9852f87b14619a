// Keeping stack back for faults.
#include "platform/win32/fault_stack.h"

#include <windows.h>

namespace tlr2 {

void KeepStackForFaults() noexcept {
  constexpr ULONG kKept = 32 * 1024, kPage = 4096;
  ULONG bytes = kKept;
  if (!SetThreadStackGuarantee(&bytes)) return;
  // Where stacks are committed whole, as under Wine, the guard page stands at the bottom from the start and stays
  // there. The highest page that counts as what is kept takes its place.
  MEMORY_BASIC_INFORMATION here, lowest;
  if (VirtualQuery(&here, &here, sizeof here) == 0) return;
  auto* const bottom = static_cast<char*>(here.AllocationBase);
  if (VirtualQuery(bottom + kPage, &lowest, sizeof lowest) == 0) return;
  const bool guardAtBottom = lowest.State == MEM_COMMIT && (lowest.Protect & PAGE_GUARD) != 0;
  char* const guard = bottom + kKept;
  DWORD previous;
  if (guardAtBottom && guard + kKept < reinterpret_cast<char*>(&here))
    VirtualProtect(guard, kPage, PAGE_READWRITE | PAGE_GUARD, &previous);
}

}  // namespace tlr2
