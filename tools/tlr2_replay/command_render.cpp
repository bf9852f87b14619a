// render: draws frames of a capture into files, without a window.
#include <cstdio>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "api/state/driver_state.h"
#include "tlr2_replay/command.h"
#include "tlr2_replay/console.h"
#include "tlr2_replay/load.h"
#include "tlr2_replay/options.h"
#include "tlr2_replay/picture.h"
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

/// The picture as each of the frame's primitives left it.
void PutPrimitives(const Session& session, const std::string& stem, Output& output) {
  const DepthView size = session.Depth();
  std::uint32_t triangles = 0, primitive = 0;
  const std::vector<std::uint32_t> counts = session.TrianglesOfPrimitives();
  Progress progress("primitives", counts.size());
  for (const std::uint32_t count : counts) {
    StopIfInterrupted();
    triangles += count;
    StoredPicture picture;
    picture.width = size.width;
    picture.height = size.height;
    std::vector<float> depth;
    picture.pixels = session.DrawPrefix(triangles, &depth);
    const std::string name = stem + Format("_primitive%05u", primitive++);
    output.Put(name, picture.View());
    output.PutDepth(name, {depth.data(), size.width, size.height});
    progress.Show(primitive);
  }
}

}  // namespace

int RunRender(const Words& words) {
  CommandLine line("render");
  std::string file, frames;
  bool eachPrimitive = false;
  SessionArguments arguments;
  Output output;
  line.AddFile(file);
  line.app.add_option("--frames", frames, "Frames to draw, as in 0-9,20; all without it");
  line.app.add_option("--out", output.folder, "Folder for the files; made when it is not there");
  line.app
      .add_option("--format", output.format,
                  "png; raw for tight rows of BGRA bytes and f32 depths; or hash for no files")
      ->check(CLI::IsMember({"png", "raw", "hash"}))
      ->capture_default_str();
  line.app.add_flag("--depth", output.depth, "The depth buffer too, as a picture from near (white) to far (black)");
  line.app.add_flag("--each-primitive", eachPrimitive, "The picture after every primitive too");
  arguments.AddTo(line.app);
  line.AddJson();
  if (const auto code = line.Parse(words)) return *code;
  if (output.Writes() && output.folder.empty())
    FailUsage("--out names the folder to draw into; --format hash needs none");
  SessionOptions options = arguments.Options();
  options.keepStart = eachPrimitive;

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
    if (eachPrimitive) hooks.rendered = [&] { PutPrimitives(session, stem, output); };
    const FrameFigures& figures = session.StepTo(frame, hooks);
    output.Put(stem, session.Picture());
    output.PutDepth(stem, session.Depth());
    const std::string color = Format("%08x", static_cast<unsigned>(session.ColorHash()));
    const std::string depth = Format("%08x", static_cast<unsigned>(session.DepthHash()));
    if (line.json) {
      report.push_back({{"frame", frame},
                        {"width", session.Picture().width},
                        {"height", session.Picture().height},
                        {"primitives", figures.packets},
                        {"triangles", figures.triangles},
                        {"color", color},
                        {"depth", depth},
                        {"files", output.files}});
    } else {
      std::printf("frame %u: %dx%d, %llu primitives, %llu triangles, color %s, depth %s\n",
                  static_cast<unsigned>(frame), static_cast<int>(session.Picture().width),
                  static_cast<int>(session.Picture().height), static_cast<unsigned long long>(figures.packets),
                  static_cast<unsigned long long>(figures.triangles), color.c_str(), depth.c_str());
    }
  }
  if (line.json) {
    const nlohmann::ordered_json whole = {
        {"file", file}, {"target", kTargetNames[session.Target()]}, {"frames", report}};
    std::printf("%s\n", whole.dump(2).c_str());
  }
  return kDone;
}

}  // namespace tlr2::tool
