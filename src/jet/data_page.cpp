#include "jet/data_page.h"

namespace px::jet {

namespace {

constexpr int kMaxOverflowHops = 8;

std::string Where(const std::string& file, uint32_t page) {
  return file + ": page " + std::to_string(page);
}

}  // namespace

uint32_t DataPageOwner(const JetFormat& f, const Page& page) {
  return LoadLe32(page.bytes().data() + f.data_owner);
}

Result<uint16_t> DataPageRowCount(const JetFormat& f, const Page& page, const std::string& file) {
  if (page.type() != page_type::kData) {
    return Status::Corruption(Where(file, page.number) + ": expected a data page, found type " +
                              std::to_string(page.type()));
  }
  const uint16_t count = LoadLe16(page.bytes().data() + f.data_row_count);
  if (f.data_row_table + size_t(count) * 2 > page.bytes().size()) {
    return Status::Corruption(Where(file, page.number) + ": row count " + std::to_string(count) +
                              " does not fit the page");
  }
  return count;
}

Result<RowSlot> DataPageRow(const JetFormat& f, const Page& page, uint16_t row,
                            const std::string& file) {
  PX_ASSIGN_OR_RETURN(uint16_t count, DataPageRowCount(f, page, file));
  if (row >= count) {
    return Status::Corruption(Where(file, page.number) + ": row " + std::to_string(row) +
                              " does not exist (page has " + std::to_string(count) + " rows)");
  }
  const uint8_t* table = page.bytes().data() + f.data_row_table;
  const uint16_t raw = LoadLe16(table + 2 * row);
  RowSlot slot;
  slot.deleted = (raw & kRowDeletedFlag) != 0;
  slot.lookup = (raw & kRowLookupFlag) != 0;
  const size_t start = raw & kRowOffsetMask;
  const size_t end =
      row == 0 ? page.bytes().size() : (LoadLe16(table + 2 * (row - 1)) & kRowOffsetMask);
  const size_t table_end = f.data_row_table + size_t(count) * 2;
  if (start < table_end || end > page.bytes().size() || start > end) {
    if (slot.deleted) return slot;  // a deleted slot may keep any offset
    return Status::Corruption(Where(file, page.number) + ": row " + std::to_string(row) +
                              " has bad bounds " + std::to_string(start) + ".." +
                              std::to_string(end));
  }
  slot.data = page.bytes().subspan(start, end - start);
  return slot;
}

Result<Bytes> ReadRowAt(Pager& pager, const JetFormat& f, RowPointer ptr, Page& holder) {
  for (int hop = 0; hop < kMaxOverflowHops; ++hop) {
    PX_ASSIGN_OR_RETURN(holder, pager.Get(ptr.page));
    PX_ASSIGN_OR_RETURN(RowSlot slot, DataPageRow(f, holder, ptr.row, pager.file_name()));
    // The moved copy of an overflowed row is flagged deleted so that scans pass it by.
    if (slot.deleted && slot.data.empty()) {
      return Status::Corruption(Where(pager.file_name(), ptr.page) + ": row " +
                                std::to_string(ptr.row) + " is referenced but deleted");
    }
    if (!slot.lookup) return slot.data;
    if (slot.data.size() < 4) {
      return Status::Corruption(Where(pager.file_name(), ptr.page) + ": overflow row " +
                                std::to_string(ptr.row) + " is shorter than a row pointer");
    }
    ptr = DecodeRowPointer(LoadLe32(slot.data.data()));
  }
  return Status::Corruption(Where(pager.file_name(), ptr.page) +
                            ": too many overflow hops (loop in overflow rows?)");
}

}  // namespace px::jet
