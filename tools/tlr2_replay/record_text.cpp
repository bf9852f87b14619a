// Records as calls: names and fields from the command table, constants by their published names.
#include "tlr2_replay/record_text.h"

#include <charconv>
#include <cstring>

#include "tlr2_replay/console.h"
#include "tlr2_replay/gl_names.h"

namespace tlr2::tool {
namespace {

constexpr std::uint64_t kMostNamesShown = 64;

std::uint32_t WordAt(const std::uint8_t* record, std::size_t size, std::size_t offset) noexcept {
  std::uint32_t word = 0;
  if (offset + sizeof word <= size) std::memcpy(&word, record + offset, sizeof word);
  return word;
}

NameGroup GroupOf(Cmd id) noexcept {
  switch (id) {
    case Cmd::Begin:
      return NameGroup::kPrimitive;
    case Cmd::BlendFunc:
      return NameGroup::kBlendFactor;
    default:
      return NameGroup::kAny;
  }
}

/// Integers that calls use for constants.
bool IntIsConstant(Cmd id, const char* field) noexcept {
  const bool param = std::strcmp(field, "param") == 0;
  return (param && (id == Cmd::TexEnvi || id == Cmd::TexParameteri)) ||
         (id == Cmd::TexImage2D && std::strcmp(field, "internalformat") == 0);
}

CallArgument Scalar(Cmd id, const CommandField& field, const std::uint8_t* record, std::size_t size,
                    std::size_t element) {
  const std::uint32_t word = WordAt(record, size, field.offset + element * 4);
  switch (field.kind) {
    case FieldKind::Enum: {
      const std::string name = GlName(word, GroupOf(id));
      return {field.name, name, false};
    }
    case FieldKind::Int: {
      const auto value = static_cast<std::int32_t>(word);
      if (IntIsConstant(id, field.name) && word > 4) return {field.name, GlName(word), false};
      return {field.name, std::to_string(value), true};
    }
    case FieldKind::Uint:
      return {field.name, std::to_string(word), true};
    case FieldKind::Hex:
      if (id == Cmd::Clear) return {field.name, GlClearMask(word), false};
      return {field.name, Format("0x%08X", static_cast<unsigned>(word)), false};
    case FieldKind::Float: {
      float value = 0;
      std::memcpy(&value, &word, sizeof value);
      return {field.name, FloatText(value), value - value == 0.0f};
    }
    case FieldKind::Wide: {
      const std::uint64_t high = WordAt(record, size, field.offset + 4u);
      return {field.name, std::to_string(high << 32 | word), true};
    }
    case FieldKind::Zero:
      break;
  }
  return {field.name, "0", true};
}

CallArgument Argument(Cmd id, const CommandField& field, const std::uint8_t* record, std::size_t size) {
  if (field.count == 1) return Scalar(id, field, record, size, 0);
  CallArgument list = {field.name, "[", false};
  for (std::size_t i = 0; i < field.count; ++i) {
    list.text += (i == 0 ? "" : ", ") + Scalar(id, field, record, size, i).text;
  }
  list.text += "]";
  return list;
}

CallArgument DeletedNames(const CmdDeleteTextures& record, const ByteVector& blob) {
  CallArgument names = {"textures", "[", false};
  const std::uint64_t offset = record.blobOffset, size = record.blobSize;
  if (offset > blob.size() || size > blob.size() - offset) return {"textures", "outside the blob", false};
  for (std::uint64_t i = 0; i < size / 4; ++i) {
    if (i == kMostNamesShown) {
      names.text += ", ...";
      break;
    }
    names.text += (i == 0 ? "" : ", ") + std::to_string(WordAt(blob.data() + offset, static_cast<std::size_t>(size),
                                                               static_cast<std::size_t>(i * 4)));
  }
  names.text += "]";
  return names;
}

}  // namespace

std::string FloatText(float value) {
  char digits[32];
  const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
  return {digits, end};
}

CallText DescribeRecord(const RecordWalk& walk, const ByteVector& blob) {
  if (walk.id() >= kCommandCount) return {Format("record %u", static_cast<unsigned>(walk.id())), {}};
  const CommandRow& row = kCommandTable[walk.id()];
  CallText call = {(walk.Is(Cmd::SwapBuffers) ? "wgl" : "gl") + std::string(row.name), {}};
  for (std::uint8_t i = 0; i < row.fieldCount; ++i) {
    if (row.fields[i].kind == FieldKind::Zero) continue;
    call.arguments.push_back(Argument(static_cast<Cmd>(walk.id()), row.fields[i], walk.data(), walk.size()));
  }
  if (walk.Is(Cmd::DeleteTextures)) call.arguments.push_back(DeletedNames(walk.As<CmdDeleteTextures>(), blob));
  return call;
}

std::string CallText::Line() const {
  std::string line = name + "(";
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    if (i != 0) line += ", ";
    line += arguments[i].name + " = " + arguments[i].text;
  }
  return line + ")";
}

}  // namespace tlr2::tool
