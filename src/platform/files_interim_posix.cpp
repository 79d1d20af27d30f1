// Interim POSIX file layer: just enough of files.h for the Access writer until the full
// layer (POSIX and Windows) replaces this file. Delete this file when files.cpp lands.

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/files.h"

namespace px::platform {

namespace {

Status Errno(const std::string& path, const char* what, int err) {
  std::string msg = path + ": " + what + ": " + std::strerror(err);
  if (err == ENOENT) return Status::NotFound(msg);
  return Status::IOError(msg);
}

std::string FolderOf(const std::string& path) {
  size_t slash = path.find_last_of('/');
  if (slash == std::string::npos) return ".";
  if (slash == 0) return "/";
  return path.substr(0, slash);
}

class PosixFile final : public File {
 public:
  PosixFile(int fd, std::string path) : fd_(fd), path_(std::move(path)) {}
  ~PosixFile() override { ::close(fd_); }
  PosixFile(const PosixFile&) = delete;
  PosixFile& operator=(const PosixFile&) = delete;

  Result<size_t> ReadAt(uint64_t offset, std::span<uint8_t> buf) override {
    if (!error_.ok()) return error_;
    size_t done = 0;
    while (done < buf.size()) {
      ssize_t n = ::pread(fd_, buf.data() + done, buf.size() - done, off_t(offset + done));
      if (n < 0 && errno == EINTR) continue;
      if (n < 0) return Fail(Errno(path_, "read failed", errno));
      if (n == 0) break;
      done += size_t(n);
    }
    return done;
  }
  Status WriteAt(uint64_t offset, std::span<const uint8_t> bytes) override {
    if (!error_.ok()) return error_;
    size_t done = 0;
    while (done < bytes.size()) {
      ssize_t n = ::pwrite(fd_, bytes.data() + done, bytes.size() - done, off_t(offset + done));
      if (n < 0 && errno == EINTR) continue;
      if (n < 0) return Fail(Errno(path_, "write failed", errno));
      done += size_t(n);
    }
    return Status::Ok();
  }
  Status Append(std::span<const uint8_t> bytes) override {
    PX_ASSIGN_OR_RETURN(uint64_t end, Size());
    return WriteAt(end, bytes);
  }
  Result<uint64_t> Size() override {
    if (!error_.ok()) return error_;
    struct stat st;
    if (::fstat(fd_, &st) != 0) return Fail(Errno(path_, "cannot read size", errno));
    return uint64_t(st.st_size);
  }
  Status Truncate(uint64_t size) override {
    if (!error_.ok()) return error_;
    if (::ftruncate(fd_, off_t(size)) != 0) return Fail(Errno(path_, "cannot truncate", errno));
    return Status::Ok();
  }
  Status Sync() override {
    if (!error_.ok()) return error_;
    if (::fsync(fd_) != 0) return Fail(Errno(path_, "cannot flush to disk", errno));
    return Status::Ok();
  }
  const std::string& path() const override { return path_; }

 private:
  Status Fail(Status s) {
    error_ = s;
    return s;
  }
  int fd_;
  std::string path_;
  Status error_;
};

class PosixLock final : public FileLock {
 public:
  explicit PosixLock(int fd) : fd_(fd) {}
  ~PosixLock() override { ::close(fd_); }
  PosixLock(const PosixLock&) = delete;
  PosixLock& operator=(const PosixLock&) = delete;

 private:
  int fd_;
};

class PosixFiles final : public FileLayer {
 public:
  Result<std::unique_ptr<File>> Open(const std::string& path, OpenMode mode) override {
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
    int fd = ::open(path.c_str(), flags, 0666);
    if (fd < 0) {
      int err = errno;
      if (err == EEXIST) return Status::InvalidArgument(path + ": the file already exists");
      return Errno(path, "cannot open", err);
    }
    return std::unique_ptr<File>(std::make_unique<PosixFile>(fd, path));
  }
  Status Rename(const std::string& temp, const std::string& target) override {
    if (::rename(temp.c_str(), target.c_str()) != 0) {
      return Errno(target, "cannot replace", errno);
    }
    std::string folder = FolderOf(target);
    int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return Errno(folder, "cannot open folder", errno);
    int rc = ::fsync(fd);
    int err = errno;
    ::close(fd);
    if (rc != 0) return Errno(folder, "cannot flush folder", err);
    return Status::Ok();
  }
  Status Remove(const std::string& path) override {
    if (::unlink(path.c_str()) != 0 && errno != ENOENT) {
      return Errno(path, "cannot delete", errno);
    }
    return Status::Ok();
  }
  bool Exists(const std::string& path) override {
    struct stat st;
    return ::stat(path.c_str(), &st) == 0;
  }
  Result<std::vector<FolderEntry>> List(const std::string& folder) override {
    DIR* dir = ::opendir(folder.c_str());
    if (dir == nullptr) return Errno(folder, "cannot list", errno);
    std::vector<FolderEntry> out;
    while (dirent* e = ::readdir(dir)) {
      std::string name = e->d_name;
      if (name == "." || name == "..") continue;
      struct stat st;
      FolderEntry fe;
      fe.name = name;
      if (::stat((folder + "/" + name).c_str(), &st) == 0) {
        fe.is_folder = S_ISDIR(st.st_mode);
        fe.size = uint64_t(st.st_size);
      }
      out.push_back(std::move(fe));
    }
    ::closedir(dir);
    return out;
  }
  Status CreateFolder(const std::string& path) override {
    if (::mkdir(path.c_str(), 0777) != 0 && errno != EEXIST) {
      return Errno(path, "cannot create folder", errno);
    }
    return Status::Ok();
  }
  Result<std::unique_ptr<FileLock>> LockExclusive(const std::string& path) override {
    int fd = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
    if (fd < 0) return Errno(path, "cannot open for locking", errno);
    struct flock fl {};
    fl.l_type = F_WRLCK;
    fl.l_whence = SEEK_SET;
    if (::fcntl(fd, F_OFD_SETLK, &fl) != 0) {
      int err = errno;
      ::close(fd);
      if (err == EACCES || err == EAGAIN) {
        return Status::IOError(path + ": the file is in use by another program");
      }
      return Errno(path, "cannot lock", err);
    }
    return std::unique_ptr<FileLock>(std::make_unique<PosixLock>(fd));
  }
};

}  // namespace

FileLayer& SystemFiles() {
  static PosixFiles files;
  return files;
}

std::string TempNameBeside(const std::string& target) {
  size_t slash = target.find_last_of('/');
  std::string folder = slash == std::string::npos ? "" : target.substr(0, slash + 1);
  std::string name = slash == std::string::npos ? target : target.substr(slash + 1);
  return folder + ".~" + name + ".tmp";
}

Status ReplaceFileWhole(FileLayer& files, const std::string& target, std::string_view content) {
  const std::string temp = TempNameBeside(target);
  Status st = [&]() -> Status {
    PX_ASSIGN_OR_RETURN(auto file, files.Open(temp, OpenMode::kCreateAlways));
    PX_RETURN_IF_ERROR(
        file->WriteAt(0, std::span<const uint8_t>(reinterpret_cast<const uint8_t*>(content.data()),
                                                  content.size())));
    PX_RETURN_IF_ERROR(file->Sync());
    file.reset();
    return files.Rename(temp, target);
  }();
  if (!st.ok()) (void)files.Remove(temp);
  return st;
}

Result<std::string> ReadFileWhole(FileLayer& files, const std::string& path, size_t max_bytes) {
  PX_ASSIGN_OR_RETURN(auto file, files.Open(path, OpenMode::kRead));
  PX_ASSIGN_OR_RETURN(uint64_t size, file->Size());
  if (size > max_bytes) {
    return Status::InvalidArgument(path + ": file too large (" + std::to_string(size) + " bytes)");
  }
  std::string out(size_t(size), '\0');
  PX_ASSIGN_OR_RETURN(
      size_t n,
      file->ReadAt(0, std::span<uint8_t>(reinterpret_cast<uint8_t*>(out.data()), out.size())));
  out.resize(n);
  return out;
}

}  // namespace px::platform
