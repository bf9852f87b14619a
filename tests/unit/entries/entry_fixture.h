// Drives the exported functions against a fresh driver: state, keyframe, stream and settings as at load.
#pragma once

#include <gtest/gtest.h>
#include <tlr2/headless.h>

#include <cstdint>
#include <vector>

#include "api/accounting.h"
#include "api/state/command_stream.h"
#include "api/state/driver_state.h"
#include "api/state/keyframe.h"
#include "api/table/commands.h"
#include "api/table/entry.h"
#include "api/table/prototypes.h"
#include "platform/thread_block.h"
#include "settings/settings.h"

namespace tlr2 {

/// A record of the stream: its header's halves and where it begins.
struct RecordAt {
  std::uint32_t id, size;
  const std::uint8_t* bytes;
};

inline std::vector<RecordAt> RecordsOf(const CommandStream& stream) {
  std::vector<RecordAt> found;
  for (std::size_t at = 0; at + 4 <= stream.bytes.size();) {
    const std::uint32_t header = ReadCmdHeader(stream.bytes.data() + at);
    if (CmdHeaderSize(header) < 4) break;
    found.push_back({CmdHeaderId(header), CmdHeaderSize(header), stream.bytes.data() + at});
    at += CmdHeaderSize(header);
  }
  return found;
}

inline std::uint64_t CallsOf(Entry entry) { return CallCounters[static_cast<int>(entry)].load(); }

class Entries : public ::testing::Test {
 protected:
  void SetUp() override { Reset(); }
  void TearDown() override { Reset(); }

  static void Reset() {
    CurrentThreadGuard().currentContext = nullptr;
    CurrentThreadGuard().suppress = false;
    Settings().pipelineCutoff = 5;
    DriverStateInstance() = DriverState();
    LiveKeyframeInstance() = LiveKeyframe();
    CommandStreamInstance().bytes.clear();
    CommandStreamInstance().blob.clear();
  }

  DriverState& state() { return DriverStateInstance(); }
  CommandStream& stream() { return CommandStreamInstance(); }
  std::vector<RecordAt> records() { return RecordsOf(stream()); }
  std::size_t recordCount() { return records().size(); }
  /// The last record, read as `Record`.
  template <typename Record>
  Record last() {
    const std::vector<RecordAt> all = records();
    if (all.empty() || all.back().id != static_cast<std::uint32_t>(Record::kId)) {
      ADD_FAILURE() << "the last record is of another kind";
      return {};
    }
    EXPECT_EQ(all.back().size, Record::kBytes);
    return ReadRecord<Record>(all.back().bytes, all.back().size);
  }
};

/// A headless window with a context that is current for the fixture's life.
class EntriesWithContext : public Entries {
 protected:
  void SetUp() override { Make(64, 48); }
  void TearDown() override {
    Drop();
    Entries::TearDown();
  }
  void Make(std::int32_t width, std::int32_t height) {
    Entries::SetUp();
    window = tlr2HeadlessCreateWindow(width, height);
    ASSERT_NE(window, nullptr);
    context = wglCreateContext(window);
    ASSERT_NE(context, nullptr);
    wglMakeCurrent(window, context);
  }
  void Drop() {
    if (context != nullptr) wglDeleteContext(context);
    if (window != nullptr) tlr2HeadlessDestroyWindow(window);
    context = nullptr;
    window = nullptr;
  }

  void* window = nullptr;
  void* context = nullptr;
};

}  // namespace tlr2
