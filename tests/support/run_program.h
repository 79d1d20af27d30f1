#pragma once
// Runs the program under test through the shell and collects its exit code and output.

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <string>

namespace px::testing {

struct ProgramOutput {
  int exit_code = -1;
  std::string out;  // standard output (and standard error when merged)
};

// `command` is a shell command line; standard input is empty.
inline ProgramOutput RunShell(const std::string& command) {
  ProgramOutput o;
  FILE* p = popen((command + " </dev/null").c_str(), "r");
  if (!p) return o;
  std::array<char, 4096> buf;
  size_t n;
  while ((n = fread(buf.data(), 1, buf.size(), p)) > 0) o.out.append(buf.data(), n);
  const int status = pclose(p);
  o.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return o;
}

inline std::string ShellQuote(const std::string& s) {
  std::string q = "'";
  for (char c : s) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return q + "'";
}

}  // namespace px::testing
