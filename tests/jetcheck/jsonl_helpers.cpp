#include "jetcheck/jsonl_helpers.h"

#include "platform/codepage.h"

#include <cstdint>
#include <cstdio>

namespace px::jetcheck {
namespace {

class Parser {
 public:
  explicit Parser(std::string_view text) : text_(text) {}

  std::optional<JsonObject> Object(std::string* error) {
    JsonObject object;
    SkipSpace();
    if (!Eat('{')) return Fail(error, "expected '{'");
    SkipSpace();
    if (Eat('}')) return Finish(std::move(object), error);
    for (;;) {
      SkipSpace();
      std::string key;
      if (!String(key)) return Fail(error, "expected a key string");
      SkipSpace();
      if (!Eat(':')) return Fail(error, "expected ':'");
      SkipSpace();
      JsonScalar value;
      if (!Scalar(value)) return Fail(error, "expected a scalar value");
      object.emplace_back(std::move(key), std::move(value));
      SkipSpace();
      if (Eat(',')) continue;
      if (Eat('}')) return Finish(std::move(object), error);
      return Fail(error, "expected ',' or '}'");
    }
  }

 private:
  std::optional<JsonObject> Finish(JsonObject object, std::string* error) {
    SkipSpace();
    if (pos_ != text_.size()) return Fail(error, "text after the object");
    return object;
  }

  std::optional<JsonObject> Fail(std::string* error, const char* what) {
    if (error != nullptr) *error = std::string(what) + " at offset " + std::to_string(pos_);
    return std::nullopt;
  }

  void SkipSpace() {
    while (pos_ < text_.size() && (text_[pos_] == ' ' || text_[pos_] == '\t' ||
                                   text_[pos_] == '\r' || text_[pos_] == '\n')) {
      ++pos_;
    }
  }

  bool Eat(char c) {
    if (pos_ < text_.size() && text_[pos_] == c) {
      ++pos_;
      return true;
    }
    return false;
  }

  bool Word(std::string_view w) {
    if (text_.substr(pos_, w.size()) != w) return false;
    pos_ += w.size();
    return true;
  }

  bool Scalar(JsonScalar& v) {
    if (pos_ >= text_.size()) return false;
    char c = text_[pos_];
    if (c == '"') {
      v.kind = JsonScalar::Kind::kString;
      return String(v.text);
    }
    if (Word("null")) {
      v = {JsonScalar::Kind::kNull, "null"};
      return true;
    }
    if (Word("true")) {
      v = {JsonScalar::Kind::kBool, "true"};
      return true;
    }
    if (Word("false")) {
      v = {JsonScalar::Kind::kBool, "false"};
      return true;
    }
    return Number(v);
  }

  bool Number(JsonScalar& v) {
    std::size_t begin = pos_;
    auto digits = [&] {
      std::size_t d = pos_;
      while (pos_ < text_.size() && text_[pos_] >= '0' && text_[pos_] <= '9') ++pos_;
      return pos_ > d;
    };
    Eat('-');
    if (!digits()) return false;
    if (Eat('.') && !digits()) return false;
    if (pos_ < text_.size() && (text_[pos_] == 'e' || text_[pos_] == 'E')) {
      ++pos_;
      if (!Eat('+')) Eat('-');
      if (!digits()) return false;
    }
    v = {JsonScalar::Kind::kNumber, std::string(text_.substr(begin, pos_ - begin))};
    return true;
  }

  bool Hex4(uint32_t& out) {
    if (pos_ + 4 > text_.size()) return false;
    out = 0;
    for (int i = 0; i < 4; ++i) {
      char c = text_[pos_++];
      out <<= 4;
      if (c >= '0' && c <= '9') {
        out |= uint32_t(c - '0');
      } else if (c >= 'a' && c <= 'f') {
        out |= uint32_t(c - 'a' + 10);
      } else if (c >= 'A' && c <= 'F') {
        out |= uint32_t(c - 'A' + 10);
      } else {
        return false;
      }
    }
    return true;
  }

  bool Escape(std::string& out) {
    if (pos_ >= text_.size()) return false;
    char c = text_[pos_++];
    switch (c) {
      case '"':
        out += '"';
        return true;
      case '\\':
        out += '\\';
        return true;
      case '/':
        out += '/';
        return true;
      case 'b':
        out += '\b';
        return true;
      case 'f':
        out += '\f';
        return true;
      case 'n':
        out += '\n';
        return true;
      case 'r':
        out += '\r';
        return true;
      case 't':
        out += '\t';
        return true;
      case 'u':
        break;
      default:
        return false;
    }
    uint32_t cp = 0;
    if (!Hex4(cp)) return false;
    if (cp >= 0xD800 && cp < 0xDC00 && text_.substr(pos_, 2) == "\\u") {
      std::size_t save = pos_;
      pos_ += 2;
      uint32_t low = 0;
      if (Hex4(low) && low >= 0xDC00 && low < 0xE000) {
        cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
      } else {
        pos_ = save;
      }
    }
    AppendUtf8CodePoint(out, cp);
    return true;
  }

  bool String(std::string& out) {
    if (!Eat('"')) return false;
    out.clear();
    while (pos_ < text_.size()) {
      char c = text_[pos_++];
      if (c == '"') return true;
      if (c == '\\') {
        if (!Escape(out)) return false;
      } else {
        out += c;
      }
    }
    return false;
  }

  std::string_view text_;
  std::size_t pos_ = 0;
};

}  // namespace

std::string JsonScalar::ToJson() const {
  if (kind != Kind::kString) return text;
  std::string out = "\"";
  for (unsigned char c : text) {
    if (c == '"' || c == '\\') {
      out += '\\';
      out += char(c);
    } else if (c < 0x20) {
      char buf[8];
      std::snprintf(buf, sizeof buf, "\\u%04x", c);
      out += buf;
    } else {
      out += char(c);
    }
  }
  return out + "\"";
}

std::optional<JsonObject> ParseJsonObject(std::string_view line, std::string* error) {
  return Parser(line).Object(error);
}

const JsonScalar* FindKey(const JsonObject& object, std::string_view key) {
  for (const auto& [k, v] : object) {
    if (k == key) return &v;
  }
  return nullptr;
}

}  // namespace px::jetcheck
