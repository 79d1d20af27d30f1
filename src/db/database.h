#pragma once
// A module database that the restore changes, whichever backend holds it: the statements
// the flows build as text ("DELETE FROM", "INSERT INTO ... Values (...)", the two UPDATEs),
// a row added by field names as a recordset's AddNew/Update does, the ADOX calls that make
// tables, columns and keys, the columns schema rowset, and transactions.
//
// Outside Begin()/Commit() every call is its own transaction. Between them every change
// reaches the database together at Commit() or not at all; an error, a full disk or a
// killed process leaves it as it was before Begin().

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/result.h"
#include "core/value.h"
#include "db/connection.h"
#include "db/write_sql.h"

namespace px::db {

// A column as ADOX's Columns.Append adds it. `ado_type` unset: ADOX's default column.
struct NewColumn {
  std::string name;
  std::optional<int> ado_type;     // 202, 5, 17, 2, 3, 4, 11, 6
  int defined_size = 0;            // characters, for 202
  int precision = 0;               // 2 for 6 (Currency), as the catalog sets it
  bool allow_zero_length = false;  // "Jet OLEDB:Allow Zero Length"
  bool autoincrement = false;      // "Autoincrement"
};

// One row of the columns schema rowset (OpenSchema 4) of a table.
struct SchemaColumn {
  std::string name;     // COLUMN_NAME
  int64_t ordinal = 0;  // ORDINAL_POSITION
};

// Where a database's new state waits between the two halves of a shared commit: a complete,
// flushed file beside the database, renamed over it to finish. Host paths.
struct PreparedCommit {
  std::string prepared;
  std::string target;
  bool operator==(const PreparedCommit&) const = default;
};

// Rows of one INSERT shape, made ready by a backend that adds rows itself
// (Database::PrepareInsert): MakeRow() does everything the statement does before its row
// reaches the table, on any thread, while Insert() adds the rows made before.
class ReadyInsert {
 public:
  virtual ~ReadyInsert() = default;
  // The row `st` adds, every value converted and checked; `st` has the shape made ready.
  // Fails as Database::Insert(st) would before adding anything. Reads nothing Insert()
  // changes: safe on another thread while Insert() runs. `row`'s storage is reused.
  virtual Status MakeRow(const InsertStatement& st, Row& row) const = 0;
  // Adds a row MakeRow() made of `st`, failing as Database::Insert(st) would. `row` keeps
  // its size; its values are left unspecified (their storage is reused).
  virtual Status Insert(Row& row, const InsertStatement& st) = 0;
};

// The same for a recordset's inserts by field name (Database::PrepareAddRow): MakeRow()
// takes the values of the fields made ready.
class ReadyAddRow {
 public:
  virtual ~ReadyAddRow() = default;
  virtual Status MakeRow(const Row& values, Row& row) const = 0;
  virtual Status Insert(Row& row) = 0;
};

class Database : public Connection {
 public:
  // "DELETE FROM t", "INSERT INTO t (...) Values (...)", "UPDATE t SET ... WHERE ...":
  // the number of rows affected. Anything else is refused with an error quoting it.
  virtual Result<int64_t> Execute(std::string_view sql) = 0;
  // The same INSERT given as its parts (db/write_sql.h): what Execute(InsertText(st)) does.
  // A backend that runs the parts itself skips making and parsing the text of every row.
  virtual Result<int64_t> Insert(const InsertStatement& st) { return Execute(InsertText(st)); }
  // The INSERT of `shape`'s table and columns (its values are not read) made ready for row
  // after row. Null when this backend runs each statement itself, or when it would refuse
  // the shape: each statement then tells why.
  virtual std::unique_ptr<ReadyInsert> PrepareInsert(const InsertStatement& shape) {
    (void)shape;
    return nullptr;
  }

  // A recordset's AddNew, one assignment per field by name, Update. Fields the table
  // lacks are an error naming the table and the field.
  virtual Status AddRow(std::string_view table, const std::vector<FieldInfo>& fields,
                        const Row& values) = 0;
  // AddRow() of `fields` made ready; null as for PrepareInsert().
  virtual std::unique_ptr<ReadyAddRow> PrepareAddRow(std::string_view table,
                                                     const std::vector<FieldInfo>& fields) {
    (void)table;
    (void)fields;
    return nullptr;
  }

  // ADOX: Tables.Append of a table without columns; Columns.Append; Keys.Append of a key of
  // type primary on one column. A second "PrimaryKey" on a table fails naming the table.
  virtual Status CreateTable(std::string_view table) = 0;
  virtual Status AppendColumn(std::string_view table, const NewColumn& column) = 0;
  virtual Status AppendPrimaryKey(std::string_view table, std::string_view key_name,
                                  std::string_view column) = 0;

  // The columns schema rowset for one table, sorted by ORDINAL_POSITION; empty when the
  // table does not exist.
  virtual Result<std::vector<SchemaColumn>> SchemaColumns(std::string_view table) = 0;
  // Table.Keys.Count as ADOX counts keys (primary, unique, foreign).
  virtual Result<int> KeyCount(std::string_view table) = 0;
  // Whether the table has an AutoNumber (identity) column.
  virtual Result<bool> HasAutoNumber(std::string_view table) = 0;

  virtual Status Begin() = 0;
  virtual Status Commit() = 0;
  virtual Status Rollback() = 0;

  // Commit() in two halves, for databases that commit together (db/group_commit.h).
  // CommitFiles(): where PrepareCommit() leaves the new state; none for a backend that keeps
  // no files, which then commits in FinishCommit() (these defaults).
  // PrepareCommit(): the new state complete and flushed at CommitFiles().prepared, the
  // database untouched; false when the transaction changed nothing. A failure leaves the
  // transaction for Rollback(). Afterwards only FinishCommit() (the rename) or Rollback()
  // (which removes the prepared file); a failed FinishCommit() leaves the prepared file.
  virtual std::optional<PreparedCommit> CommitFiles() const { return std::nullopt; }
  virtual Result<bool> PrepareCommit() { return false; }
  virtual Status FinishCommit() { return Commit(); }
};

// One open database per file: every step that names the same file gets the same open
// database (and so shares its lock and transaction) until Close().
class DatabasePool {
 public:
  virtual ~DatabasePool() = default;
  // Opens an existing Access file (domain or host path) for change; holds its lock.
  virtual Result<Database*> Open(std::string_view path) = 0;
  // A new empty Access database (ADOX Catalog.Create). Within a transaction begun on the
  // returned database the file appears only at Commit().
  virtual Result<Database*> Create(std::string_view path) = 0;
  virtual void Close(std::string_view path) = 0;
  virtual void CloseAll() = 0;
  // Commits the open transactions of `databases` (opened through this pool) together: all
  // of them or, after an error, none (db/group_commit.h tells how a killed program's
  // commit is finished). Afterwards the caller closes them without rolling them back.
  virtual Status CommitTogether(std::span<Database* const> databases) = 0;
};

}  // namespace px::db
