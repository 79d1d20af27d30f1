#pragma once
// Test scaffolding: runs the program as a user would, capturing what it prints on both
// streams and its exit status, and finds a sample file (the test skips when it is absent).

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <string>

namespace px::testing {

struct ProgramOutput {
  std::string text;  // standard output and standard error, interleaved
  int exit_code = -1;
};

// `args` is appended to the program's path as shell text: quote paths with '...'.
inline ProgramOutput RunProgram(const std::string& args) {
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

// The path of a sample below ../shared/samples ("mdb/testV2000.mdb").
inline std::string SamplePath(const std::string& relative) {
  return (std::filesystem::path(PX_SHARED_DIR) / "samples" / relative).string();
}

}  // namespace px::testing

// Declares `var` as the sample's path, or skips the test when the sample is absent.
#define PX_SAMPLE_OR_SKIP(var, relative)                       \
  const std::string var = ::px::testing::SamplePath(relative); \
  if (!std::filesystem::exists(var)) GTEST_SKIP() << "no sample " << var

namespace px::testing {

struct ShellOutput {
  int exit_code = -1;
  std::string out;  // standard output (and standard error when merged)
};

// `command` is a shell command line; standard input is empty.
inline ShellOutput RunShell(const std::string& command) {
  ShellOutput o;
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
