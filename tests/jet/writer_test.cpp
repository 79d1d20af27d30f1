// The write side: new databases compared with one ADOX made, tables, columns and keys with
// ADOX's semantics, rows, transactions, and failures that leave the file as it was.
#include "jet/writer.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <map>
#include <set>

#include "core/value_text.h"
#include "jet/header.h"
#include "jet/new_database.h"
#include "jet/page_store.h"
#include "jet/rc4.h"
#include "jet/walk.h"
#include "platform/files.h"
#include "support/column_spec.h"
#include "support/dying_files.h"
#include "support/jet_oracle.h"
#include "support/process.h"
#include "support/samples.h"
#include "support/temp_folder.h"
#include "table_rows.h"

namespace px::jet {
namespace {

using px::testing::Col;

using px::testing::DyingFiles;
using px::testing::ReadAll;
using px::testing::TempFolder;
using testing::TableRows;

std::unique_ptr<Writer> MustCreate(const std::string& path, platform::FileLayer& files) {
  auto w = Writer::Create(files, path);
  EXPECT_TRUE(w.ok()) << w.status().ToString();
  return w.ok() ? std::move(*w) : nullptr;
}

Bytes AsSpan(const std::string& s) {
  return Bytes(reinterpret_cast<const uint8_t*>(s.data()), s.size());
}

// Offsets where the two files may differ, per page: the creation time (page 0: the date, the
// password pattern made from its day; page 14: DateCreate and DateUpdate of each catalog
// row) and bytes Jet leaves uninitialised in table definitions (fixed offsets of variable
// columns, order bytes of unused index column slots), which we write as zeros.
bool MayDiffer(size_t page, size_t at) {
  static const std::map<size_t, std::set<size_t>> garbage = {
      {2, {0xe9, 0x134, 0x135, 0x14d, 0x14e, 0x167, 0x17f, 0x199, 0x1e3, 0x321, 0x327}},
      {3, {0xab, 0xfa, 0x106, 0x109, 0x115, 0x117}},
      {4, {0x7a, 0xc5, 0xde, 0x110, 0x19f, 0x1a5, 0x1ab, 0x1b7, 0x1b9}},
  };
  if (page == 0) return (at >= 0x42 && at < 0x6A) || (at >= 0x72 && at < 0x7A);
  if (page == 14) {
    // DateCreate and DateUpdate sit 12..28 bytes into each row.
    static const size_t rows[] = {0xfb5, 0xf64, 0xf0b, 0xec0, 0xe6b, 0xe1c, 0xdc7, 0xd66};
    for (size_t r : rows) {
      if (at >= r + 12 && at < r + 28) return true;
    }
    return false;
  }
  auto it = garbage.find(page);
  return it != garbage.end() && it->second.count(at) > 0;
}

// A new file is the database ADOX makes, page for page, but for creation times and bytes
// Jet leaves uninitialised; its header decodes to the same code page and sort order.
TEST(NewDatabase, MatchesTheDatabaseAdoxMakes) {
  PX_SAMPLE_OR_SKIP(adox_path, "mdb/adox_jet4.mdb");
  TempFolder dir;
  const std::string path = dir.str() + "/yeni.mdb";
  ASSERT_NE(MustCreate(path, platform::SystemFiles()), nullptr);
  const std::string ours = ReadAll(path);
  const std::string adox = ReadAll(adox_path);
  ASSERT_EQ(ours.size(), adox.size());
  for (size_t page = 0; page < 16; ++page) {
    std::vector<size_t> unexpected;
    for (size_t i = 0; i < 4096; ++i) {
      const size_t at = page * 4096 + i;
      if (ours[at] != adox[at] && !MayDiffer(page, i)) unexpected.push_back(i);
    }
    EXPECT_TRUE(unexpected.empty())
        << "page " << page << " differs at offset " << (unexpected.empty() ? 0 : unexpected[0])
        << " and " << unexpected.size() - 1 << " more";
  }
  auto ours_h = DecodeHeader(AsSpan(ours), "ours");
  auto adox_h = DecodeHeader(AsSpan(adox), "adox");
  ASSERT_TRUE(ours_h.ok() && adox_h.ok());
  EXPECT_EQ(ours_h->code_page, 1252);
  EXPECT_EQ(ours_h->sort_order, 1033);
  EXPECT_EQ(ours_h->sort_order_version, 0);
  // The password pattern is the creation day.
  const uint32_t day = uint32_t(ours_h->creation_date);
  std::vector<uint8_t> plain(ours.begin(), ours.begin() + 0x100);
  Rc4Xor(Bytes(kHeaderMaskKey, 4), MutableBytes(plain.data() + kHeaderMaskOffset, 128));
  for (size_t i = 0x42; i < 0x6A; i += 4) EXPECT_EQ(LoadLe32(&plain[i]), day) << i;
  EXPECT_NEAR(ours_h->creation_date, OleNow(), 1.0 / 24);
}

TEST(NewDatabase, RefusesAnExistingFile) {
  TempFolder dir;
  const std::string path = dir.Write("var.mdb", "x").string();
  auto w = Writer::Create(platform::SystemFiles(), path, "C:\\Veri\\var.mdb");
  ASSERT_FALSE(w.ok());
  EXPECT_NE(w.status().message().find("C:\\Veri\\var.mdb"), std::string::npos);
  EXPECT_EQ(ReadAll(path), "x");
}

using px::testing::RunJetOracle;
using px::testing::RunProcess;

// Jackcess finds every row through every index of the file, and the counters right.
void ExpectJetOracleCheckPasses(const std::string& path) {
  auto check = RunJetOracle({"check", path});
  EXPECT_TRUE(check.ExitedWith(0)) << check.Describe();
  EXPECT_NE(check.out.find("\"ok\": true"), std::string::npos) << check.out.substr(0, 2000);
}

// One column of each type ADOX appends, the ADO type and size the reader reports for it,
// and a value that goes in and must come back.
struct TypeCase {
  ColumnSpec column;
  int ado_type;
  int64_t size;
  Value value;
};

std::vector<TypeCase> TypeCases() {
  ColumnSpec numeric = Col("Tutar", ado::kNumeric);
  numeric.precision = 18;
  numeric.scale = 4;
  return {
      {Col("Kod", ado::kVarWChar, 20), ado::kVarWChar, 20, std::string("ABC-12 çöü")},
      {Col("Varsayilan", std::nullopt), ado::kVarWChar, 255, std::string("ğış İ Ş")},
      {Col("Notlar", ado::kLongVarWChar), ado::kLongVarWChar, 536870910,
       std::string(3000, 'x') + "ş"},
      {Col("Kisa", ado::kLongVarWChar), ado::kLongVarWChar, 536870910, std::string("kısa")},
      {Col("Oran", ado::kDouble), ado::kDouble, 8, 1234.5678},
      {Col("Bayt", ado::kUnsignedTinyInt), ado::kUnsignedTinyInt, 1, int64_t(200)},
      {Col("Tamsayi", ado::kSmallInt), ado::kSmallInt, 2, int64_t(-32000)},
      {Col("Uzun", ado::kInteger), ado::kInteger, 4, int64_t(2000000000)},
      {Col("Tek", ado::kSingle), ado::kSingle, 4, 1.5f},
      {Col("Evet", ado::kBoolean), ado::kBoolean, 2, true},
      {Col("Para", ado::kCurrency), ado::kCurrency, 8, Currency{12345678}},
      {Col("Tarih", ado::kDate), ado::kDate, 8, OleDate{45000.25}},
      {Col("Kimlik", ado::kGUID), ado::kGUID, 16,
       Guid{{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}}},
      {numeric, ado::kNumeric, 19, Decimal{0, 123456789, 4, true}},
      {Col("Ikili", ado::kBinary, 10), ado::kBinary, 10, Binary{{0, 1, 2, 255}}},
      {Col("Resim", ado::kLongVarBinary), ado::kLongVarBinary, 1073741823,
       Binary{std::vector<uint8_t>(9000, 0xAB)}},
  };
}

class WriterTest : public ::testing::Test {
 protected:
  void SetUp() override {
    path_ = dir_.str() + "/veri.mdb";
    writer_ = MustCreate(path_, platform::SystemFiles());
    ASSERT_NE(writer_, nullptr);
  }
  Writer& w() { return *writer_; }
  void MakeTypesTable() {
    ASSERT_TRUE(w().CreateTable("Turler").ok());
    for (const TypeCase& t : TypeCases()) {
      Status st = w().AddColumn("Turler", t.column);
      ASSERT_TRUE(st.ok()) << t.column.name << ": " << st.ToString();
    }
  }

  TempFolder dir_;
  std::string path_;
  std::unique_ptr<Writer> writer_;
};

// Each column has the ADO type and size ADOX gives it; a row of values and a row of Nulls
// read back from a fresh reader as written (a Null Boolean reads false).
TEST_F(WriterTest, ColumnsAndRowsOfEveryTypeReadBack) {
  MakeTypesTable();
  const auto cases = TypeCases();
  std::vector<Value> row;
  for (const TypeCase& t : cases) row.push_back(t.value);
  ASSERT_TRUE(w().InsertRow("Turler", row).ok());
  Status st = w().InsertRow("Turler", std::vector<Value>(row.size(), Value(Null{})));
  ASSERT_TRUE(st.ok()) << st.ToString();
  auto db = Database::Open(path_);
  ASSERT_TRUE(db.ok()) << db.status().ToString();
  EXPECT_EQ((*db)->UserTableNames(), std::vector<std::string>{"Turler"});
  auto schema = (*db)->ReadSchema("Turler");
  ASSERT_TRUE(schema.ok()) << schema.status().ToString();
  ASSERT_EQ(schema->fields.size(), cases.size());
  EXPECT_EQ(schema->fields[13].precision, 18);
  EXPECT_EQ(schema->fields[13].scale, 4);
  auto rows = TableRows(**db, "Turler");
  ASSERT_EQ(rows.size(), 2u);
  for (size_t i = 0; i < cases.size(); ++i) {
    const std::string& name = cases[i].column.name;
    EXPECT_EQ(schema->fields[i].name, name);
    EXPECT_EQ(schema->fields[i].ado_type, cases[i].ado_type) << name;
    EXPECT_EQ(schema->fields[i].size, cases[i].size) << name;
    EXPECT_TRUE(rows[0][i] == row[i]) << name;
    EXPECT_TRUE(rows[1][i] == (cases[i].ado_type == ado::kBoolean ? Value(false) : Value(Null{})))
        << name;
  }
  WalkCounts counts;
  Status walked = WalkDatabase(**db, counts);
  EXPECT_TRUE(walked.ok()) << walked.ToString();
}

// Other readers agree: mdbtools lists and exports the table, Jackcess checks every index.
TEST_F(WriterTest, ExternalReadersAcceptTheFile) {
  PX_JET_ORACLE_OR_SKIP();
  if (px::testing::FindOnPath("mdb-export").empty()) GTEST_SKIP() << "mdbtools is not installed";
  MakeTypesTable();
  ASSERT_TRUE(w().AddColumn("Turler",
                            [] {
                              ColumnSpec c = Col("No", ado::kInteger);
                              c.autoincrement = true;
                              return c;
                            }())
                  .ok());
  ASSERT_TRUE(w().AddPrimaryKey("Turler", "PrimaryKey", "No").ok());
  for (int i = 0; i < 20; ++i) {
    std::vector<Value> row;
    for (const TypeCase& t : TypeCases()) row.push_back(t.value);
    row.resize(row.size() + 1);  // the AutoNumber column takes the next value
    ASSERT_TRUE(w().InsertRow("Turler", row).ok());
  }
  writer_.reset();
  EXPECT_EQ(RunProcess({"mdb-tables", "-1", path_}).out, "Turler\n");
  const std::string csv = RunProcess({"mdb-export", path_, "Turler"}).out;
  EXPECT_EQ(std::count(csv.begin(), csv.end(), '\n'), 21) << csv.substr(0, 400);
  EXPECT_NE(csv.find("ABC-12 çöü"), std::string::npos);
  EXPECT_NE(csv.find("ğış İ Ş"), std::string::npos);
  ExpectJetOracleCheckPasses(path_);
  const std::string rows = RunJetOracle({"rows", path_, "Turler"}).out;
  EXPECT_EQ(std::count(rows.begin(), rows.end(), '\n'), 20) << rows.substr(0, 400);
  EXPECT_NE(rows.find("\"No\":20"), std::string::npos) << rows.substr(0, 400);
  const std::string schema = RunJetOracle({"schema", path_, "Turler"}).out;
  EXPECT_NE(schema.find("\"primary\": true"), std::string::npos) << schema.substr(0, 3000);
}

TEST_F(WriterTest, KeyRulesNameTheTable) {
  ASSERT_TRUE(w().CreateTable("Cari").ok());
  ASSERT_TRUE(w().AddColumn("Cari", Col("Kod", ado::kVarWChar, 10)).ok());
  ASSERT_TRUE(w().AddColumn("Cari", Col("Ad", ado::kVarWChar, 10)).ok());
  ASSERT_TRUE(w().AddPrimaryKey("Cari", "PrimaryKey", "Kod").ok());
  const std::string before = ReadAll(path_);
  struct Case {
    std::function<Status()> change;
    std::string message_part;
  };
  const std::vector<Case> cases = {
      {[&] { return w().AddPrimaryKey("Cari", "PrimaryKey", "Ad"); }, "Cari"},
      {[&] { return w().AddPrimaryKey("Cari", "Baska", "Ad"); }, "primary key"},
      {[&] { return w().CreateTable("CARI"); }, "already exists"},
      {[&] { return w().AddColumn("Cari", Col("kod", ado::kInteger)); }, "already exists"},
      {[&] { return w().AddColumn("Yok", Col("a", ado::kInteger)); }, "Yok"},
      {[&] { return w().AddColumn("Cari", Col("b", 999)); }, "999"},
      {[&] { return w().AddColumn("Cari", Col("c", ado::kVarWChar, 300)); }, "300"},
  };
  for (const Case& c : cases) {
    Status st = c.change();
    ASSERT_FALSE(st.ok()) << c.message_part;
    EXPECT_NE(st.message().find(c.message_part), std::string::npos) << st.message();
    EXPECT_NE(st.message().find(path_), std::string::npos) << st.message();
  }
  EXPECT_TRUE(ReadAll(path_) == before) << "refused changes leave the file alone";
  std::vector<Value> row = {std::string("A1"), std::string("x")};
  ASSERT_TRUE(w().InsertRow("Cari", row).ok());
  const std::string one_row = ReadAll(path_);
  std::vector<Value> dup = {std::string("a1"), std::string("y")};
  Status st = w().InsertRow("Cari", dup);
  ASSERT_FALSE(st.ok());
  EXPECT_NE(st.message().find("Cari"), std::string::npos) << st.message();
  EXPECT_NE(st.message().find("PrimaryKey"), std::string::npos) << st.message();
  EXPECT_TRUE(ReadAll(path_) == one_row);
}

// Columns and keys added to a table that has rows; the checks run in the test body.
void ColumnsAndKeysAddedToRows(Writer& w);

TEST_F(WriterTest, ColumnAddedToATableWithRowsReadsNull) {
  ColumnsAndKeysAddedToRows(w());
}

TEST_F(WriterTest, ExternalJackcessChecksColumnsAddedToATableWithRows) {
  PX_JET_ORACLE_OR_SKIP();
  ColumnsAndKeysAddedToRows(w());
  writer_.reset();
  ExpectJetOracleCheckPasses(path_);
}

void ColumnsAndKeysAddedToRows(Writer& w) {
  ASSERT_TRUE(w.CreateTable("T").ok());
  ASSERT_TRUE(w.AddColumn("T", Col("A", ado::kInteger)).ok());
  std::vector<Value> row = {int64_t(7)};
  ASSERT_TRUE(w.InsertRow("T", row).ok());
  ASSERT_TRUE(w.AddColumn("T", Col("B", ado::kVarWChar, 5)).ok());
  ASSERT_TRUE(w.AddColumn("T", Col("C", ado::kDouble)).ok());
  std::vector<Value> row2 = {int64_t(8), std::string("b"), 2.5};
  ASSERT_TRUE(w.InsertRow("T", row2).ok());
  EXPECT_EQ(TableRows(w.db(), "T"),
            (std::vector<Row>{{int64_t(7), Null{}, Null{}}, {int64_t(8), std::string("b"), 2.5}}));
  // An AutoNumber column added now numbers the rows there are, and goes on from there.
  ColumnSpec no = Col("No", ado::kInteger);
  no.autoincrement = true;
  ASSERT_TRUE(w.AddColumn("T", no).ok());
  std::vector<Value> row3 = {int64_t(9), std::string("c"), 3.5, Null{}};
  ASSERT_TRUE(w.InsertRow("T", row3).ok());
  EXPECT_EQ(TableRows(w.db(), "T"),
            (std::vector<Row>{{int64_t(7), Null{}, Null{}, int64_t(1)},
                              {int64_t(8), std::string("b"), 2.5, int64_t(2)},
                              {int64_t(9), std::string("c"), 3.5, int64_t(3)}}));
  // Keys on a table with rows: the rows go into the index; a key the rows violate is refused.
  EXPECT_TRUE(w.AddPrimaryKey("T", "PrimaryKey", "No").ok());
  Status st = w.AddIndex("T", IndexSpec{"Tekil", {{"B", true}}, false, true, false, true});
  ASSERT_FALSE(st.ok());
  EXPECT_NE(st.message().find("Tekil"), std::string::npos) << st.message();
  std::vector<Value> dup = {int64_t(1), std::string("x"), 1.0, int64_t(3)};
  st = w.InsertRow("T", dup);
  ASSERT_FALSE(st.ok()) << "the filled primary key refuses No = 3 again";
}

TEST_F(WriterTest, RollbackLeavesTheFileIdenticalAndCommitKeepsEverything) {
  ASSERT_TRUE(w().CreateTable("Kalici").ok());
  ASSERT_TRUE(w().AddColumn("Kalici", Col("A", ado::kInteger)).ok());
  auto rows = [&] {  // as a reader of the definition counts them
    auto def = w().db().ReadDefinition(*w().db().FindTable("Kalici"));
    return def.ok() ? int64_t(def->row_count) : -1;
  };
  const std::string before = ReadAll(path_);
  ASSERT_TRUE(w().Begin().ok());
  ASSERT_TRUE(w().CreateTable("Gecici").ok());
  ASSERT_TRUE(w().AddColumn("Gecici", Col("A", ado::kInteger)).ok());
  for (int64_t i = 1; i <= 2; ++i) ASSERT_TRUE(w().InsertRow("Kalici", std::vector<Value>{i}).ok());
  EXPECT_NE(w().db().FindTable("Gecici"), nullptr) << "the transaction sees its own tables";
  EXPECT_EQ(rows(), 2) << "and the rows it added";
  EXPECT_TRUE(ReadAll(path_) == before);
  ASSERT_TRUE(w().Rollback().ok());
  EXPECT_TRUE(ReadAll(path_) == before);
  EXPECT_EQ(w().db().FindTable("Gecici"), nullptr);
  EXPECT_EQ(rows(), 0);
  ASSERT_TRUE(w().Begin().ok());
  ASSERT_TRUE(w().CreateTable("Gecici").ok());
  ASSERT_TRUE(w().Commit().ok());
  auto db = Database::Open(path_);
  ASSERT_TRUE(db.ok());
  EXPECT_EQ((*db)->UserTableNames(), (std::vector<std::string>{"Gecici", "Kalici"}));
  EXPECT_FALSE(w().Commit().ok());
  EXPECT_FALSE(w().Rollback().ok());
}

// A full disk or failing write at any point of a transaction with table creation, columns,
// a key and rows leaves the file byte-identical.
TEST(WriterFaults, EveryFailedWriteLeavesTheFileIdentical) {
  TempFolder dir;
  const std::string path = dir.str() + "/veri.mdb";
  ASSERT_NE(MustCreate(path, platform::SystemFiles()), nullptr);
  const std::string before = ReadAll(path);
  for (uint64_t n = 1;; ++n) {
    DyingFiles files(n, DyingFiles::Fault::kDiskFull);
    Status st;
    {
      auto w = Writer::Open(files, path);
      ASSERT_TRUE(w.ok()) << w.status().ToString();
      st = (*w)->Begin();
      if (st.ok()) st = (*w)->CreateTable("Stok");
      if (st.ok()) st = (*w)->AddColumn("Stok", Col("Kod", ado::kVarWChar, 10));
      if (st.ok()) st = (*w)->AddColumn("Stok", Col("Notlar", ado::kLongVarWChar));
      if (st.ok()) st = (*w)->AddPrimaryKey("Stok", "PrimaryKey", "Kod");
      for (int i = 0; i < 30 && st.ok(); ++i) {
        std::vector<Value> row = {std::string("K") + std::to_string(i), std::string(5000, 'n')};
        st = (*w)->InsertRow("Stok", row);
      }
      if (st.ok()) st = (*w)->DeleteAll("Stok").status();
      for (int i = 0; i < 30 && st.ok(); ++i) {
        std::vector<Value> row = {std::string("Y") + std::to_string(i), std::string(5000, 'n')};
        st = (*w)->InsertRow("Stok", row);
      }
      if (st.ok()) {
        st = (*w)->UpdateRows("Stok",
                              [](Row& r) -> Result<bool> {
                                r[1] = std::string("kisa");
                                return true;
                              })
                 .status();
      }
      if (st.ok()) st = (*w)->Commit();
    }
    if (st.ok()) {
      EXPECT_GT(n, 2u);
      break;
    }
    EXPECT_TRUE(ReadAll(path) == before) << "failure at change " << n << ": " << st.message();
    EXPECT_FALSE(std::filesystem::exists(platform::TempNameBeside(path)));
    ASSERT_LT(n, 1000u);
  }
  auto db = Database::Open(path);
  ASSERT_TRUE(db.ok());
  auto rows = TableRows(**db, "Stok");
  ASSERT_EQ(rows.size(), 30u);
  EXPECT_TRUE(rows[0][0] == Value(std::string("Y0")));
  EXPECT_TRUE(rows[29][1] == Value(std::string("kisa")));
}

// Delete and update through the facade: counts, values, and the counter that a delete
// leaves where it was (as Jet does).
void DeletesAndUpdates(Writer& w) {
  ASSERT_TRUE(w.CreateTable("T").ok());
  ColumnSpec id = Col("Id", ado::kInteger);
  id.autoincrement = true;
  ASSERT_TRUE(w.AddColumn("T", id).ok());
  ASSERT_TRUE(w.AddColumn("T", Col("Kod", ado::kVarWChar, 10)).ok());
  ASSERT_TRUE(w.AddPrimaryKey("T", "PrimaryKey", "Id").ok());
  for (int i = 0; i < 5; ++i) {
    std::vector<Value> row = {Null{}, std::string("001-") + std::to_string(i)};
    ASSERT_TRUE(w.InsertRow("T", row).ok());
  }
  auto changed = w.UpdateRows("T", [](Row& r) -> Result<bool> {
    auto& kod = std::get<std::string>(r[1]);
    if (kod.back() == '0' || kod.back() == '3') return false;
    kod = "005" + kod.substr(3);
    return true;
  });
  ASSERT_TRUE(changed.ok()) << changed.status().ToString();
  EXPECT_EQ(*changed, 3u);
  std::vector<Row> want;
  for (const char* kod : {"001-0", "005-1", "005-2", "001-3", "005-4"}) {
    want.push_back({int64_t(want.size() + 1), std::string(kod)});
  }
  EXPECT_EQ(TableRows(w.db(), "T"), want);
  auto deleted = w.DeleteAll("T");
  ASSERT_TRUE(deleted.ok()) << deleted.status().ToString();
  EXPECT_EQ(*deleted, 5u);
  EXPECT_TRUE(TableRows(w.db(), "T").empty());
  std::vector<Value> row = {Null{}, std::string("yeni")};
  ASSERT_TRUE(w.InsertRow("T", row).ok());
  EXPECT_EQ(TableRows(w.db(), "T"), (std::vector<Row>{{int64_t(6), std::string("yeni")}}));
}

TEST_F(WriterTest, DeleteAllAndUpdateRows) {
  DeletesAndUpdates(w());
}

TEST_F(WriterTest, ExternalJackcessChecksDeletesAndUpdates) {
  PX_JET_ORACLE_OR_SKIP();
  DeletesAndUpdates(w());
  writer_.reset();
  ExpectJetOracleCheckPasses(path_);
}

}  // namespace
}  // namespace px::jet
