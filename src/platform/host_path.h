#pragma once
// The domain speaks Windows paths ("C:\Pergonix\Genel\Data\DonemAc.mdb"). On systems
// without drive letters a drive map turns them into host paths:
//   PERGONIX_DRIVES="C=/srv/pergonix;D=/media/usb"
// When PERGONIX_DRIVES is unset, C: maps to a per-user data folder
// ($XDG_DATA_HOME or ~/.local/share, then "pergonix-yedek/C"), created on first use.
// Each existing component is matched case-insensitively against the directory's entries,
// as Windows does; components that do not exist keep the spelling given. Repeated
// separators act as one; "\" and "/" both separate. On Windows drive letters are the
// system's own when PERGONIX_DRIVES is unset, and mapped like everywhere else when it is set.

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "core/result.h"

namespace px {

inline constexpr char kDriveMapVariable[] = "PERGONIX_DRIVES";

struct DriveMapping {
  char letter = 'C';  // upper case
  std::filesystem::path root;
  bool operator==(const DriveMapping&) const = default;
};

// Parses "C=/srv/pergonix;D=/media/usb": letters in any case, blanks around entries and
// empty entries ignored; the first mapping of a letter wins.
Result<std::vector<DriveMapping>> ParseDriveMap(std::string_view map_text);

// True for "X:" followed by nothing or a separator ("C:\a", "c:/a", "D:").
bool IsDrivePath(std::string_view path);

// The host folder of a drive letter (any case) under the current map. NotFound when the
// letter is not mapped.
Result<std::filesystem::path> DriveRoot(char letter);

// Host path for a domain path. A path that is not drive-qualified is taken as a host path
// and returned unchanged. Fails when the drive letter has no mapping.
Result<std::filesystem::path> ToHostPath(std::string_view path);

// The same below an explicit root: `rest` is the part after "X:".
std::filesystem::path ResolveBelow(const std::filesystem::path& root, std::string_view rest);

}  // namespace px
