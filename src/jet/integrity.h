#pragma once
// Integrity check of a whole database (`mdb kontrol`): what Access relies on without
// checking it again.
//
//   rows       every row of every table reachable through the table's owned-pages map
//              decodes; a user table's definition counts exactly the rows found
//   indexes    each index visits every row once (rows whose key is all NULL may be left out
//              of an ignore-nulls index), entries in key order, each key exactly what the
//              encoder makes of its row (index_verify.h)
//   AutoNumber the definition's last issued value is at least every stored value (at most,
//              when its increment is negative)
//   page map   no page that a table definition, a table's rows or long values (by their
//              maps and by the chains the rows name), an index or a usage map (its bitmap
//              pages included) occupies is marked free in the database's page map (page 1,
//              row 0)
//
// Every problem is a finding of one line naming the file and the table, index or page;
// damage never stops the check of the other tables. Memory: one row pointer (4 bytes) per
// row of the largest table and per entry of its largest index, plus the set of used pages.

#include <cstdint>
#include <string>
#include <vector>

#include "jet/database.h"

namespace px::jet {

struct IntegrityReport {
  uint64_t tables = 0;
  uint64_t rows = 0;
  uint64_t index_entries = 0;
  std::vector<std::string> findings;
  // Indexes whose keys could not be checked (a sort order or character without known
  // keys): one line each; not findings.
  std::vector<std::string> notes;
  bool ok() const { return findings.empty(); }
};

// At most `max_findings_per_index` findings are listed for one index (and as many for the
// rows of one table); the rest are counted in one closing line.
IntegrityReport CheckDatabase(Database& db, size_t max_findings_per_index = 20);

}  // namespace px::jet
