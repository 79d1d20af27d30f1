#include "platform/profile.h"

#include <gtest/gtest.h>

#include <optional>

#include "support/temp_folder.h"

namespace px {
namespace {

using testing::ReadAll;
using testing::ScopedEnv;
using testing::TempFolder;

class ProfileTest : public ::testing::Test {
 protected:
  std::string Read(const std::string& section, const std::string& key,
                   const std::string& def = "<yok>") {
    auto r = ReadProfileString(section, key, def, ini_);
    EXPECT_TRUE(r.ok()) << r.status().ToString();
    return r.ok() ? *r : "";
  }
  void Put(const std::string& bytes) { ini_ = dir_.Write("config.ini", bytes); }

  ScopedEnv cp_{kAnsiCodePageVariable, std::nullopt};
  TempFolder dir_;
  std::filesystem::path ini_ = dir_.path() / "config.ini";
};

// The tricky file: spaces around '=', quotes, duplicates, lower-case section names,
// comments, Windows-1254 letters, CRLF line ends.
constexpr char kTricky[] =
    "; Pergonix ayarlari\r\n"
    "[pergo]\r\n"
    "  CalismaAlani   =   D:\\Muhasebe\\Pergonix  \r\n"
    "Yil=2009\r\n"
    "yil=1999\r\n"
    ";Sirket=999\r\n"
    "Sirket = \"002\"\r\n"
    "KullaniciAdi='\xDE\x45N\xDDZ \xE7\xF0\xFD'\r\n"
    "Bos=\r\n"
    "Tirnak=\"yarim\r\n"
    "Ic=a \"b\" c\r\n"
    "Iki=\"\"x\"\"\r\n"
    "Yorum=deger ; yorum degil\r\n"
    "[ Veritabani ]\r\n"
    "VERITABANITURU=sqlserver\r\n"
    "[PERGO]\r\n"
    "Sirket=555\r\n";

TEST_F(ProfileTest, ReadsOfTheTrickyFile) {
  struct Case {
    const char* section;
    const char* key;
    const char* def;
    const char* expected;
  };
  const Case cases[] = {
      {"Pergo", "CalismaAlani", "", "D:\\Muhasebe\\Pergonix"},  // trimmed, backslashes kept
      // Section and key ignore case; the first match wins, the later [PERGO] is never read.
      {"PERGO", "YIL", "", "2009"},
      {"Veritabani", "VeritabaniTuru", "", "sqlserver"},
      {"Pergo", "Sirket", "001", "002"},
      // One pair of matching quotes is removed.
      {"Pergo", "Tirnak", "", "\"yarim"},
      {"Pergo", "Ic", "", "a \"b\" c"},
      {"Pergo", "Iki", "", "\"x\""},
      {"Pergo", "Yorum", "", "deger ; yorum degil"},
      {"Pergo", "KullaniciAdi", "", "ŞENİZ çğı"},  // Windows-1254
      {"Pergo", "Bos", "d", ""},                   // an empty value is not the default
      {"Yok", "Yil", "2026", "2026"},
      {"Pergo", "Sirket2", "001", "001"},
      // A commented-out key is missing; trailing blanks of the default are dropped.
      {"Veritabani", "Sirket", "x  ", "x"},
  };
  Put(kTricky);
  for (const Case& c : cases) {
    EXPECT_EQ(Read(c.section, c.key, c.def), c.expected) << c.section << "/" << c.key;
  }
  ScopedEnv cp(kAnsiCodePageVariable, "1252");
  EXPECT_EQ(Read("Pergo", "KullaniciAdi"), "ÞENÝZ çðý");
  ScopedEnv utf8(kAnsiCodePageVariable, "65001");
  EXPECT_FALSE(ReadProfileString("Pergo", "Yil", "", ini_).ok());  // unsupported code page
}

TEST_F(ProfileTest, MissingFileAndKeysBeforeAnySectionGiveTheDefault) {
  EXPECT_EQ(Read("Pergo", "Yil", "2026"), "2026");
  Put("Yil=1\n[Pergo]\nSirket=2\n");
  EXPECT_EQ(Read("Pergo", "Yil", "d"), "d");
  EXPECT_EQ(Read("Pergo", "Sirket"), "2");
}

TEST_F(ProfileTest, ReadsAreCutToTheBuffer) {
  Put("[Pergo]\nUzun=" + std::string(600, 'a') + "\n");
  EXPECT_EQ(Read("Pergo", "Uzun").size(), 511u);
  auto r = ReadProfileString("Pergo", "Uzun", "", ini_, 10);
  EXPECT_EQ(*r, std::string(9, 'a'));
  // Characters, not UTF-8 bytes: 600 Ş read back as 511 Ş.
  Put("[Pergo]\nUzun=" + std::string(600, '\xDE') + "\n");
  std::string expected;
  for (int i = 0; i < 511; ++i) expected += "Ş";
  EXPECT_EQ(Read("Pergo", "Uzun"), expected);
  EXPECT_EQ(*ReadProfileString("Pergo", "Yok", std::string(600, 'd'), ini_), std::string(511, 'd'));
}

// A key is replaced where it stands (indentation and spelling kept, the rest byte for byte),
// added at the end of its section, or in a new section with the file's line ends; a new
// file is Windows-1254.
TEST_F(ProfileTest, WritesChangeOnlyTheirKey) {
  std::string tricky_yil = kTricky, tricky_alan = kTricky;
  tricky_yil.replace(tricky_yil.find("Yil=2009"), 8, "Yil=2010");
  tricky_alan.replace(tricky_alan.find("CalismaAlani   =   D:\\Muhasebe\\Pergonix  "), 41,
                      "CalismaAlani=C:\\Yeni");
  struct Case {
    std::optional<std::string> once;  // no file when absent
    const char *section, *key, *value;
    std::string sonra;
  };
  const Case cases[] = {
      {kTricky, "pergo", "YIL", "2010", tricky_yil},
      {kTricky, "Pergo", "calismaalani", "C:\\Yeni", tricky_alan},
      {"[Pergo]\r\nYil=2009\r\n\r\n[Veritabani]\r\nProvider=SQLOLEDB\r\n", "Pergo", "Sirket", "003",
       "[Pergo]\r\nYil=2009\r\nSirket=003\r\n\r\n[Veritabani]\r\nProvider=SQLOLEDB\r\n"},
      {"[Pergo]\nYil=2009", "Veritabani", "Provider", "SQLOLEDB",
       "[Pergo]\nYil=2009\n[Veritabani]\nProvider=SQLOLEDB\n"},
      {"[Pergo]\nYil=2009\n[Veritabani]\nProvider=SQLOLEDB\n", "Veritabani", "SqlServerAdi",
       "SUNUCU", "[Pergo]\nYil=2009\n[Veritabani]\nProvider=SQLOLEDB\nSqlServerAdi=SUNUCU\n"},
      {std::nullopt, "Pergo", "KullaniciAdi", "İŞLETME",
       "[Pergo]\r\nKullaniciAdi=\xDD\xDELETME\r\n"},
  };
  for (const Case& c : cases) {
    std::filesystem::remove(ini_);
    if (c.once) Put(*c.once);
    ASSERT_TRUE(WriteProfileString(c.section, c.key, c.value, ini_).ok()) << c.key;
    EXPECT_EQ(ReadAll(ini_), c.sonra) << c.key;
    EXPECT_EQ(Read(c.section, c.key), c.value) << c.key;
  }
}

TEST_F(ProfileTest, UnwritableCharacterLeavesTheFileAlone) {
  Put(kTricky);
  EXPECT_FALSE(WriteProfileString("Pergo", "Yil", "日本", ini_).ok());
  EXPECT_EQ(ReadAll(ini_), kTricky);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir_.path()), {}), 1);
}

TEST_F(ProfileTest, WriteIntoAMissingFolderFails) {
  EXPECT_FALSE(WriteProfileString("Pergo", "Yil", "1", dir_.path() / "yok" / "x.ini").ok());
}

}  // namespace
}  // namespace px
