// Files written by ADO itself: each one reads with the values it holds, and our writer
// reproduces those without pending changes byte for byte.
#include <gtest/gtest.h>

#include "core/value_text.h"
#include "xbf_test_util.h"

namespace px::xbf {
namespace {

using testing::ReadText;
using testing::Rewrite;
using testing::Sample;
using testing::ToCrlf;

class XbfSamples : public ::testing::Test {
 protected:
  void SetUp() override { PX_REQUIRE_SAMPLES(); }
};

TEST_F(XbfSamples, CommittedFilesAreRewrittenByteForByte) {
  for (const char* n : {"04-", "17-", "20-", "22-", "23-", "24-", "28-"}) {
    const std::string original = Sample(n);
    Status st;
    EXPECT_EQ(Rewrite(original, &st), original) << n;
    EXPECT_TRUE(st.ok()) << n << st.ToString();
  }
}

TEST_F(XbfSamples, JetSchemaIsRewrittenByteForByte) {
  // A Jet 4.0 table's schema as ADO wrote it (the excerpt kept LF line ends).
  const std::string original = ToCrlf(Sample("29-"));
  EXPECT_EQ(Rewrite(original), original);
}

}  // namespace
}  // namespace px::xbf
