#include "jet/writer.h"

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <type_traits>
#include <utility>

#include "jet/catalog_rows.h"
#include "jet/data_page.h"
#include "jet/index_key.h"
#include "jet/index_page.h"
#include "jet/index_verify.h"
#include "jet/index_writer.h"
#include "jet/new_database.h"
#include "jet/page_store.h"
#include "jet/properties.h"
#include "jet/row_codec.h"
#include "jet/row_writer.h"
#include "jet/table_writer.h"
#include "jet/tabledef_writer.h"
#include "jet/text.h"
#include "platform/files.h"

namespace px::jet {

namespace {

constexpr uint8_t kUserTable = 0x4E;  // 'N'
constexpr uint8_t kUserFixedFlags = 0x03;
constexpr uint8_t kUserVarFlags = 0x02;
constexpr int32_t kAdminsFullAcm = 0xFFEFF;  // ACM that new tables inherit from "Tables"
constexpr uint16_t kDefaultTextChars = 255;
constexpr uint16_t kMaxTextChars = 255;
constexpr uint16_t kMaxBinaryBytes = 255;
// Unique and required, as Access writes primary keys; Jet 4 marks every index it writes
// with 0x80 as well.
constexpr uint8_t kPrimaryKeyFlags = 0x09;
constexpr uint8_t kJet4IndexMark = 0x80;

// The Jet column for an ADO type, as the Jet 4.0 provider maps ADOX columns.
struct JetType {
  uint8_t type;
  uint16_t length;
  bool fixed;
};

// Text lengths are bytes: two per character in Jet 4, one in Jet 3's code page.
Result<JetType> MapAdoType(const ColumnSpec& c, const JetFormat& f, const std::string& what) {
  const int t = c.ado_type.value_or(ado::kVarWChar);
  switch (t) {
    case ado::kVarWChar: {
      const int chars = c.defined_size == 0 ? kDefaultTextChars : c.defined_size;
      if (chars < 1 || chars > kMaxTextChars) {
        return Status::InvalidArgument(what + ": text size " + std::to_string(c.defined_size) +
                                       " is not between 1 and 255");
      }
      return JetType{coltype::kText, uint16_t((f.text_is_unicode ? 2 : 1) * chars), false};
    }
    case ado::kLongVarWChar:
      return JetType{coltype::kMemo, 0, false};
    case ado::kLongVarBinary:
      return JetType{coltype::kOle, 0, false};
    case ado::kBinary:
    case ado::kVarBinary: {
      const int bytes = c.defined_size == 0 ? kMaxBinaryBytes : c.defined_size;
      if (bytes < 1 || bytes > kMaxBinaryBytes) {
        return Status::InvalidArgument(what + ": binary size " + std::to_string(c.defined_size) +
                                       " is not between 1 and 255");
      }
      return JetType{coltype::kBinary, uint16_t(bytes), false};
    }
    case ado::kDouble:
      return JetType{coltype::kDouble, 8, true};
    case ado::kUnsignedTinyInt:
      return JetType{coltype::kByte, 1, true};
    case ado::kSmallInt:
      return JetType{coltype::kInteger, 2, true};
    case ado::kInteger:
      return JetType{coltype::kLong, 4, true};
    case ado::kSingle:
      return JetType{coltype::kSingle, 4, true};
    case ado::kBoolean:
      return JetType{coltype::kBoolean, 1, true};
    case ado::kCurrency:
      return JetType{coltype::kCurrency, 8, true};
    case ado::kDate:
      return JetType{coltype::kDateTime, 8, true};
    case ado::kGUID:
      return JetType{coltype::kGuid, 16, true};
    case ado::kNumeric:
      return JetType{coltype::kNumeric, 17, true};
    default:
      return Status::NotSupported(what + ": ADO type " + std::to_string(t) +
                                  " has no Access column type");
  }
}

// MSysObjects columns the writer fills, by name.
std::vector<Value> CatalogValues(const TableDef& objects,
                                 std::initializer_list<std::pair<std::string_view, Value>> set) {
  std::vector<Value> v(objects.columns.size(), Value(Null{}));
  for (const auto& [name, value] : set) {
    for (size_t i = 0; i < objects.columns.size(); ++i) {
      if (objects.columns[i].name == name) v[i] = value;
    }
  }
  return v;
}

class WriterImpl final : public Writer {
 public:
  WriterImpl(std::unique_ptr<PageStore> store, std::unique_ptr<Database> db)
      : store_(std::move(store)), pages_(*store_), db_(std::move(db)) {}

  // Inserted rows' counters wait for the index flush; a reader of the definitions gets them
  // now. A failure to write them shows again at the next change or Commit().
  Database& db() override {
    (void)SaveCounters();
    return *db_;
  }

  Status Begin() override {
    if (in_transaction_) {
      return Status::InvalidArgument(store_->name() + ": a transaction is already open");
    }
    in_transaction_ = true;
    return Status::Ok();
  }
  Status Commit() override {
    PX_RETURN_IF_ERROR(CloseIndexes());
    PX_RETURN_IF_ERROR(store_->Commit());
    in_transaction_ = false;
    return Status::Ok();
  }
  Status Rollback() override {
    PX_RETURN_IF_ERROR(InTransaction());
    in_transaction_ = false;
    return Discard();
  }
  Result<bool> PrepareCommit() override {
    PX_RETURN_IF_ERROR(CloseIndexes());
    return store_->Prepare();
  }
  Status FinishCommit() override {
    PX_RETURN_IF_ERROR(InTransaction());
    in_transaction_ = false;
    Status st = store_->Finish();
    if (!st.ok()) (void)Discard();
    return st;
  }
  const std::string& host_path() const override { return store_->path(); }

  Status InTransaction() const {
    if (in_transaction_) return Status::Ok();
    return Status::InvalidArgument(store_->name() + ": no transaction is open");
  }
  // A unique key held twice shows when the indexes take their waiting entries; the
  // transaction cannot be saved then and is rolled back, leaving the file as it was.
  Status CloseIndexes() {
    PX_RETURN_IF_ERROR(InTransaction());
    Status flushed = FlushIndexes();
    if (!flushed.ok()) {
      in_transaction_ = false;
      (void)Discard();
    }
    return flushed;
  }

  Status CreateTable(std::string_view table) override {
    return Step([&] { return DoCreateTable(std::string(table)); });
  }
  Status AddColumn(std::string_view table, const ColumnSpec& column) override {
    return Step([&] { return DoAddColumn(std::string(table), column); });
  }
  Status AddPrimaryKey(std::string_view table, std::string_view key_name,
                       std::string_view column) override {
    IndexSpec key;
    key.name = std::string(key_name);
    key.columns = {{std::string(column), true}};
    key.primary = true;
    key.unique = true;
    key.required = true;
    return Step([&] { return DoAddIndex(std::string(table), key); });
  }
  Status AddIndex(std::string_view table, const IndexSpec& index) override {
    return Step([&] { return DoAddIndex(std::string(table), index); });
  }
  Status AddForeignKeyIndex(std::string_view table, const IndexSpec& index,
                            const ForeignKeySpec& foreign_key) override {
    return Step([&] { return DoAddIndex(std::string(table), index, &foreign_key); });
  }
  Status SetAutoNumber(std::string_view table, int32_t increment, uint32_t last) override {
    return Step([&]() -> Status {
      PX_ASSIGN_OR_RETURN(const CatalogEntry* e, Find(std::string(table)));
      if (increment == 0 || (store_->format().tdef_autonumber_increment == 0 && increment != 1)) {
        return Status::NotSupported(Where(e->name) + ": an AutoNumber increment of " +
                                    std::to_string(increment) + " cannot be kept");
      }
      writers_.erase(e->tdef_page());  // it holds the definition as it was
      PX_ASSIGN_OR_RETURN(TableDef def, Definition(e->tdef_page(), e->name));
      def.autonumber_increment = increment;
      def.autonumber_last = last;
      return StoreTableDef(*store_, def, db_->text_code_page());
    });
  }
  Status InsertRow(std::string_view table, std::span<const Value> values) override {
    return Step([&] { return DoInsert(table, values); }, false);
  }
  Status InsertRowFrom(std::string_view table, std::vector<Value>& values) override {
    return Step([&] { return DoInsert(table, std::span<Value>(values)); }, false);
  }
  Result<uint64_t> DeleteAll(std::string_view table) override {
    uint64_t deleted = 0;
    PX_RETURN_IF_ERROR(Step(
        [&]() -> Status {
          PX_ASSIGN_OR_RETURN(TableWriter * w, TableFor(std::string(table)));
          PX_ASSIGN_OR_RETURN(deleted, w->DeleteAll());
          return Status::Ok();
        },
        false));
    return deleted;
  }
  Result<uint64_t> UpdateRows(std::string_view table,
                              const std::function<Result<bool>(Row& row)>& change) override {
    uint64_t changed = 0;
    PX_RETURN_IF_ERROR(Step(
        [&]() -> Status {
          PX_ASSIGN_OR_RETURN(const CatalogEntry* e, Find(std::string(table)));
          PX_ASSIGN_OR_RETURN(TableSchema schema, db_->ReadSchema(*e));
          PX_ASSIGN_OR_RETURN(TableWriter * w, TableFor(e->name));
          Row fields(schema.columns.size());
          auto by_fields = [&](std::vector<Value>& by_column) -> Result<bool> {
            for (size_t i = 0; i < schema.columns.size(); ++i) {
              fields[i] = by_column[size_t(schema.columns[i])];
            }
            PX_ASSIGN_OR_RETURN(bool rewrite, change(fields));
            if (!rewrite) return false;
            for (size_t i = 0; i < schema.columns.size(); ++i) {
              by_column[size_t(schema.columns[i])] = std::move(fields[i]);
            }
            return true;
          };
          PX_ASSIGN_OR_RETURN(changed, w->Update(by_fields));
          return Status::Ok();
        },
        false));
    return changed;
  }

  // Lays out a new database and, when `write`, writes it.
  Status LayOut(bool write) {
    PX_RETURN_IF_ERROR(LayOutNewDatabase(*store_, OleNow()));
    PX_ASSIGN_OR_RETURN(db_, Database::OpenPager(store_->pager()));
    return write ? store_->Commit() : Status::Ok();
  }
  void SetDatabase(std::unique_ptr<Database> db) { db_ = std::move(db); }

 private:
  // One change: on its own it commits, in a transaction it waits for Commit(). A failure
  // outside a transaction leaves nothing behind; inside one it spoils the transaction.
  // `catalog`: the change may alter the catalog, which is read again after it.
  // Changes of tables and columns read definitions and indexes: the indexes take their
  // waiting entries first.
  template <typename F>
  Status Step(F&& change, bool catalog = true) {
    if (catalog) {
      insert_target_ = {};
      Status flushed = FlushIndexes();
      if (!flushed.ok()) {
        if (!in_transaction_) (void)Discard();
        return flushed;
      }
    }
    if (!in_transaction_) {
      Status st = change();
      if (st.ok()) st = FlushIndexes();
      if (st.ok()) st = store_->Commit();
      if (!st.ok()) {
        (void)Discard();
        return st;
      }
      return catalog ? db_->ReloadCatalog() : Status::Ok();
    }
    Status st = change();
    if (!st.ok()) return st;
    return catalog ? db_->ReloadCatalog() : Status::Ok();
  }

  Status FlushIndexes() {
    for (auto& [page, w] : writers_) {
      Status st = w->FlushIndexes();
      if (!st.ok()) return st;
    }
    return Status::Ok();
  }

  Status SaveCounters() {
    for (auto& [page, w] : writers_) PX_RETURN_IF_ERROR(w->SaveCounters());
    return Status::Ok();
  }

  Status Discard() {
    insert_target_ = {};
    store_->Rollback();
    append_.clear();
    writers_.clear();
    field_columns_.clear();
    return db_->ReloadCatalog();
  }

  std::string Where(const std::string& table) const { return store_->name() + ": table " + table; }

  Result<TableDef> Definition(uint32_t page, const std::string& what) {
    return ReadTableDef(store_->pager(), store_->format(), page, db_->text_code_page(), what);
  }

  Result<const CatalogEntry*> Find(const std::string& table) {
    const CatalogEntry* e = db_->FindTable(table);
    if (e == nullptr) return Status::NotFound(store_->name() + ": no table named " + table);
    return e;
  }

  // Owner of new objects (the MSysDb row's) and the ACEs new tables inherit.
  struct CatalogFacts {
    Binary owner;
    int32_t tables_container = kTablesContainerId;
    std::vector<Binary> inherited_sids;
  };
  Result<CatalogFacts> ReadCatalogFacts() {
    CatalogFacts facts;
    {
      PX_ASSIGN_OR_RETURN(TableDef objects, Definition(kMSysObjectsPage, "MSysObjects"));
      std::vector<int> cols;
      std::vector<FieldInfo> fields;
      for (std::string_view n : {"Name", "Owner", "Type", "Id", "ParentId"}) {
        for (size_t i = 0; i < objects.columns.size(); ++i) {
          if (objects.columns[i].name == n) cols.push_back(int(i));
        }
      }
      if (cols.size() != 5) {
        return Status::Corruption(store_->name() + ": MSysObjects lacks catalog columns");
      }
      PX_ASSIGN_OR_RETURN(
          auto reader, TableReader::Open(store_->pager(), store_->format(), db_->text_code_page(),
                                         objects, "MSysObjects", cols, {}));
      Row row;
      while (reader->Next(row)) {
        auto* name = std::get_if<std::string>(&row[0]);
        if (name == nullptr) continue;
        if (*name == "MSysDb") {
          if (auto* b = std::get_if<Binary>(&row[1])) facts.owner = *b;
        }
        if (*name == "Tables" && std::get<int64_t>(row[2]) == objtype::kContainer) {
          facts.tables_container = int32_t(std::get<int64_t>(row[3]));
        }
      }
      PX_RETURN_IF_ERROR(reader->status());
    }
    PX_ASSIGN_OR_RETURN(TableDef aces, Definition(kMSysAcesPageNumber, "MSysACEs"));
    PX_ASSIGN_OR_RETURN(
        auto reader, TableReader::Open(
                         store_->pager(), store_->format(), db_->text_code_page(), aces, "MSysACEs",
                         ColumnIndexes(aces, {"ObjectId", "SID", "ACM", "FInheritable"}), {}));
    Row row;
    while (reader->Next(row)) {
      if (row.size() != 4) break;
      const auto* obj = std::get_if<int64_t>(&row[0]);
      const auto* acm = std::get_if<int64_t>(&row[2]);
      const auto* inh = std::get_if<bool>(&row[3]);
      const auto* sid = std::get_if<Binary>(&row[1]);
      if (obj && acm && inh && sid && *obj == facts.tables_container && *inh &&
          *acm == kAdminsFullAcm) {
        facts.inherited_sids.push_back(*sid);
      }
    }
    PX_RETURN_IF_ERROR(reader->status());
    return facts;
  }

  static std::vector<int> ColumnIndexes(const TableDef& def,
                                        std::initializer_list<std::string_view> names) {
    std::vector<int> out;
    for (std::string_view n : names) {
      for (size_t i = 0; i < def.columns.size(); ++i) {
        if (def.columns[i].name == n) out.push_back(int(i));
      }
    }
    return out;
  }

  // Adds a row to a catalog table (MSysObjects, MSysACEs) and to each of its indexes.
  Status AddCatalogRow(uint32_t page, const std::string& name, std::vector<Value> values) {
    (void)page;
    PX_ASSIGN_OR_RETURN(TableWriter * w, TableFor(name));
    return w->Insert(values);
  }

  // The row writer of a table, made at the table's first change in this connection after
  // the keys already in its indexes have been proven against the encoder.
  Result<TableWriter*> TableFor(const std::string& table) {
    PX_ASSIGN_OR_RETURN(const CatalogEntry* e, FindAny(table));
    auto it = writers_.find(e->tdef_page());
    if (it != writers_.end()) return it->second.get();
    if (verified_tables_.insert(e->tdef_page()).second) {
      Status st = VerifyIndexKeys(*db_, *e, &verified_);
      if (!st.ok()) {
        verified_tables_.erase(e->tdef_page());
        return st;
      }
    }
    PX_ASSIGN_OR_RETURN(TableDef def, Definition(e->tdef_page(), e->name));
    TableWriterOptions options;
    options.code_page = db_->text_code_page();
    options.defer_index_entries = true;
    const JetFormat& f = store_->format();
    options.index_key = [this, &f, name = e->name](const TableDef& d, const RealIndex& index,
                                                   std::span<const Value> values,
                                                   std::vector<uint8_t>& key) -> Status {
      // Labels are made for a message only; held by reference, the call allocates nothing.
      auto labels = [&d, &index, &name] {
        const size_t real = size_t(&index - d.real_indexes.data());
        return KeyLabels{name, real < d.real_indexes.size() ? IndexLabel(d, real) : "?"};
      };
      PX_RETURN_IF_ERROR(verified_.MayEncodeKey(f, d, index, values, std::cref(labels)));
      Status st = EncodeIndexKey(f, d, index, values, key);
      return st.ok() ? st : KeyError(st, labels());
    };
    PX_ASSIGN_OR_RETURN(auto w,
                        TableWriter::Open(pages_, f, std::move(def), e->name, std::move(options)));
    TableWriter* raw = w.get();
    writers_[e->tdef_page()] = std::move(w);
    return raw;
  }

  // A table of the catalog, system tables included.
  Result<const CatalogEntry*> FindAny(const std::string& table) {
    for (const CatalogEntry& e : db_->tables()) {
      if (e.has_tdef() && e.name == table) return &e;
    }
    return Find(table);
  }

  Status DoCreateTable(const std::string& table) {
    if (table.empty() || table.size() > 4 * kMaxNameChars) {
      return Status::InvalidArgument(store_->name() + ": \"" + table +
                                     "\" is not a valid table name");
    }
    for (const CatalogEntry& e : db_->tables()) {
      if (JetTextEquals(e.name, table, db_->header().sort_order)) {
        return Status::InvalidArgument(Where(table) + " already exists");
      }
    }
    PX_ASSIGN_OR_RETURN(CatalogFacts facts, ReadCatalogFacts());
    PX_ASSIGN_OR_RETURN(MutablePage tdef_page, store_->Allocate(page_type::kTableDef, 0));
    const uint32_t tdef = tdef_page.number();
    tdef_page = MutablePage();
    PX_ASSIGN_OR_RETURN(MutablePage maps, store_->Allocate(page_type::kData, 0));
    const uint32_t maps_page = maps.number();
    maps = MutablePage();
    TableDef def;
    def.page = tdef;
    def.pages = {tdef};
    def.table_type = kUserTable;
    for (uint8_t r = 0; r < 2; ++r) {
      PX_ASSIGN_OR_RETURN(auto slot,
                          AddRowToPage(*store_, maps_page, EmptyInlineUsageMap(store_->format())));
      if (!slot) return Status::Corruption(Where(table) + ": no room for usage maps");
    }
    def.owned_map = {maps_page, 0};
    def.free_map = {maps_page, 1};
    PX_RETURN_IF_ERROR(StoreTableDef(*store_, def, db_->text_code_page()));
    const double now = OleNow();
    PX_ASSIGN_OR_RETURN(TableDef objects, Definition(kMSysObjectsPage, "MSysObjects"));
    PX_RETURN_IF_ERROR(
        AddCatalogRow(kMSysObjectsPage, "MSysObjects",
                      CatalogValues(objects, {{"Id", int64_t(tdef)},
                                              {"ParentId", int64_t(facts.tables_container)},
                                              {"Name", table},
                                              {"Type", int64_t(objtype::kTable)},
                                              {"DateCreate", OleDate{now}},
                                              {"DateUpdate", OleDate{now}},
                                              {"Owner", facts.owner},
                                              {"Flags", int64_t(0)}})));
    PX_ASSIGN_OR_RETURN(TableDef aces, Definition(kMSysAcesPageNumber, "MSysACEs"));
    for (const Binary& sid : facts.inherited_sids) {
      std::vector<Value> v(aces.columns.size(), Value(Null{}));
      for (size_t i = 0; i < aces.columns.size(); ++i) {
        const std::string& n = aces.columns[i].name;
        if (n == "ObjectId") v[i] = int64_t(tdef);
        if (n == "SID") v[i] = sid;
        if (n == "ACM") v[i] = int64_t(kAdminsFullAcm);
        if (n == "FInheritable") v[i] = false;
      }
      PX_RETURN_IF_ERROR(AddCatalogRow(kMSysAcesPageNumber, "MSysACEs", v));
    }
    return Status::Ok();
  }

  // A row slot on the table's usage-map page for one more map.
  Result<RowPointer> NewMapRow(const TableDef& def, const std::string& table) {
    const uint32_t page = def.owned_map.page;
    PX_ASSIGN_OR_RETURN(auto slot,
                        AddRowToPage(*store_, page, EmptyInlineUsageMap(store_->format())));
    if (!slot) {
      return Status::NotSupported(Where(table) + ": its usage-map page is full");
    }
    return RowPointer{page, uint8_t(*slot)};
  }

  Status DoAddColumn(const std::string& table, const ColumnSpec& wanted) {
    PX_ASSIGN_OR_RETURN(const CatalogEntry* e, Find(table));
    PX_ASSIGN_OR_RETURN(TableDef def, Definition(e->tdef_page(), e->name));
    const std::string what = Where(e->name) + ": column " + wanted.name;
    if (wanted.name.empty() || wanted.name.size() > 4 * kMaxNameChars) {
      return Status::InvalidArgument(what + ": not a valid column name");
    }
    for (const ColumnDef& c : def.columns) {
      if (JetTextEquals(c.name, wanted.name, db_->header().sort_order)) {
        return Status::InvalidArgument(what + " already exists");
      }
    }
    if (def.columns.size() >= kMaxColumns) {
      return Status::InvalidArgument(what + ": the table has 255 columns already");
    }
    const JetFormat& f = store_->format();
    PX_ASSIGN_OR_RETURN(JetType jt, MapAdoType(wanted, f, what));
    if (wanted.autoincrement && jt.type != coltype::kLong && jt.type != coltype::kGuid) {
      return Status::InvalidArgument(what + ": only a Long or GUID column can be an AutoNumber");
    }
    ColumnDef c;
    c.name = wanted.name;
    c.type = jt.type;
    c.number = def.max_cols;
    c.length = jt.length;
    c.flags = jt.fixed ? kUserFixedFlags : kUserVarFlags;
    if (wanted.autoincrement) {
      c.flags |= jt.type == coltype::kGuid ? colflag::kAutoGuid : colflag::kAutoLong;
    }
    if (jt.type == coltype::kText || jt.type == coltype::kMemo) {
      c.sort_order = db_->header().sort_order;
      if (f.text_is_unicode) {
        c.extra_flags = kColExtraCompressedUnicode;
      } else {
        c.code_page = uint16_t(db_->text_code_page());
      }
    }
    if (jt.type == coltype::kNumeric) {
      c.precision = uint8_t(wanted.precision == 0 ? 18 : wanted.precision);
      c.scale = uint8_t(wanted.scale);
      if (c.precision > 28 || c.scale > c.precision) {
        return Status::InvalidArgument(what + ": precision " + std::to_string(wanted.precision) +
                                       " and scale " + std::to_string(wanted.scale) +
                                       " are not valid");
      }
    }
    if (jt.fixed) {
      size_t end = 0;
      for (const ColumnDef& o : def.columns) {
        if (o.fixed() && o.type != coltype::kBoolean) {
          end = std::max<size_t>(end, size_t(o.fixed_offset) + o.length);
        }
      }
      c.fixed_offset = jt.type == coltype::kBoolean ? 0 : uint16_t(end);
      uint16_t vars_before = 0;
      for (const ColumnDef& o : def.columns) vars_before += o.fixed() ? 0 : 1;
      c.var_index = vars_before;
    } else {
      c.var_index = def.var_cols++;
    }
    if (c.long_value()) {
      PX_ASSIGN_OR_RETURN(RowPointer owned, NewMapRow(def, e->name));
      PX_ASSIGN_OR_RETURN(RowPointer free, NewMapRow(def, e->name));
      def.long_value_maps.push_back({c.number, owned, free});
    }
    ++def.max_cols;
    def.columns.push_back(std::move(c));
    writers_.erase(def.page);
    field_columns_.erase(def.page);
    PX_RETURN_IF_ERROR(StoreTableDef(*store_, def, db_->text_code_page()));
    if (wanted.autoincrement && jt.type == coltype::kLong && def.row_count > 0) {
      PX_RETURN_IF_ERROR(NumberExistingRows(*e, def.columns.back().number));
    }
    if (!wanted.allow_zero_length && !wanted.required) return Status::Ok();
    ColumnProperties props;
    props.allow_zero_length = wanted.allow_zero_length;
    props.required = wanted.required;
    return WriteColumnProperties(*e, wanted.name, props);
  }

  // An AutoNumber column added to a table with rows numbers them 1, 2, ... in the order a
  // scan meets them, as Jet does; the counter continues after the last.
  Status NumberExistingRows(const CatalogEntry& e, uint16_t column_number) {
    PX_ASSIGN_OR_RETURN(TableWriter * w, TableFor(e.name));
    const int at = w->definition().ColumnByNumber(column_number);
    if (at < 0) return Status::Corruption(Where(e.name) + ": the new column is missing");
    int64_t next = 0;
    PX_ASSIGN_OR_RETURN(uint64_t numbered,
                        w->Update([&](std::vector<Value>& values) -> Result<bool> {
                          values[size_t(at)] = ++next;
                          return true;
                        }));
    (void)numbered;
    writers_.erase(e.tdef_page());
    PX_ASSIGN_OR_RETURN(TableDef def, Definition(e.tdef_page(), e.name));
    def.autonumber_last = uint32_t(std::max<int64_t>(next, int32_t(def.autonumber_last)));
    return StoreTableDef(*store_, def, db_->text_code_page());
  }

  // Sets properties of one column in the table's property blob (MSysObjects.LvProp),
  // written as one LVAL row, and rewrites the table's catalog row in place.
  Status WriteColumnProperties(const CatalogEntry& e, const std::string& column,
                               const ColumnProperties& props) {
    const JetFormat& f = store_->format();
    const std::string what = Where(e.name) + ": properties of column " + column;
    PX_ASSIGN_OR_RETURN(TableDef objects, Definition(kMSysObjectsPage, "MSysObjects"));
    int lv_prop = -1;
    for (size_t i = 0; i < objects.columns.size(); ++i) {
      if (objects.columns[i].name == "LvProp") lv_prop = int(i);
    }
    if (lv_prop < 0) return Status::Corruption(store_->name() + ": MSysObjects has no LvProp");
    // A catalog row that once grew (Jackcess writes such files) is found through its
    // overflow pointer; its moved copy is the one rewritten. The row is copied out of its
    // page: the page changes before the row is written back.
    RowPointer at = e.location;
    for (int hop = 0; hop < 8; ++hop) {
      PX_ASSIGN_OR_RETURN(Page page, store_->Get(at.page));
      PX_ASSIGN_OR_RETURN(RowSlot slot, DataPageRow(f, page, at.row, store_->name()));
      if (!slot.lookup || slot.data.size() < 4) break;
      at = DecodeRowPointer(LoadLe32(slot.data.data()));
    }
    const bool moved = at.page != e.location.page || at.row != e.location.row;
    std::vector<uint8_t> old_row;
    {
      PX_ASSIGN_OR_RETURN(Page page, store_->Get(at.page));
      PX_ASSIGN_OR_RETURN(RowSlot slot, DataPageRow(f, page, at.row, store_->name()));
      if ((slot.deleted && !moved) || slot.lookup || slot.data.empty()) {
        return Status::NotSupported(what + ": the catalog row (" + e.place +
                                    ") has been moved; not supported yet");
      }
      old_row.assign(slot.data.begin(), slot.data.end());
    }
    std::vector<ColumnData> cracked;
    PX_RETURN_IF_ERROR(CrackRow(f, objects, old_row, cracked, store_->name() + ": " + e.place));
    if (cracked.size() != objects.columns.size()) {
      return Status::Corruption(what + ": the catalog row (" + e.place + ") has " +
                                std::to_string(cracked.size()) + " columns");
    }
    const std::vector<uint8_t> old_descriptor(cracked[size_t(lv_prop)].bytes.begin(),
                                              cracked[size_t(lv_prop)].bytes.end());
    PX_ASSIGN_OR_RETURN(std::vector<uint8_t> blob,
                        SetColumnProperties(e.lv_prop, f, db_->text_code_page(), column, props));
    PX_ASSIGN_OR_RETURN(std::vector<uint8_t> descriptor,
                        StoreLongValue(*store_, objects, objects.columns[size_t(lv_prop)], blob,
                                       append_[objects.page], "MSysObjects", true));
    if (old_descriptor.size() >= kLongValueHeaderSize &&
        (LoadLe32(old_descriptor.data()) & kLongValueSingle) != 0) {
      PX_RETURN_IF_ERROR(
          DeleteRowOnPage(*store_, DecodeRowPointer(LoadLe32(old_descriptor.data() + 4))));
    }
    cracked[size_t(lv_prop)] = ColumnData{false, false, descriptor};
    PX_ASSIGN_OR_RETURN(std::vector<uint8_t> row,
                        EncodeRow(f, objects, cracked, store_->name() + ": MSysObjects"));
    PX_ASSIGN_OR_RETURN(bool fits, ReplaceRowOnPage(*store_, at.page, at.row, row));
    if (!fits) {
      return Status::NotSupported(what + ": no room on the catalog page " +
                                  std::to_string(at.page) + "; not supported yet");
    }
    return Status::Ok();
  }

  Status DoAddIndex(const std::string& table, const IndexSpec& wanted,
                    const ForeignKeySpec* foreign_key = nullptr) {
    PX_ASSIGN_OR_RETURN(const CatalogEntry* e, Find(table));
    PX_ASSIGN_OR_RETURN(TableDef def, Definition(e->tdef_page(), e->name));
    const std::string what = Where(e->name) + ": index " + wanted.name;
    for (const LogicalIndex& l : def.logical_indexes) {
      if (wanted.primary && l.type == kLogicalIndexPrimary && foreign_key == nullptr) {
        return Status::InvalidArgument(Where(e->name) + " already has a primary key (" + l.name +
                                       ")");
      }
      if (JetTextEquals(l.name, wanted.name, db_->header().sort_order)) {
        return Status::InvalidArgument(what + " already exists");
      }
    }
    if (wanted.columns.empty() || wanted.columns.size() > kMaxIndexColumns) {
      return Status::InvalidArgument(what + ": an index has 1 to 10 columns");
    }
    if (def.row_count > 0) {
      // The rows there are must be keyed with a proven encoder.
      PX_RETURN_IF_ERROR(TableFor(e->name).status());
    }
    RealIndex r;
    for (const auto& [name, ascending] : wanted.columns) {
      int found = -1;
      for (size_t i = 0; i < def.columns.size(); ++i) {
        if (JetTextEquals(def.columns[i].name, name, db_->header().sort_order)) found = int(i);
      }
      if (found < 0) return Status::NotFound(what + ": no column named " + name);
      if (def.columns[size_t(found)].long_value()) {
        return Status::InvalidArgument(what + ": Memo and OLE columns cannot be indexed");
      }
      r.columns.push_back({def.columns[size_t(found)].number, ascending});
    }
    if (foreign_key != nullptr) return AddRelationshipEnd(*e, def, wanted, *foreign_key, r);
    r.flags = wanted.primary ? kPrimaryKeyFlags
                             : uint8_t((wanted.unique ? idxflag::kUnique : 0) |
                                       (wanted.ignore_nulls ? idxflag::kIgnoreNulls : 0) |
                                       (wanted.required ? idxflag::kRequired : 0));
    if (store_->format().version == JetVersion::kJet4) r.flags |= kJet4IndexMark;
    PX_ASSIGN_OR_RETURN(RowPointer map, NewMapRow(def, e->name));
    PX_ASSIGN_OR_RETURN(MutablePage leaf, store_->Allocate(page_type::kIndexLeaf, def.page));
    StoreLe16(&leaf.bytes()[2], uint16_t(store_->page_size() - store_->format().index_first_entry));
    r.root_page = leaf.number();
    leaf = MutablePage();
    r.used_map = map;
    PX_RETURN_IF_ERROR(SetUsageMapPage(*store_, map, r.root_page, true, what));
    LogicalIndex l;
    l.name = wanted.name;
    l.number = uint32_t(def.logical_indexes.size());
    l.real_index = uint32_t(def.real_indexes.size());
    l.type = wanted.primary ? kLogicalIndexPrimary : kLogicalIndexPlain;
    def.real_indexes.push_back(std::move(r));
    def.logical_indexes.push_back(std::move(l));
    if (def.row_count > 0) PX_RETURN_IF_ERROR(FillIndex(*e, def, def.real_indexes.size() - 1));
    writers_.erase(def.page);
    field_columns_.erase(def.page);
    return StoreTableDef(*store_, def, db_->text_code_page());
  }

  // A relationship's logical index: on the real index of the same columns and uniqueness
  // when there is one (Access shares them), else on a new one.
  Status AddRelationshipEnd(const CatalogEntry& e, TableDef& def, const IndexSpec& wanted,
                            const ForeignKeySpec& fk, const RealIndex& r) {
    PX_ASSIGN_OR_RETURN(const CatalogEntry* other, FindAny(fk.other_table));
    const JetFormat& f = store_->format();
    LogicalIndex l;
    l.name = wanted.name;
    l.number = uint32_t(def.logical_indexes.size());
    l.type = kLogicalIndexForeign;
    l.related_table_type = fk.table_type;
    l.related_index = int32_t(fk.other_index);
    l.related_table_page = other->tdef_page();
    l.raw.assign(f.logical_idx_size, 0);
    l.raw[f.logical_idx_type - 2] = fk.cascade_update;
    l.raw[f.logical_idx_type - 1] = fk.cascade_delete;
    auto same =
        std::find_if(def.real_indexes.begin(), def.real_indexes.end(), [&](const RealIndex& have) {
          return have.unique() == wanted.unique && have.columns.size() == r.columns.size() &&
                 std::equal(r.columns.begin(), r.columns.end(), have.columns.begin(),
                            [](const IndexColumn& a, const IndexColumn& b) {
                              return a.column_number == b.column_number &&
                                     a.ascending == b.ascending;
                            });
        });
    if (same != def.real_indexes.end()) {
      l.real_index = uint32_t(same - def.real_indexes.begin());
      def.logical_indexes.push_back(std::move(l));
      writers_.erase(def.page);
      field_columns_.erase(def.page);
      return StoreTableDef(*store_, def, db_->text_code_page());
    }
    IndexSpec plain = wanted;
    plain.primary = false;
    PX_RETURN_IF_ERROR(DoAddIndex(e.name, plain));
    // The new logical index is the last one: make it the relationship's.
    PX_ASSIGN_OR_RETURN(TableDef added, Definition(e.tdef_page(), e.name));
    l.real_index = added.logical_indexes.back().real_index;
    added.logical_indexes.back() = std::move(l);
    writers_.erase(added.page);
    field_columns_.erase(added.page);
    return StoreTableDef(*store_, added, db_->text_code_page());
  }

  // Enters every row of the table in a new, empty index, sorted and laid out in one pass; a
  // unique index refuses a value twice and a required one a Null, naming the table and
  // the index.
  Status FillIndex(const CatalogEntry& e, TableDef& def, size_t real) {
    const JetFormat& f = store_->format();
    RealIndex& index = def.real_indexes[real];
    const KeyLabels labels{e.name, IndexLabel(def, real)};
    const std::string what = Where(e.name) + ": index " + labels.index;
    IndexWriter writer(pages_, f, def.page, index, "index " + labels.index + " of table " + e.name);
    std::vector<int> all(def.columns.size());
    for (size_t i = 0; i < all.size(); ++i) all[i] = int(i);
    EntryRuns entries(pages_);
    PX_ASSIGN_OR_RETURN(auto reader, TableReader::Open(store_->pager(), f, db_->text_code_page(),
                                                       def, e.name, all, {}));
    Row row;
    std::vector<uint8_t> key;
    while (reader->Next(row)) {
      bool all_null = true;
      for (const IndexColumn& ic : index.columns) {
        const int at = def.ColumnByNumber(ic.column_number);
        const bool null = at < 0 || IsNull(row[size_t(at)]);
        if (null && (index.flags & idxflag::kRequired)) {
          return Status::InvalidArgument(what + ": a row (" + reader->last_row_place() +
                                         ") has no value in column " +
                                         (at < 0 ? "?" : def.columns[size_t(at)].name));
        }
        all_null = all_null && null;
      }
      if (all_null && (index.flags & idxflag::kIgnoreNulls)) continue;
      PX_RETURN_IF_ERROR(verified_.MayEncodeKey(f, def, index, row, labels));
      Status made = EncodeIndexKey(f, def, index, row, key);
      if (!made.ok()) return KeyError(made, labels);
      PX_RETURN_IF_ERROR(entries.Add(key, reader->last_row_pointer()));
    }
    PX_RETURN_IF_ERROR(reader->status());
    // A unique index takes any number of keys whose columns are all Null.
    std::vector<Value> nulls(def.columns.size(), Value(Null{}));
    auto null_key = EncodeIndexKey(f, def, index, nulls, labels);
    auto held_once = [&](Bytes key) {
      return index.unique() && !(null_key.ok() && std::equal(key.begin(), key.end(),
                                                             null_key->begin(), null_key->end()));
    };
    PX_ASSIGN_OR_RETURN(auto sorted, entries.Sorted());
    PX_ASSIGN_OR_RETURN(IndexWriter::Merged merged, writer.Rebuild(*sorted, held_once));
    if (merged.duplicate) {
      const RowPointer at = EntryRowPointer(*merged.duplicate, true);
      return Status::InvalidArgument(what + ": the rows hold a value twice (page " +
                                     std::to_string(at.page) + " row " + std::to_string(at.row) +
                                     ")");
    }
    index.unique_entry_count = merged.distinct_keys;
    return Status::Ok();
  }

  // `V`: const Value, copied into the row, or Value, exchanged with it.
  template <typename V>
  Status DoInsert(std::string_view table, std::span<V> values) {
    // Rows inserted one after another name the same table: its writer and field order are
    // kept until the catalog changes.
    if (insert_target_.writer == nullptr || insert_target_.table != table) {
      PX_ASSIGN_OR_RETURN(const CatalogEntry* e, Find(std::string(table)));
      auto cached = field_columns_.find(e->tdef_page());
      if (cached == field_columns_.end()) {
        PX_ASSIGN_OR_RETURN(TableSchema schema, db_->ReadSchema(*e));
        cached = field_columns_.emplace(e->tdef_page(), std::move(schema.columns)).first;
      }
      PX_ASSIGN_OR_RETURN(TableWriter * w, TableFor(e->name));
      insert_target_ = {std::string(table), e->name, w, &cached->second};
    }
    const std::vector<int>& columns = *insert_target_.columns;
    if (values.size() != columns.size()) {
      return Status::InvalidArgument(Where(insert_target_.name) + ": " +
                                     std::to_string(values.size()) + " values for " +
                                     std::to_string(columns.size()) + " fields");
    }
    TableWriter* w = insert_target_.writer;
    // The row buffer keeps the previous row, so that a text replaces the text before it in
    // the same storage. Columns the statement leaves out go back to Null every row: an
    // AutoNumber among them must take its next value, not the last row's.
    const size_t width = w->definition().columns.size();
    if (by_column_.size() != width) by_column_.assign(width, Value(Null{}));
    named_.assign(width, false);
    for (size_t i = 0; i < columns.size(); ++i) {
      if constexpr (std::is_const_v<V>) {
        by_column_[size_t(columns[i])] = values[i];
      } else {
        std::swap(by_column_[size_t(columns[i])], values[i]);
      }
      named_[size_t(columns[i])] = true;
    }
    for (size_t c = 0; c < width; ++c) {
      if (!named_[c]) by_column_[c] = Null{};
    }
    Status st = w->Insert(by_column_);
    if (!st.ok()) return st.WithContext(store_->name());
    return Status::Ok();
  }

  static constexpr uint32_t kMSysAcesPageNumber = 3;

  std::unique_ptr<PageStore> store_;
  PageStorePages pages_;
  std::unique_ptr<Database> db_;
  std::map<uint32_t, std::unique_ptr<TableWriter>> writers_;  // by definition page
  std::set<uint32_t> verified_tables_;
  std::map<uint32_t, std::vector<int>> field_columns_;  // field order of each table
  std::vector<Value> by_column_;                        // the row being inserted, by column
  std::vector<bool> named_;                             // which of by_column_ the statement gave
  struct InsertTarget {
    std::string table;                          // as the caller named it
    std::string name;                           // as the catalog spells it
    TableWriter* writer = nullptr;              // in writers_
    const std::vector<int>* columns = nullptr;  // in field_columns_
  } insert_target_;
  VerifiedCharacters verified_;
  bool in_transaction_ = false;
  std::map<uint32_t, AppendState> append_;
  std::random_device random_;
};

}  // namespace

const std::string& Writer::host_path() const {
  static const std::string kNone;
  return kNone;
}

Result<std::unique_ptr<Writer>> Writer::Open(platform::FileLayer& files,
                                             const std::string& host_path, std::string display_name,
                                             PageStoreOptions pages) {
  PX_ASSIGN_OR_RETURN(auto store,
                      PageStore::Open(files, host_path, std::move(display_name), pages));
  PX_ASSIGN_OR_RETURN(auto db, Database::OpenPager(store->pager()));
  return std::unique_ptr<Writer>(std::make_unique<WriterImpl>(std::move(store), std::move(db)));
}

Result<std::unique_ptr<Writer>> Writer::Create(platform::FileLayer& files,
                                               const std::string& host_path,
                                               std::string display_name) {
  PX_ASSIGN_OR_RETURN(auto store,
                      PageStore::Create(files, host_path, kJet4Format, std::move(display_name)));
  auto writer = std::make_unique<WriterImpl>(std::move(store), nullptr);
  PX_RETURN_IF_ERROR(writer->LayOut(true));
  return std::unique_ptr<Writer>(std::move(writer));
}

Result<std::unique_ptr<Writer>> Writer::CreateUnwritten(platform::FileLayer& files,
                                                        const std::string& host_path,
                                                        std::string display_name,
                                                        PageStoreOptions pages) {
  PX_ASSIGN_OR_RETURN(
      auto store, PageStore::Create(files, host_path, kJet4Format, std::move(display_name), pages));
  auto writer = std::make_unique<WriterImpl>(std::move(store), nullptr);
  PX_RETURN_IF_ERROR(writer->LayOut(false));
  return std::unique_ptr<Writer>(std::move(writer));
}

}  // namespace px::jet
