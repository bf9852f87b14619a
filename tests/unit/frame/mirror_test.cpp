// Two properties of the walk: replaying a frame leaves the state that its calls left, and no stream of bytes can make
// it read or write where it must not.
#include <gtest/gtest.h>

#include <stdexcept>

#include "api/state/effects.h"
#include "frame_fixture.h"
#include "random_packets.h"
#include "textures/texture_ops.h"
#include "tiles/grid/grid.h"

using namespace tlr2;
using namespace frame_test;

namespace {

/// Makes random calls the way the entries do: record, then act on the live state.
class Caller {
 public:
  Caller(DriverState& state, std::uint32_t seed) : state_(state), random_(seed) {}
  StreamBuilder builder;

  void Call() {
    using namespace effect;
    const auto f = [this] { return random_.Below(8) == 0 ? 0.0f : random_.Uniform(-3, 3); };
    const auto pick = [this](std::initializer_list<std::uint32_t> list) {
      return list.begin()[random_.Below(static_cast<std::uint32_t>(list.size()))];
    };
    const float a = f(), b = f(), c = f(), d = f();
    switch (random_.Below(36)) {
      case 0: {
        const std::uint32_t mode = pick({0x1700, 0x1701, 0x1702, 0x1703});
        builder.Put(kMatrixMode, {mode});
        return MatrixMode(state_, mode);
      }
      case 1:
        builder.Put(kLoadIdentity);
        return LoadIdentity(state_);
      case 2:
      case 3: {
        float m[16];
        std::vector<Word> words;
        for (float& v : m) words.push_back(v = f());
        const bool load = random_.Below(2) == 0;
        builder.Put(load ? kLoadMatrixf : kMultMatrixf, words);
        return load ? LoadMatrix(state_, m) : MultMatrix(state_, m);
      }
      case 4:
        builder.Put(kPushMatrix);
        return PushMatrix(state_);
      case 5:
        builder.Put(kPopMatrix);
        return PopMatrix(state_);
      case 6:
        builder.Put(kTranslatef, {a, b, c});
        return Translate(state_, a, b, c);
      case 7:
        builder.Put(kRotatef, {a * 50, b, c, d});
        return Rotate(state_, a * 50, b, c, d);
      case 8:
        builder.Put(kScalef, {a, b, c});
        return Scale(state_, a, b, c);
      case 9:
        builder.Put(kOrtho, {a, b, c, d, a, d});
        return Ortho(state_, a, b, c, d, a, d);
      case 10:
        builder.Put(kFrustum, {a, b, c, d, a, d});
        return Frustum(state_, a, b, c, d, a, d);
      case 11: {
        const std::int32_t w = static_cast<std::int32_t>(random_.Below(300)),
                           h = static_cast<std::int32_t>(random_.Below(300));
        builder.Put(kViewport, {1, 2, w, h});
        StoreViewport(state_, 1, 2, w, h);
        return CoverViewport(state_, w, h);
      }
      case 12:
        builder.Put(kDepthRange, {a, b});
        return DepthRange(state_, a, b);
      case 13:
      case 14: {
        const std::uint32_t cap = pick({0x0B44, 0x0B71, 0x0BC0, 0x0BE2, 0x0DE1, 0x0B60});
        const bool on = random_.Below(2) == 0;
        builder.Put(on ? kEnable : kDisable, {cap});
        return SetCapability(state_, cap, on);
      }
      case 15:
        builder.Put(kBlendFunc, {random_.Below(2), 0x300u + random_.Below(4)});
        return Last(kBlendFunc);
      case 16: {
        const std::uint32_t func = 0x0200 + random_.Below(9);
        builder.Put(kAlphaFunc, {func, a}).Put(kDepthFunc, {func}).Put(kDepthMask, {func & 1});
        AlphaFunc(state_, func, a);
        DepthFunc(state_, func);
        return DepthMask(state_, func & 1);
      }
      case 17: {
        const std::uint32_t mode = pick({0x0404, 0x0405, 0x0408, 0x0900, 0x0901});
        builder.Put(kCullFace, {mode}).Put(kFrontFace, {mode}).Put(kShadeModel, {mode});
        CullFace(state_, mode);
        return FrontFace(state_, mode);
      }
      case 18: {
        const std::uint32_t target = pick({0x2300, 0x2300, 0x0DE1}), pname = pick({0x2200, 0x2201});
        builder.Put(kTexEnvi, {target, pname, 0x2101});
        TexEnvi(state_, target, pname, 0x2101);
        const float color[4] = {a, b, c, d};
        builder.Put(kTexEnvfv, {target, pname, a, b, c, d});
        return TexEnvfv(state_, target, pname, color);
      }
      case 19:
        builder.Put(kClearColor, {a, b, c, d}).Put(kClearDepth, {a}).Put(kClear, {0x4100});
        ClearColor(state_, a, b, c, d);
        ClearDepth(state_, a);
        return Clear(state_, 0x4100);
      case 20: {
        const std::uint32_t mode = random_.Below(11);
        builder.Put(kBegin, {mode});
        return Begin(state_, mode);
      }
      case 21:
        builder.Put(kEnd);
        return EndPrimitive(state_);
      case 22: {
        const std::int32_t n = static_cast<std::int32_t>(random_.Below(4)) + 1;
        builder.Put(kGenTextures, {n, 0});
        return AllocateTextureNames(state_, n, nullptr, Touch::kNote);
      }
      case 23: {
        const std::uint32_t names[3] = {random_.Below(12), random_.Below(12), random_.Below(4000)};
        const std::uint32_t offset = builder.Blob(names, sizeof names);
        builder.Put(kDeleteTextures, {3, offset, 0, 12, 0});
        return DeleteTextures(state_, 3, names, Touch::kNote);
      }
      case 24: {
        const std::uint32_t name = random_.Below(16), target = pick({0x0DE1, 0x0DE1, 0x0DE0});
        builder.Put(kBindTexture, {target, name});
        return BindTexture(state_, target, name, Touch::kNote);
      }
      case 25: {
        const std::uint32_t pname = 0x2800 + random_.Below(5), value = pick({0x2600, 0x2601, 0x2703, 0x2900});
        builder.Put(kTexParameteri, {0x0DE1, pname, value});
        return SetTextureParameter(state_, 0x0DE1, pname, static_cast<std::int32_t>(value), Touch::kNote);
      }
      case 26:
      case 27:
        return Upload(random_.Below(2) == 0);
      case 28:
        builder.Put(kScissor, {1, 2, 3, 4}).Put(kReadPixels, {1, 2, 3, 4, 5, 6});
        return;
      default: {
        const std::uint32_t color = random_.Word();
        if (random_.Below(2) == 0) {
          builder.Put(kTexCoord2f, {a, b});
          TexCoord(state_, a, b);
        }
        if (random_.Below(2) == 0) {
          builder.Put(kColor, {color});
          Color(state_, color);
        }
        const bool flat = random_.Below(4) == 0;
        flat ? builder.Put(kVertex2f, {c, d}) : builder.Put(kVertex3f, {c, d, a});
        return Vertex(state_, c, d, flat ? 0.0f : a);
      }
    }
  }

 private:
  /// Acts on the two fields of the record just written.
  void Last(std::uint32_t) {
    std::uint32_t fields[2];
    std::memcpy(fields, builder.stream.bytes.end() - 8, 8);
    effect::BlendFunc(state_, fields[0], fields[1]);
  }
  void Upload(bool sub) {
    const std::uint32_t format = 0x1906 + random_.Below(4);
    const auto w = static_cast<std::int32_t>(random_.Below(9)), h = static_cast<std::int32_t>(random_.Below(9));
    const auto x = static_cast<std::int32_t>(random_.Below(4)) - 1, y = static_cast<std::int32_t>(random_.Below(3));
    std::vector<std::uint8_t> pixels(static_cast<std::size_t>(PayloadBytes(format, w, h, random_.Below(5) != 0)));
    for (auto& p : pixels) p = static_cast<std::uint8_t>(random_.Word());
    const std::uint64_t size = pixels.size();
    const std::uint32_t offset = size == 0 ? 0 : builder.Blob(pixels.data(), pixels.size());
    const std::uint8_t* source = size == 0 ? nullptr : pixels.data();
    const auto bytes = static_cast<std::uint32_t>(size);
    if (sub) {
      builder.Put(kTexSubImage2D, {0x0DE1, 0, x, y, w, h, format, 0x1401, 0, offset, 0, bytes, 0, 0, 0});
      UploadSubImage(state_, 0x0DE1, 0, x, y, w, h, format, 0x1401, source, size, Touch::kNote);
    } else {
      const std::int32_t level = random_.Below(5) == 0 ? 1 : 0;
      builder.Put(kTexImage2D, {0x0DE1, level, 4, w, h, 0, format, 0x1401, 0, offset, 0, bytes, 0, 0, 0});
      UploadImage(state_, 0x0DE1, level, w, h, format, 0x1401, source, size, Touch::kNote);
    }
  }

  DriverState& state_;
  RandomFrame random_;
};

void ExpectSameTextures(const std::vector<TextureObject>& a, const std::vector<TextureObject>& b) {
  ASSERT_EQ(a.size(), b.size());
  for (std::size_t i = 0; i < a.size(); ++i) {
    EXPECT_EQ(a[i].width, b[i].width);
    EXPECT_EQ(a[i].wrapS, b[i].wrapS);
    EXPECT_EQ(a[i].magFilter, b[i].magFilter);
    EXPECT_EQ(a[i].minFilter, b[i].minFilter);
    EXPECT_EQ(a[i].inUse, b[i].inUse);
    EXPECT_EQ(a[i].hasImage, b[i].hasImage);
    EXPECT_EQ(a[i].levelCount, b[i].levelCount);
    ASSERT_EQ(a[i].pixels.size(), b[i].pixels.size());
    for (std::size_t k = 0; k < a[i].pixels.size(); ++k) ASSERT_EQ(a[i].pixels[k], b[i].pixels[k]);
  }
}

class Properties : public Frame {
 protected:
  ~Properties() override { LiveKeyframeInstance() = LiveKeyframe(); }
};

}  // namespace

TEST_F(Properties, MirrorAndReplayLeaveTheSameState) {
  for (std::uint32_t seed = 0; seed < 150; ++seed) {
    state = DriverState();
    TakeKeyframe();
    // Several frames on one state, so that keyframes begin from what a replay left.
    for (std::uint32_t frame = 0; frame < 3; ++frame) {
      Caller caller(state, seed * 10 + frame);
      for (int i = 0; i < 250; ++i) caller.Call();
      caller.builder.Put(kSwapBuffers);

      StateSnapshot mirrored = {}, replayed = {};
      effect::RefreshCombinedMatrix(state);  // the replay makes it at each End
      SnapshotFromState(state, mirrored);
      const std::vector<TextureObject> textures = state.textureTable;
      const std::vector<PacketVertex> open(state.vertices.begin(), state.vertices.end());

      Keyframe keyframe;
      BuildKeyframe(keyframe);
      ASSERT_TRUE(ReplayFrame(caller.builder.stream, &keyframe, false));
      effect::RefreshCombinedMatrix(state);
      SnapshotFromState(state, replayed);
      ASSERT_TRUE(SameBytes(mirrored, replayed)) << seed;
      ExpectSameTextures(textures, state.textureTable);
      ASSERT_GE(open.size(), state.vertices.size());  // what was open before the frame is not in its stream
      if (frame == 0) {
        ASSERT_EQ(open.size(), state.vertices.size());
        for (std::size_t i = 0; i < open.size(); ++i) ASSERT_TRUE(SameBytes(open[i], state.vertices[i]));
      }
      TakeKeyframe();
      ResetFrame(state);
    }
  }
}

TEST_F(Properties, RandomBytesNeverCrashTheWalk) {
  RandomFrame random(99);
  const std::uint32_t layouts[47] = {8,  4,  68, 68, 4,  4,  16, 20, 16, 28, 28, 20, 12, 20, 8, 8,
                                     12, 12, 8,  8,  20, 16, 28, 16, 12, 8,  8,  8,  12, 12, 8, 12,
                                     24, 12, 64, 64, 8,  12, 20, 8,  8,  8,  12, 16, 4,  4,  28};
  for (int round = 0; round < 1500; ++round) {
    if (round % 20 == 0) state = DriverState();
    StreamBuilder b;
    std::uint8_t blob[64];
    for (auto& byte : blob) byte = static_cast<std::uint8_t>(random.Word());
    b.Blob(blob, random.Below(65));
    for (int i = 0; i < 60; ++i) {
      const std::uint32_t id = random.Below(40) == 0 ? random.Below(70) : random.Below(47);
      std::uint32_t size = id < 47 ? layouts[id] : 4 * random.Below(20);
      if (random.Below(10) == 0) size = 4 + random.Below(70);  // shorter or longer than the layout
      if (random.Below(400) == 0) size = random.Below(65536);
      std::vector<std::uint8_t> bytes(size < 4 ? 4 : size);
      const std::uint32_t header = size << 16 | id;
      std::memcpy(bytes.data(), &header, 4);
      for (std::size_t k = 4; k + 4 <= bytes.size(); k += 4) {
        // Sizes stay small enough for the test's memory; everything else is free.
        const bool dimension = id == kTexImage2D || id == kTexSubImage2D || id == kViewport || id == kBindTexture;
        const std::uint32_t plausible[] = {0x0DE1, 0, 1, 2, 4, 0x1401, 0x1908, 0x2300, 0x2200, 0x1700, 40};
        std::uint32_t word = random.Below(2) == 0 ? plausible[random.Below(dimension ? 5 : 11)] : random.Word();
        if (dimension && random.Below(2) == 0) word = random.Below(64);
        if (dimension && word > 4096) word = random.Below(3) == 0 ? 0x80000000u | word : word & 0xFFu;
        if (id == kGenTextures)
          word = random.Below(4) == 0 ? 0x80000000u | word : word & 0xFFu;  // huge ones have a test
        std::memcpy(&bytes[k], &word, 4);
      }
      b.stream.bytes.append(bytes.data(), bytes.size());
    }
    if (random.Below(4) == 0) b.Cut(random.Below(30));
    CommandStream exact;  // blocks of exactly the stream's sizes
    exact.bytes = b.stream.bytes;
    exact.blob = b.stream.blob;
    try {
      ReplayFrame(exact, nullptr, false);
    } catch (const std::length_error&) {  // a table that memory cannot hold
    }
    StreamSummary summary;
    ScanStream(exact, &summary);
    FrameIndex index;
    ScanFrames(exact, index);
  }
}

TEST_F(Properties, NoiseNeverCrashesTheWalk) {
  RandomFrame random(100);
  for (int round = 0; round < 1500; ++round) {
    CommandStream noise;
    for (std::uint32_t n = random.Below(300); n != 0; --n) {
      const auto byte = static_cast<std::uint8_t>(random.Below(3) == 0 ? 0 : random.Below(90));
      noise.bytes.append(&byte, 1);
    }
    noise.blob = noise.bytes;
    if (noise.bytes.size() > 40) noise.blob.resize(40);
    try {
      ReplayFrame(noise, nullptr, false);
    } catch (const std::length_error&) {
    }
    FrameIndex index;
    ScanFrames(noise, index);
  }
}
