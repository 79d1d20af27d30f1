#include "cli/json.h"

#include <cmath>
#include <cstdio>

#include "core/value_text.h"

namespace px::cli {

void AppendJsonString(std::string& out, std::string_view utf8) {
  out += '"';
  for (char ch : utf8) {
    const auto c = static_cast<unsigned char>(ch);
    switch (c) {
      case '"':
        out += "\\\"";
        break;
      case '\\':
        out += "\\\\";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\r':
        out += "\\r";
        break;
      case '\t':
        out += "\\t";
        break;
      default:
        if (c < 0x20) {
          char buf[8];
          std::snprintf(buf, sizeof buf, "\\u%04x", c);
          out += buf;
        } else {
          out += ch;
        }
    }
  }
  out += '"';
}

namespace {

std::string Quoted(std::string_view s) {
  std::string out;
  AppendJsonString(out, s);
  return out;
}

// JSON has no NaN or infinity; those print as strings.
template <typename F>
std::string FloatJson(F f, std::string (*shortest)(F)) {
  if (std::isnan(f)) return "\"NaN\"";
  if (std::isinf(f)) return f > 0 ? "\"Infinity\"" : "\"-Infinity\"";
  return shortest(f);
}

struct ToJson {
  std::string operator()(const Null&) const { return "null"; }
  std::string operator()(bool b) const { return b ? "true" : "false"; }
  std::string operator()(int64_t i) const { return std::to_string(i); }
  std::string operator()(float f) const { return FloatJson<float>(f, ShortestFloat); }
  std::string operator()(double d) const { return FloatJson<double>(d, ShortestDouble); }
  std::string operator()(const Currency& c) const { return Quoted(CurrencyToPlain(c)); }
  std::string operator()(const Decimal& d) const { return Quoted(DecimalToPlain(d)); }
  std::string operator()(const OleDate& d) const {
    auto parts = OleDateToParts(d.days);
    if (!parts) return Quoted("invalid date " + ShortestDouble(d.days));
    return Quoted(FormatIsoDateTime(*parts));
  }
  std::string operator()(const Guid& g) const { return Quoted(GuidToText(g)); }
  std::string operator()(const std::string& s) const { return Quoted(s); }
  std::string operator()(const Binary& b) const { return Quoted(HexLower(b.bytes)); }
};

}  // namespace

std::string ValueToJson(const Value& v) {
  return std::visit(ToJson{}, v);
}

Status WriteRowsJsonLines(RowSource& rows, std::ostream& out) {
  const auto& fields = rows.fields();
  Row row;
  std::string line;
  while (rows.Next(row)) {
    line.clear();
    line += '{';
    for (size_t i = 0; i < fields.size() && i < row.size(); ++i) {
      if (i) line += ',';
      AppendJsonString(line, fields[i].name);
      line += ':';
      line += ValueToJson(row[i]);
    }
    line += "}\n";
    out << line;
  }
  out.flush();
  return rows.status();
}

}  // namespace px::cli
