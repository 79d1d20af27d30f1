// Throughput of the recordset file writer and reader on a typical accounting table shape.
#include <benchmark/benchmark.h>

#include "core/value_text.h"
#include "xbf/byte_stream.h"
#include "xbf/xbf_reader.h"
#include "xbf/xbf_writer.h"

namespace {

using namespace px;

std::vector<FieldInfo> Fields() {
  auto f = [](const char* n, int t, int64_t size, uint32_t a) {
    FieldInfo fi;
    fi.name = n;
    fi.ado_type = t;
    fi.size = size;
    fi.attributes = a | fld::kMayBeNull | fld::kMayDefer | fld::kUnknownUpdatable;
    return fi;
  };
  return {
      f("intKayitNo", ado::kInteger, 4, fld::kFixed), f("strAciklama", ado::kVarWChar, 100, 0),
      f("curTutar", ado::kCurrency, 8, fld::kFixed),  f("dtmTarih", ado::kDate, 16, fld::kFixed),
      f("dblOran", ado::kDouble, 8, fld::kFixed),     f("blnOnay", ado::kBoolean, 2, fld::kFixed)};
}

class Rows : public RowSource {
 public:
  explicit Rows(int64_t n) : n_(n) {}
  const std::vector<FieldInfo>& fields() const override { return fields_; }
  bool Next(Row& row) override {
    if (i_ >= n_) return false;
    row = {i_,
           std::string("Fatura ödemesi no ") + std::to_string(i_),
           Currency{i_ * 12345},
           OleDate{40000.0 + double(i_ % 3000)},
           double(i_) / 7.0,
           i_ % 2 == 0};
    ++i_;
    return true;
  }
  Status status() const override { return Status::Ok(); }

 private:
  std::vector<FieldInfo> fields_ = Fields();
  int64_t n_, i_ = 0;
};

class NullSink : public xbf::ByteSink {
 public:
  Status Write(std::string_view b) override {
    bytes += b.size();
    return Status::Ok();
  }
  size_t bytes = 0;
};

void BM_WriteRows(benchmark::State& state) {
  size_t bytes = 0;
  for (auto _ : state) {
    Rows rows(state.range(0));
    NullSink sink;
    if (!xbf::WriteRecordset(rows, sink).ok()) state.SkipWithError("write failed");
    bytes = sink.bytes;
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
  state.SetBytesProcessed(int64_t(state.iterations() * bytes));
}
BENCHMARK(BM_WriteRows)->Arg(100000);

void BM_ReadRows(benchmark::State& state) {
  Rows rows(state.range(0));
  xbf::StringSink sink;
  (void)xbf::WriteRecordset(rows, sink);
  for (auto _ : state) {
    xbf::MemoryInput in(sink.data());
    auto r = xbf::XbfReader::Open(in, "bench.xbf");
    Row row;
    int64_t n = 0;
    while ((*r)->Next(row)) ++n;
    if (n != state.range(0)) state.SkipWithError("read failed");
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
  state.SetBytesProcessed(int64_t(state.iterations() * sink.data().size()));
}
BENCHMARK(BM_ReadRows)->Arg(100000);

}  // namespace

BENCHMARK_MAIN();
