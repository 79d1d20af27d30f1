// Text decoding into a reused string: the four-units-at-a-time ASCII path must agree with
// the unit-by-unit one wherever a run of ASCII starts, ends or is cut by a surrogate.
#include <gtest/gtest.h>

#include "jet/text.h"
#include "page_builder.h"

namespace px::jet {
namespace {

using testing::Utf16;

struct Case {
  const char* what;
  std::u16string units;
  std::string utf8;
};

const Case kCases[] = {
    {"empty", u"", ""},
    {"three ASCII", u"abc", "abc"},
    {"four ASCII", u"abcd", "abcd"},
    {"nine ASCII", u"abcdefghi", "abcdefghi"},
    {"non-ASCII third", u"ab\u015Fdefgh",
     "ab\xC5\x9F"
     "defgh"},
    {"non-ASCII fifth", u"abcd\u011Ffgh",
     "abcd\xC4\x9F"
     "fgh"},
    {"non-ASCII last of eight", u"abcdefg\u0131", "abcdefg\xC4\xB1"},
    {"three-byte character", u"x\u20ACyyyy",
     "x\xE2\x82\xAC"
     "yyyy"},
    {"pair across a group edge",
     u"abc\xD83D\xDE00"
     u"defg",
     "abc\xF0\x9F\x98\x80"
     "defg"},
    {"lone high before ASCII",
     u"\xD83D"
     u"abcd",
     "\xEF\xBF\xBD"
     "abcd"},
    {"lone high at the end", u"abcd\xD83D", "abcd\xEF\xBF\xBD"},
    {"lone low",
     u"ab\xDE00"
     u"cdef",
     "ab\xEF\xBF\xBD"
     "cdef"},
};

TEST(TextDecode, Utf16IntoReusedString) {
  for (const Case& c : kCases) {
    std::string out = "before|";
    ASSERT_TRUE(AppendDecodedUtf16Le(Utf16(c.units), out).ok()) << c.what;
    EXPECT_EQ(out, "before|" + c.utf8) << c.what;
    auto whole = DecodeJet4Text(Utf16(c.units));
    ASSERT_TRUE(whole.ok()) << c.what;
    EXPECT_EQ(*whole, c.utf8) << c.what;
  }
}

TEST(TextDecode, ErrorsLeaveTheStringAsItWas) {
  const std::vector<uint8_t> kBad[] = {
      {'a', 0, 'b', 0, 'c'},       // odd byte count
      {0xFF, 0xFE, 'a', 0, 0x1F},  // compressed text cut inside a UTF-16 unit
  };
  for (const auto& bytes : kBad) {
    std::string out = "kept";
    EXPECT_TRUE(AppendDecodedJet4Text(bytes, out).IsCorruption());
    EXPECT_EQ(out, "kept");
  }
}

}  // namespace
}  // namespace px::jet
