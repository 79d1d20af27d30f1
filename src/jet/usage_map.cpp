#include "jet/usage_map.h"

#include "jet/data_page.h"

namespace px::jet {

Result<UsageMapCursor> UsageMapCursor::Open(Pager& pager, const JetFormat& f, RowPointer where,
                                            std::string what) {
  Page holder;
  auto row = ReadRowAt(pager, f, where, holder);
  if (!row.ok()) {
    // The row's own message names the file first; the map's owner goes right after it.
    const std::string file = pager.file_name() + ": ";
    std::string detail = row.status().message();
    if (detail.starts_with(file)) detail.erase(0, file.size());
    const std::string message = file + "usage map of " + what + " (page " +
                                std::to_string(where.page) + " row " + std::to_string(where.row) +
                                "): " + detail;
    return row.status().IsCorruption() ? Status::Corruption(message) : Status::IOError(message);
  }
  Bytes data = *row;
  if (data.empty()) {
    return Status::Corruption(pager.file_name() + ": page " + std::to_string(where.page) +
                              ": usage map of " + what + " is empty");
  }
  UsageMapCursor c(pager, std::move(what));
  if (data[0] == kUsageMapInline) {
    if (data.size() < 5) {
      return Status::Corruption(pager.file_name() + ": page " + std::to_string(where.page) +
                                ": inline usage map of " + c.what_ + " is truncated");
    }
    c.bitmap_start_ = LoadLe32(data.data() + 1);
    c.bitmap_.assign(data.begin() + 5, data.end());
    return c;
  }
  if (data[0] == kUsageMapReference) {
    c.reference_ = true;
    for (size_t off = 1; off + 4 <= data.size(); off += 4) {
      c.map_pages_.push_back(LoadLe32(data.data() + off));
    }
    return c;
  }
  return Status::Corruption(pager.file_name() + ": page " + std::to_string(where.page) +
                            ": usage map of " + c.what_ + " has unknown type " +
                            std::to_string(data[0]));
}

Status UsageMapCursor::LoadReferencePage(size_t slot) {
  const uint32_t number = map_pages_[slot];
  PX_ASSIGN_OR_RETURN(Page page, pager_->Get(number));
  if (page.type() != page_type::kUsageMap) {
    return Status::Corruption(pager_->file_name() + ": page " + std::to_string(number) +
                              ": expected a usage map page for " + what_ + ", found type " +
                              std::to_string(page.type()));
  }
  const size_t bits_per_page = (pager_->page_size() - kUsageMapPageHeader) * 8;
  bitmap_.assign(page.bytes().begin() + kUsageMapPageHeader, page.bytes().end());
  bitmap_start_ = uint32_t(slot * bits_per_page);
  bit_ = 0;
  return Status::Ok();
}

Result<std::optional<uint32_t>> UsageMapCursor::Next() {
  while (true) {
    const size_t nbits = bitmap_.size() * 8;
    while (bit_ < nbits) {
      const size_t b = bit_++;
      if (bitmap_[b / 8] & (1u << (b % 8))) {
        // A page beyond the end of the file is returned too: reading it reports the
        // truncation instead of silently losing the rows it held.
        const uint64_t page = uint64_t(bitmap_start_) + b;
        if (page > 0xFFFFFFu) {
          return Status::Corruption(pager_->file_name() + ": usage map of " + what_ +
                                    " names page " + std::to_string(page) +
                                    ", beyond the largest page number");
        }
        return std::optional<uint32_t>(uint32_t(page));
      }
    }
    if (!reference_) return std::optional<uint32_t>();
    while (next_map_page_ < map_pages_.size() && map_pages_[next_map_page_] == 0) {
      ++next_map_page_;
    }
    if (next_map_page_ >= map_pages_.size()) return std::optional<uint32_t>();
    PX_RETURN_IF_ERROR(LoadReferencePage(next_map_page_++));
  }
}

}  // namespace px::jet
