#include "core/status.h"

namespace px {

namespace {
const char* CodeName(StatusCode code) {
  switch (code) {
    case StatusCode::kOk:
      return "OK";
    case StatusCode::kNotFound:
      return "Not found";
    case StatusCode::kCorruption:
      return "Corruption";
    case StatusCode::kNotSupported:
      return "Not supported";
    case StatusCode::kInvalidArgument:
      return "Invalid argument";
    case StatusCode::kIOError:
      return "I/O error";
    case StatusCode::kCancelled:
      return "Cancelled";
    case StatusCode::kAlreadyExists:
      return "Already exists";
    case StatusCode::kBusy:
      return "Busy";
    case StatusCode::kDiskFull:
      return "Disk full";
  }
  return "Unknown";
}
}  // namespace

std::string Status::ToString() const {
  if (ok()) return "OK";
  return std::string(CodeName(code_)) + ": " + message_;
}

Status Status::WithContext(std::string_view context) const {
  if (ok()) return *this;
  return Status(code_, std::string(context) + ": " + message_);
}

}  // namespace px
