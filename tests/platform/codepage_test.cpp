#include "platform/codepage.h"

#include <gtest/gtest.h>

namespace px {
namespace {

TEST(CodePage, TurkishLettersDifferBetween1254And1252) {
  // ğ ı İ ş Ğ Ş live where 1252 has ð ý Ý þ Ð Þ.
  const std::string bytes = "\xF0\xFD\xDD\xFE\xD0\xDE";
  EXPECT_EQ(*DecodeCodePage(1254, bytes), "ğıİşĞŞ");
  EXPECT_EQ(*DecodeCodePage(1252, bytes), "ðýÝþÐÞ");
  EXPECT_EQ(*EncodeCodePage(1254, "ğıİşĞŞçöüÇÖÜ"),
            "\xF0\xFD\xDD\xFE\xD0\xDE\xE7\xF6\xFC\xC7\xD6\xDC");
  EXPECT_EQ(*DecodeCodePage(1254, "\x80"), "€");
}

TEST(CodePage, EveryByteRoundTrips) {
  for (int cp : {1252, 1254}) {
    for (int b = 0; b < 256; ++b) {
      const std::string byte(1, char(b));
      auto text = DecodeCodePage(cp, byte);
      ASSERT_TRUE(text.ok());
      auto back = EncodeCodePage(cp, *text);
      ASSERT_TRUE(back.ok()) << cp << " byte " << b;
      EXPECT_EQ(*back, byte) << cp << " byte " << b;
    }
  }
}

TEST(CodePage, UnmappableAndMalformedInputAreErrors) {
  auto r = EncodeCodePage(1254, "Ž");  // in 1252, not in 1254
  ASSERT_FALSE(r.ok());
  EXPECT_NE(r.status().message().find("U+017D"), std::string::npos);
  EXPECT_TRUE(EncodeCodePage(1252, "Ž").ok());
  EXPECT_FALSE(EncodeCodePage(1254, "\xC3").ok());          // truncated sequence
  EXPECT_FALSE(EncodeCodePage(1254, "\xC0\x80").ok());      // overlong NUL
  EXPECT_FALSE(EncodeCodePage(1254, "\xED\xA0\x80").ok());  // surrogate
  EXPECT_FALSE(DecodeCodePage(1251, "a").ok());
}

}  // namespace
}  // namespace px
