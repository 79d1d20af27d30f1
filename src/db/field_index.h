#pragma once
// A field of a row source found by name, without regard to letter case, as ADO's
// Fields("name") finds it.

#include <optional>
#include <string_view>
#include <vector>

#include "core/result.h"
#include "core/value.h"

namespace px::db {

// The position of the field named `name` in `fields`; nullopt when there is none.
std::optional<size_t> FindFieldIndex(const std::vector<FieldInfo>& fields, std::string_view name);

// The field's position; InvalidArgument naming `what` (the table or statement) when absent.
Result<size_t> FieldIndex(const RowSource& rows, std::string_view name, std::string_view what);

}  // namespace px::db
