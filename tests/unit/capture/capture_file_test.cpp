// The capture file's bytes, from a state and frames made by hand.
#if defined(__unix__)
#include <sys/resource.h>

#include <csignal>
#endif

#include <cstring>
#include <string>
#include <vector>

#include "capture/blob_list.h"
#include "capture/crc32.h"
#include "capture/reader.h"
#include "capture_bytes.h"
#include "capture_fixture.h"
#include "textures/texture_ops.h"

namespace tlr2 {
namespace {

constexpr std::size_t kTablesAt = 96 + 6376;

class CaptureFile : public Diagnostics {
 protected:
  void SetUp() override {
    Diagnostics::SetUp();
    auto* bytes = reinterpret_cast<unsigned char*>(&snapshot);
    for (std::size_t i = 0; i < sizeof snapshot; ++i) bytes[i] = static_cast<unsigned char>(i * 7 % 251);
  }
  void Upload(std::uint32_t name, GLsizei width, GLsizei height, const std::vector<std::uint32_t>& texels) {
    BindTexture(clone, gl::kTexture2D, name, Touch::kSkip);
    UploadImage(clone, gl::kTexture2D, 0, width, height, gl::kBgra, gl::kUnsignedByte,
                reinterpret_cast<const std::uint8_t*>(texels.data()), texels.size() * 4, Touch::kSkip);
  }
  bool Begin() { return BeginCaptureIfDue(clone, snapshot, 320, 200); }
  static bool Frame(const std::string& stream, const std::string& blob, const std::string& pixels) {
    FrameJob job = {};
    job.stream.bytes.append(reinterpret_cast<const std::uint8_t*>(stream.data()), stream.size());
    job.stream.blob.append(reinterpret_cast<const std::uint8_t*>(blob.data()), blob.size());
    return WriteCaptureFrame(job, pixels.empty() ? nullptr : reinterpret_cast<const std::uint8_t*>(pixels.data()),
                             pixels.size());
  }
  static std::string FrameBytes(const std::string& stream, const std::string& blob, const std::string& pixels) {
    std::string bytes;
    Put64(bytes, stream.size());
    Put64(bytes, blob.size());
    Put64(bytes, pixels.size());
    return bytes + stream + blob + pixels;
  }
  std::string Header(std::uint32_t frames, std::uint32_t textures, std::uint32_t blobs, std::uint64_t payload) const {
    std::string bytes;
    for (const std::uint32_t word : {0x32534C54u, 0x54504143u, 4u, 0x3925DC0Fu, frames, 0u, 320u, 200u})
      Put32(bytes, word);
    Put64(bytes, 96);
    Put64(bytes, kTablesAt);
    Put32(bytes, textures);
    Put32(bytes, blobs);
    Put64(bytes, kTablesAt + 364 * textures);
    Put64(bytes, kTablesAt + 364 * textures + 24 * blobs);
    Put64(bytes, kTablesAt + 364 * textures + 24 * blobs + payload);
    Put64(bytes, 0);
    Put64(bytes, 0);
    return bytes;
  }
  std::string SnapshotBytes() const { return {reinterpret_cast<const char*>(&snapshot), sizeof snapshot}; }

  DriverState clone;
  StateSnapshot snapshot;
};

TEST_F(CaptureFile, WithoutTexturesTheTablesAreEmptyAndTheFramesFollow) {
  SetCaptureRange(0, 2, "test", false);
  ASSERT_TRUE(Begin());
  Frame("streamA.", "", "");
  Frame("B...", "blobB", "");
  Frame("C...", "", "pixels");
  EXPECT_FALSE(FinishCaptureRange(3));
  EXPECT_EQ(BytesOf("TLR2_capture_frames0-2.tlr2-capture"),
            Header(3, 0, 0, 0) + SnapshotBytes() + FrameBytes("streamA.", "", "") + FrameBytes("B...", "blobB", "") +
                FrameBytes("C...", "", "pixels"));
}

TEST_F(CaptureFile, TexturesAreAnEntryEachAndEqualTexelsOneBlob) {
  Upload(1, 2, 1, {0xFF102030u, 0x80506070u});
  Upload(3, 2, 1, {0xFF102030u, 0x80506070u});
  SetTextureParameter(clone, gl::kTexture2D, gl::kTextureWrapS, 0x812F, Touch::kSkip);
  SetTextureParameter(clone, gl::kTexture2D, gl::kTextureMagFilter, 0x2600, Touch::kSkip);
  Upload(4, 1, 1, {0x01020304u});
  SetCaptureRange(0, 0, "test", false);
  ASSERT_TRUE(Begin());
  FinishCaptureRange(1);

  // Two by one texels make two levels: the second is the rounded mean. (0x10+0x50+0x10+0x50+2)/4 and so on.
  std::string pair, single;
  for (const std::uint32_t texel : {0xFF102030u, 0x80506070u, 0xC0304050u}) Put32(pair, texel);
  Put32(single, 0x01020304u);
  const auto entry = [](std::uint32_t slot, std::uint32_t width, std::uint32_t wrapS, std::uint32_t mag,
                        std::uint32_t flags, std::uint32_t blob) {
    std::string bytes;
    const std::uint32_t height = width != 0 ? 1 : 0, levels = width;
    for (const std::uint32_t word : {slot, width, height, wrapS, 0x2901u, mag, 0x2703u, flags, levels})
      Put32(bytes, word);
    const auto array = [&](std::uint32_t first, std::uint32_t second) {
      for (std::uint32_t i = 0; i < 16; ++i) Put32(bytes, i >= levels ? 0 : i == 0 ? first : second);
    };
    array(width, 1);      // widths
    array(1, 1);          // heights
    array(width * 4, 4);  // pitches
    array(4, 4);          // bytes a texel
    array(0, width * 4);  // offsets
    Put32(bytes, blob);
    Put32(bytes, 0);
    return bytes;
  };
  std::string expected = Header(0, 5, 2, 16) + SnapshotBytes();
  expected += entry(0, 0, 0x2901, 0x2601, 0x0001, 0xFFFFFFFFu);
  expected += entry(1, 2, 0x2901, 0x2601, 0x0101, 0);
  expected += entry(2, 0, 0x2901, 0x2601, 0x0000, 0xFFFFFFFFu);
  expected += entry(3, 2, 0x812F, 0x2600, 0x0101, 0);
  expected += entry(4, 1, 0x2901, 0x2601, 0x0101, 1);
  const std::uint64_t payloads = kTablesAt + 5 * 364 + 2 * 24;
  Put32(expected, 1);
  Put32(expected, PlainCrc32(pair));
  Put64(expected, 12);
  Put64(expected, payloads);
  Put32(expected, 1);
  Put32(expected, PlainCrc32(single));
  Put64(expected, 4);
  Put64(expected, payloads + 12);
  expected += pair + single;
  EXPECT_EQ(BytesOf("TLR2_capture_frame0.tlr2-capture"), expected);
}

TEST_F(CaptureFile, ItIsOpenUntilTheRangeIsOverAndThenHasItsCount) {
  SetCaptureRange(0, 5, "test", false);
  ASSERT_TRUE(Begin());
  Frame("1...", "", "");
  Frame("2...", "", "");
  const char* const name = "TLR2_capture_frames0-5.tlr2-capture";
  std::string bytes = BytesOf(name);
  EXPECT_EQ(Get32(bytes, 16), 0xFFFFFFFFu);
  EXPECT_EQ(Get64(bytes, 72), kTablesAt);  // the header is whole but for the count
  FinishCaptureRange(6);
  bytes = BytesOf(name);
  EXPECT_EQ(Get32(bytes, 16), 2u);
  EXPECT_EQ(bytes.size(), kTablesAt + 2 * (24 + 4));
  EXPECT_STREQ(LatestFinishedCapture().path, name);
  EXPECT_EQ(LatestFinishedCapture().sizeBytes, bytes.size());
  EXPECT_EQ(LatestFinishedCapture().frameCount, 2u);
}

TEST_F(CaptureFile, TheEndOfTheProcessClosesItWithItsCount) {
  SetCaptureRange(0, 9, "env", true);
  OpenTrace(0, 9, "env", true);
  ASSERT_TRUE(Begin());
  Frame("1...", "", "");
  const std::string before = LatestFinishedCapture().path;
  ProcessEndDiagnostics();
  EXPECT_EQ(Get32(BytesOf("TLR2_capture_frames0-9.tlr2-capture"), 16), 1u);
  EXPECT_EQ(LatestFinishedCapture().path, before);
  EXPECT_FALSE(TraceOpen());
  EXPECT_NE(BytesOf("TLR2_trace_frames0-9.tlr2-trace").find("=== end of trace ==="), std::string::npos);
  EXPECT_NE(BytesOf("TLR2_api_calls.log"), kNoFile);
  // The name is gone with it: the range does not begin a second file.
  ASSERT_TRUE(Begin());
  Frame("2...", "", "");
  EXPECT_EQ(BytesOf("TLR2_capture_frames0-9.tlr2-capture").size(), kTablesAt + 24 + 4);
  EXPECT_FALSE(FinishCaptureRange(10));  // and neither does it quit
}

TEST_F(CaptureFile, OutsideTheRangeNoFileIsMade) {
  EXPECT_TRUE(Begin());
  SetCaptureRange(3, 4, "test", false);
  for (const std::int32_t frame : {0, 2, 5}) {
    currentFrame = frame;
    EXPECT_TRUE(Begin());
    Frame("1...", "", "");
  }
  EXPECT_TRUE(FolderIsEmpty());
}

TEST_F(CaptureFile, AFileThatCannotBeMadeIsTriedAgainWithTheNextFrame) {
  const char* const name = "TLR2_capture_frames0-1.tlr2-capture";
  std::filesystem::create_directory(name);
  SetCaptureRange(0, 1, "test", false);
  EXPECT_FALSE(Begin());
  Frame("1...", "", "");
  std::filesystem::remove(name);
  currentFrame = 1;
  EXPECT_TRUE(Begin());
  Frame("2...", "", "");
  FinishCaptureRange(2);
  const std::string bytes = BytesOf(name);
  EXPECT_EQ(Get32(bytes, 16), 1u);
  EXPECT_EQ(bytes.substr(kTablesAt), FrameBytes("2...", "", ""));
}

TEST_F(CaptureFile, AFilePastTwoGigabytesIsNotedWithItsSize) {
  constexpr std::uintmax_t kSize = 2200000000u;
  SetCaptureRange(0, 0, "test", false);
  ASSERT_TRUE(Begin());
  std::error_code refused;
  std::filesystem::resize_file("TLR2_capture_frame0.tlr2-capture", kSize, refused);  // holes where the system has them
  if (refused) GTEST_SKIP() << refused.message();
  FinishCaptureRange(1);
  EXPECT_EQ(LatestFinishedCapture().sizeBytes, kSize);
}

#if defined(__unix__)
/// While it lives, no file grows beyond `bytes`: writes fail as they do on a full disk.
class FullDisk {
 public:
  explicit FullDisk(rlim_t bytes) {
    getrlimit(RLIMIT_FSIZE, &before_);
    handler_ = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit = {bytes, before_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FullDisk() {
    setrlimit(RLIMIT_FSIZE, &before_);
    std::signal(SIGXFSZ, handler_);
  }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;

 private:
  rlimit before_ = {};
  void (*handler_)(int) = SIG_DFL;
};

TEST_F(CaptureFile, AFrameThatTheDiskDoesNotTakeIsNotCountedNorAnyBehindIt) {
  SetCaptureRange(0, 9, "test", false);
  ASSERT_TRUE(Begin());
  EXPECT_TRUE(Frame("1...", "", ""));
  {
    // Within the buffer: the full disk shows at the flush alone.
    const FullDisk full(kTablesAt + 28 + 24 + 100);
    EXPECT_FALSE(Frame(std::string(400, 's'), "", ""));
    EXPECT_FALSE(Frame("3...", "", ""));
  }
  EXPECT_FALSE(Frame("4...", "", ""));  // the disk has room again, but what is torn stands before it
  FinishCaptureRange(10);
  EXPECT_EQ(LatestFinishedCapture().frameCount, 1u);
  CaptureContents contents;
  const char* error = "";
  const char* const name = "TLR2_capture_frames0-9.tlr2-capture";
  ASSERT_TRUE(ReadCapture(name, contents, &error)) << error;
  EXPECT_EQ(contents.streams.size(), 1u);
  EXPECT_EQ(BytesOf(name).substr(0, kTablesAt + 28), Header(1, 0, 0, 0) + SnapshotBytes() + FrameBytes("1...", "", ""));

  SetCaptureRange(10, 11, "test", false);  // the next file is whole again
  currentFrame.store(10, std::memory_order_relaxed);
  ASSERT_TRUE(Begin());
  EXPECT_TRUE(Frame("5...", "", ""));
  {
    const FullDisk full(kTablesAt + 28 + 24 + 100);
    // Beyond the buffer: it shows at the write.
    EXPECT_FALSE(Frame(std::string(5u << 20, 's'), "", ""));
  }
  EXPECT_FALSE(Frame("6...", "", ""));
  FinishCaptureRange(12);
  EXPECT_EQ(LatestFinishedCapture().frameCount, 1u);
  ASSERT_TRUE(ReadCapture("TLR2_capture_frames10-11.tlr2-capture", contents, &error)) << error;
  EXPECT_EQ(contents.streams.size(), 1u);
}

TEST_F(CaptureFile, AStartThatTheDiskDoesNotTakeLeavesNoFileOpen) {
  SetCaptureRange(0, 5, "test", false);
  {
    const FullDisk full(1000);
    EXPECT_FALSE(Begin());
    EXPECT_FALSE(Frame("1...", "", ""));
  }
  ASSERT_TRUE(Begin());  // with room again, the range's next frame begins the file
  EXPECT_TRUE(Frame("2...", "", ""));
  FinishCaptureRange(6);
  EXPECT_EQ(BytesOf("TLR2_capture_frames0-5.tlr2-capture"),
            Header(1, 0, 0, 0) + SnapshotBytes() + FrameBytes("2...", "", ""));
}
#endif

TEST_F(CaptureFile, ASecondFrameDoesNotBeginAnew) {
  SetCaptureRange(0, 1, "test", false);
  ASSERT_TRUE(Begin());
  Frame("1...", "", "");
  currentFrame = 1;
  ASSERT_TRUE(Begin());
  Frame("2...", "", "");
  FinishCaptureRange(2);
  EXPECT_EQ(Get32(BytesOf("TLR2_capture_frames0-1.tlr2-capture"), 16), 2u);
}

TEST(CaptureCrc, IsTheCommonOne) {
  EXPECT_EQ(Crc32("", 0), 0u);
  EXPECT_EQ(Crc32("123456789", 9), 0xCBF43926u);
  std::string bytes;
  for (int i = 0; i < 1000; ++i) bytes.push_back(static_cast<char>(i * i));
  EXPECT_EQ(Crc32(bytes.data(), bytes.size()), PlainCrc32(bytes));
}

TEST(CaptureBlobs, OnlyEqualBytesOfEqualKindAreShared) {
  BlobList blobs;
  EXPECT_EQ(blobs.Add(1, nullptr, 8), 0xFFFFFFFFu);
  EXPECT_EQ(blobs.Add(1, "x", 0), 0xFFFFFFFFu);
  EXPECT_EQ(blobs.Add(1, "abcd", 4), 0u);
  EXPECT_EQ(blobs.Add(1, "abce", 4), 1u);
  EXPECT_EQ(blobs.Add(1, "abcd", 4), 0u);
  EXPECT_EQ(blobs.Add(1, "abcd", 3), 2u);
  EXPECT_EQ(blobs.Add(2, "abcd", 4), 3u);
  EXPECT_EQ(blobs.table.size(), 4u);
  // Two texts of one length and one CRC.
  EXPECT_EQ(Crc32("plumless", 8), Crc32("buckeroo", 8));
  EXPECT_EQ(blobs.Add(1, "plumless", 8), 4u);
  EXPECT_EQ(blobs.Add(1, "buckeroo", 8), 5u);
  EXPECT_EQ(blobs.Add(1, "plumless", 8), 4u);
}

}  // namespace
}  // namespace tlr2
