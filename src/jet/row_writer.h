#pragma once
// Rows for storage: the inverse of CrackRow (row_codec.h has the layout). A row is always
// written with the table's current high-water marks: the column count is max_cols, the null
// mask covers every column id, and the offset table has one slot per variable-table slot
// (deleted columns' slots stay empty). Fixed columns keep their space when null.
//
// Jet 3 offsets are single bytes. For a row longer than 255 bytes the jump table has
// (row length - 1) / 256 entries, entry j holding the first variable slot (the end-of-data
// slot counts as the last) whose offset is at or past 256 * (j + 1). When the end of the
// variable data lies below the last boundary that count implies, that last entry is a dummy.

#include <span>
#include <string>
#include <vector>

#include "core/result.h"
#include "jet/format.h"
#include "jet/row_codec.h"
#include "jet/tabledef.h"

namespace px::jet {

// Largest row a data page takes (long values stored apart): 2012 Jet 3, 4060 Jet 4.
size_t MaxRowSize(const JetFormat& f);

// Builds the row from per-column data indexed like def.columns (ColumnData::bytes must be
// exactly the column's length for fixed columns). `where` ("table Cari") leads messages.
// With `pad_to` larger than the row (Jet 4 only), unused zero bytes are placed between the
// data and the offset table (or the null mask) so that the row fills a slot of that size.
Result<std::vector<uint8_t>> EncodeRow(const JetFormat& f, const TableDef& def,
                                       std::span<const ColumnData> columns,
                                       const std::string& where, size_t pad_to = 0);
// The same into `row`, whose storage is reused.
Status EncodeRow(const JetFormat& f, const TableDef& def, std::span<const ColumnData> columns,
                 const std::string& where, std::vector<uint8_t>& row, size_t pad_to = 0);

}  // namespace px::jet
