#pragma once
// Reads a row source on a thread of its own, a batch of rows at a time, while the caller
// works on the batches read before: decoding the table's pages overlaps writing the file.
// At most kBatches batches of kBatchRows rows are held, whatever the size of the table.

#include <memory>

#include "core/value.h"

namespace px::xbf {

class ReadAheadRows final : public RowSource {
 public:
  static constexpr size_t kBatchRows = 256;
  static constexpr size_t kBatches = 4;

  // REQUIRES: nothing else touches `inner` (nor the database it reads) until this source is
  // destroyed; `inner` outlives it.
  explicit ReadAheadRows(RowSource& inner);
  // Stops the reading thread, also in the middle of the table.
  ~ReadAheadRows() override;
  ReadAheadRows(const ReadAheadRows&) = delete;
  ReadAheadRows& operator=(const ReadAheadRows&) = delete;

  const std::vector<FieldInfo>& fields() const override { return fields_; }
  bool Next(Row& row) override;
  // OK until Next() has answered false; then the inner source's status.
  Status status() const override;

 private:
  struct State;
  std::vector<FieldInfo> fields_;
  std::unique_ptr<State> s_;
};

}  // namespace px::xbf
