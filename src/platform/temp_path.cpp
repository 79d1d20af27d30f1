#include "platform/temp_path.h"

#include "platform/environment.h"
#include "platform/host_path.h"

#ifdef _WIN32
#include <windows.h>

#include "platform/win_text.h"
#endif

namespace px {

std::string TempPath() {
#ifdef _WIN32
  wchar_t buffer[MAX_PATH + 2];
  const DWORD n = GetTempPathW(MAX_PATH + 1, buffer);
  std::string path = "C:\\";
  if (n > 0 && n <= MAX_PATH + 1) path = win::Narrow(std::wstring_view(buffer, n));
  if (GetEnv(kDriveMapVariable) && IsDrivePath(path)) path = "\\\\?\\" + path;
  return path;
#else
  const auto dir = GetEnv("TMPDIR");
  std::string path = (dir && !dir->empty()) ? *dir : "/tmp";
  if (path.back() != '/') path += '/';
  return path;
#endif
}

}  // namespace px
