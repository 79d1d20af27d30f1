#pragma once
// A field of a recordset file, as the restore reads it: a name and its ADO type.

#include <string>

#include "core/value.h"

namespace px::testing {

inline FieldInfo Saha(std::string ad, int ado_type) {
  FieldInfo f;
  f.name = std::move(ad);
  f.ado_type = ado_type;
  return f;
}

}  // namespace px::testing
