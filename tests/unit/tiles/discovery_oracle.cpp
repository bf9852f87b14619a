// The plain form of discovery.
#include "discovery_oracle.h"

#include <algorithm>
#include <cmath>

namespace tlr2::oracle {
namespace {

std::int32_t ToInt(double whole) {
  if (!(whole >= -2147483648.0 && whole <= 2147483647.0)) return INT32_MIN;
  return static_cast<std::int32_t>(whole);
}
// The processor's answer is for the float itself, so its range is asked before rounding.
std::int32_t Floor(float v) {
  return v >= -2147483648.0f && v < 2147483648.0f ? ToInt(std::floor(double{v})) : INT32_MIN;
}
std::int32_t Ceil(float v) {
  return v >= -2147483648.0f && v < 2147483648.0f ? ToInt(std::ceil(double{v})) : INT32_MIN;
}

float Least(const float* v) {
  const float m = v[0] < v[1] ? v[0] : v[1];
  return m < v[2] ? m : v[2];
}
float Most(const float* v) {
  const float m = v[0] > v[1] ? v[0] : v[1];
  return m > v[2] ? m : v[2];
}

struct Setup {
  std::int32_t minX, minY, maxX, maxY;
  float a[3], b[3], c[3];
  bool edgesUsable;
  bool active;
  std::int32_t macroX0, macroY0, macroX1, macroY1, macroCount;
};

Setup Prepare(const DriverState& s, const TriangleRecord& t) {
  Setup out = {};
  out.minX = std::max(Floor(Least(t.x)), 0);
  out.minY = std::max(Floor(Least(t.y)), 0);
  out.maxX = std::min(Ceil(Most(t.x)), s.fbWidth);
  out.maxY = std::min(Ceil(Most(t.y)), s.fbHeight);
  if (out.minX >= out.maxX || out.minY >= out.maxY) return out;
  const float *x = t.x, *y = t.y;
  out.a[0] = -(y[1] - y[0]);
  out.b[0] = x[1] - x[0];
  out.c[0] = -(y[0] * out.b[0] + out.a[0] * x[0]);
  out.a[1] = -(y[2] - y[1]);
  out.b[1] = x[2] - x[1];
  out.c[1] = -(y[1] * out.b[1] + out.a[1] * x[1]);
  out.a[2] = -(y[0] - y[2]);
  out.b[2] = x[0] - x[2];
  out.c[2] = -(y[2] * out.b[2] + x[2] * out.a[2]);
  const float area = x[2] * out.a[0] + y[2] * out.b[0] + out.c[0];
  if (area < -0.0001f)
    for (int e = 0; e < 3; ++e) {
      out.a[e] = -out.a[e];
      out.b[e] = -out.b[e];
      out.c[e] = -out.c[e];
    }
  out.edgesUsable = area < -0.0001f || area > 0.0001f;
  out.macroX0 = out.minX >> 5;
  out.macroY0 = out.minY >> 5;
  out.macroX1 = std::min((out.maxX + 31) >> 5, s.macroCols);
  out.macroY1 = std::min((out.maxY + 31) >> 5, s.macroRows);
  out.macroCount = (out.macroY1 - out.macroY0) * (out.macroX1 - out.macroX0);
  out.active = out.macroCount > 0;
  return out;
}

bool Rejected(const DriverState& s, const Setup& t, std::int32_t microX, std::int32_t microY) {
  if (!t.edgesUsable) return false;
  const std::int32_t left = microX * 8, top = microY * 8;
  const std::int32_t right = std::min(left + 8, s.fbWidth), bottom = std::min(top + 8, s.fbHeight);
  for (int e = 0; e < 3; ++e) {
    const float x = static_cast<float>(t.a[e] < 0 ? left : right);
    const float y = static_cast<float>(t.b[e] < 0 ? top : bottom);
    if (t.a[e] * x + t.b[e] * y + t.c[e] < 0) return true;
  }
  return false;
}

void Bin(const DriverState& s, const Setup& t, std::int32_t macro, std::uint32_t index, Result& out) {
  const std::int32_t macroX = macro % s.macroCols, macroY = macro / s.macroCols;
  for (std::int32_t microY = macroY * 4; microY < std::min(macroY * 4 + 4, s.microRows); ++microY) {
    for (std::int32_t microX = macroX * 4; microX < std::min(macroX * 4 + 4, s.microCols); ++microX) {
      if (microX < t.minX >> 3 || microX >= (t.maxX + 7) >> 3 || microY < t.minY >> 3 || microY >= (t.maxY + 7) >> 3)
        continue;
      ++out.counts.microsConsidered;
      if (Rejected(s, t, microX, microY)) {
        ++out.counts.microsEdgeRejected;
      } else {
        ++out.counts.microsAccepted;
        out.lists[static_cast<std::size_t>(microY * s.microCols + microX)].push_back(index);
      }
    }
  }
}

}  // namespace

Result Discover(const DriverState& s, std::int32_t task, const std::vector<TriangleRecord>& triangles) {
  Result out;
  out.lists.resize(static_cast<std::size_t>(s.microCols * s.microRows));
  const WorkerPartition& partition = s.partitions[static_cast<std::size_t>(task)];
  for (std::uint32_t i = 0; i < triangles.size(); ++i) {
    const Setup t = Prepare(s, triangles[i]);
    if (!t.active) continue;
    if (t.macroCount < static_cast<std::int32_t>(partition.size())) {
      ++out.counts.pickedByBox;
      for (std::int32_t y = t.macroY0; y < t.macroY1; ++y)
        for (std::int32_t x = t.macroX0; x < t.macroX1; ++x) {
          ++out.counts.macrosVisitedByBox;
          const std::int32_t macro = y * s.macroCols + x;
          if (s.macroOwner[static_cast<std::size_t>(macro)] == static_cast<std::uint16_t>(task))
            Bin(s, t, macro, i, out);
          else
            ++out.counts.macrosSkippedByOwner;
        }
    } else {
      ++out.counts.pickedByList;
      for (const std::int32_t macro : partition) {
        ++out.counts.macrosVisitedByList;
        const std::int32_t x = macro % s.macroCols, y = macro / s.macroCols;
        if (x * 32 < t.maxX && std::min(x * 32 + 32, s.fbWidth) > t.minX && y * 32 < t.maxY &&
            std::min(y * 32 + 32, s.fbHeight) > t.minY)
          Bin(s, t, macro, i, out);
        else
          ++out.counts.macrosSkippedByBox;
      }
    }
  }
  return out;
}

std::vector<std::uint8_t> KeptTiles(const DriverState& s, const TriangleRecord& triangle) {
  std::vector<std::uint8_t> kept(static_cast<std::size_t>(s.microCols * s.microRows), 0);
  const Setup t = Prepare(s, triangle);
  if (!t.active) return kept;
  for (std::int32_t y = 0; y < s.microRows; ++y)
    for (std::int32_t x = 0; x < s.microCols; ++x) {
      const std::int32_t left = x * 8, right = std::min(left + 8, s.fbWidth);
      const std::int32_t top = y * 8, bottom = std::min(top + 8, s.fbHeight);
      const bool inBox = left < t.maxX && right > t.minX && top < t.maxY && bottom > t.minY;
      kept[static_cast<std::size_t>(y * s.microCols + x)] = inBox && !Rejected(s, t, x, y);
    }
  return kept;
}

}  // namespace tlr2::oracle
