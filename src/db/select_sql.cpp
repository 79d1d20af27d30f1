#include "db/select_sql.h"

#include <cctype>

namespace px::db {
namespace {

enum class TokenKind { kWord, kQuoted, kNumber, kSymbol, kEnd };

struct Token {
  TokenKind kind = TokenKind::kEnd;
  std::string text;
  bool bracketed = false;
};

bool IsWordByte(unsigned char c) {
  // Bytes >= 0x80 belong to UTF-8 letters (Turkish column names).
  return std::isalnum(c) || c == '_' || c >= 0x80;
}

bool EqualsIgnoreCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (std::toupper(static_cast<unsigned char>(a[i])) !=
        std::toupper(static_cast<unsigned char>(b[i]))) {
      return false;
    }
  }
  return true;
}

class Lexer {
 public:
  explicit Lexer(std::string_view sql) : sql_(sql) {}

  Result<Token> Next() {
    while (pos_ < sql_.size() && std::isspace(static_cast<unsigned char>(sql_[pos_]))) ++pos_;
    Token t;
    if (pos_ >= sql_.size()) return t;
    const unsigned char c = static_cast<unsigned char>(sql_[pos_]);
    if (c == '\'') return Quoted();
    if (c == '[') return Bracketed();
    if (std::isdigit(c) || ((c == '-' || c == '.') && pos_ + 1 < sql_.size() &&
                            std::isdigit(static_cast<unsigned char>(sql_[pos_ + 1])))) {
      size_t start = pos_++;
      while (pos_ < sql_.size() &&
             (std::isdigit(static_cast<unsigned char>(sql_[pos_])) || sql_[pos_] == '.')) {
        ++pos_;
      }
      t.kind = TokenKind::kNumber;
      t.text = std::string(sql_.substr(start, pos_ - start));
      return t;
    }
    if (IsWordByte(c)) {
      size_t start = pos_;
      while (pos_ < sql_.size() && IsWordByte(static_cast<unsigned char>(sql_[pos_]))) ++pos_;
      t.kind = TokenKind::kWord;
      t.text = std::string(sql_.substr(start, pos_ - start));
      return t;
    }
    if (c == '*' || c == ',' || c == '=') {
      ++pos_;
      t.kind = TokenKind::kSymbol;
      t.text = std::string(1, static_cast<char>(c));
      return t;
    }
    return Error("unexpected character '" + std::string(1, static_cast<char>(c)) + "'");
  }

  Status Error(const std::string& what) const {
    return Status::NotSupported("SQL \"" + std::string(sql_) + "\" at position " +
                                std::to_string(pos_ + 1) + ": " + what);
  }

 private:
  Result<Token> Quoted() {
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

  Result<Token> Bracketed() {
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

  std::string_view sql_;
  size_t pos_ = 0;
};

class Parser {
 public:
  explicit Parser(std::string_view sql) : lexer_(sql) {}

  Result<SelectStatement> Parse() {
    PX_RETURN_IF_ERROR(Advance());
    PX_RETURN_IF_ERROR(ExpectKeyword("SELECT"));
    SelectStatement st;
    if (IsSymbol("*")) {
      PX_RETURN_IF_ERROR(Advance());
    } else {
      PX_RETURN_IF_ERROR(IdentifierList(st.columns));
    }
    PX_RETURN_IF_ERROR(ExpectKeyword("FROM"));
    PX_ASSIGN_OR_RETURN(st.table, Identifier());
    if (IsKeyword("WHERE")) {
      PX_RETURN_IF_ERROR(Advance());
      PX_RETURN_IF_ERROR(Conditions(st.where));
    }
    if (IsKeyword("ORDER")) {
      PX_RETURN_IF_ERROR(Advance());
      PX_RETURN_IF_ERROR(ExpectKeyword("BY"));
      PX_RETURN_IF_ERROR(OrderKeys(st.order_by));
    }
    if (current_.kind != TokenKind::kEnd) return lexer_.Error("unexpected '" + current_.text + "'");
    return st;
  }

 private:
  Status Advance() {
    PX_ASSIGN_OR_RETURN(current_, lexer_.Next());
    return Status::Ok();
  }

  bool IsKeyword(std::string_view word) const {
    return current_.kind == TokenKind::kWord && !current_.bracketed &&
           EqualsIgnoreCase(current_.text, word);
  }
  bool IsSymbol(std::string_view s) const {
    return current_.kind == TokenKind::kSymbol && current_.text == s;
  }

  Status ExpectKeyword(std::string_view word) {
    if (!IsKeyword(word)) return lexer_.Error("expected " + std::string(word));
    return Advance();
  }

  Result<std::string> Identifier() {
    if (current_.kind != TokenKind::kWord || (!current_.bracketed && IsReserved())) {
      return lexer_.Error("expected a name");
    }
    std::string name = current_.text;
    PX_RETURN_IF_ERROR(Advance());
    return name;
  }

  bool IsReserved() const {
    for (const char* w : {"SELECT", "FROM", "WHERE", "AND", "OR", "ORDER", "BY", "NOT", "LIKE"}) {
      if (EqualsIgnoreCase(current_.text, w)) return true;
    }
    return false;
  }

  Status IdentifierList(std::vector<std::string>& out) {
    while (true) {
      PX_ASSIGN_OR_RETURN(std::string name, Identifier());
      out.push_back(std::move(name));
      if (!IsSymbol(",")) return Status::Ok();
      PX_RETURN_IF_ERROR(Advance());
    }
  }

  Status Conditions(std::vector<EqualsCondition>& out) {
    while (true) {
      EqualsCondition cond;
      PX_ASSIGN_OR_RETURN(cond.column, Identifier());
      if (!IsSymbol("=")) return lexer_.Error("only column = value conditions are supported");
      PX_RETURN_IF_ERROR(Advance());
      if (current_.kind != TokenKind::kQuoted && current_.kind != TokenKind::kNumber) {
        return lexer_.Error("expected a literal");
      }
      cond.quoted = current_.kind == TokenKind::kQuoted;
      cond.literal = current_.text;
      PX_RETURN_IF_ERROR(Advance());
      out.push_back(std::move(cond));
      if (!IsKeyword("AND")) return Status::Ok();
      PX_RETURN_IF_ERROR(Advance());
    }
  }

  Status OrderKeys(std::vector<OrderKey>& out) {
    while (true) {
      OrderKey key;
      PX_ASSIGN_OR_RETURN(key.column, Identifier());
      if (IsKeyword("ASC") || IsKeyword("DESC")) {
        key.descending = IsKeyword("DESC");
        PX_RETURN_IF_ERROR(Advance());
      }
      out.push_back(std::move(key));
      if (!IsSymbol(",")) return Status::Ok();
      PX_RETURN_IF_ERROR(Advance());
    }
  }

  Lexer lexer_;
  Token current_;
};

}  // namespace

Result<SelectStatement> ParseSelect(std::string_view sql) {
  return Parser(sql).Parse();
}

}  // namespace px::db
