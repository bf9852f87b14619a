// The reader: what it gives back, every message it refuses a file with, and files cut at every byte.
#include "capture/reader.h"

#include <functional>
#include <string>

#include "api/table/commands.h"
#include "capture_fixture.h"
#include "made_capture.h"
#include "textures/texture_ops.h"

namespace tlr2 {
namespace {

constexpr char kPath[] = "made.tlr2-capture";

std::string Text(const ByteVector& bytes) { return {bytes.begin(), bytes.end()}; }

/// Three frames, three textures of which two share a blob.
MadeCapture Sound() {
  MadeCapture capture;
  capture.blobs = {std::string("\x11\x22\x33\x44", 4), std::string("abcd", 4)};
  capture.textures = {MadeTexture{}, OneTexel(1, 0), OneTexel(2, 1), OneTexel(3, 0)};
  capture.textures[0].flags = 1;
  capture.textures[2].wrapS = 0x812F;
  capture.textures[2].magFilter = 0x2600;
  capture.frames = {{kFrameEnd, "blobA", ""}, {kFrameEnd + kFrameEnd, "", "pixels.."}, {kFrameEnd, "", ""}};
  return capture;
}

class Reader : public Diagnostics {
 protected:
  /// The message of the read, "" when it succeeded. What goes to standard error is kept.
  std::string Read(const std::string& bytes) {
    WriteBytesTo(kPath, bytes);
    const char* error = nullptr;
    ::testing::internal::CaptureStderr();
    const bool read = ReadCapture(kPath, contents, &error);
    note = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(read, error == nullptr);
    if (!read) {
      EXPECT_EQ(error, LastCaptureError());
    }
    return error == nullptr ? "" : error;
  }
  std::string Read(const MadeCapture& capture) { return Read(capture.Bytes()); }
  static std::string Note(int frames) {
    return "tlr2_replay: NOTE: capture file had open-sentinel frameCount; recovered " + std::to_string(frames) +
           " frames by EOF scan\n";
  }

  CaptureContents contents;
  std::string note;
};

TEST_F(Reader, GivesBackWhatTheFileHolds) {
  MadeCapture made = Sound();
  for (std::size_t i = 0; i < made.snapshot.size(); ++i) made.snapshot[i] = static_cast<char>(i * 7 % 251);
  ASSERT_EQ(Read(made), "");
  EXPECT_EQ(note, "");
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(&contents.snapshot), sizeof contents.snapshot), made.snapshot);
  EXPECT_EQ(contents.width, 64u);
  EXPECT_EQ(contents.height, 48u);
  ASSERT_EQ(contents.textures.size(), 4u);
  EXPECT_EQ(contents.textures[0].inUse, 1);
  EXPECT_EQ(contents.textures[0].hasImage, 0);
  EXPECT_TRUE(contents.textures[0].pixels.empty());
  const TextureObject& second = contents.textures[2];
  EXPECT_EQ(second.width, 1);
  EXPECT_EQ(second.wrapS, 0x812Fu);
  EXPECT_EQ(second.wrapT, 0x2901u);
  EXPECT_EQ(second.magFilter, 0x2600u);
  EXPECT_EQ(second.minFilter, 0x2703u);
  EXPECT_EQ(second.hasImage, 1);
  EXPECT_EQ(second.levelCount, 1u);
  EXPECT_EQ(second.levelPitch[0], 4u);
  ASSERT_EQ(second.pixels.size(), 1u);
  EXPECT_EQ(std::as_const(second.pixels)[0], 0x64636261u);
  EXPECT_EQ(std::as_const(contents.textures[3].pixels)[0], 0x44332211u);
  ASSERT_EQ(contents.streams.size(), 3u);
  ASSERT_EQ(contents.blobs.size(), 3u);
  ASSERT_EQ(contents.references.size(), 3u);
  EXPECT_EQ(Text(contents.streams[1]), kFrameEnd + kFrameEnd);
  EXPECT_EQ(Text(contents.blobs[0]), "blobA");
  EXPECT_EQ(Text(contents.references[1]), "pixels..");
  EXPECT_TRUE(contents.references[2].empty());
  EXPECT_EQ(contents.blobCount, 2u);
  EXPECT_EQ(contents.fileBlobBytes, 8u);
  EXPECT_EQ(contents.textureBytes, 12u);
  EXPECT_EQ(contents.streamBytes, 16u);
  EXPECT_EQ(contents.frameBlobBytes, 5u);
}

TEST_F(Reader, TexturesOfOneBlobAreChangedApart) {
  ASSERT_EQ(Read(Sound()), "");
  contents.textures[1].pixels[0] = 7;
  EXPECT_EQ(std::as_const(contents.textures[3].pixels)[0], 0x44332211u);
}

TEST_F(Reader, FlagsAreFlagsWhateverTheirByte) {
  MadeCapture made = Sound();
  made.textures[1].flags = 0xFFFF8040;
  ASSERT_EQ(Read(made), "");
  EXPECT_EQ(contents.textures[1].inUse, 1);
  EXPECT_EQ(contents.textures[1].hasImage, 1);
}

TEST_F(Reader, TheOrderOfTheTableIsNotThatOfTheSlots) {
  MadeCapture made = Sound();
  made.textures[1].slot = 3;
  made.textures[3].slot = 1;
  made.textures[1].wrapT = 0x812D;
  ASSERT_EQ(Read(made), "");
  EXPECT_EQ(contents.textures[3].wrapT, 0x812Du);
  EXPECT_EQ(contents.textures[1].wrapT, 0x2901u);
}

TEST_F(Reader, NeedsNoPlaceForTheMessage) { EXPECT_FALSE(ReadCapture("no such file", contents, nullptr)); }

struct Refusal {
  const char* name;
  const char* message;
  std::function<std::string()> bytes;
};

std::string Changed(const std::function<void(MadeCapture&)>& change) {
  MadeCapture made = Sound();
  change(made);
  return made.Bytes();
}

const Refusal kRefusals[] = {
    {"NinetyFiveBytes", "short read on header", [] { return Sound().Bytes().substr(0, 95); }},
    {"AnEmptyFile", "short read on header", [] { return std::string(); }},
    {"AWrongFirstWord", "bad magic (not a .tlr2-capture file)", [] { return Changed([](auto& c) { c.magic0 ^= 1; }); }},
    {"AWrongSecondWord", "bad magic (not a .tlr2-capture file)",
     [] { return Changed([](auto& c) { c.magic1 ^= 1u << 31; }); }},
    {"VersionThree", "unsupported capture version (expected v4 raw command stream)",
     [] { return Changed([](auto& c) { c.version = 3; }); }},
    {"AnotherLayout", "layout-hash mismatch (capture made against different Cmd POD sizes)",
     [] { return Changed([](auto& c) { c.layoutHash ^= 0x100; }); }},
    {"TooManyTextures", "implausible keyframe table count",
     [] { return Changed([](auto& c) { c.textureCount = 0x100001; }); }},
    {"TooManyBlobs", "implausible keyframe table count",
     [] { return Changed([](auto& c) { c.blobCount = 0x100001; }); }},
    {"AKeyframeBehindTheFile", "short read on keyframe snapshot",
     [] { return Changed([](auto& c) { c.keyframeOffset = 1u << 20; }); }},
    {"AKeyframeNowhere", "short read on keyframe snapshot",
     [] { return Changed([](auto& c) { c.keyframeOffset = ~std::uint64_t{0}; }); }},
    {"TheMostTexturesInASmallFile", "short read on texture table",
     [] { return Changed([](auto& c) { c.textureCount = 0x100000; }); }},
    {"ATextureTableNowhere", "short read on texture table",
     [] { return Changed([](auto& c) { c.textureTableOffset = std::uint64_t{1} << 63; }); }},
    {"TheMostBlobsInASmallFile", "short read on blob table",
     [] { return Changed([](auto& c) { c.blobCount = 0x100000; }); }},
    {"ABlobTableNowhere", "short read on blob table",
     [] { return Changed([](auto& c) { c.blobTableOffset = std::uint64_t{1} << 63; }); }},
    {"ABlobPastTheLimit", "implausible keyframe blob size",
     [] { return Changed([](auto& c) { c.blobSize = 0x20000001; }); }},
    {"ABlobOfMoreThan32Bits", "implausible keyframe blob size",
     [] { return Changed([](auto& c) { c.blobSize = 0x100000004; }); }},
    {"ABlobNowhere", "seek failed on blob payload",
     [] { return Changed([](auto& c) { c.blobOffset = std::uint64_t{1} << 63; }); }},
    {"ABlobBehindTheFile", "short read on blob payload",
     [] { return Changed([](auto& c) { c.blobOffset = 1u << 30; }); }},
    {"TheLargestBlobInASmallFile", "short read on blob payload",
     [] { return Changed([](auto& c) { c.blobSize = 0x20000000; }); }},
    {"AFlippedBitInABlob", "crc mismatch on keyframe blob",
     [] {
       const MadeCapture made = Sound();
       std::string bytes = made.Bytes();
       bytes[made.PayloadsAt() + 5] ^= 0x10;
       return bytes;
     }},
    {"ASlotPastTheTable", "texture slot index outside keyframe table",
     [] { return Changed([](auto& c) { c.textures[2].slot = 4; }); }},
    {"ABlobThatIsNotThere", "texture references missing blob",
     [] { return Changed([](auto& c) { c.textures[2].blob = 2; }); }},
    {"SixBytesOfTexels", "texture mip bytes not u32-aligned",
     [] { return Changed([](auto& c) { c.blobs[1] = "abcdef"; }); }},
    {"FramesNowhere", "seek failed on frame records",
     [] { return Changed([](auto& c) { c.frameRecordsOffset = std::uint64_t{1} << 63; }); }},
    {"MoreFramesPromised", "short read on frame header", [] { return Changed([](auto& c) { c.frameCount = 4; }); }},
    {"AStreamPastTheLimit", "implausible frame record size",
     [] { return Changed([](auto& c) { c.frameCount = 4, c.tail = FrameHead(0x4000001, 0, 0); }); }},
    {"AFrameBlobPastTheLimit", "implausible frame record size",
     [] { return Changed([](auto& c) { c.frameCount = 4, c.tail = FrameHead(0, 0x4000001, 0); }); }},
    {"AReferenceOfMoreThan32Bits", "implausible frame record size",
     [] { return Changed([](auto& c) { c.frameCount = 4, c.tail = FrameHead(0, 0, 0x100000000); }); }},
    {"TheLongestStreamInASmallFile", "short read on frame stream",
     [] { return Changed([](auto& c) { c.frameCount = 4, c.tail = FrameHead(0x4000000, 0, 0) + "rest"; }); }},
    {"ACutFrameBlob", "short read on frame blob",
     [] { return Changed([](auto& c) { c.frameCount = 4, c.tail = FrameHead(4, 5, 0) + "sssbbbb"; }); }},
    {"ACutReference", "short read on frame reference BGRA",
     [] { return Changed([](auto& c) { c.frameCount = 4, c.tail = FrameHead(4, 4, 4) + "ssssbbbbrrr"; }); }},
};

TEST_F(Reader, RefusesWithTheFixedMessage) {
  for (const Refusal& refusal : kRefusals) {
    EXPECT_EQ(Read(refusal.bytes()), refusal.message) << refusal.name;
    EXPECT_EQ(note, "") << refusal.name;
  }
}

TEST_F(Reader, RefusesAFileThatIsNotThere) {
  const char* error = nullptr;
  EXPECT_FALSE(ReadCapture("no such file", contents, &error));
  EXPECT_STREQ(error, "cannot open file");
  EXPECT_STREQ(LastCaptureError(), "cannot open file");
}

TEST_F(Reader, TheFirstFaultInTheFixedOrderIsTheOneTold) {
  MadeCapture made = Sound();
  made.magic0 = 0, made.version = 3, made.layoutHash = 0, made.textureCount = 0x100001;
  EXPECT_EQ(Read(made), "bad magic (not a .tlr2-capture file)");
  made.magic0 = 0x32534C54;
  EXPECT_EQ(Read(made), "unsupported capture version (expected v4 raw command stream)");
  made.version = 4;
  EXPECT_EQ(Read(made), "layout-hash mismatch (capture made against different Cmd POD sizes)");
  made.layoutHash = 0x3925DC0F;
  EXPECT_EQ(Read(made), "implausible keyframe table count");
  // A blob's fault comes before one of a texture that names it, and a slot before a blob index.
  made = Sound();
  made.textures[2].slot = 9, made.textures[2].blob = 9, made.blobSize = 0x20000001, made.blobOffset = ~std::uint64_t{0};
  EXPECT_EQ(Read(made), "implausible keyframe blob size");
  made.blobSize = 0;
  EXPECT_EQ(Read(made), "seek failed on blob payload");
  made.blobOffset = 0;
  EXPECT_EQ(Read(made), "texture slot index outside keyframe table");
  made.textures[2].slot = 2;
  EXPECT_EQ(Read(made), "texture references missing blob");
}

TEST_F(Reader, KeepsWhatWasReadBeforeTheFault) {
  MadeCapture made = Sound();
  made.frameCount = 4;
  made.tail = "cut";
  EXPECT_EQ(Read(made), "short read on frame header");
  EXPECT_EQ(contents.textures.size(), 4u);
  EXPECT_EQ(contents.streams.size(), 3u);
  made.version = 3;
  EXPECT_NE(Read(made), "");
  EXPECT_EQ(contents.streams.size(), 0u);  // nothing is left of the read before
}

TEST_F(Reader, AnOpenFileIsReadUpToItsLastWholeFrame) {
  MadeCapture made = Sound();
  made.frameCount = 0xFFFFFFFF;
  made.frames.resize(2);
  made.tail = FrameHead(8, 0, 0) + "cut";
  EXPECT_EQ(Read(made), "");
  EXPECT_EQ(contents.streams.size(), 2u);
  EXPECT_EQ(note, Note(2));
  made.tail = FrameHead(0x4000001, 0, 0);  // and so with a size that is none
  EXPECT_EQ(Read(made), "");
  EXPECT_EQ(contents.streams.size(), 2u);
  EXPECT_EQ(note, Note(2));
}

TEST_F(Reader, AnOpenFileWithoutFramesHasNone) {
  MadeCapture made = Sound();
  made.frames.clear();
  made.frameCount = 0xFFFFFFFF;
  EXPECT_EQ(Read(made), "");
  EXPECT_EQ(contents.streams.size(), 0u);
  EXPECT_EQ(note, Note(0));
}

TEST_F(Reader, AClosedFileWithoutFramesReadsNoFrame) {
  MadeCapture made = Sound();
  made.frameCount = 0;
  EXPECT_EQ(Read(made), "");
  EXPECT_EQ(contents.streams.size(), 0u);
  EXPECT_EQ(note, "");
}

TEST_F(Reader, AFileWithoutTexturesHasEmptyTables) {
  MadeCapture made = Sound();
  made.textures.clear();
  made.blobs.clear();
  EXPECT_EQ(Read(made), "");
  EXPECT_TRUE(contents.textures.empty());
  EXPECT_EQ(contents.blobCount, 0u);
  EXPECT_EQ(contents.streams.size(), 3u);
}

TEST_F(Reader, ABlobOfNothingHasTheCrcOfNothing) {
  MadeCapture made = Sound();
  made.blobs[1].clear();
  EXPECT_EQ(Read(made), "");
  EXPECT_TRUE(contents.textures[2].pixels.empty());
}

TEST_F(Reader, ReservedBytesAreNotLookedAt) {
  std::string bytes = Sound().Bytes();
  for (const std::size_t at : {20u, 21u, 80u, 95u}) bytes[at] = 'x';
  EXPECT_EQ(Read(bytes), "");
}

TEST_F(Reader, AFileCutAnywhereGivesWholeFramesOrAFixedMessage) {
  MadeCapture made = Sound();
  for (const bool open : {false, true}) {
    made.frameCount = open ? 0xFFFFFFFFu : 3u;
    const std::string bytes = made.Bytes();
    const std::size_t frames = made.FramesAt();
    std::vector<std::size_t> ends = {frames};
    for (const MadeFrame& frame : made.frames) {
      ends.push_back(ends.back() + 24 + frame.stream.size() + frame.blob.size() + frame.reference.size());
    }
    WriteBytesTo(kPath, bytes);
    std::string notes;
    ::testing::internal::CaptureStderr();
    for (std::size_t length = bytes.size(); length-- > 0;) {
      std::filesystem::resize_file(kPath, length);
      const char* error = nullptr;
      const std::string message = ReadCapture(kPath, contents, &error) ? "" : error;
      std::size_t whole = 0;
      while (whole < 3 && length >= ends[whole + 1]) ++whole;
      std::string expected;
      if (length < 96) {
        expected = "short read on header";
      } else if (length < 96 + 6376) {
        expected = "short read on keyframe snapshot";
      } else if (length < made.BlobTableAt()) {
        expected = "short read on texture table";
      } else if (length < made.PayloadsAt()) {
        expected = "short read on blob table";
      } else if (length < frames) {
        expected = "short read on blob payload";
      } else if (!open) {
        const std::size_t into = length - ends[whole];
        const MadeFrame& frame = made.frames[whole];
        expected = into < 24                                             ? "short read on frame header"
                   : into < 24 + frame.stream.size()                     ? "short read on frame stream"
                   : into < 24 + frame.stream.size() + frame.blob.size() ? "short read on frame blob"
                                                                         : "short read on frame reference BGRA";
      }
      ASSERT_EQ(message, expected) << "cut at " << length;
      if (length >= frames) {
        ASSERT_EQ(contents.streams.size(), whole) << "cut at " << length;
        for (std::size_t i = 0; i < whole; ++i) ASSERT_EQ(Text(contents.streams[i]), made.frames[i].stream);
      }
      if (open && expected.empty()) notes += Note(static_cast<int>(whole));
    }
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), notes);
  }
}

TEST_F(Reader, FramesCanBeTakenOneByOne) {
  WriteBytesTo(kPath, Sound().Bytes() + "behind the last frame");
  std::vector<std::string> streams;
  std::size_t count = 0;
  const auto take = [&](CapturedFrame&& frame) {
    EXPECT_EQ(contents.textures.size(), 4u);  // the keyframe is there before the first
    streams.push_back(Text(frame.stream));
  };
  EXPECT_TRUE(ReadCaptureFrames(kPath, contents, nullptr, take, count));
  EXPECT_EQ(count, 3u);
  EXPECT_EQ(streams.size(), 3u);
  EXPECT_TRUE(contents.streams.empty());
  EXPECT_EQ(contents.streamBytes, 16u);
}

TEST_F(Reader, BytesAndPlaces) {
  WriteBytesTo(kPath, "0123456789");
  std::FILE* file = std::fopen(kPath, "rb");
  ASSERT_NE(file, nullptr);
  char bytes[8] = {};
  EXPECT_TRUE(ReadBytes(file, nullptr, 0));
  EXPECT_TRUE(SeekTo(file, 6));
  EXPECT_TRUE(ReadBytes(file, bytes, 4));
  EXPECT_STREQ(bytes, "6789");
  EXPECT_FALSE(ReadBytes(file, bytes, 1));
  EXPECT_TRUE(SeekTo(file, 8));
  EXPECT_FALSE(ReadBytes(file, bytes, 3));
  EXPECT_TRUE(SeekTo(file, 1000));
  EXPECT_FALSE(SeekTo(file, std::uint64_t{1} << 63));
  std::fclose(file);
}

/// A frame written by the driver's own writer, and what it was written from.
class RoundTrip : public Reader {
 protected:
  void SetUp() override {
    Reader::SetUp();
    BindTexture(state, gl::kTexture2D, 2, Touch::kSkip);
    const std::uint32_t texels[2] = {0xFF102030u, 0x80506070u};
    UploadImage(state, gl::kTexture2D, 0, 2, 1, gl::kBgra, gl::kUnsignedByte,
                reinterpret_cast<const std::uint8_t*>(texels), sizeof texels, Touch::kSkip);
    SnapshotFromState(state, snapshot);
    AppendRecord(job.stream, CmdBegin{.mode = 7});
    AppendRecord(job.stream, CmdSwapBuffers());
    BlobAppend(job.stream, "blob", 4);
  }
  void Write(int frames) {
    SetCaptureRange(0, 0, "test", false);
    ASSERT_TRUE(BeginCaptureIfDue(state, snapshot, 64, 48));
    for (int i = 0; i < frames; ++i) WriteCaptureFrame(job, nullptr, 0);
    FinishCaptureRange(1);
  }
  bool Verify() { return VerifyCaptureRoundTrip(kName, job.stream, state, snapshot); }

  static constexpr char kName[] = "TLR2_capture_frame0.tlr2-capture";
  DriverState state;
  StateSnapshot snapshot = {};
  FrameJob job = {};
};

TEST_F(RoundTrip, AFileJustWrittenIsWhatTheProgramHolds) {
  Write(1);
  EXPECT_TRUE(Verify());
}

TEST_F(RoundTrip, AnyDifferenceShows) {
  Write(1);
  const auto differs = [this](auto& value, auto other) {
    const auto old = value;
    value = other;
    EXPECT_FALSE(Verify());
    value = old;
    EXPECT_TRUE(Verify());
  };
  differs(snapshot.primitiveMode, 5u);
  differs(state.textureTable[2].width, 3);
  differs(state.textureTable[2].height, 2);
  differs(state.textureTable[1].inUse, std::uint8_t{1});
  differs(state.textureTable[2].hasImage, std::uint8_t{0});
  differs(state.textureTable[2].levelCount, 1u);
  differs(state.textureTable[2].pixels[2], 1u);
  differs(job.stream.bytes[4], std::uint8_t{6});
  differs(job.stream.blob[3], std::uint8_t{'c'});
  state.textureTable.emplace_back();
  EXPECT_FALSE(Verify());
  state.textureTable.pop_back();
  job.stream.blob.push_back('!');
  EXPECT_FALSE(Verify());
  job.stream.blob.resize(4);
  AppendRecord(job.stream, CmdEnd());
  EXPECT_FALSE(Verify());
}

TEST_F(RoundTrip, ItWantsExactlyOneFrame) {
  Write(2);
  EXPECT_FALSE(Verify());
  EXPECT_FALSE(VerifyCaptureRoundTrip("no such file", job.stream, state, snapshot));
}

}  // namespace
}  // namespace tlr2
