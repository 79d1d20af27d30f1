// A backup of the sample suite restored through the real engine, read back by Jackcess:
// into an empty suite under another company and year, and over databases that hold other
// rows and lack columns and tables.
#include <gtest/gtest.h>

#include <fstream>

#include "db/access_database.h"
#include "restorecheck/suite_helpers.h"
#include "support/saha.h"
#include "support/samples.h"

namespace px::restorecheck {
namespace {

using nlohmann::json;

// Personel keys as the rewrite leaves them: the workplace key keeps its last three
// characters, the parameter key only its first two.
void PersonelKeyleri(const std::string& tablo, std::vector<json>& satirlar, const std::string& eski,
                     const std::string& yeni) {
  for (auto& s : satirlar) {
    if (tablo == "tablo_isyeri_bilgileri" && s["strIsyeriKodu"] == eski) {
      s["strIsyeriKey"] = yeni + s["strIsyeriKey"].get<std::string>().substr(3, 3);
      s["strIsyeriKodu"] = yeni;
    }
    const std::string* k = tablo == "tablo_personel_parametreleri"
                               ? s["strPersonelKey"].get_ptr<const std::string*>()
                               : nullptr;
    if (k != nullptr && k->substr(2, 3) == eski) s["strPersonelKey"] = k->substr(0, 2) + yeni;
  }
  satirlar = Sirali(std::move(satirlar));
}

std::vector<std::string> Sutunlar(const json& sema) {
  std::vector<std::string> out;
  for (const auto& c : sema["columns"]) out.push_back(c["name"]);
  std::sort(out.begin(), out.end());
  return out;
}

// Every table of every source database against the database the restore wrote at the
// place `hedef_yolu` gives; Jackcess's check passes on each.
void Karsilastir(const std::map<std::string, VeritabaniDokumu>& kaynak,
                 const std::function<fs::path(const fs::path&)>& hedef_yolu,
                 const std::string& eski, const std::string& yeni) {
  std::vector<fs::path> hedefler;
  for (const auto& [yol, _] : kaynak) hedefler.push_back(hedef_yolu(yol));
  std::map<std::string, std::string> denetimler;
  const auto hedef = Dok(hedefler, &denetimler);
  for (const auto& [yol, tablolar] : kaynak) {
    const std::string h = hedef_yolu(yol).string();
    ASSERT_TRUE(hedef.count(h)) << h;
    EXPECT_EQ(denetimler[h], "") << h;
    for (const auto& [ad, t] : tablolar) {
      SCOPED_TRACE(h + " " + ad);
      ASSERT_TRUE(hedef.at(h).count(ad));
      const TabloDokumu& geri = hedef.at(h).at(ad);
      EXPECT_EQ(Sutunlar(geri.sema), Sutunlar(t.sema));
      auto beklenen = InsertYolu(geri.sema) ? InsertIle(t) : t.satirlar;
      PersonelKeyleri(ad, beklenen, eski, yeni);
      EXPECT_EQ(geri.satirlar, beklenen);
    }
  }
}

// Rows with apostrophes in a table restored through INSERT statements (CariKart) and in one
// restored by adding rows (CariNot).
void KesmeIsaretliSatirlar() {
  using px::testing::Saha;
  auto havuz = db::NewAccessDatabasePool(platform::SystemFiles());
  auto cari = havuz->Open("C:\\Pergonix\\Cari\\Data\\001\\2009\\cari.mdb");
  ASSERT_TRUE(cari.ok()) << cari.status().message();
  ASSERT_TRUE((*cari)
                  ->AddRow("CariKart",
                           {Saha("CariKod", ado::kVarWChar), Saha("Unvan", ado::kVarWChar)},
                           {std::string("O'Neil"), std::string("D'Arcy'nin Şirketi")})
                  .ok());
  ASSERT_TRUE((*cari)
                  ->AddRow("CariNot",
                           {Saha("NotKod", ado::kVarWChar), Saha("Metin", ado::kVarWChar)},
                           {std::string("N'1"), Null{}})
                  .ok());
  havuz->CloseAll();
}

TEST(GidisDonus, IntoAnEmptySuiteAsAnotherCompanyAndYear) {
  PX_SAMPLE_OR_SKIP(ornek, "suite/Pergonix");
  PX_JET_ORACLE_OR_SKIP();
  Suit s;
  KesmeIsaretliSatirlar();
  const auto kaynak = Dok(s.Veritabanlari("001", "2009"));
  ASSERT_EQ(kaynak.size(), 15u);
  s.Yedekle("P", "001", "2009");
  // Only what an empty suite holds.
  const std::set<std::string> kalan = {"config.ini", "Genel"};
  for (const auto& e : fs::directory_iterator(s.C())) {
    if (!kalan.count(e.path().filename().string())) fs::remove_all(e.path());
  }
  for (const auto& e : fs::directory_iterator(s.C("Genel/Data"))) {
    if (e.path().extension() == ".mdb" && e.path().stem() != "DonemAc" &&
        e.path().stem() != "sirket") {
      fs::remove_all(e.path());
    }
  }
  fs::remove_all(s.C("Genel/Data/001"));

  const auto r = s.GeriAl("P", "001", "2009", "003", "2010");
  EXPECT_TRUE(r.sonuc.sona_ulasti) << Hatalar(r.kutular);
  EXPECT_EQ(s.Veritabanlari("003", "2010").size(), 15u);
  Karsilastir(
      kaynak,
      [&](const fs::path& p) {
        std::string g = fs::relative(p, s.C()).string();
        for (auto [eski, yeni] : {std::pair{"/001/", "/003/"}, {"/2009/", "/2010/"}}) {
          if (auto i = g.find(eski); i != std::string::npos) g.replace(i, 5, yeni);
        }
        return s.C(g);
      },
      "001", "003");
  const auto personel = Dok({s.C("Personel/Data/003/2010/personel.mdb")});
  std::vector<std::string> keyler;
  for (const auto& [t, sutun] : {std::pair{"tablo_isyeri_bilgileri", "strIsyeriKey"},
                                 {"tablo_personel_parametreleri", "strPersonelKey"}}) {
    for (const auto& satir : personel.begin()->second.at(t).satirlar)
      keyler.push_back(satir[sutun]);
  }
  std::sort(keyler.begin(), keyler.end());
  EXPECT_EQ(keyler,
            (std::vector<std::string>{"003001", "003002", "003003", "A0003", "A1003", "A2003"}));
  // Extra files of the three levels come back; KucukHarf.txt is listed under "cari", which is
  // not the module's folder.
  const std::pair<const char*, const char*> ekler[] = {
      {"Cari/Data/001/2009/CariRapor.rpt", "Cari/Data/003/2010/CariRapor.rpt"},
      {"Demirbas/Data/001/Amortisman.ayr", "Demirbas/Data/003/Amortisman.ayr"},
      {"Beyanname/Data/BeyannameSablon.xml", "Beyanname/Data/BeyannameSablon.xml"}};
  for (const auto& [kaynak_ek, hedef_ek] : ekler) {
    EXPECT_EQ(px::testing::ReadAll(s.C(hedef_ek)),
              px::testing::ReadAll(fs::path(ornek) / kaynak_ek));
  }
  EXPECT_FALSE(fs::exists(s.C("Cari/Data/003/2010/KucukHarf.txt")));
  EXPECT_EQ(s.ArtikGeciciler(), std::vector<fs::path>{});
}

// The table description `jet-oracle build` takes, for a table as `schema` gives it, less
// the column `eksik`; its rows (less that column) in `satir_dosyasi`.
json YapiTanimi(const json& sema, const std::string& eksik, const std::string& satir_dosyasi) {
  json t = {{"name", sema["name"]}, {"columns", json::array()}, {"rows_file", satir_dosyasi}};
  for (const auto& c : sema["columns"]) {
    if (c["name"] == eksik) continue;
    json k = {{"name", c["name"]}, {"type", c["type"]}, {"autonumber", c["autonumber"]}};
    if (c["type"] == "TEXT") k["length"] = c["size"];
    if (c["allow_zero_length"].is_boolean()) k["allow_zero_length"] = c["allow_zero_length"];
    t["columns"].push_back(k);
  }
  for (const auto& i : sema["indexes"]) {
    json sutunlar = json::array();
    for (const auto& c : i["columns"]) sutunlar.push_back(c["name"]);
    if (i["primary"] == true) {
      t["primary_key"] = sutunlar;
    } else {
      t["indexes"].push_back({{"name", i["name"]}, {"columns", sutunlar}, {"unique", i["unique"]}});
    }
  }
  return t;
}

// The last column that is neither a key nor an AutoNumber.
std::string EksikSutun(const json& sema) {
  std::set<std::string> anahtar;
  for (const auto& i : sema["indexes"]) {
    for (const auto& c : i["columns"]) anahtar.insert(c["name"]);
  }
  std::string out;
  for (const auto& c : sema["columns"]) {
    if (!anahtar.count(c["name"]) && c["autonumber"] != true) out = c["name"];
  }
  return out;
}

TEST(GidisDonus, OverDatabasesWithOtherRowsAndMissingColumnsAndTables) {
  PX_SAMPLE_OR_SKIP(ornek, "suite/Pergonix");
  PX_JET_ORACLE_OR_SKIP();
  Suit s;
  const auto veritabanlari = s.Veritabanlari("001", "2009");
  const auto kaynak = Dok(veritabanlari);
  s.Yedekle("P", "001", "2009");

  // Each database of company 001 made again by Jackcess from company 002's rows (a
  // module-wide one from its own), each table without its last ordinary column, and cari.mdb
  // without CariNot.
  std::vector<fs::path> digerleri;
  for (const auto& p : veritabanlari) {
    std::string g = fs::relative(p, s.C()).string();
    if (auto i = g.find("/001/"); i != std::string::npos) g.replace(i, 5, "/002/");
    digerleri.push_back(s.C(g));
  }
  const auto diger = Dok(digerleri);
  std::vector<std::vector<std::string>> yapilar;
  for (size_t i = 0; i < veritabanlari.size(); ++i) {
    const fs::path klasor = s.Gecici() / ("yapi" + std::to_string(i));
    fs::create_directories(klasor);
    json tanim = {{"tables", json::array()}};
    for (const auto& [ad, t] : diger.at(digerleri[i].string())) {
      if (ad == "CariNot") continue;
      const std::string eksik = EksikSutun(t.sema);
      std::ofstream satirlar(klasor / (ad + ".jsonl"), std::ios::binary);
      for (json satir : t.satirlar) {
        satir.erase(eksik);
        satirlar << satir.dump() << "\n";
      }
      tanim["tables"].push_back(YapiTanimi(t.sema, eksik, ad + ".jsonl"));
    }
    std::ofstream(klasor / "tanim.json", std::ios::binary) << tanim.dump();
    fs::remove(veritabanlari[i]);
    yapilar.push_back({"build", veritabanlari[i].string(), (klasor / "tanim.json").string()});
  }
  for (const auto& c : JetOracle(yapilar)) ASSERT_EQ(c.rc, 0) << c.out;
  for (const auto& [yol, tablolar] : Dok(veritabanlari)) {
    for (const auto& [ad, t] : tablolar) {
      ASSERT_LT(Sutunlar(t.sema).size(), Sutunlar(kaynak.at(yol).at(ad).sema).size()) << ad;
    }
  }

  const auto r = s.GeriAl("P", "001", "2009", "001", "2009");
  EXPECT_TRUE(r.sonuc.sona_ulasti) << Hatalar(r.kutular);
  Karsilastir(
      kaynak, [](const fs::path& p) { return p; }, "001", "001");
  // The copies taken before the change are the databases as they were.
  EXPECT_TRUE(fs::exists(s.C("GeriAlOncesi/test/Cari/Data/001/2009/cari.mdb")));
  EXPECT_EQ(s.ArtikGeciciler(), std::vector<fs::path>{});
}

}  // namespace
}  // namespace px::restorecheck
