// explain: how one pixel came about, triangle by triangle.
#include <cstdio>
#include <cstring>
#include <nlohmann/json.hpp>

#include "api/state/driver_state.h"
#include "tlr2_replay/command.h"
#include "tlr2_replay/console.h"
#include "tlr2_replay/gl_names.h"
#include "tlr2_replay/json_output.h"
#include "tlr2_replay/known_pixels.h"
#include "tlr2_replay/load.h"
#include "tlr2_replay/options.h"
#include "tlr2_replay/picture.h"
#include "tlr2_replay/primitive_index.h"
#include "tlr2_replay/record_text.h"
#include "tlr2_replay/scalar_frame.h"
#include "tlr2_replay/session_arguments.h"
#include "tlr2_replay/state_text.h"

namespace tlr2::tool {
namespace {

using Json = nlohmann::ordered_json;

/// The words of a triangle's draw state; values past a table act as its last entry says.
template <std::size_t N>
const char* NameOf(const char* const (&names)[N], std::uint32_t value) {
  return names[value < N ? value : N - 1];
}
constexpr const char* kDepthFuncs[] = {"always", "less", "lequal", "equal", "gequal", "greater", "notequal", "never"};
constexpr const char* kBlends[] = {"none", "add", "multiply", "alpha", "none"};
constexpr const char* kEnvironments[] = {"modulate", "replace", "decal", "blend", "modulate"};
constexpr const char* kFilters[] = {"nearest", "trilinear", "bilinear", "trilinear"};
constexpr const char* kFates[] = {"hidden behind the tile's depth bound", "depth test failed", "alpha test failed",
                                  "stored"};
constexpr const char* kSources[] = {"not shaded", "shaded", "shared: the colour of plane 0",
                                    "shared: the mean of planes 0 and 3", "shared: the mean of planes 0, 3 and 2"};

/// All that the walk tells of one pixel.
struct Story {
  std::int32_t x = 0, y = 0;
  std::vector<judge::ScalarFragment> fragments;
  std::vector<TriangleRecord> triangles;  // parallel
  std::uint32_t startColor = 0, endColor = 0, drawnColor = 0;
  float startDepth = 0, endDepth = 0, drawnDepth = 0;
  std::vector<DrawnPrimitive> primitives;
  bool known = true;

  bool Agrees() const { return endColor == drawnColor && std::memcmp(&endDepth, &drawnDepth, sizeof endDepth) == 0; }
};

Story Tell(Session& session, std::uint32_t frame, std::int32_t x, std::int32_t y) {
  Story story;
  story.x = x;
  story.y = y;
  session.PlayUpTo(frame);
  story.primitives = DrawnPrimitives(session.Capture().streams[frame], session.OpenPrimitiveMode());
  StepHooks hooks;
  hooks.rendered = [&] {
    const PictureView picture = session.Picture();
    if (x >= picture.width || y >= picture.height)
      FailUsage(Format("pixel %d,%d is outside the picture of %dx%d", static_cast<int>(x), static_cast<int>(y),
                       static_cast<int>(picture.width), static_cast<int>(picture.height)));
    const std::size_t at =
        static_cast<std::size_t>(y) * static_cast<std::size_t>(picture.width) + static_cast<std::size_t>(x);
    CountTriangles(story.primitives, session.TrianglesOfPrimitives());
    FrameStart start = session.Start();
    story.startColor = start.color[at];
    story.startDepth = start.depth[at];
    judge::ScalarObserver observer;
    observer.context = &story;
    observer.fragment = [](void* context, const judge::ScalarFragment& fragment) {
      Story& told = *static_cast<Story*>(context);
      if (fragment.x != told.x || fragment.y != told.y) return;
      told.fragments.push_back(fragment);
      told.triangles.push_back(DriverStateInstance().triangles[fragment.triangle]);
    };
    WalkFrame(start, session.Target(), {x / 8, y / 8, x / 8 + 1, y / 8 + 1}, observer);
    story.endColor = start.color[at];
    story.endDepth = start.depth[at];
    story.drawnColor = picture.Row(y)[x];
    story.drawnDepth = session.Depth().depths[at];
  };
  session.StepTo(frame, hooks);
  story.known = session.Known()->ColorKnown(x, y);
  return story;
}

std::string Channels(const float (&color)[4]) {
  return Format("%.4g %.4g %.4g %.4g", static_cast<double>(color[0]), static_cast<double>(color[1]),
                static_cast<double>(color[2]), static_cast<double>(color[3]));
}

void Print(const Story& story, const Session& session, std::uint32_t frame) {
  std::printf("frame %u, pixel %d,%d, target %s: plane %d of its 8x8 tile at %d,%d\n", static_cast<unsigned>(frame),
              static_cast<int>(story.x), static_cast<int>(story.y), kTargetNames[session.Target()],
              static_cast<int>((story.x & 1) + 2 * (story.y & 1)), static_cast<int>(story.x & ~7),
              static_cast<int>(story.y & ~7));
  std::printf("starts as color %08x, depth %s%s\n", static_cast<unsigned>(story.startColor),
              FloatText(story.startDepth).c_str(),
              story.known ? "" : " (the result depends on what earlier frames left, which the capture does not hold)");
  for (std::size_t i = 0; i < story.fragments.size(); ++i) {
    const judge::ScalarFragment& f = story.fragments[i];
    const TriangleRecord& tri = story.triangles[i];
    std::printf("%zu. triangle %u", i + 1, static_cast<unsigned>(f.triangle));
    if (const DrawnPrimitive* p = PrimitiveOfTriangle(story.primitives, f.triangle); p != nullptr)
      std::printf(" of %s (%s, records %u to %u)", PrimitiveName(p->primitive).c_str(),
                  GlName(p->mode, NameGroup::kPrimitive).c_str(), static_cast<unsigned>(p->beginRecord),
                  static_cast<unsigned>(p->endRecord));
    std::printf(": %s\n", kFates[static_cast<int>(f.fate)]);
    std::printf("     coverage: weights %s %s %s\n", FloatText(f.weights[0]).c_str(), FloatText(f.weights[1]).c_str(),
                FloatText(f.weights[2]).c_str());
    if (f.fate == judge::FragmentFate::kHidden) continue;
    if (f.depthTested) {
      std::printf("     depth: %s %s %s %s%s\n", FloatText(f.z).c_str(), NameOf(kDepthFuncs, tri.depthFunc),
                  FloatText(f.storedDepth).c_str(), f.fate == judge::FragmentFate::kDepthFailed ? "fails" : "passes",
                  tri.depthWrite != 0 ? "" : ", not written");
    } else {
      std::printf("     depth: no test\n");
    }
    if (f.source == judge::ColorSource::kNone) continue;
    std::printf("     color: %s%s\n", Channels(f.color).c_str(),
                f.source == judge::ColorSource::kShaded
                    ? ", shaded here"
                    : (std::string(", ") + kSources[static_cast<int>(f.source)]).c_str());
    if (f.shading.textured)
      std::printf("     texel: texture %u at %s, %s, %s level %d: %s, %s on %s\n",
                  static_cast<unsigned>(tri.textureIndex), FloatText(f.shading.s).c_str(),
                  FloatText(f.shading.t).c_str(), NameOf(kFilters, tri.filterMode), f.shading.level,
                  Channels(f.shading.texel).c_str(), NameOf(kEnvironments, tri.texEnvMode),
                  Channels(f.shading.interpolated).c_str());
    if (tri.alphaTest != 0)
      std::printf("     alpha test: %s\n", f.fate == judge::FragmentFate::kAlphaRejected ? "fails" : "passes");
    if (f.fate == judge::FragmentFate::kStored)
      std::printf("     blend %s: %08x becomes %08x\n", NameOf(kBlends, tri.blendMode), static_cast<unsigned>(f.before),
                  static_cast<unsigned>(f.after));
  }
  if (story.fragments.empty()) std::printf("no triangle covers it\n");
  std::printf("ends as color %08x, depth %s\n", static_cast<unsigned>(story.endColor),
              FloatText(story.endDepth).c_str());
  if (story.Agrees()) {
    std::printf("the kernel drew the same\n");
  } else {
    std::printf("the kernel drew color %08x, depth %s\n", static_cast<unsigned>(story.drawnColor),
                FloatText(story.drawnDepth).c_str());
  }
}

template <std::size_t N>
Json JsonFloats(const float (&values)[N]) {
  Json list = Json::array();
  for (const float value : values) list.push_back(JsonFloat(value));
  return list;
}

Json JsonOf(const Story& story, const Session& session, std::uint32_t frame) {
  const auto word = [](std::uint32_t color) { return Format("%08x", static_cast<unsigned>(color)); };
  Json triangles = Json::array();
  for (std::size_t i = 0; i < story.fragments.size(); ++i) {
    const judge::ScalarFragment& f = story.fragments[i];
    const TriangleRecord& tri = story.triangles[i];
    Json entry = {{"triangle", f.triangle}};
    if (const DrawnPrimitive* p = PrimitiveOfTriangle(story.primitives, f.triangle); p != nullptr) {
      entry["primitive"] = nullptr;  // it began before the frame
      if (p->primitive != PrimitiveCounter::kNone) entry["primitive"] = p->primitive;
      entry["mode"] = GlName(p->mode, NameGroup::kPrimitive);
      entry["records"] = {p->beginRecord, p->endRecord};
    }
    entry["fate"] = kFates[static_cast<int>(f.fate)];
    entry["weights"] = JsonFloats(f.weights);
    if (f.depthTested)
      entry["depth"] = {{"value", JsonFloat(f.z)},
                        {"function", NameOf(kDepthFuncs, tri.depthFunc)},
                        {"stored", JsonFloat(f.storedDepth)},
                        {"passes", f.fate != judge::FragmentFate::kDepthFailed},
                        {"writes", tri.depthWrite != 0}};
    if (f.source != judge::ColorSource::kNone) {
      entry["color"] = JsonFloats(f.color);
      entry["source"] = kSources[static_cast<int>(f.source)];
    }
    if (f.shading.textured)
      entry["texel"] = {{"texture", tri.textureIndex},
                        {"s", JsonFloat(f.shading.s)},
                        {"t", JsonFloat(f.shading.t)},
                        {"filter", NameOf(kFilters, tri.filterMode)},
                        {"level", f.shading.level},
                        {"color", JsonFloats(f.shading.texel)},
                        {"environment", NameOf(kEnvironments, tri.texEnvMode)},
                        {"fragment", JsonFloats(f.shading.interpolated)}};
    if (tri.alphaTest != 0 && f.source != judge::ColorSource::kNone)
      entry["alphaTestPasses"] = f.fate != judge::FragmentFate::kAlphaRejected;
    if (f.fate == judge::FragmentFate::kStored)
      entry["blend"] = {{"mode", NameOf(kBlends, tri.blendMode)}, {"before", word(f.before)}, {"after", word(f.after)}};
    triangles.push_back(entry);
  }
  return {{"frame", frame},
          {"pixel", {story.x, story.y}},
          {"target", kTargetNames[session.Target()]},
          {"known", story.known},
          {"start", {{"color", word(story.startColor)}, {"depth", JsonFloat(story.startDepth)}}},
          {"triangles", triangles},
          {"end", {{"color", word(story.endColor)}, {"depth", JsonFloat(story.endDepth)}}},
          {"drawn", {{"color", word(story.drawnColor)}, {"depth", JsonFloat(story.drawnDepth)}}},
          {"agrees", story.Agrees()}};
}

}  // namespace

int RunExplain(const Words& words) {
  CommandLine line("explain");
  std::string file, pixel;
  std::uint32_t frame = 0;
  SessionArguments arguments;
  line.AddFile(file);
  line.Add("--pixel", pixel, "The pixel, as x,y from the top left", {.required = true});
  line.Add("--frame", frame, "The frame, counted from 0", {.showsDefault = true});
  arguments.AddTargetTo(line);
  arguments.AddSettingsTo(line);  // and no cutoff: the picture is needed whole
  line.AddJson();
  if (const auto code = line.Parse(words)) return *code;
  const std::size_t comma = pixel.find(',');
  const auto x = ParseNumber(pixel.substr(0, comma));
  const auto y = comma == std::string::npos ? std::nullopt : ParseNumber(pixel.substr(comma + 1));
  if (!x || !y || *x > INT32_MAX || *y > INT32_MAX) FailUsage("'" + pixel + "' is no pixel such as 100,20");
  SessionOptions options = arguments.Options();
  options.keepStart = options.keepKnown = true;
  if (options.cutoff != 5) FailUsage("the pixel needs the whole pipeline: PipelineCutoff=5");

  CaptureContents capture = LoadCapture(file);
  SelectFrames(std::to_string(frame), static_cast<std::uint32_t>(capture.streams.size()));
  Session session(capture, options);
  const Story story = Tell(session, frame, static_cast<std::int32_t>(*x), static_cast<std::int32_t>(*y));
  if (line.json) {
    WriteJson(JsonOf(story, session, frame));
  } else {
    Print(story, session, frame);
  }
  return story.Agrees() ? kDone : kDiffer;
}

}  // namespace tlr2::tool
