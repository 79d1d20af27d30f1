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
#include <unordered_set>
#include <vector>

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

// One leaf entry: the key bytes and the row they point at.
struct IndexLeafEntry {
  std::vector<uint8_t> key;
  RowPointer row;
  uint32_t page = 0;  // the leaf page holding the entry
};

// Streams the leaf entries of an index in leaf-chain order: descends from the root along
// first entries, then follows the next-page links. Memory: one page, its entry ends and
// the entry being returned. Every page must be an index page of `table_page`; a loop, a
// node page in the chain, a chain longer than the file, a prefix longer than the first
// entry or an entry shorter than its row pointer is corruption naming the file and page.
class IndexEntryCursor {
 public:
  // `what` names the index in messages ("table X, index Y"). REQUIRES: `pager` outlives
  // the cursor.
  static Result<IndexEntryCursor> Open(Pager& pager, const JetFormat& f, uint32_t table_page,
                                       const RealIndex& index, std::string what);

  // The next entry; false at the end of the leaf level.
  Result<bool> Next(IndexLeafEntry& entry);

 private:
  IndexEntryCursor(Pager& pager, const JetFormat& f, uint32_t table_page, std::string what)
      : pager_(&pager), f_(&f), table_page_(table_page), what_(std::move(what)) {}
  Status EnterLeaf(uint32_t number);

  Pager* pager_;
  const JetFormat* f_;
  uint32_t table_page_;
  std::string what_;
  Page page_;
  std::vector<size_t> ends_;
  size_t next_entry_ = 0;
  size_t prefix_ = 0;
  std::unordered_set<uint32_t> seen_;
  bool done_ = false;
};

}  // namespace px::jet
