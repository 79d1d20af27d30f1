#include "db/jet_text.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>

#include "core/value_text.h"
#include "db/text_of.h"
#include "platform/text_case.h"

namespace px::db {
namespace {

// Longest digit string an exact conversion builds; beyond it every target overflows.
constexpr size_t kMaxExactDigits = 80;
constexpr int kMaxExponent = 9999;

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

std::string_view TrimSpace(std::string_view s) {
  while (!s.empty() && std::isspace(static_cast<unsigned char>(s.front()))) s.remove_prefix(1);
  while (!s.empty() && std::isspace(static_cast<unsigned char>(s.back()))) s.remove_suffix(1);
  return s;
}

void StripLeadingZeros(std::string& digits) {
  size_t nz = digits.find_first_not_of('0');
  if (nz == std::string::npos) nz = digits.size() - 1;
  digits.erase(0, nz);
}

bool IsZero(const ExactNumber& n) {
  return n.digits.find_first_not_of('0') == std::string::npos;
}

// `n` with exactly `scale` decimals, rounded half to even; nullopt when too wide.
std::optional<ExactNumber> Rescale(ExactNumber n, int scale) {
  if (n.scale < scale) {
    const size_t pad = size_t(scale - n.scale);
    if (!IsZero(n) && n.digits.size() + pad > kMaxExactDigits) return std::nullopt;
    n.digits.append(IsZero(n) ? 0 : pad, '0');
    n.scale = scale;
    return n;
  }
  const size_t drop = size_t(n.scale - scale);
  if (drop == 0) return n;
  if (n.digits.size() <= drop) {
    if (drop - n.digits.size() > kMaxExactDigits) {
      n.digits = "0";
      n.scale = scale;
      n.negative = false;
      return n;
    }
    n.digits.insert(0, drop - n.digits.size() + 1, '0');
  }
  std::string kept = n.digits.substr(0, n.digits.size() - drop);
  const std::string_view rest = std::string_view(n.digits).substr(kept.size());
  bool up = false;
  if (rest[0] > '5') {
    up = true;
  } else if (rest[0] == '5') {
    const bool exact_half = rest.find_first_not_of('0', 1) == std::string_view::npos;
    up = !exact_half || (kept.back() - '0') % 2 == 1;
  }
  if (up) {
    size_t i = kept.size();
    while (i > 0 && kept[i - 1] == '9') kept[--i] = '0';
    if (i == 0) {
      kept.insert(kept.begin(), '1');
    } else {
      ++kept[i - 1];
    }
  }
  StripLeadingZeros(kept);
  n.digits = std::move(kept);
  n.scale = scale;
  if (IsZero(n)) n.negative = false;
  return n;
}

// An integral value in [lo, hi]; nullopt when out of range.
std::optional<int64_t> ToInteger(const ExactNumber& n, int64_t lo, int64_t hi) {
  auto r = Rescale(n, 0);
  if (!r || r->digits.size() > 19) return std::nullopt;
  uint64_t u = 0;
  for (char c : r->digits) u = u * 10 + uint64_t(c - '0');  // 19 digits fit in 64 bits
  if (r->negative) {
    if (u > uint64_t(std::numeric_limits<int64_t>::max()) + 1) return std::nullopt;
    const int64_t v = u == 0 ? 0 : int64_t(0 - u);
    if (v < lo) return std::nullopt;
    return v;
  }
  if (u > uint64_t(hi)) return std::nullopt;
  return int64_t(u);
}

std::optional<double> ToDouble(const ExactNumber& n) {
  const std::string text = n.digits + "e" + std::to_string(-n.scale);
  double d = 0;
  auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), d);
  if (ec == std::errc::result_out_of_range) {
    // Too small reads as zero; too large does not fit.
    if (int64_t(n.digits.size()) - n.scale > 0) return std::nullopt;
    d = 0;
  } else if (ec != std::errc() || end != text.data() + text.size() || !std::isfinite(d)) {
    return std::nullopt;
  }
  return n.negative ? -d : d;
}

int Digits(std::string_view s, size_t pos, size_t count) {
  if (pos + count > s.size()) return -1;
  int v = 0;
  for (size_t i = pos; i < pos + count; ++i) {
    if (!IsDigit(s[i])) return -1;
    v = v * 10 + (s[i] - '0');
  }
  return v;
}

struct IntegerRange {
  int type;
  const char* name;
  int64_t lo, hi;
};

constexpr IntegerRange kIntegerRanges[] = {
    {ado::kTinyInt, "TinyInt", -128, 127},
    {ado::kUnsignedTinyInt, "Byte", 0, 255},
    {ado::kSmallInt, "Integer", -32768, 32767},
    {ado::kUnsignedSmallInt, "UnsignedSmallInt", 0, 65535},
    {ado::kInteger, "Long", std::numeric_limits<int32_t>::min(),
     std::numeric_limits<int32_t>::max()},
    {ado::kUnsignedInt, "UnsignedInt", 0, std::numeric_limits<uint32_t>::max()},
    {ado::kBigInt, "BigInt", std::numeric_limits<int64_t>::min(),
     std::numeric_limits<int64_t>::max()},
    {ado::kUnsignedBigInt, "UnsignedBigInt", 0, std::numeric_limits<int64_t>::max()},
};

const IntegerRange* IntegerRangeOf(int ado_type) {
  for (const IntegerRange& r : kIntegerRanges) {
    if (r.type == ado_type) return &r;
  }
  return nullptr;
}

bool IsTextType(int t) {
  return t == ado::kVarWChar || t == ado::kLongVarWChar || t == ado::kWChar || t == ado::kVarChar ||
         t == ado::kLongVarChar || t == ado::kChar || t == ado::kBSTR;
}

bool IsBinaryType(int t) {
  return t == ado::kBinary || t == ado::kVarBinary || t == ado::kLongVarBinary;
}

Status NotA(std::string_view text, const char* what) {
  return Status::InvalidArgument("'" + std::string(text) + "' is not " + what);
}

Status OutOfRange(std::string_view text, const char* type) {
  return Status::InvalidArgument("'" + std::string(text) + "' is out of range for " + type);
}

Result<Value> NumberFor(const FieldInfo& field, std::string_view text, const ExactNumber& n) {
  if (const IntegerRange* r = IntegerRangeOf(field.ado_type)) {
    auto v = ToInteger(n, r->lo, r->hi);
    if (!v) return OutOfRange(text, r->name);
    return Value(*v);
  }
  switch (field.ado_type) {
    case ado::kCurrency: {
      auto v = ToInteger(ExactNumber{n.negative, n.digits, n.scale - 4},
                         std::numeric_limits<int64_t>::min(), std::numeric_limits<int64_t>::max());
      if (!v) return OutOfRange(text, "Currency");
      return Value(Currency{*v});
    }
    case ado::kDouble: {
      auto d = ToDouble(n);
      if (!d) return OutOfRange(text, "Double");
      return Value(*d);
    }
    case ado::kSingle: {
      auto d = ToDouble(n);
      if (!d || std::fabs(*d) > double(std::numeric_limits<float>::max())) {
        return OutOfRange(text, "Single");
      }
      return Value(static_cast<float>(*d));
    }
    case ado::kNumeric:
    case ado::kDecimal: {
      const int scale = field.scale >= 0 && field.scale <= 28 ? field.scale : 0;
      const int precision = field.precision > 0 && field.precision <= 28 ? field.precision : 28;
      auto r = Rescale(n, scale);
      if (!r || (!IsZero(*r) && r->digits.size() > size_t(precision))) {
        return OutOfRange(text, "Decimal");
      }
      auto d = ToDecimal(*r);
      if (!d) return OutOfRange(text, "Decimal");
      return Value(*d);
    }
    default:
      return Status::InvalidArgument("'" + std::string(text) +
                                     "' cannot be stored in a column of type " +
                                     std::to_string(field.ado_type));
  }
}

}  // namespace

std::optional<ExactNumber> ParseJetNumber(std::string_view text, NumberForm form) {
  std::string_view t = TrimSpace(text);
  ExactNumber n;
  size_t i = 0;
  if (i < t.size() && (t[i] == '+' || t[i] == '-')) n.negative = t[i++] == '-';
  bool point = false;
  size_t digit_count = 0;
  for (; i < t.size(); ++i) {
    const char c = t[i];
    if (IsDigit(c)) {
      n.digits += c;
      ++digit_count;
      if (point) ++n.scale;
    } else if (c == '.' && !point) {
      point = true;
    } else if (c == ',' && form == NumberForm::kMoney && !point && digit_count > 0 &&
               i + 1 < t.size() && IsDigit(t[i + 1])) {
      // group separator between digits of the integer part
    } else {
      break;
    }
  }
  if (digit_count == 0) return std::nullopt;
  if (i < t.size() && (t[i] == 'e' || t[i] == 'E')) {
    ++i;
    bool exp_negative = false;
    if (i < t.size() && (t[i] == '+' || t[i] == '-')) exp_negative = t[i++] == '-';
    if (i >= t.size() || !IsDigit(t[i])) return std::nullopt;
    int exponent = 0;
    for (; i < t.size() && IsDigit(t[i]); ++i) {
      exponent = exponent * 10 + (t[i] - '0');
      if (exponent > kMaxExponent) return std::nullopt;
    }
    n.scale += exp_negative ? exponent : -exponent;
  }
  if (i != t.size()) return std::nullopt;
  StripLeadingZeros(n.digits);
  if (IsZero(n)) n.negative = false;
  return n;
}

std::optional<Decimal> ToDecimal(const ExactNumber& n) {
  ExactNumber m = n;
  if (m.scale < 0) {
    auto r = Rescale(m, 0);
    if (!r) return std::nullopt;
    m = *r;
  }
  std::string text = m.negative ? "-" : "";
  if (size_t(m.scale) >= m.digits.size()) {
    text += "0." + std::string(size_t(m.scale) - m.digits.size(), '0') + m.digits;
  } else {
    text += m.digits.substr(0, m.digits.size() - size_t(m.scale));
    if (m.scale > 0) text += "." + m.digits.substr(m.digits.size() - size_t(m.scale));
  }
  return DecimalFromText(text);
}

std::optional<double> ParseJetDate(std::string_view text) {
  std::string_view t = TrimSpace(text);
  DateParts p{};
  const size_t time_at = 10;
  if (t.size() >= 10 && t[4] == '-' && t[7] == '-') {
    p.year = Digits(t, 0, 4), p.month = Digits(t, 5, 2), p.day = Digits(t, 8, 2);
  } else if (t.size() >= 10 && t[2] == '.' && t[5] == '.') {
    p.day = Digits(t, 0, 2), p.month = Digits(t, 3, 2), p.year = Digits(t, 6, 4);
  } else {
    return std::nullopt;
  }
  static constexpr int kMonthDays[] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (p.year < 100 || p.month < 1 || p.month > 12 || p.day < 1 || p.day > kMonthDays[p.month - 1]) {
    return std::nullopt;
  }
  const bool leap = (p.year % 4 == 0 && p.year % 100 != 0) || p.year % 400 == 0;
  if (p.month == 2 && p.day == 29 && !leap) return std::nullopt;
  if (t.size() > time_at) {
    if (t[time_at] != ' ' && t[time_at] != 'T') return std::nullopt;
    std::string_view clock = t.substr(time_at + 1);
    p.hour = Digits(clock, 0, 2);
    p.minute = clock.size() >= 5 && clock[2] == ':' ? Digits(clock, 3, 2) : -1;
    p.second = 0;
    if (clock.size() == 8 && clock[5] == ':') {
      p.second = Digits(clock, 6, 2);
    } else if (clock.size() != 5) {
      return std::nullopt;
    }
    if (p.hour < 0 || p.hour > 23 || p.minute < 0 || p.minute > 59 || p.second < 0 ||
        p.second > 59) {
      return std::nullopt;
    }
  }
  return PartsToOleDate(p);
}

std::optional<bool> ParseJetBoolean(std::string_view text) {
  const std::string up = FoldCase(TrimSpace(text));
  if (up == "TRUE" || up == "YES" || up == "ON") return true;
  if (up == "FALSE" || up == "NO" || up == "OFF") return false;
  if (auto n = ParseJetNumber(text)) return !IsZero(*n);
  return std::nullopt;
}

size_t Utf8Length(std::string_view utf8) {
  size_t n = 0;
  for (char c : utf8) n += (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  return n;
}

Result<Value> ValueFromText(const FieldInfo& field, std::string_view text, NumberForm form) {
  const int type = field.ado_type;
  if (IsTextType(type)) return Value(std::string(text));
  if (IsBinaryType(type)) {
    return Status::InvalidArgument("binary data cannot be given as text ('" + std::string(text) +
                                   "')");
  }
  switch (type) {
    case ado::kBoolean: {
      auto b = ParseJetBoolean(text);
      if (!b) return NotA(text, "a Yes/No value");
      return Value(*b);
    }
    case ado::kDate:
    case ado::kDBDate:
    case ado::kDBTimeStamp: {
      auto d = ParseJetDate(text);
      if (!d) return NotA(text, "a date");
      return Value(OleDate{*d});
    }
    case ado::kGUID: {
      std::string_view t = TrimSpace(text);
      auto g = GuidFromText(t);
      if (!g) return NotA(text, "a GUID");
      return Value(*g);
    }
    default:
      break;
  }
  auto n = ParseJetNumber(text, form);
  if (!n) return NotA(text, "a number");
  return NumberFor(field, text, *n);
}

Result<Value> CoerceToColumn(const FieldInfo& field, const Value& value) {
  if (IsNull(value)) return value;
  const int type = field.ado_type;
  if (IsTextType(type)) {
    if (std::holds_alternative<std::string>(value)) return value;
    return Value(TextOf(value));
  }
  if (IsBinaryType(type)) {
    if (std::holds_alternative<Binary>(value)) return value;
    return Status::InvalidArgument("'" + TextOf(value) + "' is not binary data");
  }
  if (type == ado::kBoolean) {
    if (std::holds_alternative<bool>(value)) return value;
  } else if (type == ado::kDate || type == ado::kDBDate || type == ado::kDBTimeStamp) {
    if (std::holds_alternative<OleDate>(value)) return value;
    if (auto* d = std::get_if<double>(&value)) return Value(OleDate{*d});
  } else if (type == ado::kGUID) {
    if (std::holds_alternative<Guid>(value)) return value;
  } else if (type == ado::kDouble && std::holds_alternative<double>(value)) {
    return value;
  } else if (auto* f = std::get_if<float>(&value); f && type == ado::kDouble) {
    return Value(double{*f});
  } else if (type == ado::kSingle && std::holds_alternative<float>(value)) {
    return value;
  } else if (type == ado::kCurrency && std::holds_alternative<Currency>(value)) {
    return value;
  } else if (auto* b = std::get_if<bool>(&value)) {
    return ValueFromText(field, *b ? "-1" : "0");  // Jet's True is -1
  } else if (auto* o = std::get_if<OleDate>(&value)) {
    return ValueFromText(field, ShortestDouble(o->days));
  }
  return ValueFromText(field, TextOf(value));
}

}  // namespace px::db
