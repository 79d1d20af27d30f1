// The mdb commands that write: yarat makes a database others read, kopyala copies sample
// tables so that our reader, mdbtools and Jackcess read the copy as they read the original.
#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "jet/database.h"
#include "platform/utf8_path.h"
#include "support/jet_oracle.h"
#include "support/process.h"
#include "support/samples.h"
#include "support/temp_folder.h"

namespace px {
namespace {

using testing::ReadAll;
using testing::RunJetOracle;
using testing::RunProcess;
using testing::RunProgram;

// What the program prints on standard output; a failed run fails the test.
std::string Printed(const std::vector<std::string>& args) {
  auto r = RunProgram(args);
  EXPECT_TRUE(r.ExitedWith(0)) << args[0] << " " << args[1] << ": " << r.Describe();
  return r.out;
}

// Each end of each relationship among user tables: "table.index -> other.index type t
// cascade u/d", and the MSysRelationships rows that join user tables.
std::set<std::string> Relationships(const std::string& path) {
  std::set<std::string> out;
  auto db = jet::Database::Open(PathFromUtf8(path));
  EXPECT_TRUE(db.ok()) << db.status().ToString();
  if (!db.ok()) return out;
  const jet::JetFormat& f = (*db)->format();
  for (const std::string& name : (*db)->UserTableNames()) {
    auto def = (*db)->ReadDefinition(*(*db)->FindTable(name));
    EXPECT_TRUE(def.ok());
    for (const jet::LogicalIndex& l : def->logical_indexes) {
      if (l.type != jet::kLogicalIndexForeign) continue;
      std::string other = "?";
      for (const jet::CatalogEntry& e : (*db)->tables()) {
        if (!e.has_tdef() || e.tdef_page() != l.related_table_page) continue;
        auto odef = (*db)->ReadDefinition(e);
        for (const jet::LogicalIndex& ol : odef->logical_indexes) {
          if (int32_t(ol.number) == l.related_index) other = e.name + "." + ol.name;
        }
      }
      out.insert(name + "." + l.name + " -> " + other + " type " +
                 std::to_string(l.related_table_type) + " cascade " +
                 std::to_string(l.raw[f.logical_idx_type - 2]) + "/" +
                 std::to_string(l.raw[f.logical_idx_type - 1]));
    }
  }
  auto rows = (*db)->OpenTable("MSysRelationships");
  EXPECT_TRUE(rows.ok());
  Row row;
  while ((*rows)->Next(row)) {
    std::string line;
    for (const Value& v : row) {
      if (const auto* text = std::get_if<std::string>(&v)) line += *text;
      if (const auto* number = std::get_if<int64_t>(&v)) line += std::to_string(*number);
      line += ",";
    }
    if (line.find("MSys") == std::string::npos) out.insert(line);
  }
  return out;
}

TEST(MdbYarat, MakesAnEmptyDatabaseAndRefusesAnExistingFile) {
  testing::TempFolder dir;
  const std::string path = Utf8FromPath(dir.path() / "boş.mdb");
  Printed({"mdb", "yarat", path});
  EXPECT_EQ(Printed({"mdb", "tablolar", path}), "");
  const std::string before = ReadAll(PathFromUtf8(path));
  auto again = RunProgram({"mdb", "yarat", path});
  EXPECT_TRUE(again.ExitedWith(1)) << again.Describe();
  EXPECT_NE(again.err.find(path), std::string::npos) << again.err;
  EXPECT_TRUE(ReadAll(PathFromUtf8(path)) == before);
}

TEST(MdbYarat, ExternalReadersAcceptTheNewDatabase) {
  PX_JET_ORACLE_OR_SKIP();
  if (testing::FindOnPath("mdb-tables").empty()) GTEST_SKIP() << "mdbtools is not installed";
  testing::TempFolder dir;
  const std::string path = Utf8FromPath(dir.path() / "bos.mdb");
  Printed({"mdb", "yarat", path});
  auto tables = RunProcess({"mdb-tables", "-S", "-1", path});
  EXPECT_EQ(tables.out, "MSysObjects\nMSysACEs\nMSysQueries\nMSysRelationships\n")
      << tables.Describe();
  auto check = RunJetOracle({"check", path});
  EXPECT_TRUE(check.ExitedWith(0)) << check.Describe() << "\n" << check.out;
}

// Every table of these samples is copied; the copy's rows (our reader and Jackcess) and
// schema (but for foreign keys) equal the original's, and Jackcess finds every row through
// every index. A Jet 3 source becomes Jet 4 tables.
class MdbKopyala : public ::testing::TestWithParam<const char*> {
 protected:
  void SetUp() override {
    PX_SAMPLE_OR_SKIP(sample, std::string("mdb/") + GetParam());
    source_ = sample;
    copy_ = Utf8FromPath(dir_.path() / "kopya.mdb");
    Printed({"mdb", "kopyala", source_, copy_});
  }
  testing::TempFolder dir_;
  std::string source_, copy_;
};

TEST_P(MdbKopyala, CopyReadsBackEqual) {
  const std::string tables = Printed({"mdb", "tablolar", source_});
  EXPECT_EQ(Printed({"mdb", "tablolar", copy_}), tables);
  for (const std::string& table : testing::SplitLines(tables)) {
    EXPECT_EQ(Printed({"mdb", "satirlar", copy_, table}),
              Printed({"mdb", "satirlar", source_, table}))
        << table;
    EXPECT_EQ(Printed({"mdb", "sema", copy_, table}), Printed({"mdb", "sema", source_, table}))
        << table;
  }
  EXPECT_EQ(Relationships(copy_), Relationships(source_));
}

TEST_P(MdbKopyala, ExternalJackcessReadsTheCopyAsTheOriginal) {
  PX_JET_ORACLE_OR_SKIP();
  auto check = RunJetOracle({"check", copy_});
  EXPECT_TRUE(check.ExitedWith(0)) << check.Describe() << "\n" << check.out.substr(0, 3000);
  for (const std::string& table : testing::SplitLines(RunJetOracle({"tables", source_}).out)) {
    EXPECT_EQ(RunJetOracle({"rows", copy_, table}).out, RunJetOracle({"rows", source_, table}).out)
        << table;
  }
}

INSTANTIATE_TEST_SUITE_P(Samples, MdbKopyala,
                         ::testing::Values("testV2000.mdb", "indexTestV2000.mdb",
                                           "fixedNumericTestV2000.mdb", "delColTestV2000.mdb",
                                           "overflowTestV2000.mdb", "bigIndexTestV2000.mdb",
                                           "compIndexTestV2000.mdb", "fixedTextTestV2000.mdb",
                                           "testV1997.mdb", "indexTestV1997.mdb"));

// A relationship goes with its tables: copying one end alone leaves it out.
TEST(MdbKopyalaTables, RelationshipsComeOnlyWithBothTables) {
  PX_SAMPLE_OR_SKIP(source, "mdb/indexTestV2000.mdb");
  ASSERT_EQ(Relationships(source).size(), 6u);  // two relationships, three parts each
  testing::TempFolder dir;
  const std::string copy = Utf8FromPath(dir.path() / "kopya.mdb");
  Printed({"mdb", "kopyala", source, copy, "Table1", "Table2"});
  const std::set<std::string> copied = Relationships(copy);
  ASSERT_EQ(copied.size(), 3u) << ::testing::PrintToString(copied);
  for (const std::string& part : copied) {
    EXPECT_EQ(part.find("Table3"), std::string::npos) << part;
  }
}

TEST(MdbKopyalaTables, CopiesOnlyTheNamedTablesInOneTransaction) {
  PX_SAMPLE_OR_SKIP(source, "mdb/testV2000.mdb");
  testing::TempFolder dir;
  const auto copy = dir.path() / "kopya.mdb";
  Printed({"mdb", "kopyala", source, Utf8FromPath(copy), "Table1"});
  EXPECT_EQ(Printed({"mdb", "tablolar", Utf8FromPath(copy)}), "Table1\n");
  const std::string before = ReadAll(copy);
  // Table3 is copied first, then Table1 fails (it exists): nothing of the copy remains.
  auto o = RunProgram({"mdb", "kopyala", source, Utf8FromPath(copy), "Table3", "Table1"});
  EXPECT_TRUE(o.ExitedWith(1)) << o.Describe();
  EXPECT_NE(o.err.find("Table1"), std::string::npos) << o.err;
  EXPECT_TRUE(ReadAll(copy) == before);
}

}  // namespace
}  // namespace px
