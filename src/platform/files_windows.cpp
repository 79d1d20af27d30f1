// The file layer on Windows: CreateFileW handles shared for reading and writing, ReadFile
// and WriteFile at an OVERLAPPED offset, FlushFileBuffers, MoveFileExW with write-through,
// and a whole-file lock that is a handle denying write sharing to everyone else.
#ifdef _WIN32

#include <windows.h>

#include <map>
#include <mutex>
#include <utility>

#include "platform/os_files.h"
#include "platform/win_text.h"

namespace px::platform::os {

namespace {

Status ErrorStatus(const std::string& path, const std::string& what, DWORD err) {
  Failure kind = Failure::kOther;
  switch (err) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
      kind = Failure::kNotFound;
      break;
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
      kind = Failure::kExists;
      break;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
      kind = Failure::kDiskFull;
      break;
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
      kind = Failure::kBusy;
      break;
  }
  return FailureStatus(kind, path, what, win::ErrorText(err));
}

// Closes a handle on every path that does not hand it over.
class Handle {
 public:
  explicit Handle(HANDLE h) : h_(h) {}
  ~Handle() {
    if (h_ != INVALID_HANDLE_VALUE) CloseHandle(h_);
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  HANDLE get() const { return h_; }
  HANDLE release() { return std::exchange(h_, INVALID_HANDLE_VALUE); }

 private:
  HANDLE h_;
};

// Whole-file locks held by this process, by full path. Opening a locked file for writing
// from this process duplicates the lock's handle: a fresh handle would be refused by the
// lock's own share mode.
class HeldLocks {
 public:
  static HeldLocks& Get() {
    static HeldLocks locks;
    return locks;
  }
  void Add(const std::wstring& key, HANDLE h) {
    std::lock_guard guard(mutex_);
    held_[key] = h;
  }
  void Drop(const std::wstring& key) {
    std::lock_guard guard(mutex_);
    held_.erase(key);
  }
  HANDLE Duplicate(const std::wstring& key) {
    std::lock_guard guard(mutex_);
    auto it = held_.find(key);
    if (it == held_.end()) return INVALID_HANDLE_VALUE;
    HANDLE copy = INVALID_HANDLE_VALUE;
    if (!DuplicateHandle(GetCurrentProcess(), it->second, GetCurrentProcess(), &copy, 0, FALSE,
                         DUPLICATE_SAME_ACCESS)) {
      return INVALID_HANDLE_VALUE;
    }
    return copy;
  }

 private:
  std::mutex mutex_;
  std::map<std::wstring, HANDLE> held_;
};

std::wstring LockKey(const std::wstring& path) {
  DWORD n = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
  std::wstring full(n, L'\0');
  n = GetFullPathNameW(path.c_str(), n, full.data(), nullptr);
  full.resize(n);
  CharUpperBuffW(full.data(), DWORD(full.size()));
  return full;
}

class WindowsFile final : public SystemFile {
 public:
  WindowsFile(HANDLE h, std::string path) : SystemFile(std::move(path)), h_(h) {}

 private:
  Result<size_t> ReadSome(uint64_t offset, std::span<uint8_t> buf) override {
    OVERLAPPED at = At(offset);
    const DWORD want = DWORD(std::min<size_t>(buf.size(), 1u << 30));
    DWORD got = 0;
    if (!ReadFile(h_.get(), buf.data(), want, &got, &at)) {
      const DWORD err = GetLastError();
      if (err == ERROR_HANDLE_EOF) return size_t{0};
      return Error("read failed at offset " + std::to_string(offset), err);
    }
    return size_t{got};
  }

  Result<size_t> WriteSome(uint64_t offset, std::span<const uint8_t> bytes) override {
    OVERLAPPED at = At(offset);
    const DWORD want = DWORD(std::min<size_t>(bytes.size(), 1u << 30));
    DWORD put = 0;
    if (!WriteFile(h_.get(), bytes.data(), want, &put, &at)) {
      return Error("write failed at offset " + std::to_string(offset), GetLastError());
    }
    if (put == 0) return Error("write failed at offset " + std::to_string(offset), ERROR_DISK_FULL);
    return size_t{put};
  }

  Result<uint64_t> SystemSize() override {
    LARGE_INTEGER size{};
    if (!GetFileSizeEx(h_.get(), &size)) return Error("cannot size", GetLastError());
    return uint64_t(size.QuadPart);
  }

  Status SystemTruncate(uint64_t size) override {
    FILE_END_OF_FILE_INFO info{};
    info.EndOfFile.QuadPart = LONGLONG(size);
    if (!SetFileInformationByHandle(h_.get(), FileEndOfFileInfo, &info, sizeof info)) {
      return Error("cannot truncate", GetLastError());
    }
    return Status::Ok();
  }

  Status SystemSync() override {
    if (!FlushFileBuffers(h_.get())) return Error("cannot flush to disk", GetLastError());
    return Status::Ok();
  }

  static OVERLAPPED At(uint64_t offset) {
    OVERLAPPED at{};
    at.Offset = DWORD(offset & 0xFFFFFFFFu);
    at.OffsetHigh = DWORD(offset >> 32);
    return at;
  }
  Status Error(const std::string& what, DWORD err) const { return ErrorStatus(path(), what, err); }

  Handle h_;
};

class WindowsLock final : public FileLock {
 public:
  WindowsLock(HANDLE h, std::wstring key) : h_(h), key_(std::move(key)) {
    HeldLocks::Get().Add(key_, h_.get());
  }
  ~WindowsLock() override { HeldLocks::Get().Drop(key_); }

 private:
  Handle h_;
  std::wstring key_;
};

}  // namespace

Result<std::unique_ptr<File>> OpenFile(const std::string& path, OpenMode mode) {
  const std::wstring wide = win::Wide(path);
  DWORD access = GENERIC_READ | GENERIC_WRITE;
  DWORD disposition = OPEN_EXISTING;
  switch (mode) {
    case OpenMode::kRead:
      access = GENERIC_READ;
      break;
    case OpenMode::kReadWrite:
      break;
    case OpenMode::kCreateNew:
      disposition = CREATE_NEW;
      break;
    case OpenMode::kCreateAlways:
      disposition = CREATE_ALWAYS;
      break;
  }
  if (mode == OpenMode::kReadWrite) {
    if (HANDLE held = HeldLocks::Get().Duplicate(LockKey(wide)); held != INVALID_HANDLE_VALUE) {
      return std::unique_ptr<File>(std::make_unique<WindowsFile>(held, path));
    }
  }
  Handle h(CreateFileW(wide.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                       nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (h.get() == INVALID_HANDLE_VALUE) return ErrorStatus(path, "cannot open", GetLastError());
  BY_HANDLE_FILE_INFORMATION info{};
  if (!GetFileInformationByHandle(h.get(), &info)) {
    return ErrorStatus(path, "cannot open", GetLastError());
  }
  if (info.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
    return Status::IOError(path + ": not a regular file");
  }
  return std::unique_ptr<File>(std::make_unique<WindowsFile>(h.release(), path));
}

Status RenameOver(const std::string& temp, const std::string& target) {
  if (!MoveFileExW(win::Wide(temp).c_str(), win::Wide(target).c_str(),
                   MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
    return ErrorStatus(target, "cannot replace with " + temp, GetLastError());
  }
  return Status::Ok();
}

Status RenameOverUnflushed(const std::string& temp, const std::string& target) {
  if (!MoveFileExW(win::Wide(temp).c_str(), win::Wide(target).c_str(), MOVEFILE_REPLACE_EXISTING)) {
    return ErrorStatus(target, "cannot replace with " + temp, GetLastError());
  }
  return Status::Ok();
}

Status RemoveFile(const std::string& path) {
  if (!DeleteFileW(win::Wide(path).c_str())) {
    const DWORD err = GetLastError();
    if (err != ERROR_FILE_NOT_FOUND && err != ERROR_PATH_NOT_FOUND) {
      return ErrorStatus(path, "cannot remove", err);
    }
  }
  return Status::Ok();
}

Result<std::unique_ptr<FileLock>> LockWholeFile(const std::string& path) {
  const std::wstring wide = win::Wide(path);
  // Others may read; nobody else may open the file for writing while the handle is open.
  Handle h(CreateFileW(wide.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                       OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (h.get() == INVALID_HANDLE_VALUE) {
    const DWORD err = GetLastError();
    if (err == ERROR_SHARING_VIOLATION || err == ERROR_LOCK_VIOLATION) {
      return Status::Busy(path + ": the file is in use by another program");
    }
    return ErrorStatus(path, "cannot open to lock", err);
  }
  return std::unique_ptr<FileLock>(std::make_unique<WindowsLock>(h.release(), LockKey(wide)));
}

}  // namespace px::platform::os

#endif  // _WIN32
