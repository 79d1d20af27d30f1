#pragma once
// A full read of a database: every table definition, property blob and row of every table
// in the catalog, and the leaf level of every index. Used to check a file end to end (damage tests,
// fuzzing, verification).

#include <cstdint>

#include "core/status.h"
#include "jet/database.h"

namespace px::jet {

struct WalkCounts {
  uint64_t tables = 0;
  uint64_t rows = 0;
  uint64_t index_entries = 0;
};

// Stops at the first error and returns it; `counts` holds what was read until then.
Status WalkDatabase(Database& db, WalkCounts& counts);

}  // namespace px::jet
