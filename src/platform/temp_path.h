#pragma once
// The temporary folder as GetTempPathW gives it (in UTF-8): a host path ending with the separator.
// On POSIX systems TMPDIR when set and not empty, else "/tmp/". The folder is not checked.
// On Windows with the drive map set (PERGONIX_DRIVES), drive letters in the program's paths
// are the map's; the folder then comes in its verbatim form ("\\?\C:\Users\...\Temp\"),
// which the map leaves alone, so that it still names the system's folder.

#include <string>

namespace px {

std::string TempPath();

}  // namespace px
