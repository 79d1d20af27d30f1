#pragma once
// The shared sample files (PX_SHARED_DIR/samples): a test that needs one skips, naming the
// path it looked for, when the samples are not on this machine.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace px::testing {

// PX_SHARED_DIR/samples/<relative>, e.g. SamplePath("mdb/testV2000.mdb").
inline std::string SamplePath(const std::string& relative) {
  return (std::filesystem::path(PX_SHARED_DIR) / "samples" / relative).string();
}

}  // namespace px::testing

// Declares `var` as the sample's path, or skips the test when the file or folder is absent.
#define PX_SAMPLE_OR_SKIP(var, relative)                       \
  const std::string var = ::px::testing::SamplePath(relative); \
  if (!std::filesystem::exists(var)) GTEST_SKIP() << "sample not found: " << var
