#include "jet/text.h"

#include "platform/codepage.h"

namespace px::jet {

void AppendUtf16Le(std::vector<uint8_t>& out, uint32_t cp) {
  if (cp >= 0x10000) {
    cp -= 0x10000;
    const uint16_t hi = uint16_t(0xD800 + (cp >> 10));
    const uint16_t lo = uint16_t(0xDC00 + (cp & 0x3FF));
    out.insert(out.end(), {uint8_t(hi), uint8_t(hi >> 8), uint8_t(lo), uint8_t(lo >> 8)});
    return;
  }
  out.push_back(uint8_t(cp));
  out.push_back(uint8_t(cp >> 8));
}

namespace {

constexpr uint32_t kReplacement = 0xFFFD;

bool IsHighSurrogate(uint32_t u) {
  return u >= 0xD800 && u <= 0xDBFF;
}
bool IsLowSurrogate(uint32_t u) {
  return u >= 0xDC00 && u <= 0xDFFF;
}

// Writes the UTF-8 of one code point at `p`; returns the end.
char* PutUtf8(char* p, uint32_t c) {
  if (c < 0x80) {
    *p++ = char(c);
  } else if (c < 0x800) {
    *p++ = char(0xC0 | c >> 6);
    *p++ = char(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    *p++ = char(0xE0 | c >> 12);
    *p++ = char(0x80 | (c >> 6 & 0x3F));
    *p++ = char(0x80 | (c & 0x3F));
  } else {
    *p++ = char(0xF0 | c >> 18);
    *p++ = char(0x80 | (c >> 12 & 0x3F));
    *p++ = char(0x80 | (c >> 6 & 0x3F));
    *p++ = char(0x80 | (c & 0x3F));
  }
  return p;
}

// UTF-16 units to UTF-8, one at a time, into room the caller has made: at most three bytes
// a unit. A surrogate pair becomes one character, a lone surrogate U+FFFD. ASCII, the bulk
// of the suite's text, takes the short path.
class Utf16ToUtf8 {
 public:
  explicit Utf16ToUtf8(char* p) : p_(p) {}
  void Unit(uint32_t u) {
    if (u < 0x80 && !pending_high_) {
      *p_++ = char(u);
      return;
    }
    if (pending_high_) {
      const uint32_t high = pending_high_;
      pending_high_ = 0;
      if (IsLowSurrogate(u)) {
        p_ = PutUtf8(p_, 0x10000 + ((high - 0xD800) << 10) + (u - 0xDC00));
        return;
      }
      p_ = PutUtf8(p_, kReplacement);
    }
    if (IsHighSurrogate(u)) {
      pending_high_ = u;
    } else {
      p_ = PutUtf8(p_, IsLowSurrogate(u) ? kReplacement : u);
    }
  }
  // Writes four units given as one little-endian word when all four are ASCII; false (and
  // nothing written) otherwise.
  bool Ascii4(uint64_t units) {
    if ((units & 0xFF80FF80FF80FF80u) != 0 || pending_high_) return false;
    p_[0] = char(units);
    p_[1] = char(units >> 16);
    p_[2] = char(units >> 32);
    p_[3] = char(units >> 48);
    p_ += 4;
    return true;
  }
  // Ends the text; returns the end of what was written.
  char* End() {
    if (pending_high_) p_ = PutUtf8(p_, kReplacement);
    pending_high_ = 0;
    return p_;
  }

 private:
  char* p_;
  uint32_t pending_high_ = 0;
};

// Makes room for `units` UTF-16 units after the end of `out`, lets `fill` write them and
// cuts `out` to what it wrote.
template <typename Fill>
Status AppendUtf8Of(std::string& out, size_t units, Fill fill) {
  const size_t old = out.size();
  out.resize(old + 3 * units);
  Utf16ToUtf8 utf8(out.data() + old);
  Status st = fill(utf8);
  out.resize(st.ok() ? size_t(utf8.End() - out.data()) : old);
  return st;
}

// Simple case folding for the scripts the suite's data uses: Latin-1, Latin Extended-A,
// Greek and Cyrillic; other characters fold to themselves.
uint32_t FoldLower(uint32_t c) {
  if (c >= 'A' && c <= 'Z') return c + 32;
  if ((c >= 0xC0 && c <= 0xDE && c != 0xD7)) return c + 32;
  if (c >= 0x100 && c <= 0x17F && c != 0x130 && c != 0x131 && c != 0x138 && c != 0x149 &&
      c != 0x17F) {
    const bool odd_pairs = (c >= 0x139 && c <= 0x148) || (c >= 0x179 && c <= 0x17E);
    if (odd_pairs) return (c % 2 == 1) ? c + 1 : c;
    if (c == 0x178) return 0xFF;
    return (c % 2 == 0) ? c + 1 : c;
  }
  if (c >= 0x391 && c <= 0x3AB && c != 0x3A2) return c + 32;
  if (c >= 0x410 && c <= 0x42F) return c + 32;
  if (c >= 0x400 && c <= 0x40F) return c + 80;
  return c;
}

}  // namespace

Status AppendDecodedUtf16Le(Bytes bytes, std::string& out) {
  if (bytes.size() % 2 != 0) {
    return Status::Corruption("UTF-16 text has an odd byte count " + std::to_string(bytes.size()));
  }
  return AppendUtf8Of(out, bytes.size() / 2, [&](Utf16ToUtf8& utf8) {
    // Four units at a time where they are ASCII, else one.
    for (size_t i = 0; i < bytes.size();) {
      if (i + 8 <= bytes.size() && utf8.Ascii4(LoadLe64(&bytes[i]))) {
        i += 8;
      } else {
        utf8.Unit(LoadLe16(&bytes[i]));
        i += 2;
      }
    }
    return Status::Ok();
  });
}

Status AppendDecodedJet4Text(Bytes bytes, std::string& out) {
  if (bytes.size() < 2 || bytes[0] != 0xFF || bytes[1] != 0xFE) {
    return AppendDecodedUtf16Le(bytes, out);
  }
  return AppendUtf8Of(out, bytes.size(), [&](Utf16ToUtf8& utf8) {
    bool compressed = true;
    size_t i = 2;
    while (i < bytes.size()) {
      if (bytes[i] == 0) {
        compressed = !compressed;
        ++i;
      } else if (compressed) {
        utf8.Unit(bytes[i++]);
      } else if (i + 1 < bytes.size()) {
        utf8.Unit(LoadLe16(&bytes[i]));
        i += 2;
      } else {
        return Status::Corruption("compressed text ends inside a UTF-16 character");
      }
    }
    return Status::Ok();
  });
}

Result<std::string> DecodeUtf16Le(Bytes bytes) {
  std::string out;
  PX_RETURN_IF_ERROR(AppendDecodedUtf16Le(bytes, out));
  return out;
}

Result<std::string> DecodeJet4Text(Bytes bytes) {
  std::string out;
  PX_RETURN_IF_ERROR(AppendDecodedJet4Text(bytes, out));
  return out;
}

Result<std::string> DecodeJet3Text(Bytes bytes, int code_page) {
  return DecodeCodePage(code_page, AsChars(bytes));
}

Result<std::vector<uint8_t>> EncodeUtf16Le(std::string_view utf8) {
  std::vector<uint8_t> out;
  out.reserve(utf8.size() * 2);
  size_t i = 0;
  while (i < utf8.size()) {
    const auto lead = static_cast<unsigned char>(utf8[i]);
    if (lead < 0x80) {  // most text: one byte, one unit
      out.push_back(lead);
      out.push_back(0);
      ++i;
      continue;
    }
    auto cp = NextUtf8(utf8, i);
    if (!cp) {
      return Status::InvalidArgument("text is not valid UTF-8 at byte " + std::to_string(i));
    }
    uint32_t c = *cp;
    if (c >= 0x10000) {
      c -= 0x10000;
      const uint16_t hi = uint16_t(0xD800 + (c >> 10)), lo = uint16_t(0xDC00 + (c & 0x3FF));
      out.insert(out.end(), {uint8_t(hi), uint8_t(hi >> 8), uint8_t(lo), uint8_t(lo >> 8)});
    } else {
      out.push_back(uint8_t(c));
      out.push_back(uint8_t(c >> 8));
    }
  }
  return out;
}

Result<std::vector<uint8_t>> EncodeJet4Text(std::string_view utf8, bool compress) {
  PX_ASSIGN_OR_RETURN(std::vector<uint8_t> plain, EncodeUtf16Le(utf8));
  return CompressJet4Text(std::move(plain), compress);
}

std::vector<uint8_t> CompressJet4Text(std::vector<uint8_t> plain, bool compress) {
  CompressJet4TextInPlace(plain, compress);
  return plain;
}

void CompressJet4TextInPlace(std::vector<uint8_t>& text, bool compress) {
  const size_t chars = text.size() / 2;
  bool compressible = compress && chars > 2;
  for (size_t k = 0; compressible && k < chars; ++k) {
    compressible = text[2 * k + 1] == 0 && text[2 * k] != 0;
  }
  if (!compressible) return;
  // Character k moves from 2k to 2 + k: from the third on that is never past its source, so
  // a forward pass reads each before it is overwritten; the first two are kept aside.
  const uint8_t first = text[0];
  const uint8_t second = text[2];
  for (size_t k = 2; k < chars; ++k) text[2 + k] = text[2 * k];
  text[0] = 0xFF;
  text[1] = 0xFE;
  text[2] = first;
  text[3] = second;
  text.resize(2 + chars);
}

std::optional<size_t> Utf16Length(std::string_view utf8) {
  size_t units = 0, i = 0;
  while (i < utf8.size()) {
    auto cp = NextUtf8(utf8, i);
    if (!cp) return std::nullopt;
    units += *cp >= 0x10000 ? 2 : 1;
  }
  return units;
}

std::u32string JetFoldCase(std::string_view utf8, uint16_t sort_order_lcid) {
  const bool turkish = sort_order_lcid == kLcidTurkish;
  std::u32string out;
  out.reserve(utf8.size());
  size_t i = 0;
  while (i < utf8.size()) {
    auto cp = NextUtf8(utf8, i);
    if (!cp) {  // keep malformed bytes distinct from every character
      out.push_back(0x110000u + static_cast<unsigned char>(utf8[i++]));
      continue;
    }
    uint32_t c = *cp;
    if (turkish && c == 'I')
      c = 0x131;
    else if (turkish && c == 0x130)
      c = 'i';
    else
      c = FoldLower(c);
    out.push_back(c);
  }
  return out;
}

bool JetTextEquals(std::string_view a, std::string_view b, uint16_t sort_order_lcid) {
  return JetFoldCase(a, sort_order_lcid) == JetFoldCase(b, sort_order_lcid);
}

}  // namespace px::jet
