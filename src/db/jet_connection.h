#pragma once
// The Access backend of Connection: an .mdb file read by our own storage engine. Tables()
// lists what ADOX Catalog.Tables lists; Query() answers the suite's SELECT subset over a
// table's row stream. Row sources keep the file open after the connection is gone.

#include <memory>
#include <string_view>

#include "db/connection.h"

namespace px::db {

// Opens a database by domain path ("C:\Pergonix\Genel\Data\sirket.mdb") or host path.
Result<std::unique_ptr<Connection>> OpenAccessConnection(std::string_view path);

}  // namespace px::db
