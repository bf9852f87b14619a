// The control panel: a small window of the driver's own in which every override and colour setting is changed live. A
// build without a window system has the table of controls and no window.
#pragma once

namespace tlr2 {

/// Opens the panel beside `window`, on a thread of its own. Only the first call in a process has an effect, also when
/// the user has closed the panel since.
void ControlPanelStart(void* window);
/// At process detach: asks the panel's thread to end and does not wait for it.
void ControlPanelStop();

}  // namespace tlr2
