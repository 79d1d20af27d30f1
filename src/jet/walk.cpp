#include "jet/walk.h"

#include "jet/index_reader.h"

namespace px::jet {

Status WalkDatabase(Database& db, WalkCounts& counts) {
  for (const CatalogEntry& e : db.tables()) {
    if (!e.has_tdef()) continue;
    ++counts.tables;
    PX_ASSIGN_OR_RETURN(auto reader, db.OpenTable(e.name));
    Row row;
    while (reader->Next(row)) ++counts.rows;
    PX_RETURN_IF_ERROR(reader->status());
    const TableDef& def = reader->definition();
    for (size_t i = 0; i < def.real_indexes.size(); ++i) {
      PX_ASSIGN_OR_RETURN(uint64_t n,
                          CountIndexEntries(db.pager(), db.format(), def.page, def.real_indexes[i],
                                            "index " + std::to_string(i) + " of " + e.name));
      counts.index_entries += n;
    }
  }
  return Status::Ok();
}

}  // namespace px::jet
