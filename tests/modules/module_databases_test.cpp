#include "modules/module_databases.h"

#include <gtest/gtest.h>

#include "db/memory_connection.h"

namespace px::modules {
namespace {

db::MemoryConnection Catalog() {
  db::MemoryTable t;
  for (const char* c : {"VeritabaniModulAdi", "VeritabaniAccessAdi", "VeritabaniSqlServerAdi",
                        "VeritabaniKonum", "VeritabaniTanimi"}) {
    t.fields.push_back(db::TextField(c));
  }
  auto row = [](const char* m, const char* a, Value s, const char* k, const char* d) {
    return Row{std::string(m), std::string(a), std::move(s), std::string(k), std::string(d)};
  };
  t.rows = {row("Cari", "CariGenel.mdb", std::string("PergoCariGenel"), "Data", "genel"),
            row("Stok", "Stok.mdb", std::string("PergoStok"), "DataSirketYil", "stok"),
            row("cari", "CariSirket.mdb", Null{}, "DataSirket", "şirket"),
            row("Cari", "CariYil.mdb", std::string("PergoCari"), "datasirketyil", "yıl")};
  db::MemoryConnection c;
  c.Add("tablo_veritabani_bilgileri", std::move(t));
  return c;
}

TEST(ModulVeritabanlariniOku, ReadsTheModuleRowsInCatalogOrder) {
  auto catalog = Catalog();
  std::vector<ModulVeritabani> list{{"onceki.mdb", "x", 2}};
  std::string tanim;
  ASSERT_TRUE(ModulVeritabanlariniOku(catalog, "Cari", list, &tanim).ok());
  EXPECT_EQ(catalog.queries.back(),
            "SELECT * FROM tablo_veritabani_bilgileri WHERE VeritabaniModulAdi = 'Cari'");
  // The list grows keeping what it held; the module name matches without regard to case
  // (Jet's "="), while the location kind is compared exactly.
  std::vector<ModulVeritabani> expected{{"onceki.mdb", "x", 2},
                                        {"CariGenel.mdb", "PergoCariGenel", kKonumData},
                                        {"CariSirket.mdb", "", kKonumDataSirket},
                                        {"CariYil.mdb", "PergoCari", kKonumYok}};
  EXPECT_EQ(list, expected);
  EXPECT_EQ(tanim, "yıl");
}

TEST(ModulVeritabanlariniOku, ModuleWithoutRowsAddsNothingAndQuotesAreNotDoubled) {
  auto catalog = Catalog();
  std::vector<ModulVeritabani> list;
  ASSERT_TRUE(ModulVeritabanlariniOku(catalog, "Servis", list).ok());
  EXPECT_TRUE(list.empty());
  // A quote in the name breaks the statement, as concatenated SQL does.
  EXPECT_FALSE(ModulVeritabanlariniOku(catalog, "Ca'ri", list).ok());
}

TEST(ModulVeritabanlariniOku, MissingCatalogColumnIsAnError) {
  db::MemoryConnection c;
  c.Add("tablo_veritabani_bilgileri", {{db::TextField("VeritabaniModulAdi")}, {}});
  std::vector<ModulVeritabani> list;
  Status s = ModulVeritabanlariniOku(c, "Cari", list);
  EXPECT_NE(s.message().find("VeritabaniAccessAdi"), std::string::npos) << s.ToString();
}

TEST(ModuleLocations, PathsAndNamesByLevel) {
  EXPECT_EQ(KonumSeviyesi("Data"), 2);
  EXPECT_EQ(KonumSeviyesi("DataSirket"), 3);
  EXPECT_EQ(KonumSeviyesi("DataSirketYil"), 4);
  EXPECT_EQ(KonumSeviyesi("datasirket"), 0);
  EXPECT_EQ(AccessVeritabaniYolu("C:\\Pergonix", "Demirbas", "D.mdb", "001", "2009", 3),
            "C:\\Pergonix\\Demirbas\\Data\\001\\D.mdb");
  EXPECT_EQ(AccessVeritabaniYolu("C:\\Pergonix", "Cari", "C.mdb", "001", "2009", 4),
            "C:\\Pergonix\\Cari\\Data\\001\\2009\\C.mdb");
  EXPECT_EQ(AccessVeritabaniYolu("C:\\Pergonix", "Servis", "S.mdb", "001", "2009", 2),
            "C:\\Pergonix\\Servis\\Data\\S.mdb");
  EXPECT_EQ(AccessVeritabaniYolu("C:\\Pergonix", "Cari", "C.mdb", "001", "2009", 0), "");
  EXPECT_EQ(SqlServerVeritabaniAdi("X", "001", "2009", 4), "X2009001");
  EXPECT_EQ(SqlServerVeritabaniAdi("X", "001", "2009", 3), "X001");
  EXPECT_EQ(SqlServerVeritabaniAdi("X", "001", "2009", 2), "X");
  EXPECT_EQ(SqlServerVeritabaniAdi("X", "001", "2009", 1), "");
}

}  // namespace
}  // namespace px::modules
