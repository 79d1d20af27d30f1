// Jet 4 text as the encoder stores it, whatever path the text takes (ASCII as it is,
// one- and two-byte UTF-8 decoded in place, anything else through the general encoder): the
// compressed or plain UTF-16 form of the text, or the same refusal.
#include <gtest/gtest.h>

#include "jet/format.h"
#include "jet/text.h"
#include "jet/value_encoder.h"

namespace px::jet {
namespace {

TEST(TextEncode, EveryPathStoresWhatTheGeneralEncoderStores) {
  const std::string texts[] = {"",
                               "ab",
                               "abc",
                               "Çok şey ığ",
                               "üç",
                               "\xE2\x82\xAC uro",
                               "\xF0\x9F\x98\x80",
                               std::string("a\0bc", 4),
                               "\xC3",
                               "\xC0\x80xy",
                               "ab\xC3(",
                               std::string(30, 'x'),
                               "abcdefgh\xC5\x9Fijklmnopq",  // a wide letter between ASCII runs
                               "abcdefghijklmnop\xC3\xA7",
                               std::string(1100, 'm')};
  for (const uint8_t type : {coltype::kText, coltype::kMemo}) {
    for (const uint8_t extra : {uint8_t{0}, kColExtraCompressedUnicode}) {
      ColumnDef c;
      c.name = "ad";
      c.type = type;
      c.length = type == coltype::kText ? 40 : 0;
      c.extra_flags = extra;
      for (const std::string& t : texts) {
        SCOPED_TRACE(int(type) * 10 + extra);
        SCOPED_TRACE(t);
        auto got = EncodeValue(kJet4Format, c, t, 1254, "table T");
        auto wide = EncodeUtf16Le(t);
        const size_t units = wide.ok() ? wide->size() / 2 : 0;
        const bool too_long = type == coltype::kText && units * 2 > c.length;
        ASSERT_EQ(got.ok(), wide.ok() && !too_long) << got.status().ToString();
        if (!got.ok()) continue;
        const bool compress = extra != 0 && (type == coltype::kText || units <= 1024);
        EXPECT_EQ(got->bytes, CompressJet4Text(*wide, compress));
      }
    }
  }
}

}  // namespace
}  // namespace px::jet
