#pragma once
// A table as ADO and ADOX describe it: fields with the ADO type codes the Jet 4.0 OLE DB
// provider reports, the AllowZeroLength/Required column properties, and the keys ADOX
// lists (primary key, unique indexes, foreign keys of the referencing side).

#include <string>
#include <vector>

#include "core/value.h"
#include "jet/format.h"
#include "jet/properties.h"
#include "jet/tabledef.h"

namespace px::jet {

// ADO defined sizes of Jet long fields.
inline constexpr int64_t kAdoMemoSize = 536870910;
inline constexpr int64_t kAdoOleSize = 1073741823;

struct KeyInfo {
  std::string name;
  std::string type;  // "primary", "unique", "foreign"
  std::vector<std::string> columns;
  uint32_t related_table_page = 0;  // foreign keys: TDEF page of the referenced table
};

struct TableSchema {
  std::string name;
  std::vector<int> columns;  // field order: indexes into TableDef::columns
  std::vector<FieldInfo> fields;
  std::vector<KeyInfo> keys;
};

// ADO type code of a Jet column (202 text, 203 memo, 17 byte, ...); 128 (binary) for
// column types only Access's own tables use.
int AdoType(const ColumnDef& c);

FieldInfo ColumnFieldInfo(const ColumnDef& c, const JetFormat& f, const ColumnProperties& props);

// Field order of a table: by column id, as Jet returns the columns of "SELECT *".
std::vector<int> FieldOrder(const TableDef& def);

std::vector<KeyInfo> AdoxKeys(const TableDef& def);

// Everything above for one table. `props` may be empty.
TableSchema BuildSchema(const std::string& name, const TableDef& def, const JetFormat& f,
                        const ColumnPropertyMap& props, uint16_t sort_order);

}  // namespace px::jet
