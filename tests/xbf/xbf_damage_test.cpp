// Malformed and hostile input: a clear error naming line and column, never a crash, a hang
// or rows presented from a file that is not whole.
#include <gtest/gtest.h>

#include "xbf_test_util.h"

namespace px::xbf {
namespace {

const std::string kHead =
    "<xml xmlns:s='uuid:BDC6E3F0-6DA3-11d1-A2A3-00AA00C14882'\r\n"
    "\txmlns:dt='uuid:C2F41010-65B3-11d1-A29F-00AA00C14882'\r\n"
    "\txmlns:rs='urn:schemas-microsoft-com:rowset'\r\n"
    "\txmlns:z='#RowsetSchema'>\r\n"
    "<s:Schema id='RowsetSchema'>\r\n"
    "\t<s:ElementType name='row' content='eltOnly'>\r\n"
    "\t\t<s:AttributeType name='ID' rs:number='1'>\r\n"
    "\t\t\t<s:datatype dt:type='int' dt:maxLength='4'/>\r\n"
    "\t\t</s:AttributeType>\r\n"
    "\t\t<s:AttributeType name='T' rs:number='2'>\r\n"
    "\t\t\t<s:datatype dt:type='string' dt:maxLength='20'/>\r\n"
    "\t\t</s:AttributeType>\r\n"
    "\t</s:ElementType>\r\n"
    "</s:Schema>\r\n"
    "<rs:data>\r\n";  // the data section starts on line 15
const std::string kTail = "</rs:data>\r\n</xml>";

// Malformed UTF-8 included: the line and column are those of the character it breaks.
TEST(XbfDamage, ErrorsNameLineAndColumn) {
  struct Case {
    std::string body;
    std::string message;
  };
  const Case cases[] = {
      {"\t<z:row ID='x1'/>\r\n", "line 16, column 2: field ID: 'x1' is not a value of type 3"},
      {"\t<z:row ID='1' T='a'/>\r\n\t<z:row ID='1' T='b\r\n",
       "line 18, column 2: '<' inside an attribute value"},
      {"\t<z:row ID='1' T='a&bogus;'/>\r\n", "line 16, column 27: unknown entity &bogus;"},
      {"\t<z:row ID='1'>\r\n</rs:data>\r\n", "line 17, column 1: </z:row> expected"},
      {"\t<rs:original><z:row ID='1'/></rs:original>\r\n", "unexpected <rs:original>"},
      {"\thello\r\n", "line 16, column 2: text outside a tag"},
      {"\t<z:row ID='99999999999'/>\r\n", "not a value of type 3"},
      {"\t<z:row ID='1' T='<'/>\r\n", "'<' inside an attribute value"},
      {"\t<z:row ID='1' T='a\xFF'/>\r\n", "line 16, column 20: malformed UTF-8: byte 0xFF"},
      {"\t<z:row ID='1' T='\x80'/>\r\n",
       "line 16, column 19: malformed UTF-8: byte 0x80 without a lead byte"},
      {"\t<z:row ID='1' T='\xC4'/>\r\n",
       "line 16, column 19: malformed UTF-8: byte 0x27 inside a character"},
      {"\t<z:row ID='1' T='\xC0\xAF'/>\r\n", "line 16, column 19: malformed UTF-8: byte 0xC0"},
      {"\t<z:row ID='1' T='\xE0\x80\x80'/>\r\n",
       "line 16, column 19: malformed UTF-8: byte 0x80 inside a character"},
      {"\t<z:row ID='1' T='\xED\xA0\x80'/>\r\n",
       "line 16, column 19: malformed UTF-8: byte 0xA0 inside a character"},
      {"\t<z:row ID='1' T='\xF4\x90\x80\x80'/>\r\n",
       "line 16, column 19: malformed UTF-8: byte 0x90 inside a character"},
      {"\t<z:row ID='1' T='ığ\xF5'/>\r\n", "line 16, column 21: malformed UTF-8: byte 0xF5"},
  };
  for (const auto& c : cases) {
    auto back = testing::ReadText(kHead + c.body + kTail);
    EXPECT_TRUE(back.status.IsCorruption()) << c.body << " -> " << back.status.ToString();
    EXPECT_NE(back.status.message().find(c.message), std::string::npos)
        << c.body << " -> " << back.status.message();
    EXPECT_EQ(back.status.message().rfind("test.xbf: ", 0), 0u);
  }
  // Well-formed text of every length still reads: ASCII, Turkish, CJK and beyond the BMP.
  auto ok = testing::ReadText(kHead + "\t<z:row ID='1' T='aığ中\xF0\x9F\x98\x80'/>\r\n" + kTail);
  EXPECT_TRUE(ok.status.ok()) << ok.status.ToString();
  // A file cut inside a character.
  auto cut = testing::ReadText(kHead + "\t<z:row ID='1' T='\xC4");
  EXPECT_NE(cut.status.message().find("UTF-8"), std::string::npos) << cut.status.message();
}

TEST(XbfDamage, EveryTruncationIsAnError) {
  const std::string whole = kHead + "\t<z:row ID='1' T='abc'/>\r\n\t<z:row ID='2'/>\r\n" + kTail;
  ASSERT_TRUE(testing::ReadText(whole).status.ok());
  for (size_t len = 0; len < whole.size(); ++len) {
    auto back = testing::ReadText(whole.substr(0, len));
    EXPECT_FALSE(back.status.ok()) << "cut at " << len;
  }
}

TEST(XbfDamage, StructureIsChecked) {
  EXPECT_FALSE(testing::ReadText("").status.ok());
  EXPECT_FALSE(testing::ReadText("<xml></xml>").status.ok());
  EXPECT_FALSE(testing::ReadText(kHead + kTail + "<extra/>").status.ok());
  // A schema without fields.
  EXPECT_FALSE(testing::ReadText("<xml><s:Schema id='RowsetSchema'><s:ElementType name='row'>"
                                 "</s:ElementType></s:Schema><rs:data></rs:data></xml>")
                   .status.ok());
  // "number" needs its rs:dbtype or a width ADO accepts.
  auto number = testing::ReadText(
      "<xml><s:Schema><s:ElementType name='row'><s:AttributeType name='N' dt:type='number'/>"
      "</s:ElementType></s:Schema><rs:data/></xml>");
  EXPECT_NE(number.status.message().find("type 'number' needs rs:dbtype"), std::string::npos)
      << number.status.ToString();
  // Deeply nested unknown elements stop at a limit instead of exhausting memory.
  std::string deep = "<xml><s:Schema><s:ElementType name='row'><s:AttributeType name='A'/><x>";
  for (int i = 0; i < 1000; ++i) deep += "<x>";
  auto back = testing::ReadText(deep);
  EXPECT_NE(back.status.message().find("nested too deeply"), std::string::npos)
      << back.status.ToString();
}

TEST(XbfDamage, TolerantWhereAdoIs) {
  // Double quotes, LF line ends, spaces, a UTF-8 BOM, a declaration, comments, type on the
  // AttributeType, no datatype at all, unknown row attributes, odd-length hex.
  const std::string text =
      "\xEF\xBB\xBF<?xml version=\"1.0\"?>\n<!-- hand written -->\n"
      "<xml xmlns:s=\"uuid:BDC6E3F0-6DA3-11d1-A2A3-00AA00C14882\" "
      "xmlns:dt=\"uuid:C2F41010-65B3-11d1-A29F-00AA00C14882\" "
      "xmlns:rs=\"urn:schemas-microsoft-com:rowset\" xmlns:z=\"#RowsetSchema\">\n"
      "  <s:Schema id=\"RowsetSchema\">\n"
      "    <s:ElementType name=\"row\" content=\"eltOnly\">\n"
      "      <s:AttributeType name=\"ID\" dt:type=\"i4\"/>\n"
      "      <s:AttributeType name=\"Free\"/>\n"
      "      <s:AttributeType name=\"B\"><s:datatype dt:type=\"bin.hex\"/></s:AttributeType>\n"
      "      <s:Extends type=\"rs:rowbase\"/>\n"
      "    </s:ElementType>\n  </s:Schema>\n  <rs:data>\n"
      "    <z:row ID = \"7\" Free=\"&lt;&#65;&#x42;&amp;&quot;&apos;&gt;\" B=\"AB\n\tC\" "
      "junk=\"1\"/>\n"
      "  </rs:data>\n</xml>\n";
  auto back = testing::ReadText(text);
  ASSERT_TRUE(back.status.ok()) << back.status.ToString();
  ASSERT_EQ(back.rows.size(), 1u);
  EXPECT_EQ(back.rows[0][0], Value(int64_t(7)));
  EXPECT_EQ(back.rows[0][1], Value(std::string("<AB&\"'>")));
  EXPECT_EQ(back.rows[0][2], Value(Binary{{0xab}}));
  EXPECT_EQ(back.fields[1].ado_type, ado::kLongVarWChar);
  EXPECT_EQ(back.fields[1].size, 4294967295LL);
}

TEST(XbfDamage, Utf16BigEndianAndOtherPrefixes) {
  // Prefixes are matched by namespace, not by spelling.
  const std::string utf8 =
      "<xml xmlns:a='uuid:BDC6E3F0-6DA3-11d1-A2A3-00AA00C14882' "
      "xmlns:b='uuid:C2F41010-65B3-11d1-A29F-00AA00C14882' "
      "xmlns:c='urn:schemas-microsoft-com:rowset' xmlns:d='#RowsetSchema'>"
      "<a:Schema><a:ElementType name='row'><a:AttributeType name='N'>"
      "<a:datatype b:type='number' c:dbtype='currency'/></a:AttributeType></a:ElementType>"
      "</a:Schema><c:data><d:row N='1.5'/><c:update><c:original><d:row N='2'/></c:original>"
      "<d:row c:forcenull='N'/></c:update></c:data></xml>";
  std::string be = "\xFE\xFF";
  for (char ch : utf8) {
    be += '\0';
    be += ch;
  }
  auto back = testing::ReadText(be);
  ASSERT_TRUE(back.status.ok()) << back.status.ToString();
  ASSERT_EQ(back.rows.size(), 2u);
  EXPECT_EQ(back.rows[0][0], Value(Currency{15000}));
  EXPECT_TRUE(IsNull(back.rows[1][0]));
  EXPECT_FALSE(testing::ReadText(be.substr(0, be.size() - 1)).status.ok());
}

}  // namespace
}  // namespace px::xbf
