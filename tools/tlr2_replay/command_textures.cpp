// textures: what a frame's textures are and how often they serve; their levels as pictures.
#include <cstdio>
#include <map>
#include <nlohmann/json.hpp>

#include "api/state/driver_state.h"
#include "capture/record_walk.h"
#include "tlr2_replay/console.h"
#include "tlr2_replay/gl_names.h"
#include "tlr2_replay/json_output.h"
#include "tlr2_replay/load.h"
#include "tlr2_replay/options.h"
#include "tlr2_replay/png.h"
#include "tlr2_replay/state_walk.h"

namespace tlr2::tool {
namespace {

using Json = nlohmann::ordered_json;

/// Over all frames up to the one shown.
struct TextureUses {
  std::uint64_t binds = 0, uploads = 0, primitives = 0, vertices = 0;
};
using UseTable = std::map<std::uint32_t, TextureUses>;

void CountRecords(const ByteVector& stream, std::uint32_t bound, UseTable& uses) {
  for (RecordWalk walk(stream); walk.Next();) {
    if (walk.Is(Cmd::BindTexture)) {
      const auto record = walk.As<CmdBindTexture>();
      if (record.target != gl::kTexture2D) continue;
      bound = record.name;
      ++uses[bound].binds;
    } else if (walk.Is(Cmd::TexImage2D) || walk.Is(Cmd::TexSubImage2D)) {
      ++uses[bound].uploads;
    } else if (walk.Is(Cmd::SwapBuffers)) {
      break;
    }
  }
}

void CountPackets(const DriverState& state, UseTable& uses) {
  for (const NativePacket& packet : state.packets) {
    if (packet.triangleTemplate.textureIndex == kNoTexture) continue;
    TextureUses& use = uses[packet.triangleTemplate.textureIndex];
    ++use.primitives;
    use.vertices += packet.vertexCount;
  }
}

void PrintText(const std::vector<TextureObject>& table, UseTable& uses) {
  std::printf("%6s %11s %6s %10s  %-25s %-10s %-18s %-18s %6s %8s %10s %10s\n", "name", "size", "levels", "bytes",
              "minFilter", "magFilter", "wrapS", "wrapT", "binds", "uploads", "primitives", "vertices");
  for (std::uint32_t name = 0; name < table.size(); ++name) {
    const TextureObject& t = table[name];
    if (t.inUse == 0) continue;
    const TextureUses& use = uses[name];
    const std::string size = t.hasImage != 0 ? Format("%dx%d", static_cast<int>(t.width), static_cast<int>(t.height))
                                             : std::string("no image");
    std::printf("%6u %11s %6u %10zu  %-25s %-10s %-18s %-18s %6llu %8llu %10llu %10llu\n", static_cast<unsigned>(name),
                size.c_str(), static_cast<unsigned>(t.levelCount), t.pixels.size() * 4, GlName(t.minFilter).c_str(),
                GlName(t.magFilter).c_str(), GlName(t.wrapS).c_str(), GlName(t.wrapT).c_str(),
                static_cast<unsigned long long>(use.binds), static_cast<unsigned long long>(use.uploads),
                static_cast<unsigned long long>(use.primitives), static_cast<unsigned long long>(use.vertices));
  }
}

void PrintJson(const std::vector<TextureObject>& table, UseTable& uses) {
  Json list = Json::array();
  for (std::uint32_t name = 0; name < table.size(); ++name) {
    const TextureObject& t = table[name];
    if (t.inUse == 0) continue;
    const TextureUses& use = uses[name];
    Json levels = Json::array();
    for (std::uint32_t i = 0; i < t.levelCount; ++i) levels.push_back({t.levelWidth[i], t.levelHeight[i]});
    list.push_back({{"name", name},
                    {"hasImage", t.hasImage != 0},
                    {"width", t.width},
                    {"height", t.height},
                    {"levels", levels},
                    {"bytes", t.pixels.size() * 4},
                    {"minFilter", GlName(t.minFilter)},
                    {"magFilter", GlName(t.magFilter)},
                    {"wrapS", GlName(t.wrapS)},
                    {"wrapT", GlName(t.wrapT)},
                    {"binds", use.binds},
                    {"uploads", use.uploads},
                    {"primitives", use.primitives},
                    {"vertices", use.vertices}});
  }
  WriteJson(list);
}

void WriteLevel(const std::string& folder, std::uint32_t name, const TextureObject& object, std::uint32_t level) {
  const std::uint32_t width = object.levelWidth[level], height = object.levelHeight[level];
  const std::uint32_t* texels = object.pixels.data() + object.levelOffset[level] / 4;
  Bytes rgba(std::size_t{width} * height * 4);
  for (std::size_t i = 0; i < std::size_t{width} * height; ++i) {
    rgba[i * 4] = static_cast<std::uint8_t>(texels[i] >> 16);
    rgba[i * 4 + 1] = static_cast<std::uint8_t>(texels[i] >> 8);
    rgba[i * 4 + 2] = static_cast<std::uint8_t>(texels[i]);
    rgba[i * 4 + 3] = static_cast<std::uint8_t>(texels[i] >> 24);
  }
  const Bytes png = EncodePng(rgba.data(), static_cast<std::int32_t>(width), static_cast<std::int32_t>(height), 4);
  WriteFile(folder + Format("/texture%u_level%u.png", static_cast<unsigned>(name), static_cast<unsigned>(level)),
            png.data(), png.size());
}

bool IsWanted(std::uint32_t value, const std::optional<std::uint32_t>& only) noexcept {
  return !only || *only == value;
}

/// Before a folder is made: that --texture and --level leave something to write.
void CheckExtraction(const std::vector<TextureObject>& table, const std::optional<std::uint32_t>& name,
                     const std::optional<std::uint32_t>& level) {
  if (name && (*name >= table.size() || table[*name].hasImage == 0)) {
    FailUsage(Format("no texture %u with an image", static_cast<unsigned>(*name)));
  }
  if (!level) return;
  for (std::uint32_t i = 0; i < table.size(); ++i) {
    if (table[i].hasImage != 0 && IsWanted(i, name) && *level < table[i].levelCount) return;
  }
  FailUsage(Format("no level %u, counted from 0, in %s", static_cast<unsigned>(*level),
                   name ? Format("texture %u", static_cast<unsigned>(*name)).c_str() : "any texture"));
}

}  // namespace

int RunTextures(const Words& words) {
  CommandLine line("textures");
  std::string file, folder;
  std::optional<std::uint32_t> frame, name, level;
  line.AddFile(file);
  line.Add("--frame", frame, "The textures as they are when this frame draws; the last frame without it");
  line.Add("--extract", folder, "Write levels into this folder as texture<name>_level<level>.png");
  line.Add("--texture", name, "Extract this texture alone");
  line.Add("--level", level, "Extract this level alone");
  line.AddJson();
  if (const auto code = line.Parse(words)) return *code;
  if (folder.empty() && (name || level)) FailUsage("--texture and --level go with --extract");

  CaptureContents contents = LoadCapture(file);
  const auto frames = static_cast<std::uint32_t>(contents.streams.size());
  if (frame && *frame >= frames) {
    FailNoFrame(*frame, frames);
  }
  // Textures act with what they hold at their frame's end, so it is that state which is shown.
  const std::uint32_t end = frame ? *frame + 1 : frames;
  UseTable uses;
  const DriverState& state = DriverStateInstance();
  StateWalk walk(contents);
  while (walk.Frame() < end) {
    StopIfInterrupted();
    CountRecords(contents.streams[walk.Frame()], state.boundTexture, uses);
    walk.RunFrame();
    CountPackets(state, uses);
  }

  const std::vector<TextureObject>& table = state.textureTable;
  if (!folder.empty()) {
    CheckExtraction(table, name, level);
    MakeFolder(folder);
    for (std::uint32_t i = 0; i < table.size(); ++i) {
      if (table[i].hasImage == 0 || !IsWanted(i, name)) continue;
      for (std::uint32_t l = 0; l < table[i].levelCount; ++l) {
        if (IsWanted(l, level)) WriteLevel(folder, i, table[i], l);
      }
    }
  }
  (line.json ? PrintJson : PrintText)(table, uses);
  return kDone;
}

}  // namespace tlr2::tool
