// The mdb commands that write: yarat makes a database others read, kopyala copies sample
// tables so that our reader, mdbtools and Jackcess read the copy as they read the original.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "support/temp_folder.h"

namespace px {
namespace {

struct Output {
  std::string text;
  int status = -1;
};

Output Shell(const std::string& cmd) {
  Output o;
  FILE* p = popen((cmd + " </dev/null 2>&1").c_str(), "r");
  if (!p) return o;
  std::array<char, 4096> buf;
  size_t n;
  while ((n = fread(buf.data(), 1, buf.size(), p)) > 0) o.text.append(buf.data(), n);
  o.status = pclose(p);
  return o;
}

Output Program(const std::string& args) {
  return Shell(std::string(PX_BINARY) + " " + args);
}

std::string Sample(const std::string& name) {
  return (std::filesystem::path(PX_SHARED_DIR) / "samples" / "mdb" / name).string();
}

const std::string kOracle = std::string(PX_SHARED_DIR) + "/tools/jet-oracle/jet-oracle";

bool HaveOracle() {
  return std::filesystem::exists(kOracle) && std::system("command -v java >/dev/null") == 0;
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> out;
  size_t start = 0;
  while (start < text.size()) {
    size_t nl = text.find('\n', start);
    if (nl == std::string::npos) nl = text.size();
    out.push_back(text.substr(start, nl - start));
    start = nl + 1;
  }
  return out;
}

// A schema's JSON without its foreign keys: relationships are not copied.
std::string WithoutForeignKeys(std::string json) {
  const std::string marker = "\"type\":\"foreign\"";
  for (size_t at = json.find(marker); at != std::string::npos; at = json.find(marker)) {
    size_t open = json.rfind('{', at);
    size_t close = json.find('}', at);
    if (open == std::string::npos || close == std::string::npos) break;
    if (open > 0 && json[open - 1] == ',') --open;
    json.erase(open, close + 1 - open);
  }
  return json;
}

TEST(MdbYarat, MakesADatabaseOthersReadAndRefusesAnExistingFile) {
  testing::TempFolder dir;
  const std::string path = dir.str() + "/bos.mdb";
  Output made = Program("mdb yarat '" + path + "'");
  ASSERT_EQ(made.status, 0) << made.text;
  EXPECT_EQ(Program("mdb tablolar '" + path + "'").text, "");
  if (std::system("command -v mdb-tables >/dev/null") == 0) {
    EXPECT_EQ(Shell("mdb-tables -S -1 '" + path + "'").text,
              "MSysObjects\nMSysACEs\nMSysQueries\nMSysRelationships\n");
  }
  if (HaveOracle()) {
    Output check = Shell(kOracle + " check '" + path + "'");
    EXPECT_EQ(check.status, 0) << check.text;
  }
  const std::string before = testing::ReadAll(path);
  Output again = Program("mdb yarat '" + path + "'");
  EXPECT_NE(again.status, 0);
  EXPECT_NE(again.text.find(path), std::string::npos) << again.text;
  EXPECT_TRUE(testing::ReadAll(path) == before);
}

// Every table of these samples is copied; the copy's rows (our reader and Jackcess) and
// schema (but for foreign keys) equal the original's, and Jackcess finds every row through
// every index. A Jet 3 source becomes Jet 4 tables.
class MdbKopyala : public ::testing::TestWithParam<const char*> {};

TEST_P(MdbKopyala, CopyReadsBackEqual) {
  const std::string source = Sample(GetParam());
  if (!std::filesystem::exists(source)) GTEST_SKIP() << "no sample " << source;
  testing::TempFolder dir;
  const std::string copy = dir.str() + "/kopya.mdb";
  Output o = Program("mdb kopyala '" + source + "' '" + copy + "'");
  ASSERT_EQ(o.status, 0) << o.text;
  const std::string tables = Program("mdb tablolar '" + source + "'").text;
  EXPECT_EQ(Program("mdb tablolar '" + copy + "'").text, tables);
  for (const std::string& table : Lines(tables)) {
    EXPECT_EQ(Program("mdb satirlar '" + copy + "' '" + table + "'").text,
              Program("mdb satirlar '" + source + "' '" + table + "'").text)
        << table;
    EXPECT_EQ(Program("mdb sema '" + copy + "' '" + table + "'").text,
              WithoutForeignKeys(Program("mdb sema '" + source + "' '" + table + "'").text))
        << table;
  }
  if (!HaveOracle()) return;
  Output check = Shell(kOracle + " check '" + copy + "'");
  EXPECT_EQ(check.status, 0) << check.text.substr(0, 3000);
  for (const std::string& table : Lines(Shell(kOracle + " tables '" + source + "'").text)) {
    EXPECT_EQ(Shell(kOracle + " rows '" + copy + "' '" + table + "'").text,
              Shell(kOracle + " rows '" + source + "' '" + table + "'").text)
        << table;
  }
}

INSTANTIATE_TEST_SUITE_P(Samples, MdbKopyala,
                         ::testing::Values("testV2000.mdb", "indexTestV2000.mdb",
                                           "fixedNumericTestV2000.mdb", "delColTestV2000.mdb",
                                           "overflowTestV2000.mdb", "bigIndexTestV2000.mdb",
                                           "compIndexTestV2000.mdb", "fixedTextTestV2000.mdb",
                                           "testV1997.mdb"));

TEST(MdbKopyalaTables, CopiesOnlyTheNamedTablesInOneTransaction) {
  const std::string source = Sample("testV2000.mdb");
  if (!std::filesystem::exists(source)) GTEST_SKIP() << "no sample " << source;
  testing::TempFolder dir;
  const std::string copy = dir.str() + "/kopya.mdb";
  ASSERT_EQ(Program("mdb kopyala '" + source + "' '" + copy + "' Table1").status, 0);
  EXPECT_EQ(Program("mdb tablolar '" + copy + "'").text, "Table1\n");
  const std::string before = testing::ReadAll(copy);
  // Table3 is copied first, then Table1 fails (it exists): nothing of the copy remains.
  Output o = Program("mdb kopyala '" + source + "' '" + copy + "' Table3 Table1");
  EXPECT_NE(o.status, 0);
  EXPECT_NE(o.text.find("Table1"), std::string::npos) << o.text;
  EXPECT_TRUE(testing::ReadAll(copy) == before);
}

}  // namespace
}  // namespace px
