#include "db/jet_connection.h"

#include "db/select_rows.h"
#include "db/select_sql.h"
#include "jet/database.h"

namespace px::db {

namespace {

// A table's rows together with the database they come from.
class OwningRowSource final : public RowSource {
 public:
  OwningRowSource(std::shared_ptr<jet::Database> db, std::unique_ptr<RowSource> rows)
      : db_(std::move(db)), rows_(std::move(rows)) {}
  const std::vector<FieldInfo>& fields() const override { return rows_->fields(); }
  bool Next(Row& row) override { return rows_->Next(row); }
  Status status() const override { return rows_->status(); }

 private:
  std::shared_ptr<jet::Database> db_;
  std::unique_ptr<RowSource> rows_;
};

class JetConnection final : public Connection {
 public:
  explicit JetConnection(std::shared_ptr<jet::Database> db) : db_(std::move(db)) {}

  Result<std::vector<TableEntry>> Tables() override {
    std::vector<TableEntry> out;
    for (const jet::CatalogEntry& e : db_->tables()) {
      TableEntry t{e.name, e.adox_type};
      // The definition's count gives progress its total; a definition that cannot be read
      // is reported when the table is queried.
      if (e.adox_type == jet::kAdoxTable && e.has_tdef()) {
        if (auto def = db_->ReadDefinition(e); def.ok()) t.rows = def->row_count;
      }
      out.push_back(std::move(t));
    }
    return out;
  }

  Result<std::unique_ptr<RowSource>> Query(std::string_view sql) override {
    PX_ASSIGN_OR_RETURN(SelectStatement st, ParseSelect(sql));
    PX_ASSIGN_OR_RETURN(auto reader, db_->OpenTable(st.table));
    auto table = std::make_unique<OwningRowSource>(db_, std::move(reader));
    return SelectRows(std::move(table), st);
  }

 private:
  std::shared_ptr<jet::Database> db_;
};

}  // namespace

Result<std::unique_ptr<Connection>> OpenAccessConnection(std::string_view path) {
  PX_ASSIGN_OR_RETURN(auto db, jet::Database::OpenPath(path));
  return std::unique_ptr<Connection>(
      std::make_unique<JetConnection>(std::shared_ptr<jet::Database>(std::move(db))));
}

}  // namespace px::db
