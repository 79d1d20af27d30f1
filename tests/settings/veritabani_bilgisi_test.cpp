#include "settings/veritabani_bilgisi.h"

#include <gtest/gtest.h>

#include <optional>

#include "db/memory_connection.h"
#include "operator/scripted_operator.h"
#include "platform/host_path.h"
#include "platform/profile.h"
#include "settings/hata_mesaji.h"
#include "settings/ini.h"
#include "support/boxes.h"
#include "support/temp_folder.h"

namespace px::settings {
namespace {

using testing::ReadAll;
using testing::ScopedEnv;
using testing::TempFolder;

// A connection that hands every call to one the test keeps.
class Ortak : public db::Connection {
 public:
  explicit Ortak(db::Connection& c) : c_(c) {}
  Result<std::vector<db::TableEntry>> Tables() override { return c_.Tables(); }
  Result<std::unique_ptr<RowSource>> Query(std::string_view sql) override { return c_.Query(sql); }

 private:
  db::Connection& c_;
};

// Opens the prepared company database, if any, and remembers what it was asked to open.
class FakeAcici : public BaglantiAcici {
 public:
  Result<std::unique_ptr<db::Connection>> Ac(const BaglantiTanimi& tanim) override {
    istenen.push_back(tanim);
    if (!hazir) return Status::NotFound("sirket.mdb not found");
    return std::unique_ptr<db::Connection>(std::make_unique<Ortak>(*hazir));
  }
  std::unique_ptr<db::MemoryConnection> hazir;
  std::vector<BaglantiTanimi> istenen;
};

std::unique_ptr<db::MemoryConnection> SirketVeritabani(Value derece) {
  db::MemoryTable sirket;
  sirket.fields = {db::TextField("intSirketNo"),       db::TextField("strSirketAdi"),
                   db::TextField("strSirketFax"),      db::TextField("strSirketTelefon1"),
                   db::TextField("strSirketTelefon2"), db::TextField("strSirketAdi2"),
                   db::TextField("intSirketVergiNo"),  db::TextField("strSirketVergiDaire")};
  sirket.rows = {{std::string("001"), std::string("Örnek Ltd."), std::string("F"),
                  std::string("T1"), std::string("T2"), std::string("İkinci"), std::string("123"),
                  std::string("Kızılay")}};
  db::MemoryTable guvenlik;
  guvenlik.fields = {db::TextField("Kullanici"), db::TextField("Derecesi")};
  guvenlik.rows = {{std::string("001PERGO"), std::move(derece)}};
  auto c = std::make_unique<db::MemoryConnection>();
  c->Add("tblSirket", std::move(sirket));
  c->Add("Guvenlik", std::move(guvenlik));
  return c;
}

// The location and connection settings, "|"-separated: work area, year, company, user,
// kind, provider, server, server login, password.
std::string Konum(clsVeritabaniBilgisi& b) {
  return b.CalismaAlani() + "|" + b.CalismaYili() + "|" + b.SirketNo() + "|" + b.KullaniciAdi() +
         "|" + b.VeriTabaniTuru() + "|" + b.Provider() + "|" + b.SQLServerAdi() + "|" +
         b.SqlServerKullanici() + "|" + b.SqlServerKullaniciSifre();
}

class VeritabaniBilgisiTest : public ::testing::Test {
 protected:
  VeritabaniBilgisiOrtami Ortam() {
    VeritabaniBilgisiOrtami o;
    o.op = &op_;
    o.acici = &acici_;
    o.bu_yil = [] { return 2026; };
    return o;
  }
  void Config(const std::string& bytes) { c_.Write("Pergonix/Config.INI", bytes); }

  TempFolder c_;
  ScopedEnv drives_{kDriveMapVariable, "C=" + c_.str()};
  ScopedEnv cp_{kAnsiCodePageVariable, std::nullopt};
  op::ScriptedOperator op_;
  FakeAcici acici_;
};

// Config.INI read as the profile functions return it (first of two keys, quotes removed,
// Windows-1254, values cut at 511 characters), the kind normalised only for the two names,
// and the company database asked for accordingly.
TEST_F(VeritabaniBilgisiTest, LocationAndConnectionFromConfig) {
  const std::string jet = "Microsoft.Jet.OLEDB.4.0";
  const std::string uzun = "C:\\" + std::string(508, 'x');
  struct Case {
    std::optional<std::string> config;  // no file when absent
    std::string konum;
    BaglantiTanimi istenen;
  };
  const Case cases[] = {
      {std::nullopt,
       "C:\\Pergonix|2026|001|PERGO|Access|" + jet + "||pergo|51736420",
       {"C:\\Pergonix\\genel\\data\\sirket.mdb", jet}},
      {"[pergo]\r\n"
       "CalismaAlani = \"D:\\Muhasebe\\Pergo\"  \r\n"
       "Yil= 2009\r\n"
       "Yil=2010\r\n"
       ";Sirket=009\r\n"
       "Sirket='002'\r\n"
       "KullaniciAdi=\xD6ZG\xDCR \xDDLKER\r\n"
       "[VERITABANI]\r\n"
       "veritabanituru = sqlserver\r\n"
       "Provider=SQLOLEDB\r\n"
       "SqlServerAdi=SUNUCU\\SQLEXPRESS\r\n"
       "SqlServerSifre=\r\n",
       "D:\\Muhasebe\\Pergo|2009|002|ÖZGÜR İLKER|SQLServer|SQLOLEDB|SUNUCU\\SQLEXPRESS|pergo|",
       {"provider=SQLOLEDB;server=SUNUCU\\SQLEXPRESS;uid=pergo;password=;database=sirket ", ""}},
      {"[Veritabani]\nVeritabaniTuru=aCCess\n",
       "C:\\Pergonix|2026|001|PERGO|Access|" + jet + "||pergo|51736420",
       {"C:\\Pergonix\\genel\\data\\sirket.mdb", jet}},
      {"[Veritabani]\nVeritabaniTuru=Oracle\n",
       "C:\\Pergonix|2026|001|PERGO|Oracle|" + jet + "||pergo|51736420",
       {"C:\\Pergonix\\genel\\data\\sirket.mdb", jet}},
      {"[Pergo]\nCalismaAlani=C:\\" + std::string(700, 'x') + "\n",
       uzun + "|2026|001|PERGO|Access|" + jet + "||pergo|51736420",
       {uzun + "\\genel\\data\\sirket.mdb", jet}},
  };
  for (const Case& c : cases) {
    std::filesystem::remove(c_.path() / "Pergonix/Config.INI");
    if (c.config) Config(*c.config);
    FakeAcici acici;
    VeritabaniBilgisiOrtami o = Ortam();
    o.acici = &acici;
    clsVeritabaniBilgisi b(o);
    EXPECT_EQ(Konum(b), c.konum);
    EXPECT_EQ(acici.istenen, std::vector<BaglantiTanimi>{c.istenen});
    // The company database could not be opened: unknown company, no box, level 0.
    EXPECT_EQ(b.SirketAdi(), "Bilinmeyen Şirket Adı");
    EXPECT_EQ(b.VergiNo(), "");
    EXPECT_EQ(b.KullaniciDerecesi(), 0);
    EXPECT_TRUE(op_.boxes.empty());
  }
}

// The record's fields by getter; an unknown company still looks up the level (none for
// 007PERGO: 2). The queries are the record readers' own.
TEST_F(VeritabaniBilgisiTest, CompanyRecordAndLevel) {
  acici_.hazir = SirketVeritabani(std::string("4"));
  clsVeritabaniBilgisi b(Ortam());
  EXPECT_EQ(b.SirketAdi() + "|" + b.SirketFaxNo() + "|" + b.SirketTelefonNo1() + "|" +
                b.SirketTelefonNo2() + "|" + b.SirketAdi2() + "|" + b.VergiNo() + "|" +
                b.VergiDairesi(),
            "Örnek Ltd.|F|T1|T2|İkinci|123|Kızılay");
  EXPECT_EQ(b.KullaniciDerecesi(), 4);
  Config("[Pergo]\nSirket=007\n");
  clsVeritabaniBilgisi bilinmeyen(Ortam());
  EXPECT_EQ(bilinmeyen.SirketAdi(), "Bilinmeyen Şirket Adı");
  EXPECT_EQ(bilinmeyen.VergiDairesi(), "");
  EXPECT_EQ(bilinmeyen.KullaniciDerecesi(), 2);
}

// A level that is no number, and a missing Guvenlik table, give 0 and the class's error box.
TEST_F(VeritabaniBilgisiTest, LevelErrorsShowTheClassErrorBoxAndGiveZero) {
  auto kutu = [](const std::string& no) {
    return op::Box{"Hata No: " + no +
                       "\r\nHata Açıklama: *\r\nSatır No: 0\r\nProsedür Adı: "
                       "KullaniciDerecesiBul\r\nModül Tipi: Class Module\r\nModül Adı: "
                       "clsVeritabaniBilgisi",
                   "HATA", op::Icon::kExclamation, op::Buttons::kOk, 1};
  };
  acici_.hazir = SirketVeritabani(std::string("yönetici"));
  clsVeritabaniBilgisi b(Ortam());
  EXPECT_EQ(b.KullaniciDerecesi(), 0);
  db::MemoryConnection bos;
  EXPECT_EQ(b.KullaniciDerecesiBul("PERGO", "001", bos), 0);
  EXPECT_TRUE(testing::BoxesMatch(op_.boxes, {kutu("13"), kutu("-2147217865")}));
}

TEST(HataMesaji, SixLinesExactly) {
  op::ScriptedOperator op;
  HataMesajiGoster(op, {91, "Nesne yok", 12}, "KonumBilgisi");
  ASSERT_EQ(op.boxes.size(), 1u);
  EXPECT_EQ(op.boxes[0], (op::Box{"Hata No: 91\r\nHata Açıklama: Nesne yok\r\nSatır No: 12\r\n"
                                  "Prosedür Adı: KonumBilgisi\r\nModül Tipi: Class Module\r\n"
                                  "Modül Adı: clsVeritabaniBilgisi",
                                  "HATA", op::Icon::kExclamation, op::Buttons::kOk, 1}));
}

// The legacy record: root, blank, year (4), filler, company (3), two fillers, user (30),
// filler, kind letter, server (20).
std::string PergoKaydi(const std::string& kok, char tur) {
  std::string user = "\xDDLKER";
  user.resize(30, ' ');
  std::string server = "  SUNUCU";
  server.resize(20, ' ');
  return kok + " 2008|005||" + user + "|" + std::string(1, tur) + server;
}

TEST_F(VeritabaniBilgisiTest, LegacyFixedLayout) {
  clsVeritabaniBilgisi b = clsVeritabaniBilgisi(Ortam());
  c_.Write("pergonix/pergo.ini", PergoKaydi("D:\\Pergonix", 'S'));
  b.KonumBilgisiPergoINI();
  EXPECT_EQ(Konum(b), "D:\\Pergonix|2008|005|İLKER|S|SQLOLEDB|SUNUCU|sa|");

  c_.Write("pergonix/pergo.ini", PergoKaydi("C:\\P", 'A'));
  b.KonumBilgisiPergoINI();
  EXPECT_EQ(b.CalismaAlani(), "C:\\P");
  EXPECT_EQ(b.Provider(), "Microsoft.Jet.OLEDB.4.0");
  EXPECT_TRUE(op_.boxes.empty());
}

TEST_F(VeritabaniBilgisiTest, LegacyRecordWithoutBlankOnlyTrimsAndSetsTheLogin) {
  Config("[Pergo]\nKullaniciAdi=  PERGO  \n[Veritabani]\nVeritabaniTuru=S\n");
  clsVeritabaniBilgisi b(Ortam());
  c_.Write("pergonix/pergo.ini", "C:\\Pergonix_tek_parca");
  b.KonumBilgisiPergoINI();
  EXPECT_EQ(b.CalismaAlani(), "C:\\Pergonix");  // untouched
  EXPECT_EQ(b.KullaniciAdi(), "PERGO");
  EXPECT_EQ(b.Provider(), "SQLOLEDB");
  EXPECT_EQ(b.SqlServerKullanici(), "sa");
}

TEST_F(VeritabaniBilgisiTest, LegacyReaderReportsUnderTheOtherReadersName) {
  clsVeritabaniBilgisi b(Ortam());
  c_.Mkdir("pergonix/pergo.ini");  // a folder where the file should be
  {
    ScopedEnv bad(kAnsiCodePageVariable, "437");
    b.KonumBilgisiPergoINI();
  }
  ASSERT_EQ(op_.boxes.size(), 1u);
  EXPECT_NE(op_.boxes[0].text.find("Prosedür Adı: KonumBilgisi\r\n"), std::string::npos);
  EXPECT_EQ(b.SqlServerKullanici(), "pergo");  // left before the assignments
}

TEST_F(VeritabaniBilgisiTest, IniHelpersGoThroughTheDriveMap) {
  // The folder must exist, as for the Windows call.
  EXPECT_FALSE(IniYaz("Pergo", "Yil", "2011", "c:\\PERGONIX\\config.ini"));
  c_.Mkdir("Pergonix");
  EXPECT_TRUE(IniYaz("Pergo", "Yil", "  2011  ", "c:\\PERGONIX\\config.ini"));
  EXPECT_EQ(ReadAll(c_.path() / "Pergonix" / "config.ini"), "[Pergo]\r\nYil=2011\r\n");
  EXPECT_EQ(IniOku("pergo", "yil", "x", "C:\\pergonix\\config.ini"), "2011");
  EXPECT_EQ(IniOku("Pergo", "Yok", "", "C:\\pergonix\\config.ini"), "");
  EXPECT_EQ(IniOku("Pergo", "Yil", "d", "Q:\\config.ini"), "d");
  EXPECT_FALSE(IniYaz("Pergo", "Yil", "1", "Q:\\config.ini"));
}

}  // namespace
}  // namespace px::settings
