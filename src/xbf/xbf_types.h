#pragma once
// How ADO field types appear in a persisted recordset: the XML-Data type names of the schema
// (dt:type with rs:dbtype) and the text form of each value inside a row.

#include <optional>
#include <string>
#include <string_view>

#include "core/result.h"
#include "core/value.h"

namespace px::xbf {

// The schema names of an ADO type code. `dbtype` is empty when rs:dbtype is not written;
// `width` is the dt:maxLength of fixed-size types (0 when the field's size is used).
struct SchemaType {
  std::string_view dt_type;
  std::string_view dbtype;
  int64_t width = 0;
};
std::optional<SchemaType> SchemaTypeOf(int ado_type);

// What a schema declares, before it is mapped to an ADO type code.
struct DeclaredType {
  std::string dt_type;  // empty when no dt:type was given
  std::string dbtype;
  std::optional<int64_t> max_length;
  bool fixed = false;
  bool is_long = false;
};
// The ADO type code ADO gives such a column when it opens the file. Unknown XML-Data types
// are text, as in ADO; "number" without rs:dbtype and without a usable width is an error.
Result<int> AdoTypeOf(const DeclaredType& t);
// dt:maxLength that ADO assumes when the schema leaves it out.
int64_t DefaultSize(int ado_type);

// Types whose schema carries rs:scale.
bool HasScale(int ado_type);
bool IsTextType(int ado_type);
bool IsBinaryType(int ado_type);

// The ANSI code page of the suite's data (Turkish).
inline constexpr int kDefaultAnsiCodePage = 1254;

// The text of a non-null value as ADO writes it into a row attribute (before escaping),
// appended to `out`. Binary values give lower-case hex. InvalidArgument when the value does
// not fit the type. `ansi_code_page` is the code page of ANSI text (char, varchar) fields.
Status AppendValueText(const FieldInfo& field, const Value& v, std::string& out,
                       int ansi_code_page = kDefaultAnsiCodePage);
Result<std::string> FormatValue(const FieldInfo& field, const Value& v,
                                int ansi_code_page = kDefaultAnsiCodePage);

// The blanks ADO puts after a fixed-length text value to fill its declared length: counted
// in UTF-16 units for wide (nchar) fields and in bytes of `ansi_code_page` for ANSI (char)
// fields, where double-byte code pages (932, 936, 949, 950) take two bytes for most
// characters. 0 for other fields and for values at or over the length.
size_t FixedTextPadding(const FieldInfo& field, std::string_view text, int ansi_code_page);

// The value of a row attribute (already unescaped) for a field. bin.hex text may contain
// whitespace, which is ignored. InvalidArgument when the text is not a value of the type.
Result<Value> ParseValue(const FieldInfo& field, std::string_view text);
// The same into `out`, which keeps what it held on an error.
Status ParseValueInto(const FieldInfo& field, std::string_view text, Value& out);

// Number of Unicode characters of UTF-8 text (continuation bytes are not counted).
size_t Utf8Length(std::string_view s);
// Number of UTF-16 code units of UTF-8 text: characters outside the Basic Multilingual
// Plane (four-byte sequences) count two.
size_t Utf16Length(std::string_view s);

}  // namespace px::xbf
