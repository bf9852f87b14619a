// verify: draws a capture again and holds each frame against the pixels that were captured with it.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>

#include "tlr2_replay/command.h"
#include "tlr2_replay/console.h"
#include "tlr2_replay/json_output.h"
#include "tlr2_replay/known_pixels.h"
#include "tlr2_replay/load.h"
#include "tlr2_replay/options.h"
#include "tlr2_replay/picture.h"
#include "tlr2_replay/session_arguments.h"

namespace tlr2::tool {
namespace {

using Json = nlohmann::ordered_json;

struct Tolerance {
  std::uint32_t difference = 0;  // of a channel
  std::uint32_t pixels = 0;      // of a frame
};

/// From the best to the worst: the worst of the frames is the whole's.
enum class Verdict { kIdentical, kJudgedIdentical, kWithin, kNotJudged, kNoReference, kDiffers, kOtherSize };

const char* VerdictName(Verdict verdict) {
  constexpr const char* kNames[] = {
      "identical", "judged pixels identical", "within tolerance", "not judged", "no reference", "differs",
      "other size"};
  return kNames[static_cast<int>(verdict)];
}

struct FrameVerdict {
  std::uint32_t frame = 0;
  Verdict verdict = Verdict::kNoReference;
  Comparison comparison;
  std::optional<KnownPixels::Bounds> unjudged;
  std::string picture;  // file of the difference picture

  bool Failed() const { return verdict == Verdict::kDiffers || verdict == Verdict::kOtherSize; }
};

FrameVerdict Judge(const Session& session, std::uint32_t frame, const Tolerance& tolerance) {
  FrameVerdict result;
  result.frame = frame;
  if (!session.HasReference()) return result;
  const PictureView reference = session.Reference();
  if (reference.pixels == nullptr) {
    result.verdict = Verdict::kOtherSize;
    return result;
  }
  result.comparison = Compare(session.Picture(), reference, static_cast<int>(tolerance.difference),
                              session.Known() != nullptr ? &session.Known()->Color() : nullptr);
  const Comparison& c = result.comparison;
  if (c.unjudged != 0) result.unjudged = session.Known()->UnknownBounds();
  result.verdict = c.worst != 0            ? (c.differing > tolerance.pixels ? Verdict::kDiffers : Verdict::kWithin)
                   : c.unjudged == 0       ? Verdict::kIdentical
                   : c.unjudged < c.pixels ? Verdict::kJudgedIdentical
                                           : Verdict::kNotJudged;
  return result;
}

std::string TextOf(const FrameVerdict& result) {
  std::string text = Format("frame %u: ", static_cast<unsigned>(result.frame));
  const Comparison& c = result.comparison;
  switch (result.verdict) {
    case Verdict::kIdentical:
    case Verdict::kJudgedIdentical:
    case Verdict::kNotJudged:
      text += VerdictName(result.verdict);
      break;
    case Verdict::kWithin:
    case Verdict::kDiffers:
      text += Format("%llu of %llu pixels differ, by up to %d at %d,%d (drawn %08x, captured %08x)",
                     static_cast<unsigned long long>(c.differing), static_cast<unsigned long long>(c.pixels), c.worst,
                     static_cast<int>(c.worstX), static_cast<int>(c.worstY), static_cast<unsigned>(c.worstA),
                     static_cast<unsigned>(c.worstB));
      if (result.verdict == Verdict::kWithin) text += ", within tolerance";
      break;
    case Verdict::kOtherSize:
      text += "the reference pixels have another size than the picture";
      break;
    case Verdict::kNoReference:
      text += "no reference pixels";
      break;
  }
  if (result.unjudged)
    text += Format("; %llu pixels within %d,%d to %d,%d cannot be judged: they show what earlier frames left",
                   static_cast<unsigned long long>(c.unjudged), static_cast<int>(result.unjudged->x0),
                   static_cast<int>(result.unjudged->y0), static_cast<int>(result.unjudged->x1),
                   static_cast<int>(result.unjudged->y1));
  if (!result.picture.empty()) text += "; " + result.picture;
  return text;
}

Json JsonOf(const FrameVerdict& result) {
  Json json = {{"frame", result.frame}, {"verdict", VerdictName(result.verdict)}};
  const Comparison& c = result.comparison;
  if (c.pixels != 0) {
    json["pixels"] = c.pixels;
    json["differing"] = c.differing;
    json["unjudged"] = c.unjudged;
    if (result.unjudged)
      json["unjudgedWithin"] = {result.unjudged->x0, result.unjudged->y0, result.unjudged->x1, result.unjudged->y1};
    json["worst"] = c.worst;
    if (c.worst != 0) {
      json["worstAt"] = {c.worstX, c.worstY};
      json["drawn"] = Format("%08x", static_cast<unsigned>(c.worstA));
      json["captured"] = Format("%08x", static_cast<unsigned>(c.worstB));
    }
  }
  if (!result.picture.empty()) json["picture"] = result.picture;
  return json;
}

/// Every frame on one target.
std::vector<FrameVerdict> VerifyFrames(CaptureContents& capture, SessionOptions options,
                                       const std::vector<std::uint32_t>& frames, const Tolerance& tolerance,
                                       const std::string& pictures,
                                       const std::function<void(const FrameVerdict&)>& tell) {
  options.keepKnown = true;
  Session session(capture, options);
  std::vector<FrameVerdict> results;
  Progress progress("frame", frames.size());
  for (const std::uint32_t frame : frames) {
    StopIfInterrupted();
    progress.Show(results.size());
    session.StepTo(frame);
    FrameVerdict result = Judge(session, frame, tolerance);
    if ((result.verdict == Verdict::kDiffers || result.unjudged) && !pictures.empty()) {
      result.picture =
          (std::filesystem::path(pictures) / Format("frame%05u_difference.png", static_cast<unsigned>(frame))).string();
      const StoredPicture difference = DifferencePicture(
          session.Picture(), session.Reference(), static_cast<int>(tolerance.difference), &session.Known()->Color());
      const Bytes png = PngOfPicture(difference.View());
      WriteFile(result.picture, png.data(), png.size());
    }
    if (tell) {
      Progress::Clear();
      tell(result);
    }
    results.push_back(std::move(result));
  }
  return results;
}

void RequireReferences(const CaptureContents& capture, const std::vector<std::uint32_t>& frames) {
  for (const std::uint32_t frame : frames)
    if (!capture.references[frame].empty()) return;
  throw CommandFailure{
      kFailed, "no reference pixels in these frames: capture with TLR2_CAPTURE_REFERENCE_PIXELS=1 to have them"};
}

std::string CellOf(const FrameVerdict& result) {
  const Comparison& c = result.comparison;
  std::string cell;
  switch (result.verdict) {
    case Verdict::kNotJudged:
      return VerdictName(result.verdict);
    case Verdict::kJudgedIdentical:
      cell = VerdictName(Verdict::kIdentical);
      break;
    case Verdict::kWithin:
    case Verdict::kDiffers:
      cell = Format("%llu (by up to %d)", static_cast<unsigned long long>(c.differing), c.worst);
      break;
    default:
      cell = VerdictName(result.verdict);
      break;
  }
  if (c.unjudged != 0) cell += Format(" +%llu unjudged", static_cast<unsigned long long>(c.unjudged));
  return cell;
}

/// A row a frame, a column a target. Done when one target draws every frame as captured.
int Matrix(CaptureContents& capture, const SessionArguments& arguments, const std::vector<std::uint32_t>& frames,
           const Tolerance& tolerance, bool json) {
  const std::vector<std::int32_t> targets = SupportedTargets();
  std::vector<std::vector<FrameVerdict>> columns;
  for (const std::int32_t target : targets) {
    SessionOptions options = arguments.Options();
    options.isa = target;
    columns.push_back(VerifyFrames(capture, options, frames, tolerance, "", nullptr));
  }
  bool someTarget = false;
  for (const auto& column : columns) {
    bool all = true;
    for (const FrameVerdict& result : column) all = all && !result.Failed();
    someTarget = someTarget || all;
  }
  if (json) {
    Json report = Json::object();
    for (std::size_t t = 0; t < targets.size(); ++t) {
      Json column = Json::array();
      for (const FrameVerdict& result : columns[t]) column.push_back(JsonOf(result));
      report[kTargetNames[targets[t]]] = column;
    }
    WriteJson(report);
    return someTarget ? kDone : kDiffer;
  }
  int width = 18;
  for (const auto& column : columns)
    for (const FrameVerdict& result : column) width = std::max(width, static_cast<int>(CellOf(result).size()));
  std::printf("%-8s", "frame");
  for (const std::int32_t target : targets) std::printf(" %*s", width, kTargetNames[target]);
  std::printf("\n");
  for (std::size_t row = 0; row < frames.size(); ++row) {
    std::printf("%-8u", static_cast<unsigned>(frames[row]));
    for (const auto& column : columns) std::printf(" %*s", width, CellOf(column[row]).c_str());
    std::printf("\n");
  }
  return someTarget ? kDone : kDiffer;
}

}  // namespace

int RunVerify(const Words& words) {
  CommandLine line("verify");
  std::string file, frames, pictures;
  Tolerance tolerance;
  bool allIsas = false;
  SessionArguments arguments;
  line.AddFile(file);
  line.Add("--frames", frames, "Frames to verify, as in 0-9,20; all without it");
  line.Add("--max-diff", tolerance.difference, "Channel differences up to this pass", {.range = {{0, 255}}});
  line.Add("--max-pixels", tolerance.pixels, "Frames with up to this many differing pixels pass");
  line.Add("--out", pictures,
           "Folder for a difference picture of each frame that fails or that has pixels which cannot be judged");
  arguments.AddTo(line);
  line.AddFlag("--all-isas", allIsas, "A matrix of frames and targets; done when one target draws all as captured",
               {.excludes = {"--out", "--isa"}});
  line.AddJson();
  if (const auto code = line.Parse(words)) return *code;
  const SessionOptions options = arguments.Options();

  CaptureContents capture = LoadCapture(file);
  const std::vector<std::uint32_t> selected = SelectFrames(frames, static_cast<std::uint32_t>(capture.streams.size()));
  RequireReferences(capture, selected);
  if (!pictures.empty()) MakeFolder(pictures);
  if (allIsas) return Matrix(capture, arguments, selected, tolerance, line.json);

  const auto tell = [&](const FrameVerdict& result) {
    if (!line.json) std::printf("%s\n", TextOf(result).c_str());
  };
  const std::vector<FrameVerdict> results = VerifyFrames(capture, options, selected, tolerance, pictures, tell);
  bool failed = false;
  Verdict worst = Verdict::kIdentical;
  Json report = Json::array();
  for (const FrameVerdict& result : results) {
    failed = failed || result.Failed();
    worst = std::max(worst, result.verdict);
    report.push_back(JsonOf(result));
  }
  if (line.json) {
    const Json whole = {{"file", file},
                        {"target", kTargetNames[ResolveTarget(options.isa)]},
                        {"verdict", VerdictName(worst)},
                        {"frames", report}};
    WriteJson(whole);
  }
  return failed ? kDiffer : kDone;
}

}  // namespace tlr2::tool
