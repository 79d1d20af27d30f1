// Index key throughput: what an insert or a verification pays per key.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "jet/index_key.h"
#include "jet/text.h"

namespace {

using namespace px;
using namespace px::jet;

std::vector<std::string> Words() {
  const char* w[] = {"Çağlar", "ödemesi", "İstanbul", "şirket",  "Iğdır",     "Gümüşhane",
                     "fatura", "KDV",     "tahsilat", "müşteri", "çek-senet", "Ali'nin"};
  std::vector<std::string> out;
  for (int i = 0; i < 1000; ++i) {
    out.push_back(std::string(w[i % 12]) + " " + w[(i * 7) % 12] + " " + std::to_string(i));
  }
  return out;
}

void TextKeys(benchmark::State& state, TextOrder order) {
  const auto words = Words();
  std::vector<uint8_t> key;
  size_t i = 0;
  for (auto _ : state) {
    key.clear();
    benchmark::DoNotOptimize(AppendTextKey(order, words[i++ % words.size()], true, key));
  }
  state.SetItemsProcessed(state.iterations());
}

void BM_TextKeyGeneralLegacy(benchmark::State& state) {
  TextKeys(state, TextOrder::kGeneralLegacy);
}
void BM_TextKeyTurkish(benchmark::State& state) {
  TextKeys(state, TextOrder::kTurkish);
}

void BM_RowKeyLongAndText(benchmark::State& state) {
  TableDef def;
  ColumnDef id;
  id.name = "Id";
  id.type = coltype::kLong;
  id.number = 0;
  ColumnDef kod;
  kod.name = "Kod";
  kod.type = coltype::kText;
  kod.number = 1;
  kod.sort_order = kLcidGeneral;
  def.columns = {id, kod};
  RealIndex index;
  index.columns = {{1, true}, {0, true}};
  const auto words = Words();
  std::vector<Value> row(2);
  int64_t i = 0;
  for (auto _ : state) {
    row[0] = i;
    row[1] = words[size_t(i) % words.size()];
    ++i;
    benchmark::DoNotOptimize(EncodeIndexKey(kJet4Format, def, index, row, {"Cari", "KodId"}));
  }
  state.SetItemsProcessed(state.iterations());
}

BENCHMARK(BM_TextKeyGeneralLegacy);
BENCHMARK(BM_TextKeyTurkish);
BENCHMARK(BM_RowKeyLongAndText);

}  // namespace

BENCHMARK_MAIN();
