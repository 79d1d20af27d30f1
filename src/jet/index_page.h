#pragma once
// Index pages (layout in index_reader.h) as whole entries: decoding undoes the prefix
// compression, encoding chooses the prefix and lays out the bitmask. An entry here is
// always complete: the key, the big-endian row pointer (3 bytes page, 1 byte row) and, on
// node pages, the big-endian child page. A node's entries name every child but the last,
// whose page is the tail; each entry's key and row pointer are those of the largest leaf
// entry under its child.
//
// Header fields written: type, 0x01, free space (bytes left after the entries), owning
// TDEF page, prev/next page at the same level, tail (nodes), prefix length (one byte in
// Jet 3, two in Jet 4). Everything else stays zero, the Jet 4 level byte included.

#include <cstdint>
#include <string>
#include <vector>

#include "core/bytes.h"
#include "core/result.h"
#include "jet/format.h"

namespace px::jet {

inline constexpr size_t kIndexRowPointerSize = 4;
inline constexpr size_t kIndexChildSize = 4;

using EntryBytes = std::vector<uint8_t>;

struct IndexPage {
  bool leaf = true;
  uint32_t prev = 0;
  uint32_t next = 0;
  uint32_t tail = 0;                // nodes: the rightmost child
  std::vector<EntryBytes> entries;  // strictly ascending (raw byte order)
};

// Entries of a page, first to last. `where` ("file: page 40: index kod of table T")
// leads messages.
Result<IndexPage> DecodeIndexPage(const JetFormat& f, Bytes page, const std::string& where);

// True when the entries fit one page.
bool IndexPageFits(const JetFormat& f, const std::vector<EntryBytes>& entries);
// Bytes that `count` ascending entries of `total` bytes take on a page once the prefix
// they share is stored once; `first` and `last` are the first and last of them.
size_t IndexEntriesBytes(const JetFormat& f, Bytes first, Bytes last, size_t total, size_t count);
// Room for entries on an index page.
size_t IndexEntryArea(const JetFormat& f);

// Lays the page out over `out` (page_size bytes); InvalidArgument when it does not fit.
Status EncodeIndexPage(const JetFormat& f, const IndexPage& page, uint32_t owner, MutableBytes out);

// Row pointer of a leaf entry (its last 4 bytes) and child of a node entry.
RowPointer EntryRowPointer(const EntryBytes& e, bool leaf);
uint32_t EntryChild(const EntryBytes& e);
// The leaf entry (key + row pointer) of a node entry: without the child.
EntryBytes EntryWithoutChild(const EntryBytes& e);
EntryBytes LeafEntry(Bytes key, RowPointer row);
EntryBytes NodeEntry(const EntryBytes& leaf_entry, uint32_t child);

}  // namespace px::jet
