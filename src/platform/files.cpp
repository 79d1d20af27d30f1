#include "platform/files.h"

#include <algorithm>
#include <system_error>

#include "platform/os_files.h"
#include "platform/utf8_path.h"

namespace px::platform {

namespace fs = std::filesystem;

namespace os {

Status FailureStatus(Failure kind, const std::string& path, const std::string& what,
                     const std::string& system_text) {
  std::string msg = path + ": " + what + ": " + system_text;
  switch (kind) {
    case Failure::kNotFound:
      return Status::NotFound(std::move(msg));
    case Failure::kExists:
      return Status::AlreadyExists(std::move(msg));
    case Failure::kDiskFull:
      return Status::DiskFull(std::move(msg));
    case Failure::kBusy:
      return Status::Busy(std::move(msg));
    case Failure::kOther:
      break;
  }
  return Status::IOError(std::move(msg));
}

Status SystemFile::Keep(Status s) {
  if (!s.ok()) error_ = s;
  return s;
}

Result<size_t> SystemFile::ReadAt(uint64_t offset, std::span<uint8_t> buf) {
  if (!error_.ok()) return error_;
  size_t done = 0;
  while (done < buf.size()) {
    Result<size_t> n = ReadSome(offset + done, buf.subspan(done));
    if (!n.ok()) return Keep(n.status());
    if (*n == 0) break;
    done += *n;
  }
  return done;
}

Status SystemFile::WriteAt(uint64_t offset, std::span<const uint8_t> bytes) {
  if (!error_.ok()) return error_;
  size_t done = 0;
  while (done < bytes.size()) {
    Result<size_t> n = WriteSome(offset + done, bytes.subspan(done));
    if (!n.ok()) return Keep(n.status());
    done += *n;
  }
  return Status::Ok();
}

Status SystemFile::Append(std::span<const uint8_t> bytes) {
  PX_ASSIGN_OR_RETURN(uint64_t end, Size());
  return WriteAt(end, bytes);
}

Result<uint64_t> SystemFile::Size() {
  if (!error_.ok()) return error_;
  Result<uint64_t> size = SystemSize();
  if (!size.ok()) return Keep(size.status());
  return size;
}

Status SystemFile::Truncate(uint64_t size) {
  if (!error_.ok()) return error_;
  return Keep(SystemTruncate(size));
}

Status SystemFile::Sync() {
  if (!error_.ok()) return error_;
  return Keep(SystemSync());
}

}  // namespace os

namespace {

class SystemFileLayer final : public FileLayer {
 public:
  Result<std::unique_ptr<File>> Open(const std::string& path, OpenMode mode) override {
    return os::OpenFile(path, mode);
  }
  Status Rename(const std::string& temp, const std::string& target) override {
    return os::RenameOver(temp, target);
  }
  Status RenameUnflushed(const std::string& temp, const std::string& target) override {
    return os::RenameOverUnflushed(temp, target);
  }
  Status Remove(const std::string& path) override { return os::RemoveFile(path); }
  bool Exists(const std::string& path) override {
    std::error_code ec;
    return fs::exists(PathFromUtf8(path), ec);
  }
  Result<std::vector<FolderEntry>> List(const std::string& folder) override {
    std::error_code ec;
    fs::directory_iterator it(PathFromUtf8(folder), ec);
    if (ec) {
      std::string msg = folder + ": cannot list: " + ec.message();
      if (ec == std::errc::no_such_file_or_directory) return Status::NotFound(std::move(msg));
      return Status::IOError(std::move(msg));
    }
    std::vector<FolderEntry> entries;
    for (; it != fs::directory_iterator(); it.increment(ec)) {
      if (ec) return Status::IOError(folder + ": cannot list: " + ec.message());
      FolderEntry entry;
      entry.name = Utf8FromPath(it->path().filename());
      entry.is_folder = it->is_directory(ec);
      if (!entry.is_folder) entry.size = it->file_size(ec);
      entries.push_back(std::move(entry));
    }
    std::sort(entries.begin(), entries.end(),
              [](const FolderEntry& a, const FolderEntry& b) { return a.name < b.name; });
    return entries;
  }
  Status CreateFolder(const std::string& path) override {
    std::error_code ec;
    fs::create_directories(PathFromUtf8(path), ec);
    if (ec) return Status::IOError(path + ": cannot create folder: " + ec.message());
    return Status::Ok();
  }
  Result<std::unique_ptr<FileLock>> LockExclusive(const std::string& path) override {
    return os::LockWholeFile(path);
  }
};

}  // namespace

FileLayer& SystemFiles() {
  static SystemFileLayer files;
  return files;
}

std::string TempNameBeside(const std::string& target) {
  const fs::path path = PathFromUtf8(target);
  const std::string name = ".~" + Utf8FromPath(path.filename()) + ".tmp";
  if (!path.has_parent_path()) return name;
  return Utf8FromPath(path.parent_path() / PathFromUtf8(name));
}

FileReplacement::FileReplacement(FileLayer& files, std::string target, std::string temp,
                                 std::unique_ptr<File> file, Durability durability)
    : files_(files),
      target_(std::move(target)),
      temp_(std::move(temp)),
      file_(std::move(file)),
      durability_(durability) {}

Result<std::unique_ptr<FileReplacement>> FileReplacement::Create(FileLayer& files,
                                                                 const std::string& target,
                                                                 Durability durability) {
  std::string temp = TempNameBeside(target);
  PX_ASSIGN_OR_RETURN(auto file, files.Open(temp, OpenMode::kCreateAlways));
  return std::unique_ptr<FileReplacement>(
      new FileReplacement(files, target, std::move(temp), std::move(file), durability));
}

FileReplacement::~FileReplacement() {
  if (committed_) return;
  file_.reset();
  (void)files_.Remove(temp_);
}

Status FileReplacement::Write(std::span<const uint8_t> bytes) {
  if (!error_.ok()) return error_;
  if (!file_) return error_ = Status::InvalidArgument(target_ + ": write after commit");
  if (bytes.empty()) return Status::Ok();
  if (Status s = file_->WriteAt(written_, bytes); !s.ok()) return error_ = s;
  written_ += bytes.size();
  return Status::Ok();
}

Status FileReplacement::Commit() {
  if (!error_.ok()) return error_;
  if (committed_) return Status::Ok();
  if (!file_) return error_ = Status::InvalidArgument(target_ + ": commit after a failure");
  const bool flushed = durability_ == Durability::kFlushed;
  if (flushed) {
    if (Status s = file_->Sync(); !s.ok()) return error_ = s;
  }
  file_.reset();  // closed before the rename: Windows does not rename open files
  Status renamed = flushed ? files_.Rename(temp_, target_) : files_.RenameUnflushed(temp_, target_);
  if (!renamed.ok()) return error_ = renamed;
  committed_ = true;
  return Status::Ok();
}

Status ReplaceFileWhole(FileLayer& files, const std::string& target, std::string_view content) {
  PX_ASSIGN_OR_RETURN(auto file, FileReplacement::Create(files, target));
  PX_RETURN_IF_ERROR(
      file->Write({reinterpret_cast<const uint8_t*>(content.data()), content.size()}));
  return file->Commit();
}

Result<std::string> ReadFileWhole(FileLayer& files, const std::string& path, size_t max_bytes) {
  PX_ASSIGN_OR_RETURN(auto file, files.Open(path, OpenMode::kRead));
  PX_ASSIGN_OR_RETURN(uint64_t size, file->Size());
  if (size > max_bytes) {
    return Status::InvalidArgument(path + " is larger than " + std::to_string(max_bytes) +
                                   " bytes");
  }
  std::string content(static_cast<size_t>(size), '\0');
  PX_ASSIGN_OR_RETURN(
      size_t got, file->ReadAt(0, {reinterpret_cast<uint8_t*>(content.data()), content.size()}));
  content.resize(got);
  return content;
}

}  // namespace px::platform
