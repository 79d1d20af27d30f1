#include "platform/file_system.h"

#include <filesystem>
#include <system_error>

#include "platform/host_path.h"
#include "platform/utf8_path.h"

namespace px {
namespace fs = std::filesystem;

namespace {
// Entries counted in one folder; beyond this the folder is not one of ours.
constexpr size_t kMaxEntriesCounted = 10'000'000;
}  // namespace

bool HostFileSystem::FolderExists(std::string_view path) {
  auto host = ToHostPath(path);
  std::error_code ec;
  return host.ok() && fs::is_directory(*host, ec);
}

bool HostFileSystem::FileExists(std::string_view path) {
  auto host = ToHostPath(path);
  std::error_code ec;
  return host.ok() && fs::is_regular_file(*host, ec);
}

DriveFacts HostFileSystem::Drive(char letter) {
  return GetDriveFacts(letter);
}

Status HostFileSystem::CreateFolder(std::string_view path) {
  PX_ASSIGN_OR_RETURN(fs::path host, ToHostPath(path));
  std::error_code ec;
  if (fs::exists(host, ec)) return Status::IOError(std::string(path) + ": already exists");
  if (!fs::create_directory(host, ec) || ec) {
    return Status::IOError(std::string(path) + ": cannot create folder " + Utf8FromPath(host) +
                           ": " + (ec ? ec.message() : "not created"));
  }
  return Status::Ok();
}

Result<size_t> HostFileSystem::FileCount(std::string_view folder) {
  PX_ASSIGN_OR_RETURN(fs::path host, ToHostPath(folder));
  std::error_code ec;
  if (!fs::is_directory(host, ec)) return Status::NotFound(std::string(folder) + " not found");
  fs::directory_iterator it(host, ec);
  if (ec) return Status::IOError(std::string(folder) + ": " + ec.message());
  size_t files = 0, seen = 0;
  for (; it != fs::directory_iterator() && seen < kMaxEntriesCounted; it.increment(ec)) {
    if (ec) return Status::IOError(std::string(folder) + ": " + ec.message());
    ++seen;
    if (it->is_regular_file(ec)) ++files;
  }
  return files;
}

}  // namespace px
