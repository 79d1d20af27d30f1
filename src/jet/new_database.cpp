#include "jet/new_database.h"
#include "platform/clock.h"

#include <chrono>
#include <cmath>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "jet/catalog.h"
#include "jet/catalog_rows.h"
#include "jet/header.h"
#include "jet/rc4.h"
#include "jet/tabledef_writer.h"
#include "jet/text.h"

namespace px::jet {

namespace {

constexpr char kFormatId[] = "Standard Jet DB";
constexpr uint16_t kCodePage = 1252;
constexpr uint16_t kEngineBuild = 0x261C;  // msjet40 4.0.9756, as in ADOX-made files
constexpr size_t kHeaderConst1 = 0x18;
constexpr size_t kHeaderConst2 = 0x1C;
constexpr size_t kHeaderSystemTdefs = 0x20;
constexpr size_t kHeaderPassword = 0x42;
constexpr size_t kPasswordBytes = 40;
constexpr size_t kHeaderBuild = 0x6A;
constexpr size_t kHeaderClearConst = 0x98;
constexpr uint32_t kClearConstValue = 0x654;
constexpr size_t kHeaderVersionText = 0x9C;
constexpr size_t kCommitTable = 0xE00;
constexpr size_t kCommitSlots = 256;

constexpr uint32_t kMSysAcesPage = 3, kMSysQueriesPage = 4, kMSysRelationshipsPage = 5;
constexpr uint32_t kMapsPage = 6;
constexpr uint32_t kObjectsDataPage = 14, kAcesDataPage = 15;
constexpr int32_t kRootContainer = 0x0F000000;
constexpr int32_t kDatabasesContainer = 0x0F000002;
constexpr int32_t kRelationshipsContainer = 0x0F000003;
constexpr int32_t kMSysDbId = 0x10000000;
constexpr uint8_t kSystemTable = 0x53;  // 'S'
constexpr uint8_t kFixedFlags = 0x13;
constexpr uint8_t kVarFlags = 0x12;
constexpr uint8_t kSidFlags = 0x32;
constexpr uint16_t kNameLength = 0x1FE;  // Text(255)

struct ColumnSpec {
  const char* name;
  uint8_t type;
  uint16_t number;
  uint16_t var_index;
  uint16_t fixed_offset;
  uint16_t length;
  uint8_t flags;
};

struct IndexSpec {
  std::vector<std::pair<uint16_t, bool>> columns;
  uint8_t map_row;
  uint32_t root;
  uint8_t flags;
};

struct LogicalSpec {
  const char* name;
  uint32_t number;
  uint32_t real;
  uint8_t type;
};

struct TableSpec {
  uint32_t page;
  uint16_t max_cols, var_cols;
  uint8_t owned_row, free_row;
  std::vector<ColumnSpec> columns;  // in the order Jet stores them: by name
  std::vector<IndexSpec> indexes;
  std::vector<LogicalSpec> logical;
  std::vector<std::tuple<uint16_t, uint8_t, uint8_t>> long_values;  // column, owned, free rows
};

const std::vector<TableSpec>& SystemTables() {
  static const std::vector<TableSpec> specs = {
      {kMSysObjectsPage,
       17,
       11,
       0,
       1,
       {{"Connect", coltype::kMemo, 9, 3, 0, 0, kVarFlags},
        {"Database", coltype::kMemo, 8, 2, 0, 0, kVarFlags},
        {"DateCreate", coltype::kDateTime, 4, 1, 10, 8, kFixedFlags},
        {"DateUpdate", coltype::kDateTime, 5, 1, 18, 8, kFixedFlags},
        {"Flags", coltype::kLong, 7, 2, 26, 4, kFixedFlags},
        {"ForeignName", coltype::kText, 10, 4, 0, kNameLength, kVarFlags},
        {"Id", coltype::kLong, 0, 0, 0, 4, kFixedFlags},
        {"Lv", coltype::kOle, 13, 7, 0, 0, kVarFlags},
        {"LvExtra", coltype::kOle, 16, 10, 0, 0, kVarFlags},
        {"LvModule", coltype::kOle, 15, 9, 0, 0, kVarFlags},
        {"LvProp", coltype::kOle, 14, 8, 0, 0, kVarFlags},
        {"Name", coltype::kText, 2, 0, 0, kNameLength, kVarFlags},
        {"Owner", coltype::kBinary, 6, 1, 0, kNameLength, kSidFlags},
        {"ParentId", coltype::kLong, 1, 0, 4, 4, kFixedFlags},
        {"RmtInfoLong", coltype::kOle, 12, 6, 0, 0, kVarFlags},
        {"RmtInfoShort", coltype::kBinary, 11, 5, 0, kNameLength, kVarFlags},
        {"Type", coltype::kInteger, 3, 1, 8, 2, kFixedFlags}},
       {{{{1, true}, {2, true}}, 16, 7, 0x81}, {{{0, true}}, 17, 8, 0x81}},
       {{"Id", 1, 1, kLogicalIndexPrimary}, {"ParentIdName", 0, 0, kLogicalIndexPlain}},
       {{9, 4, 5}, {8, 2, 3}, {13, 8, 9}, {16, 14, 15}, {15, 12, 13}, {14, 10, 11}, {12, 6, 7}}},
      {kMSysAcesPage,
       4,
       1,
       18,
       19,
       {{"ACM", coltype::kLong, 2, 1, 4, 4, kFixedFlags},
        {"FInheritable", coltype::kBoolean, 3, 1, 0, 1, kFixedFlags},
        {"ObjectId", coltype::kLong, 0, 0, 0, 4, kFixedFlags},
        {"SID", coltype::kBinary, 1, 0, 0, kNameLength, kSidFlags}},
       {{{{0, true}}, 20, 9, 0x88}},
       {{"ObjectId", 0, 0, kLogicalIndexPlain}},
       {}},
      {kMSysQueriesPage,
       8,
       4,
       21,
       22,
       {{"Attribute", coltype::kByte, 1, 0, 4, 1, kFixedFlags},
        {"Expression", coltype::kMemo, 5, 3, 0, 0, kVarFlags},
        {"Flag", coltype::kInteger, 6, 4, 5, 2, kFixedFlags},
        {"LvExtra", coltype::kLong, 7, 4, 7, 4, kFixedFlags},
        {"Name1", coltype::kText, 3, 1, 0, kNameLength, kVarFlags},
        {"Name2", coltype::kText, 4, 2, 0, kNameLength, kVarFlags},
        {"ObjectId", coltype::kLong, 0, 0, 0, 4, kFixedFlags},
        {"Order", coltype::kBinary, 2, 0, 0, kNameLength, kVarFlags}},
       {{{{0, true}, {1, true}, {2, true}}, 25, 10, 0x81}},
       {{"ObjectIdAttribute", 0, 0, kLogicalIndexPrimary}},
       {{5, 23, 24}}},
      {kMSysRelationshipsPage,
       8,
       5,
       26,
       27,
       {{"ccolumn", coltype::kLong, 2, 1, 4, 4, kFixedFlags},
        {"grbit", coltype::kLong, 1, 1, 0, 4, kFixedFlags},
        {"icolumn", coltype::kLong, 3, 1, 8, 4, kFixedFlags},
        {"szColumn", coltype::kText, 5, 2, 0, kNameLength, kVarFlags},
        {"szObject", coltype::kText, 4, 1, 0, kNameLength, kVarFlags},
        {"szReferencedColumn", coltype::kText, 7, 4, 0, kNameLength, kVarFlags},
        {"szReferencedObject", coltype::kText, 6, 3, 0, kNameLength, kVarFlags},
        {"szRelationship", coltype::kText, 0, 0, 0, kNameLength, kVarFlags}},
       {{{{0, true}}, 28, 11, 0x82}, {{{4, true}}, 29, 12, 0x82}, {{{6, true}}, 30, 13, 0x82}},
       {{"szObject", 1, 1, kLogicalIndexPlain},
        {"szReferencedObject", 2, 2, kLogicalIndexPlain},
        {"szRelationship", 0, 0, kLogicalIndexPlain}},
       {}},
  };
  return specs;
}

constexpr uint8_t kMapRows = 31;

TableDef BuildDef(const TableSpec& t) {
  TableDef def;
  def.page = t.page;
  def.pages = {t.page};
  def.table_type = kSystemTable;
  def.max_cols = t.max_cols;
  def.var_cols = t.var_cols;
  def.owned_map = {kMapsPage, t.owned_row};
  def.free_map = {kMapsPage, t.free_row};
  for (const ColumnSpec& s : t.columns) {
    ColumnDef c;
    c.name = s.name;
    c.type = s.type;
    c.number = s.number;
    c.var_index = s.var_index;
    c.fixed_offset = s.fixed_offset;
    c.length = s.length;
    c.flags = s.flags;
    c.sort_order = kLcidGeneral;
    c.raw.assign(kJet4Format.col_size, 0);
    StoreLe16(&c.raw[kJet4Format.col_sort_order], kLcidGeneral);
    def.columns.push_back(std::move(c));
  }
  for (const IndexSpec& s : t.indexes) {
    RealIndex r;
    for (auto [col, asc] : s.columns) r.columns.push_back({col, asc});
    r.used_map = {kMapsPage, s.map_row};
    r.root_page = s.root;
    r.flags = s.flags;
    def.real_indexes.push_back(std::move(r));
  }
  for (const LogicalSpec& s : t.logical) {
    LogicalIndex l;
    l.name = s.name;
    l.number = s.number;
    l.real_index = s.real;
    l.type = s.type;
    def.logical_indexes.push_back(std::move(l));
  }
  for (auto [col, owned, free] : t.long_values) {
    def.long_value_maps.push_back({col, {kMapsPage, owned}, {kMapsPage, free}});
  }
  return def;
}

Binary Sid(uint8_t a, uint8_t b) {
  return Binary{{a, b}};
}

// Default users and groups of the engine (two-byte SIDs).
const Binary kEngineSid = Sid(0x64, 0x8B);
const Binary kAdminsSid = Sid(0x65, 0x8B);
const Binary kCreatorSid = Sid(0x65, 0x89);
const Binary kUsersSid = Sid(0x65, 0x8E);

void EncodeHeaderPage(MutableBytes p, double now) {
  std::fill(p.begin(), p.end(), uint8_t{0});
  p[0] = page_type::kHeader;
  p[1] = 0x01;
  std::memcpy(&p[4], kFormatId, sizeof kFormatId);
  p[kHeaderVersionOffset] = 1;  // Jet 4
  const JetFormat& f = kJet4Format;
  StoreLe32(&p[kHeaderConst1], 0x100);
  StoreLe32(&p[kHeaderConst2], 0x101);
  for (uint32_t i = 0; i < 4; ++i) StoreLe32(&p[kHeaderSystemTdefs + 4 * i], 2 + i);
  StoreLe16(&p[f.header_code_page], kCodePage);
  StoreLe32(&p[f.header_db_key], 0);
  // An empty password is stored XORed with the creation day, repeated.
  const uint32_t day = uint32_t(int32_t(std::floor(now)));
  for (size_t i = 0; i < kPasswordBytes; i += 4) StoreLe32(&p[kHeaderPassword + i], day);
  StoreLe16(&p[kHeaderBuild], kEngineBuild);
  StoreLe16(&p[f.header_sort_order], kLcidGeneral);  // sort id 0, version 0
  StoreLe64(&p[kHeaderCreationDate], DoubleToBits(now));
  Rc4Xor(Bytes(kHeaderMaskKey, 4), MutableBytes(&p[kHeaderMaskOffset], f.header_mask_length));
  StoreLe32(&p[kHeaderClearConst], kClearConstValue);
  std::memcpy(&p[kHeaderVersionText], "4.0", 4);
  for (size_t i = 0; i < kCommitSlots; ++i) {
    p[kCommitTable + 2 * i] = i == 0 ? 0x01 : 0x00;
    p[kCommitTable + 2 * i + 1] = 0x01;
  }
}

struct CatalogRow {
  int32_t id;
  int32_t parent;
  const char* name;
  int16_t type;
  const Binary* owner;
};

struct AceRow {
  int32_t object;
  int32_t acm;
  const Binary* sid;
  bool inheritable;
};

}  // namespace

double OleNow() {
  const std::time_t t = std::time(nullptr);
  const std::tm local = platform::LocalParts(t);
  // Days from 1899-12-30 to the local date, plus the time of day.
  auto ymd = std::chrono::year_month_day{std::chrono::year{local.tm_year + 1900},
                                         std::chrono::month{unsigned(local.tm_mon + 1)},
                                         std::chrono::day{unsigned(local.tm_mday)}};
  const auto epoch = std::chrono::sys_days{std::chrono::year{1899} / 12 / 30};
  const double days = double((std::chrono::sys_days{ymd} - epoch).count());
  return days + (local.tm_hour * 3600 + local.tm_min * 60 + local.tm_sec) / 86400.0;
}

Status LayOutNewDatabase(PageStore& store, double now) {
  if (store.page_count() != 0 || store.format().version != JetVersion::kJet4) {
    return Status::InvalidArgument(store.name() + ": a new database needs an empty Jet 4 store");
  }
  {
    PX_ASSIGN_OR_RETURN(MutablePage header, store.Allocate(page_type::kHeader, 0));
    EncodeHeaderPage(header.bytes(), now);
  }
  {
    // Global map: pages 0 and 1 used, the rest of the window free; row 1 stays empty.
    PX_ASSIGN_OR_RETURN(MutablePage global, store.Allocate(page_type::kData, kGlobalMapPage));
    global = MutablePage();
    std::vector<uint8_t> map = EmptyInlineUsageMap(store.format());
    std::fill(map.begin() + 5, map.end(), uint8_t{0xFF});
    map[5] = 0xFC;
    PX_ASSIGN_OR_RETURN(auto row0, AddRowToPage(store, kGlobalMapPage, map));
    PX_ASSIGN_OR_RETURN(auto row1,
                        AddRowToPage(store, kGlobalMapPage, EmptyInlineUsageMap(store.format())));
    if (!row0 || !row1) return Status::Corruption(store.name() + ": page 1 is full");
  }
  for (uint32_t n = 2; n <= 5; ++n)
    PX_RETURN_IF_ERROR(store.Allocate(page_type::kTableDef, 0).status());
  PX_RETURN_IF_ERROR(store.Allocate(page_type::kData, 0).status());
  std::vector<TableDef> defs;
  for (const TableSpec& t : SystemTables()) {
    defs.push_back(BuildDef(t));
    for (const IndexSpec& s : t.indexes) {
      (void)s;
      PX_ASSIGN_OR_RETURN(MutablePage leaf, store.Allocate(page_type::kIndexLeaf, t.page));
      StoreLe16(&leaf.bytes()[2], uint16_t(store.page_size() - store.format().index_first_entry));
    }
  }
  for (uint8_t r = 0; r < kMapRows; ++r) {
    PX_ASSIGN_OR_RETURN(auto slot,
                        AddRowToPage(store, kMapsPage, EmptyInlineUsageMap(store.format())));
    if (!slot) return Status::Corruption(store.name() + ": page 6 is full");
  }
  for (const TableDef& def : defs) {
    for (const RealIndex& r : def.real_indexes) {
      PX_RETURN_IF_ERROR(SetUsageMapPage(store, r.used_map, r.root_page, true, "index"));
    }
  }
  TableDef& objects = defs[0];
  TableDef& aces = defs[1];
  PX_RETURN_IF_ERROR(store.Allocate(page_type::kData, kMSysObjectsPage).status());
  PX_RETURN_IF_ERROR(store.Allocate(page_type::kData, kMSysAcesPage).status());
  for (TableDef* def : {&objects, &aces}) {
    const uint32_t page = def == &objects ? kObjectsDataPage : kAcesDataPage;
    PX_RETURN_IF_ERROR(SetUsageMapPage(store, def->owned_map, page, true, "catalog"));
    PX_RETURN_IF_ERROR(SetUsageMapPage(store, def->free_map, page, true, "catalog"));
  }

  const CatalogRow catalog[] = {
      {kTablesContainerId, kRootContainer, "Tables", objtype::kContainer, &kCreatorSid},
      {kDatabasesContainer, kRootContainer, "Databases", objtype::kContainer, &kCreatorSid},
      {kRelationshipsContainer, kRootContainer, "Relationships", objtype::kContainer, &kCreatorSid},
      {kMSysDbId, kDatabasesContainer, "MSysDb", 2, &kEngineSid},
      {int32_t(kMSysObjectsPage), kTablesContainerId, "MSysObjects", objtype::kTable, &kCreatorSid},
      {int32_t(kMSysAcesPage), kTablesContainerId, "MSysACEs", objtype::kTable, &kCreatorSid},
      {int32_t(kMSysQueriesPage), kTablesContainerId, "MSysQueries", objtype::kTable, &kCreatorSid},
      {int32_t(kMSysRelationshipsPage), kTablesContainerId, "MSysRelationships", objtype::kTable,
       &kCreatorSid},
  };
  AppendState objects_state;
  objects_state.data_page = kObjectsDataPage;
  for (const CatalogRow& c : catalog) {
    std::vector<Value> v(objects.columns.size(), Value(Null{}));
    auto set = [&](std::string_view col, Value value) {
      for (size_t i = 0; i < objects.columns.size(); ++i) {
        if (objects.columns[i].name == col) v[i] = std::move(value);
      }
    };
    set("Id", int64_t(c.id));
    set("ParentId", int64_t(c.parent));
    set("Name", std::string(c.name));
    set("Type", int64_t(c.type));
    set("DateCreate", OleDate{now});
    set("DateUpdate", OleDate{now});
    set("Owner", *c.owner);
    set("Flags", int64_t(int32_t(kObjectFlagJetSystem)));
    PX_ASSIGN_OR_RETURN(auto row, EncodeValuesRow(store, objects, v, objects_state, "MSysObjects"));
    PX_ASSIGN_OR_RETURN(RowPointer at,
                        AppendRow(store, objects, row, objects_state, "MSysObjects"));
    for (const RealIndex& r : objects.real_indexes) {
      PX_ASSIGN_OR_RETURN(auto key, CatalogIndexKey(objects, r, v, "MSysObjects"));
      PX_RETURN_IF_ERROR(AddIndexEntry(store, kMSysObjectsPage, r, key, at, "MSysObjects"));
    }
  }
  const AceRow ace_rows[] = {
      {int32_t(kMSysObjectsPage), 393216, &kEngineSid, false},
      {int32_t(kMSysAcesPage), 393216, &kEngineSid, false},
      {int32_t(kMSysQueriesPage), 393216, &kEngineSid, false},
      {int32_t(kMSysRelationshipsPage), 917504, &kEngineSid, false},
      {kTablesContainerId, 983294, &kUsersSid, true},
      {kTablesContainerId, 393217, &kEngineSid, false},
      {kRelationshipsContainer, 983294, &kUsersSid, true},
      {kRelationshipsContainer, 393217, &kEngineSid, false},
      {kDatabasesContainer, 393216, &kEngineSid, false},
      {kMSysDbId, 393230, &kEngineSid, false},
      {kMSysDbId, 14, &kAdminsSid, false},
      {int32_t(kMSysQueriesPage), 20, &kAdminsSid, false},
      {int32_t(kMSysRelationshipsPage), 20, &kAdminsSid, false},
      {int32_t(kMSysObjectsPage), 20, &kAdminsSid, false},
      {kTablesContainerId, 1048319, &kAdminsSid, true},
      {kRelationshipsContainer, 1048575, &kAdminsSid, true},
  };
  AppendState aces_state;
  aces_state.data_page = kAcesDataPage;
  for (const AceRow& a : ace_rows) {
    // ACM, FInheritable, ObjectId, SID: the order of the definition.
    std::vector<Value> v = {int64_t(a.acm), a.inheritable, int64_t(a.object), *a.sid};
    PX_ASSIGN_OR_RETURN(auto row, EncodeValuesRow(store, aces, v, aces_state, "MSysACEs"));
    PX_ASSIGN_OR_RETURN(RowPointer at, AppendRow(store, aces, row, aces_state, "MSysACEs"));
    PX_ASSIGN_OR_RETURN(auto key, CatalogIndexKey(aces, aces.real_indexes[0], v, "MSysACEs"));
    PX_RETURN_IF_ERROR(
        AddIndexEntry(store, kMSysAcesPage, aces.real_indexes[0], key, at, "MSysACEs"));
  }
  // Distinct keys per index, as Jet counts them.
  objects.real_indexes[0].unique_entry_count = 8;
  objects.real_indexes[1].unique_entry_count = 8;
  aces.real_indexes[0].unique_entry_count = 8;
  for (TableDef& def : defs)
    PX_RETURN_IF_ERROR(StoreTableDef(store, def, 0));  // Jet 4 names need no code page
  return Status::Ok();
}

}  // namespace px::jet
