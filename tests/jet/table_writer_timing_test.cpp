// Timing of the row writer on the benchmark's table shape (run by hand:
// --gtest_also_run_disabled_tests --gtest_filter='*Timing*'; PX_TIMING_ROWS sets the rows).
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <ctime>

#include "basic_index_key.h"
#include "jet/database.h"
#include "jet/table_writer.h"
#include "memory_pages.h"
#include "platform/utf8_path.h"
#include "support/jet_oracle.h"
#include "support/temp_folder.h"

namespace px::jet {
namespace {

TEST(TableWriterExternalTiming, DISABLED_InsertRows) {
  PX_JET_ORACLE_OR_SKIP();
  px::testing::TempFolder dir;
  dir.Write("t.json", R"({"tables":[{"name":"T","columns":[
    {"name":"id","type":"LONG","autonumber":true},{"name":"kod","type":"LONG"},
    {"name":"ad","type":"TEXT","length":100},{"name":"tutar","type":"MONEY"},
    {"name":"miktar","type":"DOUBLE"},{"name":"tarih","type":"SHORT_DATE_TIME"},
    {"name":"aktif","type":"BOOLEAN"},{"name":"notlar","type":"MEMO"}],
    "primary_key":["id"],"indexes":[{"name":"kod","columns":["kod"]}],"rows":[]}]})");
  const auto file = dir.path() / "t.mdb";
  auto built =
      px::testing::RunJetOracle({"build", Utf8FromPath(file), Utf8FromPath(dir.path() / "t.json")});
  ASSERT_TRUE(built.ExitedWith(0)) << built.Describe();
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
  const std::clock_t cpu_start = std::clock();
  for (int i = 0; i < rows; ++i) {
    for (size_t c = 0; c < def->columns.size(); ++c) {
      const std::string& n = def->columns[c].name;
      if (n == "id") v[c] = Null{};
      if (n == "kod") v[c] = int64_t(int64_t(i) * 7919 % 50000);
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
  const double cpu = double(std::clock() - cpu_start) / CLOCKS_PER_SEC;
  std::printf("%d rows in %.2f s (%.2f s CPU): %.0f rows/s, %.0f rows per CPU second, %u pages\n",
              rows, s, cpu, rows / s, rows / cpu, pages.page_count());
}

// The benchmark's own table (jet-oracle gen: AutoNumber key, Turkish text index on Kod,
// memo on every tenth row), keys made by the Access key encoder.
TEST(TableWriterExternalTiming, DISABLED_InsertBenchmarkRows) {
  PX_JET_ORACLE_OR_SKIP();
  px::testing::TempFolder dir;
  const auto file = dir.path() / "g.mdb";
  auto gen = px::testing::RunJetOracle({"gen", Utf8FromPath(file), "1"});
  ASSERT_TRUE(gen.ExitedWith(0)) << gen.Describe();
  auto bytes = testing::MemoryPages::ReadFile(file);
  auto db = Database::OpenMemory(bytes, "g.mdb");
  ASSERT_TRUE(db.ok());
  auto def = (*db)->ReadDefinition(*(*db)->FindTable("Hareket"));
  ASSERT_TRUE(def.ok());
  testing::MemoryPages pages(kJet4Format, bytes);
  pages.track = false;
  auto w = TableWriter::Open(pages, kJet4Format, *def, "Hareket",
                             {1252, AccessIndexKeys(kJet4Format, "Hareket")});
  ASSERT_TRUE(w.ok());
  const int rows = getenv("PX_TIMING_ROWS") ? atoi(getenv("PX_TIMING_ROWS")) : 100000;
  static const char* kWords[] = {"Ödeme",   "tahsilat", "çek",   "senet", "fatura", "İade",
                                 "Kadıköy", "Muğla",    "Iğdır", "Şükrü", "Gülşen", "Üsküdar"};
  std::vector<Value> v(def->columns.size());
  const auto start = std::chrono::steady_clock::now();
  const std::clock_t cpu_start = std::clock();
  for (int i = 0; i < rows; ++i) {
    for (size_t c = 0; c < def->columns.size(); ++c) {
      const std::string& n = def->columns[c].name;
      if (n == "Id") v[c] = Null{};
      if (n == "Kod") v[c] = "K" + std::to_string(int64_t(i) * 7919 % 50000);
      if (n == "Aciklama") {
        v[c] = std::string(kWords[i % 12]) + " " + kWords[(i / 12) % 12] + " " + std::to_string(i);
      }
      if (n == "Tutar") v[c] = Currency{int64_t(i) * 1234};
      if (n == "Miktar") v[c] = i * 0.5;
      if (n == "Tarih") v[c] = OleDate{36526.0 + i % 9000};
      if (n == "Aktif") v[c] = i % 2 == 0;
      if (n == "Notlar") v[c] = i % 10 == 0 ? Value(std::string(300, 'n')) : Value(Null{});
    }
    Status st = (*w)->Insert(v);
    ASSERT_TRUE(st.ok()) << st.ToString();
  }
  const double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  const double cpu = double(std::clock() - cpu_start) / CLOCKS_PER_SEC;
  std::printf("%d rows in %.2f s (%.2f s CPU): %.0f rows/s, %.0f rows per CPU second, %u pages\n",
              rows, s, cpu, rows / s, rows / cpu, pages.page_count());
}

}  // namespace
}  // namespace px::jet
