// The entry table: rows, order, names, aliases, stack bytes and trace formats.
#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>

#include "api/table/entry.h"

namespace tlr2 {
namespace {

const EntryRow& Row(Entry entry) { return kEntryTable[static_cast<int>(entry)]; }

TEST(Table, EachRowHasItsOwnName) {
  std::set<std::string> names;
  for (int i = 0; i < kEntryCount; ++i) {
    ASSERT_NE(EntryNames[i], nullptr);
    EXPECT_STREQ(EntryNames[i], kEntryTable[i].name);
    names.insert(EntryNames[i]);
  }
  EXPECT_EQ(names.size(), 363u);
}

TEST(Table, TheOrderIsThatOfTheCounters) {
  EXPECT_STREQ(EntryNames[0], "glAccum");
  EXPECT_STREQ(EntryNames[4], "glBegin");
  EXPECT_STREQ(EntryNames[17], "glColor3b");
  EXPECT_STREQ(EntryNames[335], "glViewport");
  EXPECT_STREQ(EntryNames[336], "glMTexCoord2fSGIS");
  EXPECT_STREQ(EntryNames[337], "glSelectTextureSGIS");
  EXPECT_STREQ(EntryNames[338], "glMultiTexCoord2fARB");
  EXPECT_STREQ(EntryNames[339], "glActiveTextureARB");
  EXPECT_STREQ(EntryNames[340], "glClientActiveTextureARB");
  EXPECT_STREQ(EntryNames[341], "glColorTableEXT");
  EXPECT_STREQ(EntryNames[342], "wglChoosePixelFormat");
  EXPECT_STREQ(EntryNames[346], "wglSwapBuffers");
  EXPECT_STREQ(EntryNames[362], "wglSwapLayerBuffers");
  EXPECT_EQ(static_cast<int>(Entry::glAccum), 0);
  EXPECT_EQ(static_cast<int>(Entry::wglSwapLayerBuffers), 362);
}

TEST(Table, TheInterfaceNamesStandInAsciiOrder) {
  for (int i = 1; i < 336; ++i) EXPECT_LT(std::string(EntryNames[i - 1]), EntryNames[i]);
}

TEST(Table, SixtyOneEntriesOfTheInterfaceAreImplemented) {
  int own = 0, answers = 0, stubs = 0;
  for (int i = 0; i < 342; ++i) {
    own += kEntryTable[i].body == EntryBody::kOwn;
    answers += kEntryTable[i].body == EntryBody::kAnswer;
    stubs += kEntryTable[i].body == EntryBody::kStub;
  }
  EXPECT_EQ(own, 61);
  EXPECT_EQ(answers, 6);
  EXPECT_EQ(stubs, 275);
}

TEST(Table, TheImplementedEntriesAreTheseSixtyOne) {
  const std::set<std::string> expected = {
      "glActiveTextureARB", "glAlphaFunc",     "glBegin",       "glBindTexture", "glBlendFunc",     "glClear",
      "glClearColor",       "glClearDepth",    "glColor3f",     "glColor3fv",    "glColor3ubv",     "glColor4f",
      "glColor4fv",         "glColor4ub",      "glColor4ubv",   "glColorMask",   "glCullFace",      "glDeleteTextures",
      "glDepthFunc",        "glDepthMask",     "glDepthRange",  "glDisable",     "glEnable",        "glEnd",
      "glFrontFace",        "glFrustum",       "glGenTextures", "glGetFloatv",   "glIsEnabled",     "glIsTexture",
      "glLoadIdentity",     "glLoadMatrixf",   "glMatrixMode",  "glMultMatrixf", "glOrtho",         "glPixelStorei",
      "glPolygonMode",      "glPolygonOffset", "glPopMatrix",   "glPushMatrix",  "glReadPixels",    "glRotatef",
      "glScalef",           "glScissor",       "glShadeModel",  "glTexCoord2f",  "glTexCoord2fv",   "glTexEnvf",
      "glTexEnvfv",         "glTexEnvi",       "glTexEnviv",    "glTexImage2D",  "glTexParameterf", "glTexParameteri",
      "glTexSubImage2D",    "glTranslatef",    "glVertex2f",    "glVertex2fv",   "glVertex3f",      "glVertex3fv",
      "glViewport"};
  std::set<std::string> found;
  for (int i = 0; i < 342; ++i)
    if (kEntryTable[i].body == EntryBody::kOwn) found.insert(EntryNames[i]);
  EXPECT_EQ(found, expected);
}

TEST(Table, ThereAreSevenHundredAndTwentyEightExportNames) {
  std::set<std::string> names;
  int second = 0;
  for (const EntryRow& row : kEntryTable) {
    names.insert(row.name);
    names.insert(row.alias);
    if (row.secondAlias != nullptr) {
      names.insert(row.secondAlias);
      ++second;
    }
  }
  EXPECT_EQ(second, 2);
  EXPECT_EQ(names.size(), 728u);
}

TEST(Table, AliasesCarryTheStackBytesOfTheirPrototypes) {
  EXPECT_STREQ(Row(Entry::glBegin).alias, "_tlr2Begin@4");
  EXPECT_STREQ(Row(Entry::glEnd).alias, "_tlr2End@0");
  EXPECT_STREQ(Row(Entry::glVertex3f).alias, "_tlr2Vertex3f@12");
  EXPECT_STREQ(Row(Entry::glVertex3d).alias, "_tlr2Vertex3d@24");
  EXPECT_STREQ(Row(Entry::glVertex4s).alias, "_tlr2Vertex4s@16");
  EXPECT_STREQ(Row(Entry::glVertex3fv).alias, "_tlr2Vertex3fv@4");
  EXPECT_STREQ(Row(Entry::glColor4ub).alias, "_tlr2Color4ub@16");
  EXPECT_STREQ(Row(Entry::glOrtho).alias, "_tlr2Ortho@48");
  EXPECT_STREQ(Row(Entry::glFrustum).alias, "_tlr2Frustum@48");
  EXPECT_STREQ(Row(Entry::glDepthRange).alias, "_tlr2DepthRange@16");
  EXPECT_STREQ(Row(Entry::glClearDepth).alias, "_tlr2ClearDepth@8");
  EXPECT_STREQ(Row(Entry::glTexImage2D).alias, "_tlr2TexImage2D@36");
  EXPECT_STREQ(Row(Entry::glTexSubImage2D).alias, "_tlr2TexSubImage2D@36");
  EXPECT_STREQ(Row(Entry::glTexImage1D).alias, "_tlr2TexImage1D@32");
  EXPECT_STREQ(Row(Entry::glTexSubImage1D).alias, "_tlr2TexSubImage1D@28");
  EXPECT_STREQ(Row(Entry::glCopyTexImage2D).alias, "_tlr2CopyTexImage2D@32");
  EXPECT_STREQ(Row(Entry::glCopyTexSubImage1D).alias, "_tlr2CopyTexSubImage1D@24");
  EXPECT_STREQ(Row(Entry::glMap1d).alias, "_tlr2Map1d@32");
  EXPECT_STREQ(Row(Entry::glMap2d).alias, "_tlr2Map2d@56");
  EXPECT_STREQ(Row(Entry::glMap2f).alias, "_tlr2Map2f@40");
  EXPECT_STREQ(Row(Entry::glMapGrid2d).alias, "_tlr2MapGrid2d@40");
  EXPECT_STREQ(Row(Entry::glBitmap).alias, "_tlr2Bitmap@28");
  EXPECT_STREQ(Row(Entry::glRectd).alias, "_tlr2Rectd@32");
  EXPECT_STREQ(Row(Entry::glTexGend).alias, "_tlr2TexGend@16");
  EXPECT_STREQ(Row(Entry::glLineStipple).alias, "_tlr2LineStipple@8");
  EXPECT_STREQ(Row(Entry::glReadPixels).alias, "_tlr2ReadPixels@28");
  EXPECT_STREQ(Row(Entry::glColorTableEXT).alias, "_tlr2ColorTableEXT@24");
  EXPECT_STREQ(Row(Entry::glMTexCoord2fSGIS).alias, "_tlr2MTexCoord2fSGIS@12");
  EXPECT_STREQ(Row(Entry::wglSwapBuffers).alias, "_vwgl2SwapBuffers@4");
  EXPECT_STREQ(Row(Entry::wglSetPixelFormat).alias, "_vwgl2SetPixelFormat@12");
  EXPECT_STREQ(Row(Entry::wglDescribePixelFormat).alias, "_vwgl2DescribePixelFormat@16");
  EXPECT_STREQ(Row(Entry::wglDescribeLayerPlane).alias, "_vwgl2DescribeLayerPlane@20");
  EXPECT_STREQ(Row(Entry::wglGetCurrentContext).alias, "_vwgl2GetCurrentContext@0");
  for (const EntryRow& row : kEntryTable) {
    const char* at = std::strchr(row.alias, '@');
    ASSERT_NE(at, nullptr) << row.name;
    EXPECT_EQ(std::atoi(at + 1), row.stackBytes) << row.name;
    EXPECT_EQ(row.stackBytes % 4, 0) << row.name;
  }
}

TEST(Table, TwoAliasesDropTheFinalLetterAndKeepTheWholeFormBeside) {
  EXPECT_STREQ(Row(Entry::wglUseFontBitmapsA).alias, "_vwgl2UseFontBitmaps@16");
  EXPECT_STREQ(Row(Entry::wglUseFontBitmapsA).secondAlias, "_vwgl2UseFontBitmapsA@16");
  EXPECT_STREQ(Row(Entry::wglUseFontOutlinesA).alias, "_vwgl2UseFontOutlines@32");
  EXPECT_STREQ(Row(Entry::wglUseFontOutlinesA).secondAlias, "_vwgl2UseFontOutlinesA@32");
  EXPECT_EQ(Row(Entry::wglSwapBuffers).secondAlias, nullptr);
}

TEST(Table, TraceNamesAreQualified) {
  EXPECT_STREQ(Row(Entry::glBegin).traceName, "TLR2::GL::Begin");
  EXPECT_STREQ(Row(Entry::wglSwapBuffers).traceName, "TLR2::WGL::SwapBuffers");
  EXPECT_STREQ(Row(Entry::glActiveTextureARB).traceName, "TLR2::GL::ActiveTextureARB");
}

TEST(Table, TraceFormatsFollowTheKindsOfTheArguments) {
  EXPECT_STREQ(Row(Entry::glBegin).traceFormat, "(mode=0x%04X)");
  EXPECT_STREQ(Row(Entry::glEnd).traceFormat, "()");
  EXPECT_STREQ(Row(Entry::glVertex3f).traceFormat, "(x=%f, y=%f, z=%f)");
  EXPECT_STREQ(Row(Entry::glTexParameteri).traceFormat, "(target=0x%04X, pname=0x%04X, param=%d)");
  EXPECT_STREQ(Row(Entry::glGenTextures).traceFormat, "(n=%d, textures=%p)");
  EXPECT_STREQ(Row(Entry::glClear).traceFormat, "(mask=0x%08X)");
  EXPECT_STREQ(Row(Entry::glStencilMask).traceFormat, "(mask=0x%08X)");
  EXPECT_STREQ(Row(Entry::glIndexMask).traceFormat, "(mask=0x%08X)");
  EXPECT_STREQ(Row(Entry::glStencilFunc).traceFormat, "(func=0x%04X, ref=%d, mask=0x%08X)");
  EXPECT_STREQ(Row(Entry::wglCopyContext).traceFormat, "(hglrcSrc=%p, hglrcDst=%p, mask=0x%08X)");
  EXPECT_STREQ(Row(Entry::glDepthMask).traceFormat, "(flag=%u)");
  EXPECT_STREQ(Row(Entry::glColor4ub).traceFormat, "(red=%u, green=%u, blue=%u, alpha=%u)");
  EXPECT_STREQ(Row(Entry::glColor3b).traceFormat, "(red=%d, green=%d, blue=%d)");
  EXPECT_STREQ(Row(Entry::glDepthRange).traceFormat, "(zNear=%f, zFar=%f)");
  EXPECT_STREQ(Row(Entry::glBindTexture).traceFormat, "(target=0x%04X, texture=%u)");
  EXPECT_STREQ(Row(Entry::glClipPlane).traceFormat, "(plane=0x%04X, equation=%f)");
  EXPECT_STREQ(Row(Entry::glGetClipPlane).traceFormat, "(plane=0x%04X, equation=%p)");
  EXPECT_STREQ(Row(Entry::glColor3fv).traceFormat, "(v=%p)");
  EXPECT_STREQ(Row(Entry::glVertex2fv).traceFormat, "(v=%p)");
  EXPECT_STREQ(Row(Entry::wglSwapBuffers).traceFormat, "(hdc=%p)");
  EXPECT_STREQ(Row(Entry::wglGetProcAddress).traceFormat, "(name=\"%s\")");
  EXPECT_STREQ(Row(Entry::glColorTableEXT).traceFormat,
               "(target=0x%04X, internalFormat=0x%04X, width=%d, format=0x%04X, type=0x%04X, table=%p)");
  EXPECT_STREQ(Row(Entry::wglSwapLayerBuffers).traceFormat, "(hdc=%p, fuPlanes=0x%08X)");
}

TEST(Table, CountersAndFrameWordsStartAtTheirInitialValues) {
  for (const Counter64& counter : CallCounters) EXPECT_EQ(counter.load(), 0u);
  EXPECT_EQ(currentFrame.load(), 0);
  EXPECT_EQ(traceFirstFrame.load(), -1);
  EXPECT_EQ(traceLastFrame.load(), -1);
  EXPECT_EQ(captureFirstFrame.load(), -1);
  EXPECT_EQ(captureLastFrame.load(), -1);
}

TEST(Table, ANegativeFirstFrameStopsTheTraceTest) {
  traceFirstFrame = -1;
  traceLastFrame = 100;
  EXPECT_FALSE(TraceActive());
  traceFirstFrame = 0;
  EXPECT_TRUE(TraceActive());
  traceFirstFrame = 1;
  EXPECT_FALSE(TraceActive());  // the frame is still 0
  traceFirstFrame = -1;
  traceLastFrame = -1;
}

}  // namespace
}  // namespace tlr2
