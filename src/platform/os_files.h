#pragma once
// The system-specific half of the file layer (files_posix.cpp, files_windows.cpp); the
// shared half in files.cpp builds SystemFiles() on these and gives both systems one way of
// keeping an open file's first error and of turning system errors into a Status. Not for use
// outside platform/.

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "platform/files.h"

namespace px::platform::os {

// What a system error means to the callers of the file layer.
enum class Failure { kOther, kNotFound, kExists, kDiskFull, kBusy };

// "<path>: <what>: <system text>" as the Status of that kind.
Status FailureStatus(Failure kind, const std::string& path, const std::string& what,
                     const std::string& system_text);

// An open file of the system. Subclasses make one system call per method; this class
// repeats short reads and writes and keeps the first failure, which every later call
// returns again.
class SystemFile : public File {
 public:
  explicit SystemFile(std::string path) : path_(std::move(path)) {}

  Result<size_t> ReadAt(uint64_t offset, std::span<uint8_t> buf) final;
  Status WriteAt(uint64_t offset, std::span<const uint8_t> bytes) final;
  Status Append(std::span<const uint8_t> bytes) final;
  Result<uint64_t> Size() final;
  Status Truncate(uint64_t size) final;
  Status Sync() final;
  const std::string& path() const final { return path_; }

 protected:
  // Up to `buf.size()` bytes at `offset`; 0 only at the end of the file.
  virtual Result<size_t> ReadSome(uint64_t offset, std::span<uint8_t> buf) = 0;
  // At least one byte of `bytes` at `offset`.
  virtual Result<size_t> WriteSome(uint64_t offset, std::span<const uint8_t> bytes) = 0;
  virtual Result<uint64_t> SystemSize() = 0;
  virtual Status SystemTruncate(uint64_t size) = 0;
  virtual Status SystemSync() = 0;

 private:
  Status Keep(Status s);

  std::string path_;
  Status error_;
};

Result<std::unique_ptr<File>> OpenFile(const std::string& path, OpenMode mode);
// Renames `temp` over `target`, replacing it, and makes the rename durable.
Status RenameOver(const std::string& temp, const std::string& target);
// The same rename, atomic but not flushed.
Status RenameOverUnflushed(const std::string& temp, const std::string& target);
// OK when the file does not exist.
Status RemoveFile(const std::string& path);
Result<std::unique_ptr<FileLock>> LockWholeFile(const std::string& path);

}  // namespace px::platform::os
