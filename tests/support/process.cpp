#include "support/process.h"

#include <sstream>

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

std::vector<std::string> SplitLines(const std::string& text) {
  std::vector<std::string> lines;
  std::size_t begin = 0;
  while (begin < text.size()) {
    std::size_t end = text.find('\n', begin);
    if (end == std::string::npos) end = text.size();
    std::string line = text.substr(begin, end - begin);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(std::move(line));
    begin = end + 1;
  }
  return lines;
}

std::vector<std::string> Words(const std::string& line) {
  std::vector<std::string> words;
  std::istringstream in(line);
  for (std::string w; in >> w;) words.push_back(w);
  return words;
}

}  // namespace px::testing
