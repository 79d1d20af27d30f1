// Counting a file's rows without reading their values gives what reading them gives.
#include <gtest/gtest.h>

#include "xbf/pbf.h"
#include "xbf_test_util.h"

namespace px::xbf {
namespace {

// The count of `text`, read from its start. Counting it while it is decompressed from a
// ".pbf" gives the same, and the decompressed file is whole whatever the count met.
Result<int64_t> Count(const std::string& text) {
  const ::px::testing::TempFolder dir;
  const std::string plain = dir.Write("t", text).string(), out = plain + ".xbf";
  EXPECT_TRUE(Sikistir(plain, plain + ".pbf").ok());
  Result<int64_t> counted = int64_t{-1};
  EXPECT_TRUE(AcVeSay(plain + ".pbf", out, platform::Durability::kScratch, counted).ok());
  EXPECT_EQ(testing::ReadAll(out), text);
  MemoryInput in(text);
  auto n = [&]() -> Result<int64_t> {
    PX_ASSIGN_OR_RETURN(auto r, XbfReader::Open(in, out));
    return r->CountRows();
  }();
  EXPECT_EQ(counted.status().ToString(), n.status().ToString());
  EXPECT_EQ(counted.ok() ? *counted : -1, n.ok() ? *n : -1);
  return n;
}

std::string Head(const std::string& row_prefix = "z") {
  return "<xml xmlns:s='uuid:BDC6E3F0-6DA3-11d1-A2A3-00AA00C14882'\r\n"
         "\txmlns:dt='uuid:C2F41010-65B3-11d1-A29F-00AA00C14882'\r\n"
         "\txmlns:rs='urn:schemas-microsoft-com:rowset'\r\n"
         "\txmlns:" +
         row_prefix +
         "='#RowsetSchema'>\r\n"
         "<s:Schema id='RowsetSchema'>\r\n"
         "\t<s:ElementType name='row' content='eltOnly'>\r\n"
         "\t\t<s:AttributeType name='ID' rs:number='1'>\r\n"
         "\t\t\t<s:datatype dt:type='int' dt:maxLength='4'/>\r\n"
         "\t\t</s:AttributeType>\r\n"
         "\t\t<s:AttributeType name='T' rs:number='2' rs:long='true'>\r\n"
         "\t\t\t<s:datatype dt:type='string' dt:maxLength='1073741823'/>\r\n"
         "\t\t</s:AttributeType>\r\n"
         "\t</s:ElementType>\r\n"
         "</s:Schema>\r\n"
         "<rs:data>\r\n";
}
const std::string kTail = "</rs:data>\r\n</xml>";

TEST(XbfRowCount, EverySampleCountsWhatItsRowsRead) {
  PX_SAMPLE_OR_SKIP(samples, "adoxml");
  int compared = 0;
  for (const auto& e : std::filesystem::directory_iterator(testing::SampleDir())) {
    if (e.path().extension() != ".xml") continue;
    const std::string text = testing::ReadAll(e.path());
    const auto read = testing::ReadText(text);
    if (!read.status.ok()) continue;  // a fragment the reader refuses
    auto n = Count(text);
    ASSERT_TRUE(n.ok()) << e.path() << n.status().ToString();
    EXPECT_EQ(*n, int64_t(read.rows.size())) << e.path();
    ++compared;
  }
  EXPECT_GE(compared, 28);  // all but the fragments
}

TEST(XbfRowCount, RowFormsAndPendingChanges) {
  struct Case {
    const char* what;
    std::string body;
    int64_t rows;
    std::string row_prefix = "z";
  };
  const Case cases[] = {
      {"none", "", 0},
      {"rows open and closed, children not rows",
       "<z:row ID='1'/>\r\n<z:row ID='2'>\r\n\t<z:row ID='9'/>\r\n</z:row>\r\n<z:row ID='3' />", 3},
      {"'>' and '/>' inside values", "<z:row ID='1' T='a/>'>\r\n</z:row>\r\n<z:row T='>'/>", 2},
      {"comments and instructions between rows",
       "<z:row ID='1'/><!-- <z:row ID='7'/> --><?pi <z:row?><z:row ID='2'/>", 2},
      {"inserted rows count, deleted ones do not",
       "<z:row ID='1'/><rs:insert><z:row ID='2'/><z:row ID='3'/></rs:insert>"
       "<rs:delete><z:row ID='4'/></rs:delete><rs:insert/>",
       3},
      {"an update gives one row, from its own row or its original",
       "<rs:update><rs:original><z:row ID='1'/></rs:original><z:row T='x'/></rs:update>"
       "<rs:update><rs:original><z:row ID='2'/></rs:original></rs:update>"
       "<rs:update><z:row ID='3'/></rs:update><rs:update></rs:update><rs:update/>",
       3},
      {"rows named by the file's own prefix", "<q:row ID='1'/><q:row ID='2'/>", 2, "q"},
  };
  for (const auto& c : cases) {
    const std::string text = Head(c.row_prefix) + c.body + "\r\n" + kTail;
    const auto read = testing::ReadText(text);
    ASSERT_TRUE(read.status.ok()) << c.what << ": " << read.status.ToString();
    EXPECT_EQ(int64_t(read.rows.size()), c.rows) << c.what;
    auto n = Count(text);
    ASSERT_TRUE(n.ok()) << c.what;
    EXPECT_EQ(*n, c.rows) << c.what;
  }
}

TEST(XbfRowCount, TagEndsSplitAcrossReadChunks) {
  // The input is read 64 KiB at a time: the chunk border falls on every byte of the first
  // row's end and of the blanks after it.
  const std::string head = Head();
  for (size_t at = 65536 - 24; at < 65536 + 4; ++at) {
    const size_t fill = at - head.size() - std::string("<z:row ID='1' T='").size();
    const std::string text = head + "<z:row ID='1' T='" + std::string(fill, 'a') +
                             "'/>  \r\n \r\n<z:row ID='2'>\r\n</z:row>\r\n" + kTail;
    auto n = Count(text);
    ASSERT_TRUE(n.ok()) << at;
    EXPECT_EQ(*n, 2) << at;
  }
}

TEST(XbfRowCount, DamagedStructureIsRefusedDamagedValuesAreLeftToReading) {
  struct Case {
    std::string text;
    bool count_refuses;
  };
  const Case cases[] = {
      {Head() + "<z:row ID='1'/><rs:bogus/><z:row ID='2'/>\r\n" + kTail, true},
      {Head() + "<rs:insert><z:row ID='1'/></rs:delete>\r\n" + kTail, true},
      {Head() + "<z:row ID='1'/>\r\n<z:row ID='2'", true},                 // cut short
      {Head() + "<rs:bogus/>" + std::string(3 << 20, ' ') + kTail, true},  // refused early
      {Head() + "<z:row ID='x'/>\r\n" + kTail, false},
  };
  for (const auto& c : cases) {
    auto n = Count(c.text);
    EXPECT_EQ(n.status().IsCorruption(), c.count_refuses) << c.text;
    EXPECT_TRUE(testing::ReadText(c.text).status.IsCorruption()) << c.text;
  }
}

}  // namespace
}  // namespace px::xbf
