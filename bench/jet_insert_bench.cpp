// Inserts rows shaped like the benchmark table Hareket into a new database in one
// transaction: Id AutoNumber primary key, Kod
// Text(20) with a non-unique index (50,000 codes), Aciklama Text(100) with Turkish words, Tutar
// Currency, Miktar Double, Tarih Date/Time (2000-2025, whole seconds), Aktif Boolean, Notlar Memo
// of 300 characters on every tenth row. Rows per second and the peak resident memory are reported.
//
//   PX_BENCH_ROWS=1000000 ./build/bench/jet_insert_bench
//   the same 1,000,000 rows written by Jackcess, for comparison (outside the repository)
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

#include "jet/writer.h"
#include "platform/files.h"

namespace {

using px::Value;

constexpr const char* kWords[] = {"çek",  "senet",   "ödeme",  "tahsilat", "ışık", "gider",
                                  "şube", "müşteri", "fatura", "İade",     "borç", "alacak",
                                  "kasa", "banka",   "döviz",  "masraf",   "ürün", "sipariş"};

px::jet::ColumnSpec Col(const char* name, int type, int size = 0) {
  px::jet::ColumnSpec c;
  c.name = name;
  c.ado_type = type;
  c.defined_size = size;
  return c;
}

void BM_InsertGenRows(benchmark::State& state) {
  const char* env = std::getenv("PX_BENCH_ROWS");
  const int64_t rows = env ? std::atoll(env) : 100000;
  const std::string path =
      (std::filesystem::temp_directory_path() / "px_jet_insert_bench.mdb").string();
  for (auto _ : state) {
    std::filesystem::remove(path);
    auto w = px::jet::Writer::Create(px::platform::SystemFiles(), path);
    if (!w.ok()) {
      state.SkipWithError(w.status().ToString().c_str());
      return;
    }
    px::jet::Writer& writer = **w;
    px::jet::ColumnSpec id = Col("Id", px::ado::kInteger);
    id.autoincrement = true;
    bool ok = writer.CreateTable("Hareket").ok() && writer.AddColumn("Hareket", id).ok() &&
              writer.AddColumn("Hareket", Col("Kod", px::ado::kVarWChar, 20)).ok() &&
              writer.AddColumn("Hareket", Col("Aciklama", px::ado::kVarWChar, 100)).ok() &&
              writer.AddColumn("Hareket", Col("Tutar", px::ado::kCurrency)).ok() &&
              writer.AddColumn("Hareket", Col("Miktar", px::ado::kDouble)).ok() &&
              writer.AddColumn("Hareket", Col("Tarih", px::ado::kDate)).ok() &&
              writer.AddColumn("Hareket", Col("Aktif", px::ado::kBoolean)).ok() &&
              writer.AddColumn("Hareket", Col("Notlar", px::ado::kLongVarWChar)).ok() &&
              writer.AddPrimaryKey("Hareket", "PrimaryKey", "Id").ok();
    px::jet::IndexSpec kod;
    kod.name = "Kod";
    kod.columns = {{"Kod", true}};
    ok = ok && writer.AddIndex("Hareket", kod).ok() && writer.Begin().ok();
    if (!ok) {
      state.SkipWithError("table setup failed");
      return;
    }
    std::mt19937_64 rng(42);
    std::vector<Value> row(8);
    for (int64_t i = 0; i < rows; ++i) {
      row[0] = px::Null{};
      row[1] = "K" + std::to_string(rng() % 50000);
      std::string text;
      for (int k = 0; k < 5; ++k) text += std::string(kWords[rng() % 18]) + " ";
      row[2] = text;
      row[3] = px::Currency{int64_t(rng() % 100000000)};
      row[4] = double(rng() % 1000000) / 100.0;
      row[5] = px::OleDate{36526.0 + double(rng() % (26 * 365 * 86400)) / 86400.0};
      row[6] = (rng() & 1) != 0;
      row[7] = i % 10 == 0 ? Value(std::string(300, 'n')) : Value(px::Null{});
      px::Status st = writer.InsertRow("Hareket", row);
      if (!st.ok()) {
        state.SkipWithError(st.ToString().c_str());
        return;
      }
    }
    px::Status st = writer.Commit();
    if (!st.ok()) state.SkipWithError(st.ToString().c_str());
  }
  struct rusage usage {};
  getrusage(RUSAGE_SELF, &usage);
  state.counters["rows_per_s"] =
      benchmark::Counter(double(rows) * double(state.iterations()), benchmark::Counter::kIsRate);
  state.counters["peak_rss_mb"] = double(usage.ru_maxrss) / 1024.0;
  std::filesystem::remove(path);
}
BENCHMARK(BM_InsertGenRows)->Unit(benchmark::kSecond)->Iterations(1)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
