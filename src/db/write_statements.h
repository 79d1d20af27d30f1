#pragma once
// Runs the change statements (db/write_sql.h) and the recordset-style insert over a store
// of tables that knows four row operations. The Access backend's store is our engine's
// writer; tests use tables in memory. Everything Jet decides before a row is written is
// decided here, the same for both: names matched without regard to case, each value
// converted to its column's type as Jet converts text (db/jet_text.h), Null refused for
// Required columns, text longer than its column refused, Null stored as No in Yes/No
// columns, AutoNumber columns not updatable. Errors name the table and the column, and the value
// when one is at fault.

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/result.h"
#include "core/value.h"
#include "db/database.h"
#include "db/write_sql.h"

namespace px::db {

struct TableFields {
  std::string name;  // as the catalog spells it
  std::vector<FieldInfo> fields;
};

class TableStore {
 public:
  virtual ~TableStore() = default;
  // The table named `table` (compared as Jet compares names); NotFound naming it. The
  // pointer stays valid until the store's tables or columns change.
  virtual Result<const TableFields*> Fields(std::string_view table) = 0;
  // `table` is TableFields::name; `values` in field order.
  virtual Status InsertRow(const std::string& table, std::span<const Value> values) = 0;
  // The same, taking the values: `values` keeps its size, its values are left unspecified
  // (their storage is reused by later rows).
  virtual Status InsertRowFrom(const std::string& table, Row& values) {
    return InsertRow(table, values);
  }
  virtual Result<uint64_t> DeleteAll(const std::string& table) = 0;
  // Calls `change` with every row (field order); rewrites those for which it returns true.
  virtual Result<uint64_t> UpdateRows(const std::string& table,
                                      const std::function<Result<bool>(Row& row)>& change) = 0;
};

// Parses and runs one "DELETE FROM", "INSERT INTO" or "UPDATE" statement; the number of
// rows affected.
Result<int64_t> ExecuteWriteStatement(TableStore& store, std::string_view sql);

// Runs an INSERT given as its parts exactly as ExecuteWriteStatement() runs its text
// (db/write_sql.h InsertText), without making or parsing the text: 1, the rows added. The
// parts are taken as the parser would give them: `st` must be what ParseWriteStatement()
// makes of InsertText(st) (PreparedInsert below checks that once per shape).
Result<int64_t> ExecuteInsert(TableStore& store, const InsertStatement& st);

// Inserts given as parts, row after row into the same table with the same columns: the
// statement's shape (table, columns) is checked once by parsing its text, which refuses what
// the text would be refused for; later rows of that shape run without any text.
class PreparedInsert {
 public:
  Result<int64_t> Run(TableStore& store, const InsertStatement& st);

 private:
  std::string table_;
  std::vector<std::string> columns_;
  bool ready_ = false;
};

// Rows of one INSERT shape, or of one recordset insert by field names, made for a table
// apart from adding them: MakeRow() does everything ExecuteInsert() and InsertByFieldName()
// do before the row reaches the store (names placed, values converted, the column checks)
// and fails as they fail, word for word. It reads only what this object holds, so it may
// run on another thread while the store takes the rows made before.
class TableRowMaker {
 public:
  // The INSERT of `shape`'s table and columns (its values are not read), checked once as
  // PreparedInsert checks a new shape: its text must parse to the same table and columns.
  // An error when the text is refused or the table lacks a column; the statements of that
  // shape then tell why, row by row.
  static Result<TableRowMaker> ForInsert(TableStore& store, const InsertStatement& shape);
  // InsertByFieldName() of `fields` into `table`.
  static Result<TableRowMaker> ForFields(TableStore& store, std::string_view table,
                                         const std::vector<FieldInfo>& fields);

  // TableFields::name, for TableStore::InsertRow.
  const std::string& table() const { return table_.name; }
  // The row `st` adds, in the table's field order; `st` has the shape made ready. `row`'s
  // storage is reused.
  Status MakeRow(const InsertStatement& st, Row& row) const;
  // The row InsertByFieldName() adds of `values` (one per field made ready).
  Status MakeRow(const Row& values, Row& row) const;

 private:
  TableRowMaker() = default;

  TableFields table_;
  std::vector<size_t> places_;      // the table's field of each column or field named
  bool every_field_given_ = false;  // places_ names each of the table's fields once
};

// Database::PrepareInsert() and PrepareAddRow() of a backend whose tables are `store`,
// which must outlive the result: null where TableRowMaker refuses.
std::unique_ptr<ReadyInsert> ReadyInsertInto(TableStore& store, const InsertStatement& shape);
std::unique_ptr<ReadyAddRow> ReadyAddRowInto(TableStore& store, std::string_view table,
                                             const std::vector<FieldInfo>& fields);

// How ExecuteInsert() reports `why` of `st`: refusals quote the statement.
Status InsertError(const Status& why, const InsertStatement& st);

// A recordset's AddNew, one assignment per field by name, Update: `values[i]` goes to the
// table's field named `fields[i].name`; fields left out are Null. A field the table lacks
// is an error naming the table and the field.
Status InsertByFieldName(TableStore& store, std::string_view table,
                         const std::vector<FieldInfo>& fields, const Row& values);

// Index of the field named `name` (case-insensitive); NotFound naming table and column.
Result<size_t> FindField(const std::vector<FieldInfo>& fields, std::string_view name,
                         std::string_view table);

}  // namespace px::db
