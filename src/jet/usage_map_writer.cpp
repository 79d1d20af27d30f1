#include "jet/usage_map_writer.h"

#include <vector>

#include "jet/data_page_writer.h"
#include "jet/usage_map.h"

namespace px::jet {

namespace {

constexpr size_t kInlineHeader = 5;  // type, start page
constexpr uint8_t kUsageMapPageMarker = 0x01;

std::string Where(WritablePages& pages, RowPointer map, const std::string& what) {
  return pages.file_name() + ": page " + std::to_string(map.page) + ": usage map of " + what;
}

size_t BitsPerMapPage(const JetFormat& f) {
  return (f.page_size - kUsageMapPageHeader) * 8;
}

// The map row, located and checked; a copy, since later calls may move the page.
Result<std::vector<uint8_t>> LoadMapRow(WritablePages& pages, const JetFormat& f, RowPointer map,
                                        const std::string& what, std::pair<size_t, size_t>& at) {
  PX_ASSIGN_OR_RETURN(Bytes page, pages.Read(map.page));
  const std::string where = Where(pages, map, what);
  PX_ASSIGN_OR_RETURN(at, DataRowBounds(f, page, map.row, where));
  const uint16_t raw = LoadLe16(&page[f.data_row_table + 2 * size_t(map.row)]);
  if (raw & (kRowDeletedFlag | kRowLookupFlag)) {
    return Status::Corruption(where + " is a deleted or moved row");
  }
  std::vector<uint8_t> row(page.begin() + at.first, page.begin() + at.second);
  if (row.size() < kInlineHeader || (row[0] != kUsageMapInline && row[0] != kUsageMapReference)) {
    return Status::Corruption(where + " has unknown type or is truncated");
  }
  return row;
}

Status StoreMapRow(WritablePages& pages, RowPointer map, std::pair<size_t, size_t> at,
                   const std::vector<uint8_t>& row) {
  PX_ASSIGN_OR_RETURN(MutableBytes page, pages.Modify(map.page));
  std::copy(row.begin(), row.end(), page.begin() + at.first);
  return Status::Ok();
}

Result<uint32_t> NewMapPage(WritablePages& pages) {
  PX_ASSIGN_OR_RETURN(uint32_t number, pages.Allocate());
  PX_ASSIGN_OR_RETURN(MutableBytes p, pages.Modify(number));
  std::fill(p.begin(), p.end(), 0);
  p[0] = page_type::kUsageMap;
  p[1] = kUsageMapPageMarker;
  return number;
}

Status SetReferenceBit(WritablePages& pages, const JetFormat& f, std::vector<uint8_t>& row,
                       uint32_t page, bool in_map, const std::string& where, bool& row_changed) {
  const size_t slot = page / BitsPerMapPage(f);
  const size_t slots = (row.size() - 1) / 4;
  if (slot >= slots) {
    if (!in_map) return Status::Ok();
    return Status::NotSupported(where + " cannot name page " + std::to_string(page));
  }
  uint32_t map_page = LoadLe32(&row[1 + 4 * slot]);
  if (map_page == 0) {
    if (!in_map) return Status::Ok();
    PX_ASSIGN_OR_RETURN(map_page, NewMapPage(pages));
    StoreLe32(&row[1 + 4 * slot], map_page);
    row_changed = true;
  }
  PX_ASSIGN_OR_RETURN(Bytes current, pages.Read(map_page));
  if (current[0] != page_type::kUsageMap) {
    return Status::Corruption(where + ": page " + std::to_string(map_page) +
                              " is not a usage map page");
  }
  PX_ASSIGN_OR_RETURN(MutableBytes p, pages.Modify(map_page));
  const size_t bit = page % BitsPerMapPage(f);
  uint8_t& byte = p[kUsageMapPageHeader + bit / 8];
  if (in_map) {
    byte |= uint8_t(1u << (bit % 8));
  } else {
    byte &= uint8_t(~(1u << (bit % 8)));
  }
  return Status::Ok();
}

// Rewrites an inline map as a reference map holding the same pages plus `page`.
Status Promote(WritablePages& pages, const JetFormat& f, std::vector<uint8_t>& row,
               const std::string& where) {
  const uint32_t start = LoadLe32(&row[1]);
  std::vector<uint32_t> members;
  for (size_t b = 0; b < (row.size() - kInlineHeader) * 8; ++b) {
    if (row[kInlineHeader + b / 8] & (1u << (b % 8))) members.push_back(uint32_t(start + b));
  }
  std::fill(row.begin(), row.end(), 0);
  row[0] = kUsageMapReference;
  bool changed = false;
  for (uint32_t m : members) {
    PX_RETURN_IF_ERROR(SetReferenceBit(pages, f, row, m, true, where, changed));
  }
  return Status::Ok();
}

}  // namespace

Status UsageMapSet(WritablePages& pages, const JetFormat& f, RowPointer map, uint32_t page,
                   bool in_map, const std::string& what) {
  std::pair<size_t, size_t> at;
  PX_ASSIGN_OR_RETURN(std::vector<uint8_t> row, LoadMapRow(pages, f, map, what, at));
  const std::string where = Where(pages, map, what);
  bool changed = false;
  if (row[0] == kUsageMapInline) {
    const size_t bits = (row.size() - kInlineHeader) * 8;
    uint32_t start = LoadLe32(&row[1]);
    if (page < start || page - start >= bits) {
      if (!in_map) return Status::Ok();
      const bool empty =
          std::all_of(row.begin() + kInlineHeader, row.end(), [](uint8_t b) { return b == 0; });
      if (empty) {
        start = page - page % 8;
        StoreLe32(&row[1], start);
      } else {
        PX_RETURN_IF_ERROR(Promote(pages, f, row, where));
      }
      changed = true;
    }
    if (row[0] == kUsageMapInline) {
      const size_t b = page - start;
      const uint8_t before = row[kInlineHeader + b / 8];
      if (in_map) {
        row[kInlineHeader + b / 8] |= uint8_t(1u << (b % 8));
      } else {
        row[kInlineHeader + b / 8] &= uint8_t(~(1u << (b % 8)));
      }
      changed = changed || before != row[kInlineHeader + b / 8];
      return changed ? StoreMapRow(pages, map, at, row) : Status::Ok();
    }
  }
  PX_RETURN_IF_ERROR(SetReferenceBit(pages, f, row, page, in_map, where, changed));
  return changed ? StoreMapRow(pages, map, at, row) : Status::Ok();
}

Status ForEachMappedPage(WritablePages& pages, const JetFormat& f, RowPointer map,
                         const std::string& what, const std::function<Status(uint32_t)>& fn) {
  std::pair<size_t, size_t> at;
  PX_ASSIGN_OR_RETURN(std::vector<uint8_t> row, LoadMapRow(pages, f, map, what, at));
  if (row[0] == kUsageMapInline) {
    const uint32_t start = LoadLe32(&row[1]);
    for (size_t b = 0; b < (row.size() - kInlineHeader) * 8; ++b) {
      if (row[kInlineHeader + b / 8] & (1u << (b % 8))) PX_RETURN_IF_ERROR(fn(uint32_t(start + b)));
    }
    return Status::Ok();
  }
  const size_t per_page = BitsPerMapPage(f);
  std::vector<uint8_t> bitmap;
  for (size_t slot = 0; slot < (row.size() - 1) / 4; ++slot) {
    const uint32_t map_page = LoadLe32(&row[1 + 4 * slot]);
    if (map_page == 0) continue;
    PX_ASSIGN_OR_RETURN(Bytes p, pages.Read(map_page));
    if (p[0] != page_type::kUsageMap) {
      return Status::Corruption(Where(pages, map, what) + ": page " + std::to_string(map_page) +
                                " is not a usage map page");
    }
    bitmap.assign(p.begin() + kUsageMapPageHeader, p.end());
    for (size_t b = 0; b < per_page; ++b) {
      if (bitmap[b / 8] & (1u << (b % 8))) PX_RETURN_IF_ERROR(fn(uint32_t(slot * per_page + b)));
    }
  }
  return Status::Ok();
}

}  // namespace px::jet
