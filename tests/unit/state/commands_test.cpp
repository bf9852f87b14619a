// The command table and the stream: sizes, headers, layouts, bounded reading.
#include "api/table/commands.h"

#include <gtest/gtest.h>

#include <bit>
#include <set>
#include <string>
#include <vector>

#include "api/state/command_stream.h"

namespace tlr2 {
namespace {

// Sizes by id, written from the format document.
constexpr std::uint16_t kSizes[] = {8,  4,  68, 68, 4,  4,  16, 20, 16, 28, 28, 20, 12, 20, 8, 8,
                                    12, 12, 8,  8,  20, 16, 28, 16, 12, 8,  8,  8,  12, 12, 8, 12,
                                    24, 12, 64, 64, 8,  12, 20, 8,  8,  8,  12, 16, 4,  4,  28};
static_assert(sizeof kSizes / sizeof kSizes[0] == kCommandCount);

std::uint32_t WordAt(const std::uint8_t* bytes, std::size_t offset) {
  return static_cast<std::uint32_t>(bytes[offset] | bytes[offset + 1] << 8 | bytes[offset + 2] << 16) |
         static_cast<std::uint32_t>(bytes[offset + 3]) << 24;
}

TEST(Commands, TableHoldsEverySizeInIdOrder) {
  std::set<std::string> names;
  for (std::uint32_t id = 0; id < kCommandCount; ++id) {
    EXPECT_EQ(kCommandTable[id].bytes, kSizes[id]) << id;
    EXPECT_TRUE(names.insert(kCommandTable[id].name).second);
  }
  EXPECT_STREQ(kCommandTable[0].name, "MatrixMode");
  EXPECT_STREQ(kCommandTable[30].name, "ActiveTextureARB");
  EXPECT_STREQ(kCommandTable[45].name, "SwapBuffers");
  EXPECT_STREQ(kCommandTable[46].name, "ReadPixels");
}

TEST(Commands, FieldsFillTheirRecordsWithoutGaps) {
  for (const CommandRow& row : kCommandTable) {
    std::uint32_t next = 4;
    for (std::uint32_t i = 0; i < row.fieldCount; ++i) {
      EXPECT_EQ(row.fields[i].offset, next) << row.name << "." << row.fields[i].name;
      next += row.fields[i].count * (row.fields[i].kind == FieldKind::Wide ? 8u : 4u);
    }
    EXPECT_EQ(next, row.bytes) << row.name;
  }
}

TEST(Commands, SkippedOnesAreThoseWithoutEffect) {
  const std::set<std::uint32_t> skipped = {13, 20, 24, 27, 28, 29, 30, 46};
  for (std::uint32_t id = 0; id < kCommandCount; ++id) {
    EXPECT_EQ(!kCommandTable[id].replayed, skipped.count(id) == 1) << id;
  }
}

TEST(Commands, HeadersPackSizeAboveId) {
  EXPECT_EQ(CmdBegin{}.header, 0x00080029u);
  EXPECT_EQ(CmdVertex3f{}.header, 0x0010002Bu);
  EXPECT_EQ(CmdHeaderId(0x0010002Bu), 43u);
  EXPECT_EQ(CmdHeaderSize(0x0010002Bu), 16u);
}

TEST(Commands, VertexTwoHasNoZ) { EXPECT_EQ(sizeof(CmdVertex2f), 12u); }

TEST(CommandStream, RecordsStandBackToBackInLittleEndian) {
  CommandStream stream;
  AppendRecord(stream, CmdBegin{.mode = 4});
  AppendRecord(stream, CmdVertex3f{.x = 1.0f, .y = -2.0f, .z = 0.5f});
  AppendRecord(stream, CmdColor{.color = 0x80402010u});
  ASSERT_EQ(stream.bytes.size(), 8u + 16u + 8u);
  const std::uint8_t* bytes = stream.bytes.data();
  EXPECT_EQ(WordAt(bytes, 0), 0x00080029u);
  EXPECT_EQ(WordAt(bytes, 4), 4u);
  EXPECT_EQ(WordAt(bytes, 8), 0x0010002Bu);
  EXPECT_EQ(WordAt(bytes, 12), 0x3F800000u);
  EXPECT_EQ(WordAt(bytes, 16), 0xC0000000u);
  EXPECT_EQ(WordAt(bytes, 20), 0x3F000000u);
  EXPECT_EQ(WordAt(bytes, 28), 0x80402010u);
}

TEST(CommandStream, UploadRecordHasItsOffsetsAndZeroWords) {
  CommandStream stream;
  AppendRecord(stream, CmdTexImage2D{.target = 1,
                                     .level = 2,
                                     .internalformat = 3,
                                     .width = 4,
                                     .height = 5,
                                     .border = 6,
                                     .format = 7,
                                     .type = 8,
                                     .blobOffset = 0x1122334455667788u,
                                     .blobSize = 0x99AABBCCDDEEFF00u,
                                     .hash = 0xCAFEF00Du});
  const std::uint8_t* bytes = stream.bytes.data();
  EXPECT_EQ(WordAt(bytes, 0), 0x00400022u);
  for (std::uint32_t i = 0; i < 8; ++i) EXPECT_EQ(WordAt(bytes, 4 + 4 * i), i + 1);
  EXPECT_EQ(WordAt(bytes, 36), 0u);
  EXPECT_EQ(WordAt(bytes, 40), 0x55667788u);
  EXPECT_EQ(WordAt(bytes, 44), 0x11223344u);
  EXPECT_EQ(WordAt(bytes, 48), 0xDDEEFF00u);
  EXPECT_EQ(WordAt(bytes, 52), 0x99AABBCCu);
  EXPECT_EQ(WordAt(bytes, 56), 0xCAFEF00Du);
  EXPECT_EQ(WordAt(bytes, 60), 0u);
}

TEST(CommandStream, AppendedPlacesAreZeroAlsoInUsedStorage) {
  CommandStream stream;
  stream.bytes.assign(64, 0xEE);
  stream.bytes.clear();
  const std::uint8_t* record = StreamAppend(stream, 64);
  for (int i = 0; i < 64; ++i) EXPECT_EQ(record[i], 0);
}

TEST(CommandStream, BlobOffsetsCountFromTheFramesBlob) {
  CommandStream stream;
  const std::uint8_t data[] = {1, 2, 3, 4, 5};
  EXPECT_EQ(BlobAppend(stream, data, 5), 0u);
  EXPECT_EQ(BlobAppend(stream, data, 3), 5u);
  EXPECT_EQ(stream.blob.size(), 8u);
  EXPECT_EQ(stream.blob[5], 1);
}

TEST(CommandStream, LiveStreamIsReservedAtLoad) {
  EXPECT_GE(CommandStreamInstance().bytes.capacity(), 4194304u);
  EXPECT_GE(CommandStreamInstance().blob.capacity(), 8388608u);
  EXPECT_EQ(CommandStreamInstance().baseSequence, 0u);
}

TEST(ReadRecord, ReadsAWholeRecord) {
  CommandStream stream;
  AppendRecord(stream, CmdTexCoord2f{.s = 0.25f, .t = 0.75f});
  const auto record = ReadRecord<CmdTexCoord2f>(stream.bytes.data(), stream.bytes.size());
  EXPECT_EQ(record.s, 0.25f);
  EXPECT_EQ(record.t, 0.75f);
}

TEST(ReadRecord, MissingFieldsAreZero) {
  // Exactly as long as the record says, on the heap, so that a sanitizer sees a read past it.
  for (std::uint32_t size = 4; size < 64; size += 1) {
    std::vector<std::uint8_t> bytes(size, 0xFF);
    const std::uint32_t header = PackCmdHeader(Cmd::TexImage2D, size);
    std::memcpy(bytes.data(), &header, 4);
    const auto record = ReadRecord<CmdTexImage2D>(bytes.data(), bytes.size());
    const auto* read = reinterpret_cast<const std::uint8_t*>(&record);
    for (std::uint32_t i = 4; i < 64; ++i) ASSERT_EQ(read[i], i < size ? 0xFF : 0) << size << " at " << i;
  }
}

TEST(ReadRecord, LongerRecordsAreReadToTheirLayoutsEnd) {
  std::vector<std::uint8_t> bytes(40, 0);
  const std::uint32_t header = PackCmdHeader(Cmd::Begin, 40), mode = 7;
  std::memcpy(bytes.data(), &header, 4);
  std::memcpy(bytes.data() + 4, &mode, 4);
  EXPECT_EQ(ReadRecord<CmdBegin>(bytes.data(), bytes.size()).mode, 7u);
}

}  // namespace
}  // namespace tlr2
