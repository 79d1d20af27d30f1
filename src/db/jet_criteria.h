#pragma once
// How Jet's "=" decides a WHERE condition between a column value and a literal: text is
// compared without regard to letter case; a quoted literal against a number column is
// converted to a number first ('001' equals 1); Null never matches. A literal that cannot
// be converted to the column's type is an error, as Jet's "Data type mismatch in criteria
// expression" is.

#include <string>
#include <string_view>

#include "core/result.h"
#include "core/value.h"
#include "db/select_sql.h"
#include "platform/text_case.h"

namespace px::db {

Result<bool> MatchesCondition(const FieldInfo& field, const Value& value,
                              const EqualsCondition& condition);

}  // namespace px::db
