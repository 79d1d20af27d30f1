#pragma once
// The temporary folder as GetTempPathW gives it (in UTF-8): a host path ending with the separator.
// On POSIX systems TMPDIR when set and not empty, else "/tmp/". The folder is not checked.

#include <string>

namespace px {

std::string TempPath();

}  // namespace px
