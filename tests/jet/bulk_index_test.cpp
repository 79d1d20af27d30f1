// Index entries of inserted rows sorted and merged into their indexes at once: the sorted
// runs (in memory and in the scratch file beside the database), indexes laid out bottom-up
// over new and existing entries (deep trees included), unique keys refused when the entries
// are merged, and the file untouched by a transaction that fails or is rolled back.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>

#include "jet/index_bulk.h"
#include "jet/integrity.h"
#include "jet/page_store.h"
#include "jet/writer.h"
#include "platform/files.h"
#include "support/column_spec.h"
#include "support/samples.h"
#include "support/temp_folder.h"
#include "table_rows.h"

namespace px::jet {
namespace {

using px::testing::Col;

using px::testing::ReadAll;
using px::testing::TempFolder;

std::unique_ptr<Writer> MustCreate(const std::string& path) {
  auto w = Writer::Create(platform::SystemFiles(), path);
  EXPECT_TRUE(w.ok()) << w.status().ToString();
  return w.ok() ? std::move(*w) : nullptr;
}

// Temporary files a transaction leaves beside the database while it is open.
std::vector<std::string> TemporariesBeside(const std::string& path) {
  std::vector<std::string> out;
  for (const std::string& p :
       {platform::TempNameBeside(path), SpillFileBeside(path), ScratchFileBeside(path)}) {
    if (std::filesystem::exists(p)) out.push_back(p);
  }
  return out;
}

void ExpectSound(const std::string& path, uint64_t rows) {
  auto db = Database::Open(path);
  ASSERT_TRUE(db.ok()) << db.status().ToString();
  IntegrityReport report = CheckDatabase(**db);
  EXPECT_TRUE(report.ok()) << report.findings.front();
  auto schema = (*db)->ReadSchema("Cari");
  ASSERT_TRUE(schema.ok());
  EXPECT_EQ(testing::TableRows(**db, "Cari").size(), rows);
}

class EntryRunsTest : public ::testing::TestWithParam<size_t> {};

// Entries come back in byte order whether they stayed in the buffer or went to runs in the
// scratch file, which the end of the transaction removes.
TEST_P(EntryRunsTest, SortsAcrossRuns) {
  TempFolder dir;
  const std::string path = dir.str() + "/veri.mdb";
  ASSERT_NE(MustCreate(path), nullptr);
  auto store = PageStore::Open(platform::SystemFiles(), path);
  ASSERT_TRUE(store.ok()) << store.status().ToString();
  PageStorePages pages(**store);
  EntryRuns runs(pages, GetParam());
  std::mt19937 rng(7);
  std::vector<EntryBytes> expected;
  for (uint32_t i = 0; i < 5000; ++i) {
    std::vector<uint8_t> key(1 + rng() % 40);
    for (auto& b : key) b = uint8_t(rng() % 4);  // many shared prefixes and equal keys
    const RowPointer row{100 + i / 200, uint8_t(i % 200)};
    ASSERT_TRUE(runs.Add(key, row).ok());
    expected.push_back(LeafEntry(key, row));
  }
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(runs.size(), expected.size());
  const bool spilled = GetParam() < 5000 * 45;
  EXPECT_EQ(std::filesystem::exists(ScratchFileBeside(path)), spilled);
  auto sorted = runs.Sorted();
  ASSERT_TRUE(sorted.ok());
  Bytes entry;
  size_t i = 0;
  for (;; ++i) {
    auto more = (*sorted)->Next(entry);
    ASSERT_TRUE(more.ok()) << more.status().ToString();
    if (!*more) break;
    ASSERT_LT(i, expected.size());
    ASSERT_TRUE(std::equal(entry.begin(), entry.end(), expected[i].begin(), expected[i].end()))
        << "entry " << i;
  }
  EXPECT_EQ(i, expected.size());
  (*store)->Rollback();
  EXPECT_TRUE(TemporariesBeside(path).empty());
}

INSTANTIATE_TEST_SUITE_P(BufferBytes, EntryRunsTest,
                         ::testing::Values(size_t{1} << 20, size_t{2000}, size_t{64}));

// Table Cari: Kod the primary key, No a unique index that takes any number of Nulls, Ad a
// plain index on a wide text so that its tree grows several levels from a few thousand rows.
class BulkIndexTest : public ::testing::Test {
 protected:
  void SetUp() override {
    path_ = dir_.str() + "/veri.mdb";
    writer_ = MustCreate(path_);
    ASSERT_NE(writer_, nullptr);
    Writer& w = *writer_;
    ASSERT_TRUE(w.CreateTable("Cari").ok());
    ASSERT_TRUE(w.AddColumn("Cari", Col("Kod", ado::kVarWChar, 10)).ok());
    ASSERT_TRUE(w.AddColumn("Cari", Col("No", ado::kInteger)).ok());
    ASSERT_TRUE(w.AddColumn("Cari", Col("Ad", ado::kVarWChar, 200)).ok());
    ASSERT_TRUE(w.AddPrimaryKey("Cari", "PrimaryKey", "Kod").ok());
    ASSERT_TRUE(
        w.AddIndex("Cari", IndexSpec{"Tekil", {{"No", true}}, false, true, false, false}).ok());
    ASSERT_TRUE(
        w.AddIndex("Cari", IndexSpec{"Ad", {{"Ad", false}}, false, false, false, false}).ok());
  }
  // Rows "<prefix>0" ... with No = first + i, or Null when `nulls`.
  Status Insert(const std::string& prefix, int count, int64_t first, bool nulls = false) {
    std::mt19937 rng(uint32_t(first) + 1);
    for (int i = 0; i < count; ++i) {
      std::string ad(150, 'a');
      for (char& c : ad) c = char('a' + rng() % 3);
      std::vector<Value> row = {prefix + std::to_string(i),
                                nulls ? Value(Null{}) : Value(first + i), ad + "ış"};
      PX_RETURN_IF_ERROR(writer_->InsertRow("Cari", row));
    }
    return Status::Ok();
  }

  TempFolder dir_;
  std::string path_;
  std::unique_ptr<Writer> writer_;
};

TEST_F(BulkIndexTest, NewRowsMergeWithExistingEntries) {
  ASSERT_TRUE(writer_->Begin().ok());
  ASSERT_TRUE(Insert("A", 3000, 0).ok());
  ASSERT_TRUE(writer_->Commit().ok());
  ExpectSound(path_, 3000);
  // Keys that fall between and after those already there; then a few against many.
  ASSERT_TRUE(writer_->Begin().ok());
  ASSERT_TRUE(Insert("B", 2500, 10000, true).ok());
  ASSERT_TRUE(writer_->Commit().ok());
  ExpectSound(path_, 5500);
  ASSERT_TRUE(Insert("C", 3, 20000).ok());
  ExpectSound(path_, 5503);
  EXPECT_TRUE(TemporariesBeside(path_).empty());
}

TEST_F(BulkIndexTest, RollbackLeavesTheFileIdentical) {
  ASSERT_TRUE(Insert("A", 50, 0).ok());
  const std::string before = ReadAll(path_);
  ASSERT_TRUE(writer_->Begin().ok());
  ASSERT_TRUE(Insert("B", 3000, 100).ok());
  ASSERT_TRUE(writer_->DeleteAll("Cari").ok());
  ASSERT_TRUE(Insert("C", 2000, 100).ok());
  ASSERT_TRUE(writer_->Rollback().ok());
  EXPECT_TRUE(ReadAll(path_) == before);
  EXPECT_TRUE(TemporariesBeside(path_).empty());
  ExpectSound(path_, 50);
}

// Each case starts from 100 committed rows (A0..A99, No 0..99) and inserts rows in one
// transaction; the violation shows at the insert (a required Null) or when the entries are
// merged at Commit, which then leaves the file as it was.
TEST_F(BulkIndexTest, UniqueAndRequiredViolationsAreRefused) {
  ASSERT_TRUE(Insert("A", 100, 0).ok());
  const std::string before = ReadAll(path_);
  struct Case {
    std::string name;
    int rows;  // new rows N0.. with No 1000..; then the odd row
    std::vector<Value> odd;
    std::vector<std::string> message;
  };
  const std::vector<Case> cases = {
      {"duplicate among the new rows",
       300,
       {std::string("N150"), int64_t(5000), std::string("x")},
       {"Cari", "PrimaryKey", "'N150'"}},
      {"duplicate of a row there",
       300,
       {std::string("A7"), int64_t(5000), std::string("x")},
       {"Cari", "PrimaryKey", "A7"}},
      {"duplicate in a second unique index",
       300,
       {std::string("Z"), int64_t(42), std::string("x")},
       {"Cari", "Tekil", "42"}},
      {"few rows against many",
       2,
       {std::string("A9"), int64_t(5000), std::string("x")},
       {"Cari", "PrimaryKey", "A9"}},
      {"Null in a required index",
       300,
       {Null{}, int64_t(5000), std::string("x")},
       {"Cari", "PrimaryKey", "Kod"}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ASSERT_TRUE(writer_->Begin().ok());
    Status st = Insert("N", c.rows, 1000);
    ASSERT_TRUE(st.ok()) << st.ToString();
    st = writer_->InsertRow("Cari", c.odd);
    if (st.ok()) {
      st = writer_->Commit();
    } else {
      EXPECT_TRUE(writer_->Rollback().ok());
    }
    ASSERT_FALSE(st.ok());
    for (const std::string& part : c.message) {
      EXPECT_NE(st.message().find(part), std::string::npos) << st.message();
    }
    EXPECT_NE(st.message().find(path_), std::string::npos) << st.message();
    EXPECT_TRUE(ReadAll(path_) == before);
    EXPECT_TRUE(TemporariesBeside(path_).empty());
    EXPECT_FALSE(writer_->Rollback().ok()) << "the failed transaction is over";
  }
  // Nulls in the unique index that allows them, and the same transaction committed fine.
  ASSERT_TRUE(writer_->Begin().ok());
  ASSERT_TRUE(Insert("N", 300, 0, true).ok());
  ASSERT_TRUE(writer_->Commit().ok());
  ExpectSound(path_, 400);
}

// A Jet 3 file Access wrote (its index pages take one-byte prefixes): rows that go between
// and after the 512 there are merged into its indexes.
TEST(BulkIndexJet3, RowsMergeIntoAnAccessWrittenIndex) {
  PX_SAMPLE_OR_SKIP(sample, "mdb/compIndexTestV1997.mdb");
  TempFolder dir;
  const std::string path = dir.str() + "/jet3.mdb";
  std::filesystem::copy_file(sample, path);
  {
    auto w = Writer::Open(platform::SystemFiles(), path);
    ASSERT_TRUE(w.ok()) << w.status().ToString();
    ASSERT_TRUE((*w)->Begin().ok());
    for (int64_t i = 0; i < 600; ++i) {
      std::vector<Value> row = {i * 7 % 1000, "kod " + std::to_string(i), std::string("abc")};
      Status st = (*w)->InsertRow("Table1", row);
      ASSERT_TRUE(st.ok()) << st.ToString();
    }
    Status st = (*w)->Commit();
    ASSERT_TRUE(st.ok()) << st.ToString();
  }
  auto db = Database::Open(path);
  ASSERT_TRUE(db.ok()) << db.status().ToString();
  IntegrityReport report = CheckDatabase(**db);
  EXPECT_TRUE(report.ok()) << report.findings.front();
  EXPECT_GE(report.index_entries, 1112u);
}

}  // namespace
}  // namespace px::jet
