#include "db/access_database.h"

#include <map>

#include "db/select_rows.h"
#include "db/select_sql.h"
#include "db/write_statements.h"
#include "jet/database.h"
#include "jet/page_store.h"
#include "platform/text_case.h"

namespace px::db {
namespace {

jet::ColumnSpec SpecOf(const NewColumn& c) {
  jet::ColumnSpec column_spec;
  column_spec.name = c.name;
  column_spec.ado_type = c.ado_type;
  column_spec.defined_size = c.defined_size;
  column_spec.precision = c.precision;
  column_spec.allow_zero_length = c.allow_zero_length;
  column_spec.autoincrement = c.autoincrement;
  return column_spec;
}

class AccessDatabase final : public Database, private TableStore {
 public:
  explicit AccessDatabase(std::unique_ptr<jet::Writer> writer) : writer_(std::move(writer)) {}

  Result<std::vector<TableEntry>> Tables() override {
    std::vector<TableEntry> out;
    for (const jet::CatalogEntry& e : db().tables()) out.push_back({e.name, e.adox_type});
    return out;
  }

  Result<std::unique_ptr<RowSource>> Query(std::string_view sql) override {
    PX_ASSIGN_OR_RETURN(SelectStatement st, ParseSelect(sql));
    PX_ASSIGN_OR_RETURN(auto reader, db().OpenTable(st.table));
    return SelectRows(std::move(reader), st);
  }

  Result<int64_t> Execute(std::string_view sql) override {
    return ExecuteWriteStatement(*this, sql);
  }

  Result<int64_t> Insert(const InsertStatement& st) override { return insert_.Run(*this, st); }

  std::unique_ptr<ReadyInsert> PrepareInsert(const InsertStatement& shape) override {
    return ReadyInsertInto(*this, shape);
  }
  std::unique_ptr<ReadyAddRow> PrepareAddRow(std::string_view table,
                                             const std::vector<FieldInfo>& fields) override {
    return ReadyAddRowInto(*this, table, fields);
  }

  Status AddRow(std::string_view table, const std::vector<FieldInfo>& fields,
                const Row& values) override {
    return InsertByFieldName(*this, table, fields, values);
  }

  Status CreateTable(std::string_view table) override {
    ForgetFields();
    return writer_->CreateTable(table);
  }

  Status AppendColumn(std::string_view table, const NewColumn& column) override {
    ForgetFields();
    return writer_->AddColumn(table, SpecOf(column));
  }

  Status AppendPrimaryKey(std::string_view table, std::string_view key_name,
                          std::string_view column) override {
    ForgetFields();
    return writer_->AddPrimaryKey(table, key_name, column);
  }

  Result<std::vector<SchemaColumn>> SchemaColumns(std::string_view table) override {
    std::vector<SchemaColumn> out;
    const jet::CatalogEntry* entry = db().FindTable(table);
    if (!entry) return out;
    PX_ASSIGN_OR_RETURN(jet::TableSchema schema, db().ReadSchema(*entry));
    for (size_t i = 0; i < schema.fields.size(); ++i) {
      out.push_back({schema.fields[i].name, int64_t(i + 1)});
    }
    return out;
  }

  Result<int> KeyCount(std::string_view table) override {
    PX_ASSIGN_OR_RETURN(jet::TableSchema schema, db().ReadSchema(table));
    return int(schema.keys.size());
  }

  Result<bool> HasAutoNumber(std::string_view table) override {
    PX_ASSIGN_OR_RETURN(const TableFields* t, Fields(table));
    for (const FieldInfo& f : t->fields) {
      if (f.autonumber) return true;
    }
    return false;
  }

  Status Begin() override { return writer_->Begin(); }
  Status Commit() override { return writer_->Commit(); }
  Status Rollback() override {
    ForgetFields();  // tables and columns made in the transaction are gone
    return writer_->Rollback();
  }
  std::optional<PreparedCommit> CommitFiles() const override {
    const std::string& path = writer_->host_path();
    if (path.empty()) return std::nullopt;
    return PreparedCommit{jet::PreparedFileBeside(path), path};
  }
  Result<bool> PrepareCommit() override { return writer_->PrepareCommit(); }
  Status FinishCommit() override { return writer_->FinishCommit(); }

 private:
  jet::Database& db() { return writer_->db(); }

  Result<const TableFields*> Fields(std::string_view table) override {
    // Rows added one after another name the same table.
    if (last_fields_ != nullptr && last_name_ == table) return last_fields_;
    std::string key = FoldCase(table);
    auto it = fields_.find(key);
    if (it != fields_.end()) return Remember(table, &it->second);
    const jet::CatalogEntry* entry = db().FindTable(table);
    if (!entry) {
      return Status::NotFound("table " + std::string(table) + " not found in " + db().file_name());
    }
    PX_ASSIGN_OR_RETURN(jet::TableSchema schema, db().ReadSchema(*entry));
    auto [pos, added] =
        fields_.emplace(std::move(key), TableFields{schema.name, std::move(schema.fields)});
    return Remember(table, &pos->second);
  }

  void ForgetFields() {
    fields_.clear();
    last_fields_ = nullptr;
  }

  const TableFields* Remember(std::string_view name, const TableFields* fields) {
    last_name_ = std::string(name);
    last_fields_ = fields;
    return fields;
  }

  Status InsertRow(const std::string& table, std::span<const Value> values) override {
    return writer_->InsertRow(table, values);
  }
  Status InsertRowFrom(const std::string& table, Row& values) override {
    return writer_->InsertRowFrom(table, values);
  }

  Result<uint64_t> DeleteAll(const std::string& table) override {
    return writer_->DeleteAll(table);
  }

  Result<uint64_t> UpdateRows(const std::string& table,
                              const std::function<Result<bool>(Row& row)>& change) override {
    return writer_->UpdateRows(table, change);
  }

  std::unique_ptr<jet::Writer> writer_;
  PreparedInsert insert_;
  // Fields of the tables statements have named, until the next change of tables or columns.
  std::map<std::string, TableFields> fields_;
  std::string last_name_;
  const TableFields* last_fields_ = nullptr;  // in fields_, named last_name_
};

}  // namespace

std::unique_ptr<Database> AccessDatabaseOver(std::unique_ptr<jet::Writer> writer) {
  return std::make_unique<AccessDatabase>(std::move(writer));
}

}  // namespace px::db
