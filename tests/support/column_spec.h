#pragma once
// A column as ADOX appends it, for tests that build tables with the writer.

#include <optional>
#include <string>

#include "jet/writer.h"

namespace px::testing {

// `type` absent: ADOX's default column.
inline jet::ColumnSpec Col(std::string name, std::optional<int> type, int size = 0) {
  jet::ColumnSpec c;
  c.name = std::move(name);
  c.ado_type = type;
  c.defined_size = size;
  return c;
}

}  // namespace px::testing
