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
  void SetUp() override { PX_SAMPLE_OR_SKIP(samples, "adoxml"); }
};

// The same file with its pending changes dropped: the committed rows, laid out by ADO.
std::string CommittedOnly(const std::string& text, bool utf16le = false) {
  auto encoded = [utf16le](const std::string& s) {
    std::string out;
    if (!utf16le) return s;
    XbfWriter::AppendUtf16Le(out, s);
    return out;
  };
  std::string out = text;
  for (const char* block : {"update", "insert", "delete"}) {
    const std::string open = encoded(std::string("\t<rs:") + block + ">\r\n");
    const std::string close = encoded(std::string("\t</rs:") + block + ">\r\n");
    for (size_t at; (at = out.find(open)) != std::string::npos;) {
      const size_t end = out.find(close, at);
      if (end == std::string::npos) break;
      out.erase(at, end + close.size() - at);
    }
  }
  return out;
}

TEST_F(XbfSamples, CommittedRowsOfEveryUtf8SampleAreRewrittenByteForByte) {
  // Schema attributes of every type, name mapping, escaping, raw control characters,
  // fixed-length padding, float extremes and bin.hex wrapping inside values; 29 is a Jet 4.0
  // table's schema as ADO wrote it (the excerpt kept LF line ends).
  for (const char* n : {"01-", "02-", "03-", "04-", "05-", "06-", "07-", "08-", "09-",
                        "10-", "11-", "12-", "13-", "14-", "15-", "16-", "17-", "18-",
                        "19-", "20-", "21-", "22-", "23-", "24-", "28-", "29-"}) {
    const std::string text = std::string(n) == "29-" ? ToCrlf(Sample(n)) : Sample(n);
    const std::string committed = CommittedOnly(text);
    ASSERT_EQ(committed.find("<rs:update>"), std::string::npos) << n;
    Status st;
    EXPECT_EQ(Rewrite(committed, &st), committed) << n;
    EXPECT_TRUE(st.ok()) << n << st.ToString();
  }
}

std::string Utf16LeWithBom(const std::string& utf8) {
  std::string out = "\xFF\xFE";
  XbfWriter::AppendUtf16Le(out, utf8);
  return out;
}

TEST_F(XbfSamples, StreamSavedUtf16FileKeepsItsEncodingAndNarrowerLines) {
  const std::string original = Sample("25-");
  ASSERT_EQ(original.substr(0, 2), "\xFF\xFE");
  const std::string committed = CommittedOnly(original, true);
  ASSERT_LT(committed.size(), original.size());
  Status st;
  EXPECT_EQ(Rewrite(committed, &st), committed);
  EXPECT_TRUE(st.ok()) << st.ToString();
  // The pending rows read as ADO presents them.
  auto back = ReadText(original);
  ASSERT_TRUE(back.status.ok()) << back.status.ToString();
  ASSERT_EQ(back.rows.size(), 2u);
  EXPECT_EQ(back.rows[0][1], Value(std::string("\u20ac updated")));
  EXPECT_EQ(back.rows[1][0], Value(int64_t(3)));
}

TEST_F(XbfSamples, SqlServerSchemaSavedThroughAStreamIsRewrittenByteForByte) {
  // Sample 31 is a bare schema excerpt (columns 1-8 and 36); wrapped into a document and
  // renumbered it is what ADO writes in UTF-16.
  std::string fragment = Sample("31-");
  const size_t at = fragment.find("rs:number='36'");
  ASSERT_NE(at, std::string::npos);
  fragment.replace(at, 14, "rs:number='9'");
  const std::string doc = ToCrlf(
      "<xml xmlns:s='uuid:BDC6E3F0-6DA3-11d1-A2A3-00AA00C14882'\n"
      "\txmlns:dt='uuid:C2F41010-65B3-11d1-A29F-00AA00C14882'\n"
      "\txmlns:rs='urn:schemas-microsoft-com:rowset'\n"
      "\txmlns:z='#RowsetSchema'>\n" +
      fragment + "\n<rs:data>\n</rs:data>\n</xml>");
  const std::string wide = Utf16LeWithBom(doc);
  EXPECT_EQ(Rewrite(wide), wide);
  // The bare fragment itself reads as a schema without rows.
  auto bare = ReadText(Sample("31-"));
  ASSERT_TRUE(bare.status.ok()) << bare.status.ToString();
  EXPECT_EQ(bare.fields.size(), 9u);
  EXPECT_EQ(bare.rowset.command_timeout, "30");
  EXPECT_TRUE(bare.rows.empty());
}

}  // namespace
}  // namespace px::xbf
