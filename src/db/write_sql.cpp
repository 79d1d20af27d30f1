#include "db/write_sql.h"

#include "db/sql_lexer.h"
#include "platform/text_case.h"

namespace px::db {
namespace {

bool IsReserved(std::string_view word) {
  for (const char* w : {"SELECT", "FROM", "WHERE", "AND", "OR", "NOT", "INTO", "VALUES", "SET",
                        "UPDATE", "DELETE", "INSERT", "NULL", "CAST", "AS", "LIKE"}) {
    if (EqualsIgnoreCase(word, w)) return true;
  }
  return false;
}

class Parser {
 public:
  explicit Parser(std::string_view sql) : in_(sql) {}

  Result<WriteStatement> Parse() {
    PX_RETURN_IF_ERROR(in_.Advance());
    WriteStatement st;
    if (in_.IsKeyword("DELETE")) {
      PX_ASSIGN_OR_RETURN(st, Delete());
    } else if (in_.IsKeyword("INSERT")) {
      PX_ASSIGN_OR_RETURN(st, Insert());
    } else if (in_.IsKeyword("UPDATE")) {
      PX_ASSIGN_OR_RETURN(st, Update());
    } else {
      return in_.Error("only DELETE FROM, INSERT INTO and UPDATE statements are supported");
    }
    if (!in_.AtEnd()) return in_.Error("unexpected '" + in_.current().text + "'");
    return st;
  }

 private:
  Result<WriteStatement> Delete() {
    PX_RETURN_IF_ERROR(in_.Advance());
    PX_RETURN_IF_ERROR(in_.ExpectKeyword("FROM"));
    DeleteStatement st;
    PX_ASSIGN_OR_RETURN(st.table, Name());
    if (in_.IsKeyword("WHERE"))
      return in_.Error("DELETE deletes every row: WHERE is not supported");
    return WriteStatement(std::move(st));
  }

  Result<WriteStatement> Insert() {
    PX_RETURN_IF_ERROR(in_.Advance());
    PX_RETURN_IF_ERROR(in_.ExpectKeyword("INTO"));
    InsertStatement st;
    PX_ASSIGN_OR_RETURN(st.table, Name());
    PX_RETURN_IF_ERROR(in_.ExpectSymbol("("));
    while (true) {
      PX_ASSIGN_OR_RETURN(std::string column, Name());
      for (const std::string& seen : st.columns) {
        if (EqualsIgnoreCase(seen, column)) return in_.Error("column " + column + " named twice");
      }
      st.columns.push_back(std::move(column));
      if (!in_.IsSymbol(",")) break;
      PX_RETURN_IF_ERROR(in_.Advance());
    }
    PX_RETURN_IF_ERROR(in_.ExpectSymbol(")"));
    PX_RETURN_IF_ERROR(in_.ExpectKeyword("VALUES"));
    PX_RETURN_IF_ERROR(in_.ExpectSymbol("("));
    while (true) {
      if (!IsLiteralStart()) return in_.Error("expected a value (text, number, Null or CAST)");
      PX_ASSIGN_OR_RETURN(SqlExpr value, Term());
      st.values.push_back(std::move(value));
      if (!in_.IsSymbol(",")) break;
      PX_RETURN_IF_ERROR(in_.Advance());
    }
    if (st.values.size() != st.columns.size()) {
      return in_.Error(std::to_string(st.columns.size()) + " columns but " +
                       std::to_string(st.values.size()) + " values");
    }
    PX_RETURN_IF_ERROR(in_.ExpectSymbol(")"));
    return WriteStatement(std::move(st));
  }

  Result<WriteStatement> Update() {
    PX_RETURN_IF_ERROR(in_.Advance());
    UpdateStatement st;
    PX_ASSIGN_OR_RETURN(st.table, Name());
    PX_RETURN_IF_ERROR(in_.ExpectKeyword("SET"));
    while (true) {
      Assignment a;
      PX_ASSIGN_OR_RETURN(a.column, Name());
      for (const Assignment& seen : st.set) {
        if (EqualsIgnoreCase(seen.column, a.column)) {
          return in_.Error("column " + a.column + " set twice");
        }
      }
      PX_RETURN_IF_ERROR(in_.ExpectSymbol("="));
      PX_ASSIGN_OR_RETURN(a.value, Expression());
      st.set.push_back(std::move(a));
      if (!in_.IsSymbol(",")) break;
      PX_RETURN_IF_ERROR(in_.Advance());
    }
    if (in_.IsKeyword("WHERE")) {
      PX_RETURN_IF_ERROR(in_.Advance());
      while (true) {
        PX_ASSIGN_OR_RETURN(WhereCondition c, Condition());
        st.where.push_back(std::move(c));
        if (!in_.IsKeyword("AND")) break;
        PX_RETURN_IF_ERROR(in_.Advance());
      }
    }
    return WriteStatement(std::move(st));
  }

  Result<WhereCondition> Condition() {
    WhereCondition c;
    if (IsFunction()) {
      PX_ASSIGN_OR_RETURN(c.left, Function());
    } else {
      c.left.kind = SqlExpr::Kind::kColumn;
      PX_ASSIGN_OR_RETURN(c.left.text, Name());
    }
    if (!in_.IsSymbol("=")) return in_.Error("only = conditions are supported");
    PX_RETURN_IF_ERROR(in_.Advance());
    PX_RETURN_IF_ERROR(in_.TakeLiteral(c.literal, c.quoted, "expected a text or number after ="));
    return c;
  }

  // term { + term }
  Result<SqlExpr> Expression() {
    PX_ASSIGN_OR_RETURN(SqlExpr left, Term());
    while (in_.IsSymbol("+")) {
      PX_RETURN_IF_ERROR(in_.Advance());
      SqlExpr concat;
      concat.kind = SqlExpr::Kind::kConcat;
      concat.args.push_back(std::move(left));
      PX_ASSIGN_OR_RETURN(SqlExpr right, Term());
      concat.args.push_back(std::move(right));
      left = std::move(concat);
    }
    return left;
  }

  bool IsLiteralStart() const {
    const Token& t = in_.current();
    return t.kind == TokenKind::kQuoted || t.kind == TokenKind::kNumber || in_.IsKeyword("NULL") ||
           in_.IsKeyword("CAST");
  }

  bool IsFunction() const { return in_.IsKeyword("MID") || in_.IsKeyword("SUBSTRING"); }

  Result<SqlExpr> Term() {
    SqlExpr e;
    const Token& t = in_.current();
    if (t.kind == TokenKind::kQuoted || t.kind == TokenKind::kNumber) {
      e.kind = t.kind == TokenKind::kQuoted ? SqlExpr::Kind::kText : SqlExpr::Kind::kNumber;
      e.text = t.text;
      PX_RETURN_IF_ERROR(in_.Advance());
      return e;
    }
    if (in_.IsKeyword("NULL")) {
      PX_RETURN_IF_ERROR(in_.Advance());
      return e;
    }
    if (in_.IsKeyword("CAST")) return Money();
    if (IsFunction()) return Function();
    if (t.kind != TokenKind::kWord) return in_.Error("expected a value or a column");
    e.kind = SqlExpr::Kind::kColumn;
    PX_ASSIGN_OR_RETURN(e.text, Name());
    return e;
  }

  // CAST('1,234.56' AS MONEY)
  Result<SqlExpr> Money() {
    PX_RETURN_IF_ERROR(in_.Advance());
    PX_RETURN_IF_ERROR(in_.ExpectSymbol("("));
    if (in_.current().kind != TokenKind::kQuoted) return in_.Error("CAST takes a quoted number");
    SqlExpr e;
    e.kind = SqlExpr::Kind::kMoney;
    e.text = in_.current().text;
    PX_RETURN_IF_ERROR(in_.Advance());
    PX_RETURN_IF_ERROR(in_.ExpectKeyword("AS"));
    if (!in_.IsKeyword("MONEY")) return in_.Error("only CAST(... AS MONEY) is supported");
    PX_RETURN_IF_ERROR(in_.Advance());
    PX_RETURN_IF_ERROR(in_.ExpectSymbol(")"));
    return e;
  }

  // MID(s, start[, length]); SUBSTRING(s, start, length)
  Result<SqlExpr> Function() {
    const bool substring = in_.IsKeyword("SUBSTRING");
    if (++depth_ > kMaxDepth) return in_.Error("functions nested too deeply");
    PX_RETURN_IF_ERROR(in_.Advance());
    PX_RETURN_IF_ERROR(in_.ExpectSymbol("("));
    SqlExpr e;
    e.kind = SqlExpr::Kind::kMid;
    PX_ASSIGN_OR_RETURN(SqlExpr text, Expression());
    e.args.push_back(std::move(text));
    PX_RETURN_IF_ERROR(in_.ExpectSymbol(","));
    PX_ASSIGN_OR_RETURN(e.start, Position(1));
    if (in_.IsSymbol(",") || substring) {
      PX_RETURN_IF_ERROR(in_.ExpectSymbol(","));
      PX_ASSIGN_OR_RETURN(e.length, Position(0));
    }
    PX_RETURN_IF_ERROR(in_.ExpectSymbol(")"));
    --depth_;
    return e;
  }

  // A whole number of at least `least` (MID's start is 1-based).
  Result<int64_t> Position(int64_t least) {
    const Token& t = in_.current();
    if (t.kind != TokenKind::kNumber) return in_.Error("expected a whole number");
    int64_t v = 0;
    for (char c : t.text) {
      if (c < '0' || c > '9' || v > 100000000) {
        return in_.Error("expected a whole number of at least " + std::to_string(least));
      }
      v = v * 10 + (c - '0');
    }
    if (v < least) return in_.Error("expected a whole number of at least " + std::to_string(least));
    PX_RETURN_IF_ERROR(in_.Advance());
    return v;
  }

  Result<std::string> Name() {
    const Token& t = in_.current();
    if (t.kind != TokenKind::kWord || (!t.bracketed && IsReserved(t.text))) {
      return in_.Error("expected a name");
    }
    std::string name = t.text;
    PX_RETURN_IF_ERROR(in_.Advance());
    return name;
  }

  static constexpr int kMaxDepth = 16;
  TokenCursor in_;
  int depth_ = 0;
};

}  // namespace

Result<WriteStatement> ParseWriteStatement(std::string_view sql) {
  return Parser(sql).Parse();
}

std::string_view LiteralText(const SqlExpr& e, std::string& scratch) {
  if (e.text_of_bound == nullptr || e.bound == nullptr) return e.text;
  e.text_of_bound(*e.bound, scratch);
  return scratch;
}

std::string ExprText(const SqlExpr& e) {
  std::string scratch;
  switch (e.kind) {
    case SqlExpr::Kind::kNull:
      return "Null";
    case SqlExpr::Kind::kText:
      return "'" + std::string(LiteralText(e, scratch)) + "'";
    case SqlExpr::Kind::kNumber:
      return std::string(LiteralText(e, scratch));
    case SqlExpr::Kind::kMoney:
      return "CAST('" + std::string(LiteralText(e, scratch)) + "' AS MONEY)";
    case SqlExpr::Kind::kColumn:
      return e.text;
    case SqlExpr::Kind::kMid: {
      std::string s = "MID(" + ExprText(e.args[0]) + ", " + std::to_string(e.start);
      if (e.length) s += ", " + std::to_string(*e.length);
      return s + ")";
    }
    case SqlExpr::Kind::kConcat:
      return ExprText(e.args[0]) + " + " + ExprText(e.args[1]);
  }
  return {};
}

std::string InsertText(const InsertStatement& st) {
  std::string sql = "INSERT INTO " + st.table + " (";
  for (size_t i = 0; i < st.columns.size(); ++i) {
    if (i > 0) sql += ", ";
    sql += st.columns[i] == "Key" ? "[Key]" : st.columns[i];
  }
  sql += ") Values (";
  for (size_t i = 0; i < st.values.size(); ++i) {
    if (i > 0) sql += ",";
    sql += ExprText(st.values[i]);
  }
  sql += ")";
  return sql;
}

}  // namespace px::db
