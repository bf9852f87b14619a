// Trace lines of the entries, as they reach the file.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "capture/trace_file.h"
#include "entry_fixture.h"
#include "scratch_folder.h"

namespace tlr2 {
namespace {

class TraceLines : public Entries {
 protected:
  void SetUp() override {
    Entries::SetUp();
    folder = std::make_unique<test::ScratchFolder>();
  }
  void TearDown() override {
    if (TraceOpen()) EndTrace();
    traceFirstFrame = -1;
    traceLastFrame = -1;
    folder.reset();
    Entries::TearDown();
  }
  void Open() {
    const std::int32_t frame = currentFrame.load();
    OpenTrace(frame, frame, "env", false);
    file = "TLR2_trace_frame" + std::to_string(frame) + ".tlr2-trace";
  }
  /// Lines of calls without frame and sequence number: "NAME ARGUMENTS".
  std::vector<std::string> Close() {
    EndTrace();
    traceFirstFrame = -1;
    std::ifstream in(file);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) {
      const std::size_t name = line.find("TLR2::");
      if (line.rfind("[frame=", 0) != 0 || name == std::string::npos) continue;
      const std::size_t space = line.find(' ', name), arguments = line.find('(', name);
      if (space == std::string::npos || arguments == std::string::npos) continue;
      lines.push_back(line.substr(name, space - name) + " " + line.substr(arguments));
    }
    return lines;
  }

  std::unique_ptr<test::ScratchFolder> folder;
  std::string file;
};

TEST_F(TraceLines, EachKindOfArgumentPrintsByItsRule) {
  Open();
  glBegin(gl::kTriangles);
  glVertex3f(1, -2.5f, 3);
  glEnd();
  glColor4ub(1, 2, 3, 255);
  glClear(0x4100);
  glOrtho(-1, 1, -1, 1, 0.5, 2);
  glTexParameteri(gl::kTexture2D, gl::kTextureMinFilter, -5);
  glColor3b(-1, 2, 3);
  glBindTexture(0x0DE0, 4000000000u);
  glDepthMask(1);
  glFogf(0x0B62, 0.5f);
  const std::vector<std::string> lines = Close();
  const std::vector<std::string> expected = {
      "TLR2::GL::Begin (mode=0x0004)",
      "TLR2::GL::Vertex3f (x=1.000000, y=-2.500000, z=3.000000)",
      "TLR2::GL::End ()",
      "TLR2::GL::Color4ub (red=1, green=2, blue=3, alpha=255)",
      "TLR2::GL::Clear (mask=0x00004100)",
      "TLR2::GL::Ortho (left=-1.000000, right=1.000000, bottom=-1.000000, top=1.000000, zNear=0.500000, "
      "zFar=2.000000)",
      "TLR2::GL::TexParameteri (target=0x0DE1, pname=0x2801, param=-5)",
      "TLR2::GL::Color3b (red=-1, green=2, blue=3)",
      "TLR2::GL::BindTexture (target=0x0DE0, texture=4000000000)",
      "TLR2::GL::DepthMask (flag=1)",
      "TLR2::GL::Fogf (pname=0x0B62, param=0.500000)"};
  EXPECT_EQ(lines, expected);
}

TEST_F(TraceLines, PointersPrintAsPointersButForTheClipPlane) {
  double equation[4] = {1, 2, 3, 4};
  char text[64];
  Open();
  glLoadMatrixd(equation);
  glClipPlane(0x3000, equation);
  const std::vector<std::string> lines = Close();
  ASSERT_EQ(lines.size(), 2u);
  std::snprintf(text, sizeof text, "(m=%p)", static_cast<void*>(equation));
  EXPECT_EQ(lines[0], std::string("TLR2::GL::LoadMatrixd ") + text);
  const auto bits = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(equation));
  double value;
  std::memcpy(&value, &bits, sizeof value);
  std::snprintf(text, sizeof text, "(plane=0x3000, equation=%f)", value);
  EXPECT_EQ(lines[1], std::string("TLR2::GL::ClipPlane ") + text);
}

TEST_F(TraceLines, TheClipPlanesPointerIsReadAsTheBitsOfADouble) {
  if constexpr (sizeof(void*) == 8) {
    Open();
    glClipPlane(0x3000,
                reinterpret_cast<const double*>(std::uintptr_t{0x40590000} << 16 << 16));  // nothing looks there
    const std::vector<std::string> lines = Close();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0], "TLR2::GL::ClipPlane (plane=0x3000, equation=100.000000)");
  } else {
    GTEST_SKIP() << "32 bits of a pointer make no double that shows";
  }
}

TEST_F(TraceLines, OneVectorEntryPrintsItsValuesOrSaysNull) {
  const float v[3] = {1, 2, 3};
  Open();
  glVertex3fv(v);
  glVertex3fv(nullptr);
  const std::vector<std::string> lines = Close();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0], "TLR2::GL::Vertex3fv (x=1.000000, y=2.000000, z=3.000000)");
  EXPECT_EQ(lines[1], "TLR2::GL::Vertex3fv (v=NULL)");
}

TEST_F(TraceLines, ANullResultIsTracedLikeAnyOther) {
  char text[64];
  Open();
  glGetIntegerv(0x0D33, nullptr);
  const std::vector<std::string> lines = Close();
  ASSERT_EQ(lines.size(), 1u);
  std::snprintf(text, sizeof text, "(pname=0x0D33, params=%p)", static_cast<void*>(nullptr));
  EXPECT_EQ(lines[0], std::string("TLR2::GL::GetIntegerv ") + text);
}

TEST_F(TraceLines, AProcedureNameIsQuotedAndNullIsEmpty) {
  Open();
  wglGetProcAddress("glFoo");
  wglGetProcAddress(nullptr);
  const std::vector<std::string> lines = Close();
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0], "TLR2::WGL::GetProcAddress (name=\"glFoo\")");
  EXPECT_EQ(lines[1], "TLR2::WGL::GetProcAddress (name=\"\")");
}

TEST_F(TraceLines, AForwardingEntryLeavesTwoLines) {
  Open();
  glTexEnvf(gl::kTextureEnv, gl::kTextureEnvMode, 8448.0f);
  wglSwapLayerBuffers(nullptr, 1);
  const std::vector<std::string> lines = Close();
  ASSERT_EQ(lines.size(), 4u);
  EXPECT_EQ(lines[0], "TLR2::GL::TexEnvf (target=0x2300, pname=0x2200, param=8448.000000)");
  EXPECT_EQ(lines[1], "TLR2::GL::TexEnvi (target=0x2300, pname=0x2200, param=8448)");
  EXPECT_EQ(lines[2].rfind("TLR2::WGL::SwapLayerBuffers (hdc=", 0), 0u);
  EXPECT_EQ(lines[3].rfind("TLR2::WGL::SwapBuffers (hdc=", 0), 0u);
}

TEST_F(TraceLines, ASuppressedThreadLeavesNoLine) {
  Open();
  CurrentThreadGuard().suppress = true;
  glFlush();
  glVertex3fv(nullptr);
  CurrentThreadGuard().suppress = false;
  glFinish();
  const std::vector<std::string> lines = Close();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0], "TLR2::GL::Finish ()");
}

TEST_F(TraceLines, AFrameOutsideTheRangeLeavesNoLine) {
  Open();
  glFlush();
  traceFirstFrame = currentFrame.load() + 1;
  traceLastFrame = currentFrame.load() + 1;
  glFinish();
  traceFirstFrame = currentFrame.load();
  const std::vector<std::string> lines = Close();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0], "TLR2::GL::Flush ()");
}

}  // namespace
}  // namespace tlr2
