#include "db/select_sql.h"

#include "db/sql_lexer.h"
#include "platform/text_case.h"

namespace px::db {
namespace {

class Parser {
 public:
  explicit Parser(std::string_view sql) : in_(sql) {}

  Result<SelectStatement> Parse() {
    PX_RETURN_IF_ERROR(in_.Advance());
    PX_RETURN_IF_ERROR(in_.ExpectKeyword("SELECT"));
    SelectStatement st;
    if (in_.IsSymbol("*")) {
      PX_RETURN_IF_ERROR(in_.Advance());
    } else {
      PX_RETURN_IF_ERROR(IdentifierList(st.columns));
    }
    PX_RETURN_IF_ERROR(in_.ExpectKeyword("FROM"));
    PX_ASSIGN_OR_RETURN(st.table, Identifier());
    if (in_.IsKeyword("WHERE")) {
      PX_RETURN_IF_ERROR(in_.Advance());
      PX_RETURN_IF_ERROR(Conditions(st.where));
    }
    if (in_.IsKeyword("ORDER")) {
      PX_RETURN_IF_ERROR(in_.Advance());
      PX_RETURN_IF_ERROR(in_.ExpectKeyword("BY"));
      PX_RETURN_IF_ERROR(OrderKeys(st.order_by));
    }
    if (!in_.AtEnd()) return in_.Error("unexpected '" + in_.current().text + "'");
    return st;
  }

 private:
  Result<std::string> Identifier() {
    const Token& t = in_.current();
    if (t.kind != TokenKind::kWord || (!t.bracketed && IsReserved(t.text))) {
      return in_.Error("expected a name");
    }
    std::string name = t.text;
    PX_RETURN_IF_ERROR(in_.Advance());
    return name;
  }

  static bool IsReserved(std::string_view word) {
    for (const char* w : {"SELECT", "FROM", "WHERE", "AND", "OR", "ORDER", "BY", "NOT", "LIKE"}) {
      if (EqualsIgnoreCase(word, w)) return true;
    }
    return false;
  }

  Status IdentifierList(std::vector<std::string>& out) {
    while (true) {
      PX_ASSIGN_OR_RETURN(std::string name, Identifier());
      out.push_back(std::move(name));
      if (!in_.IsSymbol(",")) return Status::Ok();
      PX_RETURN_IF_ERROR(in_.Advance());
    }
  }

  Status Conditions(std::vector<EqualsCondition>& out) {
    while (true) {
      EqualsCondition cond;
      PX_ASSIGN_OR_RETURN(cond.column, Identifier());
      if (!in_.IsSymbol("=")) return in_.Error("only column = value conditions are supported");
      PX_RETURN_IF_ERROR(in_.Advance());
      PX_RETURN_IF_ERROR(in_.TakeLiteral(cond.literal, cond.quoted, "expected a literal"));
      out.push_back(std::move(cond));
      if (!in_.IsKeyword("AND")) return Status::Ok();
      PX_RETURN_IF_ERROR(in_.Advance());
    }
  }

  Status OrderKeys(std::vector<OrderKey>& out) {
    while (true) {
      OrderKey key;
      PX_ASSIGN_OR_RETURN(key.column, Identifier());
      if (in_.IsKeyword("ASC") || in_.IsKeyword("DESC")) {
        key.descending = in_.IsKeyword("DESC");
        PX_RETURN_IF_ERROR(in_.Advance());
      }
      out.push_back(std::move(key));
      if (!in_.IsSymbol(",")) return Status::Ok();
      PX_RETURN_IF_ERROR(in_.Advance());
    }
  }

  TokenCursor in_;
};

}  // namespace

Result<SelectStatement> ParseSelect(std::string_view sql) {
  return Parser(sql).Parse();
}

}  // namespace px::db
