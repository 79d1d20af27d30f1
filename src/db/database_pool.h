#pragma once
// The pool behind db::DatabasePool: one open Database per file for as long as the run
// needs it. Paths are domain paths ("C:\Pergonix\Personel\Data\001\2024\personel.mdb")
// resolved through the drive map, or host paths; two spellings of one file meet, as
// Windows compares names without regard to case.

#include <functional>
#include <memory>
#include <string>

#include "db/database.h"

namespace px::platform {
class FileLayer;
}

namespace px::db {

// Opens an existing file, or creates a new one, given its host path and the name that
// messages use (the path as the caller spelled it).
using DatabaseOpener = std::function<Result<std::unique_ptr<Database>>(
    const std::string& host_path, const std::string& display_name, bool create)>;

// Where the pool's databases keep the record of a commit they share (db/group_commit.h):
// `record` a domain or host path; empty: databases that keep files commit only alone.
struct CommitRecordPlace {
  platform::FileLayer* files = nullptr;
  std::string record;
};

// With a record place, a record a killed run left is dealt with before the first database
// opens (and before any other while one is there): an error in doing so fails the open.
std::unique_ptr<DatabasePool> NewDatabasePool(DatabaseOpener opener, CommitRecordPlace place = {});

}  // namespace px::db
