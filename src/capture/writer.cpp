// Writing a capture: the start of the file at the first frame of the range, a record a frame, the count at the end.
#define _FILE_OFFSET_BITS 64  // NOLINT(bugprone-reserved-identifier): captures pass 2 GiB, also in 32-bit processes
#include "capture/writer.h"

#include <cstring>
#include <string>
#include <vector>

#include "api/accounting.h"
#include "capture/file_sections.h"
#include "capture/frame_tick.h"

namespace tlr2 {

std::atomic<std::int32_t> captureRequested{0};
std::atomic<std::int32_t> traceRequested{0};

namespace {

constexpr std::size_t kFileBufferBytes = 4194304;

struct CaptureWriter {
  std::FILE* file = nullptr;
  std::uint32_t frameCount = 0;
  bool torn = false;    // a frame did not fit: behind what stands of it nothing more can be read
  char name[128] = "";  // empty: no capture has been asked for
  bool quitWhenDone = false;
  bool referencePixels = false;
  FinishedCapture latest = {};
};

CaptureWriter writer;
char fileBuffer[kFileBufferBytes];

}  // namespace

void SetCaptureRange(std::int32_t first, std::int32_t last, const char* /*source*/, bool quitWhenDone) noexcept {
  if (first < 0 || last < first) return;
  if (first == last) {
    std::snprintf(writer.name, sizeof writer.name, "TLR2_capture_frame%d.tlr2-capture", first);
  } else {
    std::snprintf(writer.name, sizeof writer.name, "TLR2_capture_frames%d-%d.tlr2-capture", first, last);
  }
  writer.file = nullptr;
  writer.frameCount = 0;
  writer.quitWhenDone = quitWhenDone;
  captureLastFrame.store(last, std::memory_order_relaxed);
  captureFirstFrame.store(first, std::memory_order_relaxed);
}

void SetCaptureReferencePixels(bool wanted) noexcept { writer.referencePixels = wanted; }
bool CaptureReferencePixels() noexcept { return writer.referencePixels; }

bool BeginCaptureIfDue(const DriverState& clone, const StateSnapshot& snapshot, std::int32_t width,
                       std::int32_t height) {
  const std::int32_t first = captureFirstFrame.load(std::memory_order_relaxed);
  const std::int32_t frame = currentFrame.load(std::memory_order_relaxed);
  if (first < 0 || frame < first || frame > captureLastFrame.load(std::memory_order_relaxed)) return true;
  if (writer.file != nullptr || writer.name[0] == '\0') return true;
  GatheredTextures textures = GatherTextures(clone.textureTable);
  std::FILE* file = std::fopen(writer.name, "wb");
  if (file == nullptr) return false;
  std::setvbuf(file, fileBuffer, _IOFBF, sizeof fileBuffer);
  // Most of it waits in the buffer until the flush: a full disk may show only there.
  if (!WriteCaptureStart(file, snapshot, textures, width, height) || std::fflush(file) != 0) {
    std::fclose(file);
    return false;
  }
  writer.file = file;
  writer.frameCount = 0;
  writer.torn = false;
  return true;
}

bool WriteCaptureFrame(const FrameJob& job, const std::uint8_t* pixels, std::uint64_t pixelBytes) {
  if (writer.file == nullptr || writer.torn) return false;
  // Flushed at once: a killed process then loses no whole frame, and a frame that the disk did not take does not count.
  writer.torn =
      !WriteFrameRecord(writer.file, job.stream.bytes, job.stream.blob, pixels, pixels != nullptr ? pixelBytes : 0) ||
      std::fflush(writer.file) != 0;
  if (writer.torn) return false;
  ++writer.frameCount;
  return true;
}

void CloseCaptureFile(std::FILE* file, std::uint32_t frameCount) noexcept {
  std::fflush(file);
  WriteFrameCount(file, frameCount);
  std::fclose(file);
}

bool FinishCaptureRange(std::int32_t frame) noexcept {
  if (captureFirstFrame.load(std::memory_order_relaxed) < 0 ||
      frame <= captureLastFrame.load(std::memory_order_relaxed)) {
    return false;
  }
  if (writer.file != nullptr) {
    CloseCaptureFile(writer.file, writer.frameCount);
    std::uint64_t size = 0;
    if (std::FILE* finished = std::fopen(writer.name, "rb"); finished != nullptr) {
      if (fseeko(finished, 0, SEEK_END) == 0) size = static_cast<std::uint64_t>(ftello(finished));
      std::fclose(finished);
    }
    std::memcpy(writer.latest.path, writer.name, sizeof writer.name);
    writer.latest.sizeBytes = size;
    writer.latest.frameCount = writer.frameCount;
  }
  writer.file = nullptr;
  writer.frameCount = 0;
  writer.name[0] = '\0';
  captureFirstFrame.store(-1, std::memory_order_relaxed);
  captureLastFrame.store(-1, std::memory_order_relaxed);
  const bool quit = writer.quitWhenDone;
  writer.quitWhenDone = false;
  return quit;
}

void AbandonCapture() noexcept {
  if (writer.file == nullptr) return;
  CloseCaptureFile(writer.file, writer.frameCount);
  writer.file = nullptr;
  writer.frameCount = 0;
  writer.name[0] = '\0';
  writer.quitWhenDone = false;
}

const FinishedCapture& LatestFinishedCapture() noexcept { return writer.latest; }

}  // namespace tlr2
