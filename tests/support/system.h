#pragma once
// Tests that only make sense on one system skip on the other and say why.

#include <gtest/gtest.h>

namespace px::testing {

#ifdef _WIN32
inline constexpr bool kOnWindows = true;
#else
inline constexpr bool kOnWindows = false;
#endif

}  // namespace px::testing

#define PX_POSIX_ONLY(why) \
  if (::px::testing::kOnWindows) GTEST_SKIP() << "POSIX only: " << why
#define PX_WINDOWS_ONLY(why) \
  if (!::px::testing::kOnWindows) GTEST_SKIP() << "Windows only: " << why
