// trim: a capture of some of a capture's frames, with a keyframe of its own. Nothing is kept before the new file was
// read back and found to run and draw as the old one does there.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <nlohmann/json.hpp>

#include "api/state/driver_state.h"
#include "api/table/commands.h"
#include "base/hash.h"
#include "capture/file_sections.h"
#include "capture/format.h"
#include "capture/record_walk.h"
#include "tlr2_replay/console.h"
#include "tlr2_replay/json_output.h"
#include "tlr2_replay/known_pixels.h"
#include "tlr2_replay/load.h"
#include "tlr2_replay/options.h"
#include "tlr2_replay/output_file.h"
#include "tlr2_replay/session.h"
#include "tlr2_replay/state_walk.h"

namespace tlr2::tool {
namespace {

using Json = nlohmann::ordered_json;

/// What the driver state is between two frames, as far as the frames to come can tell.
struct Boundary {
  StateSnapshot snapshot = {};
  std::vector<std::uint32_t> textures;  // a hash of each that is needed, 0 for the others
};

std::uint32_t HashOf(const TextureObject& t) noexcept {
  const std::uint32_t fields[] = {static_cast<std::uint32_t>(t.width),
                                  static_cast<std::uint32_t>(t.height),
                                  t.wrapS,
                                  t.wrapT,
                                  t.magFilter,
                                  t.minFilter,
                                  t.inUse,
                                  t.hasImage,
                                  t.levelCount};
  const std::uint32_t texels = t.pixels.empty() ? kFnvBasis : Fnv1a(t.pixels.data(), t.pixels.size() * 4);
  return Fnv1aContinue(texels, reinterpret_cast<const std::uint8_t*>(fields), sizeof fields);
}

/// The textures that frames a to b can look at: those bound at the start or in between. Of the others only the names
/// matter, which decide what glGenTextures hands out.
std::vector<bool> NeededTextures(const CaptureContents& capture, const FrameSpan& span, std::uint32_t bound) {
  std::vector<bool> needed;
  const auto note = [&needed](std::uint32_t name) {
    if (name >= needed.size()) needed.resize(std::size_t{name} + 1);
    needed[name] = true;
  };
  note(bound);
  note(0);  // where the binding goes when the bound texture is deleted
  for (std::uint32_t frame = span.first; frame <= span.last; ++frame) {
    for (RecordWalk walk(capture.streams[frame]); walk.Next();) {
      if (!walk.Is(Cmd::BindTexture)) continue;
      const auto record = walk.As<CmdBindTexture>();
      if (record.target == gl::kTexture2D) note(record.name);
    }
  }
  return needed;
}

bool IsNeeded(const std::vector<bool>& needed, std::size_t name) noexcept {
  return name < needed.size() && needed[name];
}

Boundary BoundaryNow(const std::vector<bool>& needed) {
  const DriverState& state = DriverStateInstance();
  Boundary boundary;
  SnapshotFromState(state, boundary.snapshot);
  for (std::size_t name = 0; name < state.textureTable.size(); ++name) {
    boundary.textures.push_back(IsNeeded(needed, name) ? HashOf(state.textureTable[name]) : 0);
  }
  return boundary;
}

std::uint64_t PixelBytes(std::int32_t width, std::int32_t height) noexcept {
  return std::uint64_t{4} * static_cast<std::uint32_t>(width) * static_cast<std::uint32_t>(height);
}

/// The surface grows with the viewports that were set before the frame, as it does in a session: not in a frame whose
/// reference pixels have the size that it had.
void SurfaceSizeAt(const CaptureContents& capture, std::uint32_t frame, std::int32_t& width, std::int32_t& height) {
  width = static_cast<std::int32_t>(capture.width);
  height = static_cast<std::int32_t>(capture.height);
  for (std::uint32_t i = 0; i < frame; ++i) {
    const std::uint64_t referenceBytes = capture.references[i].size();
    if (referenceBytes != 0 && referenceBytes == PixelBytes(width, height)) continue;
    for (RecordWalk walk(capture.streams[i]); walk.Next() && !walk.Is(Cmd::SwapBuffers);) {
      if (!walk.Is(Cmd::Viewport)) continue;
      const auto record = walk.As<CmdViewport>();
      if (record.width < 1 || record.height < 1) continue;
      width = std::max(width, record.width);
      height = std::max(height, record.height);
    }
  }
}

/// Before anything is drawn: pictures that the new file could hold and no reader would take.
void CheckDrawnReferences(const CaptureContents& capture, std::uint32_t last) {
  std::int32_t width = 0, height = 0;
  SurfaceSizeAt(capture, last + 1, width, height);
  if (PixelBytes(width, height) <= kFramePartByteLimit) return;
  throw CommandFailure{kFailed,
                       Format("--reference draw: a picture of %d by %d pixels is more than the %llu MiB that a frame "
                              "may hold as reference pixels",
                              static_cast<int>(width), static_cast<int>(height),
                              static_cast<unsigned long long>(kFramePartByteLimit >> 20))};
}

enum class References { kKeep, kDrop, kDraw };

/// One of the option's choices.
References ReferencesNamed(const std::string& text) noexcept {
  return text == "keep" ? References::kKeep : text == "drop" ? References::kDrop : References::kDraw;
}

std::vector<std::uint8_t> PixelsOf(const PictureView& picture) {
  std::vector<std::uint8_t> pixels;
  pixels.reserve(static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height) * 4);
  for (std::int32_t y = 0; y < picture.height; ++y) {
    const auto* row = reinterpret_cast<const std::uint8_t*>(picture.Row(y));
    pixels.insert(pixels.end(), row, row + static_cast<std::size_t>(picture.width) * 4);
  }
  return pixels;
}

void WriteFrames(CaptureContents& capture, const FrameSpan& span, References references, OutputFile& out) {
  std::optional<Session> session;
  if (references == References::kDraw) session.emplace(capture, SessionOptions{});
  std::vector<std::uint8_t> drawn;
  for (std::uint32_t frame = span.first; frame <= span.last; ++frame) {
    StopIfInterrupted();
    const std::uint8_t* pixels = nullptr;
    std::size_t bytes = 0;
    if (session) {
      session->StepTo(frame);
      drawn = PixelsOf(session->Picture());
      pixels = drawn.data();
      bytes = drawn.size();
    } else if (references == References::kKeep) {
      pixels = capture.references[frame].data();
      bytes = capture.references[frame].size();
    }
    if (!WriteFrameRecord(out.file(), capture.streams[frame], capture.blobs[frame], pixels, bytes)) {
      throw CommandFailure{kFailed, "cannot write '" + out.partPath() + "'"};
    }
  }
  if (std::fflush(out.file()) != 0 || !WriteFrameCount(out.file(), span.last - span.first + 1)) {
    throw CommandFailure{kFailed, "cannot write '" + out.partPath() + "'"};
  }
}

/// Pixels that the new file decides, and the picture's hash over them.
struct DrawnFrame {
  std::vector<bool> known;
  std::uint64_t count = 0;
  std::uint32_t hash = 0;
};

std::uint32_t HashKnown(const PictureView& picture, const std::vector<bool>& known) {
  std::uint32_t hash = kFnvBasis;
  std::size_t i = 0;
  for (std::int32_t y = 0; y < picture.height; ++y) {
    const std::uint32_t* row = picture.Row(y);
    for (std::int32_t x = 0; x < picture.width; ++x, ++i) {
      if (known[i]) hash = Fnv1aContinue(hash, reinterpret_cast<const std::uint8_t*>(row + x), 4);
    }
  }
  return hash;
}

struct Comparison {
  std::uint64_t pixelsCompared = 0, pixelsUnknown = 0;
};

/// Draws both and compares what the new file decides.
Comparison ComparePictures(CaptureContents& capture, CaptureContents& trimmed, const FrameSpan& span) {
  Comparison result;
  std::vector<DrawnFrame> drawn;
  {
    SessionOptions options;
    options.keepKnown = true;
    Session session(trimmed, options);
    for (std::uint32_t i = 0; i < session.FrameCount(); ++i) {
      StopIfInterrupted();
      session.Step();
      const std::vector<std::uint8_t>& known = session.Known()->Color();
      DrawnFrame frame;
      frame.known.assign(known.begin(), known.end());
      frame.count = static_cast<std::uint64_t>(std::count(frame.known.begin(), frame.known.end(), true));
      frame.hash = HashKnown(session.Picture(), frame.known);
      result.pixelsCompared += frame.count;
      result.pixelsUnknown += frame.known.size() - frame.count;
      drawn.push_back(std::move(frame));
    }
  }
  Session session(capture, SessionOptions{});
  for (std::uint32_t frame = span.first; frame <= span.last; ++frame) {
    StopIfInterrupted();
    session.StepTo(frame);
    const DrawnFrame& other = drawn[frame - span.first];
    const PictureView picture = session.Picture();
    const auto pixels = static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height);
    if (pixels != other.known.size() || HashKnown(picture, other.known) != other.hash) {
      throw CommandFailure{kFailed,
                           Format("frame %u draws differently from the trimmed file", static_cast<unsigned>(frame))};
    }
  }
  return result;
}

void CompareBoundaries(CaptureContents& trimmed, const std::vector<Boundary>& boundaries,
                       const std::vector<bool>& needed) {
  StateWalk walk(trimmed);
  for (std::size_t i = 0; i < boundaries.size(); ++i) {
    if (i != 0) walk.RunFrame();
    const Boundary now = BoundaryNow(needed);
    if (std::memcmp(&now.snapshot, &boundaries[i].snapshot, sizeof now.snapshot) != 0 ||
        now.textures != boundaries[i].textures) {
      throw CommandFailure{kFailed, Format("the state before frame %zu differs in the trimmed file", i)};
    }
  }
}

}  // namespace

int RunTrim(const Words& words) {
  CommandLine line("trim");
  std::string from, to, frames, reference = "keep";
  line.Add("IN", from, "Capture file", {.required = true});
  line.Add("OUT", to, "File to write", {.required = true});
  line.Add("--frames", frames, "The frames to keep, as in 3-7", {.required = true});
  line.Add("--reference", reference,
           "Reference pixels: keep those there are, drop them, or draw new ones on this processor's best target",
           {.showsDefault = true, .choices = {"keep", "drop", "draw"}});
  line.AddJson();
  if (const auto code = line.Parse(words)) return *code;
  const References references = ReferencesNamed(reference);
  const std::vector<FrameSpan> spans = ParseFrameSpans(frames);
  if (spans.size() != 1) FailUsage("--frames takes one span, as in 3-7");
  const FrameSpan span = spans[0];

  RefuseToReplace(from, to);

  CaptureContents capture = LoadCapture(from);
  if (span.last >= capture.streams.size()) {
    FailNoFrame(span.last, capture.streams.size());
  }
  if (references == References::kDraw) CheckDrawnReferences(capture, span.last);
  // The keyframe and, for the check afterwards, the state at each boundary.
  std::vector<TextureObject> textures;
  std::vector<Boundary> boundaries;
  std::vector<bool> needed;
  std::size_t emptied = 0;
  {
    StateWalk walk(capture);
    walk.ToFrame(span.first);
    needed = NeededTextures(capture, span, DriverStateInstance().boundTexture);
    textures = DriverStateInstance().textureTable;
    boundaries.push_back(BoundaryNow(needed));
    for (std::uint32_t frame = span.first; frame <= span.last; ++frame) {
      StopIfInterrupted();
      walk.RunFrame();
      boundaries.push_back(BoundaryNow(needed));
    }
  }
  for (std::size_t name = 0; name < textures.size(); ++name) {
    TextureObject& object = textures[name];
    if (IsNeeded(needed, name) || object.hasImage == 0) continue;
    TextureObject bare;
    bare.wrapS = object.wrapS;
    bare.wrapT = object.wrapT;
    bare.magFilter = object.magFilter;
    bare.minFilter = object.minFilter;
    bare.inUse = object.inUse;
    object = bare;
    ++emptied;
  }

  std::int32_t width = 0, height = 0;
  SurfaceSizeAt(capture, span.first, width, height);
  OutputFile out(to);
  GatheredTextures gathered = GatherTextures(textures);
  if (!WriteCaptureStart(out.file(), boundaries[0].snapshot, gathered, width, height)) {
    throw CommandFailure{kFailed, "cannot write '" + out.partPath() + "'"};
  }
  WriteFrames(capture, span, references, out);
  out.Close();

  CaptureContents trimmed = LoadCapture(out.partPath());
  CompareBoundaries(trimmed, boundaries, needed);
  const Comparison pictures = ComparePictures(capture, trimmed, span);
  out.Keep();

  const std::uint32_t count = span.last - span.first + 1;
  if (line.json) {
    const Json report = {{"frames", count},
                         {"texturesEmptied", emptied},
                         {"pixelsCompared", pictures.pixelsCompared},
                         {"pixelsUnknown", pictures.pixelsUnknown}};
    WriteJson(report);
  } else {
    std::printf(
        "%u frames; %zu textures that they do not bind were emptied\nverified: %llu pixels equal, %llu depend on"
        " earlier frames\n",
        static_cast<unsigned>(count), emptied, static_cast<unsigned long long>(pictures.pixelsCompared),
        static_cast<unsigned long long>(pictures.pixelsUnknown));
  }
  return kDone;
}

}  // namespace tlr2::tool
