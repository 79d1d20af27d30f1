#pragma once
// The file-system object the flows hold: folder and file existence, drives, folder
// creation and file counts, on domain (Windows-style) paths. HostFileSystem answers
// through the drive map; tests substitute their own.

#include <cstddef>
#include <string_view>

#include "core/result.h"
#include "platform/drive.h"

namespace px {

class FileSystem {
 public:
  virtual ~FileSystem() = default;
  virtual bool FolderExists(std::string_view path) = 0;
  virtual bool FileExists(std::string_view path) = 0;
  virtual DriveFacts Drive(char letter) = 0;
  // Creates one folder whose parent exists; an error when it exists or cannot be made.
  virtual Status CreateFolder(std::string_view path) = 0;
  // Files directly in the folder (sub-folders do not count); NotFound without the folder.
  virtual Result<size_t> FileCount(std::string_view folder) = 0;
};

class HostFileSystem : public FileSystem {
 public:
  bool FolderExists(std::string_view path) override;
  bool FileExists(std::string_view path) override;
  DriveFacts Drive(char letter) override;
  Status CreateFolder(std::string_view path) override;
  Result<size_t> FileCount(std::string_view folder) override;
};

}  // namespace px
