// What a frame's build costs: the replay of recorded vertices, and the emission of their triangles.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <cstring>

#include "api/table/commands.h"
#include "frame/emission.h"
#include "frame/replay.h"
#include "tiles/queue/render_job_queue.h"

namespace {

using namespace tlr2;

template <typename Record>
void Put(CommandStream& stream, const Record& record) {
  std::memcpy(StreamAppend(stream, sizeof record), &record, sizeof record);
}

enum Attributes { kPosition = 0, kTexCoord = 1, kColor = 2 };

/// `batches` of `size` vertices in small triangles; `offset` moves them, beyond 1 out of the view.
void Record(CommandStream& stream, std::uint32_t mode, int batches, int size, int attributes, float offset) {
  Put(stream, CmdLoadIdentity());
  for (int b = 0; b < batches; ++b) {
    CmdBegin begin;
    begin.mode = mode;
    Put(stream, begin);
    for (int i = 0; i < size; ++i) {
      const auto f = static_cast<float>(i);
      if ((attributes & kTexCoord) != 0) {
        CmdTexCoord2f t;
        t.s = f;
        t.t = 0.5f;
        Put(stream, t);
      }
      if ((attributes & kColor) != 0) {
        CmdColor c;
        c.color = 0xFF000000u | static_cast<std::uint32_t>(i);
        Put(stream, c);
      }
      CmdVertex3f v;
      v.x = offset + 0.9f * std::sin(f * 0.37f + static_cast<float>(b));
      v.y = 0.9f * std::cos(f * 0.61f);
      v.z = 0.5f * std::sin(f);
      Put(stream, v);
    }
    Put(stream, CmdEnd());
  }
  Put(stream, CmdSwapBuffers());
}

void Prepare() {
  DriverState& state = DriverStateInstance();
  for (auto& stack : state.matrixStacks) {
    for (int i = 0; i < 16; ++i) stack[0][i] = i % 5 == 0 ? 1.0f : 0.0f;
  }
  state.viewport[2] = 1280;
  state.viewport[3] = 720;
}

void ReplayVertices(benchmark::State& bench) {
  Prepare();
  CommandStream stream;
  Record(stream, gl::kTriangles, 1000, 300, static_cast<int>(bench.range(0)), 0);
  DriverState& state = DriverStateInstance();
  for (auto _ : bench) {
    state.packetVertices.clear();
    state.packets.clear();
    state.packetSequence = 0;
    StreamInterpreter(stream);
  }
  bench.counters["s/vertex"] =
      benchmark::Counter(300000.0, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(ReplayVertices)->Arg(kPosition)->Arg(kTexCoord)->Arg(kColor)->Arg(kTexCoord | kColor);

void Emit(benchmark::State& bench, std::uint32_t mode, int size, float offset, bool parallel) {
  Prepare();
  CommandStream stream;
  Record(stream, mode, 300000 / size, size, kPosition, offset);
  ReplayFrame(stream, nullptr, false);
  for (auto _ : bench) EmitTriangles(parallel);
  double triangles = 0;
  for (const NativePacket& p : DriverStateInstance().packets) {
    triangles += mode == gl::kTriangles ? p.vertexCount / 3
                 : mode == gl::kQuads   ? p.vertexCount / 4 * 2
                                        : p.vertexCount - 2;
  }
  bench.counters["s/triangle"] =
      benchmark::Counter(triangles, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK_CAPTURE(Emit, list, gl::kTriangles, 300, 0.0f, false);
BENCHMARK_CAPTURE(Emit, strip, gl::kTriangleStrip, 300, 0.0f, false);
BENCHMARK_CAPTURE(Emit, single_quads, gl::kQuads, 4, 0.0f, false);
BENCHMARK_CAPTURE(Emit, list_outside, gl::kTriangles, 300, 5.0f, false);
BENCHMARK_CAPTURE(Emit, list_crossing, gl::kTriangles, 300, 0.5f, false);

void EmitTwoWorkers(benchmark::State& bench) {
  RJQ::StartPool(64, 2);
  Emit(bench, gl::kTriangles, 300, 0.0f, true);
  RJQ::StopPool();
}
BENCHMARK(EmitTwoWorkers)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
