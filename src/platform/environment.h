#pragma once
// The process environment in UTF-8. Setting a variable also sets it for programs this
// process starts.

#include <optional>
#include <string>

#include "core/status.h"

namespace px {

// The value of `name`; nullopt when it is not set.
std::optional<std::string> GetEnv(const std::string& name);
// Sets `name`, or with nullopt removes it.
Status SetEnv(const std::string& name, const std::optional<std::string>& value);

}  // namespace px
