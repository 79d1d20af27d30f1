#include "xbf/read_ahead.h"

namespace px::xbf {

ReadAheadRows::ReadAheadRows(RowSource& inner)
    : fields_(inner.fields()),
      ahead_(
          [&inner](Row& row) -> Result<bool> {
            if (inner.Next(row)) return true;
            PX_RETURN_IF_ERROR(inner.status());
            return false;
          },
          kBatchRows, kBatches) {}

bool ReadAheadRows::Next(Row& row) {
  Row* next = ahead_.Next();
  if (next == nullptr) return false;
  std::swap(row, *next);
  return true;
}

}  // namespace px::xbf
