#pragma once
// Result<T>: either a value or an error Status (never an OK status without a value).

#include <cassert>
#include <optional>
#include <utility>

#include "core/status.h"

namespace px {

template <typename T>
class [[nodiscard]] Result {
 public:
  Result(T value) : value_(std::move(value)) {}         // NOLINT: implicit by design
  Result(Status status) : status_(std::move(status)) {  // NOLINT: implicit by design
    assert(!status_.ok() && "Result built from an OK status without a value");
    if (status_.ok()) status_ = Status::InvalidArgument("result without a value");
  }

  bool ok() const { return value_.has_value(); }
  const Status& status() const { return status_; }

  T& value() & { return *value_; }
  const T& value() const& { return *value_; }
  T&& value() && { return std::move(*value_); }

  T& operator*() & { return *value_; }
  const T& operator*() const& { return *value_; }
  T* operator->() { return &*value_; }
  const T* operator->() const { return &*value_; }

 private:
  Status status_;
  std::optional<T> value_;
};

}  // namespace px

#define PX_CONCAT_INNER_(a, b) a##b
#define PX_CONCAT_(a, b) PX_CONCAT_INNER_(a, b)

// PX_ASSIGN_OR_RETURN(auto x, Foo()); declares x from a Result or returns its Status.
#define PX_ASSIGN_OR_RETURN(decl, expr) \
  PX_ASSIGN_OR_RETURN_IMPL_(PX_CONCAT_(px_result_, __LINE__), decl, expr)
#define PX_ASSIGN_OR_RETURN_IMPL_(tmp, decl, expr) \
  auto tmp = (expr);                               \
  if (!tmp.ok()) return tmp.status();              \
  decl = std::move(tmp).value()
