// diff: two ways to draw, frame by frame: two captures, or one on two targets, task counts or settings.
#include <algorithm>
#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <optional>

#include "tlr2_replay/command.h"
#include "tlr2_replay/console.h"
#include "tlr2_replay/html.h"
#include "tlr2_replay/json_output.h"
#include "tlr2_replay/load.h"
#include "tlr2_replay/options.h"
#include "tlr2_replay/output_file.h"
#include "tlr2_replay/session_arguments.h"

namespace tlr2::tool {
namespace {

using Json = nlohmann::ordered_json;

/// Pictures kept at a time: the sides cannot play at once, so one side's wait for the other's.
constexpr std::uint64_t kKeptPixels = 48u << 20;
/// What --pictures may ask for.
constexpr int kMostPictures = 100000;

struct Side {
  std::string file, description;
  CaptureContents* capture = nullptr;
  SessionOptions options;
};

std::string Describe(const std::string& file, const SessionOptions& options) {
  std::string text = file + ", " + kTargetNames[ResolveTarget(options.isa)];
  text += options.threads == 0 ? ", a task a processor" : Format(", %d tasks", static_cast<int>(options.threads));
  if (options.cutoff != 5) text += Format(", cutoff %d", static_cast<int>(options.cutoff));
  for (const NamedSetting& setting : NamedSettings())
    for (const auto& [word, value] : options.settings)
      if (word == setting.word) text += Format(", %s=%d", setting.name.c_str(), static_cast<int>(value));
  return text;
}

struct FrameDifference {
  std::uint32_t frame = 0;
  Comparison comparison;
  std::array<std::int32_t, 2> sizeA = {}, sizeB = {};  // width, height
  StoredPicture a, b;                                  // kept for the page only where the frame differs
};

/// Frames at a time: side A's pictures are kept, side B's compared with them.
std::vector<FrameDifference> CompareSides(const Side& a, const Side& b, const std::vector<std::uint32_t>& frames,
                                          int tolerance, std::size_t mostPictures) {
  std::vector<FrameDifference> result;
  const std::uint64_t pixels = std::max<std::uint64_t>(std::uint64_t{a.capture->width} * a.capture->height, 1);
  const auto batch = static_cast<std::size_t>(std::max<std::uint64_t>(kKeptPixels / pixels, 1));
  std::size_t kept = 0;
  Progress progress("frame", frames.size());
  for (std::size_t first = 0; first < frames.size(); first += batch) {
    const std::size_t last = std::min(first + batch, frames.size());
    std::vector<StoredPicture> pictures;
    {
      Session session(*a.capture, a.options);
      for (std::size_t i = first; i < last; ++i) {
        StopIfInterrupted();
        session.StepTo(frames[i]);
        pictures.push_back(StorePicture(session.Picture()));
      }
    }
    Session session(*b.capture, b.options);
    for (std::size_t i = first; i < last; ++i) {
      StopIfInterrupted();
      progress.Show(i);
      session.StepTo(frames[i]);
      StoredPicture& before = pictures[i - first];
      FrameDifference difference;
      difference.frame = frames[i];
      const PictureView after = session.Picture();
      difference.sizeA = {before.width, before.height};
      difference.sizeB = {after.width, after.height};
      difference.comparison = Compare(before.View(), after, tolerance);
      if (difference.comparison.differing != 0 && kept < mostPictures) {
        ++kept;
        difference.b = StorePicture(session.Picture());
        difference.a = std::move(before);
      }
      result.push_back(std::move(difference));
    }
  }
  return result;
}

std::string Sentence(const FrameDifference& difference) {
  const Comparison& c = difference.comparison;
  if (!c.sameSize)
    return Format("the pictures have different sizes, %dx%d and %dx%d", static_cast<int>(difference.sizeA[0]),
                  static_cast<int>(difference.sizeA[1]), static_cast<int>(difference.sizeB[0]),
                  static_cast<int>(difference.sizeB[1]));
  if (c.differing == 0) return c.worst == 0 ? "identical" : Format("identical within tolerance, by up to %d", c.worst);
  return Format("%llu of %llu pixels differ, by up to %d at %d,%d (%08x, %08x)",
                static_cast<unsigned long long>(c.differing), static_cast<unsigned long long>(c.pixels), c.worst,
                static_cast<int>(c.worstX), static_cast<int>(c.worstY), static_cast<unsigned>(c.worstA),
                static_cast<unsigned>(c.worstB));
}

/// What lies around the worst pixel, large enough to be seen.
StoredPicture Around(const PictureView& picture, std::int32_t x, std::int32_t y) {
  constexpr std::int32_t kReach = 7, kSide = 2 * kReach + 1;
  StoredPicture part;
  part.width = part.height = kSide;
  for (std::int32_t v = y - kReach; v <= y + kReach; ++v)
    for (std::int32_t u = x - kReach; u <= x + kReach; ++u)
      part.pixels.push_back(u >= 0 && v >= 0 && u < picture.width && v < picture.height ? picture.Row(v)[u]
                                                                                        : 0xFF808080u);
  return part;
}

std::string Figure(const PictureView& picture, const std::string& caption, const std::string& classes = "") {
  return "<figure>" + Image(picture, caption, classes) + "<figcaption>" + Escaped(caption) + "</figcaption></figure>\n";
}

std::string DiffPage(const Side& a, const Side& b, const std::vector<FrameDifference>& frames, int tolerance) {
  std::size_t differing = 0;
  for (const FrameDifference& frame : frames) differing += frame.comparison.differing != 0 ? 1 : 0;
  std::string body = Facts({{"before", a.description},
                            {"after", b.description},
                            {"frames", std::to_string(frames.size())},
                            {"frames that differ", std::to_string(differing)},
                            {"tolerance", std::to_string(tolerance)}});
  for (const FrameDifference& frame : frames) {
    const bool same = frame.comparison.differing == 0;
    body += "<h2>Frame " + std::to_string(frame.frame) + "</h2>\n<p class=\"" + (same ? "good" : "bad") + "\">" +
            Escaped(Sentence(frame)) + "</p>\n";
    if (same || frame.a.pixels.empty()) continue;
    body += "<div>" + Figure(frame.a.View(), "before", "third") + Figure(frame.b.View(), "after", "third");
    if (!frame.comparison.sameSize) {
      body += "</div>\n";
      continue;
    }
    const StoredPicture difference = DifferencePicture(frame.a.View(), frame.b.View(), tolerance);
    body += Figure(difference.View(), "difference: red to yellow by amount", "third") + "</div>\n";
    const std::int32_t x = frame.comparison.worstX, y = frame.comparison.worstY;
    const std::string place = Format("around the worst pixel %d,%d", static_cast<int>(x), static_cast<int>(y));
    body += "<div>" + Figure(Around(frame.a.View(), x, y).View(), place + ", before", "map") +
            Figure(Around(frame.b.View(), x, y).View(), place + ", after", "map") + "</div>\n" +
            HistogramChart(frame.comparison);
  }
  return Page("Difference of two replays", body);
}

}  // namespace

int RunDiff(const Words& words) {
  CommandLine line("diff");
  std::string fileA, fileB, frames, out;
  int tolerance = 0;
  std::uint32_t pictures = 20;
  SessionArguments both, second;
  line.AddFile(fileA);
  line.Add("FILE_B", fileB, "Capture file of the second side; the first one again without it");
  line.Add("--frames", frames, "Frames to compare, as in 0-9,20; without it all that both have");
  line.Add("--max-diff", tolerance, "Channel differences up to this count as equal", {.range = {{0, 255}}});
  line.Add("--out", out, "Write a page with the pictures, in one file");
  line.Add("--pictures", pictures, "Frames with pictures on the page, at most",
           {.showsDefault = true, .range = {{0, kMostPictures}}});
  both.AddTo(line);
  second.AddTo(line, "b-");
  line.AddJson();
  if (const auto code = line.Parse(words)) return *code;
  Side a, b;
  a.options = both.Options();
  b.options = second.Over(both);
  a.file = fileA;
  b.file = fileB.empty() ? fileA : fileB;
  a.description = Describe(a.file, a.options);
  b.description = Describe(b.file, b.options);

  CaptureContents captureA = LoadCapture(a.file), captureB;
  a.capture = b.capture = &captureA;
  if (!fileB.empty()) {
    captureB = LoadCapture(b.file);
    b.capture = &captureB;
  }
  const std::size_t common = std::min(a.capture->streams.size(), b.capture->streams.size());
  if (frames.empty() && common == 0) throw CommandFailure{kFailed, "the captures have no frame in common"};
  // A frame that only one side has is a difference, unless the frames to compare were chosen.
  bool differs = frames.empty() && a.capture->streams.size() != b.capture->streams.size();
  if (differs)
    PrintMessage(Format("the captures have %zu and %zu frames; comparing the first %zu", a.capture->streams.size(),
                        b.capture->streams.size(), common));
  const std::vector<std::uint32_t> selected = SelectFrames(frames, static_cast<std::uint32_t>(common));
  std::optional<OutputFile> page;
  if (!out.empty()) {
    RefuseToReplace(a.file, out);
    RefuseToReplace(b.file, out);
    page.emplace(out);  // before the long work
  }
  const std::vector<FrameDifference> result = CompareSides(a, b, selected, tolerance, out.empty() ? 0 : pictures);
  Json report = Json::array();
  for (const FrameDifference& frame : result) {
    const Comparison& c = frame.comparison;
    differs = differs || c.differing != 0;
    if (!line.json) {
      std::printf("frame %u: %s\n", static_cast<unsigned>(frame.frame), Sentence(frame).c_str());
      continue;
    }
    Json entry = {{"frame", frame.frame}, {"pixels", c.pixels}, {"differing", c.differing}, {"worst", c.worst}};
    if (!c.sameSize) {
      entry["worst"] = nullptr;
      entry["sizes"] = {frame.sizeA, frame.sizeB};
    } else if (c.worst != 0) {
      entry["worstAt"] = {c.worstX, c.worstY};
    }
    report.push_back(entry);
  }
  if (page) {
    const std::string text = DiffPage(a, b, result, tolerance);
    page->Write(text.data(), text.size());
    page->Close();
    page->Keep();
  }
  if (line.json) {
    const Json whole = {{"before", a.description},
                        {"after", b.description},
                        {"differs", differs},
                        {"frameCounts", {a.capture->streams.size(), b.capture->streams.size()}},
                        {"frames", report}};
    WriteJson(whole);
  }
  return differs ? kDiffer : kDone;
}

}  // namespace tlr2::tool
