#ifdef _WIN32

#include "platform/win_text.h"

#include <windows.h>

namespace px::win {

std::wstring Wide(std::string_view utf8) {
  if (utf8.empty()) return {};
  const int n = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), int(utf8.size()), nullptr, 0);
  std::wstring out(size_t(n > 0 ? n : 0), L'\0');
  if (n > 0) MultiByteToWideChar(CP_UTF8, 0, utf8.data(), int(utf8.size()), out.data(), n);
  return out;
}

std::string Narrow(std::wstring_view utf16) {
  if (utf16.empty()) return {};
  const int n = WideCharToMultiByte(CP_UTF8, 0, utf16.data(), int(utf16.size()), nullptr, 0,
                                    nullptr, nullptr);
  std::string out(size_t(n > 0 ? n : 0), '\0');
  if (n > 0) {
    WideCharToMultiByte(CP_UTF8, 0, utf16.data(), int(utf16.size()), out.data(), n, nullptr,
                        nullptr);
  }
  return out;
}

std::string ErrorText(unsigned long code) {
  wchar_t* buffer = nullptr;
  const DWORD n = FormatMessageW(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
      nullptr, code, 0, reinterpret_cast<wchar_t*>(&buffer), 0, nullptr);
  std::string text = n > 0 ? Narrow(std::wstring_view(buffer, n)) : "Windows error";
  if (buffer != nullptr) LocalFree(buffer);
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == ' ')) {
    text.pop_back();
  }
  return text + " (" + std::to_string(code) + ")";
}

}  // namespace px::win

#endif  // _WIN32
