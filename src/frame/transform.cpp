// Object space to clip space by the packet's one matrix.
#include "frame/transform.h"

namespace tlr2 {

void TransformPoint(const float mvp[16], const float position[3], float out[4]) noexcept {
  const float x = position[0], y = position[1], z = position[2];
  // The y product comes first. Every record depends on this order of additions, so all four rows keep it.
  for (int i = 0; i < 4; ++i) out[i] = y * mvp[i + 4] + x * mvp[i] + z * mvp[i + 8] + mvp[i + 12];
}

}  // namespace tlr2
