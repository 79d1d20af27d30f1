// Large inserts whose index entries are sorted and merged at commit, judged from outside:
// `jet-oracle check` on 100,000 rows of the benchmark table written by us, and a copy into
// an existing database killed part way, which must leave that database as it was.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>

#include "jet/integrity.h"
#include "jet/writer.h"
#include "platform/files.h"
#include "support/column_spec.h"
#include "support/jet_oracle.h"
#include "support/process.h"
#include "support/temp_folder.h"

namespace px::jet {
namespace {

using px::testing::Col;

using px::testing::ReadAll;
using px::testing::TempFolder;

constexpr int64_t kRows = 100000;

// The table `jet-oracle gen` writes (Hareket) with kRows rows, in one transaction.
Status WriteGenTable(const std::string& path) {
  PX_ASSIGN_OR_RETURN(auto w, Writer::Create(platform::SystemFiles(), path));
  ColumnSpec id = Col("Id", ado::kInteger);
  id.autoincrement = true;
  PX_RETURN_IF_ERROR(w->CreateTable("Hareket"));
  for (const ColumnSpec& c :
       {id, Col("Kod", ado::kVarWChar, 20), Col("Aciklama", ado::kVarWChar, 100),
        Col("Tutar", ado::kCurrency), Col("Miktar", ado::kDouble), Col("Tarih", ado::kDate),
        Col("Aktif", ado::kBoolean), Col("Notlar", ado::kLongVarWChar)}) {
    PX_RETURN_IF_ERROR(w->AddColumn("Hareket", c));
  }
  PX_RETURN_IF_ERROR(w->AddPrimaryKey("Hareket", "PrimaryKey", "Id"));
  PX_RETURN_IF_ERROR(w->AddIndex("Hareket", IndexSpec{"Kod", {{"Kod", true}}}));
  PX_RETURN_IF_ERROR(w->Begin());
  const char* words[] = {"çek", "ödeme", "ışık", "şube", "müşteri", "İade", "borç", "ürün"};
  std::mt19937_64 rng(42);
  for (int64_t i = 0; i < kRows; ++i) {
    std::string text;
    for (int k = 0; k < 5; ++k) text += std::string(words[rng() % 8]) + " ";
    std::vector<Value> row = {Null{},
                              "K" + std::to_string(rng() % 50000),
                              text,
                              Currency{int64_t(rng() % 100000000)},
                              double(rng() % 1000000) / 100.0,
                              OleDate{36526.0 + double(rng() % 9000)},
                              (rng() & 1) != 0,
                              i % 10 == 0 ? Value(std::string(300, 'n')) : Value(Null{})};
    PX_RETURN_IF_ERROR(w->InsertRow("Hareket", row));
  }
  return w->Commit();
}

// The user tables of a file and their row counts; empty when the file does not open, does not
// pass the integrity check or a table does not read to its end. Two finished copies differ in
// the creation times of their catalog rows, so a finished copy is known by what it holds.
std::map<std::string, size_t> Contents(const std::string& bytes) {
  std::map<std::string, size_t> out;
  auto db = Database::OpenMemory(std::vector<uint8_t>(bytes.begin(), bytes.end()), "hedef.mdb");
  if (!db.ok() || !CheckDatabase(**db).ok()) return out;
  for (const std::string& table : (*db)->UserTableNames()) {
    auto reader = (*db)->OpenTable(table);
    if (!reader.ok()) return {};
    Row row;
    size_t rows = 0;
    while ((*reader)->Next(row)) ++rows;
    if (!(*reader)->status().ok()) return {};
    out[table] = rows;
  }
  return out;
}

class BulkInsertTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    folder_ = new TempFolder();
    source_ = folder_->str() + "/hareket.mdb";
    Status st = WriteGenTable(source_);
    ASSERT_TRUE(st.ok()) << st.ToString();
  }
  static void TearDownTestSuite() {
    delete folder_;
    folder_ = nullptr;
  }
  static TempFolder* folder_;
  static std::string source_;
};
TempFolder* BulkInsertTest::folder_ = nullptr;
std::string BulkInsertTest::source_;

TEST_F(BulkInsertTest, TheOracleFindsEveryRowThroughEveryIndex) {
  auto db = Database::Open(source_);
  ASSERT_TRUE(db.ok()) << db.status().ToString();
  IntegrityReport report = CheckDatabase(**db);
  EXPECT_TRUE(report.ok()) << report.findings.front();
  PX_JET_ORACLE_OR_SKIP();
  testing::RunResult r =
      testing::RunJetOracle({"check", source_}, {.input = "", .timeout_seconds = 300});
  ASSERT_TRUE(r.started) << r.Describe();
  EXPECT_NE(r.out.find("\"ok\": true"), std::string::npos) << r.out.substr(0, 2000) << r.err;
  EXPECT_NE(r.out.find("\"entries\": 100000"), std::string::npos) << r.out.substr(0, 2000);
}

// The copy is killed at moments spread over a whole copy's time on this machine (before or
// while its rows go in, while the indexes are merged, while the new file is written); each
// time the target is byte-identical to before or holds what a finished copy holds, and opens
// for change again. At least one of the moments must find the copy still running.
TEST_F(BulkInsertTest, AKilledCopyLeavesTheTargetAsBeforeOrAsAfter) {
  TempFolder dir;
  const std::string target = dir.str() + "/hedef.mdb";
  {
    auto w = Writer::Create(platform::SystemFiles(), target);
    ASSERT_TRUE(w.ok()) << w.status().ToString();
    ASSERT_TRUE((*w)->CreateTable("Eski").ok());
    ASSERT_TRUE((*w)->AddColumn("Eski", Col("A", ado::kInteger)).ok());
    std::vector<Value> row = {int64_t(1)};
    ASSERT_TRUE((*w)->InsertRow("Eski", row).ok());
  }
  const std::string before = ReadAll(target);
  const auto start = std::chrono::steady_clock::now();
  testing::RunResult whole = testing::RunProgram({"mdb", "kopyala", source_, target});
  const double whole_seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  ASSERT_TRUE(whole.ExitedWith(0)) << whole.Describe();
  const std::string after = ReadAll(target);
  ASSERT_NE(after, before);
  const std::map<std::string, size_t> copied = Contents(after);
  ASSERT_EQ(copied.size(), 2u);

  int killed = 0;
  for (double share : {0.1, 0.3, 0.5, 0.7, 0.9}) {
    SCOPED_TRACE(share);
    std::ofstream(target, std::ios::binary | std::ios::trunc) << before;
    testing::RunOptions options;
    options.timeout_seconds = whole_seconds * share;
    testing::RunResult r = testing::RunProgram({"mdb", "kopyala", source_, target}, options);
    ASSERT_TRUE(r.started) << r.Describe();
    const std::string now = ReadAll(target);
    if (!r.timed_out) {
      ASSERT_TRUE(r.ExitedWith(0)) << r.Describe();
      EXPECT_TRUE(Contents(now) == copied);
      continue;
    }
    ++killed;
    EXPECT_TRUE(now == before || Contents(now) == copied) << "a killed copy tore " << target;
    auto again = Writer::Open(platform::SystemFiles(), target);
    EXPECT_TRUE(again.ok()) << again.status().ToString();
  }
  EXPECT_GT(killed, 0) << "every copy ended before its kill; give it more rows";
}

}  // namespace
}  // namespace px::jet
