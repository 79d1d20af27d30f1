#pragma once
// The catalog: the rows of MSysObjects (table definition on page 2) that ADOX lists in
// Catalog.Tables, in ADOX's order (SortLikeAdox).
//
// MSysObjects columns used: Id (a table's TDEF page in the low 24 bits), ParentId (the
// "Tables" container), Name, Type (1 table, 4 ODBC link, 5 query, 6 Access link), Flags
// (0x80000000 Jet system object, 0x2 Access system object, query kind in 0xF0), LvProp.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/result.h"
#include "jet/format.h"
#include "jet/index_key.h"

namespace px::jet {

inline constexpr uint32_t kMSysObjectsPage = 2;
inline constexpr int32_t kTablesContainerId = 0x0F000001;

namespace objtype {
inline constexpr int kTable = 1;
inline constexpr int kContainer = 3;
inline constexpr int kOdbcLink = 4;
inline constexpr int kQuery = 5;
inline constexpr int kAccessLink = 6;
}  // namespace objtype

inline constexpr uint32_t kObjectFlagJetSystem = 0x80000000u;
inline constexpr uint32_t kObjectFlagAccessSystem = 0x00000002u;
inline constexpr uint32_t kQueryKindMask = 0xF0;

// ADOX Table.Type strings.
inline constexpr std::string_view kAdoxTable = "TABLE";
inline constexpr std::string_view kAdoxSystemTable = "SYSTEM TABLE";
inline constexpr std::string_view kAdoxAccessTable = "ACCESS TABLE";
inline constexpr std::string_view kAdoxLink = "LINK";
inline constexpr std::string_view kAdoxPassThrough = "PASS-THROUGH";
inline constexpr std::string_view kAdoxView = "VIEW";

struct CatalogEntry {
  int32_t id = 0;
  int32_t parent_id = 0;
  std::string name;
  int type = 0;
  uint32_t flags = 0;
  std::string adox_type;  // empty for objects ADOX does not list as tables
  std::vector<uint8_t> lv_prop;
  std::string place;    // where the object's MSysObjects row is stored ("page 14 row 3")
  RowPointer location;  // the same as a row pointer

  uint32_t tdef_page() const { return uint32_t(id) & 0x00FFFFFFu; }
  bool has_tdef() const { return type == objtype::kTable; }
};

// The ADOX type of an object row, or "" when ADOX lists it elsewhere (stored procedures:
// action and other non-select queries).
std::string AdoxTableType(int type, uint32_t flags);

// Puts objects in the order of ADOX's Catalog.Tables, the OLE DB TABLES rowset: by ADOX
// type text ("ACCESS TABLE", "LINK", ..., "TABLE", "VIEW"), then by name as MSysObjects'
// (ParentId, Name) index orders names: by the index key of the name in `name_order`, the
// sort order of MSysObjects' Name column. Names without a key there (no known order, a
// character outside the order's tables) follow the others of their type in stored order.
void SortLikeAdox(std::vector<CatalogEntry>& entries, std::optional<TextOrder> name_order);

}  // namespace px::jet
