// The file layer on POSIX systems: pread/pwrite on descriptors, fsync of the file and of
// its folder, rename(2), and open-file-description locks.
#ifndef _WIN32

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "platform/os_files.h"
#include "platform/utf8_path.h"

namespace px::platform::os {

namespace {

Status ErrnoStatus(const std::string& path, const std::string& what, int err) {
  Failure kind = Failure::kOther;
  switch (err) {
    case ENOENT:
      kind = Failure::kNotFound;
      break;
    case EEXIST:
      kind = Failure::kExists;
      break;
    case ENOSPC:
    case EDQUOT:
      kind = Failure::kDiskFull;
      break;
  }
  return FailureStatus(kind, path, what, std::strerror(err));
}

// Closes a descriptor on every path that does not hand it over.
class Fd {
 public:
  explicit Fd(int fd) : fd_(fd) {}
  ~Fd() {
    if (fd_ >= 0) ::close(fd_);
  }
  Fd(const Fd&) = delete;
  Fd& operator=(const Fd&) = delete;
  int get() const { return fd_; }
  int release() { return std::exchange(fd_, -1); }

 private:
  int fd_;
};

class PosixFile final : public SystemFile {
 public:
  PosixFile(int fd, std::string path) : SystemFile(std::move(path)), fd_(fd) {}

 private:
  Result<size_t> ReadSome(uint64_t offset, std::span<uint8_t> buf) override {
    ssize_t n;
    while ((n = ::pread(fd_.get(), buf.data(), buf.size(), off_t(offset))) < 0 && errno == EINTR) {
    }
    if (n < 0) return Error("read failed at offset " + std::to_string(offset));
    return size_t(n);
  }

  Result<size_t> WriteSome(uint64_t offset, std::span<const uint8_t> bytes) override {
    ssize_t n;
    while ((n = ::pwrite(fd_.get(), bytes.data(), bytes.size(), off_t(offset))) < 0 &&
           errno == EINTR) {
    }
    if (n == 0) errno = ENOSPC;
    if (n <= 0) return Error("write failed at offset " + std::to_string(offset));
    return size_t(n);
  }

  Result<uint64_t> SystemSize() override {
    struct stat st {};
    if (::fstat(fd_.get(), &st) != 0) return Error("cannot size");
    return uint64_t(st.st_size);
  }

  Status SystemTruncate(uint64_t size) override {
    while (::ftruncate(fd_.get(), off_t(size)) != 0) {
      if (errno != EINTR) return Error("cannot truncate");
    }
    return Status::Ok();
  }

  Status SystemSync() override {
    if (::fsync(fd_.get()) != 0) return Error("cannot flush to disk");
    return Status::Ok();
  }

  Status Error(const std::string& what) const { return ErrnoStatus(path(), what, errno); }

  Fd fd_;
};

class PosixLock final : public FileLock {
 public:
  explicit PosixLock(int fd) : fd_(fd) {}

 private:
  Fd fd_;  // closing the descriptor releases the lock
};

// Flushes the folder that holds `path`, so that a rename in it survives a power cut.
Status SyncFolderOf(const std::string& path) {
  std::string folder = Utf8FromPath(PathFromUtf8(path).parent_path());
  if (folder.empty()) folder = ".";
  Fd fd(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (fd.get() < 0) return ErrnoStatus(folder, "cannot open folder", errno);
  if (::fsync(fd.get()) != 0 && errno != EINVAL) {
    return ErrnoStatus(folder, "cannot flush folder to disk", errno);
  }
  return Status::Ok();
}

}  // namespace

Result<std::unique_ptr<File>> OpenFile(const std::string& path, OpenMode mode) {
  int flags = O_CLOEXEC;
  switch (mode) {
    case OpenMode::kRead:
      flags |= O_RDONLY;
      break;
    case OpenMode::kReadWrite:
      flags |= O_RDWR;
      break;
    case OpenMode::kCreateNew:
      flags |= O_RDWR | O_CREAT | O_EXCL;
      break;
    case OpenMode::kCreateAlways:
      flags |= O_RDWR | O_CREAT | O_TRUNC;
      break;
  }
  Fd fd(::open(path.c_str(), flags, 0666));
  if (fd.get() < 0) return ErrnoStatus(path, "cannot open", errno);
  struct stat st {};
  if (::fstat(fd.get(), &st) != 0) return ErrnoStatus(path, "cannot open", errno);
  if (!S_ISREG(st.st_mode)) return Status::IOError(path + ": not a regular file");
  return std::unique_ptr<File>(std::make_unique<PosixFile>(fd.release(), path));
}

Status RenameOver(const std::string& temp, const std::string& target) {
  PX_RETURN_IF_ERROR(RenameOverUnflushed(temp, target));
  return SyncFolderOf(target);
}

Status RenameOverUnflushed(const std::string& temp, const std::string& target) {
  if (::rename(temp.c_str(), target.c_str()) != 0) {
    return ErrnoStatus(target, "cannot replace with " + temp, errno);
  }
  return Status::Ok();
}

Status RemoveFile(const std::string& path) {
  if (::unlink(path.c_str()) != 0 && errno != ENOENT) {
    return ErrnoStatus(path, "cannot remove", errno);
  }
  return Status::Ok();
}

Result<std::unique_ptr<FileLock>> LockWholeFile(const std::string& path) {
  Fd fd(::open(path.c_str(), O_RDWR | O_CLOEXEC));
  if (fd.get() < 0) return ErrnoStatus(path, "cannot open to lock", errno);
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = 0;
  lock.l_len = 0;  // the whole file, however long it grows
  while (::fcntl(fd.get(), F_OFD_SETLK, &lock) != 0) {
    if (errno == EINTR) continue;
    if (errno == EAGAIN || errno == EACCES) {
      return Status::Busy(path + ": the file is in use by another program");
    }
    return ErrnoStatus(path, "cannot lock", errno);
  }
  return std::unique_ptr<FileLock>(std::make_unique<PosixLock>(fd.release()));
}

}  // namespace px::platform::os

#endif  // !_WIN32
