#pragma once
// Keeping one real index's B-tree exact as rows come and go (page layout in index_page.h).
//
// Insert descends from the root, at each node to the first entry not below the new one
// (or the tail), and adds the entry to the leaf. A page that overflows is split: the lower
// part moves to a new page placed before it at the same level (leaf chain and level links
// updated), and the parent gains an entry for the new page, which may split the parent in
// turn. The root never moves (the table definition names it): a full root hands its
// entries to two new pages and becomes a node over them. A full rightmost leaf taking an
// entry past its end keeps its entries and starts a new leaf, as Jet does when rows arrive
// in key order.
//
// Remove takes an entry out of its leaf. An emptied leaf (not the root) leaves the chain
// and is freed, and its parent drops its entry (a node left without entries keeps its
// tail; a node left with nothing is removed in turn). When a leaf's last entry goes, its
// parent's entry for it is lowered to the new last entry.
//
// Every page added is entered in the index's used-pages map, every page freed leaves it.
// Rebuild merges a sorted stream of new entries into the index in one pass.
//
// Memory: up to 256 decoded pages (the writer assumes it alone changes the index while it
// lives; after a rollback of the store, make a new one).

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "core/result.h"
#include "jet/format.h"
#include "jet/index_bulk.h"
#include "jet/index_page.h"
#include "jet/tabledef.h"
#include "jet/writable_pages.h"

namespace px::jet {

class IndexWriter {
 public:
  // `what` ("index kod of table Cari") goes into messages.
  IndexWriter(WritablePages& pages, const JetFormat& f, uint32_t table_page, RealIndex index,
              std::string what)
      : pages_(pages),
        f_(f),
        table_page_(table_page),
        index_(std::move(index)),
        what_(std::move(what)) {}

  // True when some entry has exactly this key (whatever its row).
  Result<bool> ContainsKey(Bytes key);
  // Adds the entry; true when no other entry had its key (a new distinct key).
  Result<bool> Insert(const EntryBytes& leaf_entry);
  Status Remove(const EntryBytes& leaf_entry);
  // Every entry gone: the root becomes an empty leaf, every other page is freed.
  Status Clear();

  // Merges `news` (ascending, none of them in the index) with the entries the index holds
  // and lays the index out anew, bottom-up (index_bulk.h): the root stays where it is, the
  // other old pages are freed once the new ones are written. `held_once(key)` tells the
  // keys that may occur only once; the first one met twice stops the merge, with the index
  // half rebuilt: the caller's transaction must be rolled back then.
  struct Merged {
    uint32_t distinct_keys = 0;
    std::optional<EntryBytes> duplicate;  // a leaf entry whose key was met before
  };
  Result<Merged> Rebuild(EntryStream& news, const std::function<bool(Bytes key)>& held_once);

  const RealIndex& index() const { return index_; }

 private:
  struct Step {
    uint32_t page;
    IndexPage* content;  // in cache_
    size_t child_slot;   // nodes: entry index of the child taken, entries.size() = the tail
    size_t inserted;     // index of an entry just added to this page, or SIZE_MAX
  };

  // The decoded page, from the cache or read now; valid until BoundCache() or DropPage().
  Result<IndexPage*> Load(uint32_t page);
  // Empties the cache when it outgrows its bound; called only between operations.
  void BoundCache();
  Status Store(uint32_t page, const IndexPage& content);
  // Path from the root to the leaf where `target` belongs.
  Result<std::vector<Step>> Descend(Bytes target);
  // Writes path[level].content, splitting it when it does not fit.
  Status Place(std::vector<Step>& path, size_t level);
  Status SetLink(uint32_t page, bool next, uint32_t value);
  Result<uint32_t> NewPage();
  Status DropPage(uint32_t page);
  Status RemoveChild(std::vector<Step>& path, size_t level);
  // Every page of the index but the root, read from the nodes.
  Result<std::vector<uint32_t>> PagesBelowRoot();
  Status Corrupt(uint32_t page, const std::string& what) const;

  WritablePages& pages_;
  const JetFormat& f_;
  uint32_t table_page_;
  RealIndex index_;
  std::string what_;
  std::unordered_map<uint32_t, IndexPage> cache_;
  std::vector<uint8_t> buffer_;
};

}  // namespace px::jet
