#include "xbf/xml_tokenizer.h"

#include <cstdint>
#include <cstring>
#include <string_view>

namespace px::xbf {

// Turns the input into UTF-8 bytes and tracks line and column.
class XmlTokenizer::Chars {
 public:
  explicit Chars(ByteInput& in) : in_(in), raw_(kChunk) {}

  // The next byte (0..255), -1 at the end of the input, -2 after an input error.
  int Peek() {
    if (!error_.ok()) return -2;  // a byte left unconsumed by an error is never offered again
    if (pos_ < cur_.size()) return static_cast<unsigned char>(cur_[pos_]);
    if (eof_) return EndOfInput();
    Refill();
    if (!error_.ok()) return -2;
    return pos_ < cur_.size() ? static_cast<unsigned char>(cur_[pos_]) : EndOfInput();
  }
  // Consumes the next byte. A byte that cannot stand where it stands in UTF-8 (a stray
  // continuation, an overlong form, a surrogate, beyond U+10FFFF) is not consumed: the
  // input error is set and -2 returned, with line and column at the character it breaks.
  int Get() {
    const int c = Peek();
    if (c < 0) return c;
    if (!Utf8Fits(c)) return -2;
    ++pos_;
    if (c == '\n') {
      ++line;
      column = 1;
    } else if ((c & 0xC0) != 0x80) {
      ++column;
    }
    return c;
  }
  // Consumes the run of bytes at the current position that `plain` accepts, appending them
  // to `out` (when given), at most `limit` of them; the number taken. Only ASCII bytes other
  // than '\n' may be accepted, and two-byte UTF-8 characters are taken whole when
  // `two_byte` is set: what Get() would take one by one without an error, with the same
  // line and column. Stops at the end of the buffered input; Get() goes on from there.
  size_t TakeRun(const bool (&plain)[128], bool two_byte, std::string* out, size_t limit) {
    if (!error_.ok() || continuations_ != 0) return 0;
    const char* const data = cur_.data();
    const size_t end = cur_.size();
    const size_t start = pos_;
    size_t p = pos_;
    size_t chars = 0;
    while (p < end && p - start < limit) {
      const auto c = static_cast<unsigned char>(data[p]);
      if (c < 0x80) {
        if (!plain[c]) break;
        ++p;
      } else if (two_byte && c >= 0xC2 && c <= 0xDF && p + 1 < end && p + 2 - start <= limit &&
                 (static_cast<unsigned char>(data[p + 1]) & 0xC0) == 0x80) {
        p += 2;
      } else {
        break;
      }
      ++chars;
    }
    if (out != nullptr) out->append(data + start, p - start);
    pos_ = p;
    column += int(chars);
    return p - start;
  }
  // Consumes blanks (space, TAB, CR, LF) as Get() would, one buffer at a time.
  void SkipBlanks() {
    for (;;) {
      if (error_.ok() && continuations_ == 0) {
        for (const size_t end = cur_.size(); pos_ < end; ++pos_) {
          const char c = cur_[pos_];
          if (c == ' ' || c == '\t' || c == '\r') {
            ++column;
          } else if (c == '\n') {
            ++line;
            column = 1;
          } else {
            return;
          }
        }
      }
      const int c = Peek();
      if (c != ' ' && c != '\t' && c != '\r' && c != '\n') return;
      Get();
    }
  }
  // The decoded bytes not yet consumed, refilled when none are left; empty at the end of
  // the input and after an error.
  std::string_view Buffered() {
    if (pos_ == cur_.size() && Peek() < 0) return {};
    return cur_.substr(pos_);
  }
  // Consumes `n` buffered bytes without counting lines or checking UTF-8.
  void Pass(size_t n) { pos_ += n; }
  const Status& error() const { return error_; }
  bool utf16le() const { return encoding_ == Encoding::kUtf16Le; }

  int line = 1, column = 1;

 private:
  enum class Encoding { kUnknown, kUtf8, kUtf16Le, kUtf16Be };
  static constexpr size_t kChunk = 64 * 1024;

  void Refill();
  void DetectEncoding();
  void DecodeUtf16();

  int EndOfInput() {
    if (continuations_ == 0) return -1;
    column = lead_column_;
    error_ = Status::Corruption("input ends inside a UTF-8 character");
    return -2;
  }

  // Checks byte `c` against the UTF-8 sequence in progress and advances it.
  bool Utf8Fits(int c) {
    if (continuations_ > 0) {
      if (c < next_min_ || c > next_max_) {
        column = lead_column_;
        error_ = Status::Corruption("malformed UTF-8: byte " + Hex(c) + " inside a character");
        return false;
      }
      --continuations_;
      next_min_ = 0x80;
      next_max_ = 0xBF;
      return true;
    }
    if (c < 0x80) return true;
    lead_column_ = column;
    next_min_ = 0x80;
    next_max_ = 0xBF;
    if (c >= 0xC2 && c <= 0xDF) {
      continuations_ = 1;
    } else if (c >= 0xE0 && c <= 0xEF) {
      continuations_ = 2;
      if (c == 0xE0) next_min_ = 0xA0;  // no overlong forms
      if (c == 0xED) next_max_ = 0x9F;  // no surrogates
    } else if (c >= 0xF0 && c <= 0xF4) {
      continuations_ = 3;
      if (c == 0xF0) next_min_ = 0x90;
      if (c == 0xF4) next_max_ = 0x8F;  // nothing beyond U+10FFFF
    } else {
      error_ = Status::Corruption("malformed UTF-8: byte " + Hex(c) +
                                  ((c & 0xC0) == 0x80 ? " without a lead byte" : ""));
      return false;
    }
    return true;
  }
  static std::string Hex(int c) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    return std::string("0x") + kDigits[c >> 4] + kDigits[c & 15];
  }

  int continuations_ = 0;  // continuation bytes still expected
  int next_min_ = 0x80, next_max_ = 0xBF;
  int lead_column_ = 1;

  ByteInput& in_;
  std::vector<uint8_t> raw_;
  size_t raw_len_ = 0;    // bytes of raw_ in use
  size_t raw_start_ = 0;  // first byte not yet decoded
  std::string out_;       // decoded UTF-16
  std::string_view cur_;  // the bytes being read: in raw_ (UTF-8) or out_
  size_t pos_ = 0;
  Encoding encoding_ = Encoding::kUnknown;
  uint32_t high_surrogate_ = 0;
  bool eof_ = false;
  Status error_;
};

void XmlTokenizer::Chars::Refill() {
  out_.clear();
  cur_ = {};
  pos_ = 0;
  while (cur_.empty() && !eof_ && error_.ok()) {
    // Keep an undecoded tail (half a UTF-16 unit) in front of the new bytes.
    const size_t keep = raw_len_ - raw_start_;
    std::memmove(raw_.data(), raw_.data() + raw_start_, keep);
    raw_start_ = 0;
    auto got = in_.Read(raw_.data() + keep, raw_.size() - keep);
    if (!got.ok()) {
      error_ = got.status();
      return;
    }
    raw_len_ = keep + *got;
    if (*got == 0) eof_ = true;
    if (encoding_ == Encoding::kUnknown) {
      if (raw_len_ < 3 && !eof_) continue;  // a BOM needs up to three bytes
      DetectEncoding();
    }
    if (encoding_ == Encoding::kUtf8) {
      // UTF-8 is read where it was read in, without a copy.
      cur_ = std::string_view(reinterpret_cast<const char*>(raw_.data()) + raw_start_,
                              raw_len_ - raw_start_);
      raw_start_ = raw_len_;
    } else {
      DecodeUtf16();
      cur_ = out_;
    }
    if (eof_ && error_.ok() && (raw_start_ < raw_len_ || high_surrogate_)) {
      error_ = Status::Corruption("input ends inside a UTF-16 character");
    }
  }
}

void XmlTokenizer::Chars::DetectEncoding() {
  const uint8_t* b = raw_.data();
  if (raw_len_ >= 3 && b[0] == 0xEF && b[1] == 0xBB && b[2] == 0xBF) {
    encoding_ = Encoding::kUtf8;
    raw_start_ = 3;
  } else if (raw_len_ >= 2 && b[0] == 0xFF && b[1] == 0xFE) {
    encoding_ = Encoding::kUtf16Le;
    raw_start_ = 2;
  } else if (raw_len_ >= 2 && b[0] == 0xFE && b[1] == 0xFF) {
    encoding_ = Encoding::kUtf16Be;
    raw_start_ = 2;
  } else if (raw_len_ >= 2 && b[0] == '<' && b[1] == 0) {
    encoding_ = Encoding::kUtf16Le;
  } else if (raw_len_ >= 2 && b[0] == 0 && b[1] == '<') {
    encoding_ = Encoding::kUtf16Be;
  } else {
    encoding_ = Encoding::kUtf8;
  }
}

void XmlTokenizer::Chars::DecodeUtf16() {
  const bool le = encoding_ == Encoding::kUtf16Le;
  auto put = [&](uint32_t cp) {
    if (cp < 0x80) {
      out_ += char(cp);
    } else if (cp < 0x800) {
      out_ += char(0xC0 | cp >> 6);
      out_ += char(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
      out_ += char(0xE0 | cp >> 12);
      out_ += char(0x80 | (cp >> 6 & 0x3F));
      out_ += char(0x80 | (cp & 0x3F));
    } else {
      out_ += char(0xF0 | cp >> 18);
      out_ += char(0x80 | (cp >> 12 & 0x3F));
      out_ += char(0x80 | (cp >> 6 & 0x3F));
      out_ += char(0x80 | (cp & 0x3F));
    }
  };
  for (; raw_start_ + 1 < raw_len_; raw_start_ += 2) {
    const uint8_t* p = raw_.data() + raw_start_;
    const uint32_t unit = le ? uint32_t(p[0] | p[1] << 8) : uint32_t(p[0] << 8 | p[1]);
    if (high_surrogate_) {
      if (unit < 0xDC00 || unit > 0xDFFF) {
        error_ = Status::Corruption("unpaired UTF-16 surrogate");
        return;
      }
      put(0x10000 + ((high_surrogate_ - 0xD800) << 10) + (unit - 0xDC00));
      high_surrogate_ = 0;
    } else if (unit >= 0xD800 && unit <= 0xDBFF) {
      high_surrogate_ = unit;
    } else if (unit >= 0xDC00 && unit <= 0xDFFF) {
      error_ = Status::Corruption("unpaired UTF-16 surrogate");
      return;
    } else {
      put(unit);
    }
  }
}

// ---------------------------------------------------------------------------------------

const std::string* XmlToken::Find(std::string_view attr_name) const {
  for (size_t i = 0; i < attribute_count; ++i) {
    if (attributes[i].name == attr_name) return &attributes[i].value;
  }
  return nullptr;
}

XmlTokenizer::XmlTokenizer(ByteInput& in, std::string source_name)
    : chars_(std::make_unique<Chars>(in)), source_name_(std::move(source_name)) {}

XmlTokenizer::~XmlTokenizer() = default;

bool XmlTokenizer::utf16le_input() const {
  return chars_->utf16le();
}

Status XmlTokenizer::ErrorAt(int line, int column, const std::string& message) const {
  return Status::Corruption(source_name_ + ": line " + std::to_string(line) + ", column " +
                            std::to_string(column) + ": " + message);
}

Status XmlTokenizer::Error(const std::string& message) const {
  if (!chars_->error().ok()) {
    return ErrorAt(chars_->line, chars_->column, chars_->error().message());
  }
  return ErrorAt(chars_->line, chars_->column, message);
}

namespace {

constexpr bool IsBlank(int c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

constexpr bool EndsName(int c) {
  return c < 0 || IsBlank(c) || c == '/' || c == '>' || c == '=' || c == '<' || c == '\'' ||
         c == '"' || c == '?';
}

// ASCII bytes that the fast runs take: every byte but '\n' (lines are counted one by one)
// and those the loop itself must see.
struct PlainBytes {
  bool name[128] = {};
  bool in_quote[128] = {};
  bool in_apostrophe[128] = {};
  constexpr PlainBytes() {
    for (int c = 0; c < 128; ++c) {
      name[c] = !EndsName(c) && c != '\n';
      const bool value = c != '&' && c != '<' && c != '\n';
      in_quote[c] = value && c != '"';
      in_apostrophe[c] = value && c != '\'';
    }
  }
};
constexpr PlainBytes kPlain;

void AppendUtf8(std::string& out, uint32_t cp) {
  if (cp < 0x80) {
    out += char(cp);
  } else if (cp < 0x800) {
    out += char(0xC0 | cp >> 6);
    out += char(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    out += char(0xE0 | cp >> 12);
    out += char(0x80 | (cp >> 6 & 0x3F));
    out += char(0x80 | (cp & 0x3F));
  } else {
    out += char(0xF0 | cp >> 18);
    out += char(0x80 | (cp >> 12 & 0x3F));
    out += char(0x80 | (cp >> 6 & 0x3F));
    out += char(0x80 | (cp & 0x3F));
  }
}

}  // namespace

Status XmlTokenizer::SkipBlank() {
  chars_->SkipBlanks();
  if (chars_->Peek() == -2) return Error("");
  return Status::Ok();
}

Status XmlTokenizer::SkipUntil(std::string_view terminator) {
  size_t matched = 0;
  for (;;) {
    const int c = chars_->Get();
    if (c < 0) return Error("input ends inside a comment or processing instruction");
    if (c == static_cast<unsigned char>(terminator[matched])) {
      if (++matched == terminator.size()) return Status::Ok();
    } else {
      matched = c == static_cast<unsigned char>(terminator[0]) ? 1 : 0;
    }
  }
}

Status XmlTokenizer::ReadName(std::string& out) {
  out.clear();
  for (;;) {
    chars_->TakeRun(kPlain.name, true, &out, kMaxName - out.size());
    if (EndsName(chars_->Peek())) break;
    if (out.size() >= kMaxName) return Error("name longer than " + std::to_string(kMaxName));
    out += char(chars_->Get());
  }
  if (chars_->Peek() == -2) return Error("");
  if (out.empty()) return Error("a name was expected");
  return Status::Ok();
}

Status XmlTokenizer::ReadReference(std::string& out) {
  std::string ref;
  for (;;) {
    const int c = chars_->Get();
    if (c < 0) return Error("input ends inside a character reference");
    if (c == ';') break;
    if (ref.size() >= 12) return Error("character reference too long");
    ref += char(c);
  }
  static constexpr std::pair<std::string_view, char> kNamed[] = {
      {"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"apos", '\''}, {"quot", '"'}};
  for (const auto& [name, ch] : kNamed) {
    if (ref == name) {
      out += ch;
      return Status::Ok();
    }
  }
  if (ref.size() < 2 || ref[0] != '#') return Error("unknown entity &" + ref + ";");
  const bool hex = ref[1] == 'x' || ref[1] == 'X';
  const size_t start = hex ? 2 : 1;
  if (start >= ref.size()) return Error("empty character reference");
  uint32_t cp = 0;
  for (size_t i = start; i < ref.size(); ++i) {
    const char c = ref[i];
    int d = -1;
    if (c >= '0' && c <= '9')
      d = c - '0';
    else if (hex && c >= 'a' && c <= 'f')
      d = c - 'a' + 10;
    else if (hex && c >= 'A' && c <= 'F')
      d = c - 'A' + 10;
    if (d < 0) return Error("bad character reference &" + ref + ";");
    cp = cp * (hex ? 16 : 10) + uint32_t(d);
    if (cp > 0x10FFFF) return Error("character reference out of range &" + ref + ";");
  }
  if (cp >= 0xD800 && cp <= 0xDFFF) return Error("surrogate character reference &" + ref + ";");
  AppendUtf8(out, cp);
  return Status::Ok();
}

Status XmlTokenizer::ReadValue(std::string& out) {
  out.clear();
  const int quote = chars_->Get();
  if (quote != '\'' && quote != '"') return Error("a quoted attribute value was expected");
  const bool(&plain)[128] = quote == '"' ? kPlain.in_quote : kPlain.in_apostrophe;
  for (;;) {
    chars_->TakeRun(plain, true, &out, kMaxValue - out.size());
    const int c = chars_->Get();
    if (c == quote) return Status::Ok();
    if (c < 0) return Error("input ends inside an attribute value");
    if (c == '<') return Error("'<' inside an attribute value");
    if (out.size() >= kMaxValue) return Error("attribute value too long");
    if (c == '&') {
      PX_RETURN_IF_ERROR(ReadReference(out));
    } else {
      out += char(c);
    }
  }
}

Status XmlTokenizer::ReadTag(XmlToken& t) {
  t.attribute_count = 0;
  t.self_closing = false;
  if (chars_->Peek() == '/') {
    chars_->Get();
    t.kind = XmlToken::kEnd;
    PX_RETURN_IF_ERROR(ReadName(t.name));
    PX_RETURN_IF_ERROR(SkipBlank());
    if (chars_->Get() != '>') return Error("'>' expected after </" + t.name);
    return Status::Ok();
  }
  t.kind = XmlToken::kStart;
  PX_RETURN_IF_ERROR(ReadName(t.name));
  for (;;) {
    PX_RETURN_IF_ERROR(SkipBlank());
    const int c = chars_->Peek();
    if (c == '>') {
      chars_->Get();
      return Status::Ok();
    }
    if (c == '/') {
      chars_->Get();
      if (chars_->Get() != '>') return Error("'>' expected after '/' in <" + t.name);
      t.self_closing = true;
      return Status::Ok();
    }
    if (c < 0) return Error("input ends inside the tag <" + t.name);
    if (t.attribute_count >= kMaxAttributes) return Error("too many attributes in <" + t.name);
    if (t.attribute_count == t.attributes.size()) t.attributes.emplace_back();
    XmlAttribute& a = t.attributes[t.attribute_count];
    PX_RETURN_IF_ERROR(ReadName(a.name));
    PX_RETURN_IF_ERROR(SkipBlank());
    if (chars_->Get() != '=') return Error("'=' expected after attribute " + a.name);
    PX_RETURN_IF_ERROR(SkipBlank());
    PX_RETURN_IF_ERROR(ReadValue(a.value));
    ++t.attribute_count;
  }
}

Status XmlTokenizer::Next(XmlToken& t) {
  for (;;) {
    PX_RETURN_IF_ERROR(SkipBlank());
    t.line = chars_->line;
    t.column = chars_->column;
    const int c = chars_->Get();
    if (c == -1) {
      t.kind = XmlToken::kEof;
      return Status::Ok();
    }
    if (c == -2) return Error("");
    if (c != '<') return ErrorAt(t.line, t.column, "text outside a tag");
    const int n = chars_->Peek();
    if (n == '?') {
      PX_RETURN_IF_ERROR(SkipUntil("?>"));
      continue;
    }
    if (n == '!') {
      chars_->Get();
      if (chars_->Get() != '-' || chars_->Get() != '-') return Error("unsupported markup <!");
      PX_RETURN_IF_ERROR(SkipUntil("-->"));
      continue;
    }
    return ReadTag(t);
  }
}

Status XmlTokenizer::Skim(XmlToken& t) {
  t.attribute_count = 0;
  t.self_closing = false;
  for (;;) {
    const std::string_view b = chars_->Buffered();
    if (b.empty()) {
      if (!chars_->error().ok()) return Error("");
      t.kind = XmlToken::kEof;
      return Status::Ok();
    }
    const auto* lt = static_cast<const char*>(std::memchr(b.data(), '<', b.size()));
    if (lt == nullptr) {
      chars_->Pass(b.size());
      continue;
    }
    chars_->Pass(size_t(lt - b.data()) + 1);
    const int n = chars_->Peek();
    if (n == '?') {
      PX_RETURN_IF_ERROR(SkipUntil("?>"));
    } else if (n == '!') {
      PX_RETURN_IF_ERROR(SkipUntil("-->"));
    } else {
      break;
    }
  }
  t.kind = XmlToken::kStart;
  if (chars_->Peek() == '/') {
    chars_->Pass(1);
    t.kind = XmlToken::kEnd;
  }
  t.name.clear();
  for (std::string_view b; !(b = chars_->Buffered()).empty();) {
    size_t i = 0;
    while (i < b.size() && !EndsName(static_cast<unsigned char>(b[i]))) ++i;
    if (t.name.size() < kMaxName) t.name.append(b.substr(0, std::min(i, kMaxName)));
    chars_->Pass(i);
    if (i < b.size()) break;
  }
  // The tag ends at the last '>' before the next '<'; "/>" closes it.
  char last = 0, before_last = 0;
  for (std::string_view b; !(b = chars_->Buffered()).empty();) {
    const auto* lt = static_cast<const char*>(std::memchr(b.data(), '<', b.size()));
    const size_t n = lt ? size_t(lt - b.data()) : b.size();
    int found = 0;
    for (size_t i = n; i-- > 0 && found < 2;) {
      if (IsBlank(b[i])) continue;
      if (found++ == 0) {
        before_last = last;
        last = b[i];
      } else {
        before_last = b[i];
      }
    }
    chars_->Pass(n);
    if (lt) break;
  }
  if (!chars_->error().ok()) return Error("");
  t.self_closing = t.kind == XmlToken::kStart && last == '>' && before_last == '/';
  return Status::Ok();
}

}  // namespace px::xbf
