// recover: a closed file from one that was never closed or that was cut.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <nlohmann/json.hpp>

#include "capture/file_sections.h"
#include "capture/record_walk.h"
#include "capture/validate.h"
#include "tlr2_replay/console.h"
#include "tlr2_replay/json_output.h"
#include "tlr2_replay/load.h"
#include "tlr2_replay/options.h"
#include "tlr2_replay/output_file.h"

namespace tlr2::tool {
namespace {

using Json = nlohmann::ordered_json;

/// The reader came to the frames before it stopped.
bool IsFrameFault(const char* message) noexcept {
  return std::strncmp(message, "short read on frame ", 20) == 0 ||
         std::strcmp(message, "implausible frame record size") == 0;
}

/// Every frame that the driver wrote ends with the frame-end record. Zeros that a crashed system left behind a file
/// read as frames too, but as frames of nothing.
bool EndsWithSwap(const ByteVector& stream) noexcept {
  bool swap = false;
  RecordWalk walk(stream);
  while (walk.Next()) swap = walk.Is(Cmd::SwapBuffers);
  return walk.Whole() && swap;
}

struct Recovery {
  std::uint64_t fileBytes = 0, keptBytes = 0;
  std::uint32_t frames = 0;
  bool stopped = false;  // at a frame that cannot be kept
  std::string reason;    // why the frames end where they do; empty when nothing was wrong
};

/// Behind the header, the keyframe and the tables, wherever they lie in the file.
std::uint64_t TablesEnd(const CaptureHeader& header) noexcept {
  return std::max({std::uint64_t{sizeof header}, header.keyframeOffset + sizeof(StateSnapshot),
                   header.textureTableOffset + std::uint64_t{header.textureCount} * sizeof(CaptureTexture),
                   header.blobTableOffset + std::uint64_t{header.blobCount} * sizeof(CaptureBlob)});
}

Recovery Survey(const std::string& path, const CaptureHeader& header, std::uint64_t fileBytes) {
  Recovery result;
  result.fileBytes = fileBytes;
  result.keptBytes = header.frameRecordsOffset;
  CaptureContents contents;
  CaptureCheck check;
  const auto look = [&](CapturedFrame&& frame) {
    StopIfInterrupted();
    if (result.stopped) return;
    if (result.frames == 0) {
      if (const std::string fault = check.Keyframe(contents); !fault.empty()) {
        throw CommandFailure{kRefused, path + ": " + fault};
      }
    }
    std::string fault = check.Frame(frame.stream, frame.blob, frame.reference);
    if (fault.empty() && !EndsWithSwap(frame.stream)) {
      fault = Format("frame %u: does not end with the frame's end", static_cast<unsigned>(result.frames));
    }
    if (!fault.empty()) {
      result.stopped = true;
      result.reason = fault;
      return;
    }
    ++result.frames;
    result.keptBytes += sizeof(CaptureFrameHead) + frame.stream.size() + frame.blob.size() + frame.reference.size();
  };
  const char* error = nullptr;
  std::size_t count = 0;
  if (!ReadCaptureFrames(path.c_str(), contents, &error, look, count)) {
    if (!IsFrameFault(error)) throw CommandFailure{kRefused, path + ": " + error};
    if (!result.stopped) result.reason = error;
  }
  // The reader takes an open file whose records would begin behind its end for one that has none yet. There is no
  // such file of so many bytes to be made, so it is refused as a closed one is.
  if (header.frameRecordsOffset > fileBytes) {
    throw CommandFailure{kRefused, path + ": short read on frame header"};
  }
  // What is kept is the file's start, up to the last good frame: the rest must be in it.
  if (header.frameRecordsOffset < TablesEnd(header)) {
    throw CommandFailure{kRefused, path + ": the frame records begin before the tables end"};
  }
  if (count == 0) {
    if (const std::string fault = check.Keyframe(contents); !fault.empty()) {
      throw CommandFailure{kRefused, path + ": " + fault};
    }
  }
  return result;
}

void CopyKept(const std::string& from, const Recovery& recovery, OutputFile& out) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> in(std::fopen(from.c_str(), "rb"), std::fclose);
  std::vector<std::uint8_t> buffer(1u << 20);
  std::uint64_t left = recovery.keptBytes;
  Progress progress("bytes", recovery.keptBytes);
  while (left != 0) {
    StopIfInterrupted();
    const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(left, buffer.size()));
    if (in == nullptr || !ReadBytes(in.get(), buffer.data(), size)) {
      throw CommandFailure{kFailed, "cannot read '" + from + "' again"};
    }
    out.Write(buffer.data(), size);
    left -= size;
    progress.Show(recovery.keptBytes - left);
  }
  if (!WriteFrameCount(out.file(), recovery.frames)) throw CommandFailure{kFailed, "cannot write the frame count"};
}

/// The new file, frame by frame: a capture may be larger than memory.
void ReadBack(const std::string& path, std::uint32_t frames) {
  CaptureContents contents;
  CaptureCheck check;
  std::string fault;
  std::uint32_t read = 0;
  const auto look = [&](CapturedFrame&& frame) {
    StopIfInterrupted();
    if (read++ == 0) fault = check.Keyframe(contents);
    if (fault.empty()) fault = check.Frame(frame.stream, frame.blob, frame.reference);
  };
  const char* error = nullptr;
  std::size_t count = 0;
  if (!ReadCaptureFrames(path.c_str(), contents, &error, look, count)) fault = error;
  if (count == 0 && fault.empty()) fault = check.Keyframe(contents);
  if (fault.empty() && count != frames) fault = Format("%zu frames", count);
  if (!fault.empty()) throw CommandFailure{kFailed, "the recovered file reads differently: " + fault};
}

void Print(const Recovery& r, bool wasClosed, bool json) {
  const std::uint64_t dropped = r.fileBytes - r.keptBytes;
  if (json) {
    const Json out = {{"frames", r.frames},
                      {"bytesKept", r.keptBytes},
                      {"bytesDropped", dropped},
                      {"wasClosed", wasClosed},
                      {"reason", r.reason.empty() ? Json() : Json(r.reason)}};
    WriteJson(out);
    return;
  }
  std::printf("kept: %u frames, %llu bytes\ndropped: %llu bytes%s%s\nwas closed: %s\n", static_cast<unsigned>(r.frames),
              static_cast<unsigned long long>(r.keptBytes), static_cast<unsigned long long>(dropped),
              r.reason.empty() ? "" : ": ", r.reason.c_str(), wasClosed ? "yes" : "no");
}

}  // namespace

int RunRecover(const Words& words) {
  CommandLine line("recover");
  std::string from, to;
  line.Add("IN", from, "Capture file that was not closed, or was cut", {.required = true});
  line.Add("OUT", to, "File to write", {.required = true});
  line.AddJson();
  if (const auto code = line.Parse(words)) return *code;

  // The file itself may be replaced: it is read to its end before. Its part is written while it is read.
  RefuseToReplace(from, to + ".part");

  CheckBlobSizes(from);
  std::uint64_t fileBytes = 0;
  const std::optional<CaptureHeader> header = PeekHeader(from, fileBytes);
  // Without a header there are no frames either: the reader then says what is wrong.
  Recovery recovery = Survey(from, header.value_or(CaptureHeader{}), fileBytes);
  const bool wasClosed = header->frameCount != kCaptureOpen;
  if (recovery.reason.empty() && !wasClosed && recovery.keptBytes < fileBytes) recovery.reason = "a frame cut short";
  if (recovery.reason.empty() && recovery.keptBytes < fileBytes) recovery.reason = "bytes behind the last frame";

  OutputFile out(to);
  CopyKept(from, recovery, out);
  out.Close();
  ReadBack(out.partPath(), recovery.frames);
  out.Keep();
  Print(recovery, wasClosed, line.json);
  return kDone;
}

}  // namespace tlr2::tool
