// The entries themselves: what a vertex costs the application between swaps, and what an idle call costs.
#include <benchmark/benchmark.h>

#include "api/state/command_stream.h"
#include "api/table/prototypes.h"
#include "settings/settings.h"

namespace {

using namespace tlr2;

constexpr int kBatch = 300;  // vertices between begin and end
constexpr int kBatches = 100;

/// One frame's calls; the stream is dropped as a swap without a context drops it.
template <typename Vertex>
void Frame(benchmark::State& state, Vertex&& vertex) {
  for (auto _ : state) {
    for (int batch = 0; batch < kBatches; ++batch) {
      glBegin(gl::kTriangles);
      for (int i = 0; i < kBatch; ++i) vertex(static_cast<float>(i), static_cast<float>(batch));
      glEnd();
    }
    CommandStreamInstance().bytes.clear();
  }
  state.SetItemsProcessed(state.iterations() * kBatch * kBatches);
}

void VertexAlone(benchmark::State& state) {
  Frame(state, [](float x, float y) { glVertex3f(x, y, 1); });
}
BENCHMARK(VertexAlone);

void TexCoordAndVertex(benchmark::State& state) {
  Frame(state, [](float x, float y) {
    glTexCoord2f(x, y);
    glVertex3f(x, y, 1);
  });
}
BENCHMARK(TexCoordAndVertex);

void TexCoordColourAndVertex(benchmark::State& state) {
  Frame(state, [](float x, float y) {
    glTexCoord2f(x, y);
    glColor4ub(10, 20, 30, 255);
    glVertex3f(x, y, 1);
  });
}
BENCHMARK(TexCoordColourAndVertex);

void WithoutTheStream(benchmark::State& state) {
  Settings().pipelineCutoff = 0;
  Frame(state, [](float x, float y) { glVertex3f(x, y, 1); });
  Settings().pipelineCutoff = 5;
}
BENCHMARK(WithoutTheStream);

void CountedStub(benchmark::State& state) {
  for (auto _ : state) glNormal3f(0, 0, 1);
}
BENCHMARK(CountedStub);

void StateChange(benchmark::State& state) {
  for (auto _ : state) {
    glBlendFunc(gl::kSrcAlpha, gl::kOneMinusSrcAlpha);
    if (CommandStreamInstance().bytes.size() > 1000000) CommandStreamInstance().bytes.clear();
  }
}
BENCHMARK(StateChange);

}  // namespace

BENCHMARK_MAIN();
