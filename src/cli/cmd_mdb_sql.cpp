// "mdb sql DOSYA STATEMENT": one statement of the suite's SQL on an Access file. A SELECT
// prints its rows as JSON Lines, as "mdb satirlar" does; "DELETE FROM", "INSERT INTO" and
// "UPDATE" change the file and print the number of rows affected.
#include <iostream>
#include <memory>
#include <string>

#include "cli/commands.h"
#include "cli/json.h"
#include "db/jet_connection.h"
#include "db/sql_lexer.h"
#include "db/write_sql.h"

namespace px::cli {
namespace {

struct SqlOptions {
  std::string path;
  std::string statement;
};

bool IsSelect(std::string_view sql) {
  db::TokenCursor in(sql);
  return in.Advance().ok() && in.IsKeyword("SELECT");
}

void RunSelect(const SqlOptions& o) {
  auto conn = db::OpenAccessConnection(o.path);
  if (!conn.ok()) Fail(conn.status());
  auto rows = (*conn)->Query(o.statement);
  if (!rows.ok()) Fail(rows.status());
  Status st = WriteRowsJsonLines(**rows, std::cout);
  if (!st.ok()) Fail(st);
}

void RunChange(const SqlOptions& o) {
  auto parsed = db::ParseWriteStatement(o.statement);
  if (!parsed.ok()) Fail(parsed.status());
  Fail(o.path + ": changing Access files needs the engine's write side, which this build lacks");
}

}  // namespace

void AddMdbSqlCommand(CLI::App& mdb) {
  auto o = std::make_shared<SqlOptions>();
  auto* sql = mdb.add_subcommand("sql", "Run one SQL statement on the database");
  sql->add_option("DOSYA", o->path, "Database file (Windows path or host path)")->required();
  sql->add_option("STATEMENT", o->statement,
                  "SELECT (rows as JSON Lines), DELETE FROM, INSERT INTO or UPDATE (rows "
                  "affected)")
      ->required();
  sql->callback([o] { IsSelect(o->statement) ? RunSelect(*o) : RunChange(*o); });
}

}  // namespace px::cli
