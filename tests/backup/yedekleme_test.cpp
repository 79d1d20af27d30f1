#include "backup/yedekleme.h"

#include <gtest/gtest.h>

#include "backup/bellek_dosyalar.h"
#include "backup/dogrula.h"
#include "backup/dosyalar.h"
#include "backup/paket_duzeni.h"
#include "core/sha256.h"
#include "db/memory_connection.h"
#include "operator/scripted_operator.h"
#include "xbf/pbf.h"
#include "xbf/xbf_writer.h"

namespace px::op {
void PrintTo(const Box& b, std::ostream* os) {
  *os << "{\"" << b.text << "\", \"" << b.title << "\", icon " << int(b.icon) << ", buttons "
      << int(b.buttons) << ", default " << b.default_button << "}";
}
}  // namespace px::op

namespace px::backup {
namespace {

using op::Answer;
using op::Box;
using op::Buttons;
using op::Icon;
using testing::BellekDosyalar;

constexpr char kKok[] = "C:\\Pergonix";
constexpr char kHedef[] = "D:\\Yedek";
constexpr char kPaket[] = "D:\\Yedek\\Paket";
constexpr char kGecici[] = "T:\\Temp\\";

const char kDikkat[] =
    "DİKKAT\r\nYedekleme yapılan firmayla ilgili kayıt girişi, iptal, kaydı değiştirme gibi "
    "işlemlere ara verilmelidir.\r\nAksi halde yedeklenen kayıtlarda tutarsızlıklara neden "
    "olunacaktır.\r\n\r\nYedekleme işlemini başlatmak istiyormusunuz?";

Box DikkatKutusu() {
  return Box{kDikkat, "Pergonix Yedek", Icon::kQuestion, Buttons::kYesNo, 2};
}
Box EskiYedekKutusu(const std::string& klasor) {
  return Box{klasor +
                 "\r\n\r\nKlasöründe Eski Bir Yedek Bulundu!\r\n\r\nEski Yedeklerin Silinmesini "
                 "İstiyormusunuz?",
             "Uyarı", Icon::kQuestion, Buttons::kYesNo, 2};
}
Box HazirDegilKutusu() {
  return Box{
      "D: Sürücüsü Hazır Değil!\r\n\r\nEğer Bir Disket Sürücüye Yedek Alıyorsanız,\r\n"
      "Tekrar Denemeden Önce Sürücüye Formatlı Bir Disket Yerleştirdiğinizden Emin Olun.",
      "Uyarı", Icon::kNone, Buttons::kRetryCancel, 1};
}
Box DoluKutusu() {
  return Box{
      "D: Sürücüsü Dolu!\r\n\r\nEğer Bir Disket Sürücüye Yedek Alıyorsanız,\r\n"
      "Tekrar Denemeden Önce Sürücüde Yeterli Boş Alanı Olan Bir Disket "
      "Yerleştirdiğinizden Emin Olun.",
      "Uyarı", Icon::kNone, Buttons::kRetryCancel, 1};
}
Box HataKutusu(const std::string& metin) {
  return Box{metin, "Hata", Icon::kExclamation, Buttons::kOk, 1};
}

// A connection whose catalog also lists objects that are not user tables.
class Baglanti : public db::MemoryConnection {
 public:
  Result<std::vector<db::TableEntry>> Tables() override {
    PX_ASSIGN_OR_RETURN(auto t, MemoryConnection::Tables());
    for (db::TableEntry& e : t) e.rows = sayilar.count(e.name) ? sayilar[e.name] : -1;
    t.insert(t.begin(), diger.begin(), diger.end());
    return t;
  }
  std::vector<db::TableEntry> diger;
  std::map<std::string, int64_t> sayilar;  // row counts the definitions give
};

// Keeps the table progress reports as "module / database / table: done / total".
class IlerlemeyiTutan : public op::ScriptedOperator {
 public:
  IlerlemeyiTutan() = default;
  // A new script; the reports start again.
  IlerlemeyiTutan& operator=(op::ScriptedOperator script) {
    static_cast<op::ScriptedOperator&>(*this) = std::move(script);
    tablo_ilerlemesi.clear();
    return *this;
  }
  void SetTableProgress(std::string_view module, std::string_view database, std::string_view table,
                        int64_t rows_done, int64_t rows_total) override {
    tablo_ilerlemesi.push_back(std::string(module) + " / " + std::string(database) + " / " +
                               std::string(table) + ": " + std::to_string(rows_done) + " / " +
                               std::to_string(rows_total));
  }
  std::vector<std::string> tablo_ilerlemesi;
};

db::MemoryTable Tablo(std::vector<std::string> metin_alanlari, std::vector<Row> satirlar) {
  db::MemoryTable t;
  for (const auto& a : metin_alanlari) t.fields.push_back(db::TextField(a));
  t.fields.push_back(db::LongField("lngTutar"));
  t.rows = std::move(satirlar);
  return t;
}

std::string Beklenen(const db::MemoryTable& t) {
  db::VectorRowSource rows(t.fields, t.rows);
  xbf::StringSink sink;
  EXPECT_TRUE(xbf::WriteRecordset(rows, sink).ok());
  return sink.data();
}

std::string Ac(const std::string& pbf) {
  xbf::MemoryInput in(pbf);
  auto inflate = xbf::InflateInput::Create(in, "test");
  EXPECT_TRUE(inflate.ok());
  std::string out;
  uint8_t buf[4096];
  for (;;) {
    auto n = (*inflate)->Read(buf, sizeof buf);
    if (!n.ok()) return "<" + n.status().ToString() + ">";
    if (*n == 0) return out;
    out.append(reinterpret_cast<char*>(buf), *n);
  }
}

const char kYedekDosyaIni[] =
    "[YedekDosyalar]\r\n"
    "YedekDosyaSayisi=4\r\n"
    "Dosya1ModulAdi=Cari\r\nDosya1Konum=DataSirketYil\r\nDosya1Adi=ayar.ini\r\n"
    "Dosya2ModulAdi=cari\r\nDosya2Konum=Data\r\nDosya2Adi=kucuk.txt\r\n"
    "Dosya3ModulAdi=Cari\r\nDosya3Konum=Data\r\nDosya3Adi=yok.txt\r\n"
    "Dosya4ModulAdi=Demirbas\r\nDosya4Konum=DataSirket\r\nDosya4Adi=logo.bmp\r\n";

class YedeklemeTest : public ::testing::Test {
 public:
  void SetUp() override {
    fs_ = BellekDosyalar{};
    baglantilar_.clear();
    acilanlar_.clear();
    girdi_ = YedekGirdisi{};
    fs_.Yaz("C:\\Pergonix\\Genel\\Data\\DonemAc.mdb", "mdb");
    fs_.Yaz("C:\\Pergonix\\Genel\\Data\\YedekDosya.ini", kYedekDosyaIni);
    fs_.Yaz("C:\\Pergonix\\Genel\\Data\\sirket.mdb", "mdb");
    fs_.KlasorZinciri(kHedef);
    fs_.KlasorZinciri(kGecici);

    db::MemoryConnection katalog;
    db::MemoryTable vt;
    for (auto a : {"VeritabaniModulAdi", "VeritabaniAccessAdi", "VeritabaniSqlServerAdi",
                   "VeritabaniKonum", "VeritabaniTanimi"}) {
      vt.fields.push_back(db::TextField(a));
    }
    auto satir = [](const char* m, const char* a, const char* k) {
      return Row{std::string(m), std::string(a), std::string("X"), std::string(k), std::string()};
    };
    vt.rows = {satir("Cari", "cari.mdb", "DataSirketYil"),
               satir("Demirbas", "demirbas.mdb", "DataSirket"),
               satir("Stok", "stok.mdb", "DataSirketYil"), satir("Beyanname", "beyan.mdb", "Data")};
    katalog.Add("tablo_veritabani_bilgileri", vt);
    Ekle("C:\\Pergonix\\genel\\data\\DonemAc.mdb", katalog);

    db::MemoryConnection sirket;
    db::MemoryTable ts;
    ts.fields = {db::LongField("intSirketNo")};
    ts.rows = {{int64_t{2}}, {int64_t{1}}};
    sirket.Add("tblSirket", ts);
    Ekle("C:\\Pergonix\\Genel\\Data\\sirket.mdb", sirket);

    cari_ = Tablo({"strKod", "strUnvan"},
                  {{std::string("120.01"), std::string("Özgür Ltd."), int64_t{1500}},
                   {std::string("120.02"), Null{}, int64_t{-7}}});
    Baglanti cari;
    cari.diger = {{"MSysObjects", "SYSTEM TABLE"}, {"qryCari", "VIEW"}};
    cari.Add("tblCari", cari_);
    cari.Add("tblBos", Tablo({"strKod"}, {}));
    VeritabaniKoy("C:\\Pergonix\\Cari\\Data\\001\\2009\\cari.mdb", cari);
    VeritabaniKoy("C:\\Pergonix\\Cari\\Data\\002\\2009\\cari.mdb", cari);

    demirbas_ = Tablo({"strDemirbasKodu"}, {{std::string("D-1"), int64_t{3}}});
    Baglanti demirbas;
    demirbas.Add("tblDemirbas", demirbas_);
    VeritabaniKoy("C:\\Pergonix\\Demirbas\\Data\\001\\demirbas.mdb", demirbas);

    beyan_ = Tablo({"strBeyan"}, {{std::string("KDV"), int64_t{9}}});
    Baglanti beyan;
    beyan.Add("tblBeyan", beyan_);
    VeritabaniKoy("C:\\Pergonix\\Beyanname\\Data\\beyan.mdb", beyan);

    fs_.Yaz("C:\\Pergonix\\Cari\\Data\\001\\2009\\ayar.ini", "[Ayar]\r\nA=1\r\n");
    fs_.Yaz("C:\\Pergonix\\Cari\\Data\\kucuk.txt", "case differs");
    fs_.Yaz("C:\\Pergonix\\Demirbas\\Data\\001\\logo.bmp", std::string("BM\0\1", 4));

    girdi_.paket_adi = " Paket ";
    girdi_.sirket = "001";
    girdi_.yil = "2009";
    girdi_.hedef = kHedef;
    girdi_.sikistir = false;
  }

  void Ekle(const std::string& yol, const db::MemoryConnection& c) {
    baglantilar_[BellekDosyalar::Anahtar(yol)] = std::make_shared<Baglanti>();
    static_cast<db::MemoryConnection&>(*baglantilar_[BellekDosyalar::Anahtar(yol)]) = c;
  }
  void VeritabaniKoy(const std::string& yol, const Baglanti& c) {
    fs_.Yaz(yol, "mdb");
    baglantilar_[BellekDosyalar::Anahtar(yol)] = std::make_shared<Baglanti>(c);
  }

  YedekSonucu Calistir() {
    YedekOrtami o;
    o.op = &op_;
    o.fs = &fs_;
    o.files = &fs_;
    o.kok = kKok;
    o.gecici_klasor = kGecici;
    o.ac = [this](const std::string& yol) -> Result<std::unique_ptr<db::Connection>> {
      acilanlar_.push_back(yol);
      auto it = baglantilar_.find(BellekDosyalar::Anahtar(yol));
      if (it == baglantilar_.end()) return Status::NotFound("cannot open " + yol);
      return std::unique_ptr<db::Connection>(std::make_unique<Baglanti>(*it->second));
    };
    o.program = "pergonix-yedek test";
    Yedekleme y(std::move(o));
    return y.YedeklemeBaslat(girdi_);
  }

  // The "Durum" cells in the order they were set, as "display name=state".
  std::vector<std::string> Durumlar() const {
    std::vector<std::string> out;
    for (const auto& [m, d] : op_.module_states) out.push_back(m + "=" + d);
    return out;
  }
  static std::vector<std::string> TekSirketDurumu(const std::string& geç_olanlar = "") {
    std::vector<std::string> out;
    for (const auto& m : modules::Moduller()) {
      const bool gec = geç_olanlar.find("|" + std::string(m.klasor) + "|") != std::string::npos;
      out.push_back(std::string(m.ad) + "=" + (gec ? "Geç" : "Tamam"));
    }
    return out;
  }

  BellekDosyalar fs_;
  IlerlemeyiTutan op_;
  YedekGirdisi girdi_;
  std::map<std::string, std::shared_ptr<Baglanti>> baglantilar_;
  std::vector<std::string> acilanlar_;
  db::MemoryTable cari_, demirbas_, beyan_;
};

TEST_F(YedeklemeTest, MissingSharedFilesAndEmptyOrShortFieldsStopBeforeAnything) {
  struct Durum {
    std::function<void(YedeklemeTest&)> bozan;
    Box kutu;
  };
  auto uyari = [](const char* m) { return Box{m, "Uyarı", Icon::kInformation, Buttons::kOk, 1}; };
  const std::vector<Durum> durumlar = {
      {[](YedeklemeTest& t) { (void)t.fs_.Remove("C:\\Pergonix\\Genel\\Data\\DonemAc.mdb"); },
       {"C:\\Pergonix\\Genel\\Data\\DonemAc.mdb Dosyası Bulunamadı!", "HATA", Icon::kCritical,
        Buttons::kOk, 1}},
      {[](YedeklemeTest& t) { (void)t.fs_.Remove("C:\\Pergonix\\Genel\\Data\\YedekDosya.ini"); },
       {"C:\\Pergonix\\Genel\\Data\\YedekDosya.ini Dosyası Bulunamadı!", "HATA", Icon::kCritical,
        Buttons::kOk, 1}},
      {[](YedeklemeTest& t) { t.girdi_.paket_adi = "  "; },
       uyari("Yedek Paket Adı Bölümü Dolu Olmalı!")},
      {[](YedeklemeTest& t) { t.girdi_.sirket = ""; }, uyari("Şirket No Bölümü Dolu Olmalı!")},
      {[](YedeklemeTest& t) { t.girdi_.yil = " "; }, uyari("Yıl Bölümü Bolu Olmalı!")},
      {[](YedeklemeTest& t) { t.girdi_.hedef = ""; },
       uyari("Yedeklerin Kopyalanacağı Klasör Adı Bölümü Bolu Olmalı!")},
      {[](YedeklemeTest& t) { t.girdi_.sirket = "01"; }, uyari("Şirket No Üç Haneli Olmalı!")},
      {[](YedeklemeTest& t) { t.girdi_.sirket = "0001"; }, uyari("Şirket No Üç Haneli Olmalı!")},
      {[](YedeklemeTest& t) { t.girdi_.yil = "09"; }, uyari("Yıl Dört Haneli Olmalı!")},
      {[](YedeklemeTest& t) { t.girdi_.tum_sirketler = true; }, DikkatKutusu()},
  };
  for (const auto& d : durumlar) {
    SetUp();
    op_ = op::ScriptedOperator({Answer::kNo});
    d.bozan(*this);
    const YedekSonucu s = Calistir();
    ASSERT_EQ(op_.boxes.size(), 1u) << d.kutu.text;
    EXPECT_EQ(op_.boxes[0], d.kutu);
    EXPECT_FALSE(s.basladi);
    // The missing shared files are error boxes; the rest are input warnings or the No.
    EXPECT_EQ(s.hata_gosterildi, d.kutu.title == "HATA");
    EXPECT_EQ(s.girdi_hatali, d.kutu.title == "Uyarı");
    EXPECT_EQ(s.reddedildi, d.kutu.title == "Pergonix Yedek");
    EXPECT_TRUE(op_.module_states.empty());
    EXPECT_TRUE(fs_.Altindakiler(kHedef).empty()) << d.kutu.text;
    EXPECT_TRUE(acilanlar_.empty());
  }
}

TEST_F(YedeklemeTest, TargetFolderRefusedOrNotCreated) {
  girdi_.hedef = "E:\\Yedek";  // a missing folder: its creation is asked
  op_ = op::ScriptedOperator({Answer::kYes, Answer::kNo});
  YedekSonucu s = Calistir();
  ASSERT_EQ(op_.boxes.size(), 2u);
  EXPECT_EQ(op_.boxes[1].text,
            "E:\\YEDEK\r\n\r\nKlasörü Bulunamadı!\r\n\r\nKlasörün Oluşturulmasını "
            "İstiyormusunuz?");
  EXPECT_TRUE(s.reddedildi);
  EXPECT_FALSE(s.hata_gosterildi);
  EXPECT_FALSE(s.basladi);
  EXPECT_TRUE(acilanlar_.empty());

  SetUp();
  girdi_.hedef = "E:\\Yedek";
  fs_.hazir_degil['E'] = 1;
  op_ = op::ScriptedOperator({Answer::kYes});
  s = Calistir();
  EXPECT_EQ(op_.boxes.back(), (Box{"E Sürücüsü Hazır Değil!", "Pergonix Yedek", Icon::kExclamation,
                                   Buttons::kOk, 1}));
  EXPECT_FALSE(s.reddedildi);
  EXPECT_TRUE(s.hata_gosterildi);
  EXPECT_TRUE(fs_.Altindakiler("E:").empty());
}

TEST_F(YedeklemeTest, LettersPassTheLengthChecks) {
  girdi_.sirket = "ABC";
  girdi_.yil = "Yıl2";
  op_.Queue(Answer::kNo);
  Calistir();
  EXPECT_EQ(op_.boxes, std::vector<Box>{DikkatKutusu()});
}

TEST_F(YedeklemeTest, PlainBackupOfOneCompanyMirrorsTheSuiteLayout) {
  girdi_.secili[modules::ModulKlasoruyle("Fatura")->sira - 1] = false;
  op_.Queue(Answer::kYes);
  const YedekSonucu s = Calistir();
  EXPECT_EQ(op_.boxes, std::vector<Box>{DikkatKutusu()});
  EXPECT_TRUE(s.tamamlandi);
  EXPECT_FALSE(s.hata_gosterildi);
  EXPECT_FALSE(s.iptal_edildi);
  EXPECT_EQ(Durumlar(), TekSirketDurumu("|Fatura|"));
  EXPECT_EQ(
      fs_.Altindakiler(kPaket),
      (std::set<std::string>{
          "Beyanname\\Data\\beyan-tblBeyan.xbf", "Cari\\Data\\001\\2009\\cari-tblCari.xbf",
          "Demirbas\\Data\\001\\demirbas-tblDemirbas.xbf", "Dosya\\Cari\\Data\\001\\2009\\ayar.ini",
          "Dosya\\Demirbas\\Data\\001\\logo.bmp", "PergonixYedek.json"}));
  EXPECT_EQ(fs_.Icerik("D:\\Yedek\\Paket\\Cari\\Data\\001\\2009\\cari-tblCari.xbf"),
            Beklenen(cari_));
  EXPECT_EQ(fs_.Icerik("D:\\Yedek\\Paket\\Demirbas\\Data\\001\\demirbas-tblDemirbas.xbf"),
            Beklenen(demirbas_));
  EXPECT_EQ(fs_.Icerik("D:\\Yedek\\Paket\\Beyanname\\Data\\beyan-tblBeyan.xbf"), Beklenen(beyan_));
  EXPECT_EQ(fs_.Icerik("D:\\Yedek\\Paket\\Dosya\\Demirbas\\Data\\001\\logo.bmp"),
            std::string("BM\0\1", 4));
  EXPECT_EQ(op_.statuses,
            (std::vector<std::string>{
                "C:\\Pergonix\\Cari\\Data\\001\\2009\\cari.mdb Yedekleniyor...",
                "C:\\Pergonix\\Demirbas\\Data\\001\\demirbas.mdb Yedekleniyor...",
                "C:\\Pergonix\\Stok\\Data\\001\\2009\\stok.mdb Veritabanı Bulunamadı!",
                "C:\\Pergonix\\Beyanname\\Data\\beyan.mdb Yedekleniyor...",
                "Yedekleme İşlemi Tamamlandı."}));
  // Views, system tables and the empty table were not read into files; nothing staged.
  EXPECT_TRUE(fs_.Altindakiler(kGecici).empty());
}

TEST_F(YedeklemeTest, CompressedBackupStagesThenCopiesPackageFiles) {
  girdi_.sikistir = true;
  op_.Queue(Answer::kYes);
  const YedekSonucu s = Calistir();
  EXPECT_TRUE(s.tamamlandi);
  EXPECT_EQ(op_.boxes, std::vector<Box>{DikkatKutusu()});
  EXPECT_EQ(fs_.Altindakiler(kPaket),
            (std::set<std::string>{
                "Beyanname\\Data\\beyan-tblBeyan.pbf", "Cari\\Data\\001\\2009\\cari-tblCari.pbf",
                "Demirbas\\Data\\001\\demirbas-tblDemirbas.pbf",
                "Dosya\\Cari\\Data\\001\\2009\\ayar.ini.pbf",
                "Dosya\\Demirbas\\Data\\001\\logo.bmp.pbf", "PergonixYedek.json"}));
  EXPECT_EQ(Ac(fs_.Icerik("D:\\Yedek\\Paket\\Cari\\Data\\001\\2009\\cari-tblCari.pbf")),
            Beklenen(cari_));
  EXPECT_EQ(Ac(fs_.Icerik("D:\\Yedek\\Paket\\Dosya\\Cari\\Data\\001\\2009\\ayar.ini.pbf")),
            "[Ayar]\r\nA=1\r\n");
  EXPECT_TRUE(fs_.Altindakiler(kGecici).empty());
}

TEST_F(YedeklemeTest, EveryCompanyClearsTheStatesBetweenCompanies) {
  girdi_.tum_sirketler = true;
  girdi_.sirket = "999";  // not used when every company is backed up
  op_.Queue(Answer::kYes);
  EXPECT_TRUE(Calistir().tamamlandi);
  std::vector<std::string> beklenen;
  for (int i = 0; i < 2; ++i) {
    for (const auto& m : modules::Moduller()) beklenen.push_back(std::string(m.ad) + "=");
    for (const auto& d : TekSirketDurumu()) beklenen.push_back(d);
  }
  EXPECT_EQ(Durumlar(), beklenen);
  EXPECT_TRUE(fs_.Var("D:\\Yedek\\Paket\\Cari\\Data\\001\\2009\\cari-tblCari.xbf"));
  EXPECT_TRUE(fs_.Var("D:\\Yedek\\Paket\\Cari\\Data\\002\\2009\\cari-tblCari.xbf"));
  EXPECT_FALSE(fs_.Var("D:\\Yedek\\Paket\\Cari\\Data\\999\\2009\\cari-tblCari.xbf"));
  EXPECT_EQ(op_.statuses.front(), "C:\\Pergonix\\Cari\\Data\\001\\2009\\cari.mdb Yedekleniyor...");
  EXPECT_EQ(op_.statuses[4], "C:\\Pergonix\\Cari\\Data\\002\\2009\\cari.mdb Yedekleniyor...");
}

TEST_F(YedeklemeTest, OldBackupDeclinedSkipsEveryLaterModuleYetMarksThemDone) {
  fs_.Yaz("D:\\Yedek\\Paket\\Cari\\Data\\001\\2009\\eski.xbf", "eski");
  op_ = op::ScriptedOperator({Answer::kYes, Answer::kNo});
  const YedekSonucu s = Calistir();
  EXPECT_EQ(op_.boxes,
            (std::vector<Box>{DikkatKutusu(),
                              EskiYedekKutusu("D:\\Yedek\\Paket\\Cari\\Data\\001\\2009")}));
  EXPECT_TRUE(s.tamamlandi);
  EXPECT_TRUE(s.iptal_edildi);
  EXPECT_EQ(Durumlar(), TekSirketDurumu());
  EXPECT_EQ(fs_.Altindakiler(kPaket), std::set<std::string>{"Cari\\Data\\001\\2009\\eski.xbf"});
  EXPECT_EQ(op_.statuses, std::vector<std::string>{"Yedekleme İşlemi Tamamlandı."});
}

TEST_F(YedeklemeTest, ADeclinedDeletionSkipsEveryLaterCompanyToo) {
  girdi_.tum_sirketler = true;
  fs_.Yaz("D:\\Yedek\\Paket\\Cari\\Data\\001\\2009\\eski.xbf", "eski");
  fs_.Yaz("D:\\Yedek\\Paket\\Cari\\Data\\002\\2009\\eski.xbf", "eski");
  // The old-backup test still runs for the later company and asks; its Yes deletes, yet
  // nothing is written because the run stays cancelled.
  op_ = op::ScriptedOperator({Answer::kYes, Answer::kNo, Answer::kYes});
  const YedekSonucu s = Calistir();
  EXPECT_EQ(
      op_.boxes,
      (std::vector<Box>{DikkatKutusu(), EskiYedekKutusu("D:\\Yedek\\Paket\\Cari\\Data\\001\\2009"),
                        EskiYedekKutusu("D:\\Yedek\\Paket\\Cari\\Data\\002\\2009")}));
  EXPECT_TRUE(s.iptal_edildi);
  EXPECT_TRUE(s.tamamlandi);
  std::vector<std::string> beklenen;
  for (int i = 0; i < 2; ++i) {
    for (const auto& m : modules::Moduller()) beklenen.push_back(std::string(m.ad) + "=");
    for (const auto& d : TekSirketDurumu()) beklenen.push_back(d);
  }
  EXPECT_EQ(Durumlar(), beklenen);
  EXPECT_EQ(fs_.Altindakiler(kPaket), std::set<std::string>{"Cari\\Data\\001\\2009\\eski.xbf"});
}

// Progress names the module, database and table and counts rows of the definition's total; a
// total that falls short of the rows is raised until the table is done.
TEST_F(YedeklemeTest, TableProgressCountsRowsOfTheDefinitionsTotal) {
  struct Durum {
    int64_t tanimdaki;  // -1: the backend gives no count
    std::vector<std::string> raporlar;
  };
  const std::string on = "Cari / cari.mdb / tblBuyuk: ";
  const std::vector<Durum> durumlar = {
      {6000, {on + "4096 / 6000", on + "6000 / 6000"}},
      {100, {on + "4096 / 4097", on + "6000 / 6000"}},
      {-1, {on + "4096 / -1", on + "6000 / 6000"}},
  };
  for (const Durum& d : durumlar) {
    SetUp();
    for (auto& s : girdi_.secili) s = false;
    girdi_.secili[modules::ModulKlasoruyle("Cari")->sira - 1] = true;
    std::vector<Row> satirlar;
    for (int i = 0; i < 6000; ++i) satirlar.push_back({std::string("K"), Null{}, int64_t{i}});
    Baglanti cari;
    cari.Add("tblBuyuk", Tablo({"strKod", "strUnvan"}, std::move(satirlar)));
    if (d.tanimdaki >= 0) cari.sayilar["tblBuyuk"] = d.tanimdaki;
    VeritabaniKoy("C:\\Pergonix\\Cari\\Data\\001\\2009\\cari.mdb", cari);
    op_ = op::ScriptedOperator({Answer::kYes});  // the confirmation
    EXPECT_TRUE(Calistir().tamamlandi);
    EXPECT_EQ(op_.tablo_ilerlemesi, d.raporlar) << d.tanimdaki;
  }
}

TEST_F(YedeklemeTest, PlainExtraFilesWaitForTheDriveToo) {
  for (auto& s : girdi_.secili) s = false;
  girdi_.secili[modules::ModulKlasoruyle("Demirbas")->sira - 1] = true;
  fs_.hazir_degil['D'] = 2;  // the first look is the target folder check's
  op_ = op::ScriptedOperator({Answer::kYes, Answer::kRetry});
  EXPECT_TRUE(Calistir().tamamlandi);
  EXPECT_EQ(op_.boxes, (std::vector<Box>{DikkatKutusu(), HazirDegilKutusu()}));
  EXPECT_EQ(fs_.Icerik("D:\\Yedek\\Paket\\Dosya\\Demirbas\\Data\\001\\logo.bmp"),
            std::string("BM\0\1", 4));
}

TEST_F(YedeklemeTest, OldBackupDeletedAtTheModulesOwnLevel) {
  // Demirbas looks at the company level and deletes it and the module-wide level.
  fs_.Yaz("D:\\Yedek\\Paket\\Demirbas\\Data\\001\\eski.xbf", "eski");
  fs_.Yaz("D:\\Yedek\\Paket\\Demirbas\\Data\\genel.xbf", "eski");
  fs_.Yaz("D:\\Yedek\\Paket\\Demirbas\\Data\\001\\2008\\kalir.xbf", "kalır");
  // Beyanname looks module-wide.
  fs_.Yaz("D:\\Yedek\\Paket\\Beyanname\\Data\\eski.xbf", "eski");
  // Old extra files at all three levels go before the new ones come.
  fs_.Yaz("D:\\Yedek\\Paket\\Dosya\\Cari\\Data\\001\\2009\\eski.ini", "eski");
  fs_.Yaz("D:\\Yedek\\Paket\\Dosya\\Cari\\Data\\001\\eski.ini", "eski");
  fs_.Yaz("D:\\Yedek\\Paket\\Dosya\\Cari\\Data\\eski.ini", "eski");
  op_ = op::ScriptedOperator({Answer::kYes, Answer::kYes, Answer::kYes});
  const YedekSonucu s = Calistir();
  EXPECT_EQ(op_.boxes, (std::vector<Box>{DikkatKutusu(),
                                         EskiYedekKutusu("D:\\Yedek\\Paket\\Demirbas\\Data\\001"),
                                         EskiYedekKutusu("D:\\Yedek\\Paket\\Beyanname\\Data")}));
  EXPECT_FALSE(s.iptal_edildi);
  EXPECT_EQ(
      fs_.Altindakiler(kPaket),
      (std::set<std::string>{
          "Beyanname\\Data\\beyan-tblBeyan.xbf", "Cari\\Data\\001\\2009\\cari-tblCari.xbf",
          "Demirbas\\Data\\001\\2008\\kalir.xbf", "Demirbas\\Data\\001\\demirbas-tblDemirbas.xbf",
          "Dosya\\Cari\\Data\\001\\2009\\ayar.ini", "Dosya\\Demirbas\\Data\\001\\logo.bmp",
          "PergonixYedek.json"}));
}

TEST_F(YedeklemeTest, OldBackupDeletedWithoutAskingWhenTicked) {
  fs_.Yaz("D:\\Yedek\\Paket\\Cari\\Data\\001\\2009\\cari-tblCari.xbf", "eski ve daha uzun");
  girdi_.eski_yedegi_sormadan_sil = true;
  op_.Queue(Answer::kYes);
  EXPECT_TRUE(Calistir().tamamlandi);
  EXPECT_EQ(op_.boxes, std::vector<Box>{DikkatKutusu()});
  EXPECT_EQ(fs_.Icerik("D:\\Yedek\\Paket\\Cari\\Data\\001\\2009\\cari-tblCari.xbf"),
            Beklenen(cari_));
}

TEST_F(YedeklemeTest, DriveNotReadyThenReady) {
  girdi_.sikistir = true;
  fs_.hazir_degil['D'] = 3;  // the first look is the target folder check's (type only)
  op_ = op::ScriptedOperator({Answer::kYes, Answer::kRetry, Answer::kRetry});
  const YedekSonucu s = Calistir();
  EXPECT_EQ(op_.boxes, (std::vector<Box>{DikkatKutusu(), HazirDegilKutusu(), HazirDegilKutusu()}));
  EXPECT_TRUE(s.tamamlandi);
  EXPECT_FALSE(s.iptal_edildi);
  EXPECT_EQ(Ac(fs_.Icerik("D:\\Yedek\\Paket\\Cari\\Data\\001\\2009\\cari-tblCari.pbf")),
            Beklenen(cari_));
}

TEST_F(YedeklemeTest, DriveNotReadyCancelledLeavesNoStagingFile) {
  girdi_.sikistir = true;
  fs_.hazir_degil['D'] = 2;  // the first look is the target folder check's (type only)
  op_ = op::ScriptedOperator({Answer::kYes, Answer::kCancel});
  const YedekSonucu s = Calistir();
  EXPECT_EQ(op_.boxes, (std::vector<Box>{DikkatKutusu(), HazirDegilKutusu()}));
  EXPECT_TRUE(s.iptal_edildi);
  EXPECT_TRUE(s.tamamlandi);
  EXPECT_EQ(Durumlar(), TekSirketDurumu());
  EXPECT_TRUE(fs_.Altindakiler(kGecici).empty());
  // The cancelled module's extra files still go (they follow the packaging in the same
  // step); every later module is skipped.
  EXPECT_EQ(
      fs_.Altindakiler(kPaket),
      (std::set<std::string>{"Dosya\\Cari\\Data\\001\\2009\\ayar.ini.pbf", "PergonixYedek.json"}));
}

TEST_F(YedeklemeTest, DiskFullThenRetryThenCancel) {
  // Compressed: the first copy meets a full disk twice (Retry, Retry) and succeeds; the
  // next copy meets it again and is cancelled.
  girdi_.sikistir = true;
  fs_.dolu['D'] = 2;
  op_ = op::ScriptedOperator({Answer::kYes, Answer::kRetry, Answer::kRetry});
  EXPECT_TRUE(Calistir().tamamlandi);
  EXPECT_EQ(op_.boxes, (std::vector<Box>{DikkatKutusu(), DoluKutusu(), DoluKutusu()}));
  EXPECT_EQ(Ac(fs_.Icerik("D:\\Yedek\\Paket\\Cari\\Data\\001\\2009\\cari-tblCari.pbf")),
            Beklenen(cari_));

  SetUp();
  girdi_.sikistir = true;
  fs_.dolu['D'] = 1;
  op_ = op::ScriptedOperator({Answer::kYes, Answer::kCancel});
  const YedekSonucu s = Calistir();
  EXPECT_EQ(op_.boxes, (std::vector<Box>{DikkatKutusu(), DoluKutusu()}));
  EXPECT_TRUE(s.iptal_edildi);
  EXPECT_FALSE(s.hata_gosterildi);
  EXPECT_EQ(
      fs_.Altindakiler(kPaket),
      (std::set<std::string>{"Dosya\\Cari\\Data\\001\\2009\\ayar.ini.pbf", "PergonixYedek.json"}));
  EXPECT_TRUE(fs_.Altindakiler(kGecici).empty());
}

TEST_F(YedeklemeTest, DiskFullWhileWritingPlainFilesRetriesTheDatabase) {
  fs_.dolu['D'] = 1;
  op_ = op::ScriptedOperator({Answer::kYes, Answer::kRetry});
  EXPECT_TRUE(Calistir().tamamlandi);
  EXPECT_EQ(op_.boxes, (std::vector<Box>{DikkatKutusu(), DoluKutusu()}));
  EXPECT_EQ(fs_.Icerik("D:\\Yedek\\Paket\\Cari\\Data\\001\\2009\\cari-tblCari.xbf"),
            Beklenen(cari_));
  EXPECT_EQ(fs_.Altindakiler("D:\\Yedek\\Paket\\Cari\\Data\\001\\2009"),
            std::set<std::string>{"cari-tblCari.xbf"});
}

TEST_F(YedeklemeTest, ErrorsInsideAModuleEndThatModuleOnly) {
  // A table name Jet cannot take unbracketed fails the export of its database.
  baglantilar_[BellekDosyalar::Anahtar("C:\\Pergonix\\Cari\\Data\\001\\2009\\cari.mdb")]->Add(
      "Eski Kayitlar", Tablo({"a"}, {{std::string("x"), int64_t{1}}}));
  op_.Queue(Answer::kYes);
  const YedekSonucu s = Calistir();
  ASSERT_EQ(op_.boxes.size(), 2u);
  EXPECT_EQ(op_.boxes[1].title, "Hata");
  EXPECT_EQ(op_.boxes[1].icon, Icon::kExclamation);
  EXPECT_NE(op_.boxes[1].text.find("Hata Kodu: "), std::string::npos);
  EXPECT_NE(op_.boxes[1].text.find("\r\nAçıklama: "), std::string::npos);
  EXPECT_NE(op_.boxes[1].text.find("Eski Kayitlar"), std::string::npos) << op_.boxes[1].text;
  EXPECT_TRUE(s.hata_gosterildi);
  EXPECT_TRUE(s.tamamlandi);
  // The module's extra files and every later module still went.
  EXPECT_TRUE(fs_.Var("D:\\Yedek\\Paket\\Dosya\\Cari\\Data\\001\\2009\\ayar.ini"));
  EXPECT_TRUE(fs_.Var("D:\\Yedek\\Paket\\Beyanname\\Data\\beyan-tblBeyan.xbf"));
}

TEST_F(YedeklemeTest, MissingCountInTheExtraFilesListIsATypeMismatch) {
  fs_.Yaz("C:\\Pergonix\\Genel\\Data\\YedekDosya.ini", "[YedekDosyalar]\r\n");
  for (auto& s : girdi_.secili) s = false;
  girdi_.secili[0] = true;
  op_.Queue(Answer::kYes);
  const YedekSonucu s = Calistir();
  ASSERT_EQ(op_.boxes.size(), 2u);
  EXPECT_EQ(op_.boxes[1],
            HataKutusu("Hata Kodu: 13\r\nAçıklama: Type mismatch: 'Default' in YedekDosyaSayisi "
                       "of C:\\Pergonix\\Genel\\Data\\YedekDosya.ini"));
  EXPECT_TRUE(s.hata_gosterildi);
  EXPECT_TRUE(fs_.Var("D:\\Yedek\\Paket\\Cari\\Data\\001\\2009\\cari-tblCari.xbf"));
}

TEST_F(YedeklemeTest, NothingTickedMarksEverythingSkipped) {
  for (auto& s : girdi_.secili) s = false;
  op_.Queue(Answer::kYes);
  EXPECT_TRUE(Calistir().tamamlandi);
  std::string hepsi = "|";
  for (const auto& m : modules::Moduller()) hepsi += std::string(m.klasor) + "|";
  EXPECT_EQ(Durumlar(), TekSirketDurumu(hepsi));
  EXPECT_EQ(op_.statuses, std::vector<std::string>{"Yedekleme İşlemi Tamamlandı."});
}

TEST_F(YedeklemeTest, CatalogThatCannotBeOpenedEndsTheRunWithAnErrorBox) {
  baglantilar_.erase(BellekDosyalar::Anahtar("C:\\Pergonix\\genel\\data\\DonemAc.mdb"));
  op_.Queue(Answer::kYes);
  const YedekSonucu s = Calistir();
  EXPECT_EQ(op_.boxes, (std::vector<Box>{DikkatKutusu(),
                                         HataKutusu("Hata Kodu: 53\r\nAçıklama: cannot open "
                                                    "C:\\Pergonix\\genel\\data\\DonemAc.mdb")}));
  EXPECT_FALSE(s.tamamlandi);
  EXPECT_TRUE(s.hata_gosterildi);
}

TEST_F(YedeklemeTest, LeftoversOfAKilledRunAreRemoved) {
  fs_.Yaz("D:\\Yedek\\Paket\\Cari\\Data\\001\\2009\\.~cari-tblCari.xbf.tmp", "yarım");
  fs_.Yaz("D:\\Yedek\\Paket\\.~PergonixYedek.json.tmp", "yarım");
  op_.Queue(Answer::kYes);
  Calistir();
  // A leftover is not an old backup: no question.
  EXPECT_EQ(op_.boxes, std::vector<Box>{DikkatKutusu()});
  EXPECT_FALSE(fs_.Var("D:\\Yedek\\Paket\\Cari\\Data\\001\\2009\\.~cari-tblCari.xbf.tmp"));
  EXPECT_FALSE(fs_.Var("D:\\Yedek\\Paket\\.~PergonixYedek.json.tmp"));
}

TEST_F(YedeklemeTest, ManifestFollowsEveryRunIntoThePackage) {
  auto manifest = [&] {
    auto m = Manifest::Coz(fs_.Icerik("D:\\Yedek\\Paket\\PergonixYedek.json"), "manifest", kPaket);
    EXPECT_TRUE(m.ok()) << m.status().ToString();
    std::map<std::string, ManifestKaydi> out;
    for (const auto& k : m->kayitlar()) out[k.yol] = k;
    EXPECT_EQ(m->program(), "pergonix-yedek test");
    return out;
  };
  op_ = op::ScriptedOperator({Answer::kYes});
  Calistir();
  const std::string cari_yol = "D:\\Yedek\\Paket\\Cari\\Data\\001\\2009\\cari-tblCari.xbf";
  const std::string cari = fs_.Icerik(cari_yol);
  auto ilk = manifest();
  EXPECT_EQ(ilk.size(), 5u);
  EXPECT_EQ(ilk["Cari\\Data\\001\\2009\\cari-tblCari.xbf"],
            (ManifestKaydi{"Cari\\Data\\001\\2009\\cari-tblCari.xbf", "tablo", "001", "2009",
                           "Cari", "cari.mdb", "tblCari", 2, cari.size(), Sha256Hex(cari)}));
  const std::string logo = fs_.Icerik("D:\\Yedek\\Paket\\Dosya\\Demirbas\\Data\\001\\logo.bmp");
  EXPECT_EQ(ilk["Dosya\\Demirbas\\Data\\001\\logo.bmp"],
            (ManifestKaydi{"Dosya\\Demirbas\\Data\\001\\logo.bmp", "ek", "001", "2009", "Demirbas",
                           "", "", -1, logo.size(), Sha256Hex(logo)}));
  auto d = PaketiDogrula(fs_, kPaket);
  ASSERT_TRUE(d.ok());
  EXPECT_TRUE(d->temiz()) << ::testing::PrintToString(d->sorunlar);
  EXPECT_EQ(d->denetlenen, 5u);

  // Another company adds to the manifest; the first company's entries stay.
  girdi_.sirket = "002";
  op_ = op::ScriptedOperator({Answer::kYes});
  Calistir();
  auto ikinci = manifest();
  EXPECT_EQ(ikinci.size(), 6u);
  EXPECT_TRUE(ikinci.count("Cari\\Data\\002\\2009\\cari-tblCari.xbf"));
  EXPECT_TRUE(ikinci.count("Cari\\Data\\001\\2009\\cari-tblCari.xbf"));

  // Deleting the old backup removes its entries; a table that is empty now leaves none.
  baglantilar_[BellekDosyalar::Anahtar("C:\\Pergonix\\Cari\\Data\\001\\2009\\cari.mdb")] =
      std::make_shared<Baglanti>();
  girdi_.sirket = "001";
  girdi_.eski_yedegi_sormadan_sil = true;
  op_ = op::ScriptedOperator({Answer::kYes});
  Calistir();
  auto ucuncu = manifest();
  EXPECT_EQ(ucuncu.size(), 5u);
  EXPECT_FALSE(ucuncu.count("Cari\\Data\\001\\2009\\cari-tblCari.xbf"));
  EXPECT_FALSE(fs_.Var(cari_yol));
  EXPECT_TRUE(PaketiDogrula(fs_, kPaket)->temiz());

  // A file changed after the backup no longer matches.
  fs_.Yaz("D:\\Yedek\\Paket\\Dosya\\Demirbas\\Data\\001\\logo.bmp", "BM\x02");
  EXPECT_EQ(PaketiDogrula(fs_, kPaket)->sorunlar,
            std::vector<std::string>{"farklı Dosya\\Demirbas\\Data\\001\\logo.bmp: 3 bytes, the "
                                     "manifest says 4"});
}

TEST_F(YedeklemeTest, AFailedWriteLeavesNoPartialOrStagingFile) {
  // Learn how many writes a compressed run makes, then fail each one in turn.
  girdi_.sikistir = true;
  op_ = op::ScriptedOperator({Answer::kYes});
  Calistir();
  const int yazma = fs_.yazma;
  ASSERT_GT(yazma, 5);
  for (int n = 1; n <= yazma; ++n) {
    SetUp();
    girdi_.sikistir = true;
    fs_.bozuk_yazma = n;
    op_ = op::ScriptedOperator({Answer::kYes});
    const YedekSonucu s = Calistir();
    EXPECT_TRUE(s.hata_gosterildi) << n;
    ASSERT_GE(op_.boxes.size(), 2u) << n;
    EXPECT_EQ(op_.boxes[1].title, "Hata");
    EXPECT_EQ(op_.boxes[1].text.rfind("Hata Kodu: 75\r\nAçıklama: ", 0), 0u) << op_.boxes[1].text;
    for (const auto& yol : fs_.Altindakiler("D:\\Yedek")) {
      EXPECT_EQ(yol.find(".~"), std::string::npos) << n << ": " << yol;
    }
    EXPECT_TRUE(fs_.Altindakiler(kGecici).empty()) << n;
    const std::string cari = "D:\\Yedek\\Paket\\Cari\\Data\\001\\2009\\cari-tblCari.pbf";
    if (fs_.Var(cari)) {
      EXPECT_EQ(Ac(fs_.Icerik(cari)), Beklenen(cari_)) << n;
    }
  }
}

TEST(PaketDuzeni, FoldersNamesAndTemporaryNames) {
  struct {
    int konum;
    const char* beklenen;
  } const klasorler[] = {{2, "D:\\P\\Cari\\Data"},
                         {3, "D:\\P\\Cari\\Data\\001"},
                         {4, "D:\\P\\Cari\\Data\\001\\2009"},
                         {0, "D:\\P"}};
  for (const auto& k : klasorler) {
    EXPECT_EQ(VeriKlasoru("D:\\P", "Cari", k.konum, "001", "2009"), k.beklenen) << k.konum;
  }
  EXPECT_EQ(*TabanAdi("cari.mdb"), "cari");
  EXPECT_EQ(*TabanAdi(".mdb"), "");
  EXPECT_FALSE(TabanAdi("c.b").ok());
  EXPECT_EQ(TabloDosyaAdi("cari", "tblCari", true), "cari-tblCari.pbf");
  EXPECT_EQ(GeciciAd("D:\\P\\a-b.xbf"), "D:\\P\\.~a-b.xbf.tmp");
  EXPECT_EQ(GeciciAd("/tmp/a-b"), "/tmp/.~a-b.tmp");
  EXPECT_TRUE(GeciciAdMi(".~a-b.xbf.tmp"));
  EXPECT_FALSE(GeciciAdMi("a-b.xbf.tmp"));
  EXPECT_FALSE(GeciciAdMi(".~a-b.xbf"));
}

TEST(HataKodu, RunTimeErrorNumbersOfTheOldProgram) {
  EXPECT_EQ(HataKodu(Status::IOError("cannot write x: No space left on device")), 61);
  EXPECT_EQ(HataKodu(Status::InvalidArgument("Type mismatch: 'Default'")), 13);
  EXPECT_EQ(HataKodu(Status::InvalidArgument("Overflow: more")), 6);
  EXPECT_EQ(HataKodu(Status::NotFound("x")), 53);
  EXPECT_EQ(HataMetni(Status::NotFound("x yok")), "Hata Kodu: 53\r\nAçıklama: x yok");
}

}  // namespace
}  // namespace px::backup
