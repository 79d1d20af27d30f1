#pragma once
// Column values: raw row bytes to the shared Value model.
//
//   Boolean   null-mask bit          Byte      1, unsigned       Integer  int16 LE
//   Long      int32 LE               Currency  int64 LE x 10,000 Single   float LE
//   Double    double LE              Date/Time OLE date double   GUID     16 bytes
//   Binary    bytes                  Text      UTF-16LE / compressed (Jet 4), code page (Jet 3)
//   Memo/OLE  long value (long_value.h)
//   Numeric   17 bytes: sign (0x80 = negative), then four 32-bit LE words of the
//             unscaled magnitude, most significant word first; scale from the column

#include <string>

#include "core/result.h"
#include "core/value.h"
#include "jet/format.h"
#include "jet/page_source.h"
#include "jet/row_codec.h"
#include "jet/tabledef.h"

namespace px::jet {

class ValueDecoder {
 public:
  // `code_page` decodes Jet 3 text whose column carries no supported code page.
  ValueDecoder(Pager& pager, const JetFormat& f, int code_page)
      : pager_(pager), f_(f), code_page_(code_page) {}

  Result<Value> Decode(const ColumnDef& c, const ColumnData& d, const std::string& where);
  // The same into `out`: text reuses the string `out` already holds, so a row decoded into
  // the previous row's values allocates nothing for its text.
  Status DecodeInto(const ColumnDef& c, const ColumnData& d, const std::string& where, Value& out);

 private:
  Result<Value> DecodeFixed(const ColumnDef& c, Bytes b, const std::string& where);
  Status DecodeTextInto(const ColumnDef& c, Bytes b, const std::string& where, Value& out);
  int TextCodePage(const ColumnDef& c) const;

  Pager& pager_;
  const JetFormat& f_;
  int code_page_;
};

// Numeric/Decimal from its 17 stored bytes.
Result<Decimal> DecodeNumeric(Bytes b, uint8_t scale);

}  // namespace px::jet
