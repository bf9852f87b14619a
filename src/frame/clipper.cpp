// Sutherland-Hodgman against the six frustum planes, always in the same order.
#include <cstdint>

#include "base/convert.h"
#include "frame/transform.h"

namespace tlr2 {
namespace {

constexpr int kPlanes = 6;

/// Each byte at its own place; truncation of the sum plus a half. With a and b in 0 to 1 nothing exceeds 255, and what
/// a wild coordinate makes of them converts like every other float.
std::uint32_t LerpColor(std::uint32_t current, std::uint32_t previous, float a, float b) noexcept {
  std::uint32_t result = 0;
  for (int shift = 0; shift < 32; shift += 8) {
    const auto c = static_cast<float>(current >> shift & 0xFFu);
    const auto p = static_cast<float>(previous >> shift & 0xFFu);
    result |= (static_cast<std::uint32_t>(TruncateToInt(c * a + p * b + 0.5f)) & 0xFFu) << shift;
  }
  return result;
}

ClipVertex Intersection(const ClipVertex& previous, float previousDistance, const ClipVertex& current,
                        float currentDistance) noexcept {
  const float a = previousDistance / (previousDistance - currentDistance);
  const float b = 1.0f - a;
  ClipVertex out;
  out.x = current.x * a + previous.x * b;
  out.y = current.y * a + previous.y * b;
  out.z = current.z * a + previous.z * b;
  out.w = current.w * a + previous.w * b;
  out.color = LerpColor(current.color, previous.color, a, b);
  out.s = current.s * a + previous.s * b;
  out.t = current.t * a + previous.t * b;
  return out;
}

}  // namespace

float ClipDistance(const ClipVertex& vertex, std::uint8_t plane) noexcept {
  switch (plane) {
    case 0:
      return vertex.w + vertex.x;
    case 1:
      return vertex.w - vertex.x;
    case 2:
      return vertex.w + vertex.y;
    case 3:
      return vertex.w - vertex.y;
    case 4:
      return vertex.w + vertex.z;
    case 5:
      return vertex.w - vertex.z;
    default:
      return 0.0f;
  }
}

std::int32_t ClipTriangle(const ClipVertex in[3], ClipVertex* out) noexcept {
  ClipVertex storage[2][kClipOutputLimit];
  ClipVertex* input = storage[0];
  ClipVertex* output = storage[1];
  int count = 3;
  for (int i = 0; i < 3; ++i) input[i] = in[i];

  for (std::uint8_t plane = 0; plane < kPlanes; ++plane) {
    float distance[kClipOutputLimit];
    bool allInside = true;
    for (int i = 0; i < count; ++i) {
      distance[i] = ClipDistance(input[i], plane);
      allInside = allInside && distance[i] >= 0.0f;  // a NaN is outside
    }
    if (allInside) continue;  // the pass would copy the polygon in its own order

    int kept = 0;
    int previous = count - 1;
    for (int current = 0; current < count; ++current) {
      const bool currentInside = distance[current] >= 0.0f;
      const bool previousInside = distance[previous] >= 0.0f;
      if (currentInside != previousInside && kept < kClipOutputLimit) {
        output[kept++] = Intersection(input[previous], distance[previous], input[current], distance[current]);
      }
      if (currentInside && kept < kClipOutputLimit) output[kept++] = input[current];
      previous = current;
    }
    if (kept < 3) return 0;
    count = kept;
    ClipVertex* swapped = input;
    input = output;
    output = swapped;
  }
  for (int i = 0; i < count; ++i) out[i] = input[i];
  return count;
}

}  // namespace tlr2
