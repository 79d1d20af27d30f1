#include "db/sql_lexer.h"

#include <cctype>

#include "platform/text_case.h"

namespace px::db {
namespace {

bool IsDigit(char c) {
  return std::isdigit(static_cast<unsigned char>(c)) != 0;
}

bool IsWordByte(unsigned char c) {
  // Bytes >= 0x80 belong to UTF-8 letters (Turkish column names).
  return std::isalnum(c) || c == '_' || c >= 0x80;
}

}  // namespace

Result<Token> SqlLexer::Next() {
  while (pos_ < sql_.size() && std::isspace(static_cast<unsigned char>(sql_[pos_]))) ++pos_;
  start_ = pos_;
  Token t;
  if (pos_ >= sql_.size()) return t;
  const unsigned char c = static_cast<unsigned char>(sql_[pos_]);
  if (c == '\'') return Quoted();
  if (c == '[') return Bracketed();
  const bool signed_number =
      (c == '-' || c == '.') && pos_ + 1 < sql_.size() &&
      (IsDigit(sql_[pos_ + 1]) ||
       (c == '-' && sql_[pos_ + 1] == '.' && pos_ + 2 < sql_.size() && IsDigit(sql_[pos_ + 2])));
  if (IsDigit(static_cast<char>(c)) || signed_number) return Number();
  if (IsWordByte(c)) {
    size_t start = pos_;
    while (pos_ < sql_.size() && IsWordByte(static_cast<unsigned char>(sql_[pos_]))) ++pos_;
    t.kind = TokenKind::kWord;
    t.text = std::string(sql_.substr(start, pos_ - start));
    return t;
  }
  if (c == '*' || c == ',' || c == '=' || c == '(' || c == ')' || c == '+') {
    ++pos_;
    t.kind = TokenKind::kSymbol;
    t.text = std::string(1, static_cast<char>(c));
    return t;
  }
  return Error("unexpected character '" + std::string(1, static_cast<char>(c)) + "'");
}

Status SqlLexer::Error(const std::string& what) const {
  return Status::NotSupported("SQL \"" + std::string(sql_) + "\" at position " +
                              std::to_string(start_ + 1) + ": " + what);
}

Token SqlLexer::Number() {
  const size_t start = pos_;
  if (sql_[pos_] == '-') ++pos_;
  while (pos_ < sql_.size() && (IsDigit(sql_[pos_]) || sql_[pos_] == '.')) ++pos_;
  // An exponent only when digits follow: "1e5", "2.5E-3".
  if (pos_ < sql_.size() && (sql_[pos_] == 'e' || sql_[pos_] == 'E')) {
    size_t at = pos_ + 1;
    if (at < sql_.size() && (sql_[at] == '+' || sql_[at] == '-')) ++at;
    if (at < sql_.size() && IsDigit(sql_[at])) {
      pos_ = at;
      while (pos_ < sql_.size() && IsDigit(sql_[pos_])) ++pos_;
    }
  }
  Token t;
  t.kind = TokenKind::kNumber;
  t.text = std::string(sql_.substr(start, pos_ - start));
  return t;
}

Result<Token> SqlLexer::Quoted() {
  Token t;
  t.kind = TokenKind::kQuoted;
  ++pos_;
  while (true) {
    if (pos_ >= sql_.size()) return Error("unterminated text literal");
    if (sql_[pos_] == '\'') {
      if (pos_ + 1 < sql_.size() && sql_[pos_ + 1] == '\'') {
        t.text += '\'';
        pos_ += 2;
        continue;
      }
      ++pos_;
      return t;
    }
    t.text += sql_[pos_++];
  }
}

Result<Token> SqlLexer::Bracketed() {
  Token t;
  t.kind = TokenKind::kWord;
  t.bracketed = true;
  size_t close = sql_.find(']', pos_);
  if (close == std::string_view::npos) return Error("unterminated [name]");
  t.text = std::string(sql_.substr(pos_ + 1, close - pos_ - 1));
  if (t.text.empty()) return Error("empty [name]");
  pos_ = close + 1;
  return t;
}

Status TokenCursor::Advance() {
  PX_ASSIGN_OR_RETURN(current_, lexer_.Next());
  return Status::Ok();
}

bool TokenCursor::IsKeyword(std::string_view word) const {
  return current_.kind == TokenKind::kWord && !current_.bracketed &&
         EqualsIgnoreCase(current_.text, word);
}

bool TokenCursor::IsSymbol(std::string_view symbol) const {
  return current_.kind == TokenKind::kSymbol && current_.text == symbol;
}

Status TokenCursor::ExpectKeyword(std::string_view word) {
  if (!IsKeyword(word)) return Error("expected " + std::string(word));
  return Advance();
}

Status TokenCursor::ExpectSymbol(std::string_view symbol) {
  if (!IsSymbol(symbol)) return Error("expected '" + std::string(symbol) + "'");
  return Advance();
}

Status TokenCursor::TakeLiteral(std::string& text, bool& quoted, const std::string& what) {
  if (current_.kind != TokenKind::kQuoted && current_.kind != TokenKind::kNumber) {
    return Error(what);
  }
  quoted = current_.kind == TokenKind::kQuoted;
  text = current_.text;
  return Advance();
}

}  // namespace px::db
