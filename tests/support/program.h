#pragma once
// Runs the pergonix-yedek binary built with the tests (PX_BINARY) and captures what it
// prints (standard output and error together) and its exit code.

#include <sys/wait.h>
#include <array>
#include <cstdio>
#include <string>

namespace px::testing {

struct ProgramOutput {
  int exit_code = -1;
  std::string text;
};

// `args` is shell text after the program name; quote paths yourself.
inline ProgramOutput RunPergonixYedek(const std::string& args) {
  ProgramOutput o;
  const std::string cmd = std::string(PX_BINARY) + " " + args + " </dev/null 2>&1";
  FILE* p = popen(cmd.c_str(), "r");
  if (!p) return o;
  std::array<char, 4096> buf;
  size_t n;
  while ((n = fread(buf.data(), 1, buf.size(), p)) > 0) o.text.append(buf.data(), n);
  const int status = pclose(p);
  o.exit_code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return o;
}

}  // namespace px::testing
