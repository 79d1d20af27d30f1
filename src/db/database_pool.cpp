#include "db/database_pool.h"

#include <map>

#include "platform/host_path.h"
#include "platform/text_case.h"
#include "platform/utf8_path.h"

namespace px::db {
namespace {

class Pool final : public DatabasePool {
 public:
  explicit Pool(DatabaseOpener opener) : opener_(std::move(opener)) {}
  ~Pool() override { CloseAll(); }

  Result<Database*> Open(std::string_view path) override { return Get(path, false); }
  Result<Database*> Create(std::string_view path) override { return Get(path, true); }

  void Close(std::string_view path) override {
    auto key = KeyOf(path);
    if (key.ok()) open_.erase(key->second);
  }

  void CloseAll() override { open_.clear(); }

 private:
  // The host path and the key it is known by.
  static Result<std::pair<std::string, std::string>> KeyOf(std::string_view path) {
    PX_ASSIGN_OR_RETURN(std::filesystem::path host, ToHostPath(path));
    std::string host_text = Utf8FromPath(host.lexically_normal());
    std::string key = FoldCase(host_text);
    return std::make_pair(std::move(host_text), std::move(key));
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
    PX_ASSIGN_OR_RETURN(std::unique_ptr<Database> db,
                        opener_(key.first, std::string(path), create));
    Database* raw = db.get();
    open_.emplace(std::move(key.second), std::move(db));
    return raw;
  }

  DatabaseOpener opener_;
  std::map<std::string, std::unique_ptr<Database>> open_;
};

}  // namespace

std::unique_ptr<DatabasePool> NewDatabasePool(DatabaseOpener opener) {
  return std::make_unique<Pool>(std::move(opener));
}

}  // namespace px::db
