#pragma once
// The domain speaks Windows paths ("C:\Pergonix\Genel\Data\DonemAc.mdb"). On systems
// without drive letters a drive map turns them into host paths:
//   PERGONIX_DRIVES="C=/srv/pergonix;D=/media/usb"
// Each existing component is matched case-insensitively against the directory's entries,
// as Windows does; components that do not exist keep the spelling given.

#include <filesystem>
#include <string>
#include <string_view>

#include "core/result.h"

namespace px {

// True for "X:" followed by nothing or a separator ("C:\a", "c:/a", "D:").
bool IsDrivePath(std::string_view path);

// Host path for a domain path. A path that is not drive-qualified is taken as a host path
// and returned unchanged. Fails when the drive letter has no mapping.
Result<std::filesystem::path> ToHostPath(std::string_view path);

}  // namespace px
