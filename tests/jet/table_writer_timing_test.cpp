// Timing of the row writer on the benchmark's table shape (run by hand:
// --gtest_also_run_disabled_tests --gtest_filter='*Timing*'; PX_TIMING_ROWS sets the rows).
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <sstream>

#include "basic_index_key.h"
#include "jet/database.h"
#include "jet/table_writer.h"
#include "memory_pages.h"
#include "support/temp_folder.h"

namespace px::jet {
namespace {

TEST(TableWriterTiming, DISABLED_InsertRows) {
  const auto oracle = std::filesystem::path(PX_SHARED_DIR) / "tools/jet-oracle/jet-oracle";
  px::testing::TempFolder dir;
  dir.Write("t.json", R"({"tables":[{"name":"T","columns":[
    {"name":"id","type":"LONG","autonumber":true},{"name":"kod","type":"LONG"},
    {"name":"ad","type":"TEXT","length":100},{"name":"tutar","type":"MONEY"},
    {"name":"miktar","type":"DOUBLE"},{"name":"tarih","type":"SHORT_DATE_TIME"},
    {"name":"aktif","type":"BOOLEAN"},{"name":"notlar","type":"MEMO"}],
    "primary_key":["id"],"indexes":[{"name":"kod","columns":["kod"]}],"rows":[]}]})");
  const auto file = dir.path() / "t.mdb";
  ASSERT_EQ(std::system((oracle.string() + " build " + file.string() + " " +
                         (dir.path() / "t.json").string())
                            .c_str()),
            0);
  auto bytes = testing::MemoryPages::ReadFile(file);
  auto db = Database::OpenMemory(bytes, "t.mdb");
  ASSERT_TRUE(db.ok());
  auto def = (*db)->ReadDefinition(*(*db)->FindTable("T"));
  ASSERT_TRUE(def.ok());
  testing::MemoryPages pages(kJet4Format, bytes);
  pages.track = false;
  auto w = TableWriter::Open(pages, kJet4Format, *def, "T", {1252, testing::BasicIndexKey});
  ASSERT_TRUE(w.ok());
  const int rows = getenv("PX_TIMING_ROWS") ? atoi(getenv("PX_TIMING_ROWS")) : 100000;
  std::vector<Value> v(def->columns.size());
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < rows; ++i) {
    for (size_t c = 0; c < def->columns.size(); ++c) {
      const std::string& n = def->columns[c].name;
      if (n == "id") v[c] = Null{};
      if (n == "kod") v[c] = int64_t((i * 7919) % 50000);
      if (n == "ad") v[c] = "Ödeme çek senet " + std::to_string(i);
      if (n == "tutar") v[c] = Currency{int64_t(i) * 1234};
      if (n == "miktar") v[c] = i * 0.5;
      if (n == "tarih") v[c] = OleDate{36526.0 + i % 9000};
      if (n == "aktif") v[c] = i % 2 == 0;
      if (n == "notlar") v[c] = i % 10 == 0 ? Value(std::string(300, 'n')) : Value(Null{});
    }
    ASSERT_TRUE((*w)->Insert(v).ok());
  }
  const double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  std::printf("%d rows in %.2f s: %.0f rows/s, %u pages\n", rows, s, rows / s, pages.page_count());
}

}  // namespace
}  // namespace px::jet
