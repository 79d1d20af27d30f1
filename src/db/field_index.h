#pragma once
// A field of a row source found by name, without regard to letter case, as ADO's
// Fields("name") finds it.

#include <string_view>

#include "core/result.h"
#include "core/value.h"

namespace px::db {

// The field's position; InvalidArgument naming `what` (the table or statement) when absent.
Result<size_t> FieldIndex(const RowSource& rows, std::string_view name, std::string_view what);

}  // namespace px::db
