#pragma once
// The statements that change a module database, as the restore builds them for both
// backends, parsed so that our own Access engine can run them:
//   DELETE FROM t
//   INSERT INTO t (a, [Key], c, d) Values ('x', 1, Null, CAST('1,234.56' AS MONEY))
//   UPDATE t SET k = '005' + MID(k,4,3), c = '005' WHERE c = '001'
//   UPDATE t SET k = MID(k, 1, 2) + '005' WHERE MID(k, 3, 3) = '001'
// SUBSTRING(s, start, length) is the same function as MID; conditions may be joined with
// AND. Keywords and names are case-insensitive, names may be bracketed. Anything else is
// refused with a message that quotes the statement.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "core/result.h"
#include "core/value.h"

namespace px::db {

struct SqlExpr {
  enum class Kind {
    kNull,    // Null
    kText,    // 'text'
    kNumber,  // 12, -1.5, 2E3
    kMoney,   // CAST('1,234.56' AS MONEY): `text` is the quoted number
    kColumn,  // a column name
    kMid,     // MID(args[0], start[, length]) / SUBSTRING(args[0], start, length)
    kConcat,  // args[0] + args[1]
  };
  Kind kind = Kind::kNull;
  std::string text;
  std::vector<SqlExpr> args;
  int64_t start = 0;
  std::optional<int64_t> length;
  // For a literal given as a statement's parts: the value `text` was made from, when the
  // caller keeps it alive until the statement has run. A column takes it directly where
  // reading `text` back gives that value unchanged; never set by the parser.
  const Value* bound = nullptr;
  // With `bound`: the literal's text is not held in `text`; this function writes it from
  // `*bound` into a string (replacing what it held) whenever it is read (LiteralText()), so
  // that a backend taking the bound value never makes it.
  void (*text_of_bound)(const Value& bound, std::string& text) = nullptr;

  bool IsLiteral() const {
    return kind == Kind::kNull || kind == Kind::kText || kind == Kind::kNumber ||
           kind == Kind::kMoney;
  }
};

// `left` = 'literal' | number; `left` is a column or a MID of one.
struct WhereCondition {
  SqlExpr left;
  std::string literal;
  bool quoted = false;
};

struct DeleteStatement {
  std::string table;
};

struct InsertStatement {
  std::string table;
  std::vector<std::string> columns;
  std::vector<SqlExpr> values;  // literals, one per column
};

struct Assignment {
  std::string column;
  SqlExpr value;
};

struct UpdateStatement {
  std::string table;
  std::vector<Assignment> set;
  std::vector<WhereCondition> where;  // all must hold; empty: every row
};

using WriteStatement = std::variant<DeleteStatement, InsertStatement, UpdateStatement>;

Result<WriteStatement> ParseWriteStatement(std::string_view sql);

// The text of a literal as the statement writes it (without quotes): `e.text`, or made into
// `scratch` from the bound value when it is given so. Every reader of a literal's text goes
// through this.
std::string_view LiteralText(const SqlExpr& e, std::string& scratch);

// The expression as SQL text, for messages: "MID(k, 4, 3)", "'005' + MID(k, 4, 3)".
std::string ExprText(const SqlExpr& e);

// The statement as text, as the restore writes it: "INSERT INTO t (a, [Key]) Values ('x',Null)".
// Only a column named Key, a reserved word, is bracketed; values are joined without blanks.
std::string InsertText(const InsertStatement& st);

}  // namespace px::db
