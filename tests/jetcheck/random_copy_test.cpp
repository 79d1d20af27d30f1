// Random tables written by Jackcess (fixed seeds: random column types and sizes, Turkish
// text with apostrophes, NULLs, memos long enough for page chains, explicit AutoNumber values
// with gaps, a primary key and a text index) copied by `mdb kopyala` into a new database:
// Jackcess reads the copy's rows exactly as the source's and finds nothing wrong in it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <vector>

#include "platform/utf8_path.h"
#include "support/jet_oracle.h"
#include "support/process.h"
#include "support/temp_folder.h"

namespace px::testing {
namespace {

using nlohmann::json;

class RandomTable {
 public:
  explicit RandomTable(uint32_t seed) : rng_(seed) {}

  json Table(const std::string& name) {
    json columns = json::array();
    columns.push_back({{"name", "Id"}, {"type", "LONG"}, {"autonumber", true}});
    const char* kTypes[] = {"TEXT",   "MEMO",  "BYTE",    "INT",     "LONG",
                            "DOUBLE", "MONEY", "NUMERIC", "BOOLEAN", "SHORT_DATE_TIME"};
    const int count = Between(3, 9);
    for (int i = 0; i < count; ++i) {
      json c = {{"name", "Saha" + std::to_string(i)}, {"type", kTypes[Between(0, 9)]}};
      if (c["type"] == "TEXT") c["length"] = Between(1, 255);
      if (c["type"] == "NUMERIC") {
        c["precision"] = 18;
        c["scale"] = 4;
      }
      columns.push_back(c);
    }
    columns.push_back({{"name", "Kod"}, {"type", "TEXT"}, {"length", 20}});
    json rows = json::array();
    int64_t id = 0;
    const int row_count = Between(0, 120);
    for (int r = 0; r < row_count; ++r) {
      json row = json::array();
      id += Between(1, 5);
      row.push_back(Chance(10) ? json(nullptr) : json(id));  // null: the counter's next
      for (size_t c = 1; c < columns.size(); ++c) row.push_back(Value(columns[c]));
      rows.push_back(row);
    }
    return {{"name", name},
            {"columns", columns},
            {"primary_key", {"Id"}},
            {"indexes", {{{"name", "KodSirasi"}, {"columns", {"Kod"}}}}},
            {"rows", rows}};
  }

 private:
  int Between(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng_); }
  bool Chance(int percent) { return Between(1, 100) <= percent; }

  std::string Text(int max_chars) {
    static const char* kPieces[] = {"a", "Z", "0", " ", "'", "ç", "ğ", "ı", "İ", "ö", "ş",
                                    "ü", "Ç", "Ğ", "Ö", "Ş", "Ü", "-", ".", "é", "x"};
    std::string s;
    const int n = Between(0, max_chars);
    for (int i = 0; i < n; ++i) s += kPieces[Between(0, 20)];
    return s;
  }

  json Value(const json& column) {
    const std::string type = column["type"];
    if (type == "BOOLEAN") return Chance(50);  // Jet has no Null Boolean
    if (Chance(15)) return nullptr;
    if (type == "TEXT") return Text(column["length"].get<int>());
    if (type == "MEMO") return Text(Chance(10) ? 9000 : 300);
    if (type == "BYTE") return Between(0, 255);
    if (type == "INT") return Between(-32768, 32767);
    if (type == "LONG") return Between(-2000000000, 2000000000);
    if (type == "DOUBLE") return Between(-1000000, 1000000) / 64.0;
    if (type == "MONEY" || type == "NUMERIC") {
      return std::to_string(Between(-999999, 999999)) + "." + std::to_string(Between(1000, 9999));
    }
    char date[32];
    std::snprintf(date, sizeof date, "%04d-%02d-%02dT%02d:%02d:%02d", Between(1950, 2030),
                  Between(1, 12), Between(1, 28), Between(0, 23), Between(0, 59), Between(0, 59));
    return date;
  }

  std::mt19937 rng_;
};

std::vector<std::string> SortedLines(const std::string& text) {
  std::vector<std::string> lines = SplitLines(text);
  std::sort(lines.begin(), lines.end());
  return lines;
}

TEST(RandomTablesExternal, CopiedByMdbKopyalaReadBackEqualAndPassTheCheck) {
  PX_JET_ORACLE_OR_SKIP();
  TempFolder folder;
  size_t rows_compared = 0;
  for (uint32_t seed : {1u, 2u, 3u, 4u}) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    RandomTable random(seed);
    const json tables = {{"tables", {random.Table("Birinci"), random.Table("İkinci_Tablo")}}};
    const std::string tag = std::to_string(seed);
    std::string error;
    const auto source = JetOracleBuild(folder, "kaynak" + tag + ".mdb", tables.dump(), error);
    ASSERT_TRUE(source) << error;
    const std::string copy = Utf8FromPath(folder.path() / ("kopya" + tag + ".mdb"));
    const RunResult copied = RunProgram({"mdb", "kopyala", Utf8FromPath(*source), copy});
    ASSERT_TRUE(copied.ExitedWith(0)) << copied.Describe();
    for (const char* table : {"Birinci", "İkinci_Tablo"}) {
      const RunResult a = RunJetOracle({"rows", Utf8FromPath(*source), table});
      const RunResult b = RunJetOracle({"rows", copy, table});
      ASSERT_TRUE(a.ExitedWith(0) && b.ExitedWith(0)) << a.Describe() << b.Describe();
      EXPECT_EQ(SortedLines(b.out), SortedLines(a.out)) << table;
      rows_compared += SortedLines(a.out).size();
    }
    const RunResult check = RunJetOracle({"check", copy});
    EXPECT_TRUE(check.ExitedWith(0)) << check.Describe() << check.out.substr(0, 3000);
  }
  EXPECT_GT(rows_compared, 200u);
}

}  // namespace
}  // namespace px::testing
