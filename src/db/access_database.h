#pragma once
// The Access backend of db::Database: our engine's writer (jet/writer.h) runs the change
// statements, the recordset inserts and the ADOX calls; the read side of the same open
// file answers SELECTs, the table list and the columns schema rowset, and sees every
// change of the open transaction.
//
// Row sources from Query() read the file as it stands; read them to the end before the
// next change, and never after the database is closed.

#include <memory>
#include <string>

#include "db/database.h"
#include "jet/writer.h"

namespace px::platform {
class FileLayer;
}

namespace px::db {

std::unique_ptr<Database> AccessDatabaseOver(std::unique_ptr<jet::Writer> writer);

// A pool that opens and creates Access files through jet::Writer on `files`, which must
// outlive it. A created database's file appears when its first transaction commits (or at
// its first change outside one). `commit_record`: where databases committed together keep
// their record (db/group_commit.h); empty: each commits alone. `pages`: how much of each
// transaction stays in memory before it spills beside its database.
std::unique_ptr<DatabasePool> NewAccessDatabasePool(platform::FileLayer& files,
                                                    std::string commit_record = {},
                                                    jet::PageStoreOptions pages = {});

}  // namespace px::db
