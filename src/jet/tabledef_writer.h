#pragma once
// Table definitions written back: a TableDef (tabledef.h) encoded to its logical bytes and
// spread over TDEF pages. Blocks read from the file keep the bytes the reader does not
// interpret (ColumnDef::raw and the like); new blocks get what Access writes.

#include <cstdint>
#include <vector>

#include "core/result.h"
#include "jet/page_store.h"
#include "jet/tabledef.h"

namespace px::jet {

// The logical definition: header (its first 8 bytes, the page header, left zero), index
// preambles, columns, column names, real indexes, logical indexes, their names, and the
// long-value map list. `code_page` encodes Jet 3 names.
Result<std::vector<uint8_t>> EncodeTableDef(const JetFormat& f, const TableDef& def, int code_page);

// Writes the definition over def.pages (def.page first), taking further pages from the
// store when it grew and freeing those it no longer needs; def.pages is updated.
Status StoreTableDef(PageStore& store, TableDef& def, int code_page);

}  // namespace px::jet
