// info: what a capture holds. Reads damaged files up to the damage, frame by frame, so that a file may be larger than
// memory.
#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "api/table/commands.h"
#include "capture/format.h"
#include "capture/record_walk.h"
#include "capture/validate.h"
#include "tlr2_replay/console.h"
#include "tlr2_replay/json_output.h"
#include "tlr2_replay/load.h"
#include "tlr2_replay/options.h"

namespace tlr2::tool {
namespace {

using Json = nlohmann::ordered_json;

struct FrameReport {
  std::size_t streamBytes, blobBytes, referenceBytes;
  std::uint64_t records = 0, primitives = 0, vertices = 0, uploads = 0;
  bool whole = true;  // the stream is a row of whole records
};

FrameReport Examine(const CapturedFrame& frame) {
  FrameReport report = {frame.stream.size(), frame.blob.size(), frame.reference.size()};
  RecordWalk walk(frame.stream);
  while (walk.Next()) {
    ++report.records;
    if (walk.Is(Cmd::Begin)) ++report.primitives;
    if (walk.Is(Cmd::Vertex2f) || walk.Is(Cmd::Vertex3f)) ++report.vertices;
    if (walk.Is(Cmd::TexImage2D) || walk.Is(Cmd::TexSubImage2D)) ++report.uploads;
  }
  report.whole = walk.Whole();
  return report;
}

std::size_t CountImages(const CaptureContents& contents) {
  return static_cast<std::size_t>(std::count_if(contents.textures.begin(), contents.textures.end(),
                                                [](const TextureObject& object) { return object.hasImage != 0; }));
}

/// The reader came to the frames before it stopped: keyframe, textures and blobs are whole.
bool IsFrameFault(const std::string& message) noexcept {
  return message.starts_with("short read on frame ") || message == "implausible frame record size" ||
         message == "seek failed on frame records";
}

struct Report {
  std::string file;
  std::uint64_t fileBytes;
  std::optional<CaptureHeader> header;  // nothing when the file has none
  CaptureContents contents;             // without frames
  std::vector<FrameReport> frames;
  std::string damage;  // the reader's message, or empty
  std::string fault;   // why the driver would not be given it, or empty

  /// Other versions say their version and layout; the rest of a header may mean something else there.
  bool KnowsHeader() const { return header && header->version == kCaptureVersion; }
  /// Otherwise the header alone tells of textures and blobs.
  bool KnowsTextures() const { return damage.empty() || IsFrameFault(damage); }

  /// Texel bytes that textures with equal texels did not take again.
  std::uint64_t Saved() const {
    return contents.textureBytes > contents.fileBlobBytes ? contents.textureBytes - contents.fileBlobBytes : 0;
  }
};

void PrintText(const Report& r) {
  std::printf("file: %s\nbytes: %llu\n", r.file.c_str(), static_cast<unsigned long long>(r.fileBytes));
  if (r.header) {
    std::printf("format: version %u, layout hash 0x%08X\n", static_cast<unsigned>(r.header->version),
                static_cast<unsigned>(r.header->layoutHash));
  }
  if (!r.KnowsHeader()) {
    std::printf("closed: unknown\n");
  } else {
    std::printf("surface: %ux%u\n", static_cast<unsigned>(r.header->width), static_cast<unsigned>(r.header->height));
    if (r.header->frameCount == kCaptureOpen) {
      std::printf("closed: no: the frame count was never written\n");
    } else {
      std::printf("closed: yes, with %u frames\n", static_cast<unsigned>(r.header->frameCount));
    }
  }
  if (r.KnowsTextures()) {
    std::printf("textures: %zu slots, %zu with an image, %llu texel bytes\n", r.contents.textures.size(),
                CountImages(r.contents), static_cast<unsigned long long>(r.contents.textureBytes));
    std::printf("blobs: %u, %llu bytes; duplicates saved %llu bytes\n", static_cast<unsigned>(r.contents.blobCount),
                static_cast<unsigned long long>(r.contents.fileBlobBytes), static_cast<unsigned long long>(r.Saved()));
  } else if (r.KnowsHeader()) {
    std::printf("textures: %u slots, not all read\nblobs: %u, not all read\n",
                static_cast<unsigned>(r.header->textureCount), static_cast<unsigned>(r.header->blobCount));
  }
  const auto withReference = std::count_if(r.frames.begin(), r.frames.end(),
                                           [](const FrameReport& frame) { return frame.referenceBytes != 0; });
  std::printf("frames: %zu, %zu with reference pixels\n", r.frames.size(), static_cast<std::size_t>(withReference));
  if (!r.frames.empty()) {
    std::printf("%8s %10s %10s %10s %10s %10s %10s %8s\n", "frame", "stream", "blob", "reference", "records",
                "primitives", "vertices", "uploads");
  }
  for (std::size_t i = 0; i < r.frames.size(); ++i) {
    const FrameReport& f = r.frames[i];
    std::printf("%8zu %10zu %10zu %10zu %10llu %10llu %10llu %8llu%s\n", i, f.streamBytes, f.blobBytes,
                f.referenceBytes, static_cast<unsigned long long>(f.records),
                static_cast<unsigned long long>(f.primitives), static_cast<unsigned long long>(f.vertices),
                static_cast<unsigned long long>(f.uploads), f.whole ? "" : "  malformed record");
  }
  if (!r.damage.empty()) std::printf("damage: %s\n", r.damage.c_str());
  if (!r.fault.empty()) std::printf("not replayable: %s\n", r.fault.c_str());
}

void PrintJson(const Report& r) {
  Json out = {{"file", r.file}, {"bytes", r.fileBytes}};
  if (r.header) {
    out["version"] = r.header->version;
    out["layoutHash"] = Format("0x%08X", static_cast<unsigned>(r.header->layoutHash));
  }
  if (r.KnowsHeader()) {
    out["width"] = r.header->width;
    out["height"] = r.header->height;
    out["closed"] = r.header->frameCount != kCaptureOpen;
  }
  if (r.KnowsTextures()) {
    out["textures"] = {
        {"slots", r.contents.textures.size()}, {"images", CountImages(r.contents)}, {"bytes", r.contents.textureBytes}};
    out["blobs"] = {
        {"count", r.contents.blobCount}, {"bytes", r.contents.fileBlobBytes}, {"duplicateBytesSaved", r.Saved()}};
  } else if (r.KnowsHeader()) {
    out["textures"] = {{"slots", r.header->textureCount}, {"images", nullptr}, {"bytes", nullptr}};
    out["blobs"] = {{"count", r.header->blobCount}, {"bytes", nullptr}, {"duplicateBytesSaved", nullptr}};
  }
  Json& frames = out["frames"] = Json::array();
  for (const FrameReport& f : r.frames) {
    frames.push_back({{"streamBytes", f.streamBytes},
                      {"blobBytes", f.blobBytes},
                      {"referenceBytes", f.referenceBytes},
                      {"records", f.records},
                      {"primitives", f.primitives},
                      {"vertices", f.vertices},
                      {"uploads", f.uploads},
                      {"wellFormed", f.whole}});
  }
  out["damage"] = !r.damage.empty() ? Json(r.damage) : Json();
  out["notReplayable"] = !r.fault.empty() ? Json(r.fault) : Json();
  WriteJson(out);
}

}  // namespace

int RunInfo(const Words& words) {
  CommandLine line("info");
  Report report = {};
  line.AddFile(report.file);
  line.AddJson();
  if (const auto code = line.Parse(words)) return *code;

  report.header = PeekHeader(report.file, report.fileBytes);
  CaptureCheck check;
  const auto examine = [&](CapturedFrame&& frame) {
    StopIfInterrupted();
    if (report.frames.empty()) report.fault = check.Keyframe(report.contents);  // read whole before the first frame
    if (report.fault.empty()) report.fault = check.Frame(frame.stream, frame.blob, frame.reference);
    report.frames.push_back(Examine(frame));
  };
  report.damage = BlobSizeFault(report.file);
  if (report.damage.empty()) {
    const char* error = nullptr;
    std::size_t frameCount = 0;
    if (!ReadCaptureFrames(report.file.c_str(), report.contents, &error, examine, frameCount)) {
      report.damage = error;
    } else if (frameCount == 0) {
      report.fault = check.Keyframe(report.contents);
    }
  }
  if (report.damage == "cannot open file") {
    throw CommandFailure{kRefused, report.file + ": " + report.damage};  // there is nothing to tell of it
  }
  (line.json ? PrintJson : PrintText)(report);
  if (report.damage.empty()) return kDone;
  throw CommandFailure{kRefused, report.file + ": " + report.damage};
}

}  // namespace tlr2::tool
