#include "core/value_text.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace px {

namespace {

// 128-bit unsigned integer as four 32-bit limbs, most significant first.
struct U128 {
  uint32_t limb[4] = {0, 0, 0, 0};

  static U128 From(uint64_t hi, uint64_t lo) {
    U128 u;
    u.limb[0] = uint32_t(hi >> 32);
    u.limb[1] = uint32_t(hi);
    u.limb[2] = uint32_t(lo >> 32);
    u.limb[3] = uint32_t(lo);
    return u;
  }
  bool IsZero() const { return !(limb[0] | limb[1] | limb[2] | limb[3]); }
  uint32_t DivMod10() {
    uint64_t rem = 0;
    for (uint32_t& l : limb) {
      uint64_t cur = (rem << 32) | l;
      l = uint32_t(cur / 10);
      rem = cur % 10;
    }
    return uint32_t(rem);
  }
  // this = this * 10 + digit; false on overflow.
  bool MulAdd10(uint32_t digit) {
    uint64_t carry = digit;
    for (int i = 3; i >= 0; --i) {
      uint64_t cur = uint64_t(limb[i]) * 10 + carry;
      limb[i] = uint32_t(cur);
      carry = cur >> 32;
    }
    return carry == 0;
  }
  uint64_t Hi() const { return uint64_t(limb[0]) << 32 | limb[1]; }
  uint64_t Lo() const { return uint64_t(limb[2]) << 32 | limb[3]; }
};

// The decimal digits of `u`, without leading zeros ("0" for zero).
std::string Digits(U128 u) {
  char buf[40];
  char* p = buf + sizeof buf;
  if (u.Hi() == 0) {
    for (uint64_t lo = u.Lo(); p == buf + sizeof buf || lo != 0; lo /= 10)
      *--p = char('0' + lo % 10);
  } else {
    while (!u.IsZero()) *--p = char('0' + u.DivMod10());
  }
  return std::string(p, buf + sizeof buf);
}

std::string PlaceDecimalPoint(std::string digits, int scale, bool negative) {
  if (scale > 0) {
    if (int(digits.size()) <= scale) digits.insert(0, size_t(scale + 1 - int(digits.size())), '0');
    digits.insert(digits.size() - size_t(scale), ".");
    while (digits.back() == '0') digits.pop_back();
    if (digits.back() == '.') digits.pop_back();
  }
  if (negative && digits != "0") digits.insert(0, "-");
  return digits;
}

// Days from 1970-01-01 to y-m-d (proleptic Gregorian), after H. Hinnant's algorithm.
int64_t DaysFromCivil(int64_t y, unsigned m, unsigned d) {
  y -= m <= 2;
  const int64_t era = (y >= 0 ? y : y - 399) / 400;
  const unsigned yoe = unsigned(y - era * 400);
  const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + int64_t(doe) - 719468;
}

void CivilFromDays(int64_t z, int& y, int& m, int& d) {
  z += 719468;
  const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const unsigned doe = unsigned(z - era * 146097);
  const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const int64_t yy = int64_t(yoe) + era * 400;
  const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const unsigned mp = (5 * doy + 2) / 153;
  d = int(doy - (153 * mp + 2) / 5 + 1);
  m = int(mp < 10 ? mp + 3 : mp - 9);
  y = int(yy + (m <= 2));
}

const int64_t kOleEpoch = DaysFromCivil(1899, 12, 30);
constexpr int64_t kMsPerDay = 86400000;

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

std::string CurrencyToPlain(Currency c) {
  const bool negative = c.scaled < 0;
  const uint64_t magnitude = negative ? uint64_t(0) - uint64_t(c.scaled) : uint64_t(c.scaled);
  char buf[32];
  char* p = buf;
  if (negative) *p++ = '-';
  p = std::to_chars(p, buf + sizeof buf, magnitude / 10000).ptr;
  if (uint64_t fraction = magnitude % 10000; fraction != 0) {
    *p++ = '.';
    int n = 4;
    for (; fraction % 10 == 0; fraction /= 10) --n;
    for (int i = n - 1; i >= 0; --i, fraction /= 10) p[i] = char('0' + fraction % 10);
    p += n;
  }
  return std::string(buf, p);
}

std::string DecimalToPlain(const Decimal& d) {
  return PlaceDecimalPoint(Digits(U128::From(d.hi, d.lo)), d.scale, d.negative);
}

std::optional<Decimal> DecimalFromText(std::string_view text) {
  Decimal d;
  size_t i = 0;
  if (i < text.size() && (text[i] == '-' || text[i] == '+')) d.negative = text[i++] == '-';
  // Up to 19 digits fit 64 bits: the common case, without the 128-bit arithmetic below.
  if (text.size() - i <= 20) {
    uint64_t v = 0;
    int digits = 0, scale = 0;
    bool point = false, plain = true;
    for (size_t j = i; j < text.size() && plain; ++j) {
      const char c = text[j];
      if (c >= '0' && c <= '9') {
        v = v * 10 + uint64_t(c - '0');
        ++digits;
        scale += point;
      } else if (c == '.' && !point) {
        point = true;
      } else {
        plain = false;
      }
    }
    if (plain && digits > 0 && digits <= 19) {
      d.lo = v;
      d.scale = uint8_t(scale);
      if (v == 0) d.negative = false;
      return d;
    }
  }
  U128 u;
  bool any_digit = false, point = false;
  int scale = 0;
  // Trailing zero decimals beyond 128 bits (a value padded to a scale of 39 or more) do
  // not change the value: they are dropped rather than refused.
  int dropped_zeros = 0;
  for (; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '.' && !point) {
      point = true;
    } else if (c >= '0' && c <= '9') {
      any_digit = true;
      if (dropped_zeros > 0 && c != '0') return std::nullopt;
      U128 next = u;
      if (dropped_zeros == 0 && next.MulAdd10(uint32_t(c - '0'))) {
        u = next;
        if (point) ++scale;
      } else if (point && c == '0') {
        ++dropped_zeros;
      } else {
        return std::nullopt;
      }
    } else {
      return std::nullopt;
    }
  }
  if (!any_digit || scale + dropped_zeros > 255) return std::nullopt;
  d.hi = u.Hi();
  d.lo = u.Lo();
  d.scale = uint8_t(scale);
  if (u.IsZero()) d.negative = false;
  return d;
}

std::optional<Currency> CurrencyFromText(std::string_view text) {
  auto d = DecimalFromText(text);
  if (!d || d->scale > 4 || d->hi != 0) return std::nullopt;
  uint64_t v = d->lo;
  for (int s = d->scale; s < 4; ++s) {
    if (v > UINT64_MAX / 10) return std::nullopt;
    v *= 10;
  }
  const uint64_t limit = d->negative ? uint64_t(INT64_MAX) + 1 : uint64_t(INT64_MAX);
  if (v > limit) return std::nullopt;
  return Currency{d->negative ? int64_t(uint64_t(0) - v) : int64_t(v)};
}

std::string GuidToText(const Guid& g) {
  const auto& b = g.bytes;
  char buf[40];
  std::snprintf(buf, sizeof buf, "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}",
                unsigned(LoadLe32(b.data())), unsigned(LoadLe16(b.data() + 4)),
                unsigned(LoadLe16(b.data() + 6)), b[8], b[9], b[10], b[11], b[12], b[13], b[14],
                b[15]);
  return buf;
}

std::optional<Guid> GuidFromText(std::string_view text) {
  if (text.size() == 38 && text.front() == '{' && text.back() == '}') text = text.substr(1, 36);
  if (text.size() != 36) return std::nullopt;
  uint8_t raw[16];
  size_t n = 0;
  for (size_t i = 0; i < text.size();) {
    if (i == 8 || i == 13 || i == 18 || i == 23) {
      if (text[i] != '-') return std::nullopt;
      ++i;
      continue;
    }
    const int a = HexValue(text[i]), b = HexValue(text[i + 1]);
    if (a < 0 || b < 0) return std::nullopt;
    raw[n++] = uint8_t(a << 4 | b);
    i += 2;
  }
  Guid g;
  // Text order is big-endian for the first three groups; memory order is little-endian.
  const int order[16] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
  for (int i = 0; i < 16; ++i) g.bytes[size_t(i)] = raw[order[i]];
  return g;
}

std::string HexLower(Bytes b) {
  static const char kDigits[] = "0123456789abcdef";
  std::string s(b.size() * 2, '0');
  for (size_t i = 0; i < b.size(); ++i) {
    s[2 * i] = kDigits[b[i] >> 4];
    s[2 * i + 1] = kDigits[b[i] & 15];
  }
  return s;
}

std::optional<DateParts> OleDateToParts(double days) {
  if (!std::isfinite(days) || days < -4300000.0 || days > 36000000.0) return std::nullopt;
  double whole = std::trunc(days);
  int64_t ms = std::llround(std::fabs(days - whole) * double(kMsPerDay));
  int64_t day_number = int64_t(whole);
  if (ms >= kMsPerDay) {
    ms -= kMsPerDay;
    day_number += 1;
  }
  DateParts p;
  CivilFromDays(day_number + kOleEpoch, p.year, p.month, p.day);
  p.hour = int(ms / 3600000);
  p.minute = int(ms / 60000 % 60);
  p.second = int(ms / 1000 % 60);
  p.millisecond = int(ms % 1000);
  return p;
}

double PartsToOleDate(const DateParts& p) {
  const int64_t day_number = DaysFromCivil(p.year, unsigned(p.month), unsigned(p.day)) - kOleEpoch;
  const int64_t ms = ((int64_t(p.hour) * 60 + p.minute) * 60 + p.second) * 1000 + p.millisecond;
  const double fraction = double(ms) / double(kMsPerDay);
  return day_number >= 0 ? double(day_number) + fraction : double(day_number) - fraction;
}

namespace {

// printf's "%0*d": at least `width` characters, zeros after a minus sign.
char* PutPadded(char* p, int value, int width) {
  const bool negative = value < 0;
  unsigned magnitude = negative ? 0u - unsigned(value) : unsigned(value);
  int n = 1;
  for (unsigned m = magnitude; m >= 10; m /= 10) ++n;
  if (negative) *p++ = '-';
  for (int zeros = width - n - int(negative); zeros > 0; --zeros) *p++ = '0';
  for (int i = n - 1; i >= 0; --i, magnitude /= 10) p[i] = char('0' + magnitude % 10);
  return p + n;
}

// "YYYY-MM-DD", then `separator` and "HH:MM:SS" when `separator` is not 0.
char* PutDateTime(char* p, const DateParts& d, char separator) {
  p = PutPadded(p, d.year, 4);
  *p++ = '-';
  p = PutPadded(p, d.month, 2);
  *p++ = '-';
  p = PutPadded(p, d.day, 2);
  if (separator == 0) return p;
  *p++ = separator;
  p = PutPadded(p, d.hour, 2);
  *p++ = ':';
  p = PutPadded(p, d.minute, 2);
  *p++ = ':';
  return PutPadded(p, d.second, 2);
}

}  // namespace

std::string FormatIsoDateTime(const DateParts& p) {
  char buf[96];
  char* e = PutDateTime(buf, p, 'T');
  if (p.millisecond != 0) {
    *e++ = '.';
    e = PutPadded(e, p.millisecond, 3);
  }
  return std::string(buf, e);
}

std::string FormatDateText(const DateParts& p) {
  char buf[96];
  const bool midnight = p.hour == 0 && p.minute == 0 && p.second == 0;
  return std::string(buf, PutDateTime(buf, p, midnight ? 0 : ' '));
}

std::string ShortestDouble(double d) {
  char buf[64];
  auto r = std::to_chars(buf, buf + sizeof buf, d);
  return std::string(buf, r.ptr);
}

std::string ShortestFloat(float f) {
  char buf[64];
  auto r = std::to_chars(buf, buf + sizeof buf, f);
  return std::string(buf, r.ptr);
}

}  // namespace px
