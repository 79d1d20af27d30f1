#pragma once
// Data pages (type 0x01): rows packed from the end of the page downwards.
//
//   0       0x01, 0x01
//   2       free space (16 bits)
//   4       owning TDEF page (32 bits; ASCII "LVAL" on long-value pages)
//   8 / 12  number of row slots (16 bits), Jet 3 / Jet 4
//   10 / 14 row offset table: 16 bits a slot; low 13 bits = start of the row,
//           0x4000 = overflow pointer ("lookup" row), 0x8000 = deleted
// Row 0 ends at the end of the page, row i ends where row i-1 starts.

#include <cstdint>
#include <string>

#include "core/result.h"
#include "jet/format.h"
#include "jet/page_source.h"

namespace px::jet {

struct RowSlot {
  bool deleted = false;
  bool lookup = false;
  Bytes data;  // empty for a deleted row whose offsets are out of bounds
};

// Number of row slots on a data page; Corruption when the page is not a data page or the
// offset table does not fit.
Result<uint16_t> DataPageRowCount(const JetFormat& f, const Page& page, const std::string& file);

// Row `row` of a data page with its bounds checked against the page and its neighbours.
Result<RowSlot> DataPageRow(const JetFormat& f, const Page& page, uint16_t row,
                            const std::string& file);

// Owning TDEF page of a data page.
uint32_t DataPageOwner(const JetFormat& f, const Page& page);

// The bytes of the row a pointer names, following overflow pointers (at most a few hops).
// Targets flagged deleted are read (moved rows carry that flag). The returned span stays valid
// while `holder` is held.
Result<Bytes> ReadRowAt(Pager& pager, const JetFormat& f, RowPointer ptr, Page& holder);

}  // namespace px::jet
