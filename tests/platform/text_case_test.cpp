#include "platform/text_case.h"

#include <gtest/gtest.h>

namespace px {
namespace {

TEST(TextCase, FoldingMatchesAcrossTurkishAndLatinLetters) {
  EXPECT_TRUE(EqualsIgnoreCase("Veritabani", "VERITABANI"));
  EXPECT_TRUE(EqualsIgnoreCase("çek", "ÇEK"));
  EXPECT_TRUE(EqualsIgnoreCase("yıl", "YIL"));
  EXPECT_TRUE(EqualsIgnoreCase("İRSALİYE", "irsaliye"));
  EXPECT_FALSE(EqualsIgnoreCase("Cek", "Çek"));
  EXPECT_FALSE(EqualsIgnoreCase("Yil", "Yil "));
  EXPECT_TRUE(EqualsIgnoreCase("KodŞube", "kODşUBE"));  // an ASCII prefix, then Turkish
  EXPECT_FALSE(EqualsIgnoreCase("Kod1ş", "Kod2ş"));
  EXPECT_FALSE(EqualsIgnoreCase("Kod", "Kodş"));
  EXPECT_TRUE(EqualsIgnoreCase("", ""));
}

TEST(TextCase, TurkishCapitals) {
  EXPECT_EQ(UpperTurkish("c:\\pergonix\\yedek ışığı"), "C:\\PERGONİX\\YEDEK IŞIĞI");
  EXPECT_EQ(UpperTurkish("Teknik Servis"), "TEKNİK SERVİS");
  EXPECT_EQ(UpperTurkish("bütçe"), "BÜTÇE");
}

TEST(TextCase, TrimBlanksDropsSpacesAndTabsOnly) {
  EXPECT_EQ(TrimBlanks(" \t a b \t"), "a b");
  EXPECT_EQ(TrimBlanks("\na\r"), "\na\r");
}

}  // namespace
}  // namespace px
