#pragma once
// An Access (.mdb) database opened for reading: header, catalog, table definitions,
// schemas and row streams. Not thread-safe; one Database per thread.

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/result.h"
#include "jet/catalog.h"
#include "jet/header.h"
#include "jet/page_source.h"
#include "jet/schema.h"
#include "jet/table_reader.h"
#include "jet/tabledef.h"

namespace px::jet {

class Database {
 public:
  // Opens a host file read-only. `display_name` (default: the path) names it in messages.
  static Result<std::unique_ptr<Database>> Open(const std::filesystem::path& path,
                                                std::string display_name = {});
  // Opens a domain path ("C:\...\sirket.mdb") through the drive map, or a host path.
  static Result<std::unique_ptr<Database>> OpenPath(std::string_view path);
  // Opens a database held in memory (tests, fuzzing).
  static Result<std::unique_ptr<Database>> OpenMemory(std::vector<uint8_t> bytes,
                                                      std::string display_name);
  // Reads through a pager the caller keeps (a writer's page store, whose overlay the
  // Database then sees). REQUIRES: `pager` outlives the Database.
  static Result<std::unique_ptr<Database>> OpenPager(Pager& pager);

  // Reads the catalog again: after MSysObjects has changed under the pager.
  Status ReloadCatalog();

  const DatabaseHeader& header() const { return header_; }
  const JetFormat& format() const { return *header_.format; }
  const std::string& file_name() const { return pager_->file_name(); }
  Pager& pager() { return *pager_; }
  // Code page that Jet 3 text is decoded with (the header's, 1252 when it names none).
  int text_code_page() const { return code_page_; }

  // Every object ADOX lists in Catalog.Tables, in ADOX's order (SortLikeAdox).
  const std::vector<CatalogEntry>& tables() const { return tables_; }
  // Names of the objects whose ADOX type is exactly "TABLE".
  std::vector<std::string> UserTableNames() const;
  // The local table (any ADOX table type with a definition) named `name`, compared as
  // Jet compares text; nullptr when there is none.
  const CatalogEntry* FindTable(std::string_view name) const;

  Result<TableDef> ReadDefinition(const CatalogEntry& table);
  Result<TableSchema> ReadSchema(const CatalogEntry& table);
  Result<TableSchema> ReadSchema(std::string_view table_name);
  // Streams the rows of a table, fields in schema order.
  Result<std::unique_ptr<TableReader>> OpenTable(std::string_view table_name);

 private:
  Database(DatabaseHeader header, std::unique_ptr<Pager> owned, Pager* pager);
  static Result<std::unique_ptr<Database>> FromSource(std::unique_ptr<PageSource> source);
  Status LoadCatalog();
  Result<const CatalogEntry*> Require(std::string_view table_name) const;
  Result<TableSchema> SchemaOf(const CatalogEntry& table, const TableDef& def);

  DatabaseHeader header_;
  std::unique_ptr<Pager> owned_pager_;
  Pager* pager_;
  int code_page_;
  std::vector<CatalogEntry> tables_;
};

}  // namespace px::jet
