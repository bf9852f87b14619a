// The command table as data, for those who print, check or generate records.
#include "api/table/commands.h"

namespace tlr2 {
namespace {

#define TLR2_FIELD(kind, name) {#name, static_cast<std::uint16_t>(offsetof(Row, name)), FieldKind::kind, 1},
#define TLR2_FIELD_ARRAY(kind, name, count) \
  {#name, static_cast<std::uint16_t>(offsetof(Row, name)), FieldKind::kind, count},
// The closing entry keeps the arrays of records without fields from being empty.
#define TLR2_COMMAND(id, name, bytes, replayed, fields)                                                   \
  struct Fields##name {                                                                                   \
    using Row = Cmd##name;                                                                                \
    static constexpr CommandField kList[] = {fields{nullptr, bytes, FieldKind::Zero, 0}};                 \
    static constexpr std::uint8_t kCount = static_cast<std::uint8_t>(sizeof kList / sizeof kList[0] - 1); \
  };
#include "api/table/commands.def"
#undef TLR2_COMMAND
#undef TLR2_FIELD
#undef TLR2_FIELD_ARRAY

constexpr bool REPLAYED = true;
constexpr bool SKIPPED = false;

}  // namespace

const CommandRow kCommandTable[kCommandCount] = {
#define TLR2_COMMAND(id, name, bytes, replayed, fields) \
  {#name, bytes, replayed, Fields##name::kCount, Fields##name::kList},
#include "api/table/commands.def"
#undef TLR2_COMMAND
};

}  // namespace tlr2
