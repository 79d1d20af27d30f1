#pragma once
// A file layer for fault tests: it passes every call to the system's files and fails the
// n-th write or the n-th flush (counted over all files it opened, from 1), the n-th rename,
// or every write once the disk is "full". Writes and flushes are counted whether they fail
// or not, so a test can first run a flow to learn how many there are, then fail each one.

#include <cstdint>
#include <memory>
#include <string>

#include "platform/files.h"

namespace px::testing {

struct FailPlan {
  uint64_t fail_write = 0;                // the n-th WriteAt/Append fails with IOError; 0 never
  uint64_t fail_sync = 0;                 // the n-th Sync fails with IOError; 0 never
  uint64_t fail_rename = 0;               // the n-th Rename fails with IOError; 0 never
  uint64_t disk_full_after = UINT64_MAX;  // writes after this many bytes fail with DiskFull
};
struct FileCounts {
  uint64_t writes = 0;
  uint64_t syncs = 0;
  uint64_t renames = 0;
  uint64_t bytes_written = 0;
};

class FailingFiles final : public platform::FileLayer {
 public:
  using Plan = FailPlan;
  using Counts = FileCounts;

  explicit FailingFiles(Plan plan = {}, platform::FileLayer& inner = platform::SystemFiles())
      : plan_(plan), inner_(inner) {}

  const Counts& counts() const { return counts_; }
  void set_plan(Plan plan) {
    plan_ = plan;
    counts_ = {};
  }

  Result<std::unique_ptr<platform::File>> Open(const std::string& path,
                                               platform::OpenMode mode) override {
    PX_ASSIGN_OR_RETURN(auto file, inner_.Open(path, mode));
    return std::unique_ptr<platform::File>(std::make_unique<Wrapped>(*this, std::move(file)));
  }
  Status Rename(const std::string& temp, const std::string& target) override {
    if (++counts_.renames == plan_.fail_rename) {
      return Status::IOError(target + ": cannot replace with " + temp + ": injected fault");
    }
    return inner_.Rename(temp, target);
  }
  Status Remove(const std::string& path) override { return inner_.Remove(path); }
  bool Exists(const std::string& path) override { return inner_.Exists(path); }
  Result<std::vector<platform::FolderEntry>> List(const std::string& folder) override {
    return inner_.List(folder);
  }
  Status CreateFolder(const std::string& path) override { return inner_.CreateFolder(path); }
  Result<std::unique_ptr<platform::FileLock>> LockExclusive(const std::string& path) override {
    return inner_.LockExclusive(path);
  }

 private:
  class Wrapped final : public platform::File {
   public:
    Wrapped(FailingFiles& owner, std::unique_ptr<platform::File> inner)
        : owner_(owner), inner_(std::move(inner)) {}
    Result<size_t> ReadAt(uint64_t offset, std::span<uint8_t> buf) override {
      if (!error_.ok()) return error_;
      return inner_->ReadAt(offset, buf);
    }
    Status WriteAt(uint64_t offset, std::span<const uint8_t> bytes) override {
      PX_RETURN_IF_ERROR(BeforeWrite(bytes.size()));
      return inner_->WriteAt(offset, bytes);
    }
    Status Append(std::span<const uint8_t> bytes) override {
      PX_RETURN_IF_ERROR(BeforeWrite(bytes.size()));
      return inner_->Append(bytes);
    }
    Result<uint64_t> Size() override {
      if (!error_.ok()) return error_;
      return inner_->Size();
    }
    Status Truncate(uint64_t size) override {
      if (!error_.ok()) return error_;
      return inner_->Truncate(size);
    }
    Status Sync() override {
      if (!error_.ok()) return error_;
      if (++owner_.counts_.syncs == owner_.plan_.fail_sync) {
        return error_ = Status::IOError(path() + ": cannot flush to disk: injected fault");
      }
      return inner_->Sync();
    }
    const std::string& path() const override { return inner_->path(); }

   private:
    Status BeforeWrite(size_t n) {
      if (!error_.ok()) return error_;
      Counts& c = owner_.counts_;
      ++c.writes;
      if (c.writes == owner_.plan_.fail_write) {
        return error_ = Status::IOError(path() + ": write failed: injected fault");
      }
      if (n > owner_.plan_.disk_full_after || c.bytes_written > owner_.plan_.disk_full_after - n) {
        return error_ = Status::DiskFull(path() + ": write failed: no space left on the disk");
      }
      c.bytes_written += n;
      return Status::Ok();
    }

    FailingFiles& owner_;
    std::unique_ptr<platform::File> inner_;
    Status error_;
  };

  Plan plan_;
  Counts counts_;
  platform::FileLayer& inner_;
};

}  // namespace px::testing
