#include "platform/codepage.h"

#include <array>
#include <cstdio>
#include <cstdlib>

namespace px {

namespace {

// Unicode code points of bytes 0x80..0xFF; 0 marks a byte the code page leaves undefined.
// Bytes below 0x80 are ASCII in both code pages.
constexpr std::array<uint16_t, 128> kWindows1252 = {
    0x20AC, 0x0000, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160, 0x2039,
    0x0152, 0x0000, 0x017D, 0x0000, 0x0000, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x0000, 0x017E, 0x0178, 0x00A0, 0x00A1, 0x00A2, 0x00A3,
    0x00A4, 0x00A5, 0x00A6, 0x00A7, 0x00A8, 0x00A9, 0x00AA, 0x00AB, 0x00AC, 0x00AD, 0x00AE, 0x00AF,
    0x00B0, 0x00B1, 0x00B2, 0x00B3, 0x00B4, 0x00B5, 0x00B6, 0x00B7, 0x00B8, 0x00B9, 0x00BA, 0x00BB,
    0x00BC, 0x00BD, 0x00BE, 0x00BF, 0x00C0, 0x00C1, 0x00C2, 0x00C3, 0x00C4, 0x00C5, 0x00C6, 0x00C7,
    0x00C8, 0x00C9, 0x00CA, 0x00CB, 0x00CC, 0x00CD, 0x00CE, 0x00CF, 0x00D0, 0x00D1, 0x00D2, 0x00D3,
    0x00D4, 0x00D5, 0x00D6, 0x00D7, 0x00D8, 0x00D9, 0x00DA, 0x00DB, 0x00DC, 0x00DD, 0x00DE, 0x00DF,
    0x00E0, 0x00E1, 0x00E2, 0x00E3, 0x00E4, 0x00E5, 0x00E6, 0x00E7, 0x00E8, 0x00E9, 0x00EA, 0x00EB,
    0x00EC, 0x00ED, 0x00EE, 0x00EF, 0x00F0, 0x00F1, 0x00F2, 0x00F3, 0x00F4, 0x00F5, 0x00F6, 0x00F7,
    0x00F8, 0x00F9, 0x00FA, 0x00FB, 0x00FC, 0x00FD, 0x00FE, 0x00FF,
};

constexpr std::array<uint16_t, 128> kWindows1254 = {
    0x20AC, 0x0000, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160, 0x2039,
    0x0152, 0x0000, 0x0000, 0x0000, 0x0000, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x0000, 0x0000, 0x0178, 0x00A0, 0x00A1, 0x00A2, 0x00A3,
    0x00A4, 0x00A5, 0x00A6, 0x00A7, 0x00A8, 0x00A9, 0x00AA, 0x00AB, 0x00AC, 0x00AD, 0x00AE, 0x00AF,
    0x00B0, 0x00B1, 0x00B2, 0x00B3, 0x00B4, 0x00B5, 0x00B6, 0x00B7, 0x00B8, 0x00B9, 0x00BA, 0x00BB,
    0x00BC, 0x00BD, 0x00BE, 0x00BF, 0x00C0, 0x00C1, 0x00C2, 0x00C3, 0x00C4, 0x00C5, 0x00C6, 0x00C7,
    0x00C8, 0x00C9, 0x00CA, 0x00CB, 0x00CC, 0x00CD, 0x00CE, 0x00CF, 0x011E, 0x00D1, 0x00D2, 0x00D3,
    0x00D4, 0x00D5, 0x00D6, 0x00D7, 0x00D8, 0x00D9, 0x00DA, 0x00DB, 0x00DC, 0x0130, 0x015E, 0x00DF,
    0x00E0, 0x00E1, 0x00E2, 0x00E3, 0x00E4, 0x00E5, 0x00E6, 0x00E7, 0x00E8, 0x00E9, 0x00EA, 0x00EB,
    0x00EC, 0x00ED, 0x00EE, 0x00EF, 0x011F, 0x00F1, 0x00F2, 0x00F3, 0x00F4, 0x00F5, 0x00F6, 0x00F7,
    0x00F8, 0x00F9, 0x00FA, 0x00FB, 0x00FC, 0x0131, 0x015F, 0x00FF,
};

const std::array<uint16_t, 128>* HighTable(int code_page) {
  switch (code_page) {
    case 1252:
      return &kWindows1252;
    case 1254:
      return &kWindows1254;
    default:
      return nullptr;
  }
}

void AppendUtf8(std::string& out, uint32_t cp) {
  if (cp < 0x80) {
    out += char(cp);
  } else if (cp < 0x800) {
    out += char(0xC0 | (cp >> 6));
    out += char(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    out += char(0xE0 | (cp >> 12));
    out += char(0x80 | ((cp >> 6) & 0x3F));
    out += char(0x80 | (cp & 0x3F));
  } else {
    out += char(0xF0 | (cp >> 18));
    out += char(0x80 | ((cp >> 12) & 0x3F));
    out += char(0x80 | ((cp >> 6) & 0x3F));
    out += char(0x80 | (cp & 0x3F));
  }
}

}  // namespace

bool IsSupportedCodePage(int code_page) {
  return HighTable(code_page) != nullptr;
}

Result<std::string> DecodeCodePage(int code_page, std::string_view bytes) {
  const auto* table = HighTable(code_page);
  if (!table) return Status::NotSupported("code page " + std::to_string(code_page));
  std::string out;
  out.reserve(bytes.size());
  for (char ch : bytes) {
    const auto b = static_cast<unsigned char>(ch);
    if (b < 0x80) {
      out += ch;
      continue;
    }
    // An undefined byte decodes to the C1 control of the same value, as Windows does, so
    // that nothing is lost and the byte encodes back to itself.
    const uint16_t cp = (*table)[b - 0x80];
    AppendUtf8(out, cp ? cp : b);
  }
  return out;
}

Result<std::string> EncodeCodePage(int code_page, std::string_view utf8) {
  const auto* table = HighTable(code_page);
  if (!table) return Status::NotSupported("code page " + std::to_string(code_page));
  std::string out;
  out.reserve(utf8.size());
  size_t i = 0;
  while (i < utf8.size()) {
    auto cp = NextUtf8(utf8, i);
    if (!cp) {
      return Status::InvalidArgument("invalid UTF-8 at byte " + std::to_string(i));
    }
    if (*cp < 0x80) {
      out += char(*cp);
      continue;
    }
    int byte = -1;
    for (int k = 0; k < 128; ++k) {
      const uint16_t mapped = (*table)[size_t(k)];
      if (mapped == *cp || (mapped == 0 && uint32_t(k + 0x80) == *cp)) {
        byte = k + 0x80;
        break;
      }
    }
    if (byte < 0) {
      char buf[16];
      std::snprintf(buf, sizeof buf, "U+%04X", unsigned(*cp));
      return Status::InvalidArgument(std::string("character ") + buf +
                                     " has no place in code page " + std::to_string(code_page));
    }
    out += char(byte);
  }
  return out;
}

std::optional<uint32_t> NextUtf8(std::string_view s, size_t& i) {
  const auto lead = static_cast<unsigned char>(s[i]);
  int len;
  uint32_t cp;
  if (lead < 0x80) {
    ++i;
    return lead;
  } else if ((lead & 0xE0) == 0xC0) {
    len = 2;
    cp = lead & 0x1F;
  } else if ((lead & 0xF0) == 0xE0) {
    len = 3;
    cp = lead & 0x0F;
  } else if ((lead & 0xF8) == 0xF0) {
    len = 4;
    cp = lead & 0x07;
  } else {
    return std::nullopt;
  }
  if (s.size() - i < size_t(len)) return std::nullopt;
  for (int k = 1; k < len; ++k) {
    const auto c = static_cast<unsigned char>(s[i + size_t(k)]);
    if ((c & 0xC0) != 0x80) return std::nullopt;
    cp = cp << 6 | (c & 0x3F);
  }
  static const uint32_t kMin[] = {0, 0, 0x80, 0x800, 0x10000};
  if (cp < kMin[len] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return std::nullopt;
  i += size_t(len);
  return cp;
}

void AppendUtf8CodePoint(std::string& out, uint32_t code_point) {
  AppendUtf8(out, code_point);
}

}  // namespace px
