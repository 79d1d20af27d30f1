#include "jet/database.h"

#include "jet/text.h"
#include "platform/codepage.h"
#include "platform/host_path.h"
#include "platform/utf8_path.h"

namespace px::jet {

namespace {

constexpr int kDefaultCodePage = 1252;
constexpr int32_t kRootParentId = 0x0F000000;
constexpr std::string_view kTablesContainer = "Tables";

// Columns of MSysObjects the catalog reads, in this order.
constexpr std::string_view kCatalogColumns[] = {"Id",   "ParentId", "Name",
                                                "Type", "Flags",    "LvProp"};

int64_t AsInt(const Value& v) {
  return std::holds_alternative<int64_t>(v) ? std::get<int64_t>(v) : 0;
}

}  // namespace

Database::Database(DatabaseHeader header, std::unique_ptr<Pager> owned, Pager* pager)
    : header_(header), owned_pager_(std::move(owned)), pager_(pager) {
  code_page_ = IsSupportedCodePage(header_.code_page) ? header_.code_page : kDefaultCodePage;
}

Result<std::unique_ptr<Database>> Database::Open(const std::filesystem::path& path,
                                                 std::string display_name) {
  if (display_name.empty()) display_name = Utf8FromPath(path);
  PX_ASSIGN_OR_RETURN(auto source, OpenFileSource(path, std::move(display_name)));
  return FromSource(std::move(source));
}

Result<std::unique_ptr<Database>> Database::OpenPath(std::string_view path) {
  PX_ASSIGN_OR_RETURN(std::filesystem::path host, ToHostPath(path));
  return Open(host, std::string(path));
}

Result<std::unique_ptr<Database>> Database::OpenMemory(std::vector<uint8_t> bytes,
                                                       std::string display_name) {
  return FromSource(MemorySource(std::move(bytes), std::move(display_name)));
}

Result<std::unique_ptr<Database>> Database::FromSource(std::unique_ptr<PageSource> source) {
  std::vector<uint8_t> first(std::min<uint64_t>(source->size(), kHeaderMinimumBytes));
  PX_RETURN_IF_ERROR(source->Read(0, first));
  PX_ASSIGN_OR_RETURN(DatabaseHeader header, DecodeHeader(first, source->name()));
  if (source->size() < uint64_t(header.format->page_size) * (kMSysObjectsPage + 1)) {
    return Status::Corruption(source->name() + ": page " + std::to_string(kMSysObjectsPage) +
                              " (MSysObjects) is beyond the end of the file (" +
                              std::to_string(source->size()) + " bytes); too short for a " +
                              VersionName(header.format->version) + " database");
  }
  auto pager = std::make_unique<Pager>(std::move(source), header.format->page_size, header.db_key);
  Pager* borrowed = pager.get();
  std::unique_ptr<Database> db(new Database(header, std::move(pager), borrowed));
  PX_RETURN_IF_ERROR(db->LoadCatalog());
  return db;
}

Result<std::unique_ptr<Database>> Database::OpenPager(Pager& pager) {
  PX_ASSIGN_OR_RETURN(Page first, pager.Get(0));
  PX_ASSIGN_OR_RETURN(DatabaseHeader header, DecodeHeader(first.bytes(), pager.file_name()));
  if (pager.page_count() <= kMSysObjectsPage) {
    return Status::Corruption(pager.file_name() + ": page " + std::to_string(kMSysObjectsPage) +
                              " (MSysObjects) is beyond the end of the file");
  }
  std::unique_ptr<Database> db(new Database(header, nullptr, &pager));
  PX_RETURN_IF_ERROR(db->LoadCatalog());
  return db;
}

Status Database::ReloadCatalog() {
  tables_.clear();
  return LoadCatalog();
}

Status Database::LoadCatalog() {
  const std::string what = "MSysObjects";
  auto def = ReadTableDef(*pager_, format(), kMSysObjectsPage, code_page_, what);
  if (!def.ok() && format().version == JetVersion::kJet3) {
    return def.status().WithContext(
        "not a readable Jet 3 file (Jet 2 / Access 2.0 files are "
        "not supported)");
  }
  if (!def.ok()) return def.status();
  std::vector<int> cols;
  for (std::string_view name : kCatalogColumns) {
    int found = -1;
    for (size_t i = 0; i < def->columns.size(); ++i) {
      if (def->columns[i].name == name) found = int(i);
    }
    if (found < 0) {
      return Status::Corruption(file_name() + ": page " + std::to_string(kMSysObjectsPage) +
                                ": MSysObjects has no column " + std::string(name));
    }
    cols.push_back(found);
  }
  // Jet's name index orders names by the Name column's sort order.
  std::optional<TextOrder> name_order;
  if (auto o = TextOrderOf(format(), def->columns[size_t(cols[2])]); o.ok()) name_order = *o;
  PX_ASSIGN_OR_RETURN(auto reader, TableReader::Open(*pager_, format(), code_page_, std::move(*def),
                                                     what, cols, {}));
  std::vector<CatalogEntry> all;
  int32_t tables_id = kTablesContainerId;
  Row row;
  while (reader->Next(row)) {
    CatalogEntry e;
    e.id = int32_t(AsInt(row[0]));
    e.parent_id = int32_t(AsInt(row[1]));
    if (auto* s = std::get_if<std::string>(&row[2])) e.name = *s;
    e.type = int(AsInt(row[3]));
    e.flags = uint32_t(AsInt(row[4]));
    if (auto* b = std::get_if<Binary>(&row[5])) e.lv_prop = std::move(b->bytes);
    e.place = reader->last_row_place();
    e.location = reader->last_row_pointer();
    if (e.type == objtype::kContainer && e.parent_id == kRootParentId &&
        e.name == kTablesContainer) {
      tables_id = e.id;
    }
    all.push_back(std::move(e));
  }
  PX_RETURN_IF_ERROR(reader->status());
  for (CatalogEntry& e : all) {
    if (e.parent_id != tables_id) continue;
    e.adox_type = AdoxTableType(e.type, e.flags);
    if (!e.adox_type.empty()) tables_.push_back(std::move(e));
  }
  SortLikeAdox(tables_, name_order);
  return Status::Ok();
}

std::vector<std::string> Database::UserTableNames() const {
  std::vector<std::string> names;
  for (const CatalogEntry& e : tables_) {
    if (e.adox_type == kAdoxTable) names.push_back(e.name);
  }
  return names;
}

const CatalogEntry* Database::FindTable(std::string_view name) const {
  for (const CatalogEntry& e : tables_) {
    if (e.has_tdef() && JetTextEquals(e.name, name, header_.sort_order)) return &e;
  }
  return nullptr;
}

Result<const CatalogEntry*> Database::Require(std::string_view table_name) const {
  const CatalogEntry* e = FindTable(table_name);
  if (e == nullptr) {
    return Status::NotFound(file_name() + ": no table named " + std::string(table_name));
  }
  return e;
}

Result<TableDef> Database::ReadDefinition(const CatalogEntry& table) {
  return ReadTableDef(*pager_, format(), table.tdef_page(), code_page_, table.name);
}

Result<TableSchema> Database::ReadSchema(const CatalogEntry& table) {
  PX_ASSIGN_OR_RETURN(TableDef def, ReadDefinition(table));
  return SchemaOf(table, def);
}

Result<TableSchema> Database::SchemaOf(const CatalogEntry& table, const TableDef& def) {
  auto props = ParseColumnProperties(table.lv_prop, format(), code_page_);
  if (!props.ok()) {
    return props.status().WithContext(file_name() + ": MSysObjects row of " + table.name + " (" +
                                      table.place + ")");
  }
  return BuildSchema(table.name, def, format(), *props, header_.sort_order);
}

Result<TableSchema> Database::ReadSchema(std::string_view table_name) {
  PX_ASSIGN_OR_RETURN(const CatalogEntry* e, Require(table_name));
  return ReadSchema(*e);
}

Result<std::unique_ptr<TableReader>> Database::OpenTable(std::string_view table_name) {
  PX_ASSIGN_OR_RETURN(const CatalogEntry* e, Require(table_name));
  PX_ASSIGN_OR_RETURN(TableDef def, ReadDefinition(*e));
  PX_ASSIGN_OR_RETURN(TableSchema schema, SchemaOf(*e, def));
  return TableReader::Open(*pager_, format(), code_page_, std::move(def), e->name,
                           std::move(schema.columns), std::move(schema.fields));
}

}  // namespace px::jet
