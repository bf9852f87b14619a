// render: draws frames of a capture into files, without a window.
#include <cstdio>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "api/state/driver_state.h"
#include "base/hash.h"
#include "tlr2_replay/command.h"
#include "tlr2_replay/console.h"
#include "tlr2_replay/json_output.h"
#include "tlr2_replay/load.h"
#include "tlr2_replay/options.h"
#include "tlr2_replay/picture.h"
#include "tlr2_replay/primitive_index.h"
#include "tlr2_replay/record_text.h"
#include "tlr2_replay/session_arguments.h"

namespace tlr2::tool {
namespace {

struct Output {
  std::string folder;
  std::string format = "png";
  bool depth = false;
  std::vector<std::string> files;

  bool Writes() const { return format != "hash"; }
  std::string PathOf(const std::string& name) const { return (std::filesystem::path(folder) / name).string(); }

  void Put(const std::string& stem, const PictureView& picture) {
    if (!Writes()) return;
    const std::string path = PathOf(stem + (format == "png" ? ".png" : ".bgra"));
    if (format == "png") {
      const Bytes png = PngOfPicture(picture);
      WriteFile(path, png.data(), png.size());
    } else {
      const StoredPicture tight = StorePicture(picture);
      WriteFile(path, tight.pixels.data(), tight.pixels.size() * sizeof tight.pixels[0]);
    }
    files.push_back(path);
  }
  void PutDepth(const std::string& stem, const DepthView& view) {
    if (!Writes() || !depth) return;
    const std::string path = PathOf(stem + (format == "png" ? "_depth.png" : "_depth.f32"));
    if (format == "png") {
      const Bytes png = PngOfDepth(view);
      WriteFile(path, png.data(), png.size());
    } else {
      WriteFile(path, view.depths,
                static_cast<std::size_t>(view.width) * static_cast<std::size_t>(view.height) * sizeof(float));
    }
    files.push_back(path);
  }
};

struct PrimitiveOutput {
  std::uint32_t primitive;   // as `calls` counts; kNone for one that began before the frame
  std::string color, depth;  // hashes
};

/// The picture as each of the frame's primitives left it.
std::vector<PrimitiveOutput> PutPrimitives(const Session& session, std::vector<DrawnPrimitive>& primitives,
                                           const std::string& stem, Output& output) {
  std::vector<PrimitiveOutput> put;
  const DepthView size = session.Depth();
  const std::vector<std::uint32_t> counts = session.TrianglesOfPrimitives();
  if (!CountTriangles(primitives, counts))
    throw CommandFailure{kInternal, "the frame's packets are not those of its records"};
  Progress progress("primitives", primitives.size());
  for (const DrawnPrimitive& primitive : primitives) {
    StopIfInterrupted();
    progress.Show(put.size());
    StoredPicture picture;
    picture.width = size.width;
    picture.height = size.height;
    std::vector<float> depth;
    picture.pixels = session.DrawPrefix(primitive.firstTriangle + primitive.triangles, &depth);
    const bool begins = primitive.primitive != PrimitiveCounter::kNone;
    const std::string name =
        stem + (begins ? Format("_primitive%05u", static_cast<unsigned>(primitive.primitive)) : "_primitive_open");
    output.Put(name, picture.View());
    output.PutDepth(name, {depth.data(), size.width, size.height});
    const std::uint32_t color = Fnv1a(picture.pixels.data(), picture.pixels.size() * sizeof picture.pixels[0]);
    const std::uint32_t depths = Fnv1a(depth.data(), depth.size() * sizeof depth[0]);
    put.push_back({primitive.primitive, Format("%08x", static_cast<unsigned>(color)),
                   Format("%08x", static_cast<unsigned>(depths))});
  }
  return put;
}

nlohmann::ordered_json JsonOf(const std::vector<PrimitiveOutput>& primitives) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const PrimitiveOutput& one : primitives) {
    nlohmann::ordered_json number;  // null for one that began before the frame
    if (one.primitive != PrimitiveCounter::kNone) number = one.primitive;
    list.push_back({{"primitive", number}, {"color", one.color}, {"depth", one.depth}});
  }
  return list;
}

}  // namespace

int RunRender(const Words& words) {
  CommandLine line("render");
  std::string file, frames;
  bool eachPrimitive = false;
  SessionArguments arguments;
  Output output;
  line.AddFile(file);
  line.Add("--frames", frames, "Frames to draw, as in 0-9,20; all without it");
  line.Add("--out", output.folder, "Folder for the files; made when it is not there");
  line.Add("--format", output.format, "png; raw for tight rows of BGRA bytes and f32 depths; or hash for no files",
           {.showsDefault = true, .choices = {"png", "raw", "hash"}});
  line.AddFlag("--depth", output.depth, "The depth buffer too, as a picture from near (white) to far (black)");
  line.AddFlag("--each-primitive", eachPrimitive, "The picture after every primitive too");
  arguments.AddTo(line);
  line.AddJson();
  if (const auto code = line.Parse(words)) return *code;
  if (output.Writes() && output.folder.empty())
    FailUsage("--out names the folder to draw into; --format hash needs none");
  SessionOptions options = arguments.Options();
  options.keepStart = eachPrimitive;
  if (eachPrimitive && options.cutoff != 5) FailUsage("--each-primitive needs the whole pipeline: --cutoff full");

  CaptureContents capture = LoadCapture(file);
  const std::vector<std::uint32_t> selected = SelectFrames(frames, static_cast<std::uint32_t>(capture.streams.size()));
  if (output.Writes()) MakeFolder(output.folder);
  Session session(capture, options);
  nlohmann::ordered_json report = nlohmann::ordered_json::array();
  Progress progress("frame", selected.size());
  std::size_t done = 0;
  for (const std::uint32_t frame : selected) {
    StopIfInterrupted();
    progress.Show(done++);
    output.files.clear();
    const std::string stem = Format("frame%05u", frame);
    StepHooks hooks;
    std::vector<DrawnPrimitive> primitives;
    std::vector<PrimitiveOutput> each;
    if (eachPrimitive) {
      session.PlayUpTo(frame);
      primitives = DrawnPrimitives(capture.streams[frame], session.OpenPrimitiveMode());
      hooks.rendered = [&] { each = PutPrimitives(session, primitives, stem, output); };
    }
    const FrameFigures& figures = session.StepTo(frame, hooks);
    output.Put(stem, session.Picture());
    output.PutDepth(stem, session.Depth());
    const std::string color = Format("%08x", static_cast<unsigned>(session.ColorHash()));
    const std::string depth = Format("%08x", static_cast<unsigned>(session.DepthHash()));
    if (line.json) {
      report.push_back({{"frame", frame},
                        {"width", session.Picture().width},
                        {"height", session.Picture().height},
                        {"drawnPrimitives", figures.packets},
                        {"triangles", figures.triangles},
                        {"color", color},
                        {"depth", depth},
                        {"files", output.files}});
      if (eachPrimitive) report.back()["eachPrimitive"] = JsonOf(each);
    } else {
      Progress::Clear();
      for (const PrimitiveOutput& one : each)
        std::printf("frame %u, %s: color %s, depth %s\n", static_cast<unsigned>(frame),
                    PrimitiveName(one.primitive).c_str(), one.color.c_str(), one.depth.c_str());
      std::printf("frame %u: %dx%d, %llu drawn primitives, %llu triangles, color %s, depth %s\n",
                  static_cast<unsigned>(frame), static_cast<int>(session.Picture().width),
                  static_cast<int>(session.Picture().height), static_cast<unsigned long long>(figures.packets),
                  static_cast<unsigned long long>(figures.triangles), color.c_str(), depth.c_str());
    }
  }
  Progress::Clear();
  if (line.json) {
    const nlohmann::ordered_json whole = {
        {"file", file}, {"target", kTargetNames[session.Target()]}, {"frames", report}};
    WriteJson(whole);
  }
  return kDone;
}

}  // namespace tlr2::tool
