#include "xbf/byte_stream.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace px::xbf {

namespace {

std::string ErrnoText() {
  return std::strerror(errno);
}

}  // namespace

Result<size_t> MemoryInput::Read(uint8_t* buf, size_t n) {
  const size_t take = std::min(n, data_.size() - pos_);
  std::memcpy(buf, data_.data() + pos_, take);
  pos_ += take;
  return take;
}

Result<std::unique_ptr<FileInput>> FileInput::Open(const std::string& path) {
  std::FILE* f = std::fopen(path.c_str(), "rb");
  if (!f) {
    if (errno == ENOENT) return Status::NotFound(path + ": file not found");
    return Status::IOError(path + ": cannot open: " + ErrnoText());
  }
  return std::unique_ptr<FileInput>(new FileInput(f, path));
}

FileInput::~FileInput() {
  std::fclose(file_);
}

Result<size_t> FileInput::Read(uint8_t* buf, size_t n) {
  const size_t got = std::fread(buf, 1, n, file_);
  if (got < n && std::ferror(file_)) return Status::IOError(path_ + ": read error");
  return got;
}

Result<std::unique_ptr<ReplacingFile>> ReplacingFile::Create(const std::string& target) {
  namespace fs = std::filesystem;
  fs::path dir = fs::path(target).parent_path();
  if (dir.empty()) dir = ".";
  std::string templ = (dir / ("." + fs::path(target).filename().string() + ".XXXXXX")).string();
  int fd = ::mkstemp(templ.data());
  if (fd < 0) return Status::IOError(target + ": cannot create a temporary file: " + ErrnoText());
  ::fchmod(fd, 0644);  // mkstemp creates 0600; the result is an ordinary user file
  return std::unique_ptr<ReplacingFile>(new ReplacingFile(fd, target, templ));
}

ReplacingFile::~ReplacingFile() {
  if (!committed_) Discard();
}

void ReplacingFile::Discard() {
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
  ::unlink(temp_path_.c_str());
}

Status ReplacingFile::Write(std::string_view bytes) {
  if (!error_.ok()) return error_;
  if (committed_ || fd_ < 0)
    return error_ = Status::InvalidArgument(target_ + ": write after commit");
  while (!bytes.empty()) {
    ssize_t n = ::write(fd_, bytes.data(), bytes.size());
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return error_ = Status::IOError(target_ + ": write failed: " + ErrnoText());
    bytes.remove_prefix(size_t(n));
  }
  return Status::Ok();
}

Status ReplacingFile::Commit() {
  if (!error_.ok()) return error_;
  if (committed_) return Status::Ok();
  if (::fsync(fd_) != 0 || ::close(fd_) != 0) {
    fd_ = -1;
    return error_ = Status::IOError(target_ + ": cannot flush: " + ErrnoText());
  }
  fd_ = -1;
  if (std::rename(temp_path_.c_str(), target_.c_str()) != 0) {
    return error_ = Status::IOError(target_ + ": cannot replace: " + ErrnoText());
  }
  committed_ = true;
  return Status::Ok();
}

}  // namespace px::xbf
