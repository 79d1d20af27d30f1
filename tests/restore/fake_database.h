#pragma once
// A module database held in memory for the restore tests: records every call it receives
// as one line of text (an INSERT as its statement text), applies DELETE, INSERT and added
// rows to its tables,
// keeps a transaction's changes until Commit and drops them on Rollback, and fails the
// calls whose text contains a chosen piece.

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "db/database.h"
#include "db/text_of.h"
#include "db/write_sql.h"
#include "platform/text_case.h"

namespace px::restore::testing {

struct FakeTable {
  std::vector<db::NewColumn> columns;
  std::vector<std::pair<std::string, std::string>> keys;  // name, column
  int extra_keys = 0;                                     // unique and foreign keys
  std::vector<Row> rows;                                  // values in column order
};

class FakeDatabase : public db::Database {
 public:
  explicit FakeDatabase(std::vector<std::string>* log = nullptr, std::string name = "")
      : shared_log_(log), name_(std::move(name)) {}

  // Tables in creation order.
  std::vector<std::pair<std::string, FakeTable>> tables;
  std::vector<std::string> log;  // this database's calls
  std::string fail_on;           // a call whose text contains this fails
  int commits = 0, rollbacks = 0;

  FakeTable* Find(std::string_view t) {
    for (auto& [name, table] : tables) {
      if (name == t) return &table;
    }
    return nullptr;
  }
  FakeTable& AddTable(const std::string& t, std::vector<db::NewColumn> columns) {
    tables.push_back({t, FakeTable{std::move(columns), {}, 0, {}}});
    return tables.back().second;
  }
  // The rows of a table as text, one "a|b|c" line per row.
  std::vector<std::string> Rows(std::string_view t) {
    std::vector<std::string> out;
    for (const Row& r : Find(t)->rows) {
      std::string line;
      for (size_t i = 0; i < r.size(); ++i)
        line += (i ? "|" : "") + (IsNull(r[i]) ? "<null>" : db::TextOf(r[i]));
      out.push_back(line);
    }
    return out;
  }

  Result<std::vector<db::TableEntry>> Tables() override {
    std::vector<db::TableEntry> out{{"MSysObjects", "SYSTEM TABLE"}};
    for (const auto& [name, t] : tables) out.push_back({name, "TABLE"});
    return out;
  }
  Result<std::unique_ptr<RowSource>> Query(std::string_view sql) override {
    return Status::NotSupported("the fake answers no SELECT: " + std::string(sql));
  }

  Result<int64_t> Execute(std::string_view sql) override {
    PX_RETURN_IF_ERROR(Note(std::string(sql)));
    if (sql.starts_with("DELETE FROM ")) {
      FakeTable* t = Find(sql.substr(12));
      if (!t) return Status::NotFound("no table " + std::string(sql.substr(12)));
      const int64_t n = int64_t(t->rows.size());
      t->rows.clear();
      return n;
    }
    if (sql.starts_with("UPDATE ")) return int64_t{0};
    return Status::InvalidArgument("refused: " + std::string(sql));
  }

  Result<int64_t> Insert(const db::InsertStatement& st) override {
    PX_RETURN_IF_ERROR(Note(db::InsertText(st)));
    PX_RETURN_IF_ERROR(Store(st.table, st.columns, LiteralTexts(st)));
    return int64_t{1};
  }

  Status AddRow(std::string_view table, const std::vector<FieldInfo>& fields,
                const Row& values) override {
    PX_RETURN_IF_ERROR(Note(AddRowLine(table, fields, values)));
    std::vector<std::string> names;
    for (const FieldInfo& f : fields) names.push_back(f.name);
    return Store(table, names, values);
  }

  // With `prepares`, rows are made ready as the Access backend makes them: MakeRow(), on the
  // parsing thread, refuses the row whose line holds fail_on; Insert() records and stores.
  bool prepares = false;
  int ready_inserts = 0;  // rows added as made ready
  std::unique_ptr<db::ReadyInsert> PrepareInsert(const db::InsertStatement&) override {
    return prepares ? std::make_unique<Ready>(*this, "", std::vector<FieldInfo>{}) : nullptr;
  }
  std::unique_ptr<db::ReadyAddRow> PrepareAddRow(std::string_view table,
                                                 const std::vector<FieldInfo>& fields) override {
    return prepares ? std::make_unique<Ready>(*this, std::string(table), fields) : nullptr;
  }

  Status CreateTable(std::string_view table) override {
    PX_RETURN_IF_ERROR(Note("CreateTable " + std::string(table)));
    if (Find(table)) return Status::InvalidArgument("table " + std::string(table) + " exists");
    AddTable(std::string(table), {});
    return Status::Ok();
  }
  Status AppendColumn(std::string_view table, const db::NewColumn& c) override {
    std::string line = "AppendColumn " + std::string(table) + " " + c.name + " " +
                       (c.ado_type ? std::to_string(*c.ado_type) : "-") +
                       " size=" + std::to_string(c.defined_size) +
                       " precision=" + std::to_string(c.precision) +
                       (c.allow_zero_length ? " azl" : "") + (c.autoincrement ? " auto" : "");
    PX_RETURN_IF_ERROR(Note(line));
    FakeTable* t = Find(table);
    if (!t) return Status::NotFound("no table " + std::string(table));
    t->columns.push_back(c);
    for (Row& r : t->rows) r.resize(r.size() + 1);  // Null
    return Status::Ok();
  }
  Status AppendPrimaryKey(std::string_view table, std::string_view key,
                          std::string_view column) override {
    PX_RETURN_IF_ERROR(Note("AppendPrimaryKey " + std::string(table) + " " + std::string(key) +
                            " " + std::string(column)));
    FakeTable* t = Find(table);
    if (!t) return Status::NotFound("no table " + std::string(table));
    PX_RETURN_IF_ERROR(Column(*t, column, table).status());
    for (const auto& k : t->keys) {
      if (k.first == key)
        return Status::InvalidArgument("table " + std::string(table) + " has a key " +
                                       std::string(key));
    }
    t->keys.emplace_back(key, column);
    return Status::Ok();
  }
  Result<std::vector<db::SchemaColumn>> SchemaColumns(std::string_view table) override {
    std::vector<db::SchemaColumn> out;
    if (FakeTable* t = Find(table)) {
      for (size_t i = 0; i < t->columns.size(); ++i)
        out.push_back({t->columns[i].name, int64_t(i + 1)});
    }
    return out;
  }
  Result<int> KeyCount(std::string_view table) override {
    FakeTable* t = Find(table);
    if (!t) return Status::NotFound("no table " + std::string(table));
    return int(t->keys.size()) + t->extra_keys;
  }
  Result<bool> HasAutoNumber(std::string_view table) override {
    PX_RETURN_IF_ERROR(Note("HasAutoNumber " + std::string(table)));
    FakeTable* t = Find(table);
    if (!t) return Status::NotFound("no table " + std::string(table));
    for (const auto& c : t->columns) {
      if (c.autoincrement) return true;
    }
    return false;
  }
  Status Begin() override {
    PX_RETURN_IF_ERROR(Note("Begin"));
    saved_ = tables;
    return Status::Ok();
  }
  Status Commit() override {
    PX_RETURN_IF_ERROR(Note("Commit"));
    ++commits;
    return Status::Ok();
  }
  Status Rollback() override {
    (void)Note("Rollback");
    tables = saved_;
    ++rollbacks;
    return Status::Ok();
  }

 private:
  class Ready final : public db::ReadyInsert, public db::ReadyAddRow {
   public:
    Ready(FakeDatabase& d, std::string table, std::vector<FieldInfo> fields)
        : d_(d), fail_on_(d.fail_on), table_(std::move(table)), fields_(std::move(fields)) {}
    Status MakeRow(const db::InsertStatement& st, Row& row) const override {
      PX_RETURN_IF_ERROR(Refused(fail_on_, db::InsertText(st)));
      row = LiteralTexts(st);
      return Status::Ok();
    }
    Status Insert(Row& row, const db::InsertStatement& st) override {
      ++d_.ready_inserts;
      d_.Log(db::InsertText(st));
      return d_.Store(st.table, st.columns, row);
    }
    Status MakeRow(const Row& values, Row& row) const override {
      PX_RETURN_IF_ERROR(Refused(fail_on_, AddRowLine(table_, fields_, values)));
      row = values;
      return Status::Ok();
    }
    Status Insert(Row& row) override {
      ++d_.ready_inserts;
      d_.Log(AddRowLine(table_, fields_, row));
      std::vector<std::string> names;
      for (const FieldInfo& f : fields_) names.push_back(f.name);
      return d_.Store(table_, names, row);
    }

   private:
    FakeDatabase& d_;
    const std::string fail_on_, table_;
    const std::vector<FieldInfo> fields_;
  };

  static std::string AddRowLine(std::string_view table, const std::vector<FieldInfo>& fields,
                                const Row& values) {
    std::string line = "AddRow " + std::string(table);
    for (size_t i = 0; i < fields.size(); ++i) {
      line += " " + fields[i].name + "=" + (IsNull(values[i]) ? "<null>" : db::TextOf(values[i]));
    }
    return line;
  }
  // Values kept as the texts of their literals.
  static Row LiteralTexts(const db::InsertStatement& st) {
    Row values(st.values.size());
    std::string scratch;
    for (size_t i = 0; i < values.size(); ++i) {
      const db::SqlExpr& e = st.values[i];
      if (e.kind != db::SqlExpr::Kind::kNull) values[i] = std::string(db::LiteralText(e, scratch));
    }
    return values;
  }
  static Status Refused(const std::string& fail_on, const std::string& line) {
    if (!fail_on.empty() && line.find(fail_on) != std::string::npos) {
      return Status::IOError("injected failure at: " + line);
    }
    return Status::Ok();
  }
  void Log(const std::string& line) {
    log.push_back(line);
    if (shared_log_) shared_log_->push_back(name_ + ": " + line);
  }
  Status Note(const std::string& line) {
    Log(line);
    return Refused(fail_on, line);
  }
  // A row of the named columns' values, the rest Null.
  Status Store(std::string_view table, const std::vector<std::string>& names, const Row& values) {
    FakeTable* t = Find(table);
    if (!t) return Status::NotFound("no table " + std::string(table));
    Row row(t->columns.size(), Null{});
    for (size_t i = 0; i < names.size(); ++i) {
      PX_ASSIGN_OR_RETURN(size_t c, Column(*t, names[i], table));
      row[c] = values[i];
    }
    t->rows.push_back(std::move(row));
    return Status::Ok();
  }
  static Result<size_t> Column(const FakeTable& t, std::string_view name, std::string_view table) {
    for (size_t i = 0; i < t.columns.size(); ++i) {
      if (EqualsIgnoreCase(t.columns[i].name, name)) return i;
    }
    return Status::InvalidArgument("table " + std::string(table) + " has no field " +
                                   std::string(name));
  }
  std::vector<std::string>* shared_log_;
  std::string name_;
  std::vector<std::pair<std::string, FakeTable>> saved_;
};

// Databases by path; Open fails for a path that holds none, Create makes one.
class FakePool : public db::DatabasePool {
 public:
  std::map<std::string, std::unique_ptr<FakeDatabase>> files;
  std::vector<std::string> log;  // every call of every database, prefixed with its path
  std::string fail_on_created;   // fail_on of every database Create makes

  FakeDatabase& Add(const std::string& path) {
    auto& slot = files[FoldCase(path)];
    slot = std::make_unique<FakeDatabase>(&log, path);
    return *slot;
  }
  FakeDatabase* Get(const std::string& path) {
    auto it = files.find(FoldCase(path));
    return it == files.end() ? nullptr : it->second.get();
  }
  Result<db::Database*> Open(std::string_view path) override {
    log.push_back("Open " + std::string(path));
    FakeDatabase* d = Get(std::string(path));
    if (!d) return Status::NotFound("no database " + std::string(path));
    return static_cast<db::Database*>(d);
  }
  Result<db::Database*> Create(std::string_view path) override {
    log.push_back("Create " + std::string(path));
    if (Get(std::string(path))) return Status::InvalidArgument("exists: " + std::string(path));
    FakeDatabase& d = Add(std::string(path));
    d.fail_on = fail_on_created;
    return static_cast<db::Database*>(&d);
  }
  void Close(std::string_view path) override { log.push_back("Close " + std::string(path)); }
  void CloseAll() override { log.push_back("CloseAll"); }
  // One after another: the real pool's record is what makes them one.
  Status CommitTogether(std::span<db::Database* const> databases) override {
    for (db::Database* d : databases) PX_RETURN_IF_ERROR(d->Commit());
    return Status::Ok();
  }
};

}  // namespace px::restore::testing
