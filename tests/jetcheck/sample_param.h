#pragma once
// Tests run once per sample Access file. When the samples are absent the one sample every
// copy of them holds stands in, so that each test skips with a message instead of vanishing.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "jetcheck/reference_helpers.h"
#include "support/samples.h"

namespace px::jetcheck {

inline std::vector<std::string> SampleParams() {
  std::vector<std::string> files = SampleFiles();
  if (files.empty()) files.push_back("testV2000.mdb");
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
    PX_SAMPLE_OR_SKIP(sample, "mdb/" + GetParam());
    path_ = sample;
  }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace px::jetcheck
