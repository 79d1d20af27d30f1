#pragma once
// The system-specific half of the file layer (files_posix.cpp, files_windows.cpp); the
// shared half in files.cpp builds SystemFiles() on these. Not for use outside platform/.

#include <memory>
#include <string>

#include "platform/files.h"

namespace px::platform::os {

Result<std::unique_ptr<File>> OpenFile(const std::string& path, OpenMode mode);
// Renames `temp` over `target`, replacing it, and makes the rename durable.
Status RenameOver(const std::string& temp, const std::string& target);
// OK when the file does not exist.
Status RemoveFile(const std::string& path);
Result<std::unique_ptr<FileLock>> LockWholeFile(const std::string& path);

}  // namespace px::platform::os
