#include "jet/walk.h"

namespace px::jet {

Status WalkDatabase(Database& db, WalkCounts& counts) {
  for (const CatalogEntry& e : db.tables()) {
    if (!e.has_tdef()) continue;
    ++counts.tables;
    PX_ASSIGN_OR_RETURN(auto reader, db.OpenTable(e.name));
    Row row;
    while (reader->Next(row)) ++counts.rows;
    PX_RETURN_IF_ERROR(reader->status());
  }
  return Status::Ok();
}

}  // namespace px::jet
