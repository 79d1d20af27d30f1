#include "jet/index_key.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <limits>
#include <optional>

#include "jet/text.h"
#include "platform/codepage.h"

namespace px::jet {

namespace index_codes_data {
extern const unsigned char kGeneralLegacy[];
extern const size_t kGeneralLegacySize;
extern const unsigned char kGeneral[];
extern const size_t kGeneralSize;
extern const unsigned char kGeneral97[];
extern const size_t kGeneral97Size;
extern const uint16_t kGeneral97Mappings[];
extern const size_t kGeneral97MappingsSize;
}  // namespace index_codes_data

namespace {

constexpr uint8_t kAscValue = 0x7F;
constexpr uint8_t kAscNull = 0x00;
constexpr uint8_t kDescValue = 0x80;
constexpr uint8_t kDescNull = 0xFF;
constexpr uint8_t kAscTrue = 0x00;
constexpr uint8_t kAscFalse = 0xFF;

constexpr size_t kMaxTextKeyUnits = 255;
constexpr size_t kBinaryGroup = 8;
constexpr uint8_t kBinaryMore = 0x09;
constexpr size_t kNumericSize = 17;
constexpr uint8_t kNumericNegative = 0x80;

// Text key framing.
constexpr uint8_t kEndText = 0x01;
constexpr uint8_t kEndKey = 0x00;
constexpr uint8_t kExtraFill = 0x02;
constexpr uint8_t kUnprintableMidfix = 0x06;
constexpr uint16_t kUnprintableBase = 7;
constexpr uint16_t kUnprintableStep = 4;
constexpr uint16_t kUnprintableFlag = 0x8000;
constexpr uint8_t kPackedStart = 0x80;
constexpr uint8_t kPackedTrimmed = 0x03;
constexpr uint8_t kPackedSuffix[] = {0xFF, 0x02, 0x80, 0xFF, 0x80};
constexpr uint8_t kPackedUnprintableSuffix = 0xFF;
constexpr uint8_t kNibbleBound = 0x0;
// Legacy primary weights of digits (0 = 36) through letters (Z = 78).
constexpr uint8_t kFirstLetterWeight = 0x36;
constexpr uint8_t kLastLetterWeight = 0x78;

// Jet 3 maps a few characters beyond U+00FF back to code page 1252 positions.
constexpr uint32_t kFirstMapped97 = 338;
constexpr uint32_t kLastMapped97 = 8482;

// One character's key codes, pointing into a generated table (tools/gen_index_codes.py).
struct CharCode {
  char kind = 'X';  // S I U P Z G X, Q = surrogate
  std::span<const uint8_t> inline_bytes;
  std::span<const uint8_t> extra;
  std::span<const uint8_t> unprintable;
  uint8_t modifier = 0;
  uint8_t packed_flag = 0;
};

class CodeTable {
 public:
  CodeTable(const unsigned char* data, size_t size, size_t count) {
    offsets_.reserve(count);
    size_t pos = 0;
    for (size_t i = 0; i < count && pos < size; ++i) {
      offsets_.push_back(uint32_t(pos));
      pos = Parse(data, pos).second;
    }
    data_ = data;
  }
  size_t size() const { return offsets_.size(); }
  CharCode At(size_t unit) const { return Parse(data_, offsets_[unit]).first; }

 private:
  static std::pair<CharCode, size_t> Parse(const unsigned char* d, size_t pos) {
    CharCode c;
    c.kind = char(d[pos++]);
    auto field = [&]() {
      const size_t n = d[pos];
      std::span<const uint8_t> s(d + pos + 1, n);
      pos += 1 + n;
      return s;
    };
    switch (c.kind) {
      case 'S':
      case 'G':
        c.inline_bytes = field();
        break;
      case 'U':
        c.unprintable = field();
        break;
      case 'I':
        c.inline_bytes = field();
        c.extra = field();
        break;
      case 'P':
        c.modifier = d[pos++];
        break;
      case 'Z':
        c.inline_bytes = field();
        c.extra = field();
        c.packed_flag = d[pos++];
        break;
      default:
        break;
    }
    return {c, pos};
  }

  const unsigned char* data_ = nullptr;
  std::vector<uint32_t> offsets_;
};

const CodeTable& LegacyTable() {
  static const CodeTable t(index_codes_data::kGeneralLegacy, index_codes_data::kGeneralLegacySize,
                           0x10000);
  return t;
}
const CodeTable& GeneralTable() {
  static const CodeTable t(index_codes_data::kGeneral, index_codes_data::kGeneralSize, 0x10000);
  return t;
}
const CodeTable& General97Table() {
  static const CodeTable t(index_codes_data::kGeneral97, index_codes_data::kGeneral97Size, 0x100);
  return t;
}

// Turkish (1055) departs from General legacy in these letters only: each takes its own
// slot between two Latin letters, with no accent code; dotless I pairs with ASCII I.
struct TurkishSlot {
  char16_t unit;
  uint8_t bytes[2];
  uint8_t size;
};
constexpr TurkishSlot kTurkishSlots[] = {
    {u'\u00C7', {0x4E, 0x03}, 2}, {u'\u00E7', {0x4E, 0x03}, 2},  // C-cedilla
    {u'\u011E', {0x56, 0x02}, 2}, {u'\u011F', {0x56, 0x02}, 2},  // G-breve
    {u'I', {0x58, 0x06}, 2},      {u'\u0131', {0x58, 0x06}, 2},  // I, dotless i
    {u'i', {0x59, 0x00}, 1},      {u'\u0130', {0x59, 0x00}, 1},  // i, dotted I
    {u'\u00D6', {0x65, 0x02}, 2}, {u'\u00F6', {0x65, 0x02}, 2},  // O-diaeresis
    {u'\u015E', {0x6C, 0x07}, 2}, {u'\u015F', {0x6C, 0x07}, 2},  // S-cedilla
    {u'\u00DC', {0x70, 0x03}, 2}, {u'\u00FC', {0x70, 0x03}, 2},  // U-diaeresis
};

// Code for `unit` in a Jet 4 order; kind 'Q' for surrogates.
CharCode Jet4Code(TextOrder order, char16_t unit) {
  if (order == TextOrder::kTurkish) {
    for (const TurkishSlot& s : kTurkishSlots) {
      if (s.unit == unit) {
        CharCode c;
        c.kind = 'S';
        c.inline_bytes = std::span<const uint8_t>(s.bytes, s.size);
        return c;
      }
    }
  }
  const CodeTable& t = order == TextOrder::kGeneral ? GeneralTable() : LegacyTable();
  return t.At(unit);
}

// Code for `unit` in General 97; nullopt when the tables give it none.
std::optional<CharCode> Jet3Code(char16_t unit) {
  if (unit <= 0xFF) return General97Table().At(unit);
  if (unit < kFirstMapped97 || unit > kLastMapped97) return std::nullopt;
  for (size_t i = 0; i + 1 < index_codes_data::kGeneral97MappingsSize; i += 2) {
    if (index_codes_data::kGeneral97Mappings[i] == unit) {
      return General97Table().At(index_codes_data::kGeneral97Mappings[i + 1]);
    }
  }
  return std::nullopt;
}

void Invert(std::vector<uint8_t>& out, size_t from) {
  for (size_t i = from; i < out.size(); ++i) out[i] = uint8_t(~out[i]);
}

// Text as Jet indexes it: UTF-16 units, at most 255, trailing spaces dropped.
Result<std::u16string> IndexUnits(std::string_view utf8) {
  std::u16string units;
  size_t i = 0;
  while (i < utf8.size() && units.size() < kMaxTextKeyUnits) {
    if (static_cast<unsigned char>(utf8[i]) < 0x80) {  // most text: one byte, one unit
      units.push_back(char16_t(utf8[i++]));
      continue;
    }
    auto cp = NextUtf8(utf8, i);
    if (!cp) return Status::InvalidArgument("text is not valid UTF-8 at byte " + std::to_string(i));
    if (*cp >= 0x10000) {
      const uint32_t v = *cp - 0x10000;
      units.push_back(char16_t(0xD800 + (v >> 10)));
      units.push_back(char16_t(0xDC00 + (v & 0x3FF)));
    } else {
      units.push_back(char16_t(*cp));
    }
  }
  if (units.size() > kMaxTextKeyUnits) units.resize(kMaxTextKeyUnits);
  while (!units.empty() && units.back() == u' ') units.pop_back();
  return units;
}

// The code point a unit belongs to, for messages.
uint32_t CodePointAt(const std::u16string& units, size_t i) {
  const char16_t u = units[i];
  if (u >= 0xD800 && u < 0xDC00 && i + 1 < units.size() && units[i + 1] >= 0xDC00 &&
      units[i + 1] < 0xE000) {
    return 0x10000 + ((uint32_t(u) - 0xD800) << 10) + (uint32_t(units[i + 1]) - 0xDC00);
  }
  if (u >= 0xDC00 && u < 0xE000 && i > 0 && units[i - 1] >= 0xD800 && units[i - 1] < 0xDC00) {
    return CodePointAt(units, i - 1);
  }
  return u;
}

Status NoKey(TextOrder order, const std::u16string& units, size_t i) {
  return Status::NotSupported("character " + DescribeCharacter(CodePointAt(units, i)) +
                              " has no known key in the " + std::string(TextOrderName(order)) +
                              " sort order");
}

// True when a character's inline bytes are several letter weights (ß = S S, Æ = A E):
// one-byte Latin weights in the legacy orders, 0E-prefixed pairs in General.
bool IsExpansion(TextOrder order, std::span<const uint8_t> inline_bytes) {
  if (order == TextOrder::kGeneral) return inline_bytes.size() >= 4;
  if (inline_bytes.size() < 2) return false;
  return std::all_of(inline_bytes.begin(), inline_bytes.end(),
                     [](uint8_t b) { return b >= kFirstLetterWeight && b <= kLastLetterWeight; });
}

Status AppendJet4Text(TextOrder order, const std::u16string& units, bool ascending,
                      std::vector<uint8_t>& out) {
  const size_t start = out.size();
  std::vector<uint8_t> extra;
  size_t extra_chars = 0;
  size_t extra_prefix = 0;
  bool extra_started = false;
  std::vector<uint8_t> unprintable;
  std::vector<uint8_t> packed;
  size_t char_offset = 0;
  std::optional<size_t> expansion;  // first character that expands to several weights
  for (size_t i = 0; i < units.size(); ++i) {
    const CharCode c = Jet4Code(order, units[i]);
    if (c.kind == 'Q') return NoKey(order, units, i);
    // Accent codes and ignorable records are placed by position. Jackcess counts
    // characters, measurements of later Access versions count weights; the two differ
    // after an expanding character, so such keys are not made.
    if (expansion && (!c.extra.empty() || c.modifier != 0 || !c.unprintable.empty())) {
      return Status::NotSupported("character " + DescribeCharacter(CodePointAt(units, i)) +
                                  " after " + DescribeCharacter(CodePointAt(units, *expansion)) +
                                  " has no known key in the " + std::string(TextOrderName(order)) +
                                  " sort order");
    }
    if (!expansion && IsExpansion(order, c.inline_bytes)) expansion = i;
    const size_t at = char_offset;
    if (!c.inline_bytes.empty()) {
      out.insert(out.end(), c.inline_bytes.begin(), c.inline_bytes.end());
      ++char_offset;
    }
    if (!c.extra.empty() || c.modifier != 0) {
      extra_started = true;
      if (extra_chars < at) {
        extra.insert(extra.end(), at - extra_chars, kExtraFill);
        extra_chars = at;
      }
      if (!c.extra.empty()) {
        extra.insert(extra.end(), c.extra.begin(), c.extra.end());
        ++extra_chars;
      } else if (!extra.empty()) {
        extra.back() = uint8_t(extra.back() + c.modifier);
      } else {
        extra.push_back(c.modifier);
        extra_prefix = 1;
      }
    }
    if (!c.unprintable.empty()) {
      // The position counts the accent section as written so far, not characters.
      size_t pos = at;
      if (extra_started) pos = extra.size() + (at - extra_chars) - extra_prefix;
      const uint16_t offset =
          uint16_t(kUnprintableBase + kUnprintableStep * pos) | kUnprintableFlag;
      unprintable.push_back(uint8_t(offset >> 8));
      unprintable.push_back(uint8_t(offset & 0xFF));
      unprintable.push_back(kUnprintableMidfix);
      unprintable.insert(unprintable.end(), c.unprintable.begin(), c.unprintable.end());
    }
    if (c.packed_flag != 0) packed.push_back(c.packed_flag);
  }
  out.push_back(kEndText);
  while (!extra.empty() && extra.back() <= kExtraFill) extra.pop_back();
  out.insert(out.end(), extra.begin(), extra.end());
  if (!packed.empty() || !unprintable.empty()) {
    out.push_back(kEndText);
    out.push_back(kEndText);
    if (!packed.empty()) {
      while (!packed.empty() && packed.back() == kPackedTrimmed) packed.pop_back();
      uint8_t cur = kPackedStart;
      int n = 0;
      for (uint8_t flag : packed) {
        cur = uint8_t(cur | (flag << ((2 - n) * 2)));
        if (++n == 3) {
          out.push_back(cur);
          cur = kPackedStart;
          n = 0;
        }
      }
      if (n > 0) out.push_back(cur);
      out.insert(out.end(), std::begin(kPackedSuffix), std::end(kPackedSuffix));
      if (!unprintable.empty()) out.push_back(kPackedUnprintableSuffix);
    }
    if (!unprintable.empty()) {
      out.push_back(kEndText);
      out.insert(out.end(), unprintable.begin(), unprintable.end());
    }
  }
  if (!ascending) {
    out.push_back(kEndKey);
    Invert(out, start);
  }
  out.push_back(kEndKey);
  return Status::Ok();
}

// Accent codes of Jet 3 keys, a nibble at a time, high nibble first.
class Nibbles {
 public:
  void Put(uint8_t v) {
    if (count_ % 2 == 0) {
      bytes_.push_back(uint8_t((v & 0x0F) << 4));
    } else {
      bytes_.back() = uint8_t(bytes_.back() | (v & 0x0F));
    }
    ++count_;
  }
  const std::vector<uint8_t>& bytes() const { return bytes_; }

 private:
  std::vector<uint8_t> bytes_;
  size_t count_ = 0;
};

Status AppendJet3Text(const std::u16string& units, bool ascending, std::vector<uint8_t>& out) {
  const size_t start = out.size();
  std::optional<Nibbles> accents;
  size_t letters = 0;  // letters since the last accent code
  for (size_t i = 0; i < units.size(); ++i) {
    const std::optional<CharCode> c = Jet3Code(units[i]);
    if (!c || (c->kind == 'X' && units[i] != 0)) return NoKey(TextOrder::kGeneral97, units, i);
    out.insert(out.end(), c->inline_bytes.begin(), c->inline_bytes.end());
    if (c->kind == 'G') {
      ++letters;
    } else if (c->kind == 'I') {
      if (!accents) {
        accents.emplace();
        accents->Put(kNibbleBound);
      }
      for (; letters > 0; --letters) accents->Put(kExtraFill);
      accents->Put(c->extra.empty() ? 0 : c->extra[0]);
    } else if (c->kind != 'S' && c->kind != 'X') {
      return NoKey(TextOrder::kGeneral97, units, i);
    }
  }
  if (accents) {
    accents->Put(kNibbleBound);
    out.insert(out.end(), accents->bytes().begin(), accents->bytes().end());
  } else {
    out.push_back(kEndKey);
  }
  if (!ascending) Invert(out, start);
  return Status::Ok();
}

void AppendBigEndian(uint64_t v, size_t bytes, std::vector<uint8_t>& out) {
  for (size_t i = bytes; i-- > 0;) out.push_back(uint8_t(v >> (8 * i)));
}

// Integer, Long, Currency: big-endian two's complement with the sign bit flipped.
void AppendSigned(int64_t v, size_t bytes, bool ascending, std::vector<uint8_t>& out) {
  const size_t start = out.size();
  AppendBigEndian(uint64_t(v), bytes, out);
  out[start] ^= 0x80;
  if (!ascending) Invert(out, start);
}

void AppendFloating(uint64_t bits, size_t bytes, bool ascending, std::vector<uint8_t>& out) {
  const size_t start = out.size();
  AppendBigEndian(bits, bytes, out);
  const bool negative = (out[start] & 0x80) != 0;
  if (!negative) out[start] ^= 0x80;
  if (negative == ascending) Invert(out, start);
}

void AppendGroups(std::span<const uint8_t> data, bool ascending, std::vector<uint8_t>& out) {
  size_t pos = 0;
  while (data.size() - pos > kBinaryGroup) {
    const size_t start = out.size();
    out.insert(out.end(), data.begin() + pos, data.begin() + pos + kBinaryGroup);
    if (!ascending) Invert(out, start);  // the 09 between groups stays as it is
    out.push_back(kBinaryMore);
    pos += kBinaryGroup;
  }
  if (data.size() > pos) {
    const size_t start = out.size();
    const size_t n = data.size() - pos;
    out.insert(out.end(), data.begin() + pos, data.end());
    out.insert(out.end(), kBinaryGroup - n, 0);
    out.push_back(uint8_t(n));
    if (!ascending) Invert(out, start);
  }
}

// 128-bit unsigned arithmetic on Decimal's hi:lo, enough to rescale.
bool MultiplyBy10(uint64_t& hi, uint64_t& lo) {
  const unsigned __int128 v = (unsigned __int128)hi << 64 | lo;
  const unsigned __int128 r = v * 10;
  if (r / 10 != v) return false;
  hi = uint64_t(r >> 64);
  lo = uint64_t(r);
  return true;
}

Status AppendNumeric(const ColumnDef& c, const Decimal& d, bool ascending,
                     std::vector<uint8_t>& out) {
  uint64_t hi = d.hi, lo = d.lo;
  if (d.scale > c.scale) {
    return Status::InvalidArgument("value has " + std::to_string(d.scale) +
                                   " decimals, the column holds " + std::to_string(c.scale));
  }
  for (uint8_t s = d.scale; s < c.scale; ++s) {
    if (!MultiplyBy10(hi, lo)) return Status::InvalidArgument("value is out of range");
  }
  const bool negative = d.negative && (hi != 0 || lo != 0);
  const size_t start = out.size();
  out.push_back(negative ? kNumericNegative : 0);
  AppendBigEndian(hi, 8, out);
  AppendBigEndian(lo, 8, out);
  // Jet 4's order (a known Jet bug: negative descending values sort wrong) - as stored.
  if (negative == ascending) Invert(out, start);
  out[start] = negative ? 0x00 : 0xFF;
  static_assert(kNumericSize == 17);
  return Status::Ok();
}

Result<int64_t> IntegerIn(const Value& v, int64_t lo, int64_t hi) {
  const int64_t* i = std::get_if<int64_t>(&v);
  if (i == nullptr) return Status::InvalidArgument("value is not a whole number");
  if (*i < lo || *i > hi) {
    return Status::InvalidArgument("value " + std::to_string(*i) + " is out of the column's range");
  }
  return *i;
}

}  // namespace

std::string_view TextOrderName(TextOrder order) {
  switch (order) {
    case TextOrder::kGeneral97:
      return "General 97";
    case TextOrder::kGeneralLegacy:
      return "General legacy";
    case TextOrder::kGeneral:
      return "General";
    case TextOrder::kTurkish:
      return "Turkish";
  }
  return "?";
}

bool IsGeneralOrder(TextOrder order) {
  return order != TextOrder::kTurkish;
}

std::string DescribeCharacter(uint32_t code_point) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "U+%04X", unsigned(code_point));
  std::string s = buf;
  if (code_point >= 0x20 && code_point != 0x7F && !(code_point >= 0xD800 && code_point < 0xE000)) {
    s += " (";
    AppendUtf8CodePoint(s, code_point);
    s += ")";
  }
  return s;
}

std::string IndexLabel(const TableDef& def, size_t real) {
  std::string label;
  for (const LogicalIndex& l : def.logical_indexes) {
    if (l.real_index != real) continue;
    if (!label.empty()) label += "/";
    label += l.name;
  }
  return label.empty() ? "#" + std::to_string(real) : label;
}

Result<TextOrder> TextOrderOf(const JetFormat& f, const ColumnDef& c) {
  const bool jet3 = f.version == JetVersion::kJet3;
  if (c.sort_order == 0) return jet3 ? TextOrder::kGeneral97 : TextOrder::kGeneralLegacy;
  if (jet3 && c.sort_order == kLcidGeneral) return TextOrder::kGeneral97;
  if (!jet3 && c.sort_order == kLcidGeneral && c.sort_version == 0)
    return TextOrder::kGeneralLegacy;
  if (!jet3 && c.sort_order == kLcidGeneral && c.sort_version == 1) return TextOrder::kGeneral;
  if (!jet3 && c.sort_order == kLcidTurkish && c.sort_version == 0) return TextOrder::kTurkish;
  std::string what = "column " + c.name + ": sort order " + std::to_string(c.sort_order);
  if (!jet3) what += " version " + std::to_string(c.sort_version);
  return Status::NotSupported(what + " (" + (jet3 ? "Jet 3" : "Jet 4") +
                              ") has no known index keys");
}

bool TextHasKey(TextOrder order, std::string_view utf8) {
  std::vector<uint8_t> scratch;
  return AppendTextKey(order, utf8, true, scratch).ok();
}

Status AppendTextKey(TextOrder order, std::string_view utf8, bool ascending,
                     std::vector<uint8_t>& out) {
  PX_ASSIGN_OR_RETURN(std::u16string units, IndexUnits(utf8));
  if (order == TextOrder::kGeneral97) return AppendJet3Text(units, ascending, out);
  return AppendJet4Text(order, units, ascending, out);
}

Status AppendColumnKey(const ColumnDef& c, TextOrder order, bool ascending, const Value& v,
                       std::vector<uint8_t>& out) {
  auto fail = [&](const Status& s) { return s.WithContext("column " + c.name); };
  if (c.type == coltype::kBoolean) {
    // Never NULL: the flag byte, then 00 for true (ascending).
    const bool* b = std::get_if<bool>(&v);
    const bool value = b != nullptr && *b;
    out.push_back(ascending ? kAscValue : kDescValue);
    out.push_back((value == ascending) ? kAscTrue : kAscFalse);
    return Status::Ok();
  }
  if (IsNull(v)) {
    out.push_back(ascending ? kAscNull : kDescNull);
    return Status::Ok();
  }
  const size_t flag_at = out.size();
  out.push_back(ascending ? kAscValue : kDescValue);
  Status st;
  switch (c.type) {
    case coltype::kByte: {
      auto i = IntegerIn(v, 0, 255);
      if (!i.ok()) return fail(i.status());
      out.push_back(ascending ? uint8_t(*i) : uint8_t(~uint8_t(*i)));
      break;
    }
    case coltype::kInteger: {
      auto i =
          IntegerIn(v, std::numeric_limits<int16_t>::min(), std::numeric_limits<int16_t>::max());
      if (!i.ok()) return fail(i.status());
      AppendSigned(*i, 2, ascending, out);
      break;
    }
    case coltype::kLong: {
      auto i =
          IntegerIn(v, std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max());
      if (!i.ok()) return fail(i.status());
      AppendSigned(*i, 4, ascending, out);
      break;
    }
    case coltype::kCurrency: {
      const Currency* m = std::get_if<Currency>(&v);
      if (m == nullptr) return fail(Status::InvalidArgument("value is not a currency amount"));
      AppendSigned(m->scaled, 8, ascending, out);
      break;
    }
    case coltype::kSingle: {
      const float* x = std::get_if<float>(&v);
      if (x == nullptr) return fail(Status::InvalidArgument("value is not a single"));
      AppendFloating(FloatToBits(*x), 4, ascending, out);
      break;
    }
    case coltype::kDouble: {
      const double* x = std::get_if<double>(&v);
      if (x == nullptr) return fail(Status::InvalidArgument("value is not a double"));
      AppendFloating(DoubleToBits(*x), 8, ascending, out);
      break;
    }
    case coltype::kDateTime: {
      const OleDate* x = std::get_if<OleDate>(&v);
      if (x == nullptr) return fail(Status::InvalidArgument("value is not a date"));
      AppendFloating(DoubleToBits(x->days), 8, ascending, out);
      break;
    }
    case coltype::kGuid: {
      const Guid* g = std::get_if<Guid>(&v);
      if (g == nullptr) return fail(Status::InvalidArgument("value is not a GUID"));
      // Keys hold the GUID as written: its first three fields big-endian.
      std::array<uint8_t, 16> b = g->bytes;
      std::swap(b[0], b[3]);
      std::swap(b[1], b[2]);
      std::swap(b[4], b[5]);
      std::swap(b[6], b[7]);
      AppendGroups(b, ascending, out);
      break;
    }
    case coltype::kBinary: {
      const Binary* b = std::get_if<Binary>(&v);
      if (b == nullptr) return fail(Status::InvalidArgument("value is not binary"));
      AppendGroups(b->bytes, ascending, out);
      break;
    }
    case coltype::kNumeric: {
      const Decimal* d = std::get_if<Decimal>(&v);
      if (d == nullptr) return fail(Status::InvalidArgument("value is not a decimal"));
      st = AppendNumeric(c, *d, ascending, out);
      break;
    }
    case coltype::kText:
    case coltype::kMemo: {
      const std::string* s = std::get_if<std::string>(&v);
      if (s == nullptr) return fail(Status::InvalidArgument("value is not text"));
      st = AppendTextKey(order, *s, ascending, out);
      break;
    }
    default:
      return fail(Status::NotSupported("columns of type " + std::to_string(c.type) +
                                       " have no index keys"));
  }
  if (!st.ok()) {
    out.resize(flag_at);
    return fail(st);
  }
  return Status::Ok();
}

Status KeyError(const Status& error, const KeyLabels& labels) {
  return error.WithContext("table " + labels.table + ", index " + labels.index);
}

Result<std::vector<uint8_t>> EncodeIndexKey(const JetFormat& f, const TableDef& def,
                                            const RealIndex& index,
                                            std::span<const Value> by_column,
                                            const KeyLabels& labels) {
  std::vector<uint8_t> key;
  Status st = EncodeIndexKey(f, def, index, by_column, key);
  if (!st.ok()) return KeyError(st, labels);
  return key;
}

Status EncodeIndexKey(const JetFormat& f, const TableDef& def, const RealIndex& index,
                      std::span<const Value> by_column, std::vector<uint8_t>& key) {
  key.clear();
  for (const IndexColumn& ic : index.columns) {
    const int pos = def.ColumnByNumber(ic.column_number);
    if (pos < 0 || size_t(pos) >= by_column.size()) {
      return Status::InvalidArgument("no value for column id " + std::to_string(ic.column_number));
    }
    const ColumnDef& c = def.columns[size_t(pos)];
    TextOrder order = TextOrder::kGeneralLegacy;
    if (c.type == coltype::kText || c.type == coltype::kMemo) {
      PX_ASSIGN_OR_RETURN(order, TextOrderOf(f, c));
    }
    PX_RETURN_IF_ERROR(AppendColumnKey(c, order, ic.ascending, by_column[size_t(pos)], key));
  }
  if (key.size() > kMaxIndexKeySize) {
    return Status::NotSupported("key of " + std::to_string(key.size()) +
                                " bytes is longer than the " + std::to_string(kMaxIndexKeySize) +
                                " bytes Jet stores whole");
  }
  return Status::Ok();
}

}  // namespace px::jet
