// Programs that die under the driver: what reaches the disk, and that they die of their own fault.
#include <gtest/gtest.h>

#if defined(_WIN32)
#include <windows.h>
#else
#include <signal.h>
#endif

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "child_process.h"
#include "scoped_environment.h"
#include "scratch_folder.h"

namespace tlr2 {
namespace {

constexpr char kTrace[] = "TLR2_trace_frames0-5.tlr2-trace";
constexpr char kMarker[] = "\n=== CRASH (vectored handler triggered) ===\n";

struct Case {
  const char* program;
  const char* how;
  const char* where;
  const char* title;
};

void PrintTo(const Case& one, std::ostream* out) { *out << one.title; }

std::string BytesOf(const char* name) {
  std::ifstream in(name, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

/// The count in an entry's row of the summary; -1 without a row.
long long CountOf(const std::string& summary, const std::string& entry) {
  const std::size_t row = summary.find("    " + entry + " ");
  const std::size_t colon = row == std::string::npos ? row : summary.find(':', row);
  return colon == std::string::npos ? -1 : std::stoll(summary.substr(colon + 1));
}

#if defined(_WIN32)
/// Wine starts its debugger on every program that dies, which takes longer than all else here. It starts none while the
/// debugger's line is empty.
class WithoutDebugger : public ::testing::Environment {
 public:
  void SetUp() override {
    if (GetProcAddress(GetModuleHandleA("ntdll.dll"), "wine_get_version") == nullptr) return;
    DWORD size = sizeof line_;
    if (RegGetValueA(HKEY_LOCAL_MACHINE, kKey, "Debugger", RRF_RT_REG_SZ, nullptr, line_, &size) != ERROR_SUCCESS)
      return;
    found_ = line_[0] != '\0';
    if (found_) Set("");
  }
  void TearDown() override {
    if (found_) Set(line_);
  }

 private:
  static constexpr char kKey[] = "Software\\Microsoft\\Windows NT\\CurrentVersion\\AeDebug";
  static void Set(const char* line) {
    RegSetKeyValueA(HKEY_LOCAL_MACHINE, kKey, "Debugger", REG_SZ, line, static_cast<DWORD>(std::strlen(line) + 1));
  }
  char line_[256] = {};
  bool found_ = false;
};
[[maybe_unused]] ::testing::Environment* const withoutDebugger =
    ::testing::AddGlobalTestEnvironment(new WithoutDebugger);
#endif

class Fault : public ::testing::TestWithParam<Case> {
 protected:
  void SetUp() override {
#if defined(TLR2_SANITIZED_ADDRESS) || defined(TLR2_SANITIZED_THREAD)
    GTEST_SKIP() << "SKIPPED: the sanitizer takes the fault itself";
#endif
    folder = std::make_unique<test::ScratchFolder>();
  }
  /// A thread of the program's own makes a call too.
  static int Calls() {
    const bool twice =
        std::string(GetParam().where) != "main" && std::string(GetParam().program).find("library") != std::string::npos;
    return twice ? 2 : 1;
  }
  test::ChildEnd Run() const { return test::RunChild(GetParam().program, {GetParam().how, GetParam().where}); }
  /// The fault's own code, as the system reports it of a process that nothing else ended.
  static void ExpectOwnCode(const test::ChildEnd& end, const std::string& how) {
#if defined(_WIN32)
    EXPECT_EQ(end.code, how == "access" ? 0xC0000005u : how == "illegal" ? 0xC000001Du : 0xC00000FDu);
#else
    EXPECT_EQ(end.signalNumber, how == "illegal" ? SIGILL : SIGSEGV) << "exit code " << end.code;
#endif
  }
  std::unique_ptr<test::ScratchFolder> folder;
  test::ScopedEnvironment threads{"TLR2_THREADS", "2"};
};

TEST_P(Fault, LeavesSummaryAndMarkerAndKeepsItsOwnCode) {
  const test::ScopedEnvironment trace("TLR2_TRACE_FRAMES", "0-5");
  const test::ChildEnd end = Run();
  ASSERT_TRUE(end.started);
  ExpectOwnCode(end, GetParam().how);
  const std::string summary = BytesOf("TLR2_api_calls.log"), text = BytesOf(kTrace);
  EXPECT_EQ(CountOf(summary, "glBegin"), Calls());
  EXPECT_NE(summary.find("=== capture-drift scan: clean"), std::string::npos);
  EXPECT_NE(summary.find("=== Occupancy"), std::string::npos) << "the reports at the end are missing";
  EXPECT_NE(text.find("[frame=0][seq=     1] TLR2::GL::Begin                      (mode=0x0004)\n"), std::string::npos);
  ASSERT_GE(text.size(), sizeof kMarker - 1);
  EXPECT_EQ(text.substr(text.size() - (sizeof kMarker - 1)), kMarker);
  EXPECT_EQ(text.find(kMarker), text.size() - (sizeof kMarker - 1)) << "the marker stands there twice";
}

TEST_P(Fault, WithoutATraceLeavesTheSummaryAlone) {
  const test::ScopedEnvironment trace("TLR2_TRACE_FRAMES", nullptr);
  const test::ChildEnd end = Run();
  ASSERT_TRUE(end.started);
  ExpectOwnCode(end, GetParam().how);
  EXPECT_EQ(CountOf(BytesOf("TLR2_api_calls.log"), "glBegin"), Calls());
  EXPECT_FALSE(std::filesystem::exists(kTrace));
}

std::string TitleOf(const ::testing::TestParamInfo<Case>& one) { return one.param.title; }

INSTANTIATE_TEST_SUITE_P(
    OverTheRooms, Fault,
    ::testing::Values(Case{TLR2_FAULT_PROGRAM, "access", "main", "AccessViolationOnTheApplicationsThread"},
                      Case{TLR2_FAULT_PROGRAM, "access", "other", "AccessViolationOnAWorker"},
                      Case{TLR2_FAULT_PROGRAM, "illegal", "main", "IllegalInstructionOnTheApplicationsThread"},
                      Case{TLR2_FAULT_PROGRAM, "illegal", "other", "IllegalInstructionOnAWorker"},
                      Case{TLR2_FAULT_PROGRAM, "overflow", "main", "StackOverflowOnTheApplicationsThread"},
                      Case{TLR2_FAULT_PROGRAM, "overflow", "other", "StackOverflowOnAWorker"}),
    TitleOf);

INSTANTIATE_TEST_SUITE_P(
    WithTheLibrary, Fault,
    ::testing::Values(Case{TLR2_FAULT_LIBRARY_PROGRAM, "access", "main", "AccessViolation"},
                      Case{TLR2_FAULT_LIBRARY_PROGRAM, "access", "other", "AccessViolationOnAnotherThread"},
                      Case{TLR2_FAULT_LIBRARY_PROGRAM, "illegal", "main", "IllegalInstruction"},
                      Case{TLR2_FAULT_LIBRARY_PROGRAM, "illegal", "other", "IllegalInstructionOnAnotherThread"},
                      Case{TLR2_FAULT_LIBRARY_PROGRAM, "overflow", "main", "StackOverflow"},
                      Case{TLR2_FAULT_LIBRARY_PROGRAM, "overflow", "other", "StackOverflowOnAnotherThread"}),
    TitleOf);

#if !defined(_WIN32)
INSTANTIATE_TEST_SUITE_P(OnTheProgramsSignalStack, Fault,
                         ::testing::Values(Case{TLR2_FAULT_LIBRARY_PROGRAM, "access", "armed", "AccessViolation"},
                                           Case{TLR2_FAULT_LIBRARY_PROGRAM, "overflow", "armed", "StackOverflow"}),
                         TitleOf);
#endif

class OtherFault : public Fault {};

TEST_P(OtherFault, GoesOnUnseen) {
  const test::ScopedEnvironment trace("TLR2_TRACE_FRAMES", "0-5");
  const test::ChildEnd end = Run();
  ASSERT_TRUE(end.started);
#if defined(_WIN32)
  EXPECT_EQ(end.code, 0xC0000094u);
#else
  EXPECT_EQ(end.signalNumber, SIGFPE);
#endif
  EXPECT_FALSE(std::filesystem::exists("TLR2_api_calls.log"));
  EXPECT_EQ(BytesOf(kTrace).find(kMarker), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(DivisionByZero, OtherFault,
                         ::testing::Values(Case{TLR2_FAULT_PROGRAM, "divide", "main", "OverTheRooms"},
                                           Case{TLR2_FAULT_LIBRARY_PROGRAM, "divide", "main", "WithTheLibrary"}),
                         TitleOf);

class Ended : public Fault {};

TEST_P(Ended, LeavesTheSummaryAndAWholeTrace) {
  const test::ScopedEnvironment trace("TLR2_TRACE_FRAMES", "0-5");
  const test::ChildEnd end = Run();
  ASSERT_TRUE(end.started);
  EXPECT_EQ(end.code, 0u);
  EXPECT_EQ(CountOf(BytesOf("TLR2_api_calls.log"), "glBegin"), 1);
  const std::string text = BytesOf(kTrace), last = "=== end of trace ===\n";
  ASSERT_GE(text.size(), last.size());
  EXPECT_EQ(text.substr(text.size() - last.size()), last);
}

INSTANTIATE_TEST_SUITE_P(ByItself, Ended,
                         ::testing::Values(Case{TLR2_FAULT_LIBRARY_PROGRAM, "ends", "main", "WithTheLibrary"}),
                         TitleOf);

class Killed : public Fault {};

TEST_P(Killed, LosesAtMostSixtyFramesOfCounts) {
  const test::ScopedEnvironment trace("TLR2_TRACE_FRAMES", nullptr);
  const test::ChildEnd end = Run();
  ASSERT_TRUE(end.started);
#if defined(_WIN32)
  EXPECT_EQ(end.code, 9u);
#else
  EXPECT_EQ(end.signalNumber, SIGKILL);
#endif
  // It swapped 150 frames of one call each; the last summary is that of frame 120.
  const std::string summary = BytesOf("TLR2_api_calls.log");
  EXPECT_EQ(CountOf(summary, "glBegin"), 120);
  EXPECT_EQ(CountOf(summary, "wglSwapBuffers"), 120);
  EXPECT_NE(summary.find("Total API calls: 240  (across 2/363 functions)\n"), std::string::npos);
  EXPECT_NE(summary.find("=== Occupancy"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(WithoutWarning, Killed,
                         ::testing::Values(Case{TLR2_FAULT_PROGRAM, "killed", "main", "OverTheRooms"},
                                           Case{TLR2_FAULT_LIBRARY_PROGRAM, "killed", "main", "WithTheLibrary"}),
                         TitleOf);

class Caught : public Fault {};

TEST_P(Caught, FaultsThatTheProgramHandlesItselfStillReachIt) {
  const test::ScopedEnvironment trace("TLR2_TRACE_FRAMES", nullptr);
  const test::ChildEnd end = Run();
  ASSERT_TRUE(end.started);
  EXPECT_EQ(end.code, 42u);
  EXPECT_EQ(CountOf(BytesOf("TLR2_api_calls.log"), "glBegin"), 2) << "the second fault was not seen";
}

INSTANTIATE_TEST_SUITE_P(ByTheProgram, Caught,
                         ::testing::Values(Case{TLR2_FAULT_PROGRAM, "caught", "main", "OverTheRooms"},
                                           Case{TLR2_FAULT_LIBRARY_PROGRAM, "caught", "main", "WithTheLibrary"}),
                         TitleOf);

#if !defined(_WIN32)
class Sent : public Fault {};

TEST_P(Sent, ASignalThatWasSentIsPassedOnToo) {
  const test::ScopedEnvironment trace("TLR2_TRACE_FRAMES", nullptr);
  const test::ChildEnd end = Run();
  ASSERT_TRUE(end.started);
  EXPECT_EQ(end.signalNumber, SIGSEGV) << "exit code " << end.code;
  EXPECT_EQ(CountOf(BytesOf("TLR2_api_calls.log"), "glBegin"), 1);
}

INSTANTIATE_TEST_SUITE_P(ByRaise, Sent, ::testing::Values(Case{TLR2_FAULT_PROGRAM, "sent", "main", "OverTheRooms"}),
                         TitleOf);
#endif

}  // namespace
}  // namespace tlr2
