#pragma once
// The record model shared by every backend and file format: typed values, field metadata
// described by the ADO field type codes that the Jet 4.0 and SQL Server OLE DB providers
// report, and a streaming row source. The Access engine, the SQL Server reader and the
// recordset file reader all produce rows in this shape; writers consume it.

#include <array>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "core/status.h"

namespace px {

// ADO DataTypeEnum codes used by the suite.
namespace ado {
inline constexpr int kEmpty = 0;
inline constexpr int kSmallInt = 2;  // Integer
inline constexpr int kInteger = 3;   // Long
inline constexpr int kSingle = 4;
inline constexpr int kDouble = 5;
inline constexpr int kCurrency = 6;
inline constexpr int kDate = 7;
inline constexpr int kBSTR = 8;
inline constexpr int kBoolean = 11;
inline constexpr int kVariant = 12;
inline constexpr int kDecimal = 14;
inline constexpr int kTinyInt = 16;
inline constexpr int kUnsignedTinyInt = 17;  // Byte
inline constexpr int kUnsignedSmallInt = 18;
inline constexpr int kUnsignedInt = 19;
inline constexpr int kBigInt = 20;
inline constexpr int kUnsignedBigInt = 21;
inline constexpr int kFileTime = 64;
inline constexpr int kGUID = 72;
inline constexpr int kBinary = 128;
inline constexpr int kChar = 129;
inline constexpr int kWChar = 130;
inline constexpr int kNumeric = 131;
inline constexpr int kDBDate = 133;
inline constexpr int kDBTime = 134;
inline constexpr int kDBTimeStamp = 135;
inline constexpr int kVarChar = 200;
inline constexpr int kLongVarChar = 201;
inline constexpr int kVarWChar = 202;      // Text
inline constexpr int kLongVarWChar = 203;  // Memo
inline constexpr int kVarBinary = 204;
inline constexpr int kLongVarBinary = 205;  // OLE Object
}  // namespace ado

struct Null {
  bool operator==(const Null&) const = default;
};

// Currency: the value times 10,000, exactly.
struct Currency {
  int64_t scaled = 0;
  bool operator==(const Currency&) const = default;
};

// Exact decimal: (-1)^negative * (hi:lo as an unsigned 128-bit integer) / 10^scale.
struct Decimal {
  uint64_t hi = 0;
  uint64_t lo = 0;
  uint8_t scale = 0;
  bool negative = false;
  bool operator==(const Decimal&) const = default;
};

// OLE Automation date: days since 1899-12-30; the fraction is the time of day. Before the
// epoch the fraction still counts forward from midnight (-1.25 is 1899-12-29 06:00).
struct OleDate {
  double days = 0;
  bool operator==(const OleDate&) const = default;
};

// A GUID in its Windows memory layout: Data1 (LE32), Data2 (LE16), Data3 (LE16), Data4[8].
struct Guid {
  std::array<uint8_t, 16> bytes{};
  bool operator==(const Guid&) const = default;
};

struct Binary {
  std::vector<uint8_t> bytes;
  bool operator==(const Binary&) const = default;
};

// Text is UTF-8. Single keeps its float so that it prints with float precision.
using Value = std::variant<Null, bool, int64_t, float, double, Currency, Decimal, OleDate, Guid,
                           std::string, Binary>;

inline bool IsNull(const Value& v) {
  return std::holds_alternative<Null>(v);
}

// ADO FieldAttributeEnum bits (Field.Attributes).
namespace fld {
inline constexpr uint32_t kMayDefer = 0x2;
inline constexpr uint32_t kUpdatable = 0x4;
inline constexpr uint32_t kUnknownUpdatable = 0x8;
inline constexpr uint32_t kFixed = 0x10;
inline constexpr uint32_t kIsNullable = 0x20;
inline constexpr uint32_t kMayBeNull = 0x40;
inline constexpr uint32_t kLong = 0x80;
inline constexpr uint32_t kRowID = 0x100;
inline constexpr uint32_t kRowVersion = 0x200;
inline constexpr uint32_t kCacheDeferred = 0x1000;
inline constexpr uint32_t kKeyColumn = 0x8000;
}  // namespace fld

// Metadata of one field as an OLE DB provider reports it for "SELECT * FROM table" on a
// client-side cursor (what ADO persists in a recordset file's schema).
struct FieldInfo {
  std::string name;
  int ado_type = ado::kEmpty;
  // Defined size: characters for text, bytes for binary, the type's width for fixed types;
  // 536870910 (Jet memo), 1073741823 (Jet OLE) and similar for long fields.
  int64_t size = 0;
  int precision = 255;             // 255 when not applicable
  int scale = 255;                 // 255 when not applicable
  uint32_t attributes = 0;         // fld::* bits
  bool autonumber = false;         // AutoNumber / identity (ISAUTOINCREMENT, rs:autoincrement)
  bool allow_zero_length = false;  // Jet "AllowZeroLength" column property
  bool required = false;           // Jet "Required" column property
  std::string base_table;          // rs:basetable; empty when unknown
  std::string base_column;         // rs:basecolumn; empty when unknown
  std::string base_catalog;        // rs:basecatalog (SQL Server database); empty for Jet
  std::string base_schema;         // rs:baseschema (SQL Server owner); empty for Jet

  bool Has(uint32_t bit) const { return (attributes & bit) != 0; }
  bool nullable() const { return Has(fld::kIsNullable); }
  bool may_be_null() const { return Has(fld::kMayBeNull); }
  bool is_long() const { return Has(fld::kLong); }
  bool fixed() const { return Has(fld::kFixed); }
  bool key_column() const { return Has(fld::kKeyColumn); }
};

using Row = std::vector<Value>;

// A forward-only stream of rows. Next() fills `row` (one Value per field, in field order)
// and returns true, returns false at the end, or reports an error through status().
class RowSource {
 public:
  virtual ~RowSource() = default;
  virtual const std::vector<FieldInfo>& fields() const = 0;
  virtual bool Next(Row& row) = 0;
  // OK while rows are flowing and after a clean end; the error that stopped the stream.
  virtual Status status() const = 0;
};

}  // namespace px
