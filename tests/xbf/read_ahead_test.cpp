// Rows read on the reading thread arrive in order, complete, with the source's error after
// the rows read before it, whatever the batch boundaries; a reader dropped early stops.
#include "xbf/read_ahead.h"

#include <gtest/gtest.h>

#include <atomic>

namespace px::xbf {
namespace {

// Counts up to `rows`, then ends cleanly or with an error.
class CountingSource : public RowSource {
 public:
  CountingSource(int64_t rows, bool fails) : rows_(rows), fails_(fails) {
    fields_.emplace_back();
    fields_[0].name = "n";
    fields_[0].ado_type = ado::kBigInt;
  }
  const std::vector<FieldInfo>& fields() const override { return fields_; }
  bool Next(Row& row) override {
    if (next_ == rows_) return false;
    row.assign(1, Value(next_++));
    return true;
  }
  Status status() const override {
    return fails_ && next_ == rows_ ? Status::Corruption("page 9: broken row") : Status::Ok();
  }
  int64_t read() const { return next_; }

 private:
  std::vector<FieldInfo> fields_;
  std::atomic<int64_t> next_ = 0;
  int64_t rows_;
  bool fails_;
};

TEST(ReadAhead, HandsOutEveryRowInOrderThenTheSourcesStatus) {
  constexpr int64_t kBatch = int64_t(ReadAheadRows::kBatchRows);
  for (int64_t rows : {int64_t{0}, int64_t{1}, kBatch - 1, kBatch, kBatch + 1, 10 * kBatch + 3}) {
    for (bool fails : {false, true}) {
      CountingSource source(rows, fails);
      ReadAheadRows ahead(source);
      ASSERT_EQ(ahead.fields().size(), 1u);
      Row row;
      int64_t seen = 0;
      while (ahead.Next(row)) {
        ASSERT_EQ(row, Row{Value(seen)}) << rows;
        ASSERT_TRUE(ahead.status().ok()) << "error before its rows were handed out";
        ++seen;
      }
      EXPECT_EQ(seen, rows);
      EXPECT_EQ(ahead.status().ok(), !fails) << rows;
      EXPECT_FALSE(ahead.Next(row)) << "the end stays the end";
    }
  }
}

TEST(ReadAhead, ReadsAtMostItsBatchesAheadAndStopsWhenDropped) {
  CountingSource source(1000000, false);
  {
    ReadAheadRows ahead(source);
    Row row;
    ASSERT_TRUE(ahead.Next(row));
  }  // dropped after one row: the reader must stop, not read the whole table
  EXPECT_LE(source.read(), int64_t((ReadAheadRows::kBatches + 1) * ReadAheadRows::kBatchRows));
}

}  // namespace
}  // namespace px::xbf
