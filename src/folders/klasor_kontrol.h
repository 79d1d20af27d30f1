#pragma once
// Checks of the folder backups are written to or read from, on Windows-style paths:
// whether a path text is well formed, whether a folder may be used (drive present, ready,
// a real disk; a missing folder created on request), a path's parent folders, and a
// subfolder made ready inside an existing folder. Messages go to the operator; failures
// of the file system itself are returned to the caller.

#include <string>
#include <string_view>
#include <vector>

#include "core/result.h"
#include "operator/operator.h"
#include "platform/file_system.h"

namespace px::folders {

// "X:\..." with no trailing "\", none of / : * ? " < > | after the drive, and no blank
// or second "\" on either side of any "\". Shows nothing.
bool KlasorAdiGecerli(std::string_view yol);

// True when the folder exists (or was just created, after the operator agreed) on a drive
// that is known, not a CD-ROM and not a RAM disk; otherwise false after a message.
Result<bool> SurucuKlasorKontrol(std::string_view yol, FileSystem& fs, op::Operator& op);

// The path, then each parent in turn, the drive itself left out:
// C:\Pergonix\Yedek gives C:\Pergonix\Yedek and C:\Pergonix.
std::vector<std::string> KlasorParcala(std::string_view yol);

// True when the parent folder exists; the subfolder is then created if missing. False
// after a message when the parent is missing.
Result<bool> AltKlasorHazirla(std::string_view alt_klasor, std::string_view ust_klasor,
                              FileSystem& fs, op::Operator& op);

}  // namespace px::folders
