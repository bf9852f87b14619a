// Naming the state's values.
#include "tlr2_replay/state_text.h"

#include <algorithm>
#include <cstdlib>
#include <map>

#include "base/gl.h"
#include "base/hash.h"
#include "tlr2_replay/console.h"
#include "tlr2_replay/gl_names.h"
#include "tlr2_replay/record_text.h"

namespace tlr2::tool {
namespace {

using Json = nlohmann::ordered_json;
using Entries = std::vector<std::pair<std::string, Json>>;

constexpr const char* kStackNames[kMatrixStacks] = {"modelview", "projection", "texture"};
constexpr std::uint32_t kModes[kMatrixStacks] = {gl::kModelview, gl::kProjection, gl::kTexture};

Json Matrix(const float* m) {
  Json list = Json::array();
  for (int i = 0; i < 16; ++i) list.push_back(JsonFloat(m[i]));
  return list;
}

std::string Color(std::uint32_t color) { return Format("0x%08X", static_cast<unsigned>(color)); }

Json Texture(const TextureObject& object) {
  Json texture = {{"width", object.width},
                  {"height", object.height},
                  {"levels", object.levelCount},
                  {"hasImage", object.hasImage != 0},
                  {"minFilter", GlName(object.minFilter)},
                  {"magFilter", GlName(object.magFilter)},
                  {"wrapS", GlName(object.wrapS)},
                  {"wrapT", GlName(object.wrapT)}};
  const auto* texels = reinterpret_cast<const std::uint8_t*>(object.pixels.data());
  texture["texels"] = object.pixels.empty() ? "none" : Color(Fnv1a(texels, object.pixels.size() * 4));
  return texture;
}

/// Leaves with their full names; lists of plain values are leaves.
void Flatten(const std::string& name, const Json& value, Entries& out) {
  if (value.is_object()) {
    for (const auto& [key, inner] : value.items()) Flatten(name.empty() ? key : name + "." + key, inner, out);
  } else if (value.is_array() && !value.empty() && value.front().is_array()) {
    for (std::size_t i = 0; i < value.size(); ++i) Flatten(name + "[" + std::to_string(i) + "]", value[i], out);
  } else {
    out.emplace_back(name, value);
  }
}

std::string ValueText(const Json& value) { return value.is_string() ? value.get<std::string>() : value.dump(); }

}  // namespace

Json JsonFloat(float value) {
  const std::string text = FloatText(value);
  if (value - value != 0.0f) return text;
  return std::strtod(text.c_str(), nullptr);  // the shortest digits again when printed
}

Json DescribeState(const DriverState& state) {
  Json out;
  out["matrixMode"] = GlName(kModes[state.matrixMode]);
  for (int stack = 0; stack < kMatrixStacks; ++stack) {
    Json& levels = out[kStackNames[stack]] = Json::array();
    for (int depth = 0; depth <= state.stackDepth[stack]; ++depth) {
      levels.push_back(Matrix(state.matrixStacks[stack][depth]));
    }
  }
  out["combinedMatrix"] = Matrix(state.combinedMatrix);
  out["matricesDirty"] = state.matricesDirty != 0;
  out["viewport"] = {state.viewport[0], state.viewport[1], state.viewport[2], state.viewport[3]};
  out["depthRange"] = {JsonFloat(state.depthNear), JsonFloat(state.depthFar)};
  out["gridSize"] = {state.fbWidth, state.fbHeight};
  out["clearColor"] = Color(state.clearColor);
  out["clearDepth"] = JsonFloat(state.clearDepth);
  out["pendingColorClear"] = state.pendingColorClear != 0 ? Json(Color(state.pendingColorClearValue)) : Json("none");
  out["pendingDepthClear"] = state.pendingDepthClear != 0 ? JsonFloat(state.pendingDepthClearValue) : Json("none");
  out["currentColor"] = Color(state.currentColor);
  out["currentTexCoord"] = {JsonFloat(state.currentS), JsonFloat(state.currentT)};
  out["primitive"] = state.primitiveMode != 0 ? GlName(state.primitiveMode, NameGroup::kPrimitive) : "none";
  out["primitiveVertices"] = state.vertices.size();
  out["GL_TEXTURE_2D"] = state.texture2DEnabled != 0;
  out["boundTexture"] = state.boundTexture;
  out["texEnvMode"] = GlName(state.texEnvMode);
  out["texEnvColor"] = Color(state.texEnvColor);
  out["GL_BLEND"] = state.blendEnabled != 0;
  out["blendFunc"] = {GlName(state.blendSrc, NameGroup::kBlendFactor), GlName(state.blendDst, NameGroup::kBlendFactor)};
  out["GL_ALPHA_TEST"] = state.alphaTestEnabled != 0;
  out["alphaFunc"] = GlName(state.alphaFunc);
  out["alphaRef"] = JsonFloat(state.alphaRef);
  out["GL_DEPTH_TEST"] = state.depthTestEnabled != 0;
  out["depthFunc"] = GlName(state.depthFunc);
  out["depthMask"] = state.depthMask != 0;
  out["GL_CULL_FACE"] = state.cullEnabled != 0;
  out["cullFace"] = GlName(state.cullMode);
  out["frontFace"] = GlName(state.frontFace);
  Json& textures = out["textures"] = Json::object();
  for (std::size_t name = 0; name < state.textureTable.size(); ++name) {
    if (state.textureTable[name].inUse != 0) textures[std::to_string(name)] = Texture(state.textureTable[name]);
  }
  return out;
}

std::string StateLines(const Json& state) {
  Entries entries;
  Flatten("", state, entries);
  std::string lines;
  for (const auto& [name, value] : entries) lines += name + " = " + ValueText(value) + "\n";
  return lines;
}

std::vector<StateChange> CompareStates(const Json& before, const Json& after) {
  Entries left, right;
  Flatten("", before, left);
  Flatten("", after, right);
  std::map<std::string, const Json*> byName;
  for (const auto& [name, value] : right) byName[name] = &value;
  std::vector<StateChange> changes;
  for (const auto& [name, value] : left) {
    const auto found = byName.find(name);
    if (found == byName.end()) {
      changes.push_back({name, value, nullptr});
      continue;
    }
    if (value != *found->second) changes.push_back({name, value, *found->second});
    byName.erase(found);
  }
  for (const auto& [name, value] : right) {
    if (byName.count(name) != 0) changes.push_back({name, nullptr, value});
  }
  return changes;
}

}  // namespace tlr2::tool
