// The pieces, from the driver's own counter, records and vectors.
#include "pieces.h"

#include <new>

#include "api/state/command_stream.h"
#include "api/table/commands.h"
#include "base/atomic64.h"
#include "platform/thread_block.h"
#include "records/packet.h"

namespace bench {
namespace {

using namespace tlr2;

constinit Counter64 counter{0};
ByteVector bytes;
GrowingVector<PacketVertex, 0x0AAAAAAA> vertices;
volatile bool seen;

inline __attribute__((always_inline)) void AppendRecord(float x, float y, float z) {
  if (bytes.spare() < sizeof(CmdVertex3f)) [[unlikely]]
    return;
  new (bytes.TakeSpare(sizeof(CmdVertex3f))) CmdVertex3f{.x = x, .y = y, .z = z};
}
inline __attribute__((always_inline)) void AppendVertex(float x, float y, float z) {
  if (vertices.spare() == 0) [[unlikely]]
    return;
  new (vertices.TakeSpare(1)) PacketVertex{x, y, z, 0xFFFFFFFFu, 0, 0};
}

}  // namespace

void Nothing(float, float, float) { __asm__ volatile(""); }
void Count() { CounterAdd(counter, 1); }
void Append(float x, float y, float z) { AppendRecord(x, y, z); }
void PushVertex(float x, float y, float z) { AppendVertex(x, y, z); }
void ReachThread() { seen = CurrentThreadGuard().suppress; }
void All(float x, float y, float z) {
  CounterAdd(counter, 1);
  AppendRecord(x, y, z);
  AppendVertex(x, y, z);
}
void EmptyPieces() {
  bytes.clear();
  vertices.clear();
  bytes.reserve(4194304);
  vertices.reserve(65536);
}

}  // namespace bench
