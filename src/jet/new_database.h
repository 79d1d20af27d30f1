#pragma once
// A new, empty Jet 4 database as Jet 4.0's ADOX Catalog.Create lays it out (16 pages):
//
//   0      header: masked region with code page 1252, General sort order (1033, version 0),
//          creation date, the empty-password pattern, the idle commit table
//   1      global usage map
//   2..5   definitions of MSysObjects, MSysACEs, MSysQueries, MSysRelationships
//   6      usage maps of the four tables, their long-value columns and indexes
//   7..13  index leaves: MSysObjects (ParentId, Name) and Id, MSysACEs ObjectId,
//          MSysQueries (ObjectId, Attribute, Order), MSysRelationships' three
//   14     MSysObjects rows: the Tables, Databases and Relationships containers, MSysDb
//          and the four system tables
//   15     MSysACEs rows: the permissions of the engine's default users and groups
//
// Everything is built from the structures here; no file is copied.

#include <cstdint>

#include "core/result.h"
#include "jet/page_store.h"

namespace px::jet {

// Lays the pages out in an empty store (Jet 4). `now` is the creation time as an OLE date.
Status LayOutNewDatabase(PageStore& store, double now);

// The current local time as an OLE date.
double OleNow();

}  // namespace px::jet
