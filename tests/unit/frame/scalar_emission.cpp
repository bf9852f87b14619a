// The scalar judge of emission.
#include "scalar_emission.h"

#include <cmath>
#include <cstring>

namespace frame_test {
namespace {

using tlr2::ClipVertex;
using tlr2::NativePacket;
using tlr2::PacketVertex;
using tlr2::TriangleRecord;

float Side(const ClipVertex& v, int k) {
  const float coordinate = k < 2 ? v.x : k < 4 ? v.y : v.z;
  return (k & 1) == 0 ? v.w + coordinate : v.w - coordinate;
}

std::uint8_t ByteOf(std::uint32_t word, int i) { return static_cast<std::uint8_t>(word >> (8 * i)); }

ClipVertex Cross(const ClipVertex& p, float dp, const ClipVertex& c, float dc) {
  const float difference = dp - dc;
  const float a = dp / difference;
  const float b = 1.0f - a;
  const auto mix = [a, b](float current, float previous) {
    const float first = current * a;
    const float second = previous * b;
    return first + second;
  };
  ClipVertex out = {mix(c.x, p.x), mix(c.y, p.y), mix(c.z, p.z), mix(c.w, p.w), 0, mix(c.s, p.s), mix(c.t, p.t)};
  for (int i = 0; i < 4; ++i) {
    const float sum = mix(static_cast<float>(ByteOf(c.color, i)), static_cast<float>(ByteOf(p.color, i)));
    const float rounded = sum + 0.5f;
    const bool fits = rounded > -2147483648.0f && rounded < 2147483648.0f;
    const std::uint32_t whole = fits ? static_cast<std::uint32_t>(static_cast<std::int32_t>(rounded)) : 0x80000000u;
    out.color |= (whole & 255u) << (8 * i);
  }
  return out;
}

float Least(float a, float b) { return a < b ? a : b; }
float Most(float a, float b) { return a > b ? a : b; }

}  // namespace

void ScalarTransform(const float m[16], float x, float y, float z, float out[4]) {
  for (int row = 0; row < 4; ++row) {
    float sum = y * m[4 + row];
    const float fromX = x * m[row];
    sum = sum + fromX;
    const float fromZ = z * m[8 + row];
    sum = sum + fromZ;
    sum = sum + m[12 + row];
    out[row] = sum;
  }
}

std::vector<ClipVertex> ScalarClip(const std::vector<ClipVertex>& triangle) {
  std::vector<ClipVertex> polygon = triangle;
  for (int plane = 0; plane < 6; ++plane) {
    std::vector<ClipVertex> next;
    const ClipVertex* previous = &polygon.back();
    for (const ClipVertex& current : polygon) {
      const float dp = Side(*previous, plane), dc = Side(current, plane);
      const bool in = dc >= 0, wasIn = dp >= 0;
      if (in != wasIn && next.size() < 12) next.push_back(Cross(*previous, dp, current, dc));
      if (in && next.size() < 12) next.push_back(current);
      previous = &current;
    }
    if (next.size() < 3) return {};
    polygon = next;
  }
  return polygon;
}

bool ScalarSetup(const NativePacket& packet, const ClipVertex& a, const ClipVertex& b, const ClipVertex& c,
                 const ScalarSwitches& switches, TriangleRecord& out) {
  TriangleRecord r = packet.triangleTemplate;
  const ClipVertex* corner[3] = {&a, &b, &c};
  for (int i = 0; i < 3; ++i) {
    const ClipVertex& v = *corner[i];
    if (v.w <= 0) return false;
    const float inverse = 1.0f / v.w;
    float ndc[3] = {inverse * v.x, inverse * v.y, inverse * v.z};
    for (float& n : ndc) {
      n = n * 0.5f;
      n = n + 0.5f;
    }
    const float wide = ndc[0] * static_cast<float>(packet.viewportW);
    r.x[i] = wide + static_cast<float>(packet.viewportX);
    const float flipped = 1.0f - ndc[1];
    const float high = flipped * static_cast<float>(packet.viewportH);
    r.y[i] = high + static_cast<float>(packet.viewportY);
    const float span = packet.depthFar - packet.depthNear;
    const float deep = ndc[2] * span;
    r.z[i] = deep + packet.depthNear;
    r.invW[i] = inverse;
    r.color[i] = v.color;
    r.s[i] = v.s;
    r.t[i] = v.t;
  }
  r.zMin = Least(Least(r.z[0], r.z[1]), r.z[2]);
  r.zMax = Most(Most(r.z[0], r.z[1]), r.z[2]);
  if (switches.disableHiZ) {
    const std::uint32_t low = 0xF149F2CAu, high = 0x7149F2CAu;
    std::memcpy(&r.zMin, &low, 4);
    std::memcpy(&r.zMax, &high, 4);
  }
  if (packet.cullEnabled != 0 && !switches.disableFaceCull) {
    const float left = (r.x[1] - r.x[0]) * (r.y[2] - r.y[0]);
    const float right = (r.x[2] - r.x[0]) * (r.y[1] - r.y[0]);
    const float area = left - right;
    const bool front = packet.frontFace == 0x0901 ? area < 0 : area > 0;
    if (packet.cullMode == 0x0404 && front) return false;
    if (packet.cullMode == 0x0405 && !front) return false;
    if (packet.cullMode == 0x0408) return false;
  }
  out = r;
  return true;
}

std::vector<std::uint32_t> ScalarAssembly(std::uint32_t mode, std::uint32_t n) {
  std::vector<std::uint32_t> out;
  const auto add = [&out](std::uint32_t a, std::uint32_t b, std::uint32_t c) { out.insert(out.end(), {a, b, c}); };
  if (n < 3) return out;
  if (mode == 4) {
    for (std::uint32_t k = 0; k < n / 3; ++k) add(3 * k, 3 * k + 1, 3 * k + 2);
  } else if (mode == 5) {
    for (std::uint32_t k = 0; k + 2 < n; ++k) {
      if (k % 2 == 0) {
        add(k, k + 1, k + 2);
      } else {
        add(k + 1, k, k + 2);
      }
    }
  } else if (mode == 6 || mode == 9) {
    for (std::uint32_t k = 1; k < n - 1; ++k) add(0, k, k + 1);
  } else if (mode == 7) {
    for (std::uint32_t q = 0; q < n / 4; ++q) {
      add(4 * q, 4 * q + 1, 4 * q + 2);
      add(4 * q, 4 * q + 2, 4 * q + 3);
    }
  } else if (mode == 8) {
    for (std::uint32_t q = 0; 2 * q + 3 < n; ++q) {
      add(2 * q, 2 * q + 1, 2 * q + 3);
      add(2 * q, 2 * q + 3, 2 * q + 2);
    }
  }
  return out;
}

void ScalarEmit(const NativePacket& packet, const PacketVertex* frameVertices, const ScalarSwitches& switches,
                std::vector<TriangleRecord>& out) {
  const std::vector<std::uint32_t> indices = ScalarAssembly(packet.mode, packet.vertexCount);
  for (std::size_t i = 0; i < indices.size(); i += 3) {
    std::vector<ClipVertex> triangle;
    for (std::size_t k = i; k < i + 3; ++k) {
      const PacketVertex& v = frameVertices[packet.firstVertex + indices[k]];
      float clip[4];
      ScalarTransform(packet.mvp, v.x, v.y, v.z, clip);
      triangle.push_back({clip[0], clip[1], clip[2], clip[3], v.color, v.s, v.t});
    }
    const std::vector<ClipVertex> polygon = ScalarClip(triangle);
    for (std::size_t k = 1; k + 1 < polygon.size(); ++k) {
      TriangleRecord record;
      if (ScalarSetup(packet, polygon[0], polygon[k], polygon[k + 1], switches, record)) out.push_back(record);
    }
  }
}

bool SameRecord(const TriangleRecord& a, const TriangleRecord& b) {
  std::uint32_t left[32], right[32];
  std::memcpy(left, &a, sizeof left);
  std::memcpy(right, &b, sizeof right);
  for (int i = 0; i < 32; ++i) {
    if (left[i] == right[i]) continue;
    const bool isFloat = i < 9 || (i >= 12 && i < 21) || i >= 30;
    float l, r;
    std::memcpy(&l, &left[i], 4);
    std::memcpy(&r, &right[i], 4);
    if (!isFloat || !std::isnan(l) || !std::isnan(r)) return false;
  }
  return true;
}

}  // namespace frame_test
