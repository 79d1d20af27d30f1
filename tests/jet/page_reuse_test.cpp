// Pages freed by "DELETE FROM" are taken again by later inserts, in the same session and
// in later ones, so that a table emptied and filled again each restore keeps the file near
// its size; the file stays clean by our check and by jet-oracle. Also the AutoNumber
// increment a table definition holds.
//
//   PX_REFILL_ROWS=100000 build/tests/px_jet_tests --gtest_filter='*PageReuse.*Sessions'
// prints the file size after each of five delete-and-refill rounds of that many rows.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "jet/data_page.h"
#include "jet/free_pages.h"
#include "jet/integrity.h"
#include "jet/page_store.h"
#include "jet/usage_map.h"
#include "jet/writer.h"
#include "platform/files.h"
#include "platform/utf8_path.h"
#include "support/column_spec.h"
#include "support/jet_oracle.h"
#include "support/process.h"
#include "support/samples.h"
#include "support/temp_folder.h"
#include "table_rows.h"

namespace px::jet {
namespace {

using px::testing::Col;

constexpr int kRounds = 5;

int RefillRows() {
  const char* env = std::getenv("PX_REFILL_ROWS");
  return env ? std::atoi(env) : 2500;
}

// Table T: Id AutoNumber primary key, Kod indexed text, Notlar memo. Every row has a memo
// (long enough for an LVAL row) and every fiftieth one a memo chained over several pages,
// so that rows, indexes and long values all free pages when deleted.
std::unique_ptr<Writer> NewDatabase(const std::string& path) {
  auto w = Writer::Create(platform::SystemFiles(), path);
  EXPECT_TRUE(w.ok()) << w.status().ToString();
  if (!w.ok()) return nullptr;
  ColumnSpec id = Col("Id", ado::kInteger);
  id.autoincrement = true;
  IndexSpec kod;
  kod.name = "Kod";
  kod.columns = {{"Kod", true}};
  for (Status st : {(*w)->CreateTable("T"), (*w)->AddColumn("T", id),
                    (*w)->AddColumn("T", Col("Kod", ado::kVarWChar, 20)),
                    (*w)->AddColumn("T", Col("Notlar", ado::kLongVarWChar)),
                    (*w)->AddPrimaryKey("T", "PrimaryKey", "Id"), (*w)->AddIndex("T", kod)}) {
    EXPECT_TRUE(st.ok()) << st.ToString();
  }
  return std::move(*w);
}

Status InsertRows(Writer& w, int rows) {
  std::vector<Value> row(3);
  for (int i = 0; i < rows; ++i) {
    row[0] = Null{};
    row[1] = "K" + std::to_string((i * 7919) % 100000);
    row[2] = std::string(i % 50 == 0 ? 9000 : 200, char('a' + i % 26));
    PX_RETURN_IF_ERROR(w.InsertRow("T", row));
  }
  return Status::Ok();
}

Status Fill(Writer& w, int rows) {
  PX_RETURN_IF_ERROR(w.Begin());
  PX_RETURN_IF_ERROR(InsertRows(w, rows));
  return w.Commit();
}

// "DELETE FROM T" and the rows again, in one transaction.
Status Refill(Writer& w, int rows) {
  PX_RETURN_IF_ERROR(w.Begin());
  PX_RETURN_IF_ERROR(w.DeleteAll("T").status());
  PX_RETURN_IF_ERROR(InsertRows(w, rows));
  return w.Commit();
}

std::string Findings(Database& db) {
  std::string s;
  for (const std::string& f : CheckDatabase(db).findings) s += f + "\n";
  return s;
}

struct RefillCase {
  const char* name;
  // Deleted and filled again in two sessions, or in one transaction.
  bool separate_sessions;
};

class PageReuse : public ::testing::TestWithParam<RefillCase> {};

TEST_P(PageReuse, DeleteAndRefillRoundsKeepTheFileSize) {
  px::testing::TempFolder dir;
  const std::string path = (dir.path() / "t.mdb").string();
  const int rows = RefillRows();
  std::unique_ptr<Writer> w = NewDatabase(path);
  ASSERT_TRUE(w);
  auto reopen = [&] {
    w.reset();
    auto opened = Writer::Open(platform::SystemFiles(), path);
    EXPECT_TRUE(opened.ok()) << opened.status().ToString();
    if (opened.ok()) w = std::move(*opened);
    return opened.ok();
  };
  ASSERT_TRUE(Fill(*w, rows).ok());
  std::vector<uintmax_t> sizes = {std::filesystem::file_size(path)};
  std::cout << "filled: " << rows << " rows, " << sizes.back() << " bytes\n";
  for (int round = 1; round <= kRounds; ++round) {
    ASSERT_TRUE(reopen());
    if (GetParam().separate_sessions) {
      ASSERT_TRUE(w->DeleteAll("T").ok());
      ASSERT_TRUE(reopen());
      Status st = Fill(*w, rows);
      ASSERT_TRUE(st.ok()) << "round " << round << ": " << st.ToString();
    } else {
      Status st = Refill(*w, rows);
      ASSERT_TRUE(st.ok()) << "round " << round << ": " << st.ToString();
    }
    sizes.push_back(std::filesystem::file_size(path));
    std::cout << "round " << round << ": " << sizes.back() << " bytes\n";
    ASSERT_EQ(Findings(w->db()), "") << "round " << round;
  }
  // Index pages are laid out anew beside the old ones before those are freed, so a round
  // may need about the indexes' size beyond the first filling; never more.
  for (int round = 1; round <= kRounds; ++round) {
    EXPECT_LE(sizes[round], sizes[0] + sizes[0] / 10) << "round " << round;
  }
}

INSTANTIATE_TEST_SUITE_P(Rounds, PageReuse,
                         ::testing::Values(RefillCase{"DeleteAndFillInTwoSessions", true},
                                           RefillCase{"OneTransaction", false}),
                         [](const auto& info) { return std::string(info.param.name); });

// The page map of a new database is an inline row for 512 pages; a larger file turns it
// into a reference map naming every page, so that pages freed anywhere can be found again.
TEST(PageReuseMap, LargeFileGetsAReferenceMapThatListsFreedPages) {
  px::testing::TempFolder dir;
  const std::string path = (dir.path() / "t.mdb").string();
  std::unique_ptr<Writer> w = NewDatabase(path);
  ASSERT_TRUE(w);
  ASSERT_TRUE(Fill(*w, 4000).ok());
  ASSERT_GT(std::filesystem::file_size(path), 512u * 4096u);
  // Empty the table in its own session: its long-value and index pages are free in the map.
  ASSERT_TRUE(w->DeleteAll("T").ok());
  w.reset();
  auto db = Database::Open(PathFromUtf8(path));
  ASSERT_TRUE(db.ok()) << db.status().ToString();
  ASSERT_EQ(Findings(**db), "");
  Page map_page;
  auto row = ReadRowAt((*db)->pager(), (*db)->format(), kGlobalPageMap, map_page);
  ASSERT_TRUE(row.ok());
  EXPECT_EQ((*row)[0], kUsageMapReference);
  const uint32_t pages = uint32_t(std::filesystem::file_size(path) / 4096);
  auto free = ReadFreePages((*db)->pager(), (*db)->format(), pages);
  ASSERT_TRUE(free.ok()) << free.status().ToString();
  // 4,000 memos of 200 bytes and eighty of 9,000 held hundreds of pages.
  EXPECT_GT(free->size(), 300u);
}

struct AccessFreePages {
  const char* sample;
  std::vector<uint32_t> free;  // what Access's page map marks free inside the file
};

// Pages Access left free are taken before the file grows, lowest first; a page of the
// file that the map does not mark free is never taken.
TEST(PageReuseMap, PagesAccessLeftFreeAreTakenFirst) {
  const std::vector<AccessFreePages> cases = {
      {"empty2003.mdb", {15, 16, 40, 41, 42, 43, 44, 45}},
      {"indexTestV1997.mdb", {32, 34, 55, 56, 57, 58, 61, 62, 63, 64}},
      {"overflowTestV2000.mdb", {29, 30, 32}},
      {"adox_jet4.mdb", {}},
  };
  for (const AccessFreePages& c : cases) {
    SCOPED_TRACE(c.sample);
    PX_SAMPLE_OR_SKIP(sample, std::string("mdb/") + c.sample);
    px::testing::TempFolder dir;
    const std::string path = (dir.path() / c.sample).string();
    std::filesystem::copy_file(sample, path);
    const uintmax_t size = std::filesystem::file_size(path);
    auto store = PageStore::Open(platform::SystemFiles(), path);
    ASSERT_TRUE(store.ok()) << store.status().ToString();
    const uint32_t pages = (*store)->page_count();
    const uint32_t page_size = (*store)->page_size();
    std::vector<uint32_t> taken;
    for (size_t i = 0; i <= c.free.size(); ++i) {
      auto page = (*store)->Allocate(page_type::kData, 0);
      ASSERT_TRUE(page.ok()) << page.status().ToString();
      taken.push_back(page->number());
    }
    std::vector<uint32_t> expected = c.free;
    expected.push_back(pages);  // then the file grows
    EXPECT_EQ(taken, expected);
    ASSERT_TRUE((*store)->Commit().ok());
    store->reset();
    EXPECT_EQ(std::filesystem::file_size(path), size + page_size);
    auto db = Database::Open(PathFromUtf8(path));
    ASSERT_TRUE(db.ok());
    EXPECT_EQ(Findings(**db), "");
    auto free = ReadFreePages((*db)->pager(), (*db)->format(), pages + 1);
    ASSERT_TRUE(free.ok());
    EXPECT_EQ(free->size(), 0u);
  }
}

struct IncrementCase {
  int32_t stored;                 // the definition's increment
  std::vector<int64_t> given;     // Id per row, 0 = left to the counter
  std::vector<int64_t> expected;  // Id read back, in insert order
};

// Jet 4 keeps a table's AutoNumber increment beside the last value issued (offset 0x18 of
// the definition, signed); Access writes 1. Zero counts as 1. A given value moves the counter
// past it, never back.
TEST(AutoNumberIncrement, TheDefinitionsIncrementIsHonoured) {
  const std::vector<IncrementCase> cases = {
      {1, {0, 0, 10, 0, 5, 0}, {1, 2, 10, 11, 5, 12}},
      {5, {0, 0, 12, 0}, {5, 10, 12, 17}},
      {-1, {0, 0, -10, 0}, {-1, -2, -10, -11}},
      {0, {0, 0}, {1, 2}},
  };
  for (const IncrementCase& c : cases) {
    SCOPED_TRACE("increment " + std::to_string(c.stored));
    px::testing::TempFolder dir;
    const std::string path = (dir.path() / "t.mdb").string();
    uint32_t tdef = 0;
    {
      std::unique_ptr<Writer> w = NewDatabase(path);
      ASSERT_TRUE(w);
      tdef = w->db().FindTable("T")->tdef_page();
    }
    {
      std::fstream f(PathFromUtf8(path), std::ios::in | std::ios::out | std::ios::binary);
      f.seekp(std::streamoff(tdef) * 4096 + 0x18);
      uint8_t le[4];
      StoreLe32(le, uint32_t(c.stored));
      f.write(reinterpret_cast<const char*>(le), 4);
    }
    auto w = Writer::Open(platform::SystemFiles(), path);
    ASSERT_TRUE(w.ok()) << w.status().ToString();
    for (int64_t id : c.given) {
      std::vector<Value> row = {id == 0 ? Value(Null{}) : Value(id), "k", Null{}};
      ASSERT_TRUE((*w)->InsertRow("T", row).ok());
    }
    std::vector<int64_t> ids;
    for (const Row& row : testing::TableRows((*w)->db(), "T")) {
      ids.push_back(std::get<int64_t>(row[0]));
    }
    EXPECT_EQ(ids, c.expected);
    EXPECT_EQ(Findings((*w)->db()), "");
  }
}

TEST(PageReuseExternal, RefilledFileReadsBackInTheOtherReaders) {
  PX_JET_ORACLE_OR_SKIP();
  if (px::testing::FindOnPath("mdb-export").empty()) GTEST_SKIP() << "mdbtools is not installed";
  px::testing::TempFolder dir;
  const std::string path = (dir.path() / "t.mdb").string();
  std::unique_ptr<Writer> w = NewDatabase(path);
  ASSERT_TRUE(w);
  for (int round = 0; round < 3; ++round) {
    if (round > 0) {
      w.reset();
      auto opened = Writer::Open(platform::SystemFiles(), path);
      ASSERT_TRUE(opened.ok()) << opened.status().ToString();
      w = std::move(*opened);
    }
    ASSERT_TRUE((round == 0 ? Fill(*w, 2500) : Refill(*w, 2500)).ok());
  }
  w.reset();
  auto check = px::testing::RunJetOracle({"check", path});
  EXPECT_TRUE(check.ExitedWith(0)) << check.Describe() << "\n" << check.out.substr(0, 3000);
  auto rows = px::testing::RunJetOracle({"rows", path, "T"});
  ASSERT_TRUE(rows.ExitedWith(0)) << rows.Describe();
  EXPECT_EQ(std::count(rows.out.begin(), rows.out.end(), '\n'), 2500);
  auto exported = px::testing::RunProcess({"mdb-export", path, "T"});
  ASSERT_TRUE(exported.ExitedWith(0)) << exported.Describe();
  EXPECT_EQ(std::count(exported.out.begin(), exported.out.end(), '\n'), 2501);  // and a header
}

}  // namespace
}  // namespace px::jet
