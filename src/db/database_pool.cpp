#include "db/database_pool.h"

#include <map>

#include "db/group_commit.h"
#include "platform/files.h"

#include "platform/host_path.h"
#include "platform/text_case.h"
#include "platform/utf8_path.h"

namespace px::db {
namespace {

class Pool final : public DatabasePool {
 public:
  Pool(DatabaseOpener opener, CommitRecordPlace place)
      : opener_(std::move(opener)), place_(std::move(place)) {}
  ~Pool() override { CloseAll(); }

  Result<Database*> Open(std::string_view path) override { return Get(path, false); }
  Result<Database*> Create(std::string_view path) override { return Get(path, true); }

  void Close(std::string_view path) override {
    auto key = KeyOf(path);
    if (key.ok()) open_.erase(key->second);
  }

  void CloseAll() override { open_.clear(); }

  Status CommitTogether(std::span<Database* const> databases) override {
    if (place_.record.empty() || place_.files == nullptr) {
      for (Database* d : databases) {
        if (databases.size() > 1 && d->CommitFiles()) {
          for (Database* r : databases) (void)r->Rollback();
          return Status::InvalidArgument(
              "databases cannot commit together without a place "
              "for their commit record");
        }
      }
      return db::CommitTogether(platform::SystemFiles(), {}, databases);
    }
    PX_ASSIGN_OR_RETURN(std::string record, RecordPath());
    return db::CommitTogether(*place_.files, record, databases);
  }

 private:
  // The host path and the key it is known by.
  static Result<std::pair<std::string, std::string>> KeyOf(std::string_view path) {
    PX_ASSIGN_OR_RETURN(std::filesystem::path host, ToHostPath(path));
    std::string host_text = Utf8FromPath(host.lexically_normal());
    std::string key = FoldCase(host_text);
    return std::make_pair(std::move(host_text), std::move(key));
  }

  Result<std::string> RecordPath() const {
    PX_ASSIGN_OR_RETURN(auto key, KeyOf(place_.record));
    return key.first;
  }

  // A commit a killed run left is finished (or undone) before its databases are used.
  Status FinishLeftCommit() {
    if (place_.record.empty() || place_.files == nullptr) return Status::Ok();
    PX_ASSIGN_OR_RETURN(std::string record, RecordPath());
    return FinishInterruptedCommit(*place_.files, record);
  }

  Result<Database*> Get(std::string_view path, bool create) {
    PX_ASSIGN_OR_RETURN(auto key, KeyOf(path));
    auto it = open_.find(key.second);
    if (it != open_.end()) {
      if (create) {
        return Status::InvalidArgument(std::string(path) +
                                       " is open already and cannot be created");
      }
      return it->second.get();
    }
    PX_RETURN_IF_ERROR(FinishLeftCommit());
    PX_ASSIGN_OR_RETURN(std::unique_ptr<Database> db,
                        opener_(key.first, std::string(path), create));
    Database* raw = db.get();
    open_.emplace(std::move(key.second), std::move(db));
    return raw;
  }

  DatabaseOpener opener_;
  CommitRecordPlace place_;
  std::map<std::string, std::unique_ptr<Database>> open_;
};

}  // namespace

std::unique_ptr<DatabasePool> NewDatabasePool(DatabaseOpener opener, CommitRecordPlace place) {
  return std::make_unique<Pool>(std::move(opener), std::move(place));
}

}  // namespace px::db
