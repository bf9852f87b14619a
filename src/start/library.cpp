// Start and end of the library. The static records are built before any of this runs.
#include "start/library.h"

#include <atomic>

#include "capture/frame_tick.h"
#include "frame/replay.h"
#include "kernels/tile_kernel.h"
#include "panel/panel.h"
#include "platform/process.h"
#include "tiles/queue/render_job_queue.h"
#include "tiles/runtime_config.h"
#include "wgl/context.h"

namespace tlr2 {

namespace {

std::atomic<bool> started{false};
/// Lanes of the target that the auto kernel selects; kept for a look from a debugger.
std::int32_t kernelLanes = -1;

}  // namespace

void LibraryStart() noexcept {
  if (started.exchange(true)) return;
  KeepModuleLoaded();  // before the fault handler and the first thread
  // The parsers' first touch loads the stored settings, which their results then overwrite.
  ParseCutoffEnvironment();
  ParseIsaEnvironment();
  DiagnosticsStart();
  KernelLaneCount(&kernelLanes);
  StartWorkerPool();
  StartReplayThread();
  panelStarter = ControlPanelStart;
}

void LibraryEnd() noexcept {
  if (!started.exchange(false)) return;
  ControlPanelStop();
  StopReplayThread();
  RJQ::ForgetPool();
  ProcessEndDiagnostics();
}

}  // namespace tlr2
