#pragma once
// Minimal JSON output: string escaping and the row value format shared by the
// "satirlar" commands (one object a row, keys in field order).

#include <ostream>
#include <string>
#include <string_view>

#include "core/value.h"

namespace px::cli {

// Appends `utf8` as a JSON string literal (quotes included).
void AppendJsonString(std::string& out, std::string_view utf8);

// JSON text of a value: null; integers; shortest round-trip numbers for Single/Double;
// plain decimal strings for Currency/Decimal; true/false; "YYYY-MM-DDTHH:MM:SS[.fff]"
// dates; upper-case braced GUIDs; text as is; binary as lower-case hex strings.
std::string ValueToJson(const Value& v);

// Writes every row of `rows` as one JSON object a line. Returns the source's status.
Status WriteRowsJsonLines(RowSource& rows, std::ostream& out);

}  // namespace px::cli
