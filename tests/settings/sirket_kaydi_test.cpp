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

// The name by position and the rest by name; Nulls become empty; a missing company keeps
// the defaults.
TEST(SirketKaydiOku, ByPositionAndByName) {
  auto db = CompanyDatabase();
  const std::pair<const char*, SirketKaydi> cases[] = {
      {"001",
       {"Örnek Ticaret A.Ş.", "0312 000 00 01", "0312 000 00 02", "", "İkinci Satır", "1234567890",
        "Çankaya"}},
      {"002", {"", "", "", "", "", "", ""}},
      {"009", {"Bilinmeyen Şirket Adı", "", "", "", "", "", ""}},
  };
  for (const auto& [no, beklenen] : cases) {
    auto kayit = SirketKaydiOku(db, no);
    ASSERT_TRUE(kayit.ok()) << kayit.status().ToString();
    EXPECT_EQ(*kayit, beklenen) << no;
    EXPECT_EQ(db.queries.back(),
              "SELECT * FROM tblSirket WHERE intSirketNo = '" + std::string(no) + "' ");
  }
  db::MemoryConnection empty;
  EXPECT_FALSE(SirketKaydiOku(empty, "001").ok());
}

// The key is the company number followed by the user name (Jet's = ignores case); a Null
// level or a blank text is 0, no row 2; a text level is converted, garbage is an error.
TEST(KullaniciDerecesiOku, ByCompanyAndUser) {
  auto db = CompanyDatabase();
  db::MemoryTable g;
  g.fields = {db::TextField("Kullanici"), db::TextField("Derecesi")};
  g.rows = {{std::string("001A"), std::string(" 4 ")},
            {std::string("001B"), std::string("  ")},
            {std::string("001C"), std::string("yönetici")}};
  db::MemoryConnection metin;
  metin.Add("Guvenlik", std::move(g));
  const std::tuple<db::MemoryConnection*, const char*, const char*, int> cases[] = {
      {&db, "PERGO", "001", 5}, {&db, "AYSE", "001", 1}, {&db, "PERGO", "002", 0},
      {&db, "PERGO", "003", 2}, {&metin, "A", "001", 4}, {&metin, "B", "001", 0},
  };
  for (const auto& [c, kullanici, sirket, derece] : cases) {
    auto level = KullaniciDerecesiOku(*c, kullanici, sirket);
    ASSERT_TRUE(level.ok()) << kullanici << ": " << level.status().ToString();
    EXPECT_EQ(*level, derece) << sirket << kullanici;
  }
  EXPECT_EQ(db.queries.back(), "SELECT Derecesi FROM Guvenlik WHERE Kullanici = '003PERGO'");
  auto bad = KullaniciDerecesiOku(metin, "C", "001");
  ASSERT_FALSE(bad.ok());
  EXPECT_NE(bad.status().message().find("yönetici"), std::string::npos);
}

}  // namespace
}  // namespace px::settings
