#include "platform/temp_path.h"

#include <cstdlib>

#ifdef _WIN32
#include <windows.h>
#endif

namespace px {

std::string TempPath() {
#ifdef _WIN32
  char buffer[MAX_PATH + 1];
  DWORD n = GetTempPathA(sizeof buffer, buffer);
  if (n > 0 && n < sizeof buffer) return std::string(buffer, n);
  return "C:\\";
#else
  const char* dir = std::getenv("TMPDIR");
  std::string path = (dir && *dir) ? dir : "/tmp";
  if (path.back() != '/') path += '/';
  return path;
#endif
}

}  // namespace px
