// Every implemented entry of the interface: what one call counts and records, word by word, and that its direct work
// is the same whether or not the call is recorded.
#include <algorithm>
#include <bit>
#include <cstring>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "base/hash.h"
#include "entry_fixture.h"

namespace tlr2 {
namespace {

/// A record's word from an integer or a float.
struct Word {
  std::uint32_t bits;
  Word(int v) : bits(static_cast<std::uint32_t>(v)) {}
  Word(unsigned v) : bits(v) {}
  Word(float v) : bits(std::bit_cast<std::uint32_t>(v)) {}
};

struct Case {
  Entry entry;
  std::function<void()> call;
  std::vector<Word> record;  // header first; empty: none
};

constexpr float kMatrix[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
constexpr float kFloats[4] = {1, 0.5f, 0, 0.25f};
constexpr GLubyte kBytes[6] = {1, 2, 3, 4, 5, 6};
constexpr GLint kEnvironmentModes[1] = {0x2101};
constexpr GLuint kNames[2] = {5, 6};

std::vector<Word> WithMatrix(std::uint32_t header) {
  std::vector<Word> words = {header};
  for (const float value : kMatrix) words.emplace_back(value);
  return words;
}

std::vector<Case> Cases() {
  const std::uint32_t hash = Fnv1a(kBytes, 6);
  return {
      {Entry::glActiveTextureARB, [] { glActiveTextureARB(0x84C1); }, {0x0008001Eu, 0x84C1}},
      {Entry::glAlphaFunc, [] { glAlphaFunc(0x0204, 0.5f); }, {0x000C0011u, 0x0204, 0.5f}},
      {Entry::glBegin, [] { glBegin(4); }, {0x00080029u, 4}},
      {Entry::glBindTexture, [] { glBindTexture(0x0DE1, 3); }, {0x000C0021u, 0x0DE1, 3}},
      {Entry::glBlendFunc, [] { glBlendFunc(0x0302, 0x0303); }, {0x000C0010u, 0x0302, 0x0303}},
      {Entry::glClear, [] { glClear(0x4100); }, {0x00080028u, 0x4100}},
      {Entry::glClearColor, [] { glClearColor(0.1f, 0.2f, 0.3f, 0.4f); }, {0x00140026u, 0.1f, 0.2f, 0.3f, 0.4f}},
      {Entry::glClearDepth, [] { glClearDepth(0.1); }, {0x00080027u, 0.1f}},
      {Entry::glColor3f, [] { glColor3f(1, 0.5f, 0); }, {0x00080024u, 0xFFFF8000u}},
      {Entry::glColor3fv, [] { glColor3fv(kFloats); }, {0x00080024u, 0xFFFF8000u}},
      {Entry::glColor3ubv, [] { glColor3ubv(kBytes); }, {0x00080024u, 0xFF010203u}},
      {Entry::glColor4f, [] { glColor4f(1, 0.5f, 0, 0.25f); }, {0x00080024u, 0x40FF8000u}},
      {Entry::glColor4fv, [] { glColor4fv(kFloats); }, {0x00080024u, 0x40FF8000u}},
      {Entry::glColor4ub, [] { glColor4ub(1, 2, 3, 4); }, {0x00080024u, 0x04010203u}},
      {Entry::glColor4ubv, [] { glColor4ubv(kBytes); }, {0x00080024u, 0x04010203u}},
      {Entry::glColorMask, [] { glColorMask(1, 0, 255, 2); }, {0x00140014u, 1, 0, 255, 2}},
      {Entry::glCullFace, [] { glCullFace(0x0404); }, {0x00080019u, 0x0404}},
      {Entry::glDeleteTextures, [] { glDeleteTextures(2, kNames); }, {0x00180020u, 2, 0, 0, 8, 0}},
      {Entry::glDepthFunc, [] { glDepthFunc(0x0203); }, {0x00080012u, 0x0203}},
      {Entry::glDepthMask, [] { glDepthMask(0); }, {0x00080013u, 0}},
      {Entry::glDepthRange, [] { glDepthRange(0.1, 0.9); }, {0x000C000Cu, 0.1f, 0.9f}},
      {Entry::glDisable, [] { glDisable(0x0BE2); }, {0x0008000Fu, 0x0BE2}},
      {Entry::glEnable, [] { glEnable(0x0BE2); }, {0x0008000Eu, 0x0BE2}},
      {Entry::glEnd, [] { glEnd(); }, {0x0004002Cu}},
      {Entry::glFrontFace, [] { glFrontFace(0x0900); }, {0x0008001Au, 0x0900}},
      {Entry::glFrustum,
       [] { glFrustum(-1.1, 1.2, -0.7, 0.8, 1.3, 100.4); },
       {0x001C000Au, -1.1f, 1.2f, -0.7f, 0.8f, 1.3f, 100.4f}},
      {Entry::glGenTextures,
       [] {
         GLuint names[2];
         glGenTextures(2, names);
       },
       {0x000C001Fu, 2, 0}},
      {Entry::glGetFloatv,
       [] {
         float values[16];
         glGetFloatv(gl::kModelviewMatrix, values);
       },
       {}},
      {Entry::glIsEnabled, [] { glIsEnabled(0x0BE2); }, {}},
      {Entry::glIsTexture, [] { glIsTexture(1); }, {}},
      {Entry::glLoadIdentity, [] { glLoadIdentity(); }, {0x00040001u}},
      {Entry::glLoadMatrixf, [] { glLoadMatrixf(kMatrix); }, WithMatrix(0x00440002u)},
      {Entry::glMatrixMode, [] { glMatrixMode(0x1701); }, {0x00080000u, 0x1701}},
      {Entry::glMultMatrixf, [] { glMultMatrixf(kMatrix); }, WithMatrix(0x00440003u)},
      {Entry::glOrtho,
       [] { glOrtho(-1.1, 1.2, -0.7, 0.8, 1.3, 100.4); },
       {0x001C0009u, -1.1f, 1.2f, -0.7f, 0.8f, 1.3f, 100.4f}},
      {Entry::glPixelStorei, [] { glPixelStorei(0x0CF5, 1); }, {0x000C0018u, 0x0CF5, 1}},
      {Entry::glPolygonMode, [] { glPolygonMode(0x0408, 0x1B01); }, {0x000C001Cu, 0x0408, 0x1B01}},
      {Entry::glPolygonOffset, [] { glPolygonOffset(1.5f, -2); }, {0x000C001Du, 1.5f, -2.0f}},
      {Entry::glPopMatrix, [] { glPopMatrix(); }, {0x00040005u}},
      {Entry::glPushMatrix, [] { glPushMatrix(); }, {0x00040004u}},
      {Entry::glReadPixels, [] { glReadPixels(1, 2, 3, 4, 5, 6, nullptr); }, {0x001C002Eu, 1, 2, 3, 4, 5, 6}},
      {Entry::glRotatef, [] { glRotatef(30, 1, 2, 3); }, {0x00140007u, 30.0f, 1.0f, 2.0f, 3.0f}},
      {Entry::glScalef, [] { glScalef(2, 3, 4); }, {0x00100008u, 2.0f, 3.0f, 4.0f}},
      {Entry::glScissor, [] { glScissor(1, -2, 3, 4); }, {0x0014000Du, 1, -2, 3, 4}},
      {Entry::glShadeModel, [] { glShadeModel(0x1D00); }, {0x0008001Bu, 0x1D00}},
      {Entry::glTexCoord2f, [] { glTexCoord2f(0.5f, -3); }, {0x000C0025u, 0.5f, -3.0f}},
      {Entry::glTexCoord2fv, [] { glTexCoord2fv(kFloats); }, {0x000C0025u, 1.0f, 0.5f}},
      {Entry::glTexEnvf, [] { glTexEnvf(0x2300, 0x2200, 7681.9f); }, {0x00100015u, 0x2300, 0x2200, 7681}},
      {Entry::glTexEnvfv,
       [] { glTexEnvfv(0x2300, 0x2201, kFloats); },
       {0x001C0016u, 0x2300, 0x2201, 1.0f, 0.5f, 0.0f, 0.25f}},
      {Entry::glTexEnvi, [] { glTexEnvi(0x2300, 0x2200, 0x1E01); }, {0x00100015u, 0x2300, 0x2200, 0x1E01}},
      {Entry::glTexEnviv, [] { glTexEnviv(0x2300, 0x2200, kEnvironmentModes); }, {0x00100015u, 0x2300, 0x2200, 0x2101}},
      {Entry::glTexImage2D,
       [] { glTexImage2D(0x0DE1, 0, 3, 2, 1, 7, 0x1907, 0x1401, kBytes); },
       {0x00400022u, 0x0DE1, 0, 3, 2, 1, 7, 0x1907, 0x1401, 0, 0, 0, 6, 0, hash, 0}},
      {Entry::glTexParameterf, [] { glTexParameterf(0x0DE1, 0x2801, 9728.9f); }, {0x00100017u, 0x0DE1, 0x2801, 9728}},
      {Entry::glTexParameteri, [] { glTexParameteri(0x0DE1, 0x2802, -1); }, {0x00100017u, 0x0DE1, 0x2802, -1}},
      {Entry::glTexSubImage2D,
       [] { glTexSubImage2D(0x0DE1, 0, 1, 2, 2, 1, 0x1907, 0x1401, kBytes); },
       {0x00400023u, 0x0DE1, 0, 1, 2, 2, 1, 0x1907, 0x1401, 0, 0, 0, 6, 0, hash, 0}},
      {Entry::glTranslatef, [] { glTranslatef(1, 2, 3); }, {0x00100006u, 1.0f, 2.0f, 3.0f}},
      {Entry::glVertex2f, [] { glVertex2f(1, 2); }, {0x000C002Au, 1.0f, 2.0f}},
      {Entry::glVertex2fv, [] { glVertex2fv(kFloats); }, {0x000C002Au, 1.0f, 0.5f}},
      {Entry::glVertex3f, [] { glVertex3f(1, 2, 3); }, {0x0010002Bu, 1.0f, 2.0f, 3.0f}},
      {Entry::glVertex3fv, [] { glVertex3fv(kFloats); }, {0x0010002Bu, 1.0f, 0.5f, 0.0f}},
      {Entry::glViewport, [] { glViewport(1, 2, 30, 40); }, {0x0014000Bu, 1, 2, 30, 40}},
  };
}

class Recording : public Entries {
 protected:
  /// What a call leaves behind in the state.
  struct Effect {
    StateSnapshot snapshot;
    std::vector<PacketVertex> vertices;
    std::vector<std::uint32_t> textures;  // some words of each
  };
  Effect CallOn(const Case& one) {
    // Something to change: a matrix, and a texture that sub-images fit in.
    Reset();
    const bool suppressed = suppress, stopped = stop;
    glLoadIdentity();
    glPushMatrix();
    glBindTexture(gl::kTexture2D, 6);
    glTexImage2D(gl::kTexture2D, 0, 4, 4, 4, 0, gl::kRgba, gl::kUnsignedByte, nullptr);
    stream().bytes.clear();
    stream().blob.clear();
    CurrentThreadGuard().suppress = suppressed;
    Settings().pipelineCutoff = stopped ? 0 : 5;
    const std::uint64_t calls = CallsOf(one.entry);
    one.call();
    counted = CallsOf(one.entry) - calls;
    CurrentThreadGuard().suppress = false;
    Settings().pipelineCutoff = 5;
    Effect effect = {};
    SnapshotFromState(state(), effect.snapshot);
    effect.vertices.assign(state().vertices.begin(), state().vertices.end());
    for (const TextureObject& object : state().textureTable) {
      const std::uint32_t texel = object.pixels.size() < 16 ? 0 : object.pixels[2 * 4 + 1];
      for (const std::uint32_t word : {std::uint32_t{object.inUse}, std::uint32_t{object.hasImage}, object.levelCount,
                                       object.wrapS, object.minFilter, texel})
        effect.textures.push_back(word);
    }
    return effect;
  }
  static void ExpectSame(const Effect& a, const Effect& b) {
    EXPECT_EQ(std::memcmp(&a.snapshot, &b.snapshot, sizeof a.snapshot), 0);
    ASSERT_EQ(a.vertices.size(), b.vertices.size());
    for (std::size_t i = 0; i < a.vertices.size(); ++i)
      EXPECT_EQ(std::memcmp(&a.vertices[i], &b.vertices[i], sizeof(PacketVertex)), 0);
    EXPECT_EQ(a.textures, b.textures);
  }

  bool suppress = false, stop = false;
  std::uint64_t counted = 0;
};

TEST_F(Recording, TheCasesAreTheImplementedEntries) {
  std::set<std::string> cases, rows;
  for (const Case& one : Cases()) cases.insert(EntryNames[static_cast<int>(one.entry)]);
  for (const EntryRow& row : kEntryTable)
    if (row.body == EntryBody::kOwn && std::string(row.name).rfind("gl", 0) == 0) rows.insert(row.name);
  EXPECT_EQ(cases, rows);
}

TEST_F(Recording, EachCallCountsOnceAndAppendsItsRecordWordByWord) {
  for (const Case& one : Cases()) {
    SCOPED_TRACE(EntryNames[static_cast<int>(one.entry)]);
    CallOn(one);
    EXPECT_EQ(counted, 1u);
    ASSERT_EQ(stream().bytes.size(), one.record.size() * 4);
    for (std::size_t i = 0; i < one.record.size(); ++i) {
      std::uint32_t word;
      std::memcpy(&word, stream().bytes.data() + 4 * i, 4);
      EXPECT_EQ(word, one.record[i].bits) << "word " << i;
    }
  }
}

TEST_F(Recording, DirectWorkIsTheSameWithoutTheStreamAndOnASuppressedThread) {
  for (const Case& one : Cases()) {
    SCOPED_TRACE(EntryNames[static_cast<int>(one.entry)]);
    suppress = stop = false;
    const Effect recorded = CallOn(one);
    stop = true;
    const Effect unrecorded = CallOn(one);
    EXPECT_EQ(counted, 1u);
    EXPECT_TRUE(stream().bytes.empty() && stream().blob.empty());
    ExpectSame(recorded, unrecorded);
    stop = false;
    suppress = true;
    const Effect suppressed = CallOn(one);
    EXPECT_EQ(counted, 0u);
    EXPECT_TRUE(stream().bytes.empty() && stream().blob.empty());
    ExpectSame(recorded, suppressed);
  }
}

}  // namespace
}  // namespace tlr2
