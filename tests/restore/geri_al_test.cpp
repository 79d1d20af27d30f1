#include "restore/geri_al.h"

#include <gtest/gtest.h>

#include "operator/scripted_operator.h"
#include "platform/host_path.h"
#include "restore/adimlar.h"
#include "restore/fake_database.h"
#include "restore/sql_metinleri.h"
#include "restore/test_katalog.h"
#include "support/boxes.h"
#include "support/dying_files.h"
#include "support/saha.h"
#include "support/temp_folder.h"
#include "xbf/xbf_writer.h"

namespace px::restore {
void PrintTo(const ModulSonucu& m, std::ostream* os) {
  *os << "{" << m.modul << "," << m.sirket << "," << m.durum << "}";
}

namespace {

using op::Answer;
using op::Box;
using op::Buttons;
using op::Icon;
using testing::FakeDatabase;
using testing::FakePool;
using testing::KatalogKurucu;
constexpr auto F = px::testing::Saha;

const std::string kKok = "C:\\Pergonix";
const std::string kCariDb = "C:\\Pergonix\\Cari\\Data\\004\\2010\\cari.mdb";
const std::string kPersonelDb = "C:\\Pergonix\\Personel\\Data\\004\\2010\\personel.mdb";
const std::string kDemirbasDb = "C:\\Pergonix\\Demirbas\\Data\\004\\demirbas.mdb";
const std::string kPaket = "C:\\Yedek\\Paket1";

Box Soru(const std::string& text, const char* title = "Pergonix Yedek") {
  return Box{text, title, Icon::kQuestion, Buttons::kYesNo, 2};
}
Box Bilgi(const std::string& text, const char* title = "Uyarı") {
  return Box{text, title, Icon::kInformation, Buttons::kOk, 1};
}

const std::string kBaslatSorusu = "Geri Al İşlemini Başlatmak İstediğinizden Eminmisiniz?";
std::string ModulSorusu(const std::string& ad) {
  return "Modül: " + ad +
         "\r\n\r\nYukarıdaki Modüldeki Bilgiler SİLİNECEKTİR.\r\n\r\nYedek Bilgileri Geri Almak "
         "İstediğinizden Eminmisiniz?";
}

// A suite below C: (a temporary folder), its catalog in memory, module databases held by a
// fake pool, and a package written with real recordset files.
class GeriAlTest : public ::testing::Test {
 public:
  GeriAlTest() {
    c_.Write("Pergonix/Genel/Data/DonemAc.mdb", "x");
    c_.Write("Pergonix/Genel/Data/YedekDosya.ini", "x");
    c_.Mkdir("tmp");
    k_.Veritabani("Cari", "cari.mdb", "CARI", "DataSirketYil", "Cari");
    k_.Tablo("Cari", "tblCari");
    k_.Tablo("Cari", "tblNot");
    k_.Saha("Cari", "tblCari", "Id", "Long", "", "E", "E", "1");
    k_.Saha("Cari", "tblCari", "Ad", "String", "50", "", "", "2");
    k_.Saha("Cari", "tblCari", "Tutar", "Currency", "", "", "", "3");
    k_.Saha("Cari", "tblNot", "Kod", "String", "5", "E", "", "1");
    k_.Saha("Cari", "tblNot", "Aciklama", "String", "50", "", "", "2");
    k_.Veritabani("Personel", "personel.mdb", "PERSONEL", "DataSirketYil", "Personel");
    k_.Tablo("Personel", "tablo_isyeri_bilgileri");
    k_.Saha("Personel", "tablo_isyeri_bilgileri", "strIsyeriKey", "String", "6", "E", "", "1");
    k_.Saha("Personel", "tablo_isyeri_bilgileri", "strIsyeriKodu", "String", "3", "", "", "2");
    k_.Veritabani("Demirbas", "demirbas.mdb", "DEMIRBAS", "DataSirket", "Demirbaş");
    k_.Tablo("Demirbaş", "tblDemirbas");
    k_.Saha("Demirbaş", "tblDemirbas", "No", "Long", "", "E", "E", "1");

    Tablo("Cari/Data/001/2009/cari-tblCari.pbf",
          {F("Id", ado::kInteger), F("Ad", ado::kVarWChar), F("Tutar", ado::kCurrency)},
          {{int64_t{1}, std::string("O'Neil"), Currency{12345600}}, {int64_t{2}, Null{}, Null{}}});
    Tablo("Cari/Data/001/2009/cari-tblNot.xbf",
          {F("Kod", ado::kVarWChar), F("Aciklama", ado::kVarWChar)},
          {{std::string("A"), std::string("bir")}});
    Tablo("Personel/Data/001/2009/personel-tablo_isyeri_bilgileri.xbf",
          {F("strIsyeriKey", ado::kVarWChar), F("strIsyeriKodu", ado::kVarWChar)},
          {{std::string("001002"), std::string("001")}});
    Tablo("Demirbas/Data/001/demirbas-tblDemirbas.xbf", {F("No", ado::kInteger)}, {{int64_t{9}}});
  }

  void Tablo(const std::string& rel, std::vector<FieldInfo> fields, std::vector<Row> rows) {
    const auto p = c_.path() / "Yedek/Paket1" / rel;
    std::filesystem::create_directories(p.parent_path());
    db::VectorRowSource src(std::move(fields), std::move(rows));
    ASSERT_TRUE(xbf::WriteRecordsetFile(src, p.string()).ok());
  }

  // An existing database: a file on the disk and its tables in the pool.
  FakeDatabase& Mevcut(const std::string& yol, const std::string& rel) {
    c_.Write(rel, "mdb bytes of " + rel);
    return pool_.Add(yol);
  }

  Ortam Ortami() { return Ortami(op_, pool_); }
  Ortam Ortami(op::Operator& op, db::DatabasePool& pool, std::string tur = "Access",
               Dosyalar* dosyalar = nullptr) {
    return Ortam{fs_,
                 dosyalar ? *dosyalar : dosyalar_,
                 pool,
                 op,
                 [this](const std::string& yol) -> Result<std::unique_ptr<db::Connection>> {
                   katalog_yollari_.push_back(yol);
                   return std::unique_ptr<db::Connection>(k_.Baglanti());
                 },
                 kKok,
                 std::move(tur),
                 "C:\\tmp\\",  // the staging folder, on the mapped drive
                 "",
                 {},
                 nullptr,
                 {}};
  }

  GeriAlGirdileri Girdiler() {
    GeriAlGirdileri g;
    g.paket = "Paket1";
    g.sirket = "004";
    g.yil = "2010";
    g.kaynak = "C:\\Yedek";
    g.paket_sirket = "001";
    g.paket_yil = "2009";
    for (const char* ad : {"Cari", "Demirbaş", "Personel"}) g.moduller.push_back({ad, true});
    return g;
  }

  px::testing::TempFolder c_;
  px::testing::ScopedEnv drives_{kDriveMapVariable, "C=" + c_.str()};
  KatalogKurucu k_;
  HostFileSystem fs_;
  HostDosyalar dosyalar_;
  FakePool pool_;
  op::ScriptedOperator op_;
  std::vector<std::string> katalog_yollari_;
  // What a run is given beside the defaults: a failing file layer, a copies folder.
  std::optional<px::testing::DyingFiles> bozuk_;
  std::optional<HostDosyalar> bozuk_dosyalar_;
  std::string onceki_kopya_;
};

// Each case spoils the field checked and the next one: the first check in order speaks.
TEST_F(GeriAlTest, EntryChecksInOrder) {
  struct Case {
    std::function<void(GeriAlGirdileri&)> bozma;
    const char* mesaj;
  };
  const Case cases[] = {
      {[](auto& g) { g.paket = g.sirket = ""; }, "Yedek Paket Adı Bölümü Dolu Olmalı!"},
      {[](auto& g) { g.sirket = g.yil = ""; }, "Şirket No Bölümü Dolu Olmalı!"},
      {[](auto& g) { g.yil = g.kaynak = ""; }, "Yıl Bölümü Bolu Olmalı!"},
      {[](auto& g) { g.kaynak = "", g.sirket = "1"; },
       "Yedeklerin Bulunduğu Klasör Adı Bölümü Bolu Olmalı!"},
      {[](auto& g) { g.sirket = "1", g.yil = "10"; }, "Şirket No Üç Haneli Olmalı!"},
      {[](auto& g) { g.yil = "10", g.moduller.clear(); }, "Yıl Dört Haneli Olmalı!"},
      {[](auto& g) { g.moduller.clear(); }, "Geri Alınacak Modül Bulunamadı!"},
      {[](auto& g) { g.moduller[0].secili = g.moduller[1].secili = g.moduller[2].secili = false; },
       "Lütfen Geri Almak İstediğiniz Modülü Seçin!"},
  };
  for (const auto& c : cases) {
    op::ScriptedOperator op;
    Ortam ortam = Ortami(op, pool_);
    GeriAlGirdileri g = Girdiler();
    c.bozma(g);
    GeriAlSonucu s = GeriAlBaslat(ortam, g);
    EXPECT_TRUE(s.hata);
    EXPECT_EQ(op.boxes, std::vector<Box>{Bilgi(c.mesaj)}) << c.mesaj;
  }
  EXPECT_TRUE(pool_.log.empty());
  EXPECT_TRUE(katalog_yollari_.empty());
}

TEST_F(GeriAlTest, FullRunIntoAnotherCompanyAndYear) {
  // Cari exists with other rows and without the Tutar column; the rest is missing.
  FakeDatabase& cari = Mevcut(kCariDb, "Pergonix/Cari/Data/004/2010/cari.mdb");
  cari.AddTable("tblCari", {{"Id", ado::kInteger, 0, 0, true, true}, {"Ad", ado::kVarWChar, 50}});
  cari.Find("tblCari")->keys.push_back({"PrimaryKey", "Id"});
  cari.Find("tblCari")->rows.push_back({int64_t{77}, std::string("eski")});
  cari.AddTable("tblNot", {{"Kod", ado::kVarWChar, 5}, {"Aciklama", ado::kVarWChar, 50}});
  cari.Find("tblNot")->rows.push_back({std::string("Z"), std::string("eski")});
  op_.Queue(Answer::kYes);
  for (int i = 0; i < 3; ++i) op_.Queue(Answer::kYes);
  Ortam o = Ortami();
  GeriAlSonucu s = GeriAlBaslat(o, Girdiler());

  EXPECT_TRUE(s.sona_ulasti);
  EXPECT_FALSE(s.hata);
  EXPECT_EQ(op_.boxes,
            (std::vector<Box>{Soru(kBaslatSorusu), Soru(ModulSorusu("CARİ")),
                              Soru(ModulSorusu("DEMİRBAŞ")), Soru(ModulSorusu("PERSONEL")),
                              Bilgi("Geri Al İşlemi Tamamlandı!", "Pergonix Yedek")}));
  EXPECT_EQ(op_.module_states,
            (std::vector<std::pair<std::string, std::string>>{
                {"Cari", "Tamam"}, {"Demirbaş", "Tamam"}, {"Personel", "Tamam"}}));
  EXPECT_EQ(
      op_.statuses,
      (std::vector<std::string>{
          "Cari Yaratılıyor...", "tblCari Okunuyor...", "tblCari Geri Alınıyor...",
          "tblNot Okunuyor...", "tblNot Geri Alınıyor...", "Demirbaş Yaratılıyor...",
          "tblDemirbas Okunuyor...", "tblDemirbas Geri Alınıyor...", "Personel Yaratılıyor...",
          "tablo_isyeri_bilgileri Okunuyor...", "tablo_isyeri_bilgileri Geri Alınıyor..."}));
  EXPECT_EQ(katalog_yollari_, std::vector<std::string>{"C:\\Pergonix\\genel\\data\\DonemAc.mdb"});

  EXPECT_EQ(
      cari.log,
      (std::vector<std::string>{
          "Begin", "AppendColumn tblCari Tutar 6 size=0 precision=2 azl", "HasAutoNumber tblCari",
          "DELETE FROM tblCari",
          "INSERT INTO tblCari (Id, Ad, Tutar) Values ('1','O\"Neil',CAST('1234.56' AS MONEY))",
          "INSERT INTO tblCari (Id, Ad, Tutar) Values ('2','',Null)", "DELETE FROM tblNot",
          "AddRow tblNot Kod=A Aciklama=bir", "Commit"}));
  EXPECT_EQ(cari.Rows("tblCari"), (std::vector<std::string>{"1|O\"Neil|1234.56", "2||<null>"}));
  EXPECT_EQ(cari.Rows("tblNot"), std::vector<std::string>{"A|bir"});

  FakeDatabase* demirbas = pool_.Get(kDemirbasDb);
  ASSERT_NE(demirbas, nullptr);
  EXPECT_EQ(demirbas->Rows("tblDemirbas"), std::vector<std::string>{"9"});
  EXPECT_EQ(demirbas->commits, 1);

  FakeDatabase* personel = pool_.Get(kPersonelDb);
  ASSERT_NE(personel, nullptr);
  const std::vector<std::string> son(personel->log.end() - 3, personel->log.end());
  EXPECT_EQ(son, (std::vector<std::string>{IsyeriKeyMetni("001", "004", "Access"),
                                           ParametreKeyMetni("001", "004", "Access"), "Commit"}));
  // Folders of every level exist for the target.
  for (const char* klasor :
       {"Cari/Data/004/2010", "Demirbas/Data/004/2010", "Personel/Data/004/2010"}) {
    EXPECT_TRUE(std::filesystem::is_directory(c_.path() / "Pergonix" / klasor)) << klasor;
  }
  EXPECT_TRUE(std::filesystem::is_empty(c_.path() / "tmp"));  // staging files removed
}

const std::string kOnemliUyari =
    "ÖNEMLİ UYARI: \r\n\r\nŞirket No: 004\r\nYıl: 2010\r\n\r\nYukarıdaki Şirket Ve Döneme Ait "
    "Seçilen Modüllerdeki Bilgiler SİLİNECEKTİR!\r\n\r\nDevam Etmek İstediğinizden Eminmisiniz?";
const Box kBitti = Bilgi("Geri Al İşlemi Tamamlandı!", "Pergonix Yedek");
Box Hata(const std::string& text) {
  return Box{text, "Hata", Icon::kExclamation, Buttons::kOk, 1};
}

std::string Bayraklar(const GeriAlSonucu& s) {
  return px::testing::Flags(
      {{s.hata, "hata"}, {s.reddedildi, "reddedildi"}, {s.sona_ulasti, "sona_ulasti"}});
}

// One restore run: what is changed before it, the answers, every box, the result, and what the
// run must leave.
struct Calisma {
  const char* ad;
  std::function<void(GeriAlTest&, GeriAlGirdileri&)> hazirla;
  std::vector<Answer> cevaplar;
  std::vector<Box> kutular;  // a text may hold "*"
  const char* bayraklar;
  std::function<void(GeriAlTest&)> kontrol = nullptr;
};
void PrintTo(const Calisma& c, std::ostream* os) {
  *os << c.ad;
}

// Cari alone, with the one overall warning.
void YalnizCari(GeriAlGirdileri& g) {
  g.moduller = {{"Cari", true}};
  g.onaysiz = true;
}
// An existing Cari database whose tblNot holds a row of its own.
FakeDatabase& EskiCari(GeriAlTest& t) {
  FakeDatabase& cari = t.Mevcut(kCariDb, "Pergonix/Cari/Data/004/2010/cari.mdb");
  cari.AddTable("tblNot", {{"Kod", ado::kVarWChar, 5}, {"Aciklama", ado::kVarWChar, 50}});
  cari.Find("tblNot")->rows.push_back({std::string("Z"), std::string("eski")});
  return cari;
}
void HicbirSeyAcilmadi(GeriAlTest& t) {
  EXPECT_TRUE(t.pool_.log.empty());
  EXPECT_TRUE(t.katalog_yollari_.empty());
}

std::vector<Calisma> Calismalar() {
  const Box yok_ini{"C:\\Pergonix\\Genel\\Data\\YedekDosya.ini Dosyası Bulunamadı!", "HATA",
                    Icon::kCritical, Buttons::kOk, 1};
  const Box yok_donem{"C:\\Pergonix\\Genel\\Data\\DonemAc.mdb Dosyası Bulunamadı!", "HATA",
                      Icon::kCritical, Buttons::kOk, 1};
  const std::vector<Answer> evet2 = {Answer::kYes, Answer::kYes};
  return {
      {"MissingYedekDosyaIni",
       [](auto& t, auto&) {
         std::filesystem::remove(t.c_.path() / "Pergonix/Genel/Data/YedekDosya.ini");
       },
       {},
       {yok_ini},
       "hata",
       HicbirSeyAcilmadi},
      {"BothSharedFilesMissingNamesDonemAcFirst",
       [](auto& t, auto&) {
         std::filesystem::remove(t.c_.path() / "Pergonix/Genel/Data/YedekDosya.ini");
         std::filesystem::remove(t.c_.path() / "Pergonix/Genel/Data/DonemAc.mdb");
       },
       {},
       {yok_donem},
       "hata",
       HicbirSeyAcilmadi},
      {"NoToTheFirstQuestionChangesNothing",
       [](auto&, auto&) {},
       {Answer::kNo},
       {Soru(kBaslatSorusu)},
       "reddedildi",
       HicbirSeyAcilmadi},
      {"NoToAModuleLeavesItUntouchedAndMarksGec",
       [](auto&, auto& g) {
         g.moduller = {{"Cari", true}, {"Personel", false}};
       },
       {Answer::kYes, Answer::kNo},
       {Soru(kBaslatSorusu), Soru(ModulSorusu("CARİ")), kBitti},
       "reddedildi sona_ulasti",
       [](auto& t) {
         EXPECT_EQ(t.op_.module_states,
                   (std::vector<std::pair<std::string, std::string>>{{"Cari", "Geç"}}));
         EXPECT_TRUE(t.pool_.log.empty());
         EXPECT_FALSE(std::filesystem::exists(t.c_.path() / "Pergonix/Cari"));
       }},
      // A database created and filled in the same transaction is gone with it.
      {"RefusedStatementRollsBackANewDatabaseToo",
       [](auto& t, auto& g) {
         t.pool_.fail_on_created = "Values ('2'";
         YalnizCari(g);
       },
       evet2,
       {Soru(kBaslatSorusu), Soru(kOnemliUyari),
        Hata("Hata Kodu: -2147467259\r\nAçıklama: injected failure at: INSERT INTO tblCari (Id, "
             "Ad, Tutar) Values ('2','',Null)")},
       "hata",
       [](auto& t) {
         FakeDatabase* cari = t.pool_.Get(kCariDb);
         ASSERT_NE(cari, nullptr);
         EXPECT_EQ(cari->rollbacks, 1);
         EXPECT_TRUE(cari->tables.empty());
         EXPECT_EQ(t.pool_.log.back(), "Close " + kCariDb);
       }},
      {"CopiesBeforeTheFirstChangeAndNamesTheirFolder",
       [](auto& t, auto& g) {
         t.Mevcut(kCariDb, "Pergonix/Cari/Data/004/2010/cari.mdb");
         t.onceki_kopya_ = "C:\\Pergonix\\GeriAlOncesi\\20261123-220000";
         YalnizCari(g);
       },
       evet2,
       {Soru(kBaslatSorusu), Soru(kOnemliUyari),
        Bilgi("Geri Al İşlemi Tamamlandı!\r\n\r\nDeğişiklik Öncesi Kopyalar: "
              "C:\\Pergonix\\GeriAlOncesi\\20261123-220000",
              "Pergonix Yedek")},
       "sona_ulasti",
       [](auto& t) {
         EXPECT_EQ(px::testing::ReadAll(t.c_.path() / "Pergonix/GeriAlOncesi/20261123-220000/Cari/"
                                                      "Data/004/2010/cari.mdb"),
                   "mdb bytes of Pergonix/Cari/Data/004/2010/cari.mdb");
       }},
      {"FullDiskWhileCopyingAnExtraFileLeavesItAndTheModuleAsTheyWere",
       [](auto& t, auto& g) {
         EskiCari(t);
         t.c_.Write("Pergonix/Cari/Data/ayar.ini", "eski ayar");
         t.c_.Write("Yedek/Paket1/Dosya/Cari/Data/ayar.ini", std::string(200000, 'y'));
         t.bozuk_.emplace(2, px::testing::DyingFiles::Fault::kDiskFull);  // after one write
         t.bozuk_dosyalar_.emplace(*t.bozuk_);
         YalnizCari(g);
       },
       evet2,
       {Soru(kBaslatSorusu), Soru(kOnemliUyari), Hata("*ayar.ini*")},
       "hata",
       [](auto& t) {
         EXPECT_EQ(px::testing::ReadAll(t.c_.path() / "Pergonix/Cari/Data/ayar.ini"), "eski ayar");
         EXPECT_EQ(t.pool_.Get(kCariDb)->Rows("tblNot"), std::vector<std::string>{"Z|eski"});
         EXPECT_EQ(t.pool_.Get(kCariDb)->rollbacks, 1);
         for (const auto& e :
              std::filesystem::directory_iterator(t.c_.path() / "Pergonix/Cari/Data")) {
           EXPECT_FALSE(e.path().filename().string().starts_with(".~")) << e.path();
         }
       }},
  };
}

class GeriAlCalismasi : public GeriAlTest, public ::testing::WithParamInterface<Calisma> {};

TEST_P(GeriAlCalismasi, BoxesResultAndWhatItLeaves) {
  const Calisma& c = GetParam();
  GeriAlGirdileri g = Girdiler();
  c.hazirla(*this, g);
  for (Answer a : c.cevaplar) op_.Queue(a);
  Ortam o = Ortami(op_, pool_, "Access", bozuk_dosyalar_ ? &*bozuk_dosyalar_ : nullptr);
  o.onceki_kopya_klasoru = onceki_kopya_;
  const GeriAlSonucu s = GeriAlBaslat(o, g);
  EXPECT_TRUE(px::testing::BoxesMatch(op_.boxes, c.kutular));
  EXPECT_EQ(Bayraklar(s), c.bayraklar);
  EXPECT_TRUE(std::filesystem::is_empty(c_.path() / "tmp"));  // staging files removed
  if (c.kontrol) c.kontrol(*this);
}

INSTANTIATE_TEST_SUITE_P(Runs, GeriAlCalismasi, ::testing::ValuesIn(Calismalar()),
                         [](const auto& i) { return std::string(i.param.ad); });

YilGeriAlGirdileri YilGirdileri() {
  YilGeriAlGirdileri g;
  g.paket = "Paket1";
  g.kaynak = "C:\\Yedek";
  g.kaynak_yil = "2009";
  g.hedef_yil = "2010";
  g.moduller = {{"Cari", true}};
  return g;
}

const char kYilSorusu[] =
    "2009 Yılına Ait Tüm Şirketlerdeki Yedek Bilgilerini Geri Almak İstediğinizden Eminmisiniz?";
const char kYilUyarisi[] =
    "ÖNEMLİ UYARI\r\n\r\nHedef Yıl: 2010\r\n\r\nBu İşlem 'Paket1' Paketindeki 2009 Yılına Ait Tüm "
    "Şirketlerdeki Yedek Bilgilerini 2010 Yılındaki Çalışma Bilgilerinin Üzerine "
    "Yazacaktır!\r\n\r\nİşleme Devam Etmek İstediğinizden Kesinlikle Eminmisiniz?";

std::string YilModulSorusu(const std::string& ad, const std::string& sirket) {
  return "Modül: " + ad + "\r\nŞirket No: " + sirket +
         "\r\nYıl: 2010\r\n\r\nYukarıdaki Modüldeki Bilgiler SİLİNECEKTİR.\r\n\r\nYedek Bilgileri "
         "Geri Almak İstediğinizden Eminmisiniz?";
}

TEST_F(GeriAlTest, YearRestoreEntryChecksAndQuestions) {
  struct Case {
    std::function<void(YilGeriAlGirdileri&)> bozma;
    const char* mesaj;
  };
  const Case cases[] = {
      {[](auto& g) { g.paket.clear(); }, "Lütfen Bir Paket Seçin!"},
      {[](auto& g) { g.kaynak = g.hedef_yil = ""; }, "Lütfen Yedeklerin Bulunduğu Klasörü Seçin!"},
      {[](auto& g) { g.kaynak_yil.clear(); }, "Lütfen Geri Alınacak Yılı Seçin!"},
      {[](auto& g) { g.hedef_yil.clear(); }, "Lütfen Yedeklerin Kopyalanacağı Yılı Seçin!"},
      {[](auto& g) { g.moduller.clear(); }, "Geri Alınacak Modül Bulunamadı!"},
      {[](auto& g) { g.moduller[0].secili = false; },
       "Lütfen Geri Almak İstediğiniz Modülü Seçin!"},
  };
  for (const auto& c : cases) {
    op::ScriptedOperator op;
    Ortam ortam = Ortami(op, pool_);
    YilGeriAlGirdileri g = YilGirdileri();
    c.bozma(g);
    EXPECT_TRUE(YilGeriAl(ortam, g).hata);
    EXPECT_EQ(op.boxes, std::vector<Box>{Bilgi(c.mesaj)}) << c.mesaj;
  }
  // No to either question ends the run; the second is an exclamation box.
  for (int no_at : {0, 1}) {
    op::ScriptedOperator op;
    if (no_at == 1) op.Queue(Answer::kYes);
    op.Queue(Answer::kNo);
    Ortam ortam = Ortami(op, pool_);
    YilGeriAlGirdileri g = YilGirdileri();
    EXPECT_TRUE(YilGeriAl(ortam, g).reddedildi);
    std::vector<Box> beklenen{Soru(kYilSorusu, "Yedek İşlemleri")};
    if (no_at == 1)
      beklenen.push_back({kYilUyarisi, "Yedek İşlemleri", Icon::kExclamation, Buttons::kYesNo, 2});
    EXPECT_EQ(op.boxes, beklenen);
    EXPECT_TRUE(op.wait_window.empty());
  }
  EXPECT_TRUE(pool_.log.empty());
}

TEST_F(GeriAlTest, YearRestoreEveryCompanyWithTheItemTableQuirks) {
  // The scan goes module by module: Cari (001, 002), Cek (003), ...
  Tablo("Cari/Data/002/2009/cari-tblNot.xbf",
        {F("Kod", ado::kVarWChar), F("Aciklama", ado::kVarWChar)},
        {{std::string("B"), std::string("iki")}});
  Tablo("Cari/Data/002/2008/cari-tblNot.xbf", {F("Kod", ado::kVarWChar)}, {});
  Tablo("Cek/Data/003/2009/cek-tblCek.xbf", {F("No", ado::kInteger)}, {});
  Tablo("Beyanname/Data/003/2009/beyan-tblBeyan.xbf", {F("No", ado::kInteger)}, {});
  k_.Veritabani("Beyanname", "beyan.mdb", "BEYAN", "DataSirketYil", "Beyanname");
  k_.Tablo("Beyanname", "tblBeyan");
  k_.Saha("Beyanname", "tblBeyan", "No", "Long", "", "", "", "1");
  // Extra files of the three levels, and of a company whose module is skipped.
  for (const char* ek : {"Cari/Data/ortak.ini", "Cari/Data/001/sirket.ini",
                         "Cari/Data/001/2009/rapor.rpt", "Cari/Data/002/2009/rapor.rpt"}) {
    c_.Write(std::string("Yedek/Paket1/Dosya/") + ek, ek);
  }
  YilGeriAlGirdileri g = YilGirdileri();
  g.moduller = {{"Cari", true},     {"Çek", true},          {"İşletme", true},
                {"Isletme", true},  {"Demirbaş", false},    {"Sipariş", true},
                {"Personel", true}, {"Teknik Servis", true}};
  op_.Queue(Answer::kYes);
  op_.Queue(Answer::kYes);
  op_.Queue(Answer::kYes);  // CARİ 001
  op_.Queue(Answer::kYes);  // PERSONEL 001
  op_.Queue(Answer::kNo);   // CARİ 002: skipped, the run goes on
  op_.Queue(Answer::kYes);  // BEYANNAME 003
  Ortam o = Ortami();
  GeriAlSonucu s = YilGeriAl(o, g);
  EXPECT_TRUE(s.sona_ulasti);
  EXPECT_TRUE(s.reddedildi);
  EXPECT_FALSE(s.hata);
  EXPECT_EQ(op_.boxes, (std::vector<Box>{
                           Soru(kYilSorusu, "Yedek İşlemleri"),
                           {kYilUyarisi, "Yedek İşlemleri", Icon::kExclamation, Buttons::kYesNo, 2},
                           Soru(YilModulSorusu("CARİ", "001")),
                           Soru(YilModulSorusu("PERSONEL", "001")),
                           Soru(YilModulSorusu("CARİ", "002")),
                           Soru(YilModulSorusu("BEYANNAME", "003"))}));
  EXPECT_EQ(op_.unscripted, 0);
  EXPECT_EQ(op_.statuses.front(), "Lütfen Bekleyin...");
  EXPECT_EQ(op_.wait_window, (std::vector<bool>{true, false}));
  EXPECT_EQ(op_.wait_labels, (std::vector<std::pair<int, std::string>>{
                                 {2, "2009 Yılına Ait Şirketlerin Yedekleri Geri Alınıyor..."},
                                 {1, "Geri Alınan Şirket: 001"},
                                 {1, "Geri Alınan Şirket: 002"},
                                 {1, "Geri Alınan Şirket: 003"}}));
  EXPECT_EQ(op_.wait_progress, (std::vector<std::pair<int, int>>{{0, 2}, {0, 2}, {1, 2}, {2, 2}}));
  EXPECT_EQ(s.moduller, (std::vector<ModulSonucu>{{"Cari", "001", "Tamam"},
                                                  {"Personel", "001", "Tamam"},
                                                  {"Cari", "002", "Geç"},
                                                  {"Isletme", "003", "Tamam"}}));
  // Cari of 001 went into 001 / 2010, Beyanname of 003 into its own company.
  FakeDatabase* cari = pool_.Get("C:\\Pergonix\\Cari\\Data\\001\\2010\\cari.mdb");
  ASSERT_NE(cari, nullptr);
  EXPECT_EQ(cari->Rows("tblNot"), std::vector<std::string>{"A|bir"});
  EXPECT_EQ(pool_.Get("C:\\Pergonix\\Cari\\Data\\002\\2010\\cari.mdb"), nullptr);
  EXPECT_TRUE(op_.module_states.empty());
  // Extra files go into the target year at every level; the Personel keys are not rewritten.
  for (const auto& [paketteki, hedef] :
       {std::pair{"Cari/Data/ortak.ini", "Cari/Data/ortak.ini"},
        {"Cari/Data/001/sirket.ini", "Cari/Data/001/sirket.ini"},
        {"Cari/Data/001/2009/rapor.rpt", "Cari/Data/001/2010/rapor.rpt"}}) {
    EXPECT_EQ(px::testing::ReadAll(c_.path() / "Pergonix" / hedef), paketteki);
  }
  EXPECT_FALSE(std::filesystem::exists(c_.path() / "Pergonix/Cari/Data/002/2010/rapor.rpt"));
  FakeDatabase* personel = pool_.Get("C:\\Pergonix\\Personel\\Data\\001\\2010\\personel.mdb");
  ASSERT_NE(personel, nullptr);
  EXPECT_EQ(personel->Rows("tablo_isyeri_bilgileri"), std::vector<std::string>{"001002|001"});
  EXPECT_EQ(personel->commits, 1);
  for (const std::string& l : personel->log) EXPECT_FALSE(l.starts_with("UPDATE")) << l;
}

TEST_F(GeriAlTest, YearRestorePackageWithoutCompaniesMakesOneEmptyPass) {
  std::filesystem::remove_all(c_.path() / "Yedek/Paket1");
  c_.Mkdir("Yedek/Paket1");
  YilGeriAlGirdileri g = YilGirdileri();
  op_.Queue(Answer::kYes);
  op_.Queue(Answer::kYes);
  Ortam o = Ortami();
  EXPECT_TRUE(YilGeriAl(o, g).sona_ulasti);
  EXPECT_EQ(op_.wait_labels.back(), (std::pair<int, std::string>{1, "Geri Alınan Şirket: "}));
  EXPECT_EQ(op_.wait_progress, (std::vector<std::pair<int, int>>{{0, 0}, {0, 0}}));
  EXPECT_EQ(op_.boxes.size(), 2u);
  EXPECT_TRUE(pool_.log.empty());
}

// A fault ends that module of that company only: its box shows and the run goes on.
TEST_F(GeriAlTest, YearRestoreShowsAFaultAndGoesOn) {
  Tablo("Cari/Data/002/2009/cari-tblNot.xbf",
        {F("Kod", ado::kVarWChar), F("Aciklama", ado::kVarWChar)},
        {{std::string("B"), std::string("iki")}});
  c_.Write("Yedek/Paket1/Cari/Data/001/2009/cari-tblNot.xbf", "<xml damaged");
  const std::string sql =
      "Hata Kodu: -2147467259\r\nAçıklama: SQL Server databases cannot be "
      "restored by this version";
  for (const std::string tur : {"Access", "SQLServer"}) {
    FakePool pool;
    op::ScriptedOperator op({Answer::kYes, Answer::kYes});
    YilGeriAlGirdileri g = YilGirdileri();
    g.moduller = {{"Cari", true}, {"Demirbaş", true}};
    g.onaysiz = true;
    g.hedef_turu = tur;
    Ortam o = Ortami(op, pool);
    GeriAlSonucu s = YilGeriAl(o, g);
    EXPECT_TRUE(s.hata);
    EXPECT_TRUE(s.sona_ulasti);
    ASSERT_EQ(op.boxes.size(), tur == "Access" ? 3u : 5u);
    EXPECT_TRUE(px::testing::BoxesMatch({op.boxes[2]}, {Hata(tur == "Access" ? "*" : sql)}));
    const std::string ikinci = tur == "Access" ? "Tamam" : "Hata";
    EXPECT_EQ(s.moduller,
              (std::vector<ModulSonucu>{
                  {"Cari", "001", "Hata"}, {"Demirbaş", "001", ikinci}, {"Cari", "002", ikinci}}));
    if (tur == "SQLServer") {
      EXPECT_TRUE(pool.log.empty());
      continue;
    }
    EXPECT_EQ(pool.Get("C:\\Pergonix\\Cari\\Data\\001\\2010\\cari.mdb")->tables.size(), 0u);
    EXPECT_EQ(pool.Get("C:\\Pergonix\\Cari\\Data\\002\\2010\\cari.mdb")->Rows("tblNot"),
              std::vector<std::string>{"B|iki"});
  }
}

// One table file into one live table, by the table's keys and identity column.
TEST_F(GeriAlTest, TableImportChoosesItsPathByKeysAndIdentity) {
  struct Case {
    std::string tablo;  // the name the file carries
    int anahtar;        // keys of the live table
    bool kimlik;        // an AutoNumber column
    std::vector<std::string> beklenen;
  };
  const std::string ins = "INSERT INTO tblNot (Kod, Aciklama) Values ('A','bir')";
  const std::string add = "AddRow tblNot Kod=A Aciklama=bir";
  const Case cases[] = {
      {"tblNot", 1, true, {"Begin", "HasAutoNumber tblNot", "DELETE FROM tblNot", ins}},
      {"tblNot", 1, false, {"Begin", "HasAutoNumber tblNot", "DELETE FROM tblNot", add}},
      {"tblNot", 0, true, {"Begin", "DELETE FROM tblNot", add}},
      {"tblNot", 2, true, {"Begin", "DELETE FROM tblNot", add}},
      {"TBLNOT", 1, true, {"Begin"}},  // the name is compared exactly: nothing touched
  };
  for (const auto& c : cases) {
    FakePool pool;
    FakeDatabase& db = pool.Add(kCariDb);
    auto& t = db.AddTable("tblNot", {{"Kod", ado::kVarWChar, 5, 0, true, c.kimlik},
                                     {"Aciklama", ado::kVarWChar, 50}});
    t.rows.push_back({std::string("Z"), std::string("eski")});
    if (c.anahtar >= 1) t.keys.push_back({"PrimaryKey", "Kod"});
    t.extra_keys = c.anahtar >= 1 ? c.anahtar - 1 : 0;
    op::ScriptedOperator op;
    Ortam ortam = Ortami(op, pool);
    ModulIslemi islem(ortam);
    auto katalog = k_.Baglanti();
    const std::string dosya = kPaket + "\\Cari\\Data\\001\\2009\\cari-tblNot.xbf";
    ASSERT_TRUE(TabloGeriAl(ortam, islem, *katalog, "cari", c.tablo, {"Cari", 4, "004", "2010"},
                            dosya, "Not")
                    .ok());
    EXPECT_EQ(db.log, c.beklenen) << c.tablo << " " << c.anahtar << " " << c.kimlik;
    if (c.beklenen.size() == 1) {
      EXPECT_TRUE(op.statuses.empty());
      EXPECT_EQ(db.Rows("tblNot"), std::vector<std::string>{"Z|eski"});
    } else {
      EXPECT_EQ(op.statuses, (std::vector<std::string>{"Not Okunuyor...", "Not Geri Alınıyor..."}));
      EXPECT_EQ(op.progress, (std::vector<std::pair<int, int>>{{0, 1}, {1, 1}, {0, 1}}));
      EXPECT_EQ(db.Rows("tblNot"), std::vector<std::string>{"A|bir"});
    }
    EXPECT_EQ(katalog->queries.front(),
              "SELECT * FROM tablo_veritabani_bilgileri WHERE VeritabaniModulAdi ='Cari' AND "
              "VeritabaniAccessAdi = 'cari.mdb' ");
  }
}

TEST_F(GeriAlTest, TableImportEdgeFiles) {
  FakeDatabase& db = pool_.Add(kCariDb);
  db.AddTable("tblNot", {{"Kod", ado::kVarWChar, 5}, {"Aciklama", ado::kVarWChar, 50}});
  db.Find("tblNot")->rows.push_back({std::string("Z"), std::string("eski")});
  Ortam o = Ortami();
  ModulIslemi islem(o);
  auto katalog = k_.Baglanti();
  const TabloHedefi hedef{"Cari", 4, "004", "2010"};
  // An empty file still empties the table.
  Tablo("bos/cari-tblNot.xbf", {F("Kod", ado::kVarWChar), F("Aciklama", ado::kVarWChar)}, {});
  ASSERT_TRUE(TabloGeriAl(o, islem, *katalog, "cari", "tblNot", hedef,
                          kPaket + "\\bos\\cari-tblNot.xbf", "x")
                  .ok());
  EXPECT_TRUE(db.Rows("tblNot").empty());
  // A file whose database is not in the catalog, and a missing file, are errors.
  EXPECT_TRUE(TabloGeriAl(o, islem, *katalog, "", "cari-tblNot", hedef, kPaket + "\\x.xbf", "x")
                  .IsNotFound());
  EXPECT_FALSE(
      TabloGeriAl(o, islem, *katalog, "cari", "tblNot", hedef, kPaket + "\\yok.xbf", "x").ok());
  // A file named without a four-character extension stops the walk.
  c_.Write("Yedek/Paket1/kisa/abc", "x");
  EXPECT_TRUE(
      ModulDosyalariniGeriAl(o, islem, *katalog, kPaket + "\\kisa", hedef).IsInvalidArgument());
}

TEST_F(GeriAlTest, PersonelRewriteDialectAndSwallowedErrors) {
  struct Case {
    std::string ayar;  // the settings' kind: which connection
    std::string tur;   // the argument: which dialect
    std::string fail_on;
    std::vector<std::string> beklenen;
  };
  const std::string mid1 = IsyeriKeyMetni("001", "004", "Access");
  const std::string mid2 = ParametreKeyMetni("001", "004", "Access");
  const std::string sub1 = IsyeriKeyMetni("001", "004", "SQLServer");
  const std::string sub2 = ParametreKeyMetni("001", "004", "SQLServer");
  const Case cases[] = {
      {"Access", "Access", "", {"Begin", mid1, mid2}},
      {"Access", "SQLServer", "", {"Begin", sub1, sub2}},
      {"Access", "Access", "UPDATE tablo_isyeri", {"Begin", mid1}},
      {"Access", "Access", "UPDATE tablo_personel", {"Begin", mid1, mid2}},
      {"SQLServer", "Access", "", {}},
  };
  for (const auto& c : cases) {
    FakePool pool;
    FakeDatabase& db = pool.Add(kPersonelDb);
    db.fail_on = c.fail_on;
    op::ScriptedOperator op;
    Ortam ortam = Ortami(op, pool, c.ayar);
    ModulIslemi islem(ortam);
    PersonelIsyeriKeyDuzelt(ortam, islem, "001", "004", "2010", c.tur);
    EXPECT_EQ(db.log, c.beklenen);
    EXPECT_TRUE(op.boxes.empty());
  }
  // No Personel database: nothing shown, nothing raised.
  FakePool bos;
  Ortam ortam = Ortami(op_, bos, "Access");
  ModulIslemi islem(ortam);
  PersonelIsyeriKeyDuzelt(ortam, islem, "001", "004", "2010", "Access");
  EXPECT_EQ(bos.log,
            std::vector<std::string>{"Open C:\\Pergonix\\personel\\data\\004\\2010\\personel.mdb"});
}

TEST_F(GeriAlTest, ModuleTransactionSharesOneDatabasePerFileAndCopiesOnce) {
  FakeDatabase& a = Mevcut(kCariDb, "Pergonix/Cari/Data/004/2010/cari.mdb");
  FakeDatabase& b = Mevcut(kDemirbasDb, "Pergonix/Demirbas/Data/004/demirbas.mdb");
  Ortam o = Ortami();
  o.onceki_kopya_klasoru = "C:\\Pergonix\\GeriAlOncesi\\x";
  {
    ModulIslemi islem(o);
    auto d1 = islem.Ac(kCariDb);
    auto d2 = islem.Ac("c:\\pergonix\\CARI\\Data\\004\\2010\\cari.mdb");
    ASSERT_TRUE(d1.ok() && d2.ok());
    EXPECT_EQ(*d1, *d2);
    ASSERT_TRUE(islem.Ac(kDemirbasDb).ok());
    EXPECT_TRUE(islem.Yarat(kCariDb).status().IsInvalidArgument());
    // Commit fails on the second database: the first is in, the second rolled back.
    b.fail_on = "Commit";
    EXPECT_FALSE(islem.Bitir().ok());
  }
  EXPECT_EQ(a.log, (std::vector<std::string>{"Begin", "Commit"}));
  EXPECT_EQ(b.log, (std::vector<std::string>{"Begin", "Commit"}));
  EXPECT_EQ(o.alinan_kopyalar,
            (std::vector<std::string>{
                "C:\\Pergonix\\GeriAlOncesi\\x\\Cari\\Data\\004\\2010\\cari.mdb",
                "C:\\Pergonix\\GeriAlOncesi\\x\\Demirbas\\Data\\004\\demirbas.mdb"}));
  // A second module of the same run copies nothing again; destruction without Bitir rolls back.
  b.fail_on.clear();
  std::filesystem::remove(c_.path() / "Pergonix/GeriAlOncesi/x/Cari/Data/004/2010/cari.mdb");
  {
    ModulIslemi islem(o);
    ASSERT_TRUE(islem.Ac(kCariDb).ok());
  }
  EXPECT_FALSE(
      std::filesystem::exists(c_.path() / "Pergonix/GeriAlOncesi/x/Cari/Data/004/2010/cari.mdb"));
  EXPECT_EQ(a.log.back(), "Rollback");
  EXPECT_EQ(o.alinan_kopyalar.size(), 2u);
}

TEST_F(GeriAlTest, MissingDatabasesCreatedExistingOnesUpdated) {
  k_.Veritabani("Cari", "bilinmez.mdb", "X", "datasirket", "Bilinmez");
  k_.Veritabani("Cari", "ortak.mdb", "ORTAK", "Data", "Ortak");
  k_.Tablo("Ortak", "tblOrtak");
  k_.Saha("Ortak", "tblOrtak", "Ad", "String", "5", "", "", "1");
  FakeDatabase& ortak =
      Mevcut("C:\\Pergonix\\Cari\\Data\\ortak.mdb", "Pergonix/Cari/Data/ortak.mdb");
  Ortam o = Ortami();
  ModulIslemi islem(o);
  auto katalog = k_.Baglanti();
  ASSERT_TRUE(EksikAccessVeritabaniYarat(o, islem, *katalog, "Cari", "004", "2010").ok());
  EXPECT_EQ(op_.statuses,
            (std::vector<std::string>{"Cari Yaratılıyor...", "Bilinmez Yaratılıyor...",
                                      "Ortak Yaratılıyor..."}));
  EXPECT_EQ(pool_.log.front(), "Create " + kCariDb);
  EXPECT_EQ(ortak.log,
            (std::vector<std::string>{"Begin", "CreateTable tblOrtak",
                                      "AppendColumn tblOrtak Ad 202 size=5 precision=0 azl"}));
  EXPECT_EQ(katalog->queries.front(),
            "SELECT * FROM tablo_veritabani_bilgileri WHERE VeritabaniModulAdi ='Cari'");
  EXPECT_EQ(pool_.Get(kCariDb)->tables.size(), 2u);
}

TEST_F(GeriAlTest, CompaniesInTheOrderOfFirstAppearanceModuleByModule) {
  std::filesystem::remove_all(c_.path() / "Yedek/Paket1");
  for (const char* k : {"Servis/Data/007", "Cek/Data/001", "Cek/Data/005", "Cari/Data/005",
                        "Demirbas/Data/003", "Demirbas/Data/001"}) {
    c_.Mkdir(std::string("Yedek/Paket1/") + k);
  }
  c_.Write("Yedek/Paket1/Cari/Data/dosya.xbf", "a file is no company");
  EXPECT_EQ(PaketSirketleri(dosyalar_, kPaket),
            (std::vector<std::string>{"005", "001", "003", "007"}));
}

}  // namespace
}  // namespace px::restore
