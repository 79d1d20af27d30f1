#pragma once
// A connection over tables held in memory, answering the SELECT subset the way the Access
// backend does: for tests of the flows that query the suite's databases.

#include <map>
#include <string>
#include <vector>

#include "db/connection.h"
#include "db/jet_criteria.h"
#include "db/select_rows.h"
#include "db/select_sql.h"

namespace px::db {

struct MemoryTable {
  std::vector<FieldInfo> fields;
  std::vector<Row> rows;
};

class MemoryConnection : public Connection {
 public:
  void Add(const std::string& name, MemoryTable table) {
    tables_.emplace_back(name, std::move(table));
  }

  Result<std::vector<TableEntry>> Tables() override {
    std::vector<TableEntry> out;
    for (const auto& [name, table] : tables_) out.push_back({name, "TABLE"});
    return out;
  }

  Result<std::unique_ptr<RowSource>> Query(std::string_view sql) override {
    queries.emplace_back(sql);
    PX_ASSIGN_OR_RETURN(SelectStatement st, ParseSelect(sql));
    for (const auto& [name, table] : tables_) {
      if (EqualsIgnoreCase(name, st.table)) {
        return SelectRows(std::make_unique<VectorRowSource>(table.fields, table.rows), st);
      }
    }
    return Status::NotFound("table " + st.table + " not found");
  }

  std::vector<std::string> queries;  // every statement received, in order

 private:
  std::vector<std::pair<std::string, MemoryTable>> tables_;
};

inline FieldInfo TextField(const std::string& name) {
  FieldInfo f;
  f.name = name;
  f.ado_type = ado::kVarWChar;
  return f;
}

inline FieldInfo LongField(const std::string& name) {
  FieldInfo f;
  f.name = name;
  f.ado_type = ado::kInteger;
  return f;
}

}  // namespace px::db
