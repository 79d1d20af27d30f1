#include "platform/console.h"

#ifdef _WIN32
#include <windows.h>
// shellapi.h needs windows.h first.
#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

#include <cstdio>

#include "platform/win_text.h"
#else
#include <unistd.h>
#endif

namespace px {

#ifdef _WIN32

std::vector<std::string> Utf8Arguments(int argc, char** argv) {
  int count = 0;
  wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), &count);
  if (wide == nullptr) return std::vector<std::string>(argv, argv + argc);
  std::vector<std::string> args;
  for (int i = 0; i < count; ++i) args.push_back(win::Narrow(wide[i]));
  LocalFree(wide);
  return args;
}

void PrepareStandardStreams() {
  _setmode(_fileno(stdout), _O_BINARY);
  _setmode(_fileno(stderr), _O_BINARY);
  SetConsoleOutputCP(CP_UTF8);
}

std::string InputLineToUtf8(std::string_view line) {
  if (GetFileType(GetStdHandle(STD_INPUT_HANDLE)) != FILE_TYPE_CHAR || line.empty()) {
    return std::string(line);
  }
  const UINT code_page = GetConsoleCP();
  const int n = MultiByteToWideChar(code_page, 0, line.data(), int(line.size()), nullptr, 0);
  if (n <= 0) return std::string(line);
  std::wstring wide(size_t(n), L'\0');
  MultiByteToWideChar(code_page, 0, line.data(), int(line.size()), wide.data(), n);
  return win::Narrow(wide);
}

#else

std::vector<std::string> Utf8Arguments(int argc, char** argv) {
  return std::vector<std::string>(argv, argv + argc);
}

void PrepareStandardStreams() {}

std::string InputLineToUtf8(std::string_view line) {
  return std::string(line);
}

#endif

bool StandardInputAndErrorAreTerminal() {
#ifdef _WIN32
  return _isatty(0) && _isatty(2);
#else
  return isatty(0) && isatty(2);
#endif
}

}  // namespace px
