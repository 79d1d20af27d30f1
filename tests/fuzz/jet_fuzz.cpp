// Opens arbitrary bytes as an Access database held in memory and walks the catalog, every
// table definition with its properties and keys, and every row of every table.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "jet/walk.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  auto db = px::jet::Database::OpenMemory(std::vector<uint8_t>(data, data + size), "fuzz.mdb");
  if (!db.ok()) return 0;
  for (const px::jet::CatalogEntry& e : (*db)->tables()) {
    if (e.has_tdef()) (void)(*db)->ReadSchema(e);
  }
  px::jet::WalkCounts counts;
  (void)px::jet::WalkDatabase(**db, counts);
  return 0;
}
