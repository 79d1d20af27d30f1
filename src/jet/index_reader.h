#pragma once
// Index B-trees (pages 0x03 node, 0x04 leaf). Page layout (offsets in JetFormat::index_*):
//
//   0..7    type, 0x01, free space, owning TDEF page
//   prev / next page at this level, tail page (nodes), shared-prefix length
//   bitmask: bit k set = an entry ends at first_entry + k
//   entries from first_entry; later entries omit the first entry's prefix bytes
// A leaf entry is the key then a big-endian row pointer (3 bytes page, 1 byte row); a node
// entry adds the big-endian child page (4 bytes) of the subtree whose largest entry it is.

#include <cstdint>
#include <string>

#include "core/result.h"
#include "jet/format.h"
#include "jet/page_source.h"
#include "jet/tabledef.h"

namespace px::jet {

inline constexpr size_t kMaxIndexDepth = 16;

// Number of entries in the index's leaf level: descends from the root along first entries,
// then follows the leaf chain. Every page must be an index page of table `table_page`;
// loops and over-long chains are corruption. `what` names the index in messages.
Result<uint64_t> CountIndexEntries(Pager& pager, const JetFormat& f, uint32_t table_page,
                                   const RealIndex& index, const std::string& what);

}  // namespace px::jet
