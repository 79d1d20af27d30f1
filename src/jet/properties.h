#pragma once
// Property blobs (MSysObjects.LvProp): "KKD\0" (Jet 3) or "MR2\0" (Jet 4), then blocks
//
//   [32 total length incl. these 6 bytes][16 block type][body]
//   type 0x80: name pool, repeated [16 byte length][name]
//   type 0x00 (the object) / 0x01 (one column): [32 length][16 name length][owner name],
//              then entries [16 entry length][8 DDL flag][8 data type][16 name index]
//              [16 value length][value]
// Names are UTF-16LE in Jet 4 and code-page bytes in Jet 3.

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "core/bytes.h"
#include "core/result.h"
#include "jet/format.h"

namespace px::jet {

struct ColumnProperties {
  std::optional<bool> allow_zero_length;
  std::optional<bool> required;
};

// Column properties by column name, as stored (Jet matches names case-insensitively).
using ColumnPropertyMap = std::map<std::string, ColumnProperties>;

Result<ColumnPropertyMap> ParseColumnProperties(Bytes blob, const JetFormat& f, int code_page);

// The blob `blob` of a file of format `f` (empty: none yet) with the AllowZeroLength and
// Required entries of `column` set as given (unset: left out). Every other block and entry
// is kept as it was; names are added at the end of the name pool so that existing entries
// keep their indexes. `code_page` encodes Jet 3 names.
Result<std::vector<uint8_t>> SetColumnProperties(Bytes blob, const JetFormat& f, int code_page,
                                                 const std::string& column,
                                                 const ColumnProperties& props);

}  // namespace px::jet
