#include "platform/text_case.h"

#include <algorithm>
#include <cstdint>

#include "platform/codepage.h"

namespace px {
namespace {

// Simple upper-case mapping of Latin letters; `turkish` decides the two i's.
uint32_t Upper(uint32_t c, bool turkish) {
  if (c == 'i') return turkish ? 0x130 : 'I';
  if (c == 0x131) return 'I';                // ı
  if (c == 0x130) return turkish ? c : 'I';  // İ
  if (c >= 'a' && c <= 'z') return c - 0x20;
  if (c >= 0xE0 && c <= 0xFE && c != 0xF7) return c - 0x20;
  if (c == 0xFF) return 0x178;
  if ((c >= 0x100 && c <= 0x137) || (c >= 0x14A && c <= 0x177)) return c & ~1u;
  if ((c >= 0x139 && c <= 0x148) || (c >= 0x179 && c <= 0x17E)) return (c % 2 == 0) ? c - 1 : c;
  return c;
}

std::string MapUpper(std::string_view utf8, bool turkish) {
  std::string out;
  out.reserve(utf8.size());
  size_t i = 0;
  while (i < utf8.size()) {
    const size_t start = i;
    auto cp = NextUtf8(utf8, i);
    if (!cp) {  // a stray byte stays as it is
      out += utf8[start];
      i = start + 1;
      continue;
    }
    AppendUtf8CodePoint(out, Upper(*cp, turkish));
  }
  return out;
}

}  // namespace

std::string FoldCase(std::string_view utf8) {
  return MapUpper(utf8, false);
}

bool EqualsIgnoreCase(std::string_view a, std::string_view b) {
  // Plain ASCII (names and keywords of statements, run once a row) folds byte by byte,
  // with nothing allocated; it maps exactly as Upper does.
  const auto ascii = [](std::string_view s) {
    return std::all_of(s.begin(), s.end(), [](char c) { return uint8_t(c) < 0x80; });
  };
  if (ascii(a) && ascii(b)) {
    const auto upper = [](char c) { return c >= 'a' && c <= 'z' ? char(c - 0x20) : c; };
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(),
                                              [&](char x, char y) { return upper(x) == upper(y); });
  }
  return FoldCase(a) == FoldCase(b);
}

std::string UpperTurkish(std::string_view utf8) {
  return MapUpper(utf8, true);
}

std::string_view TrimBlanks(std::string_view s) {
  while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
  return s;
}

}  // namespace px
