#include "jet/value_encoder.h"

#include <cmath>
#include <cstring>
#include <limits>

#include "jet/text.h"
#include "platform/codepage.h"

namespace px::jet {

namespace {

constexpr uint8_t kNumericNegative = 0x80;
constexpr uint8_t kMaxNumericDigits = 28;
constexpr int64_t kCurrencyScale = 10000;

// An unsigned 128-bit magnitude as four 32-bit limbs, most significant first (the order
// Numeric stores them), with the little arithmetic rescaling needs.
struct Magnitude {
  std::array<uint32_t, 4> limb{};

  static Magnitude From(uint64_t hi, uint64_t lo) {
    return Magnitude{{uint32_t(hi >> 32), uint32_t(hi), uint32_t(lo >> 32), uint32_t(lo)}};
  }
  bool zero() const { return limb[0] == 0 && limb[1] == 0 && limb[2] == 0 && limb[3] == 0; }
  // false on overflow (the value is then unchanged)
  bool MulAdd(uint32_t m, uint32_t add) {
    Magnitude r;
    uint64_t carry = add;
    for (int k = 3; k >= 0; --k) {
      const uint64_t x = uint64_t(limb[k]) * m + carry;
      r.limb[k] = uint32_t(x);
      carry = x >> 32;
    }
    if (carry != 0) return false;
    *this = r;
    return true;
  }
  uint32_t Div(uint32_t d) {  // returns the remainder
    uint64_t rem = 0;
    for (int k = 0; k < 4; ++k) {
      const uint64_t x = (rem << 32) | limb[k];
      limb[k] = uint32_t(x / d);
      rem = x % d;
    }
    return uint32_t(rem);
  }
  bool Less(const Magnitude& o) const { return limb < o.limb; }
};

Status Refuse(const std::string& where, const ColumnDef& c, const std::string& what) {
  return Status::InvalidArgument(where + ": column " + c.name + ": " + what);
}

std::string TypeName(const Value& v) {
  static constexpr const char* kNames[] = {"Null",   "Boolean",  "integer", "Single",
                                           "Double", "Currency", "Decimal", "date",
                                           "GUID",   "text",     "binary"};
  return kNames[v.index()];
}

Status WrongType(const std::string& where, const ColumnDef& c, const Value& v,
                 const char* column_type) {
  return Refuse(where, c,
                "a " + TypeName(v) + " value cannot be stored in a " + column_type + " column");
}

// Whole number of a value for the integer column types; nullopt when the value has none.
std::optional<int64_t> WholeNumber(const Value& v) {
  if (auto* i = std::get_if<int64_t>(&v)) return *i;
  if (auto* b = std::get_if<bool>(&v)) return *b ? -1 : 0;  // Jet's True is -1
  auto integral = [](double d) -> std::optional<int64_t> {
    if (!std::isfinite(d) || d != std::floor(d) || std::fabs(d) > 9.0e18) return std::nullopt;
    return int64_t(d);
  };
  if (auto* d = std::get_if<double>(&v)) return integral(*d);
  if (auto* f = std::get_if<float>(&v)) return integral(*f);
  return std::nullopt;
}

// A number as a Decimal (integers, Currency, Decimal; floats only through their text).
std::optional<Decimal> AsDecimal(const Value& v) {
  if (auto* d = std::get_if<Decimal>(&v)) return *d;
  if (auto* i = std::get_if<int64_t>(&v)) {
    Decimal d;
    d.negative = *i < 0;
    d.lo = d.negative ? uint64_t(0) - uint64_t(*i) : uint64_t(*i);
    return d;
  }
  if (auto* c = std::get_if<Currency>(&v)) {
    Decimal d;
    d.negative = c->scaled < 0;
    d.lo = d.negative ? uint64_t(0) - uint64_t(c->scaled) : uint64_t(c->scaled);
    d.scale = 4;
    return d;
  }
  return std::nullopt;
}

std::optional<double> AsDouble(const Value& v) {
  if (auto* d = std::get_if<double>(&v)) return *d;
  if (auto* f = std::get_if<float>(&v)) return double(*f);
  if (auto* i = std::get_if<int64_t>(&v)) return double(*i);
  if (auto* c = std::get_if<Currency>(&v)) return double(c->scaled) / kCurrencyScale;
  return std::nullopt;
}

template <typename T>
void LittleEndian(T bits, std::vector<uint8_t>& out) {
  out.resize(sizeof(T));
  for (size_t k = 0; k < sizeof(T); ++k) out[k] = uint8_t(uint64_t(bits) >> (8 * k));
}

Status EncodeInteger(const ColumnDef& c, const Value& v, int64_t lo, int64_t hi, size_t width,
                     const std::string& where, std::vector<uint8_t>& out) {
  auto n = WholeNumber(v);
  if (!n) return WrongType(where, c, v, "whole-number");
  if (*n < lo || *n > hi) {
    return Refuse(where, c,
                  "value " + std::to_string(*n) + " is outside " + std::to_string(lo) + ".." +
                      std::to_string(hi));
  }
  out.resize(width);
  for (size_t k = 0; k < width; ++k) out[k] = uint8_t(uint64_t(*n) >> (8 * k));
  return Status::Ok();
}

Status EncodeCurrency(const ColumnDef& c, const Value& v, const std::string& where,
                      std::vector<uint8_t>& out) {
  if (auto* cur = std::get_if<Currency>(&v)) {
    LittleEndian(uint64_t(cur->scaled), out);
    return Status::Ok();
  }
  if (auto* i = std::get_if<int64_t>(&v)) {
    if (*i > std::numeric_limits<int64_t>::max() / kCurrencyScale ||
        *i < std::numeric_limits<int64_t>::min() / kCurrencyScale) {
      return Refuse(where, c, "value " + std::to_string(*i) + " is too large for Currency");
    }
    LittleEndian(uint64_t(*i * kCurrencyScale), out);
    return Status::Ok();
  }
  if (std::holds_alternative<Decimal>(v)) {
    auto bytes = EncodeNumeric(std::get<Decimal>(v), kMaxNumericDigits, 4);
    if (!bytes.ok()) return Refuse(where, c, bytes.status().message());
    const auto& b = *bytes;
    const uint64_t hi = uint64_t(LoadLe32(&b[1])) << 32 | LoadLe32(&b[5]);
    const uint64_t mag = uint64_t(LoadLe32(&b[9])) << 32 | LoadLe32(&b[13]);
    const bool negative = b[0] == kNumericNegative;
    if (hi != 0 || mag > uint64_t(std::numeric_limits<int64_t>::max()) + (negative ? 1 : 0)) {
      return Refuse(where, c, "value is too large for Currency");
    }
    LittleEndian(negative ? uint64_t(0) - mag : mag, out);
    return Status::Ok();
  }
  if (auto d = AsDouble(v)) {
    const double scaled = std::round(*d * kCurrencyScale);
    if (!std::isfinite(scaled) || std::fabs(scaled) >= 9.2e18) {
      return Refuse(where, c, "value is too large for Currency");
    }
    LittleEndian(uint64_t(int64_t(scaled)), out);
    return Status::Ok();
  }
  return WrongType(where, c, v, "Currency");
}

// The UTF-16 LE form of text made of one- and two-byte UTF-8 characters (ASCII, Latin and
// Turkish letters), decoded in place; false for anything else, which EncodeUtf16Le() takes.
constexpr uint64_t kHighBits = 0x8080808080808080u;

// True when the eight bytes at `p` are all ASCII.
bool AsciiBlock(const char* p) {
  uint64_t w;
  std::memcpy(&w, p, sizeof w);
  return (w & kHighBits) == 0;
}

bool IsPlainAscii(std::string_view s) {
  size_t i = 0;
  for (; i + 8 <= s.size(); i += 8) {
    if (!AsciiBlock(s.data() + i)) return false;
  }
  for (; i < s.size(); ++i) {
    if (static_cast<unsigned char>(s[i]) >= 0x80) return false;
  }
  return true;
}

bool EncodeShortUtf16(std::string_view s, std::vector<uint8_t>& out) {
  out.resize(s.size() * 2);
  uint8_t* o = out.data();
  for (size_t i = 0; i < s.size();) {
    if (i + 8 <= s.size() && AsciiBlock(s.data() + i)) {  // runs of ASCII eight at a time
      for (size_t k = 0; k < 8; ++k) {
        o[2 * k] = static_cast<uint8_t>(s[i + k]);
        o[2 * k + 1] = 0;
      }
      o += 16;
      i += 8;
      continue;
    }
    const auto lead = static_cast<uint8_t>(s[i]);
    if (lead < 0x80) {
      *o++ = lead;
      *o++ = 0;
      ++i;
    } else if (lead >= 0xC2 && lead <= 0xDF && i + 1 < s.size() &&
               (static_cast<uint8_t>(s[i + 1]) & 0xC0) == 0x80) {
      const uint32_t c = uint32_t(lead & 0x1F) << 6 | (static_cast<uint8_t>(s[i + 1]) & 0x3F);
      *o++ = uint8_t(c);
      *o++ = uint8_t(c >> 8);
      i += 2;
    } else {
      return false;
    }
  }
  out.resize(size_t(o - out.data()));
  return true;
}

Status EncodeText(const JetFormat& f, const ColumnDef& c, const Value& v, int code_page,
                  const std::string& where, std::vector<uint8_t>& out) {
  auto* s = std::get_if<std::string>(&v);
  if (s == nullptr) return WrongType(where, c, v, c.type == coltype::kMemo ? "Memo" : "Text");
  const bool memo = c.type == coltype::kMemo;
  if (f.text_is_unicode) {
    const bool may_compress = (c.extra_flags & kColExtraCompressedUnicode) != 0;
    if (may_compress && s->size() > 2 &&
        s->size() * 2 <= (memo ? kMaxCompressedMemoChars * 2 : size_t(c.length))) {
      // Plain ASCII without NUL is its own compressed form: no UTF-16 copy in between.
      if (IsPlainAscii(*s) && s->find('\0') == std::string::npos) {
        out.resize(2 + s->size());
        out[0] = 0xFF;
        out[1] = 0xFE;
        std::copy(s->begin(), s->end(), out.begin() + 2);
        return Status::Ok();
      }
    }
    // One pass over the text: its UTF-16 form gives the length and the compressed form.
    if (!EncodeShortUtf16(*s, out)) {
      auto wide = EncodeUtf16Le(*s);
      if (!wide.ok()) return Refuse(where, c, "text is not valid UTF-8");
      out = std::move(*wide);
    }
    const size_t units = out.size() / 2;
    if (!memo && units * 2 > c.length) {
      return Refuse(where, c,
                    "text of " + std::to_string(units) + " characters exceeds the " +
                        std::to_string(c.length / 2) + " the column holds");
    }
    const bool compress = may_compress && (!memo || units <= kMaxCompressedMemoChars);
    CompressJet4TextInPlace(out, compress);
    return Status::Ok();
  }
  const int cp = IsSupportedCodePage(c.code_page) ? c.code_page : code_page;
  auto bytes = EncodeCodePage(cp, *s);
  if (!bytes.ok()) return Refuse(where, c, bytes.status().message());
  if (!memo && bytes->size() > c.length) {
    return Refuse(where, c,
                  "text of " + std::to_string(bytes->size()) + " characters exceeds the " +
                      std::to_string(c.length) + " the column holds");
  }
  out.assign(bytes->begin(), bytes->end());
  return Status::Ok();
}

Status EncodeBytes(const JetFormat& f, const ColumnDef& c, const Value& v, int code_page,
                   const std::string& where, std::vector<uint8_t>& out) {
  switch (c.type) {
    case coltype::kByte:
      return EncodeInteger(c, v, 0, 255, 1, where, out);
    case coltype::kInteger:
      return EncodeInteger(c, v, INT16_MIN, INT16_MAX, 2, where, out);
    case coltype::kLong:
      return EncodeInteger(c, v, INT32_MIN, INT32_MAX, 4, where, out);
    case coltype::kCurrency:
      return EncodeCurrency(c, v, where, out);
    case coltype::kSingle: {
      auto d = AsDouble(v);
      if (!d) return WrongType(where, c, v, "Single");
      if (std::isfinite(*d) && std::fabs(*d) > std::numeric_limits<float>::max()) {
        return Refuse(where, c, "value is too large for Single");
      }
      auto* fv = std::get_if<float>(&v);
      LittleEndian(FloatToBits(fv ? *fv : float(*d)), out);
      return Status::Ok();
    }
    case coltype::kDouble: {
      auto d = AsDouble(v);
      if (!d) return WrongType(where, c, v, "Double");
      LittleEndian(DoubleToBits(*d), out);
      return Status::Ok();
    }
    case coltype::kDateTime: {
      if (auto* od = std::get_if<OleDate>(&v)) {
        LittleEndian(DoubleToBits(od->days), out);
      } else if (auto* d = std::get_if<double>(&v)) {
        LittleEndian(DoubleToBits(*d), out);
      } else {
        return WrongType(where, c, v, "Date/Time");
      }
      return Status::Ok();
    }
    case coltype::kGuid: {
      auto* g = std::get_if<Guid>(&v);
      if (g == nullptr) return WrongType(where, c, v, "GUID");
      out.assign(g->bytes.begin(), g->bytes.end());
      return Status::Ok();
    }
    case coltype::kNumeric: {
      auto d = AsDecimal(v);
      if (!d) return WrongType(where, c, v, "Decimal");
      auto bytes = EncodeNumeric(*d, c.precision, c.scale);
      if (!bytes.ok()) return Refuse(where, c, bytes.status().message());
      out.assign(bytes->begin(), bytes->end());
      return Status::Ok();
    }
    case coltype::kBinary:
    case coltype::kOle: {
      auto* b = std::get_if<Binary>(&v);
      if (b == nullptr) return WrongType(where, c, v, c.type == coltype::kOle ? "OLE" : "Binary");
      if (c.type == coltype::kBinary && b->bytes.size() > c.length) {
        return Refuse(where, c,
                      std::to_string(b->bytes.size()) + " bytes exceed the " +
                          std::to_string(c.length) + " the column holds");
      }
      out.assign(b->bytes.begin(), b->bytes.end());
      return Status::Ok();
    }
    case coltype::kText:
    case coltype::kMemo:
      return EncodeText(f, c, v, code_page, where, out);
    default:
      return Refuse(where, c, "column type " + std::to_string(c.type) + " cannot be written");
  }
}

}  // namespace

Result<std::array<uint8_t, kNumericSize>> EncodeNumeric(const Decimal& d, uint8_t precision,
                                                        uint8_t scale) {
  if (precision == 0 || precision > kMaxNumericDigits) precision = kMaxNumericDigits;
  Magnitude m = Magnitude::From(d.hi, d.lo);
  for (uint8_t s = d.scale; s < scale; ++s) {
    if (!m.MulAdd(10, 0)) return Status::InvalidArgument("decimal value has too many digits");
  }
  if (d.scale > scale) {
    uint32_t last = 0;  // the first dropped digit decides: half away from zero
    for (uint8_t s = d.scale; s > scale; --s) last = m.Div(10);
    if (last >= 5) {
      if (!m.MulAdd(1, 1)) return Status::InvalidArgument("decimal value has too many digits");
    }
  }
  Magnitude limit;
  limit.limb[3] = 1;
  for (uint8_t k = 0; k < precision; ++k) limit.MulAdd(10, 0);
  if (!m.Less(limit)) {
    return Status::InvalidArgument("decimal value has more than " + std::to_string(precision) +
                                   " digits at scale " + std::to_string(scale));
  }
  std::array<uint8_t, kNumericSize> out{};
  out[0] = d.negative && !m.zero() ? kNumericNegative : 0;
  for (int k = 0; k < 4; ++k) StoreLe32(&out[1 + 4 * k], m.limb[k]);
  return out;
}

Status EncodeValue(const JetFormat& f, const ColumnDef& c, const Value& v, int code_page,
                   const std::string& where, EncodedValue& out) {
  out.null = true;
  out.bit = false;
  out.bytes.clear();
  if (c.type == coltype::kBoolean) {
    out.null = false;
    if (IsNull(v)) return Status::Ok();
    auto n = WholeNumber(v);
    if (!n) return WrongType(where, c, v, "Yes/No");
    out.bit = *n != 0;
    return Status::Ok();
  }
  if (IsNull(v)) return Status::Ok();
  PX_RETURN_IF_ERROR(EncodeBytes(f, c, v, code_page, where, out.bytes));
  out.null = false;
  return Status::Ok();
}

Result<EncodedValue> EncodeValue(const JetFormat& f, const ColumnDef& c, const Value& v,
                                 int code_page, const std::string& where) {
  EncodedValue out;
  PX_RETURN_IF_ERROR(EncodeValue(f, c, v, code_page, where, out));
  return out;
}

}  // namespace px::jet
