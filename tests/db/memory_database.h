#pragma once
// A module database held in memory that runs the change statements, recordset inserts and
// ADOX calls through the same statement layer as the Access backend: for tests of the
// statement layer and of the restore flows. AutoNumber counters, a primary key's
// uniqueness and transactions behave as the engine's do; every call outside Begin() is
// its own transaction.

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "db/database.h"
#include "db/select_rows.h"
#include "db/select_sql.h"
#include "db/write_statements.h"
#include "platform/text_case.h"

namespace px::db {

class MemoryDatabase : public Database, private TableStore {
 public:
  struct Table {
    TableFields def;
    std::vector<Row> rows;
    std::vector<std::pair<std::string, std::string>> keys;  // key name, column
    int64_t next_autonumber = 1;
  };

  // Fields as the read side reports them (tests of existing files).
  void AddTable(const std::string& name, std::vector<FieldInfo> fields,
                std::vector<Row> rows = {}) {
    tables_.push_back(Table{{name, std::move(fields)}, std::move(rows), {}, 1});
  }
  Table* Find(std::string_view name) {
    for (Table& t : tables_) {
      if (EqualsIgnoreCase(t.def.name, name)) return &t;
    }
    return nullptr;
  }
  const std::vector<Row>& RowsOf(std::string_view name) { return Find(name)->rows; }

  bool in_transaction() const { return saved_.has_value(); }

  Result<std::vector<TableEntry>> Tables() override {
    std::vector<TableEntry> out;
    for (const Table& t : tables_) out.push_back({t.def.name, "TABLE"});
    return out;
  }

  Result<std::unique_ptr<RowSource>> Query(std::string_view sql) override {
    PX_ASSIGN_OR_RETURN(SelectStatement st, ParseSelect(sql));
    Table* t = Find(st.table);
    if (!t) return Status::NotFound("table " + st.table + " not found");
    return SelectRows(std::make_unique<VectorRowSource>(t->def.fields, t->rows), st);
  }

  Result<int64_t> Execute(std::string_view sql) override {
    return ExecuteWriteStatement(*this, sql);
  }

  Status AddRow(std::string_view table, const std::vector<FieldInfo>& fields,
                const Row& values) override {
    return InsertByFieldName(*this, table, fields, values);
  }
  std::unique_ptr<ReadyInsert> PrepareInsert(const InsertStatement& shape) override {
    return ReadyInsertInto(*this, shape);
  }
  std::unique_ptr<ReadyAddRow> PrepareAddRow(std::string_view table,
                                             const std::vector<FieldInfo>& fields) override {
    return ReadyAddRowInto(*this, table, fields);
  }

  Status CreateTable(std::string_view table) override {
    if (Find(table))
      return Status::InvalidArgument("table " + std::string(table) + " already exists");
    tables_.push_back(Table{{std::string(table), {}}, {}, {}, 1});
    return Status::Ok();
  }

  Status AppendColumn(std::string_view table, const NewColumn& column) override {
    Table* t = Find(table);
    if (!t) return Status::NotFound("table " + std::string(table) + " not found");
    for (const FieldInfo& f : t->def.fields) {
      if (EqualsIgnoreCase(f.name, column.name)) {
        return Status::InvalidArgument("table " + t->def.name + " already has a column " +
                                       column.name);
      }
    }
    FieldInfo f;
    f.name = column.name;
    f.ado_type = column.ado_type.value_or(ado::kVarWChar);
    f.size = f.ado_type == ado::kVarWChar ? (column.defined_size ? column.defined_size : 255) : 0;
    f.allow_zero_length = column.allow_zero_length;
    f.autonumber = column.autoincrement;
    t->def.fields.push_back(f);
    for (Row& r : t->rows) {
      if (f.autonumber) {
        r.emplace_back(t->next_autonumber++);  // numbered in row order, as Jet does
      } else {
        r.emplace_back(Null{});
      }
    }
    return Status::Ok();
  }

  Status AppendPrimaryKey(std::string_view table, std::string_view key_name,
                          std::string_view column) override {
    Table* t = Find(table);
    if (!t) return Status::NotFound("table " + std::string(table) + " not found");
    for (const auto& [name, col] : t->keys) {
      if (EqualsIgnoreCase(name, key_name)) {
        return Status::InvalidArgument("table " + t->def.name + " already has a key " + name);
      }
    }
    PX_ASSIGN_OR_RETURN(size_t i, FindField(t->def.fields, column, t->def.name));
    t->keys.emplace_back(std::string(key_name), t->def.fields[i].name);
    return Status::Ok();
  }

  Result<std::vector<SchemaColumn>> SchemaColumns(std::string_view table) override {
    std::vector<SchemaColumn> out;
    if (Table* t = Find(table)) {
      for (size_t i = 0; i < t->def.fields.size(); ++i) {
        out.push_back({t->def.fields[i].name, int64_t(i + 1)});
      }
    }
    return out;
  }
  Result<int> KeyCount(std::string_view table) override {
    Table* t = Find(table);
    if (!t) return Status::NotFound("table " + std::string(table) + " not found");
    return int(t->keys.size());
  }
  Result<bool> HasAutoNumber(std::string_view table) override {
    Table* t = Find(table);
    if (!t) return Status::NotFound("table " + std::string(table) + " not found");
    return std::any_of(t->def.fields.begin(), t->def.fields.end(),
                       [](const FieldInfo& f) { return f.autonumber; });
  }

  Status Begin() override {
    if (saved_) return Status::InvalidArgument("a transaction is open already");
    saved_ = tables_;
    return Status::Ok();
  }
  Status Commit() override {
    if (!saved_) return Status::InvalidArgument("no transaction is open");
    saved_.reset();
    return Status::Ok();
  }
  Status Rollback() override {
    if (!saved_) return Status::InvalidArgument("no transaction is open");
    tables_ = std::move(*saved_);
    saved_.reset();
    return Status::Ok();
  }

 private:
  Result<const TableFields*> Fields(std::string_view table) override {
    Table* t = Find(table);
    if (!t) return Status::NotFound("table " + std::string(table) + " not found");
    return &t->def;
  }

  Status InsertRow(const std::string& table, std::span<const Value> values) override {
    Table* t = Find(table);
    Row row(values.begin(), values.end());
    for (size_t i = 0; i < row.size(); ++i) {
      if (!t->def.fields[i].autonumber) continue;
      if (IsNull(row[i])) {
        row[i] = t->next_autonumber++;
      } else if (auto* v = std::get_if<int64_t>(&row[i])) {
        t->next_autonumber = std::max(t->next_autonumber, *v + 1);
      }
    }
    t->rows.push_back(std::move(row));
    if (Status st = CheckKeys(*t, t->rows); !st.ok()) {
      t->rows.pop_back();
      return st;
    }
    return Status::Ok();
  }

  Result<uint64_t> DeleteAll(const std::string& table) override {
    Table* t = Find(table);
    const uint64_t n = t->rows.size();
    t->rows.clear();
    return n;
  }

  Result<uint64_t> UpdateRows(const std::string& table,
                              const std::function<Result<bool>(Row& row)>& change) override {
    Table* t = Find(table);
    std::vector<Row> rows = t->rows;  // all rows change together or none
    uint64_t n = 0;
    for (Row& r : rows) {
      PX_ASSIGN_OR_RETURN(bool changed, change(r));
      n += changed;
    }
    PX_RETURN_IF_ERROR(CheckKeys(*t, rows));
    t->rows = std::move(rows);
    return n;
  }

  // A primary key admits each value once.
  static Status CheckKeys(const Table& t, const std::vector<Row>& rows) {
    for (const auto& [name, column] : t.keys) {
      const size_t i = *FindField(t.def.fields, column, t.def.name);
      for (size_t a = 0; a < rows.size(); ++a) {
        for (size_t b = a + 1; b < rows.size(); ++b) {
          if (rows[a][i] == rows[b][i]) {
            return Status::InvalidArgument("table " + t.def.name + ", index " + name +
                                           ": duplicate value");
          }
        }
      }
    }
    return Status::Ok();
  }

  std::vector<Table> tables_;
  std::optional<std::vector<Table>> saved_;
};

}  // namespace px::db
