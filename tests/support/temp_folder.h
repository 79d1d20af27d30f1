#pragma once
// Test scaffolding: a fresh host folder removed at the end of the test, files written and
// read as raw bytes, and environment variables set for the scope of a test.

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "platform/environment.h"
#include "platform/files.h"
#include "platform/utf8_path.h"

namespace px::testing {

class TempFolder {
 public:
  TempFolder() {
    std::random_device rd;
    path_ = std::filesystem::temp_directory_path() /
            ("px-test-" + std::to_string(rd()) + "-" + std::to_string(rd()));
    std::filesystem::create_directories(path_);
  }
  ~TempFolder() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::string str() const { return ::px::Utf8FromPath(path_); }

  // Writes raw bytes to a path below the folder, creating the folders in between.
  std::filesystem::path Write(const std::string& relative, const std::string& bytes) const {
    auto p = path_ / ::px::PathFromUtf8(relative);
    std::filesystem::create_directories(p.parent_path());
    std::ofstream(p, std::ios::binary) << bytes;
    return p;
  }
  std::filesystem::path Mkdir(const std::string& relative) const {
    auto p = path_ / ::px::PathFromUtf8(relative);
    std::filesystem::create_directories(p);
    return p;
  }

 private:
  std::filesystem::path path_;
};

// The whole file through the program's own file layer; empty when it cannot be read.
inline std::string ReadAll(const std::filesystem::path& p) {
  auto content = platform::ReadFileWhole(platform::SystemFiles(), Utf8FromPath(p));
  return content.ok() ? std::move(*content) : std::string();
}
inline std::vector<uint8_t> ReadBytes(const std::filesystem::path& p) {
  const std::string content = ReadAll(p);
  return std::vector<uint8_t>(content.begin(), content.end());
}

// Sets (or with nullopt unsets) an environment variable; restores it at scope end.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, std::optional<std::string> value)
      : name_(name), old_(::px::GetEnv(name)) {
    (void)::px::SetEnv(name_, value);
  }
  ~ScopedEnv() { (void)::px::SetEnv(name_, old_); }
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

 private:
  std::string name_;
  std::optional<std::string> old_;
};

}  // namespace px::testing
