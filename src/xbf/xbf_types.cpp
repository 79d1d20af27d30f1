#include "xbf/xbf_types.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "core/value_text.h"
#include "platform/codepage.h"

namespace px::xbf {

namespace {

struct TypeRow {
  int ado_type;
  SchemaType schema;
};

// dt:maxLength of fixed-size types is the provider's storage size.
constexpr TypeRow kTypes[] = {
    {ado::kTinyInt, {"i1", "", 1}},
    {ado::kUnsignedTinyInt, {"ui1", "", 1}},
    {ado::kSmallInt, {"i2", "", 2}},
    {ado::kUnsignedSmallInt, {"ui2", "", 2}},
    {ado::kInteger, {"int", "", 4}},
    {ado::kUnsignedInt, {"ui4", "", 4}},
    {ado::kBigInt, {"i8", "", 8}},
    {ado::kUnsignedBigInt, {"ui8", "", 8}},
    {ado::kSingle, {"r4", "", 4}},
    {ado::kDouble, {"float", "", 8}},
    {ado::kCurrency, {"number", "currency", 8}},
    {ado::kBoolean, {"boolean", "", 2}},
    {ado::kDate, {"dateTime", "variantdate", 16}},
    {ado::kDBDate, {"date", "", 6}},
    {ado::kDBTime, {"time", "", 6}},
    {ado::kDBTimeStamp, {"dateTime", "timestamp", 16}},
    {ado::kFileTime, {"dateTime", "filetime", 16}},
    {ado::kGUID, {"uuid", "", 16}},
    {ado::kNumeric, {"number", "numeric", 19}},
    {ado::kDecimal, {"number", "decimal", 16}},
    {139 /* adVarNumeric */, {"number", "varnumeric", 0}},
    {ado::kBSTR, {"string", "", 0}},
    {ado::kChar, {"string", "str", 0}},
    {ado::kVarChar, {"string", "str", 0}},
    {ado::kLongVarChar, {"string", "str", 0}},
    {ado::kWChar, {"string", "", 0}},
    {ado::kVarWChar, {"string", "", 0}},
    {ado::kLongVarWChar, {"string", "", 0}},
    {ado::kVariant, {"string", "", 0}},
    {ado::kBinary, {"bin.hex", "", 0}},
    {ado::kVarBinary, {"bin.hex", "", 0}},
    {ado::kLongVarBinary, {"bin.hex", "", 0}},
};

constexpr int kVarNumeric = 139;

int StringType(const DeclaredType& t) {
  const bool ansi = t.dbtype == "str";
  if (t.is_long) return ansi ? ado::kLongVarChar : ado::kLongVarWChar;
  if (t.fixed) return ansi ? ado::kChar : ado::kWChar;
  return ansi ? ado::kVarChar : ado::kVarWChar;
}

Result<int> NumberType(const DeclaredType& t) {
  if (t.dbtype == "currency") return ado::kCurrency;
  if (t.dbtype == "numeric") return ado::kNumeric;
  if (t.dbtype == "decimal") return ado::kDecimal;
  if (t.dbtype == "varnumeric") return kVarNumeric;
  // ADO opens a plain "number" only with a width it can hold a varnumeric in.
  if (t.max_length &&
      (*t.max_length == 8 || *t.max_length == 16 || *t.max_length == 19 || *t.max_length == 38)) {
    return kVarNumeric;
  }
  return Status::InvalidArgument("type 'number' needs rs:dbtype or a width of 8, 16, 19 or 38");
}

int DateTimeType(const DeclaredType& t) {
  if (t.dbtype == "timestamp") return ado::kDBTimeStamp;
  if (t.dbtype == "filetime") return ado::kFileTime;
  return ado::kDate;
}

}  // namespace

std::optional<SchemaType> SchemaTypeOf(int ado_type) {
  for (const auto& row : kTypes) {
    if (row.ado_type == ado_type) return row.schema;
  }
  return std::nullopt;
}

Result<int> AdoTypeOf(const DeclaredType& t) {
  const std::string& n = t.dt_type;
  if (n.empty() || n == "string") return StringType(t);
  if (n == "number") return NumberType(t);
  if (n == "currency") return ado::kCurrency;
  if (n == "decimal") return ado::kDecimal;
  if (n == "dateTime") return DateTimeType(t);
  if (n == "bin.hex") {
    if (t.is_long) return ado::kLongVarBinary;
    return t.fixed ? ado::kBinary : ado::kVarBinary;
  }
  static constexpr std::pair<std::string_view, int> kAliases[] = {
      {"i1", ado::kTinyInt},         {"ui1", ado::kUnsignedTinyInt},
      {"i2", ado::kSmallInt},        {"ui2", ado::kUnsignedSmallInt},
      {"int", ado::kInteger},        {"i4", ado::kInteger},
      {"ui4", ado::kUnsignedInt},    {"i8", ado::kBigInt},
      {"ui8", ado::kUnsignedBigInt}, {"r4", ado::kSingle},
      {"float", ado::kDouble},       {"r8", ado::kDouble},
      {"boolean", ado::kBoolean},    {"date", ado::kDBDate},
      {"time", ado::kDBTime},        {"uuid", ado::kGUID},
  };
  for (const auto& [name, code] : kAliases) {
    if (n == name) return code;
  }
  // Other XML-Data types (fixed.14.4, dateTime.tz, bin.base64, ...) are kept as text.
  return StringType(t);
}

int64_t DefaultSize(int ado_type) {
  auto s = SchemaTypeOf(ado_type);
  if (s && s->width) return s->width;
  return 4294967295LL;
}

bool HasScale(int t) {
  return t == ado::kNumeric || t == ado::kDecimal || t == kVarNumeric || t == ado::kDBTimeStamp;
}

bool IsTextType(int t) {
  auto s = SchemaTypeOf(t);
  return !s || s->dt_type == "string";
}

bool IsBinaryType(int t) {
  return t == ado::kBinary || t == ado::kVarBinary || t == ado::kLongVarBinary;
}

size_t Utf8Length(std::string_view s) {
  size_t n = 0;
  for (char c : s) n += (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  return n;
}

size_t Utf16Length(std::string_view s) {
  size_t n = 0;
  for (char c : s) {
    const auto b = static_cast<unsigned char>(c);
    if ((b & 0xC0) != 0x80) n += b >= 0xF0 ? 2 : 1;
  }
  return n;
}

// ---------------------------------------------------------------------------------------
// Formatting. Values are appended straight to the caller's buffer: a table of a million
// rows formats several million values, so nothing here allocates per value.

namespace {

Status Mismatch(const FieldInfo& f, const char* what) {
  return Status::InvalidArgument("field " + f.name + ": " + what + " does not fit type " +
                                 std::to_string(f.ado_type));
}

template <typename T>
void AppendNumber(std::string& out, T n) {
  char buf[24];
  auto r = std::to_chars(buf, buf + sizeof buf, n);
  out.append(buf, r.ptr);
}

// "%.*G" with ADO's conventions: no "-0". std::to_chars with a precision is printf's "%.*g"
// (trailing zeros dropped, at least two exponent digits); ADO's exponent letter is upper case.
void AppendGeneral(std::string& out, double d, int digits) {
  if (d == 0) {
    out += '0';
    return;
  }
  char buf[64];
  auto r = std::to_chars(buf, buf + sizeof buf, d, std::chars_format::general, digits);
  for (char* p = buf; p < r.ptr; ++p) {
    if (*p == 'e') *p = 'E';
  }
  out.append(buf, r.ptr);
}

// Singles print with 8 significant digits (5.325f is "5.3249998"), subnormal ones with 10
// ("1.401298464E-45"), as ADO writes them. Eight digits do not always single out one float;
// such values read back as the nearest float, as they do in ADO.
void AppendSingle(std::string& out, float f) {
  if (f == 0) {
    out += '0';
    return;
  }
  const bool subnormal = std::fabs(f) < std::numeric_limits<float>::min();
  AppendGeneral(out, double(f), subnormal ? 10 : 8);
}

// Currency: up to four decimals, trailing zeros and a bare point dropped, no "-0".
void AppendCurrency(std::string& out, int64_t scaled) {
  const uint64_t magnitude = scaled < 0 ? uint64_t(0) - uint64_t(scaled) : uint64_t(scaled);
  if (scaled < 0) out += '-';
  AppendNumber(out, magnitude / 10000);
  uint64_t fraction = magnitude % 10000;
  if (fraction == 0) return;
  char digits[4];
  for (int i = 3; i >= 0; --i, fraction /= 10) digits[i] = char('0' + fraction % 10);
  size_t n = 4;
  while (digits[n - 1] == '0') --n;
  out += '.';
  out.append(digits, n);
}

// Numeric values carry exactly `scale` decimals, and a pure fraction has no leading "0".
void AppendNumeric(std::string& out, const Decimal& d, int scale) {
  std::string plain = DecimalToPlain(d);
  const bool negative = !plain.empty() && plain[0] == '-';
  if (negative) plain.erase(0, 1);
  size_t point = plain.find('.');
  std::string whole = plain.substr(0, point);
  std::string frac = point == std::string::npos ? "" : plain.substr(point + 1);
  if (scale != 255 && int(frac.size()) < scale) frac.append(size_t(scale - int(frac.size())), '0');
  if (whole == "0" && !frac.empty()) whole.clear();
  if (negative) out += '-';
  out += whole;
  if (!frac.empty()) out.append(".").append(frac);
}

Result<double> AsDouble(const FieldInfo& f, const Value& v) {
  if (auto* d = std::get_if<double>(&v)) return *d;
  if (auto* s = std::get_if<float>(&v)) return double(*s);
  if (auto* i = std::get_if<int64_t>(&v)) return double(*i);
  return Mismatch(f, "value");
}

Result<Decimal> AsDecimal(const FieldInfo& f, const Value& v) {
  if (auto* d = std::get_if<Decimal>(&v)) return *d;
  if (auto* i = std::get_if<int64_t>(&v)) {
    Decimal d;
    d.negative = *i < 0;
    d.lo = d.negative ? uint64_t(0) - uint64_t(*i) : uint64_t(*i);
    return d;
  }
  if (auto* c = std::get_if<Currency>(&v)) {
    auto d = DecimalFromText(CurrencyToPlain(*c));
    if (d) return *d;
  }
  return Mismatch(f, "value");
}

Status AppendInteger(const FieldInfo& f, const Value& v, std::string& out) {
  if (auto* i = std::get_if<int64_t>(&v)) {
    AppendNumber(out, *i);
  } else if (auto* b = std::get_if<bool>(&v)) {
    out += *b ? "-1" : "0";
  } else if (auto* d = std::get_if<Decimal>(&v); d && d->scale == 0) {
    out += DecimalToPlain(*d);
  } else {
    return Mismatch(f, "value");
  }
  return Status::Ok();
}

// `width` digits of `n`, zero-padded.
char* PutDigits(char* p, int n, int width) {
  for (int i = width - 1; i >= 0; --i, n /= 10) p[i] = char('0' + n % 10);
  return p + width;
}

Status AppendDate(const FieldInfo& f, const Value& v, std::string& out) {
  auto* d = std::get_if<OleDate>(&v);
  if (!d) return Mismatch(f, "value");
  auto p = OleDateToParts(d->days);
  if (!p || p->year < 0 || p->year > 9999) return Mismatch(f, "date");
  const bool keep_fraction = f.ado_type == ado::kDBTimeStamp || f.ado_type == ado::kFileTime;
  if (!keep_fraction && p->millisecond >= 500) {
    DateParts up = *p;
    up.millisecond = 0;
    up.second += 1;  // PartsToOleDate carries the extra second
    p = OleDateToParts(PartsToOleDate(up));
    if (!p || p->year > 9999) return Mismatch(f, "date");
  }
  char buf[32];
  char* e = buf;
  if (f.ado_type != ado::kDBTime) {  // yyyy-mm-dd
    e = PutDigits(e, p->year, 4);
    *e++ = '-';
    e = PutDigits(e, p->month, 2);
    *e++ = '-';
    e = PutDigits(e, p->day, 2);
  }
  if (f.ado_type != ado::kDBDate) {  // [T]hh:mm:ss[.fff000000]
    if (f.ado_type != ado::kDBTime) *e++ = 'T';
    e = PutDigits(e, p->hour, 2);
    *e++ = ':';
    e = PutDigits(e, p->minute, 2);
    *e++ = ':';
    e = PutDigits(e, p->second, 2);
    if (keep_fraction && p->millisecond) {
      *e++ = '.';
      e = PutDigits(e, p->millisecond, 3);
      e = PutDigits(e, 0, 6);
    }
  }
  out.append(buf, e);
  return Status::Ok();
}

// ANSI code pages that hold a character in one or two bytes (Japanese, Simplified Chinese,
// Korean, Traditional Chinese).
bool DoubleByteCodePage(int code_page) {
  return code_page == 932 || code_page == 936 || code_page == 949 || code_page == 950;
}

// Bytes a character takes in a double-byte code page. The text comes from a column of that
// code page, so every character is one of its characters: ASCII takes one byte, and so do
// the half-width katakana of 932 and the euro sign of 936; every other character two.
size_t DoubleByteWidth(int code_page, uint32_t c) {
  if (c < 0x80) return 1;
  if (code_page == 932 && c >= 0xFF61 && c <= 0xFF9F) return 1;
  if (code_page == 936 && c == 0x20AC) return 1;
  return 2;
}

size_t AnsiLength(std::string_view utf8, int code_page) {
  if (!DoubleByteCodePage(code_page)) return Utf8Length(utf8);
  size_t bytes = 0;
  for (size_t i = 0; i < utf8.size();) {
    auto c = NextUtf8(utf8, i);
    if (!c) {  // not UTF-8: one unknown character ("?")
      ++i;
      ++bytes;
      continue;
    }
    bytes += DoubleByteWidth(code_page, *c);
  }
  return bytes;
}

}  // namespace

size_t FixedTextPadding(const FieldInfo& f, std::string_view text, int ansi_code_page) {
  const bool wide = f.ado_type == ado::kWChar;
  if ((!wide && f.ado_type != ado::kChar) || f.size <= 0 || f.size >= 65536) return 0;
  const size_t len = wide ? Utf16Length(text) : AnsiLength(text, ansi_code_page);
  return len < size_t(f.size) ? size_t(f.size) - len : 0;
}

Status AppendValueText(const FieldInfo& f, const Value& v, std::string& out, int ansi_code_page) {
  switch (f.ado_type) {
    case ado::kTinyInt:
    case ado::kUnsignedTinyInt:
    case ado::kSmallInt:
    case ado::kUnsignedSmallInt:
    case ado::kInteger:
    case ado::kUnsignedInt:
    case ado::kBigInt:
    case ado::kUnsignedBigInt:
      return AppendInteger(f, v, out);
    case ado::kSingle: {
      if (auto* s = std::get_if<float>(&v); s && std::isfinite(*s)) {
        AppendSingle(out, *s);
        return Status::Ok();
      }
      PX_ASSIGN_OR_RETURN(double d, AsDouble(f, v));
      if (!std::isfinite(d) || std::fabs(d) > std::numeric_limits<float>::max()) {
        return Mismatch(f, "number");
      }
      AppendSingle(out, float(d));
      return Status::Ok();
    }
    case ado::kDouble: {
      PX_ASSIGN_OR_RETURN(double d, AsDouble(f, v));
      if (!std::isfinite(d)) return Mismatch(f, "NaN or infinity");
      AppendGeneral(out, d, 17);
      return Status::Ok();
    }
    case ado::kCurrency: {
      if (auto* c = std::get_if<Currency>(&v)) {
        AppendCurrency(out, c->scaled);
      } else if (auto* i = std::get_if<int64_t>(&v)) {
        AppendNumber(out, *i);
      } else {
        return Mismatch(f, "value");
      }
      return Status::Ok();
    }
    case ado::kBoolean: {
      if (auto* b = std::get_if<bool>(&v)) {
        out += *b ? "True" : "False";
      } else if (auto* i = std::get_if<int64_t>(&v)) {
        out += *i ? "True" : "False";
      } else {
        return Mismatch(f, "value");
      }
      return Status::Ok();
    }
    case ado::kNumeric: {
      PX_ASSIGN_OR_RETURN(Decimal d, AsDecimal(f, v));
      AppendNumeric(out, d, f.scale);
      return Status::Ok();
    }
    case ado::kDecimal:
    case kVarNumeric: {
      PX_ASSIGN_OR_RETURN(Decimal d, AsDecimal(f, v));
      out += DecimalToPlain(d);
      return Status::Ok();
    }
    case ado::kDate:
    case ado::kDBDate:
    case ado::kDBTime:
    case ado::kDBTimeStamp:
    case ado::kFileTime:
      return AppendDate(f, v, out);
    case ado::kGUID: {
      auto* g = std::get_if<Guid>(&v);
      if (!g) return Mismatch(f, "value");
      out += GuidToText(*g);
      return Status::Ok();
    }
    case ado::kBinary:
    case ado::kVarBinary:
    case ado::kLongVarBinary: {
      auto* b = std::get_if<Binary>(&v);
      if (!b) return Mismatch(f, "value");
      out += HexLower(b->bytes);
      return Status::Ok();
    }
    default: {
      // Fixed-length text is padded with blanks to its declared length, as ADO counts it:
      // UTF-16 units in wide fields, bytes of the code page in ANSI fields.
      auto* s = std::get_if<std::string>(&v);
      if (!s) return Mismatch(f, "value");
      out += *s;
      out.append(FixedTextPadding(f, *s, ansi_code_page), ' ');
      return Status::Ok();
    }
  }
}

Result<std::string> FormatValue(const FieldInfo& f, const Value& v, int ansi_code_page) {
  std::string out;
  PX_RETURN_IF_ERROR(AppendValueText(f, v, out, ansi_code_page));
  return out;
}

// ---------------------------------------------------------------------------------------
// Parsing

namespace {

template <typename T>
Status Set(Value& out, T&& v) {
  out = std::forward<T>(v);
  return Status::Ok();
}

Status Bad(const FieldInfo& f, std::string_view text) {
  std::string shown(text.substr(0, 60));
  return Status::InvalidArgument("field " + f.name + ": '" + shown + "' is not a value of type " +
                                 std::to_string(f.ado_type));
}

bool NumberChars(std::string_view t) {
  if (t.empty()) return false;
  for (char c : t) {
    if (!((c >= '0' && c <= '9') || c == '.' || c == '-' || c == '+' || c == 'e' || c == 'E')) {
      return false;
    }
  }
  return true;
}

Status ParseInteger(const FieldInfo& f, std::string_view t, Value& out) {
  int64_t lo = INT64_MIN, hi = INT64_MAX;
  switch (f.ado_type) {
    case ado::kTinyInt:
      lo = -128, hi = 127;
      break;
    case ado::kUnsignedTinyInt:
      lo = 0, hi = 255;
      break;
    case ado::kSmallInt:
      lo = -32768, hi = 32767;
      break;
    case ado::kUnsignedSmallInt:
      lo = 0, hi = 65535;
      break;
    case ado::kInteger:
      lo = INT32_MIN, hi = INT32_MAX;
      break;
    case ado::kUnsignedInt:
      lo = 0, hi = UINT32_MAX;
      break;
    default:
      break;
  }
  if (f.ado_type == ado::kUnsignedBigInt) {
    uint64_t u;
    auto r = std::from_chars(t.data(), t.data() + t.size(), u);
    if (r.ec != std::errc() || r.ptr != t.data() + t.size()) return Bad(f, t);
    if (u <= uint64_t(INT64_MAX)) return Set(out, int64_t(u));
    Decimal d;  // beyond int64: kept exactly as a whole decimal
    d.lo = u;
    return Set(out, d);
  }
  int64_t i;
  auto r = std::from_chars(t.data(), t.data() + t.size(), i);
  if (r.ec != std::errc() || r.ptr != t.data() + t.size() || i < lo || i > hi) return Bad(f, t);
  return Set(out, i);
}

// std::from_chars rounds as strtod does; what it does not take whole (a leading '+', a value
// that underflows or overflows) is left to strtod, which decides as it always has.
template <typename T>
bool FromChars(std::string_view t, T& v) {
  const auto r = std::from_chars(t.data(), t.data() + t.size(), v);
  return r.ec == std::errc() && r.ptr == t.data() + t.size() && std::isfinite(v);
}

Status ParseFloating(const FieldInfo& f, std::string_view t, Value& out) {
  if (!NumberChars(t) || t.size() > 400) return Bad(f, t);
  if (f.ado_type == ado::kSingle) {
    if (float v; FromChars(t, v)) return Set(out, v);
  } else if (double v; FromChars(t, v)) {
    return Set(out, v);
  }
  std::string s(t);
  char* end = nullptr;
  if (f.ado_type == ado::kSingle) {
    float v = std::strtof(s.c_str(), &end);
    if (end != s.c_str() + s.size() || !std::isfinite(v)) return Bad(f, t);
    return Set(out, v);
  }
  double v = std::strtod(s.c_str(), &end);
  if (end != s.c_str() + s.size() || !std::isfinite(v)) return Bad(f, t);
  return Set(out, v);
}

bool ReadDigits(std::string_view& t, size_t n, int& out) {
  if (t.size() < n) return false;
  out = 0;
  for (size_t i = 0; i < n; ++i) {
    if (t[i] < '0' || t[i] > '9') return false;
    out = out * 10 + (t[i] - '0');
  }
  t.remove_prefix(n);
  return true;
}

bool Expect(std::string_view& t, char c) {
  if (t.empty() || t[0] != c) return false;
  t.remove_prefix(1);
  return true;
}

bool ParseTimePart(std::string_view& t, DateParts& p) {
  if (!ReadDigits(t, 2, p.hour) || !Expect(t, ':') || !ReadDigits(t, 2, p.minute) ||
      !Expect(t, ':') || !ReadDigits(t, 2, p.second)) {
    return false;
  }
  if (Expect(t, '.')) {
    // Up to nine fraction digits; kept to the millisecond, rounded.
    int64_t nanos = 0;
    size_t digits = 0;
    while (!t.empty() && t[0] >= '0' && t[0] <= '9' && digits < 9) {
      nanos = nanos * 10 + (t[0] - '0');
      t.remove_prefix(1);
      ++digits;
    }
    if (digits == 0) return false;
    for (; digits < 9; ++digits) nanos *= 10;
    p.millisecond = int((nanos + 500000) / 1000000);
  }
  return p.hour < 24 && p.minute < 60 && p.second < 60;
}

bool ValidDay(const DateParts& p) {
  static const int kDays[] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (p.month < 1 || p.month > 12 || p.day < 1 || p.day > kDays[p.month - 1]) return false;
  const bool leap = (p.year % 4 == 0 && p.year % 100 != 0) || p.year % 400 == 0;
  return !(p.month == 2 && p.day == 29 && !leap);
}

Status ParseDate(const FieldInfo& f, std::string_view text, Value& out) {
  std::string_view t = text;
  DateParts p;
  if (f.ado_type == ado::kDBTime || (t.size() > 2 && t[2] == ':')) {
    if (!ParseTimePart(t, p) || !t.empty()) return Bad(f, text);
    return Set(out, OleDate{PartsToOleDate(p)});
  }
  if (!ReadDigits(t, 4, p.year) || !Expect(t, '-') || !ReadDigits(t, 2, p.month) ||
      !Expect(t, '-') || !ReadDigits(t, 2, p.day) || !ValidDay(p)) {
    return Bad(f, text);
  }
  if (Expect(t, 'T') && !ParseTimePart(t, p)) return Bad(f, text);
  if (!t.empty()) return Bad(f, text);
  return Set(out, OleDate{PartsToOleDate(p)});
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

Status ParseHex(const FieldInfo& f, std::string_view t, Value& out) {
  Binary b;
  b.bytes.reserve(t.size() / 2);
  int high = -1;
  for (char c : t) {
    if (c == ' ' || c == '\t' || c == '\r' || c == '\n') continue;
    const int d = HexDigit(c);
    if (d < 0) return Bad(f, t);
    if (high < 0) {
      high = d;
    } else {
      b.bytes.push_back(uint8_t(high << 4 | d));
      high = -1;
    }
  }
  // ADO accepts an odd digit count; the lone last digit is dropped.
  return Set(out, std::move(b));
}

Status ParseBool(const FieldInfo& f, std::string_view t, Value& out) {
  auto eq = [&](std::string_view w) {
    if (t.size() != w.size()) return false;
    for (size_t i = 0; i < t.size(); ++i) {
      if (std::tolower(static_cast<unsigned char>(t[i])) != w[i]) return false;
    }
    return true;
  };
  if (eq("true") || t == "1" || t == "-1") return Set(out, true);
  if (eq("false") || t == "0") return Set(out, false);
  return Bad(f, t);
}

}  // namespace

Status ParseValueInto(const FieldInfo& f, std::string_view t, Value& out) {
  switch (f.ado_type) {
    case ado::kTinyInt:
    case ado::kUnsignedTinyInt:
    case ado::kSmallInt:
    case ado::kUnsignedSmallInt:
    case ado::kInteger:
    case ado::kUnsignedInt:
    case ado::kBigInt:
    case ado::kUnsignedBigInt:
      return ParseInteger(f, t, out);
    case ado::kSingle:
    case ado::kDouble:
      return ParseFloating(f, t, out);
    case ado::kCurrency: {
      auto c = CurrencyFromText(t);
      if (!c) return Bad(f, t);
      return Set(out, *c);
    }
    case ado::kNumeric:
    case ado::kDecimal:
    case kVarNumeric: {
      auto d = DecimalFromText(t);
      if (!d) return Bad(f, t);
      return Set(out, *d);
    }
    case ado::kBoolean:
      return ParseBool(f, t, out);
    case ado::kDate:
    case ado::kDBDate:
    case ado::kDBTime:
    case ado::kDBTimeStamp:
    case ado::kFileTime:
      return ParseDate(f, t, out);
    case ado::kGUID: {
      auto g = GuidFromText(t);
      if (!g) return Bad(f, t);
      return Set(out, *g);
    }
    case ado::kBinary:
    case ado::kVarBinary:
    case ado::kLongVarBinary:
      return ParseHex(f, t, out);
    default:
      if (auto* s = std::get_if<std::string>(&out)) {
        s->assign(t);
        return Status::Ok();
      }
      return Set(out, std::string(t));
  }
}

Result<Value> ParseValue(const FieldInfo& f, std::string_view t) {
  Result<Value> v = Value();
  Status st = ParseValueInto(f, t, *v);
  if (!st.ok()) return st;
  return v;
}

}  // namespace px::xbf
