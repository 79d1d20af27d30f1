#pragma once
// Streams the rows of one table page by page: the pages the table's owned-pages usage map
// lists, in page order; on each page its rows in slot order. Deleted rows are skipped and
// overflow rows followed. Memory stays that of one page and one row.

#include <memory>
#include <string>
#include <vector>

#include "core/value.h"
#include "jet/format.h"
#include "jet/page_source.h"
#include "jet/row_codec.h"
#include "jet/tabledef.h"
#include "jet/usage_map.h"
#include "jet/values.h"

namespace px::jet {

class TableReader final : public RowSource {
 public:
  // `columns` lists, for each output field, its index into def.columns; `fields` describes
  // them. REQUIRES: `pager` outlives the reader.
  static Result<std::unique_ptr<TableReader>> Open(Pager& pager, const JetFormat& f, int code_page,
                                                   TableDef def, std::string table_name,
                                                   std::vector<int> columns,
                                                   std::vector<FieldInfo> fields);

  const std::vector<FieldInfo>& fields() const override { return fields_; }
  bool Next(Row& row) override;
  Status status() const override { return status_; }

  const TableDef& definition() const { return def_; }
  // The slot of the row Next() returned last (the slot index entries point at, also for a
  // row moved to an overflow page).
  RowPointer last_row_pointer() const { return RowPointer{last_page_, uint8_t(last_row_)}; }
  // Where the row Next() returned last is stored: "page 14 row 3".
  std::string last_row_place() const {
    return "page " + std::to_string(last_page_) + " row " + std::to_string(last_row_);
  }

 private:
  TableReader(Pager& pager, const JetFormat& f, int code_page, TableDef def, std::string table_name,
              std::vector<int> columns, std::vector<FieldInfo> fields, UsageMapCursor map);
  // Moves to the next row; false at the end or on error (status_ set).
  Result<bool> Step(Row& row);
  Result<bool> NextPage();
  Status DecodeRow(Bytes data, const std::string& where, Row& row);

  Pager& pager_;
  const JetFormat& f_;
  TableDef def_;
  std::string table_name_;
  std::vector<int> columns_;
  std::vector<FieldInfo> fields_;
  UsageMapCursor map_;
  ValueDecoder decoder_;
  Page page_;
  bool have_page_ = false;
  uint16_t row_count_ = 0;
  uint16_t next_row_ = 0;
  uint32_t last_page_ = 0;
  uint16_t last_row_ = 0;
  std::vector<ColumnData> cracked_;
  Status status_;
  bool done_ = false;
};

}  // namespace px::jet
