#include "platform/environment.h"

#include <cstdlib>

#ifdef _WIN32
#include <stdlib.h>

#include "platform/win_text.h"
#endif

namespace px {

#ifdef _WIN32

std::optional<std::string> GetEnv(const std::string& name) {
  const wchar_t* value = _wgetenv(win::Wide(name).c_str());
  if (value == nullptr) return std::nullopt;
  return win::Narrow(value);
}

Status SetEnv(const std::string& name, const std::optional<std::string>& value) {
  // An empty value removes the variable on Windows; there is no empty variable to set.
  if (_wputenv_s(win::Wide(name).c_str(), value ? win::Wide(*value).c_str() : L"") != 0) {
    return Status::InvalidArgument("cannot set the environment variable " + name);
  }
  return Status::Ok();
}

#else

std::optional<std::string> GetEnv(const std::string& name) {
  const char* value = std::getenv(name.c_str());
  if (value == nullptr) return std::nullopt;
  return std::string(value);
}

Status SetEnv(const std::string& name, const std::optional<std::string>& value) {
  const int rc = value ? ::setenv(name.c_str(), value->c_str(), 1) : ::unsetenv(name.c_str());
  if (rc != 0) return Status::InvalidArgument("cannot set the environment variable " + name);
  return Status::Ok();
}

#endif

}  // namespace px
