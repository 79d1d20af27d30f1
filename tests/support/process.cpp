#include "support/process.h"

namespace px::testing {

std::string RunResult::Describe() const {
  if (!started) return "could not be started: " + err;
  if (timed_out) return "timed out";
  std::string what =
      signal != 0 ? "signal " + std::to_string(signal) : "exit " + std::to_string(exit_code);
  if (!err.empty()) what += ": " + err.substr(0, 2000);
  return what;
}

RunResult RunProgram(const std::vector<std::string>& args, const RunOptions& options) {
  std::vector<std::string> argv{PX_BINARY};
  argv.insert(argv.end(), args.begin(), args.end());
  return RunProcess(argv, options);
}

}  // namespace px::testing
