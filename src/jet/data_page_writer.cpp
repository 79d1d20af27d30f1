#include "jet/data_page_writer.h"

namespace px::jet {

namespace {

constexpr size_t kFreeSpaceOffset = 2;

struct Geometry {
  uint16_t count = 0;
  size_t table_end = 0;  // end of the row offset table
  size_t lowest = 0;     // start of the lowest row (page end when there are none)
};

Result<Geometry> Measure(const JetFormat& f, Bytes page, const std::string& where) {
  Geometry g;
  if (page.size() != f.page_size || page[0] != page_type::kData) {
    return Status::Corruption(where + ": not a data page");
  }
  g.count = LoadLe16(&page[f.data_row_count]);
  g.table_end = f.data_row_table + 2 * size_t(g.count);
  g.lowest = page.size();
  if (g.count > 0)
    g.lowest = LoadLe16(&page[f.data_row_table + 2 * (g.count - 1)]) & kRowOffsetMask;
  if (g.count > kMaxRowsPerDataPage || g.table_end > g.lowest) {
    return Status::Corruption(where + ": row offset table of " + std::to_string(g.count) +
                              " rows overlaps the rows");
  }
  return g;
}

uint8_t PutRow(const JetFormat& f, MutableBytes page, Bytes row, const Geometry& g) {
  const size_t start = g.lowest - row.size();
  std::copy(row.begin(), row.end(), page.begin() + start);
  StoreLe16(&page[f.data_row_table + 2 * size_t(g.count)], uint16_t(start));
  StoreLe16(&page[f.data_row_count], uint16_t(g.count + 1));
  StoreLe16(&page[kFreeSpaceOffset], uint16_t(start - (g.table_end + 2)));
  return uint8_t(g.count);
}

bool Fits(const Geometry& g, size_t row_size) {
  return g.count < kMaxRowsPerDataPage && row_size + 2 <= g.lowest - g.table_end;
}

}  // namespace

Result<std::pair<size_t, size_t>> DataRowBounds(const JetFormat& f, Bytes page, uint16_t row,
                                                const std::string& where) {
  PX_ASSIGN_OR_RETURN(Geometry g, Measure(f, page, where));
  if (row >= g.count) {
    return Status::Corruption(where + ": row " + std::to_string(row) +
                              " does not exist (page has " + std::to_string(g.count) + " rows)");
  }
  const size_t start = LoadLe16(&page[f.data_row_table + 2 * row]) & kRowOffsetMask;
  const size_t end =
      row == 0 ? page.size() : LoadLe16(&page[f.data_row_table + 2 * (row - 1)]) & kRowOffsetMask;
  if (start < g.table_end || start > end || end > page.size()) {
    return Status::Corruption(where + ": row " + std::to_string(row) + " has bad bounds " +
                              std::to_string(start) + ".." + std::to_string(end));
  }
  return std::pair<size_t, size_t>(start, end);
}

void InitDataPage(const JetFormat& f, MutableBytes page, uint32_t owner) {
  std::fill(page.begin(), page.end(), 0);
  page[0] = page_type::kData;
  page[1] = 0x01;
  StoreLe16(&page[kFreeSpaceOffset], uint16_t(f.page_size - f.data_row_table));
  StoreLe32(&page[f.data_owner], owner);
}

Result<size_t> DataPageFreeSpace(const JetFormat& f, Bytes page, const std::string& where) {
  PX_ASSIGN_OR_RETURN(Geometry g, Measure(f, page, where));
  return g.lowest - g.table_end;
}

bool DataPageFits(const JetFormat& f, Bytes page, size_t row_size) {
  auto g = Measure(f, page, {});
  return g.ok() && Fits(*g, row_size);
}

Result<uint8_t> AppendDataRow(const JetFormat& f, MutableBytes page, Bytes row,
                              const std::string& where) {
  PX_ASSIGN_OR_RETURN(Geometry g, Measure(f, page, where));
  if (!Fits(g, row.size())) {
    return Status::InvalidArgument(where + ": a row of " + std::to_string(row.size()) +
                                   " bytes does not fit");
  }
  return PutRow(f, page, row, g);
}

std::optional<uint8_t> TryAppendDataRow(const JetFormat& f, MutableBytes page, Bytes row) {
  auto g = Measure(f, page, {});
  if (!g.ok() || !Fits(*g, row.size())) return std::nullopt;
  return PutRow(f, page, row, *g);
}

Status MarkDataRowDeleted(const JetFormat& f, MutableBytes page, uint16_t row,
                          const std::string& where) {
  PX_RETURN_IF_ERROR(DataRowBounds(f, page, row, where).status());
  uint8_t* entry = &page[f.data_row_table + 2 * size_t(row)];
  const uint16_t raw = LoadLe16(entry);
  if (raw & kRowDeletedFlag) {
    return Status::Corruption(where + ": row " + std::to_string(row) + " is deleted already");
  }
  StoreLe16(entry, uint16_t(raw | kRowDeletedFlag));
  return Status::Ok();
}

Status OverwriteDataRow(const JetFormat& f, MutableBytes page, uint16_t row, Bytes bytes,
                        const std::string& where) {
  PX_ASSIGN_OR_RETURN(auto bounds, DataRowBounds(f, page, row, where));
  if (bounds.second - bounds.first != bytes.size()) {
    return Status::InvalidArgument(where + ": row " + std::to_string(row) + " holds " +
                                   std::to_string(bounds.second - bounds.first) + " bytes, not " +
                                   std::to_string(bytes.size()));
  }
  std::copy(bytes.begin(), bytes.end(), page.begin() + bounds.first);
  return Status::Ok();
}

}  // namespace px::jet
