#pragma once
// A file layer over the real one that fails on purpose: the n-th change to the disk (a
// write, append, truncate, flush or rename, counted from 1) reports a full disk, and so
// does every later one. Used to prove that a failure at any point leaves files intact.

#include <memory>
#include <string>

#include "platform/files.h"

namespace px::testing {

class FaultFiles final : public platform::FileLayer {
 public:
  // fail_at = 0: never fails, only counts.
  explicit FaultFiles(uint64_t fail_at = 0) : fail_at_(fail_at) {}
  uint64_t changes() const { return changes_; }
  bool failed() const { return failed_; }

  Result<std::unique_ptr<platform::File>> Open(const std::string& path,
                                               platform::OpenMode mode) override {
    PX_ASSIGN_OR_RETURN(auto file, platform::SystemFiles().Open(path, mode));
    return std::unique_ptr<platform::File>(std::make_unique<FaultFile>(*this, std::move(file)));
  }
  Status Rename(const std::string& temp, const std::string& target) override {
    PX_RETURN_IF_ERROR(Change(target));
    return platform::SystemFiles().Rename(temp, target);
  }
  Status Remove(const std::string& path) override { return platform::SystemFiles().Remove(path); }
  bool Exists(const std::string& path) override { return platform::SystemFiles().Exists(path); }
  Result<std::vector<platform::FolderEntry>> List(const std::string& folder) override {
    return platform::SystemFiles().List(folder);
  }
  Status CreateFolder(const std::string& path) override {
    return platform::SystemFiles().CreateFolder(path);
  }
  Result<std::unique_ptr<platform::FileLock>> LockExclusive(const std::string& path) override {
    return platform::SystemFiles().LockExclusive(path);
  }

 private:
  Status Change(const std::string& path) {
    ++changes_;
    if (fail_at_ != 0 && changes_ >= fail_at_) {
      failed_ = true;
      return Status::IOError(path + ": no space left on the disk");
    }
    return Status::Ok();
  }

  class FaultFile final : public platform::File {
   public:
    FaultFile(FaultFiles& owner, std::unique_ptr<platform::File> inner)
        : owner_(owner), inner_(std::move(inner)) {}
    Result<size_t> ReadAt(uint64_t offset, std::span<uint8_t> buf) override {
      return inner_->ReadAt(offset, buf);
    }
    Status WriteAt(uint64_t offset, std::span<const uint8_t> bytes) override {
      PX_RETURN_IF_ERROR(owner_.Change(path()));
      return inner_->WriteAt(offset, bytes);
    }
    Status Append(std::span<const uint8_t> bytes) override {
      PX_RETURN_IF_ERROR(owner_.Change(path()));
      return inner_->Append(bytes);
    }
    Result<uint64_t> Size() override { return inner_->Size(); }
    Status Truncate(uint64_t size) override {
      PX_RETURN_IF_ERROR(owner_.Change(path()));
      return inner_->Truncate(size);
    }
    Status Sync() override {
      PX_RETURN_IF_ERROR(owner_.Change(path()));
      return inner_->Sync();
    }
    const std::string& path() const override { return inner_->path(); }

   private:
    FaultFiles& owner_;
    std::unique_ptr<platform::File> inner_;
  };

  uint64_t fail_at_;
  uint64_t changes_ = 0;
  bool failed_ = false;
};

}  // namespace px::testing
