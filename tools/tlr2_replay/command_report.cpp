// report: a capture as one page that a person opens.
#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "tlr2_replay/command.h"
#include "tlr2_replay/console.h"
#include "tlr2_replay/frame_maps.h"
#include "tlr2_replay/gl_names.h"
#include "tlr2_replay/html.h"
#include "tlr2_replay/json_output.h"
#include "tlr2_replay/known_pixels.h"
#include "tlr2_replay/load.h"
#include "tlr2_replay/options.h"
#include "tlr2_replay/output_file.h"
#include "tlr2_replay/record_text.h"
#include "tlr2_replay/session_arguments.h"

namespace tlr2::tool {
namespace {

constexpr std::int32_t kThumbnail = 320;
/// What --calls may ask for.
constexpr int kMostCalls = 10000000;

/// The search over the call list: rows are kept as text and shown a window at a time.
constexpr const char* kScript = R"js(
const list = document.getElementById('calls');
const box = document.getElementById('search');
const count = document.getElementById('count');
const most = 2000;
function show() {
  const wanted = box.value.trim().toLowerCase();
  const words = wanted.split(/\s+/).filter(w => w);
  let hits = 0;
  const lines = [];
  for (const line of calls) {
    const low = line.toLowerCase();
    if (!words.every(w => low.includes(w))) continue;
    if (++hits <= most) lines.push(line);
  }
  list.textContent = lines.join('\n');
  count.textContent = hits + ' of ' + calls.length + ' calls' + (hits > most ? ', the first ' + most + ' shown' : '');
}
box.addEventListener('input', show);
show();
)js";

struct ReportedFrame {
  FrameFigures figures;
  StoredPicture picture, reference, difference;  // thumbnails
  std::string verdict;
  bool bad = false;
  bool judged = false;  // at least one pixel
};

std::string Count(std::uint64_t count) { return std::to_string(count); }

ReportedFrame ReportFrame(Session& session, std::uint32_t frame) {
  ReportedFrame reported;
  reported.figures = session.StepTo(frame);
  reported.picture = Shrunk(session.Picture(), kThumbnail);
  const PictureView reference = session.Reference();
  if (!session.HasReference()) {
    reported.verdict = "no reference pixels";
  } else if (reference.pixels == nullptr) {
    reported.verdict = "reference pixels of another size";
    reported.bad = true;
  } else {
    const std::vector<std::uint8_t>& known = session.Known()->Color();
    const Comparison comparison = Compare(session.Picture(), reference, 0, &known);
    reported.reference = Shrunk(reference, kThumbnail);
    reported.bad = comparison.differing != 0;
    reported.judged = comparison.unjudged < comparison.pixels;
    if (reported.bad) {
      reported.verdict = Format("%llu pixels differ, by up to %d",
                                static_cast<unsigned long long>(comparison.differing), comparison.worst);
    } else if (comparison.unjudged == 0) {
      reported.verdict = "as captured";
    } else {
      reported.verdict = reported.judged ? "judged pixels as captured" : "not judged";
    }
    if (comparison.unjudged != 0)
      reported.verdict += Format(", %llu cannot be judged", static_cast<unsigned long long>(comparison.unjudged));
    if (reported.bad || comparison.unjudged != 0)
      reported.difference = Shrunk(DifferencePicture(session.Picture(), reference, 0, &known).View(), kThumbnail);
  }
  return reported;
}

std::string Figure(const StoredPicture& picture, const std::string& caption, const std::string& classes) {
  if (picture.pixels.empty()) return "";
  return "<figure>" + Image(picture.View(), caption, classes) + "<figcaption>" + Escaped(caption) +
         "</figcaption></figure>\n";
}

std::string FrameSection(const std::vector<ReportedFrame>& frames) {
  std::string out = "<h2>Frames</h2>\n";
  if (std::any_of(frames.begin(), frames.end(),
                  [](const ReportedFrame& frame) { return !frame.difference.pixels.empty(); }))
    out +=
        "<p class=\"dim\">Differences are red to yellow by amount; blue pixels cannot be judged: they show what "
        "earlier frames left.</p>\n";
  out += "<table><tr><th>Frame</th><th>Pictures</th><th>Figures</th></tr>\n";
  for (const ReportedFrame& frame : frames) {
    const FrameFigures& f = frame.figures;
    out += "<tr><td class=\"n\">" + Count(f.frame) + "</td><td class=\"row\">" +
           Figure(frame.picture, "drawn", "thumb") + Figure(frame.reference, "captured", "thumb") +
           Figure(frame.difference, "difference", "thumb") + "</td><td><span class=\"" +
           (frame.bad      ? "bad"
            : frame.judged ? "good"
                           : "dim") +
           "\">" + Escaped(frame.verdict) + "</span><br>" +
           Format("%llu records, %llu vertices<br>%llu drawn primitives, %llu triangles<br>%.2f ms with %d tasks",
                  static_cast<unsigned long long>(f.records), static_cast<unsigned long long>(f.vertices),
                  static_cast<unsigned long long>(f.packets), static_cast<unsigned long long>(f.triangles), f.totalMs,
                  static_cast<int>(f.tasks)) +
           "</td></tr>\n";
  }
  return out + "</table>\n";
}

std::string TimeSection(const std::vector<ReportedFrame>& frames) {
  std::vector<std::uint32_t> numbers;
  std::vector<std::vector<double>> wall, tasks;
  for (const ReportedFrame& frame : frames) {
    const FrameFigures& f = frame.figures;
    numbers.push_back(f.frame);
    wall.push_back({f.interpretMs, f.emitMs, f.prepMs, f.workersMs});
    tasks.push_back({f.binMs, f.rasterMs});
  }
  return "<h2>Stage times</h2>\n<p class=\"dim\">One replay of each frame; <code>tlr2_replay bench</code> "
         "repeats.</p>\n<div>" +
         StackedChart({"interpret", "emit", "prepare", "tasks"}, numbers, wall, "ms") +
         "</div>\n<p class=\"dim\">Inside the tasks, summed over them:</p>\n<div>" +
         StackedChart({"bin", "rasterise"}, numbers, tasks, "ms") + "</div>\n";
}

std::string MapSection(std::uint32_t frame, const FrameMaps& maps) {
  const auto heat = [](const TileMap& map, const std::string& what, double most = 0) {
    const double scale = most > 0 ? most : map.Greatest();
    return Figure(HeatPicture(map, scale), what + Format(": white is %.4g", scale), "map");
  };
  return "<h3>Frame " + Count(frame) + "</h3>\n" + heat(maps.triangles, "triangles per 8x8 tile") +
         heat(maps.skipped, "triangles skipped by the depth bound, per 8x8 tile") +
         heat(maps.planes, "planes shaded per triangle, of 4, per 8x8 tile", 4) +
         heat(maps.time, "kernel time per 32x32 tile, in microseconds") +
         Figure(IndexPicture(maps.owner),
                Format("owning task per 32x32 tile: %d tasks", static_cast<int>(maps.owner.Greatest()) + 1), "map");
}

std::string TextureSection(const CaptureContents& capture) {
  std::string out;
  for (std::size_t name = 0; name < capture.textures.size(); ++name) {
    const TextureObject& texture = capture.textures[name];
    if (texture.hasImage == 0 || texture.pixels.empty() || texture.levelCount == 0) continue;
    const auto width = static_cast<std::int32_t>(texture.levelWidth[0]);
    const auto height = static_cast<std::int32_t>(texture.levelHeight[0]);
    if (width < 1 || height < 1 ||
        texture.pixels.size() < static_cast<std::size_t>(width) * static_cast<std::size_t>(height))
      continue;
    const PictureView view = {texture.pixels.data(), width, height, static_cast<std::size_t>(width)};
    out += Figure(Shrunk(view, 128),
                  Format("%zu: %dx%d, %u levels, %s / %s", name, static_cast<int>(width), static_cast<int>(height),
                         static_cast<unsigned>(texture.levelCount), GlName(texture.minFilter).c_str(),
                         GlName(texture.magFilter).c_str()),
                  "");
  }
  return "<h2>Textures at the capture's start</h2>\n" + (out.empty() ? "<p>none</p>\n" : out);
}

/// "frame record [primitive] call", one text a record.
nlohmann::json CallList(const CaptureContents& capture, const std::vector<std::uint32_t>& frames, std::size_t most,
                        bool& cut) {
  nlohmann::json calls = nlohmann::json::array();
  cut = false;
  for (const std::uint32_t frame : frames) {
    PrimitiveCounter counter;
    for (RecordWalk walk(capture.streams[frame]); walk.Next();) {
      const std::uint32_t primitive = counter.Of(walk);
      if (calls.size() >= most) {
        cut = true;
        return calls;
      }
      const std::string place =
          primitive == PrimitiveCounter::kNone ? "" : Format("p%u", static_cast<unsigned>(primitive));
      calls.push_back(
          Format("%5u %7u %6s  ", static_cast<unsigned>(frame), static_cast<unsigned>(walk.index()), place.c_str()) +
          DescribeRecord(walk, capture.blobs[frame]).Line());
    }
  }
  return calls;
}

/// JSON inside a script element must not end it.
std::string ForScript(const nlohmann::json& json) {
  std::string text = json.dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
  for (std::size_t at = 0; (at = text.find("</", at)) != std::string::npos; at += 3) text.replace(at, 2, "<\\/");
  return text;
}

}  // namespace

int RunReport(const Words& words) {
  CommandLine line("report");
  std::string file, frames, mapped, out;
  std::uint32_t mostCalls = 100000;
  SessionArguments arguments;
  line.AddFile(file);
  line.Add("--out", out, "The page to write", {.required = true});
  line.Add("--frames", frames, "Frames on the page, as in 0-9,20; all without it");
  line.Add("--maps", mapped, "Frames with heat maps; without it the first of the page");
  line.Add("--calls", mostCalls, "Calls in the list, at most", {.showsDefault = true, .range = {{0, kMostCalls}}});
  arguments.AddTo(line);
  line.AddJson();
  if (const auto code = line.Parse(words)) return *code;
  SessionOptions options = arguments.Options();
  options.keepKnown = options.keepStart = true;

  CaptureContents capture = LoadCapture(file);
  const auto frameCount = static_cast<std::uint32_t>(capture.streams.size());
  const std::vector<std::uint32_t> selected = SelectFrames(frames, frameCount);
  std::vector<std::uint32_t> maps;
  if (!mapped.empty()) {
    maps = SelectFrames(mapped, frameCount);
  } else if (!selected.empty()) {
    maps.push_back(selected.front());
  }
  RefuseToReplace(file, out);
  OutputFile page(out);  // before the long work
  Session session(capture, options);
  std::vector<ReportedFrame> reported;
  Progress progress("frame", selected.size() + maps.size());
  for (const std::uint32_t frame : selected) {
    StopIfInterrupted();
    progress.Show(reported.size());
    reported.push_back(ReportFrame(session, frame));
  }
  std::string mapSections;
  for (const std::uint32_t frame : maps) {
    StopIfInterrupted();
    mapSections += MapSection(frame, MapFrame(session, frame));
  }
  bool cut = false;
  const nlohmann::json calls = CallList(capture, selected, mostCalls, cut);

  std::string body =
      Facts({{"capture", file},
             {"size", Format("%ux%u", static_cast<unsigned>(capture.width), static_cast<unsigned>(capture.height))},
             {"frames", Count(frameCount)},
             {"on this page", Count(selected.size())},
             {"command bytes", Count(capture.streamBytes)},
             {"upload bytes", Count(capture.frameBlobBytes)},
             {"drawn on", kTargetNames[session.Target()]}});
  body += FrameSection(reported) + TimeSection(reported) + "<h2>Where the work lies</h2>\n" + mapSections +
          TextureSection(capture) +
          "<h2>Calls</h2>\n<p><input id=\"search\" type=\"search\" placeholder=\"words that a line must hold\" "
          "aria-label=\"search in the calls\"> <span id=\"count\" class=\"dim\"></span>" +
          (cut ? " (the list is cut: see --calls)" : "") +
          "</p>\n<p class=\"dim\">frame, record, primitive, call</p>\n<div id=\"calls\" class=\"mono\"></div>\n";
  const std::string text = Page("Capture report", body, "const calls = " + ForScript(calls) + ";\n" + kScript);
  page.Write(text.data(), text.size());
  page.Close();
  page.Keep();
  bool bad = false;
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const ReportedFrame& frame : reported) {
    bad = bad || frame.bad;
    list.push_back({{"frame", frame.figures.frame}, {"verdict", frame.verdict}, {"totalMs", frame.figures.totalMs}});
  }
  Progress::Clear();
  if (line.json) {
    const nlohmann::ordered_json whole = {{"file", file},          {"page", out},    {"bytes", text.size()},
                                          {"calls", calls.size()}, {"differs", bad}, {"frames", list}};
    WriteJson(whole);
  } else {
    std::printf("%s: %zu frames, %zu calls, %zu bytes%s\n", out.c_str(), reported.size(), calls.size(), text.size(),
                bad ? "; some frames differ from their captured pixels" : "");
  }
  return bad ? kDiffer : kDone;
}

}  // namespace tlr2::tool
