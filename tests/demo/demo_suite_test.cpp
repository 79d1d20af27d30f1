// The demo suite builder: two builds hold the same files and rows, every database passes the
// integrity check, the catalog describes every module database where the module registry
// puts it, and every live table has exactly the columns its catalog rows give.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "db/text_of.h"
#include "jet/database.h"
#include "jet/format.h"
#include "jet/integrity.h"
#include "jet/tabledef.h"
#include "modules/moduller.h"
#include "platform/files.h"
#include "platform/utf8_path.h"
#include "suite_builder.h"
#include "support/temp_folder.h"

namespace px::demo {
namespace {

namespace fs = std::filesystem;
using testing::TempFolder;

// Files below `kok`, "/"-separated relative paths, in order.
std::vector<std::string> Files(const fs::path& kok) {
  std::vector<std::string> out;
  for (const auto& e : fs::recursive_directory_iterator(kok)) {
    if (e.is_regular_file()) out.push_back(Utf8FromPath(fs::relative(e.path(), kok)));
  }
  std::sort(out.begin(), out.end());
  return out;
}

std::unique_ptr<jet::Database> Open(const fs::path& p) {
  auto db = jet::Database::Open(p);
  EXPECT_TRUE(db.ok()) << db.status().ToString();
  return db.ok() ? std::move(*db) : nullptr;
}

// Every row of a table, each cell as the catalog reader takes it (text, Null as "").
std::vector<std::vector<std::string>> TextRows(jet::Database& db, const std::string& table) {
  std::vector<std::vector<std::string>> rows;
  auto reader = db.OpenTable(table);
  EXPECT_TRUE(reader.ok()) << table;
  if (!reader.ok()) return rows;
  Row row;
  while ((*reader)->Next(row)) {
    std::vector<std::string> cells;
    for (const Value& v : row) cells.push_back(db::TextOf(v));
    rows.push_back(std::move(cells));
  }
  EXPECT_TRUE((*reader)->status().ok()) << (*reader)->status().ToString();
  return rows;
}

// "PrimaryKey(Id)": the primary key's name and columns; empty when the table has none.
std::string PrimaryKey(jet::Database& db, const std::string& table) {
  const jet::CatalogEntry* entry = db.FindTable(table);
  if (entry == nullptr) return "no table";
  auto def = db.ReadDefinition(*entry);
  if (!def.ok()) return def.status().ToString();
  for (const jet::LogicalIndex& l : def->logical_indexes) {
    if (l.type != jet::kLogicalIndexPrimary) continue;
    std::string out = l.name + "(";
    for (const jet::IndexColumn& c : def->real_indexes[l.real_index].columns) {
      out += def->columns[size_t(def->ColumnByNumber(c.column_number))].name;
    }
    return out + ")";
  }
  return "";
}

class DemoSuite : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    folder_ = new TempFolder;
    auto ozet = DemoSuiteKur(platform::SystemFiles(), folder_->str() + "/suite");
    ASSERT_TRUE(ozet.ok()) << ozet.status().ToString();
    ozet_ = *ozet;
  }
  static void TearDownTestSuite() {
    delete folder_;
    folder_ = nullptr;
  }
  static fs::path Root() { return folder_->path() / "suite"; }
  static fs::path Genel() { return Root() / "C" / "Pergonix" / "Genel" / "Data"; }

  static TempFolder* folder_;
  static SuiteOzeti ozet_;
};
TempFolder* DemoSuite::folder_ = nullptr;
SuiteOzeti DemoSuite::ozet_;

TEST_F(DemoSuite, TwoBuildsHoldTheSameFilesAndRowsAndPassTheIntegrityCheck) {
  TempFolder other;
  auto ozet = DemoSuiteKur(platform::SystemFiles(), other.str());
  ASSERT_TRUE(ozet.ok()) << ozet.status().ToString();
  const auto files = Files(Root());
  ASSERT_EQ(files, Files(other.path()));

  int databases = 0;
  int64_t rows = 0;
  for (const std::string& f : files) {
    SCOPED_TRACE(f);
    if (!f.ends_with(".mdb")) {
      EXPECT_EQ(testing::ReadAll(Root() / f), testing::ReadAll(other.path() / f));
      continue;
    }
    ++databases;
    auto a = Open(Root() / f);
    auto b = Open(other.path() / f);
    ASSERT_TRUE(a && b);
    const jet::IntegrityReport report = jet::CheckDatabase(*a);
    EXPECT_TRUE(report.ok()) << ::testing::PrintToString(report.findings);
    EXPECT_TRUE(report.notes.empty()) << ::testing::PrintToString(report.notes);
    ASSERT_EQ(a->UserTableNames(), b->UserTableNames());
    for (const std::string& table : a->UserTableNames()) {
      auto ra = a->OpenTable(table);
      auto rb = b->OpenTable(table);
      ASSERT_TRUE(ra.ok() && rb.ok()) << table;
      Row x, y;
      int64_t n = 0;
      while ((*ra)->Next(x)) {
        ASSERT_TRUE((*rb)->Next(y)) << table << " ends early at row " << n;
        ASSERT_EQ(x, y) << table << " row " << n;
        ++n;
      }
      EXPECT_FALSE((*rb)->Next(y)) << table << " has more rows";
      EXPECT_TRUE((*ra)->status().ok()) << (*ra)->status().ToString();
      rows += n;
    }
  }
  EXPECT_EQ(databases, ozet->veritabani);
  EXPECT_EQ(rows, ozet->satir);
  // The larger tables hold a few thousand rows, and some are empty.
  EXPECT_GT(ozet->satir, 50000);
}

TEST_F(DemoSuite, CatalogPutsEveryModuleDatabaseWhereTheRegistrySaysAndItIsThere) {
  auto katalog = Open(Genel() / "DonemAc.mdb");
  ASSERT_TRUE(katalog);
  // VeritabaniModulAdi, VeritabaniAccessAdi, ..., VeritabaniKonum (3).
  std::map<std::string, std::vector<std::string>> by_module;
  for (const auto& r : TextRows(*katalog, "tablo_veritabani_bilgileri")) by_module[r[0]] = r;
  ASSERT_EQ(by_module.size(), modules::kModulSayisi);
  const std::map<int, std::string> kKonum = {{modules::kKonumData, "Data"},
                                             {modules::kKonumDataSirket, "DataSirket"},
                                             {modules::kKonumDataSirketYil, "DataSirketYil"}};
  for (const modules::Modul& m : modules::Moduller()) {
    SCOPED_TRACE(std::string(m.klasor));
    ASSERT_TRUE(by_module.count(std::string(m.klasor)));
    const auto& row = by_module[std::string(m.klasor)];
    EXPECT_EQ(row[3], kKonum.at(m.eski_yedek_konumu));
    for (const char* sirket : {"001", "002", "003"}) {
      for (const char* yil : {"2009", "2010"}) {
        fs::path p = Root() / "C" / "Pergonix" / std::string(m.klasor) / "Data";
        if (row[3] != "Data") p /= sirket;
        if (row[3] == "DataSirketYil") p /= yil;
        EXPECT_TRUE(fs::exists(p / row[1])) << p / row[1];
      }
    }
  }
}

TEST_F(DemoSuite, EveryLiveTableHasTheColumnsOfItsCatalogRows) {
  auto katalog = Open(Genel() / "DonemAc.mdb");
  ASSERT_TRUE(katalog);
  std::map<std::string, std::string> file_of;  // VeritabaniTanimi -> module folder/file
  for (const auto& r : TextRows(*katalog, "tablo_veritabani_bilgileri")) {
    std::string rel = r[0] + "/Data";
    if (r[3] != "Data") rel += "/001";
    if (r[3] == "DataSirketYil") rel += "/2009";
    file_of[r[4]] = rel + "/" + r[1];
  }
  // TabloAdi, VeritabaniTanim, SahaAdi, SahaBoyu, SahaOtomatikSayi, SahaVeriTuru,
  // SahaPrimaryKey, SahaPozisyonu: positions run 1, 2, ... in each table.
  std::map<std::pair<std::string, std::string>, std::vector<std::vector<std::string>>> columns;
  for (auto& r : TextRows(*katalog, "tablo_veritabani_saha_bilgileri")) {
    columns[{r[1], r[0]}].push_back(r);
  }
  const std::map<std::string, int> kAdo = {
      {"String", ado::kVarWChar},   {"Memo", ado::kLongVarWChar},
      {"Double", ado::kDouble},     {"Byte", ado::kUnsignedTinyInt},
      {"Integer", ado::kSmallInt},  {"Long", ado::kInteger},
      {"Single", ado::kSingle},     {"Boolean", ado::kBoolean},
      {"Currency", ado::kCurrency}, {"Date", ado::kDate}};
  std::set<std::string> tables_listed;
  for (const auto& r : TextRows(*katalog, "tablo_veritabani_tablo_bilgileri")) {
    SCOPED_TRACE(r[1] + " / " + r[0]);
    tables_listed.insert(r[1] + "/" + r[0]);
    ASSERT_TRUE(file_of.count(r[1]));
    auto live = Open(Root() / "C" / "Pergonix" / file_of[r[1]]);
    ASSERT_TRUE(live);
    auto schema = live->ReadSchema(r[0]);
    ASSERT_TRUE(schema.ok()) << schema.status().ToString();
    const auto& cat = columns[{r[1], r[0]}];
    ASSERT_EQ(schema->fields.size(), cat.size());
    std::string key;
    for (size_t i = 0; i < cat.size(); ++i) {
      if (cat[i][6] == "E") key = "PrimaryKey(" + cat[i][2] + ")";
      const FieldInfo& f = schema->fields[i];
      EXPECT_EQ(f.name, cat[i][2]);
      EXPECT_EQ(cat[i][7], std::to_string(i + 1));
      EXPECT_EQ(f.ado_type, kAdo.at(cat[i][5])) << f.name;
      if (cat[i][5] == "String") {
        EXPECT_EQ(std::to_string(f.size), cat[i][3]) << f.name;
      }
      EXPECT_EQ(f.autonumber, cat[i][4] == "E") << f.name;
    }
    EXPECT_EQ(PrimaryKey(*live, r[0]), key);
  }
  EXPECT_EQ(tables_listed.size(), columns.size());
}

}  // namespace
}  // namespace px::demo
