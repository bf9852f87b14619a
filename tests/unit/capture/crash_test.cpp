// A fault in the application: what reaches the disk, and that the process still dies of it.
#include <cstdlib>

#include "capture_fixture.h"
#include "scoped_environment.h"

namespace tlr2 {
namespace {

using Crash = Diagnostics;

constexpr char kFolderVariable[] = "TLR2_TEST_FOLDER";

TEST_F(Crash, AnAccessViolationLeavesSummaryAndTraceAndKillsTheProcess) {
#if defined(TLR2_SANITIZED_ADDRESS) || defined(TLR2_SANITIZED_THREAD)
  GTEST_SKIP() << "SKIPPED: the sanitizer takes the fault itself";
#endif
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  // The process that dies comes through here too, and is to leave its files where the first one looks.
  const bool first = std::getenv(kFolderVariable) == nullptr;
  if (first) test::SetVariable(kFolderVariable, folder->Path().string().c_str());
  EXPECT_DEATH(
      {
        folder.reset();
        std::filesystem::current_path(std::getenv(kFolderVariable));
        test::SetVariable("TLR2_CAPTURE_FRAMES", nullptr);
        test::SetVariable("TLR2_TRACE_FRAMES", "0-5");
        DiagnosticsStart();
        glBegin(gl::kTriangles);
        volatile int* nowhere = nullptr;
        *nowhere = 1;
      },
      "");
  if (first) test::SetVariable(kFolderVariable, nullptr);
  EXPECT_NE(BytesOf("TLR2_api_calls.log").find("    glBegin                          :              1\n"),
            std::string::npos);
  const std::string trace = BytesOf("TLR2_trace_frames0-5.tlr2-trace");
  EXPECT_NE(trace.find("TLR2::GL::Begin"), std::string::npos);
  const std::string mark = "\n=== CRASH (vectored handler triggered) ===\n";
  ASSERT_GT(trace.size(), mark.size());
  EXPECT_EQ(trace.substr(trace.size() - mark.size()), mark);
}

}  // namespace
}  // namespace tlr2
