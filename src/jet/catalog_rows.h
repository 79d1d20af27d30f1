#pragma once
// Rows into tables (Jet 4): a row's values encoded to row bytes (long values into LVAL
// pages), the row placed on a data page of the table, the table's usage maps kept, and an
// index entry added to a single-leaf index.
//
// Interim implementation for the writer's own use (catalog rows, simple tables); the full
// row and B-tree maintenance replaces these functions behind the same declarations.

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "core/result.h"
#include "core/value.h"
#include "jet/page_store.h"
#include "jet/tabledef.h"

namespace px::jet {

// Where the last rows of a table went, so that appending does not search the usage maps.
struct AppendState {
  uint32_t data_page = 0;                        // last data page written, 0 = unknown
  std::map<uint16_t, uint32_t> long_value_page;  // per Memo/OLE column
};

// Sets (add) or clears the bit of `page` in the usage map row `map`; an inline map whose
// window cannot hold the page becomes a reference map.
Status SetUsageMapPage(PageStore& store, RowPointer map, uint32_t page, bool add,
                       const std::string& what);

// An empty inline usage map row (type 0, start page 0).
std::vector<uint8_t> EmptyInlineUsageMap(const JetFormat& f);

// Places `row` on a new row slot of `page` when it fits; the slot, or nullopt.
Result<std::optional<uint16_t>> AddRowToPage(PageStore& store, uint32_t page, Bytes row);

// One column's part of a row: the null-mask bit (for Boolean columns, the value) and the
// stored bytes (fixed width, or the variable part).
struct RowPart {
  bool present = false;
  bool bit = false;
  std::vector<uint8_t> bytes;
};

// Row bytes of `values` (indexed like def.columns; Null for absent columns). Memo and OLE
// values longer than an inline value go to LVAL pages listed in the column's usage map.
Result<std::vector<uint8_t>> EncodeValuesRow(PageStore& store, const TableDef& def,
                                             std::span<const Value> values, AppendState& state,
                                             const std::string& table);

// The 12-byte descriptor (and inline data) of a Memo/OLE value; `never_inline` puts even a
// short value into an LVAL row (property blobs: Access ignores inline ones).
Result<std::vector<uint8_t>> StoreLongValue(PageStore& store, const TableDef& def,
                                            const ColumnDef& c, Bytes data, AppendState& state,
                                            const std::string& table, bool never_inline);

// Puts `row` in place of row `slot` of a data page, repacking the page's rows (every slot
// keeps its number and flags); false when the page has no room for it.
Result<bool> ReplaceRowOnPage(PageStore& store, uint32_t page, uint16_t slot, Bytes row);

// Flags a row deleted.
Status DeleteRowOnPage(PageStore& store, RowPointer at);

// Stores row bytes on the table's last data page, or a new one (added to the owned and
// free-space maps); counts the row in def.row_count. The caller writes the definition.
Result<RowPointer> AppendRow(PageStore& store, TableDef& def, Bytes row, AppendState& state,
                             const std::string& table);

// The key of one index entry for the row `values` (indexed like def.columns).
Result<std::vector<uint8_t>> CatalogIndexKey(const TableDef& def, const RealIndex& index,
                                             std::span<const Value> values,
                                             const std::string& what);

// Adds (key, row) to an index whose root is a leaf, keeping entries in order. An index
// that needs more than one page is refused naming `what`.
Status AddIndexEntry(PageStore& store, uint32_t table_page, const RealIndex& index, Bytes key,
                     RowPointer row, const std::string& what);

// Entries of a single-leaf index as stored: key bytes followed by the row pointer.
Result<std::vector<std::vector<uint8_t>>> ReadLeafEntries(PageStore& store, uint32_t leaf,
                                                          const std::string& what);
// Rewrites a leaf page with `entries` (in order, uncompressed); false when they do not fit.
Result<bool> WriteLeafEntries(PageStore& store, uint32_t leaf, uint32_t table_page,
                              const std::vector<std::vector<uint8_t>>& entries);

}  // namespace px::jet
