#pragma once
// Usage maps: which pages belong to a table (or index, or long-value column). A map is a
// row of a data page, named by a row pointer in the table definition.
//
//   inline (type 0):    0x00, start page (32 bits), bitmap; bit i = page start + i
//   reference (type 1): 0x01, then 32-bit page numbers of bitmap pages (type 0x05);
//                       bitmap page k covers pages k*(page_size-4)*8 onwards, its bitmap
//                       starting at byte 4. Page number 0 = no bitmap page in that slot.
// The cursor yields page numbers in ascending order and holds at most one bitmap page, so
// its memory does not grow with the table.

#include <cstdint>
#include <optional>
#include <vector>

#include "core/result.h"
#include "jet/format.h"
#include "jet/page_source.h"

namespace px::jet {

inline constexpr uint8_t kUsageMapInline = 0x00;
inline constexpr uint8_t kUsageMapReference = 0x01;
inline constexpr size_t kUsageMapPageHeader = 4;

class UsageMapCursor {
 public:
  // Reads the map row `where` names. `what` ("table Foo") goes into error messages.
  static Result<UsageMapCursor> Open(Pager& pager, const JetFormat& f, RowPointer where,
                                     std::string what);

  // The next page in the map, nullopt at the end, or an error (bad bitmap page).
  Result<std::optional<uint32_t>> Next();

 private:
  UsageMapCursor(Pager& pager, std::string what) : pager_(&pager), what_(std::move(what)) {}
  Status LoadReferencePage(size_t slot);

  Pager* pager_;
  std::string what_;
  bool reference_ = false;
  std::vector<uint8_t> bitmap_;      // inline bitmap, or the current reference bitmap page's
  uint32_t bitmap_start_ = 0;        // page number of bit 0 of bitmap_
  size_t bit_ = 0;                   // next bit to look at in bitmap_
  std::vector<uint32_t> map_pages_;  // reference maps only
  size_t next_map_page_ = 0;
};

}  // namespace px::jet
