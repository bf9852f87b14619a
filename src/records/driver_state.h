// DriverState: all GL state, the per-frame vectors and the tile grid, one record for the process.
#pragma once

#include <cstdint>
#include <vector>

#include "base/gl.h"
#include "base/growing_vector.h"
#include "records/packet.h"
#include "records/state_snapshot.h"
#include "records/texture.h"
#include "records/triangle.h"

namespace tlr2 {

/// Triangle indices of one micro tile, ascending.
using TileEntryList = GrowingVector<std::uint32_t>;
/// Macro tile indices that one task owns.
using WorkerPartition = GrowingVector<std::int32_t>;
/// 0x1FFFFFF records are the most that a 32-bit address space holds.
using TriangleVector = GrowingVector<TriangleRecord, 0x1FFFFFF>;
using VertexVector = GrowingVector<PacketVertex, 0x0AAAAAAA>;

inline constexpr std::size_t kTriangleReserve = 65536;
inline constexpr std::size_t kVertexReserve = 65536;
inline constexpr std::size_t kPacketReserve = 4096;

/// What a frame's replay did. 96 bytes, zeroed at each replay and reset. Times are performance-counter ticks.
struct FrameBuildStats {
  std::uint64_t records;
  std::uint64_t vertices;
  std::uint64_t streamBytes;
  std::uint64_t blobBytes;
  std::uint64_t payloadBytes;  // referenced by texture uploads
  std::uint64_t interpreterTicks;
  std::uint64_t packetTicks;
  std::uint64_t emissionTicks;
  std::uint64_t packetCount;
  std::uint64_t triangleCount;
  std::uint64_t replayWaitTicks;  // between the request and the replay's start
  std::uint64_t replaySource;     // 0 none, 1 replay thread, 2 inline
};
static_assert(sizeof(FrameBuildStats) == 96);

/// Where in the list table each macro tile's lists lie: together, row by row, as many to a row as the grid has there.
/// Macro tiles of one task lie side by side in screen order. Lists of several tasks in turn would be drawn from
/// processor to processor all the time: a processor fetches more than the lines that it is asked for.
struct TileListPlaces {
  GrowingVector<std::uint32_t> first;  // of each macro tile, the index of its upper left micro tile's list
  std::int32_t microCols = 0, microRows = 0;
  std::size_t tasks = 0;  // 0 as long as there are no places
};

struct DriverState {
  std::int32_t matrixMode = 0;  // 0 modelview, 1 projection, 2 texture
  std::int32_t stackDepth[kMatrixStacks] = {};
  // All zero, not identity: until the application loads something every vertex transforms to zero. Kept on purpose.
  float matrixStacks[kMatrixStacks][kMatrixDepth][16] = {};
  float combinedMatrix[16] = {};
  std::uint8_t matricesDirty = 1;
  std::int32_t viewport[4] = {};
  std::int32_t fbWidth = 0, fbHeight = 0;
  std::int32_t microCols = 0, microRows = 0, macroCols = 0, macroRows = 0;
  std::uint32_t clearColor = 0xFF000000u;
  std::uint32_t currentColor = 0xFFFFFFFFu;
  float currentS = 0, currentT = 0;
  std::uint8_t texture2DEnabled = 0;
  std::uint32_t boundTexture = 0;
  std::vector<TextureObject> textureTable;  // indexed by texture name
  std::uint32_t lowestFreeTexture = 1;      // no slot from 1 up to here is free; see SlotBecameFree
  std::uint8_t blendEnabled = 0;
  std::uint32_t blendSrc = gl::kOne, blendDst = gl::kZero;
  std::uint8_t alphaTestEnabled = 0;
  std::uint32_t alphaFunc = gl::kAlways;
  float alphaRef = 0;
  std::uint8_t depthTestEnabled = 0;
  std::uint32_t depthFunc = gl::kLess;
  std::uint8_t depthMask = 1;
  float depthNear = 0, depthFar = 1;
  float clearDepth = 1;
  std::uint32_t texEnvMode = gl::kModulate;
  std::uint32_t texEnvColor = 0;
  std::uint8_t cullEnabled = 0;
  std::uint32_t cullMode = gl::kBack;
  std::uint32_t frontFace = gl::kCcw;
  std::uint32_t primitiveMode = 0;  // points and "none open" share the value 0
  VertexVector vertices;            // of the open primitive
  VertexVector packetVertices;
  GrowingVector<NativePacket> packets;
  FrameBuildStats buildStats = {};
  std::uint32_t packetSequence = 0;
  TriangleVector triangles;
  std::vector<TileEntryList> tileLists;  // one a micro tile, in the order of listPlaces
  GrowingVector<float> hizTable;         // one a micro tile, row by row
  std::uint32_t publishedTriangleCount = 0;
  std::uint8_t trianglesPublished = 0;
  std::vector<WorkerPartition> partitions;
  GrowingVector<std::uint16_t> macroOwner;  // 0xFFFF for none
  std::uint8_t pendingColorClear = 0;
  std::uint32_t pendingColorClearValue = 0xFF000000u;
  std::uint8_t pendingDepthClear = 0;
  float pendingDepthClearValue = 1;
  TileListPlaces listPlaces;
  std::uint8_t listsFilled = 0;  // since the lists were last emptied, tasks have run
};

}  // namespace tlr2
