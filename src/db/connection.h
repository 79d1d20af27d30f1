#pragma once
// A database as the backup and restore flows see it, whichever backend holds it: the
// tables an ADOX catalog would list, and the rows of the suite's SELECT statements.

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/result.h"
#include "core/value.h"

namespace px::db {

struct TableEntry {
  std::string name;
  std::string type;   // as ADOX types it: "TABLE", "SYSTEM TABLE", "VIEW", "LINK", ...
  int64_t rows = -1;  // rows the table definition counts; -1 when the backend does not say
};

class Connection {
 public:
  virtual ~Connection() = default;

  // Tables in catalog order.
  virtual Result<std::vector<TableEntry>> Tables() = 0;

  // Runs a SELECT statement and streams its rows.
  virtual Result<std::unique_ptr<RowSource>> Query(std::string_view sql) = 0;
};

// Rows held in memory: test doubles and small results.
class VectorRowSource : public RowSource {
 public:
  VectorRowSource(std::vector<FieldInfo> fields, std::vector<Row> rows)
      : fields_(std::move(fields)), rows_(std::move(rows)) {}
  const std::vector<FieldInfo>& fields() const override { return fields_; }
  Status status() const override { return Status::Ok(); }
  bool Next(Row& row) override {
    if (next_ >= rows_.size()) return false;
    row = std::move(rows_[next_++]);
    return true;
  }

 private:
  std::vector<FieldInfo> fields_;
  std::vector<Row> rows_;
  size_t next_ = 0;
};

}  // namespace px::db
