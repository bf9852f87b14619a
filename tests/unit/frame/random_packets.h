// Random packets and vertices: some inside the view, some across its planes, some wild.
#pragma once

#include <bit>
#include <cstdint>
#include <random>
#include <vector>

#include "records/packet.h"

namespace frame_test {

class RandomFrame {
 public:
  explicit RandomFrame(std::uint32_t seed) : random_(seed) {}

  float Uniform(float low, float high) { return std::uniform_real_distribution<float>(low, high)(random_); }
  std::uint32_t Word() { return static_cast<std::uint32_t>(random_()); }
  std::uint32_t Below(std::uint32_t n) { return Word() % n; }
  /// Any bit pattern: infinities, NaNs and denormals among them.
  float Wild() { return std::bit_cast<float>(Word()); }

  /// `reach`: 0.5 keeps everything inside the view, 4 puts most across its planes.
  tlr2::PacketVertex Vertex(float reach) {
    return {Uniform(-reach, reach), Uniform(-reach, reach), Uniform(-reach, reach), Word(),
            Uniform(-8, 8),         Uniform(-8, 8)};
  }

  tlr2::NativePacket Packet(std::uint32_t mode, std::uint32_t firstVertex, std::uint32_t vertexCount) {
    tlr2::NativePacket p = {};
    p.mode = mode;
    p.firstVertex = firstVertex;
    p.vertexCount = vertexCount;
    // A perspective with w about 1 to 3 before the vertex moves it.
    for (int i = 0; i < 16; ++i) p.mvp[i] = (i % 5 == 0 ? 1.0f : 0.0f) + Uniform(-0.2f, 0.2f);
    p.mvp[11] = Uniform(-0.5f, 0.5f);
    p.mvp[15] = Uniform(1.0f, 3.0f);
    p.viewportX = static_cast<std::int32_t>(Below(200)) - 100;
    p.viewportY = static_cast<std::int32_t>(Below(200)) - 100;
    p.viewportW = static_cast<std::int32_t>(Below(2000));
    p.viewportH = static_cast<std::int32_t>(Below(2000));
    p.depthNear = Uniform(-0.5f, 1.0f);
    p.depthFar = Uniform(0.0f, 1.5f);
    p.cullEnabled = Below(2);
    const std::uint32_t modes[] = {0x0404, 0x0405, 0x0408, 0x1234};
    p.cullMode = modes[Below(8) == 0 ? 2 : Below(4) == 3 ? 3 : Below(2)];
    p.frontFace = Below(2) == 0 ? 0x0901 : 0x0900;
    p.triangleTemplate.textureIndex = Word();
    p.triangleTemplate.blendMode = Word();
    p.triangleTemplate.alphaTest = Word();
    p.triangleTemplate.depthTest = Word();
    p.triangleTemplate.depthFunc = Word();
    p.triangleTemplate.depthWrite = Word();
    p.triangleTemplate.texEnvMode = Word();
    p.triangleTemplate.texEnvColor = Word();
    p.triangleTemplate.filterMode = Word();
    return p;
  }

 private:
  std::mt19937 random_;
};

}  // namespace frame_test
