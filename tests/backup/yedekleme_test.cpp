#include "backup/yedekleme.h"

#include <gtest/gtest.h>

#include "backup/dogrula.h"
#include "backup/dosyalar.h"
#include "backup/paket_duzeni.h"
#include "core/sha256.h"
#include "db/memory_connection.h"
#include "operator/scripted_operator.h"
#include "restore/test_katalog.h"
#include "support/bellek_dosyalar.h"
#include "support/boxes.h"
#include "xbf/pbf.h"
#include "xbf/xbf_writer.h"

namespace px::backup {
namespace {

using op::Answer;
using op::Box;
using op::Buttons;
using op::Icon;
using px::testing::BellekDosyalar;

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

    restore::testing::KatalogKurucu katalog;
    katalog.Veritabani("Cari", "cari.mdb", "X", "DataSirketYil", "");
    katalog.Veritabani("Demirbas", "demirbas.mdb", "X", "DataSirket", "");
    katalog.Veritabani("Stok", "stok.mdb", "X", "DataSirketYil", "");
    katalog.Veritabani("Beyanname", "beyan.mdb", "X", "Data", "");
    Ekle("C:\\Pergonix\\genel\\data\\DonemAc.mdb", *katalog.Baglanti());

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

TEST_F(YedeklemeTest, ChecksBeforeAnythingStopTheRun) {
  auto uyari = [](const char* m) { return Box{m, "Uyarı", Icon::kInformation, Buttons::kOk, 1}; };
  auto yok = [](const std::string& yol) {
    return Box{yol + " Dosyası Bulunamadı!", "HATA", Icon::kCritical, Buttons::kOk, 1};
  };
  const std::string donem = "C:\\Pergonix\\Genel\\Data\\DonemAc.mdb";
  const std::string ini = "C:\\Pergonix\\Genel\\Data\\YedekDosya.ini";
  struct Durum {
    std::string silinen;              // a shared file removed first
    std::string YedekGirdisi::*alan;  // else one field given `deger`
    const char* deger;
    Box kutu;
  };
  const Durum durumlar[] = {
      {donem, nullptr, "", yok(donem)},
      {ini, nullptr, "", yok(ini)},
      {"", &YedekGirdisi::paket_adi, "  ", uyari("Yedek Paket Adı Bölümü Dolu Olmalı!")},
      {"", &YedekGirdisi::sirket, "", uyari("Şirket No Bölümü Dolu Olmalı!")},
      {"", &YedekGirdisi::yil, " ", uyari("Yıl Bölümü Bolu Olmalı!")},
      {"", &YedekGirdisi::hedef, "",
       uyari("Yedeklerin Kopyalanacağı Klasör Adı Bölümü Bolu Olmalı!")},
      {"", &YedekGirdisi::sirket, "01", uyari("Şirket No Üç Haneli Olmalı!")},
      {"", &YedekGirdisi::sirket, "0001", uyari("Şirket No Üç Haneli Olmalı!")},
      {"", &YedekGirdisi::yil, "09", uyari("Yıl Dört Haneli Olmalı!")},
      // Letters pass the length checks; the question comes and is answered No.
      {"", &YedekGirdisi::sirket, "ABC", DikkatKutusu()},
      {"", &YedekGirdisi::yil, "Yıl2", DikkatKutusu()},
  };
  for (const auto& d : durumlar) {
    SetUp();
    op_ = op::ScriptedOperator({Answer::kNo});
    if (!d.silinen.empty()) (void)fs_.Remove(d.silinen);
    if (d.alan) girdi_.*d.alan = d.deger;
    const YedekSonucu s = Calistir();
    EXPECT_EQ(op_.boxes, std::vector<Box>{d.kutu});
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

std::string Bayraklar(const YedekSonucu& s) {
  return px::testing::Flags({{s.basladi, "basladi"},
                             {s.tamamlandi, "tamamlandi"},
                             {s.hata_gosterildi, "hata"},
                             {s.iptal_edildi, "iptal"},
                             {s.reddedildi, "reddedildi"}});
}

// One run: what is changed before it, the operator's answers, and what it must show and leave.
struct Senaryo {
  const char* ad;
  std::function<void(YedeklemeTest&)> hazirla;
  std::vector<Answer> cevaplar = {Answer::kYes};  // the confirmation, Yes
  std::vector<Box> kutular = {DikkatKutusu()};    // a text may hold "*"
  const char* bayraklar = "basladi tamamlandi";
  std::vector<std::string> durumlar = {};           // "Durum" cells in order; empty: not checked
  std::optional<std::set<std::string>> paket = {};  // every file below the package
  std::vector<std::string> metinler = {};           // status texts; empty: not checked
  std::map<std::string, std::string> icerik = {};   // below the package; a ".pbf" inflated
};

void Yalniz(YedeklemeTest& t, const char* modul) {
  for (auto& s : t.girdi_.secili) s = false;
  if (modul) t.girdi_.secili[modules::ModulKlasoruyle(modul)->sira - 1] = true;
}

TEST_F(YedeklemeTest, Runs) {
  auto sikistir = [](std::function<void(YedeklemeTest&)> f) {
    return [f](YedeklemeTest& t) {
      t.girdi_.sikistir = true;
      f(t);
    };
  };
  auto eski = [](std::vector<std::string> yollar, bool tum_sirketler = false) {
    return [=](YedeklemeTest& t) {
      for (const auto& y : yollar) t.fs_.Yaz(std::string(kPaket) + "\\" + y, "eski");
      t.girdi_.tum_sirketler = tum_sirketler;
    };
  };
  std::vector<std::string> iki_sirket;
  for (int i = 0; i < 2; ++i) {
    for (const auto& m : modules::Moduller()) iki_sirket.push_back(std::string(m.ad) + "=");
    for (const auto& d : TekSirketDurumu()) iki_sirket.push_back(d);
  }
  std::string hepsi = "|";
  for (const auto& m : modules::Moduller()) hepsi += std::string(m.klasor) + "|";
  const std::string cari = "Cari\\Data\\001\\2009\\cari-tblCari";
  const std::string demirbas = "Demirbas\\Data\\001\\demirbas-tblDemirbas";
  const std::string beyan = "Beyanname\\Data\\beyan-tblBeyan";
  const std::string ayar = "Dosya\\Cari\\Data\\001\\2009\\ayar.ini";
  const std::string logo = "Dosya\\Demirbas\\Data\\001\\logo.bmp";
  const std::string json = "PergonixYedek.json";
  const std::string tamam = "Yedekleme İşlemi Tamamlandı.";
  auto yedekleniyor = [](const std::string& mdb) {
    return "C:\\Pergonix\\" + mdb + " Yedekleniyor...";
  };
  auto bulunamadi = [](const std::string& mdb) {
    return "C:\\Pergonix\\" + mdb + " Veritabanı Bulunamadı!";
  };
  const std::vector<Senaryo> senaryolar = {
      {.ad = "target folder not created",
       .hazirla = [](auto& t) { t.girdi_.hedef = "E:\\Yedek"; },
       .cevaplar = {Answer::kYes, Answer::kNo},
       .kutular = {DikkatKutusu(),
                   {"E:\\YEDEK\r\n\r\nKlasörü Bulunamadı!\r\n\r\nKlasörün "
                    "Oluşturulmasını İstiyormusunuz?",
                    "Pergonix Yedek", Icon::kQuestion, Buttons::kYesNo, 2}},
       .bayraklar = "reddedildi"},
      {.ad = "target drive not ready",
       .hazirla =
           [](auto& t) {
             t.girdi_.hedef = "E:\\Yedek";
             t.fs_.hazir_degil['E'] = 1;
           },
       .kutular = {DikkatKutusu(),
                   {"E Sürücüsü Hazır Değil!", "Pergonix Yedek", Icon::kExclamation, Buttons::kOk,
                    1}},
       .bayraklar = "hata"},
      // Views, system tables and the empty table give no file.
      {.ad = "plain, one company",
       .hazirla =
           [](auto& t) { t.girdi_.secili[modules::ModulKlasoruyle("Fatura")->sira - 1] = false; },
       .durumlar = TekSirketDurumu("|Fatura|"),
       .paket = std::set{beyan + ".xbf", cari + ".xbf", demirbas + ".xbf", ayar, logo, json},
       .metinler = {yedekleniyor("Cari\\Data\\001\\2009\\cari.mdb"),
                    yedekleniyor("Demirbas\\Data\\001\\demirbas.mdb"),
                    bulunamadi("Stok\\Data\\001\\2009\\stok.mdb"),
                    yedekleniyor("Beyanname\\Data\\beyan.mdb"), tamam},
       .icerik = {{cari + ".xbf", Beklenen(cari_)},
                  {demirbas + ".xbf", Beklenen(demirbas_)},
                  {beyan + ".xbf", Beklenen(beyan_)},
                  {logo, std::string("BM\0\1", 4)}}},
      {.ad = "compressed",
       .hazirla = sikistir([](auto&) {}),
       .paket = std::set{beyan + ".pbf", cari + ".pbf", demirbas + ".pbf", ayar + ".pbf",
                         logo + ".pbf", json},
       .icerik = {{cari + ".pbf", Beklenen(cari_)}, {ayar + ".pbf", "[Ayar]\r\nA=1\r\n"}}},
      {.ad = "every company clears the states between companies",
       .hazirla =
           [](auto& t) {
             t.girdi_.tum_sirketler = true;
             t.girdi_.sirket = "999";  // not used when every company is backed up
           },
       // The first company's module-wide Beyanname files are an old backup to the second.
       .cevaplar = {Answer::kYes, Answer::kYes},
       .kutular = {DikkatKutusu(), EskiYedekKutusu("D:\\Yedek\\Paket\\Beyanname\\Data")},
       .durumlar = iki_sirket,
       .metinler = {yedekleniyor("Cari\\Data\\001\\2009\\cari.mdb"),
                    yedekleniyor("Demirbas\\Data\\001\\demirbas.mdb"),
                    bulunamadi("Stok\\Data\\001\\2009\\stok.mdb"),
                    yedekleniyor("Beyanname\\Data\\beyan.mdb"),
                    yedekleniyor("Cari\\Data\\002\\2009\\cari.mdb"),
                    bulunamadi("Demirbas\\Data\\002\\demirbas.mdb"),
                    bulunamadi("Stok\\Data\\002\\2009\\stok.mdb"),
                    yedekleniyor("Beyanname\\Data\\beyan.mdb"), tamam},
       .icerik = {{"Cari\\Data\\002\\2009\\cari-tblCari.xbf", Beklenen(cari_)}}},
      {.ad = "nothing ticked",
       .hazirla = [](auto& t) { Yalniz(t, nullptr); },
       .durumlar = TekSirketDurumu(hepsi),
       .paket = std::set<std::string>{},
       .metinler = {tamam}},
      // A declined deletion skips every later module and company yet marks them done; the
      // later company is still asked, and its Yes deletes.
      {.ad = "old backup declined",
       .hazirla = eski({"Cari\\Data\\001\\2009\\eski.xbf"}),
       .cevaplar = {Answer::kYes, Answer::kNo},
       .kutular = {DikkatKutusu(), EskiYedekKutusu("D:\\Yedek\\Paket\\Cari\\Data\\001\\2009")},
       .bayraklar = "basladi tamamlandi iptal",
       .durumlar = TekSirketDurumu(),
       .paket = std::set<std::string>{"Cari\\Data\\001\\2009\\eski.xbf"},
       .metinler = {tamam}},
      {.ad = "old backup declined, every company",
       .hazirla =
           eski({"Cari\\Data\\001\\2009\\eski.xbf", "Cari\\Data\\002\\2009\\eski.xbf"}, true),
       .cevaplar = {Answer::kYes, Answer::kNo, Answer::kYes},
       .kutular = {DikkatKutusu(), EskiYedekKutusu("D:\\Yedek\\Paket\\Cari\\Data\\001\\2009"),
                   EskiYedekKutusu("D:\\Yedek\\Paket\\Cari\\Data\\002\\2009")},
       .bayraklar = "basladi tamamlandi iptal",
       .durumlar = iki_sirket,
       .paket = std::set<std::string>{"Cari\\Data\\001\\2009\\eski.xbf"}},
      // Demirbas looks at the company level and deletes it and the module-wide level;
      // Beyanname looks module-wide; old extra files of all three levels go.
      {.ad = "old backups deleted",
       .hazirla = eski({"Demirbas\\Data\\001\\eski.xbf", "Demirbas\\Data\\genel.xbf",
                        "Demirbas\\Data\\001\\2008\\kalir.xbf", "Beyanname\\Data\\eski.xbf",
                        "Dosya\\Cari\\Data\\001\\2009\\eski.ini",
                        "Dosya\\Cari\\Data\\001\\eski.ini", "Dosya\\Cari\\Data\\eski.ini"}),
       .cevaplar = {Answer::kYes, Answer::kYes, Answer::kYes},
       .kutular = {DikkatKutusu(), EskiYedekKutusu("D:\\Yedek\\Paket\\Demirbas\\Data\\001"),
                   EskiYedekKutusu("D:\\Yedek\\Paket\\Beyanname\\Data")},
       .paket = std::set{beyan + ".xbf", cari + ".xbf",
                         std::string("Demirbas\\Data\\001\\2008\\kalir.xbf"), demirbas + ".xbf",
                         ayar, logo, json}},
      {.ad = "old backup deleted without asking",
       .hazirla =
           [](auto& t) {
             t.fs_.Yaz("D:\\Yedek\\Paket\\Cari\\Data\\001\\2009\\cari-tblCari.xbf", "eski, uzun");
             t.girdi_.eski_yedegi_sormadan_sil = true;
           },
       .icerik = {{cari + ".xbf", Beklenen(cari_)}}},
      // The drive: its first look is the target folder check's.
      {.ad = "drive not ready, then ready",
       .hazirla = sikistir([](auto& t) { t.fs_.hazir_degil['D'] = 3; }),
       .cevaplar = {Answer::kYes, Answer::kRetry, Answer::kRetry},
       .kutular = {DikkatKutusu(), HazirDegilKutusu(), HazirDegilKutusu()},
       .icerik = {{cari + ".pbf", Beklenen(cari_)}}},
      // The cancelled module's extra files still go (the same step); later modules do not.
      {.ad = "drive not ready, cancelled",
       .hazirla = sikistir([](auto& t) { t.fs_.hazir_degil['D'] = 2; }),
       .cevaplar = {Answer::kYes, Answer::kCancel},
       .kutular = {DikkatKutusu(), HazirDegilKutusu()},
       .bayraklar = "basladi tamamlandi iptal",
       .durumlar = TekSirketDurumu(),
       .paket = std::set{ayar + ".pbf", json}},
      {.ad = "plain extra files wait for the drive",
       .hazirla =
           [](auto& t) {
             Yalniz(t, "Demirbas");
             t.fs_.hazir_degil['D'] = 2;
           },
       .cevaplar = {Answer::kYes, Answer::kRetry},
       .kutular = {DikkatKutusu(), HazirDegilKutusu()},
       .icerik = {{logo, std::string("BM\0\1", 4)}}},
      {.ad = "disk full, retried",
       .hazirla = sikistir([](auto& t) { t.fs_.dolu['D'] = 2; }),
       .cevaplar = {Answer::kYes, Answer::kRetry, Answer::kRetry},
       .kutular = {DikkatKutusu(), DoluKutusu(), DoluKutusu()},
       .icerik = {{cari + ".pbf", Beklenen(cari_)}}},
      {.ad = "disk full, cancelled",
       .hazirla = sikistir([](auto& t) { t.fs_.dolu['D'] = 1; }),
       .cevaplar = {Answer::kYes, Answer::kCancel},
       .kutular = {DikkatKutusu(), DoluKutusu()},
       .bayraklar = "basladi tamamlandi iptal",
       .paket = std::set{ayar + ".pbf", json}},
      {.ad = "disk full writing plain files retries the database",
       .hazirla =
           [](auto& t) {
             Yalniz(t, "Cari");
             t.fs_.dolu['D'] = 1;
           },
       .cevaplar = {Answer::kYes, Answer::kRetry},
       .kutular = {DikkatKutusu(), DoluKutusu()},
       .paket = std::set{cari + ".xbf", ayar, json},
       .icerik = {{cari + ".xbf", Beklenen(cari_)}}},
      // Errors inside a module end that module only; its extra files and later modules go.
      {.ad = "table name Jet cannot take unbracketed",
       .hazirla =
           [](auto& t) {
             t.baglantilar_[BellekDosyalar::Anahtar(
                                "C:\\Pergonix\\Cari\\Data\\001\\2009\\cari.mdb")]
                 ->Add("Eski Kayitlar", Tablo({"a"}, {{std::string("x"), int64_t{1}}}));
           },
       .kutular = {DikkatKutusu(), HataKutusu("Hata Kodu: *\r\nAçıklama: *Eski Kayitlar*")},
       .bayraklar = "basladi tamamlandi hata",
       .icerik = {{ayar, "[Ayar]\r\nA=1\r\n"}, {beyan + ".xbf", Beklenen(beyan_)}}},
      {.ad = "no count in the extra files list",
       .hazirla =
           [](auto& t) {
             t.fs_.Yaz("C:\\Pergonix\\Genel\\Data\\YedekDosya.ini", "[YedekDosyalar]\r\n");
             Yalniz(t, "Cari");
           },
       .kutular = {DikkatKutusu(),
                   HataKutusu("Hata Kodu: 13\r\nAçıklama: Type mismatch: 'Default' in "
                              "YedekDosyaSayisi of C:\\Pergonix\\Genel\\Data\\YedekDosya.ini")},
       .bayraklar = "basladi tamamlandi hata",
       .icerik = {{cari + ".xbf", Beklenen(cari_)}}},
      // Only what fails outside a module ends the run.
      {.ad = "catalog cannot be opened",
       .hazirla =
           [](auto& t) {
             t.baglantilar_.erase(
                 BellekDosyalar::Anahtar("C:\\Pergonix\\genel\\data\\DonemAc.mdb"));
           },
       .kutular = {DikkatKutusu(), HataKutusu("Hata Kodu: 53\r\nAçıklama: cannot open "
                                              "C:\\Pergonix\\genel\\data\\DonemAc.mdb")},
       .bayraklar = "basladi hata"},
      // A killed run's leftovers are no old backup: removed without a question.
      {.ad = "leftovers of a killed run",
       .hazirla =
           [](auto& t) {
             t.fs_.Yaz("D:\\Yedek\\Paket\\Cari\\Data\\001\\2009\\.~cari-tblCari.xbf.tmp", "yarım");
             t.fs_.Yaz("D:\\Yedek\\Paket\\.~PergonixYedek.json.tmp", "yarım");
           },
       .bayraklar = "basladi tamamlandi"},
  };
  for (const Senaryo& c : senaryolar) {
    SCOPED_TRACE(c.ad);
    SetUp();
    c.hazirla(*this);
    op_ = op::ScriptedOperator(c.cevaplar);
    const YedekSonucu s = Calistir();
    EXPECT_TRUE(px::testing::BoxesMatch(op_.boxes, c.kutular));
    EXPECT_EQ(Bayraklar(s), c.bayraklar);
    if (!c.durumlar.empty()) {
      EXPECT_EQ(Durumlar(), c.durumlar);
    }
    if (c.paket) {
      EXPECT_EQ(fs_.Altindakiler(kPaket), *c.paket);
    }
    if (!c.metinler.empty()) {
      EXPECT_EQ(op_.statuses, c.metinler);
    }
    for (const auto& [yol, beklenen] : c.icerik) {
      const std::string icerik = fs_.Icerik(std::string(kPaket) + "\\" + yol);
      EXPECT_EQ(yol.ends_with(".pbf") ? Ac(icerik) : icerik, beklenen) << yol;
    }
    // Nothing staged or half-written stays; a run that never started touched nothing.
    EXPECT_TRUE(fs_.Altindakiler(kGecici).empty());
    for (const auto& yol : fs_.Altindakiler(kHedef)) {
      EXPECT_EQ(yol.find(".~"), std::string::npos) << yol;
    }
    if (!s.basladi) {
      EXPECT_TRUE(op_.module_states.empty());
      EXPECT_TRUE(acilanlar_.empty());
      EXPECT_TRUE(fs_.Altindakiler("E:").empty());
    }
  }
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

// The rest of the package's names are the runs' above.
TEST(PaketDuzeni, BaseNamesAndTheFolderOfAnUnknownLevel) {
  EXPECT_EQ(VeriKlasoru("D:\\P", "Cari", 0, "001", "2009"), "D:\\P");
  EXPECT_EQ(*TabanAdi("cari.mdb"), "cari");
  EXPECT_EQ(*TabanAdi(".mdb"), "");
  EXPECT_FALSE(TabanAdi("c.b").ok());
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
