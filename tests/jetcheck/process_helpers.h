#pragma once
// Programs run by the cross-checks go through the one runner in tests/support.

#include <string>
#include <vector>

#include "support/process.h"

namespace px::jetcheck {

using ProcessResult = ::px::testing::RunResult;
using ProcessOptions = ::px::testing::RunOptions;
using ::px::testing::FindOnPath;
using ::px::testing::RunProcess;

// Splits text into lines without their line ends; a last line without "\n" still counts.
std::vector<std::string> SplitLines(const std::string& text);

}  // namespace px::jetcheck
