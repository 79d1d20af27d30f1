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
  // Plain ASCII (names and keywords of statements, compared many times a row) folds byte by
  // byte with nothing allocated, as Upper maps it; the first byte of another script sends
  // both texts through the full fold. ASCII folds to ASCII, so a difference in the ASCII
  // prefix, or one text ending there, settles the answer.
  const auto upper = [](uint8_t c) { return c >= 'a' && c <= 'z' ? uint8_t(c - 0x20) : c; };
  const size_t n = std::min(a.size(), b.size());
  for (size_t i = 0; i < n; ++i) {
    const uint8_t x = uint8_t(a[i]), y = uint8_t(b[i]);
    if ((x | y) >= 0x80) return FoldCase(a) == FoldCase(b);
    if (upper(x) != upper(y)) return false;
  }
  return a.size() == b.size();
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
