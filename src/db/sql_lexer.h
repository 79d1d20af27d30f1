#pragma once
// Tokens of the suite's SQL text, shared by the SELECT and the change statements: words
// (keywords and names, [bracketed names] included), 'quoted text' with '' for an
// apostrophe, numbers (digits, a point, an optional exponent, a leading minus), and the
// symbols * , = ( ) +. Errors quote the whole statement and give the position.

#include <string>
#include <string_view>

#include "core/result.h"

namespace px::db {

enum class TokenKind { kWord, kQuoted, kNumber, kSymbol, kEnd };

struct Token {
  TokenKind kind = TokenKind::kEnd;
  std::string text;
  bool bracketed = false;
};

class SqlLexer {
 public:
  explicit SqlLexer(std::string_view sql) : sql_(sql) {}

  Result<Token> Next();

  // NotSupported: SQL "<statement>" at position <n>: <what>, where <n> is where the token
  // read last begins (1-based).
  Status Error(const std::string& what) const;

 private:
  Result<Token> Quoted();
  Result<Token> Bracketed();
  Token Number();

  std::string_view sql_;
  size_t pos_ = 0;
  size_t start_ = 0;
};

// Reads tokens one ahead for a recursive-descent parser.
class TokenCursor {
 public:
  explicit TokenCursor(std::string_view sql) : lexer_(sql) {}

  const Token& current() const { return current_; }
  Status Advance();

  // A keyword is an unbracketed word, compared without regard to case.
  bool IsKeyword(std::string_view word) const;
  bool IsSymbol(std::string_view symbol) const;
  bool AtEnd() const { return current_.kind == TokenKind::kEnd; }
  Status ExpectKeyword(std::string_view word);
  Status ExpectSymbol(std::string_view symbol);
  // The text or number literal at the cursor (quotes removed), then advances past it;
  // `what` is the error when something else stands there.
  Status TakeLiteral(std::string& text, bool& quoted, const std::string& what);

  Status Error(const std::string& what) const { return lexer_.Error(what); }

 private:
  SqlLexer lexer_;
  Token current_;
};

}  // namespace px::db
