#pragma once
// The SELECT statements the suite sends to its databases, parsed so that a backend
// without a SQL engine (an Access file read by our own storage engine) can answer them:
//   SELECT * | col [, col ...] FROM table
//     [WHERE col = 'text' | number [AND col = ...]] [ORDER BY col [ASC|DESC] [, ...]]
// Identifiers may be bracketed ([Ad Soyad]); keywords and identifiers are case-insensitive,
// as in Jet SQL. Anything else is refused with a message that quotes the statement.

#include <string>
#include <string_view>
#include <vector>

#include "core/result.h"

namespace px::db {

struct EqualsCondition {
  std::string column;
  std::string literal;  // the literal's text, quotes removed and '' undoubled
  bool quoted = false;  // written as 'text' rather than as a bare number
};

struct OrderKey {
  std::string column;
  bool descending = false;
};

struct SelectStatement {
  std::vector<std::string> columns;  // empty for SELECT *
  std::string table;
  std::vector<EqualsCondition> where;  // all must hold
  std::vector<OrderKey> order_by;
};

Result<SelectStatement> ParseSelect(std::string_view sql);

}  // namespace px::db
