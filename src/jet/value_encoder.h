#pragma once
// Values of the shared model to the bytes a column stores: the inverse of values.h.
//
//   Boolean   null-mask bit (Null stores false: Jet has no Null Boolean)
//   Byte 1, Integer int16 LE, Long int32 LE (range checked, never wrapped)
//   Currency  int64 LE x 10,000    Single float LE    Double double LE
//   Date/Time OLE date double      GUID 16 bytes      Binary bytes (up to the column size)
//   Numeric   sign byte, then the unscaled magnitude as four LE 32-bit words, most
//             significant first, rescaled to the column's scale
//   Text      Jet 4 UTF-16LE, compressed when the column allows it; Jet 3 code-page bytes
//   Memo/OLE  the long value's payload (text encoded as for Text; Jet 4 compresses memos up
//             to 1024 characters); long_value_writer.h stores it and makes the descriptor
//
// A value of another type is converted only where no digit can be lost (Long into Double,
// Currency into Numeric, ...); anything else is refused, naming the column.

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "core/result.h"
#include "core/value.h"
#include "jet/format.h"
#include "jet/tabledef.h"

namespace px::jet {

struct EncodedValue {
  bool null = true;
  bool bit = false;            // Boolean columns: the null-mask bit
  std::vector<uint8_t> bytes;  // fixed-width bytes, variable bytes, or a long value's payload
};

inline constexpr size_t kNumericSize = 17;
inline constexpr size_t kMaxCompressedMemoChars = 1024;

// `code_page` encodes Jet 3 text of columns that name no supported code page; `where`
// ("table Cari, row 12") leads every message.
Result<EncodedValue> EncodeValue(const JetFormat& f, const ColumnDef& c, const Value& v,
                                 int code_page, const std::string& where);
// The same into `out`, whose storage is reused (a row after row keeps its buffers).
Status EncodeValue(const JetFormat& f, const ColumnDef& c, const Value& v, int code_page,
                   const std::string& where, EncodedValue& out);

// Numeric/Decimal bytes at `scale` with at most `precision` digits. More fractional digits
// than the scale are rounded half away from zero, as Jet does; too many digits is an error.
Result<std::array<uint8_t, kNumericSize>> EncodeNumeric(const Decimal& d, uint8_t precision,
                                                        uint8_t scale);

}  // namespace px::jet
