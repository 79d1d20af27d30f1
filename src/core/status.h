#pragma once
// Status: the outcome of an engine operation. OK carries nothing; an error carries a
// code and one message that says what was wrong and where (file, page, offset, table,
// line). Engines return Status or Result<T>; they never print and never throw.

#include <memory>
#include <string>
#include <string_view>

namespace px {

enum class StatusCode {
  kOk = 0,
  kNotFound,
  kCorruption,
  kNotSupported,
  kInvalidArgument,
  kIOError,
  kCancelled,
  kAlreadyExists,
  kBusy,      // another process holds the file or its lock
  kDiskFull,  // no room left on the disk (or over quota)
};

class [[nodiscard]] Status {
 public:
  Status() = default;  // OK

  static Status Ok() { return Status(); }
  static Status NotFound(std::string msg) { return Status(StatusCode::kNotFound, std::move(msg)); }
  static Status Corruption(std::string msg) {
    return Status(StatusCode::kCorruption, std::move(msg));
  }
  static Status NotSupported(std::string msg) {
    return Status(StatusCode::kNotSupported, std::move(msg));
  }
  static Status InvalidArgument(std::string msg) {
    return Status(StatusCode::kInvalidArgument, std::move(msg));
  }
  static Status IOError(std::string msg) { return Status(StatusCode::kIOError, std::move(msg)); }
  static Status Cancelled(std::string msg) {
    return Status(StatusCode::kCancelled, std::move(msg));
  }

  static Status AlreadyExists(std::string msg) {
    return Status(StatusCode::kAlreadyExists, std::move(msg));
  }
  static Status Busy(std::string msg) { return Status(StatusCode::kBusy, std::move(msg)); }
  static Status DiskFull(std::string msg) { return Status(StatusCode::kDiskFull, std::move(msg)); }

  bool ok() const { return code_ == StatusCode::kOk; }
  StatusCode code() const { return code_; }
  const std::string& message() const { return message_; }

  bool IsNotFound() const { return code_ == StatusCode::kNotFound; }
  bool IsCorruption() const { return code_ == StatusCode::kCorruption; }
  bool IsNotSupported() const { return code_ == StatusCode::kNotSupported; }
  bool IsInvalidArgument() const { return code_ == StatusCode::kInvalidArgument; }
  bool IsIOError() const { return code_ == StatusCode::kIOError; }
  bool IsCancelled() const { return code_ == StatusCode::kCancelled; }
  bool IsAlreadyExists() const { return code_ == StatusCode::kAlreadyExists; }
  bool IsBusy() const { return code_ == StatusCode::kBusy; }
  bool IsDiskFull() const { return code_ == StatusCode::kDiskFull; }

  // "Corruption: <message>"; "OK" when ok.
  std::string ToString() const;

  // A copy whose message is prefixed with `context` and ": " (same code).
  Status WithContext(std::string_view context) const;

 private:
  Status(StatusCode code, std::string msg) : code_(code), message_(std::move(msg)) {}
  StatusCode code_ = StatusCode::kOk;
  std::string message_;
};

}  // namespace px

// Returns early from the enclosing function when `expr` yields an error Status.
#define PX_RETURN_IF_ERROR(expr)             \
  do {                                       \
    ::px::Status px_status_ = (expr);        \
    if (!px_status_.ok()) return px_status_; \
  } while (0)
