#pragma once
// Runs a program with a time limit and collects what it printed, how it ended and the CPU
// time it used, so that tests can hold the command line to its contract.

#include <cstddef>
#include <string>
#include <vector>

namespace px::jetcheck {

struct ProcessResult {
  bool started = false;    // false when the program could not be run at all
  int exit_code = -1;      // set when the program exited by itself
  int signal = 0;          // set when a signal ended it
  bool timed_out = false;  // killed after the wall-clock limit
  double wall_seconds = 0;
  double cpu_seconds = 0;     // user + system time of the child
  std::size_t out_bytes = 0;  // everything written to standard output
  std::string out;            // standard output, when kept
  std::string err;            // standard error (first megabyte)

  bool ExitedWith(int code) const {
    return started && !timed_out && signal == 0 && exit_code == code;
  }
  // One line for failure messages: "exit 1 after 0.01 s cpu" / "signal 11" / "timed out".
  std::string Describe() const;
};

struct ProcessOptions {
  double timeout_seconds = 30;
  bool keep_stdout = true;
  // Output beyond this many bytes is counted but not kept.
  std::size_t max_kept_bytes = std::size_t(256) << 20;
};

// Runs argv[0] (searched on PATH when it has no slash) with the given arguments.
ProcessResult RunProcess(const std::vector<std::string>& argv, const ProcessOptions& options = {});

// Full path of an executable found on PATH; empty when there is none.
std::string FindOnPath(const std::string& name);

// Splits text into lines without their line ends; a last line without "\n" still counts.
std::vector<std::string> SplitLines(const std::string& text);

}  // namespace px::jetcheck
