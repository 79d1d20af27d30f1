#include "jet/free_pages.h"

#include <algorithm>

#include "jet/usage_map.h"

namespace px::jet {

void FreePages::Add(uint32_t page) {
  if (bits_.size() <= page) bits_.resize(size_t(page) + 1, false);
  if (bits_[page]) return;
  bits_[page] = true;
  ++count_;
  lowest_ = std::min(lowest_, page);
}

std::optional<uint32_t> FreePages::TakeLowest() {
  if (count_ == 0) return std::nullopt;
  while (!bits_[lowest_]) ++lowest_;
  bits_[lowest_] = false;
  --count_;
  return lowest_;
}

Result<FreePages> ReadFreePages(Pager& pager, const JetFormat& f, uint32_t page_count) {
  PX_ASSIGN_OR_RETURN(UsageMapCursor cursor,
                      UsageMapCursor::Open(pager, f, kGlobalPageMap, "the database page map"));
  FreePages free;
  while (true) {
    PX_ASSIGN_OR_RETURN(std::optional<uint32_t> page, cursor.Next());
    if (!page || *page >= page_count) break;
    if (*page > kGlobalPageMap.page) free.Add(*page);
  }
  return free;
}

void FillGlobalMapPage(MutableBytes page, size_t slot, uint32_t page_count, const FreePages& free) {
  std::fill(page.begin(), page.end(), uint8_t{0});
  page[0] = page_type::kUsageMap;
  page[1] = 0x01;
  const size_t per_page = (page.size() - kUsageMapPageHeader) * 8;
  const uint64_t first = uint64_t(slot) * per_page;
  for (size_t bit = 0; bit < per_page; ++bit) {
    const uint64_t number = first + bit;
    if (number >= page_count || free.Contains(uint32_t(number))) {
      page[kUsageMapPageHeader + bit / 8] |= uint8_t(1u << (bit % 8));
    }
  }
}

}  // namespace px::jet
