#include "jet/table_reader.h"

#include "jet/data_page.h"

namespace px::jet {

Result<std::unique_ptr<TableReader>> TableReader::Open(Pager& pager, const JetFormat& f,
                                                       int code_page, TableDef def,
                                                       std::string table_name,
                                                       std::vector<int> columns,
                                                       std::vector<FieldInfo> fields) {
  PX_ASSIGN_OR_RETURN(UsageMapCursor map,
                      UsageMapCursor::Open(pager, f, def.owned_map, "table " + table_name));
  for (int c : columns) {
    if (c < 0 || size_t(c) >= def.columns.size()) {
      return Status::InvalidArgument("table " + table_name + ": no column " + std::to_string(c));
    }
  }
  return std::unique_ptr<TableReader>(new TableReader(pager, f, code_page, std::move(def),
                                                      std::move(table_name), std::move(columns),
                                                      std::move(fields), std::move(map)));
}

TableReader::TableReader(Pager& pager, const JetFormat& f, int code_page, TableDef def,
                         std::string table_name, std::vector<int> columns,
                         std::vector<FieldInfo> fields, UsageMapCursor map)
    : pager_(pager),
      f_(f),
      def_(std::move(def)),
      table_name_(std::move(table_name)),
      columns_(std::move(columns)),
      fields_(std::move(fields)),
      map_(std::move(map)),
      decoder_(pager, f, code_page) {}

bool TableReader::Next(Row& row) {
  if (done_) return false;
  auto got = Step(row);
  if (!got.ok()) status_ = got.status();
  if (!got.ok() || !*got) {
    done_ = true;
    have_page_ = false;
    return false;
  }
  return true;
}

// Advances to the next data page that belongs to this table. Pages the map lists that
// hold something else (freed and reused) are passed over, as Jet does.
Result<bool> TableReader::NextPage() {
  while (true) {
    PX_ASSIGN_OR_RETURN(std::optional<uint32_t> number, map_.Next());
    if (!number) return false;
    PX_ASSIGN_OR_RETURN(page_, pager_.Get(*number));
    if (page_.type() != page_type::kData || DataPageOwner(f_, page_) != def_.page) continue;
    PX_ASSIGN_OR_RETURN(row_count_, DataPageRowCount(f_, page_, pager_.file_name()));
    next_row_ = 0;
    have_page_ = true;
    return true;
  }
}

Result<bool> TableReader::Step(Row& row) {
  while (true) {
    if (!have_page_ || next_row_ >= row_count_) {
      have_page_ = false;
      PX_ASSIGN_OR_RETURN(bool more, NextPage());
      if (!more) return false;
      continue;
    }
    const uint16_t r = next_row_++;
    PX_ASSIGN_OR_RETURN(RowSlot slot, DataPageRow(f_, page_, r, pager_.file_name()));
    if (slot.deleted) continue;
    // Built only when something is wrong: rows are many, errors few.
    auto where = [&] {
      return pager_.file_name() + ": table " + table_name_ + ": page " +
             std::to_string(page_.number) + " row " + std::to_string(r);
    };
    Page target_holder;
    Bytes data = slot.data;
    if (slot.lookup) {
      if (data.size() < 4) return Status::Corruption(where() + ": overflow pointer is truncated");
      auto target = ReadRowAt(pager_, f_, DecodeRowPointer(LoadLe32(data.data())), target_holder);
      if (!target.ok()) return target.status().WithContext(where() + ": overflow row");
      data = *target;
    }
    Status st = DecodeRow(data, std::string(), row);
    if (!st.ok()) return st.WithContext(where());
    last_page_ = page_.number;
    last_row_ = r;
    return true;
  }
}

Status TableReader::DecodeRow(Bytes data, const std::string& where, Row& row) {
  PX_RETURN_IF_ERROR(CrackRow(f_, def_, data, cracked_, where));
  row.resize(columns_.size());
  for (size_t i = 0; i < columns_.size(); ++i) {
    const int c = columns_[i];
    PX_RETURN_IF_ERROR(decoder_.DecodeInto(def_.columns[c], cracked_[c], where, row[i]));
  }
  return Status::Ok();
}

}  // namespace px::jet
