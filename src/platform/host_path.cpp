#include "platform/host_path.h"

namespace px {

bool IsDrivePath(std::string_view path) {
  if (path.size() < 2 || path[1] != ':') return false;
  const char c = path[0];
  if (!((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'))) return false;
  return path.size() == 2 || path[2] == '\\' || path[2] == '/';
}

// Placeholder: host paths only, until the drive map lands.
Result<std::filesystem::path> ToHostPath(std::string_view path) {
  if (IsDrivePath(path)) return Status::NotSupported("no drive map for " + std::string(path));
  return std::filesystem::path(path);
}

}  // namespace px
