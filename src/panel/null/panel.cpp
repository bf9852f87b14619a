// No window system, no panel: the settings change through their store alone.
#include "panel/panel.h"

namespace tlr2 {

void ControlPanelStart(void*) {}
void ControlPanelStop() {}

}  // namespace tlr2
