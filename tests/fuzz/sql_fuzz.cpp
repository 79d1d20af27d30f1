// Fuzzes the SQL parsers and the change statements: any text must end in a result or a
// clean error; a refusal quotes the statement; a statement that parses runs against tables
// in memory holding every column type, and a failed one leaves them as they were.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "db/memory_database.h"
#include "db/select_sql.h"
#include "db/write_sql.h"

namespace {

px::FieldInfo Col(const char* name, int type, int64_t size = 0) {
  px::FieldInfo f;
  f.name = name;
  f.ado_type = type;
  f.size = size;
  f.precision = 10;
  f.scale = 2;
  f.allow_zero_length = true;
  return f;
}

void CheckRefusal(const px::Status& st, const std::string& sql) {
  if (st.ok()) return;
  if (st.IsNotSupported() && st.message().find("SQL \"" + sql + "\"") == std::string::npos) {
    std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > 4096) return 0;
  const std::string sql(reinterpret_cast<const char*>(data), size);

  auto select = px::db::ParseSelect(sql);
  if (!select.ok()) CheckRefusal(select.status(), sql);

  auto parsed = px::db::ParseWriteStatement(sql);
  if (!parsed.ok()) {
    CheckRefusal(parsed.status(), sql);
    return 0;
  }

  px::db::MemoryDatabase db;
  px::FieldInfo id = Col("Id", px::ado::kInteger);
  id.autonumber = true;
  px::FieldInfo required = Col("r", px::ado::kVarWChar, 5);
  required.required = true;
  db.AddTable("t",
              {id, Col("a", px::ado::kVarWChar, 10), Col("k", px::ado::kLongVarWChar),
               Col("n", px::ado::kSmallInt), Col("y", px::ado::kUnsignedTinyInt),
               Col("c", px::ado::kCurrency), Col("b", px::ado::kBoolean), Col("d", px::ado::kDate),
               Col("x", px::ado::kDouble), Col("s", px::ado::kSingle), Col("g", px::ado::kGUID),
               Col("m", px::ado::kNumeric), Col("o", px::ado::kLongVarBinary)},
              {{int64_t{1}, std::string("001002"), std::string("PR001"), int64_t{5}, int64_t{7},
                px::Currency{12345}, true, px::OleDate{45351.5}, 0.25, 1.5f, px::Null{},
                px::Null{}, px::Binary{{1, 2}}},
               {int64_t{2}, px::Null{}, std::string("ğüşİı"), px::Null{}, px::Null{}, px::Null{},
                false, px::Null{}, px::Null{}, px::Null{}, px::Null{}, px::Null{}, px::Null{}}});
  db.AddTable("u", {required, Col("k", px::ado::kVarWChar, 3)});

  const std::vector<px::Row> before = db.RowsOf("t");
  auto n = db.Execute(sql);
  if (!n.ok()) {
    CheckRefusal(n.status(), sql);
    if (db.RowsOf("t") != before) std::abort();
    return 0;
  }
  if (*n < 0) std::abort();
  if (std::holds_alternative<px::db::InsertStatement>(*parsed) && *n != 1) std::abort();
  return 0;
}
