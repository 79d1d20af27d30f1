#pragma once
// Answers a parsed SELECT over a table's row stream: keeps the rows whose columns satisfy
// every condition, in the table's order, and hands out the selected columns. With ORDER BY
// the matching rows are gathered and sorted before the first is handed out, so ordering is
// meant for the suite's small lookup tables (companies, catalog rows).

#include <memory>

#include "core/result.h"
#include "core/value.h"
#include "db/select_sql.h"

namespace px::db {

// `table` streams every row of statement.table.
Result<std::unique_ptr<RowSource>> SelectRows(std::unique_ptr<RowSource> table,
                                              const SelectStatement& statement);

// Orders two values of the same column as Jet's ORDER BY does: Null first, text without
// regard to letter case, numbers by value. Negative, zero or positive.
int CompareForOrder(const Value& a, const Value& b);

}  // namespace px::db
