#pragma once
// The one file layer of the program: open, read and write at an offset, flush to disk,
// replace a file whole by renaming a flushed temporary file over it, locks, folder
// listings. POSIX and Windows implementations live behind it; nothing above this folder
// calls the operating system's file functions. Paths are host paths in UTF-8 (domain paths
// go through the drive map first). Tests swap the layer for one that fails the n-th write
// or reports a full disk.

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/result.h"

namespace px::platform {

// An open file. Every call after the first failure returns that failure again. Destroying
// the object closes it on every path.
class File {
 public:
  virtual ~File() = default;
  // Reads up to buf.size() bytes at `offset`; fewer only at the end of the file.
  virtual Result<size_t> ReadAt(uint64_t offset, std::span<uint8_t> buf) = 0;
  virtual Status WriteAt(uint64_t offset, std::span<const uint8_t> bytes) = 0;
  // Appends at the current end.
  virtual Status Append(std::span<const uint8_t> bytes) = 0;
  virtual Result<uint64_t> Size() = 0;
  virtual Status Truncate(uint64_t size) = 0;
  // Flushes the file's data to the disk.
  virtual Status Sync() = 0;
  virtual const std::string& path() const = 0;
};

enum class OpenMode {
  kRead,          // existing file, read only, others may read and write
  kReadWrite,     // existing file, read and write
  kCreateNew,     // a new file; AlreadyExists when it exists
  kCreateAlways,  // created or emptied
};

// A held lock; released when destroyed.
class FileLock {
 public:
  virtual ~FileLock() = default;
};

struct FolderEntry {
  std::string name;
  bool is_folder = false;
  uint64_t size = 0;
};

class FileLayer {
 public:
  virtual ~FileLayer() = default;
  virtual Result<std::unique_ptr<File>> Open(const std::string& path, OpenMode mode) = 0;
  // Renames `temp` over `target` (replacing it), then flushes the folder. Callers flush
  // `temp` first; ReplaceFileWhole below does the whole sequence.
  virtual Status Rename(const std::string& temp, const std::string& target) = 0;
  // The same rename with nothing flushed, for scratch files that are read back and removed
  // by this run: a crash may lose the file, never show part of it under `target`. Layers
  // that do not tell the two apart flush anyway.
  virtual Status RenameUnflushed(const std::string& temp, const std::string& target) {
    return Rename(temp, target);
  }
  virtual Status Remove(const std::string& path) = 0;  // OK when it does not exist
  virtual bool Exists(const std::string& path) = 0;
  virtual Result<std::vector<FolderEntry>> List(const std::string& folder) = 0;
  virtual Status CreateFolder(const std::string& path) = 0;  // OK when it exists
  // An exclusive lock on the whole file that other processes (and Access) respect: deny
  // write sharing on Windows, an open-file-description lock on POSIX. Busy when held.
  virtual Result<std::unique_ptr<FileLock>> LockExclusive(const std::string& path) = 0;

  // A layer that maps its own paths onto another layer's (the suite's drive-qualified paths
  // onto the host's) names that layer here, and HostPath gives the path it maps `path` to.
  // Files written by another process, which names host paths, are read through HostLayer().
  // A layer over the host's own paths is its own host layer.
  virtual FileLayer& HostLayer() { return *this; }
  virtual Result<std::string> HostPath(const std::string& path) { return path; }
};

// The operating system's files.
FileLayer& SystemFiles();

// Temporary name beside `target`: ".~" + name + ".tmp" in the target's folder.
std::string TempNameBeside(const std::string& target);

// Whether a replaced file must reach the disk before it takes the target's name. A scratch
// file (a staging copy read back and removed by the same run) skips both flushes: after a
// crash it may be missing, but it is never seen half-written under its name.
enum class Durability { kFlushed, kScratch };

// A file being replaced whole: bytes go to TempNameBeside(target); Commit() flushes them
// to disk (not for Durability::kScratch), closes the file, renames it over the target and
// flushes the folder (likewise). Until then the target is untouched, and destroying the
// object without a successful Commit() removes the temporary file. The first error is kept
// and returned by every later call.
class FileReplacement {
 public:
  static Result<std::unique_ptr<FileReplacement>> Create(
      FileLayer& files, const std::string& target, Durability durability = Durability::kFlushed);
  ~FileReplacement();
  FileReplacement(const FileReplacement&) = delete;
  FileReplacement& operator=(const FileReplacement&) = delete;

  Status Write(std::span<const uint8_t> bytes);
  Status Commit();
  const std::string& temp_path() const { return temp_; }

 private:
  FileReplacement(FileLayer& files, std::string target, std::string temp,
                  std::unique_ptr<File> file, Durability durability);

  FileLayer& files_;
  std::string target_;
  std::string temp_;
  std::unique_ptr<File> file_;  // null once closed
  Durability durability_;
  uint64_t written_ = 0;
  bool committed_ = false;
  Status error_;
};

// Writes `content` to a temporary file beside `target`, flushes it, renames it over the
// target and flushes the folder; on failure the target is untouched and the temporary file
// removed.
Status ReplaceFileWhole(FileLayer& files, const std::string& target, std::string_view content);

// The whole file; NotFound when it does not exist; files above `max_bytes` are refused.
Result<std::string> ReadFileWhole(FileLayer& files, const std::string& path,
                                  size_t max_bytes = size_t{256} << 20);

}  // namespace px::platform
