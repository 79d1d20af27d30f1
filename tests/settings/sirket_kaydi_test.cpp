#include "settings/sirket_kaydi.h"

#include <gtest/gtest.h>

#include "db/memory_connection.h"

namespace px::settings {
namespace {

db::MemoryConnection CompanyDatabase() {
  db::MemoryTable sirket;
  sirket.fields = {db::LongField("intSirketNo"),       db::TextField("strUnvan"),
                   db::TextField("strSirketFax"),      db::TextField("strSirketTelefon1"),
                   db::TextField("strSirketTelefon2"), db::TextField("strSirketAdi2"),
                   db::LongField("intSirketVergiNo"),  db::TextField("strSirketVergiDaire")};
  sirket.rows = {
      {int64_t{1}, std::string("Örnek Ticaret A.Ş."), std::string("0312 000 00 01"),
       std::string("0312 000 00 02"), Null{}, std::string("İkinci Satır"), int64_t{1234567890},
       std::string("Çankaya")},
      {int64_t{2}, Null{}, Null{}, Null{}, Null{}, Null{}, Null{}, Null{}},
  };
  db::MemoryTable guvenlik;
  guvenlik.fields = {db::TextField("Kullanici"), db::LongField("Derecesi")};
  guvenlik.rows = {{std::string("001PERGO"), int64_t{5}},
                   {std::string("002PERGO"), Null{}},
                   {std::string("001ayse"), int64_t{1}}};
  db::MemoryConnection c;
  c.Add("tblSirket", std::move(sirket));
  c.Add("Guvenlik", std::move(guvenlik));
  return c;
}

TEST(SirketKaydiOku, TakesTheNameByPositionAndTheRestByName) {
  auto db = CompanyDatabase();
  auto kayit = SirketKaydiOku(db, "001");
  ASSERT_TRUE(kayit.ok()) << kayit.status().ToString();
  EXPECT_EQ(db.queries.back(), "SELECT * FROM tblSirket WHERE intSirketNo = '001' ");
  SirketKaydi expected{"Örnek Ticaret A.Ş.", "0312 000 00 01", "0312 000 00 02", "",
                       "İkinci Satır",       "1234567890",     "Çankaya"};
  EXPECT_EQ(*kayit, expected);
}

TEST(SirketKaydiOku, NullsBecomeEmptyAndAMissingCompanyKeepsTheDefaults) {
  auto db = CompanyDatabase();
  auto kayit = SirketKaydiOku(db, "002");
  ASSERT_TRUE(kayit.ok());
  EXPECT_EQ(*kayit, (SirketKaydi{"", "", "", "", "", "", ""}));
  kayit = SirketKaydiOku(db, "009");
  ASSERT_TRUE(kayit.ok());
  EXPECT_EQ(kayit->sirket_adi, "Bilinmeyen Şirket Adı");
  EXPECT_EQ(kayit->vergi_no, "");
}

TEST(SirketKaydiOku, MissingTableIsAnError) {
  db::MemoryConnection empty;
  EXPECT_FALSE(SirketKaydiOku(empty, "001").ok());
}

TEST(KullaniciDerecesiOku, KeyIsCompanyNumberFollowedByUserName) {
  auto db = CompanyDatabase();
  auto level = KullaniciDerecesiOku(db, "PERGO", "001");
  ASSERT_TRUE(level.ok());
  EXPECT_EQ(*level, 5);
  EXPECT_EQ(db.queries.back(), "SELECT Derecesi FROM Guvenlik WHERE Kullanici = '001PERGO'");
  EXPECT_EQ(*KullaniciDerecesiOku(db, "AYSE", "001"), 1);   // Jet's = ignores case
  EXPECT_EQ(*KullaniciDerecesiOku(db, "PERGO", "002"), 0);  // Null level
  EXPECT_EQ(*KullaniciDerecesiOku(db, "PERGO", "003"), 2);  // no row
}

TEST(BosIseSifir, NullAndBlankGiveZero) {
  EXPECT_EQ(BosIseSifir(Null{}), "0");
  EXPECT_EQ(BosIseSifir(std::string("   ")), "0");
  EXPECT_EQ(BosIseSifir(std::string("")), "0");
  EXPECT_EQ(BosIseSifir(std::string(" 7 ")), " 7 ");
  EXPECT_EQ(BosIseSifir(int64_t{0}), "0");
  EXPECT_EQ(BosIseSifir(int64_t{-3}), "-3");
}

TEST(KullaniciDerecesiOku, TextLevelsAreConvertedAndGarbageIsAnError) {
  db::MemoryTable g;
  g.fields = {db::TextField("Kullanici"), db::TextField("Derecesi")};
  g.rows = {{std::string("001A"), std::string(" 4 ")},
            {std::string("001B"), std::string("  ")},
            {std::string("001C"), std::string("yönetici")}};
  db::MemoryConnection c;
  c.Add("Guvenlik", std::move(g));
  EXPECT_EQ(*KullaniciDerecesiOku(c, "A", "001"), 4);
  EXPECT_EQ(*KullaniciDerecesiOku(c, "B", "001"), 0);
  auto bad = KullaniciDerecesiOku(c, "C", "001");
  ASSERT_FALSE(bad.ok());
  EXPECT_NE(bad.status().message().find("yönetici"), std::string::npos);
}

}  // namespace
}  // namespace px::settings
