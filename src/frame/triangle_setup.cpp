// Set-up of one triangle: divide, viewport, depth extremes, face culling.
#include "frame/triangle_setup.h"

#include "frame/emission.h"

namespace tlr2 {

bool SetupTriangle(const ClipVertex vertices[3], const NativePacket& packet, TriangleRecord* out) noexcept {
  TriangleRecord record = packet.triangleTemplate;
  const ViewportMapping map = MakeViewportMapping(packet);
  ScreenVertex screen[3];
  for (int i = 0; i < 3; ++i) {
    const ClipVertex& v = vertices[i];
    if (v.w <= 0.0f) return false;  // the degenerate remains of clipping at w = 0
    screen[i] = ProjectVertex(map, v.x, v.y, v.z, v.w);
    record.x[i] = screen[i].x;
    record.y[i] = screen[i].y;
    record.z[i] = screen[i].z;
    record.invW[i] = screen[i].invW;
    record.color[i] = v.color;
    record.s[i] = v.s;
    record.t[i] = v.t;
  }
  const DriverSettings& settings = Settings();
  if (settings.disableHiZ != 0) {
    record.zMin = kOpenZMin;
    record.zMax = kOpenZMax;
  } else {
    record.zMin = LesserOf(LesserOf(record.z[0], record.z[1]), record.z[2]);
    record.zMax = GreaterOf(GreaterOf(record.z[0], record.z[1]), record.z[2]);
  }
  if ((packet.cullEnabled & 0xFFu) != 0 && settings.disableFaceCull == 0 &&
      CulledByFace(packet, screen[0], screen[1], screen[2])) {
    return false;
  }
  *out = record;
  return true;
}

}  // namespace tlr2
