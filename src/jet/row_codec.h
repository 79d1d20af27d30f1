#pragma once
// Row layout, newest column data first:
//
//   Jet 4: [count 16] [fixed data] [variable data] [eod 16] [var offsets 16 x n, last
//          slot first] [n 16] [null mask]
//   Jet 3: [count 8]  [fixed data] [variable data] [eod 8]  [var offsets 8 x n, last slot
//          first] [jump table] [n 8] [null mask]
//
// `count` is the table's column high-water mark when the row was written; the null mask
// has (count + 7) / 8 bytes, bit = column id, 1 = not null (for Boolean: the value).
// Columns added after the row was written are absent: null. Jet 3 offsets are single
// bytes; the jump table lists, per 256-byte boundary, the first var slot past it.

#include <string>
#include <vector>

#include "core/result.h"
#include "jet/format.h"
#include "jet/tabledef.h"

namespace px::jet {

struct ColumnData {
  bool null = true;
  bool bit = false;  // Boolean columns: the null-mask bit is the value
  Bytes bytes;       // raw column bytes (fixed width or variable part)
};

// "where: what", or just "what" when `where` is empty (the caller adds the location).
inline std::string Located(const std::string& where, const std::string& what) {
  return where.empty() ? what : where + ": " + what;
}

// Splits `row` into per-column data, indexed like def.columns. `where` names the row in
// messages ("file: page 12 row 3").
Status CrackRow(const JetFormat& f, const TableDef& def, Bytes row, std::vector<ColumnData>& out,
                const std::string& where);

}  // namespace px::jet
