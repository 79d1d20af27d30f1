// Inserts rows shaped like the benchmark table Hareket in one transaction: Id AutoNumber
// primary key, Kod Text(20) with a non-unique index (50,000 codes), Aciklama Text(100) with
// Turkish words, Tutar Currency, Miktar Double, Tarih Date/Time (2000-2025, whole seconds),
// Aktif Boolean, Notlar Memo of 300 characters on every tenth row. Rows per second and the
// peak resident memory are reported.
//
//   BM_InsertGenRows: into a new database through jet::Writer, Id issued by the counter.
//   BM_RestoreIntoExistingTable: as a restore imports a table: a database whose Hareket
//     already holds 1,000 rows is opened through the database layer, "DELETE FROM Hareket"
//     runs, then every row is added by field name with its Id given, all in one transaction.
//
//   PX_BENCH_ROWS=1000000 ./build/bench/jet_insert_bench --benchmark_filter=InsertGen
//   PX_BENCH_FILE=/tmp/h.mdb keeps the file written (for `jet-oracle check`, `mdb kontrol`).
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

#include "db/access_database.h"
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

int64_t Rows() {
  const char* env = std::getenv("PX_BENCH_ROWS");
  return env ? std::atoll(env) : 100000;
}

std::string BenchFile() {
  const char* env = std::getenv("PX_BENCH_FILE");
  return env ? std::string(env)
             : (std::filesystem::temp_directory_path() / "px_jet_insert_bench.mdb").string();
}

void Finish(benchmark::State& state, int64_t rows, const std::string& path) {
  struct rusage usage {};
  getrusage(RUSAGE_SELF, &usage);
  state.counters["rows_per_s"] =
      benchmark::Counter(double(rows) * double(state.iterations()), benchmark::Counter::kIsRate);
  state.counters["peak_rss_mb"] = double(usage.ru_maxrss) / 1024.0;
  if (std::getenv("PX_BENCH_FILE") == nullptr) std::filesystem::remove(path);
}

// The row numbered `i` (from 0), drawn from `rng`; Id Null (the counter's) or i + 1.
void GenRow(std::mt19937_64& rng, int64_t i, bool given_id, std::vector<Value>& row) {
  row.resize(8);
  row[0] = given_id ? Value(i + 1) : Value(px::Null{});
  row[1] = "K" + std::to_string(rng() % 50000);
  std::string text;
  for (int k = 0; k < 5; ++k) text += std::string(kWords[rng() % 18]) + " ";
  row[2] = text;
  row[3] = px::Currency{int64_t(rng() % 100000000)};
  row[4] = double(rng() % 1000000) / 100.0;
  row[5] = px::OleDate{36526.0 + double(rng() % (26 * 365 * 86400)) / 86400.0};
  row[6] = (rng() & 1) != 0;
  row[7] = i % 10 == 0 ? Value(std::string(300, 'n')) : Value(px::Null{});
}

// A new database at `path` with the empty table Hareket, its primary key and index.
px::Status MakeTable(const std::string& path, std::unique_ptr<px::jet::Writer>& out) {
  std::filesystem::remove(path);
  PX_ASSIGN_OR_RETURN(out, px::jet::Writer::Create(px::platform::SystemFiles(), path));
  px::jet::Writer& writer = *out;
  px::jet::ColumnSpec id = Col("Id", px::ado::kInteger);
  id.autoincrement = true;
  PX_RETURN_IF_ERROR(writer.CreateTable("Hareket"));
  PX_RETURN_IF_ERROR(writer.AddColumn("Hareket", id));
  PX_RETURN_IF_ERROR(writer.AddColumn("Hareket", Col("Kod", px::ado::kVarWChar, 20)));
  PX_RETURN_IF_ERROR(writer.AddColumn("Hareket", Col("Aciklama", px::ado::kVarWChar, 100)));
  PX_RETURN_IF_ERROR(writer.AddColumn("Hareket", Col("Tutar", px::ado::kCurrency)));
  PX_RETURN_IF_ERROR(writer.AddColumn("Hareket", Col("Miktar", px::ado::kDouble)));
  PX_RETURN_IF_ERROR(writer.AddColumn("Hareket", Col("Tarih", px::ado::kDate)));
  PX_RETURN_IF_ERROR(writer.AddColumn("Hareket", Col("Aktif", px::ado::kBoolean)));
  PX_RETURN_IF_ERROR(writer.AddColumn("Hareket", Col("Notlar", px::ado::kLongVarWChar)));
  PX_RETURN_IF_ERROR(writer.AddPrimaryKey("Hareket", "PrimaryKey", "Id"));
  px::jet::IndexSpec kod;
  kod.name = "Kod";
  kod.columns = {{"Kod", true}};
  return writer.AddIndex("Hareket", kod);
}

void BM_InsertGenRows(benchmark::State& state) {
  const int64_t rows = Rows();
  const std::string path = BenchFile();
  for (auto _ : state) {
    std::unique_ptr<px::jet::Writer> w;
    px::Status st = MakeTable(path, w);
    if (st.ok()) st = w->Begin();
    std::mt19937_64 rng(42);
    std::vector<Value> row;
    for (int64_t i = 0; i < rows && st.ok(); ++i) {
      GenRow(rng, i, false, row);
      st = w->InsertRow("Hareket", row);
    }
    if (st.ok()) st = w->Commit();
    if (!st.ok()) {
      state.SkipWithError(st.ToString().c_str());
      return;
    }
  }
  Finish(state, rows, path);
}
BENCHMARK(BM_InsertGenRows)->Unit(benchmark::kSecond)->Iterations(1)->UseRealTime();

void BM_RestoreIntoExistingTable(benchmark::State& state) {
  const int64_t rows = Rows();
  const std::string path = BenchFile();
  std::vector<px::FieldInfo> fields;
  for (const char* name :
       {"Id", "Kod", "Aciklama", "Tutar", "Miktar", "Tarih", "Aktif", "Notlar"}) {
    px::FieldInfo f;
    f.name = name;
    fields.push_back(f);
  }
  for (auto _ : state) {
    px::Status st;
    {
      std::unique_ptr<px::jet::Writer> w;
      st = MakeTable(path, w);
      std::mt19937_64 rng(7);
      std::vector<Value> row;
      if (st.ok()) st = w->Begin();
      for (int64_t i = 0; i < 1000 && st.ok(); ++i) {
        GenRow(rng, i, false, row);
        st = w->InsertRow("Hareket", row);
      }
      if (st.ok()) st = w->Commit();
    }
    std::unique_ptr<px::db::Database> db;
    if (st.ok()) {
      auto opened = px::jet::Writer::Open(px::platform::SystemFiles(), path);
      st = opened.status();
      if (st.ok()) db = px::db::AccessDatabaseOver(std::move(*opened));
    }
    if (st.ok()) st = db->Begin();
    if (st.ok()) st = db->Execute("DELETE FROM Hareket").status();
    std::mt19937_64 rng(42);
    px::Row row;
    for (int64_t i = 0; i < rows && st.ok(); ++i) {
      GenRow(rng, i, true, row);
      st = db->AddRow("Hareket", fields, row);
    }
    if (st.ok()) st = db->Commit();
    if (!st.ok()) {
      state.SkipWithError(st.ToString().c_str());
      return;
    }
  }
  Finish(state, rows, path);
}
BENCHMARK(BM_RestoreIntoExistingTable)->Unit(benchmark::kSecond)->Iterations(1)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
