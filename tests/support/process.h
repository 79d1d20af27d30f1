#pragma once
// Starts a program without a shell (posix_spawn, CreateProcessW), feeds it standard input,
// collects what it prints and how it ended, and kills it after a time limit. Arguments are
// UTF-8 and reach the program unchanged, Turkish letters and blanks included.

#include <string>
#include <vector>

namespace px::testing {

struct RunResult {
  bool started = false;    // false when the program could not be run at all
  int exit_code = -1;      // set when the program exited by itself
  int signal = 0;          // set when a signal ended it (POSIX)
  bool timed_out = false;  // killed after the time limit
  std::string out;         // standard output
  std::string err;         // standard error

  bool ExitedWith(int code) const {
    return started && !timed_out && signal == 0 && exit_code == code;
  }
  // One line for failure messages: "exit 1: <stderr>" / "signal 11" / "timed out".
  std::string Describe() const;
};

struct RunOptions {
  std::string input;  // standard input; empty gives an input at its end
  double timeout_seconds = 120;
};

// Runs argv[0] (searched on PATH when it names no folder).
RunResult RunProcess(const std::vector<std::string>& argv, const RunOptions& options = {});

// Runs the program under test with `args`.
RunResult RunProgram(const std::vector<std::string>& args, const RunOptions& options = {});

// Full path of an executable found on PATH; empty when there is none.
std::string FindOnPath(const std::string& name);

// The words of a command line separated by blanks (no quoting: no argument holds a blank).
std::vector<std::string> Words(const std::string& line);

// What a program printed, a line each without the line ends; a last line without "\n" counts.
std::vector<std::string> SplitLines(const std::string& text);

}  // namespace px::testing
