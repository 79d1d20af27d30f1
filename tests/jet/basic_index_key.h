#pragma once
// Index keys of the fixed-width column types, enough to drive the index writer in tests
// before text keys are at hand: per column a flag byte (7F value / 00 Null ascending,
// 80 / FF descending), then the value big-endian with its sign bit flipped (integers,
// Currency) or as ordered IEEE bits (Double, Date/Time); Byte raw; Boolean 00 true, FF false.
// A descending column inverts the value bytes. Other types are refused.

#include <span>
#include <vector>

#include "core/result.h"
#include "core/value.h"
#include "jet/tabledef.h"

namespace px::jet::testing {

inline Result<std::vector<uint8_t>> BasicIndexKey(const TableDef& def, const RealIndex& index,
                                                  std::span<const Value> values) {
  std::vector<uint8_t> key;
  for (const IndexColumn& ic : index.columns) {
    const int i = def.ColumnByNumber(ic.column_number);
    if (i < 0) return Status::InvalidArgument("index names a missing column");
    const ColumnDef& c = def.columns[i];
    const Value& v = values[i];
    if (IsNull(v) && c.type != coltype::kBoolean) {
      key.push_back(ic.ascending ? 0x00 : 0xFF);
      continue;
    }
    key.push_back(ic.ascending ? 0x7F : 0x80);
    std::vector<uint8_t> part;
    auto big_endian = [&part](uint64_t bits, int bytes) {
      for (int k = bytes - 1; k >= 0; --k) part.push_back(uint8_t(bits >> (8 * k)));
    };
    switch (c.type) {
      case coltype::kBoolean:
        part.push_back(std::get<bool>(v) ? 0x00 : 0xFF);
        break;
      case coltype::kByte:
        part.push_back(uint8_t(std::get<int64_t>(v)));
        break;
      case coltype::kInteger:
        big_endian(uint64_t(std::get<int64_t>(v)) ^ 0x8000, 2);
        break;
      case coltype::kLong:
        big_endian(uint64_t(std::get<int64_t>(v)) ^ 0x80000000u, 4);
        break;
      case coltype::kCurrency:
        big_endian(uint64_t(std::get<Currency>(v).scaled) ^ (uint64_t(1) << 63), 8);
        break;
      case coltype::kDouble:
      case coltype::kDateTime: {
        const double d =
            c.type == coltype::kDouble ? std::get<double>(v) : std::get<OleDate>(v).days;
        uint64_t bits = DoubleToBits(d);
        bits = (bits >> 63) ? ~bits : bits ^ (uint64_t(1) << 63);
        big_endian(bits, 8);
        break;
      }
      default:
        return Status::NotSupported("test keys cover fixed-width columns only: " + c.name);
    }
    if (!ic.ascending) {
      for (auto& b : part) b = uint8_t(~b);
    }
    key.insert(key.end(), part.begin(), part.end());
  }
  return key;
}

}  // namespace px::jet::testing
