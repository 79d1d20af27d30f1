#pragma once
// The pages of a database that may be handed out again: those the database's page map
// (page 1, row 0; bit set = free) marks free inside the file, and those freed since. Page
// allocation takes the lowest of them before it extends the file, so a table emptied and
// filled again in a later session reuses the pages its rows, long values and indexes held.
//
// Only what the map states is trusted: a page outside an inline map's window counts as
// free to Jet, but a map whose window was moved forward leaves pages below it that may
// still be in use, so such pages are never taken. Memory: one bit per page of the file.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/result.h"
#include "jet/format.h"
#include "jet/page_source.h"

namespace px::jet {

// Row 0 of page 1 holds the database's page map.
inline constexpr RowPointer kGlobalPageMap{1, 0};

class FreePages {
 public:
  bool Contains(uint32_t page) const { return page < bits_.size() && bits_[page]; }
  size_t size() const { return count_; }
  void Add(uint32_t page);
  // The lowest page of the set, taken out of it; nullopt when the set is empty.
  std::optional<uint32_t> TakeLowest();

 private:
  std::vector<bool> bits_;
  size_t count_ = 0;
  uint32_t lowest_ = 0;  // no page below it is in the set
};

// The pages the database's page map marks free among pages 2 .. page_count-1.
Result<FreePages> ReadFreePages(Pager& pager, const JetFormat& f, uint32_t page_count);

// Lays out a bitmap page (type 0x05) of the database's page map covering pages
// slot * per_page onwards: a bit is set (free) for every page not below `page_count`
// (not yet in the file) and for the pages of `free`; pages of the file are used otherwise.
void FillGlobalMapPage(MutableBytes page, size_t slot, uint32_t page_count, const FreePages& free);

}  // namespace px::jet
