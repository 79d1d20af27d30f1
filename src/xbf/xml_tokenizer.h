#pragma once
// A small streaming tokenizer for the XML that ADO writes. It is not a general XML parser:
// attribute values come back exactly as written (raw TAB, CR, LF and other control
// characters included, character references decoded), which a conforming parser would not
// allow. Input may be UTF-8 (with or without BOM) or UTF-16 LE/BE with BOM; tokens are UTF-8.
// Comments and processing instructions are skipped; text between tags must be blank.

#include <memory>
#include <string>
#include <vector>

#include "core/status.h"
#include "xbf/byte_stream.h"

namespace px::xbf {

struct XmlAttribute {
  std::string name;
  std::string value;
};

struct XmlToken {
  enum Kind { kStart, kEnd, kEof };
  Kind kind = kEof;
  std::string name;
  std::vector<XmlAttribute> attributes;  // only the first `attribute_count` are in use
  size_t attribute_count = 0;
  bool self_closing = false;  // "<x .../>"
  int line = 0, column = 0;   // where the token starts (1-based)

  const std::string* Find(std::string_view attr_name) const;
};

class XmlTokenizer {
 public:
  // `in` must outlive the tokenizer; `source_name` prefixes every error message.
  XmlTokenizer(ByteInput& in, std::string source_name);
  ~XmlTokenizer();

  // The next tag, or kEof at the end of the input. Errors say where (line and column).
  Status Next(XmlToken& token);
  // The next tag's kind and name, found by a byte search: attributes are passed over unread
  // and unchecked, and so is anything between tags. `self_closing` is right when the next
  // tag follows this one after blanks only, as in any file Next() reads. Once Skim() has
  // been used, lines and columns are no longer counted and only Skim() may follow.
  Status Skim(XmlToken& token);
  // True when the input is UTF-16 little-endian (known once the first token was read).
  bool utf16le_input() const;
  // An error at the current position or at a token's position.
  Status ErrorAt(int line, int column, const std::string& message) const;

  // Limits that keep a hostile file from exhausting memory.
  static constexpr size_t kMaxName = 4096;
  static constexpr size_t kMaxAttributes = 100000;
  static constexpr size_t kMaxValue = size_t(1) << 30;

 private:
  class Chars;
  Status Error(const std::string& message) const;
  Status ReadTag(XmlToken& token);
  Status ReadName(std::string& out);
  Status ReadValue(std::string& out);
  Status ReadReference(std::string& out);
  Status SkipUntil(std::string_view terminator);
  Status SkipBlank();

  std::unique_ptr<Chars> chars_;
  std::string source_name_;
};

}  // namespace px::xbf
