// The Access pool: kept apart from access_database.cpp so that programs using only the
// adapter need not link the engine's writer.
#include "db/access_database.h"
#include "db/database_pool.h"

namespace px::db {

std::unique_ptr<DatabasePool> NewAccessDatabasePool(platform::FileLayer& files,
                                                    std::string commit_record,
                                                    jet::PageStoreOptions pages) {
  return NewDatabasePool(
      [&files, pages](const std::string& host_path, const std::string& display,
                      bool create) -> Result<std::unique_ptr<Database>> {
        // A new database is written by the transaction that fills it, so that no empty file
        // is ever left for a live one.
        auto writer = create ? jet::Writer::CreateUnwritten(files, host_path, display, pages)
                             : jet::Writer::Open(files, host_path, display, pages);
        if (!writer.ok()) return writer.status();
        return AccessDatabaseOver(std::move(*writer));
      },
      {&files, std::move(commit_record)});
}

}  // namespace px::db
