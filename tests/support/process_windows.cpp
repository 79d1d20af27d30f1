#ifdef _WIN32

#include <windows.h>

#include <thread>

#include "platform/win_text.h"
#include "support/process.h"

namespace px::testing {
namespace {

// Quotes one argument so that CommandLineToArgvW (and the C runtime) give it back whole.
std::wstring Quote(const std::wstring& arg) {
  if (!arg.empty() && arg.find_first_of(L" \t\n\v\"") == std::wstring::npos) return arg;
  std::wstring q = L"\"";
  size_t backslashes = 0;
  for (wchar_t c : arg) {
    if (c == L'\\') {
      ++backslashes;
      continue;
    }
    q.append(c == L'"' ? 2 * backslashes + 1 : backslashes, L'\\');
    backslashes = 0;
    q += c;
  }
  q.append(2 * backslashes, L'\\');
  return q + L"\"";
}

class OwnedHandle {
 public:
  OwnedHandle() = default;
  ~OwnedHandle() { Close(); }
  OwnedHandle(const OwnedHandle&) = delete;
  OwnedHandle& operator=(const OwnedHandle&) = delete;
  HANDLE* out() { return &h_; }
  HANDLE get() const { return h_; }
  void Close() {
    if (h_ != nullptr && h_ != INVALID_HANDLE_VALUE) CloseHandle(h_);
    h_ = nullptr;
  }

 private:
  HANDLE h_ = nullptr;
};

void ReadAll(HANDLE h, std::string* into) {
  char buf[65536];
  DWORD n = 0;
  while (ReadFile(h, buf, sizeof buf, &n, nullptr) && n > 0) into->append(buf, n);
}

}  // namespace

RunResult RunProcess(const std::vector<std::string>& argv, const RunOptions& options) {
  RunResult r;
  if (argv.empty()) return r;
  SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
  OwnedHandle in_read, in_write, out_read, out_write, err_read, err_write;
  if (!CreatePipe(in_read.out(), in_write.out(), &inherit, 0) ||
      !CreatePipe(out_read.out(), out_write.out(), &inherit, 0) ||
      !CreatePipe(err_read.out(), err_write.out(), &inherit, 0)) {
    return r;
  }
  // Only the child's ends are inherited.
  SetHandleInformation(in_write.get(), HANDLE_FLAG_INHERIT, 0);
  SetHandleInformation(out_read.get(), HANDLE_FLAG_INHERIT, 0);
  SetHandleInformation(err_read.get(), HANDLE_FLAG_INHERIT, 0);

  std::wstring command;
  for (const std::string& a : argv) {
    if (!command.empty()) command += L' ';
    command += Quote(win::Wide(a));
  }
  const std::wstring program = win::Wide(argv[0]);
  const bool has_folder = argv[0].find_first_of("/\\") != std::string::npos;
  STARTUPINFOW si{};
  si.cb = sizeof si;
  si.dwFlags = STARTF_USESTDHANDLES;
  si.hStdInput = in_read.get();
  si.hStdOutput = out_write.get();
  si.hStdError = err_write.get();
  PROCESS_INFORMATION pi{};
  if (!CreateProcessW(has_folder ? program.c_str() : nullptr, command.data(), nullptr, nullptr,
                      TRUE, CREATE_NO_WINDOW, nullptr, nullptr, &si, &pi)) {
    r.err = "cannot start " + argv[0] + ": " + win::ErrorText(GetLastError());
    return r;
  }
  r.started = true;
  CloseHandle(pi.hThread);
  in_read.Close();
  out_write.Close();
  err_write.Close();

  std::thread feeder([&] {
    DWORD n = 0;
    size_t fed = 0;
    while (fed < options.input.size() &&
           WriteFile(in_write.get(), options.input.data() + fed, DWORD(options.input.size() - fed),
                     &n, nullptr)) {
      fed += n;
    }
    in_write.Close();
  });
  std::thread out_reader(ReadAll, out_read.get(), &r.out);
  std::thread err_reader(ReadAll, err_read.get(), &r.err);
  if (WaitForSingleObject(pi.hProcess, DWORD(options.timeout_seconds * 1000)) == WAIT_TIMEOUT) {
    r.timed_out = true;
    TerminateProcess(pi.hProcess, 1);
    WaitForSingleObject(pi.hProcess, INFINITE);
  }
  out_reader.join();
  err_reader.join();
  feeder.join();
  DWORD code = 0;
  GetExitCodeProcess(pi.hProcess, &code);
  r.exit_code = int(code);
  CloseHandle(pi.hProcess);
  return r;
}

std::string FindOnPath(const std::string& name) {
  wchar_t found[MAX_PATH];
  if (SearchPathW(nullptr, win::Wide(name).c_str(), L".exe", MAX_PATH, found, nullptr) == 0) {
    return "";
  }
  return win::Narrow(found);
}

}  // namespace px::testing

#endif  // _WIN32
