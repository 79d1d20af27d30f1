#pragma once
// Tests run once per sample Access file. When the samples are absent a single placeholder
// parameter makes each test skip with a message instead of vanishing.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "jetcheck/reference_helpers.h"

namespace px::jetcheck {

inline constexpr const char* kNoSamples = "no_samples";

inline std::vector<std::string> SampleParams() {
  std::vector<std::string> files = SampleFiles();
  if (files.empty()) files.push_back(kNoSamples);
  return files;
}

// "testV2000.mdb" -> "testV2000_mdb".
inline std::string SampleParamName(const ::testing::TestParamInfo<std::string>& info) {
  std::string name = info.param;
  for (char& c : name) {
    if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
  }
  return name;
}

class SampleTest : public ::testing::TestWithParam<std::string> {
 protected:
  void SetUp() override {
    if (GetParam() == kNoSamples) {
      GTEST_SKIP() << "sample Access files are absent (" << PX_SHARED_DIR << "/samples/mdb)";
    }
    path_ = SamplesDir() + "/" + GetParam();
  }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace px::jetcheck
