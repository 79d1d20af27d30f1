#pragma once
// The pool behind db::DatabasePool: one open Database per file for as long as the run
// needs it. Paths are domain paths ("C:\Pergonix\Personel\Data\001\2024\personel.mdb")
// resolved through the drive map, or host paths; two spellings of one file meet, as
// Windows compares names without regard to case.

#include <functional>
#include <memory>
#include <string>

#include "db/database.h"

namespace px::db {

// Opens an existing file, or creates a new one, given its host path and the name that
// messages use (the path as the caller spelled it).
using DatabaseOpener = std::function<Result<std::unique_ptr<Database>>(
    const std::string& host_path, const std::string& display_name, bool create)>;

std::unique_ptr<DatabasePool> NewDatabasePool(DatabaseOpener opener);

}  // namespace px::db
