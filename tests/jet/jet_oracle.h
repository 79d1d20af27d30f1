#pragma once
// Files written by Jackcess through ../shared/tools/jet-oracle ("build"), for tests that
// need Access-format files the samples lack. Tests skip when the tool or Java is missing.

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

#include "support/temp_folder.h"

namespace px::jet {

inline std::filesystem::path JetOracleTool() {
  return std::filesystem::path(PX_SHARED_DIR) / "tools" / "jet-oracle" / "jet-oracle";
}

inline bool JetOracleAvailable() {
  return std::filesystem::exists(JetOracleTool()) &&
         std::system("java -version >/dev/null 2>&1") == 0;
}

// Builds `name` in `folder` from the tool's JSON table description; the file's path, or
// nullopt with the tool's output in `error`.
inline std::optional<std::filesystem::path> JetOracleBuild(const px::testing::TempFolder& folder,
                                                           const std::string& name,
                                                           const std::string& json,
                                                           std::string& error) {
  const auto spec = folder.Write(name + ".json", json);
  const auto file = folder.path() / name;
  const auto log = folder.path() / (name + ".log");
  const std::string cmd = "\"" + JetOracleTool().string() + "\" build \"" + file.string() +
                          "\" \"" + spec.string() + "\" > \"" + log.string() + "\" 2>&1";
  if (std::system(cmd.c_str()) != 0) {
    error = px::testing::ReadAll(log);
    return std::nullopt;
  }
  return file;
}

}  // namespace px::jet
