#pragma once
// An Access database opened for change: new Jet 4 databases, tables, columns and keys with
// ADOX's semantics, rows inserted, deleted and updated with every index kept exact, and
// transactions that a crash cannot tear. The read side (Database) sees every change made
// so far in the open transaction.
//
// Pages changed in a transaction are kept apart from the file (in memory up to a bound,
// then in a temporary file beside it) and reach the file only at Commit(): the new file is
// written beside the original, flushed, and renamed over it, so a failure or a killed
// process at any point leaves the original byte-identical. Outside Begin()/Commit() each
// call is its own transaction.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/result.h"
#include "core/value.h"
#include "jet/database.h"
#include "jet/page_store.h"

namespace px::platform {
class FileLayer;
}

namespace px::jet {

// A column as ADOX appends it. `ado_type` unset: ADOX's default column (202, size 0).
struct ColumnSpec {
  std::string name;
  std::optional<int> ado_type;  // 202 text, 203 memo, 5, 17, 2, 3, 4, 11, 6, 7, 72, 131, 128, 205
  int defined_size = 0;         // characters for text, bytes for binary
  int precision = 0;
  int scale = 0;
  bool allow_zero_length = false;
  bool autoincrement = false;
  bool required = false;
};

// An index as `mdb kopyala` recreates it (ADOX keys map to these too).
struct IndexSpec {
  std::string name;
  std::vector<std::pair<std::string, bool>> columns;  // column name, ascending
  bool primary = false;
  bool unique = false;
  bool ignore_nulls = false;
  bool required = false;
};

// One end of a relationship: the foreign key's index points at index number `other_index`
// (logical) of `other_table`, the other end.
struct ForeignKeySpec {
  std::string other_table;
  uint32_t other_index = 0;
  uint8_t table_type = 0;  // as Jet stores it: which end of the relationship this is
  uint8_t cascade_update = 0;
  uint8_t cascade_delete = 0;
};

class Writer {
 public:
  // Opens an existing file for change: refuses a file with a live ".ldb" beside it or one
  // whose lock cannot be taken; holds the lock until destroyed.
  // `pages`: how much of the transaction stays in memory (jet/page_store.h).
  static Result<std::unique_ptr<Writer>> Open(platform::FileLayer& files,
                                              const std::string& host_path,
                                              std::string display_name = {},
                                              PageStoreOptions pages = {});
  // A new, empty Jet 4 database (as ADOX Catalog.Create makes it). The file appears at the
  // first Commit() (or at once when no transaction is open).
  static Result<std::unique_ptr<Writer>> Create(platform::FileLayer& files,
                                                const std::string& host_path,
                                                std::string display_name = {});
  // A new database as Create() makes it, laid out but not written: the layout is part of
  // the next transaction (or of the next change made outside one), so the file appears only
  // when that commits. Rolled back, the writer is left with nothing to work on.
  static Result<std::unique_ptr<Writer>> CreateUnwritten(platform::FileLayer& files,
                                                         const std::string& host_path,
                                                         std::string display_name = {},
                                                         PageStoreOptions pages = {});
  virtual ~Writer() = default;

  // The database as it stands, open transaction included.
  virtual Database& db() = 0;

  virtual Status Begin() = 0;
  virtual Status Commit() = 0;
  virtual Status Rollback() = 0;

  // Commit() in two halves, for databases that commit together (db/group_commit.h).
  // PrepareCommit() leaves the transaction's database complete and flushed in
  // PreparedFileBeside(host_path()), the file untouched; false when the transaction changed
  // nothing. A failure leaves the transaction open (Rollback() drops it), except a unique
  // key held twice, which rolls it back as Commit() does. After it only FinishCommit(),
  // which renames the prepared file over the database, or Rollback(), which removes it.
  // A writer without a file of its own (a test's) keeps these defaults: nothing to prepare,
  // Commit() at the finish, no path.
  virtual Result<bool> PrepareCommit() { return false; }
  virtual Status FinishCommit() { return Commit(); }
  virtual const std::string& host_path() const;

  virtual Status CreateTable(std::string_view table) = 0;
  virtual Status AddColumn(std::string_view table, const ColumnSpec& column) = 0;
  // ADOX Keys.Append(name, adKeyPrimary, column): fails naming the table when the table
  // has a primary key already or when the rows violate it.
  virtual Status AddPrimaryKey(std::string_view table, std::string_view key_name,
                               std::string_view column) = 0;
  virtual Status AddIndex(std::string_view table, const IndexSpec& index) = 0;
  // One end of a relationship, as `mdb kopyala` copies it: a foreign key's index, on the
  // real index of the same columns and uniqueness when the table has one (Access shares
  // them). Referential integrity is not enforced.
  virtual Status AddForeignKeyIndex(std::string_view table, const IndexSpec& index,
                                    const ForeignKeySpec& foreign_key) {
    (void)index;
    (void)foreign_key;
    return Status::NotSupported("table " + std::string(table) +
                                ": relationships cannot be written here");
  }

  // The table's AutoNumber counter: the step between numbers (not 0; a format without the
  // field takes only 1) and the last number issued, as `mdb kopyala` carries them over.
  virtual Status SetAutoNumber(std::string_view table, int32_t increment, uint32_t last) {
    (void)increment;
    (void)last;
    return Status::NotSupported("table " + std::string(table) +
                                ": the AutoNumber counter cannot be set here");
  }

  // One row; `values` in field order (as TableSchema::fields lists them), Null for
  // columns left out. A given AutoNumber value is stored as given and the counter moves
  // past it; a Null AutoNumber takes the next counter value. Index entries are merged into
  // the indexes when the change is committed: a unique value held twice is refused then,
  // naming the table, the index and the value; in a transaction Commit() fails with it and
  // rolls the transaction back, leaving the file as it was.
  virtual Status InsertRow(std::string_view table, std::span<const Value> values) = 0;
  // InsertRow() taking the values: `values` keeps its size, its values are left unspecified
  // (exchanged for storage the writer held, which later rows reuse).
  virtual Status InsertRowFrom(std::string_view table, std::vector<Value>& values) {
    return InsertRow(table, values);
  }
  // "DELETE FROM t": every row, and the table's long values; the number of rows deleted.
  virtual Result<uint64_t> DeleteAll(std::string_view table) = 0;
  // Rewrites every row for which `change` returns true after changing `row` in place
  // (field order); the number of rows changed.
  virtual Result<uint64_t> UpdateRows(std::string_view table,
                                      const std::function<Result<bool>(Row& row)>& change) = 0;
};

}  // namespace px::jet
