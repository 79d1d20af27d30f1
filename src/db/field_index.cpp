#include "db/field_index.h"

#include <string>

#include "platform/text_case.h"

namespace px::db {

std::optional<size_t> FindFieldIndex(const std::vector<FieldInfo>& fields, std::string_view name) {
  for (size_t i = 0; i < fields.size(); ++i) {
    if (EqualsIgnoreCase(fields[i].name, name)) return i;
  }
  return std::nullopt;
}

Result<size_t> FieldIndex(const RowSource& rows, std::string_view name, std::string_view what) {
  if (auto i = FindFieldIndex(rows.fields(), name)) return *i;
  return Status::InvalidArgument(std::string(what) + " has no column " + std::string(name));
}

}  // namespace px::db
