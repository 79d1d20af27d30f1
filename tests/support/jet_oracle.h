#pragma once
// jet-oracle (../shared/tools/jet-oracle, Jackcess on Java): the independent reader and
// writer the external tests compare ours with. It runs as a Linux program only, so tests
// that use it carry "External" in their name and run in the plain leg.

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "support/process.h"
#include "support/temp_folder.h"

namespace px::testing {

inline std::string JetOraclePath() {
  return (std::filesystem::path(PX_SHARED_DIR) / "tools" / "jet-oracle" / "jet-oracle").string();
}

// Why jet-oracle cannot run here; empty when it can.
inline std::string JetOracleMissing() {
  if (!std::filesystem::exists(JetOraclePath())) return "no jet-oracle at " + JetOraclePath();
  if (FindOnPath("java").empty()) return "jet-oracle needs java, which is not on PATH";
  return "";
}

// `jet-oracle args...`.
inline RunResult RunJetOracle(std::vector<std::string> args, const RunOptions& options = {}) {
  args.insert(args.begin(), JetOraclePath());
  return RunProcess(args, options);
}

// Builds `name` in `folder` from the tool's JSON table description: the file's path, or
// nullopt with how the tool ended in `error`.
inline std::optional<std::filesystem::path> JetOracleBuild(const TempFolder& folder,
                                                           const std::string& name,
                                                           const std::string& json,
                                                           std::string& error) {
  const auto tables_json = folder.Write(name + ".json", json);
  const auto file = folder.path() / name;
  const RunResult r = RunJetOracle({"build", Utf8FromPath(file), Utf8FromPath(tables_json)});
  if (!r.ExitedWith(0)) {
    error = r.Describe();
    return std::nullopt;
  }
  return file;
}

}  // namespace px::testing

// Skips the test, saying what is missing, when jet-oracle cannot run here.
#define PX_JET_ORACLE_OR_SKIP()                                                              \
  if (const std::string px_missing = ::px::testing::JetOracleMissing(); !px_missing.empty()) \
  GTEST_SKIP() << px_missing
