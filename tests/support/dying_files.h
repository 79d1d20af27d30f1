#pragma once
// A file layer for crash tests: it passes every call to the system's files until the n-th
// change of a file (a file created, a write, a flush, a truncation, a rename, a removal, a
// folder made); that change and every call after it fail and reach nothing, as if the
// program had been killed at that moment. Counting with n = 0 (never) tells a test how many
// changes a flow makes.
//
// As a full disk instead (Fault::kDiskFull): only writes, flushes, truncations and renames
// count; the n-th and every later one fails, while reading, creating, removing and making
// folders go on, so a flow can still clean up after the failure. As a failing disk
// (Fault::kFailing): the same calls count, but only the n-th fails, with an I/O error; the
// file it failed on fails every later call, the other files go on.

#include <cstdint>
#include <memory>
#include <string>

#include "platform/files.h"

namespace px::testing {

class DyingFiles final : public platform::FileLayer {
 public:
  enum class Fault { kKilled, kDiskFull, kFailing };
  explicit DyingFiles(uint64_t die_at, Fault fault = Fault::kKilled)
      : die_at_(die_at), fault_(fault) {}
  uint64_t changes() const { return changes_; }
  bool dead() const { return fault_ != Fault::kFailing && die_at_ != 0 && changes_ >= die_at_; }

  Result<std::unique_ptr<platform::File>> Open(const std::string& path,
                                               platform::OpenMode mode) override {
    if (mode == platform::OpenMode::kCreateNew || mode == platform::OpenMode::kCreateAlways) {
      PX_RETURN_IF_ERROR(SideChange(path));
    } else {
      PX_RETURN_IF_ERROR(Alive(path));
    }
    PX_ASSIGN_OR_RETURN(auto file, inner_.Open(path, mode));
    return std::unique_ptr<platform::File>(std::make_unique<Wrapped>(*this, std::move(file)));
  }
  Status Rename(const std::string& temp, const std::string& target) override {
    PX_RETURN_IF_ERROR(Change(target));
    return inner_.Rename(temp, target);
  }
  Status Remove(const std::string& path) override {
    PX_RETURN_IF_ERROR(SideChange(path));
    return inner_.Remove(path);
  }
  bool Exists(const std::string& path) override { return inner_.Exists(path); }
  Result<std::vector<platform::FolderEntry>> List(const std::string& folder) override {
    PX_RETURN_IF_ERROR(Alive(folder));
    return inner_.List(folder);
  }
  Status CreateFolder(const std::string& path) override {
    PX_RETURN_IF_ERROR(SideChange(path));
    return inner_.CreateFolder(path);
  }
  Result<std::unique_ptr<platform::FileLock>> LockExclusive(const std::string& path) override {
    PX_RETURN_IF_ERROR(Alive(path));
    return inner_.LockExclusive(path);
  }

 private:
  class Wrapped final : public platform::File {
   public:
    Wrapped(DyingFiles& owner, std::unique_ptr<platform::File> inner)
        : owner_(owner), inner_(std::move(inner)) {}
    Result<size_t> ReadAt(uint64_t offset, std::span<uint8_t> buf) override {
      PX_RETURN_IF_ERROR(Alive());
      return inner_->ReadAt(offset, buf);
    }
    Status WriteAt(uint64_t offset, std::span<const uint8_t> bytes) override {
      PX_RETURN_IF_ERROR(Change());
      return inner_->WriteAt(offset, bytes);
    }
    Status Append(std::span<const uint8_t> bytes) override {
      PX_RETURN_IF_ERROR(Change());
      return inner_->Append(bytes);
    }
    Result<uint64_t> Size() override {
      PX_RETURN_IF_ERROR(Alive());
      return inner_->Size();
    }
    Status Truncate(uint64_t size) override {
      PX_RETURN_IF_ERROR(Change());
      return inner_->Truncate(size);
    }
    Status Sync() override {
      PX_RETURN_IF_ERROR(Change());
      return inner_->Sync();
    }
    const std::string& path() const override { return inner_->path(); }

   private:
    Status Alive() { return failed_.ok() ? owner_.Alive(path()) : failed_; }
    Status Change() {
      if (!failed_.ok()) return failed_;
      Status s = owner_.Change(path());
      if (owner_.fault_ == Fault::kFailing) failed_ = s;
      return s;
    }

    DyingFiles& owner_;
    std::unique_ptr<platform::File> inner_;
    Status failed_;  // a failing disk's fault on this file
  };

  Status Dead(const std::string& path) const {
    if (fault_ == Fault::kDiskFull) return Status::DiskFull(path + ": no space left on the disk");
    return Status::IOError(path + (fault_ == Fault::kKilled ? ": killed" : ": injected fault"));
  }
  // Calls that change nothing: refused once a killed program is dead.
  Status Alive(const std::string& path) const {
    return fault_ == Fault::kKilled && dead() ? Dead(path) : Status::Ok();
  }
  Status Change(const std::string& path) {
    if (dead()) return Dead(path);
    ++changes_;
    return dead() || (fault_ == Fault::kFailing && changes_ == die_at_) ? Dead(path) : Status::Ok();
  }
  // Creating, removing and making folders: changes when killed, free on a full disk.
  Status SideChange(const std::string& path) {
    return fault_ == Fault::kKilled ? Change(path) : Status::Ok();
  }

  uint64_t die_at_;  // 0: never
  Fault fault_;
  uint64_t changes_ = 0;
  platform::FileLayer& inner_ = platform::SystemFiles();
};

}  // namespace px::testing
