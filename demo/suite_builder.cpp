#include "suite_builder.h"

#include <functional>
#include <optional>
#include <vector>

#include "jet/writer.h"
#include "platform/codepage.h"
#include "platform/files.h"
#include "satir_uretici.h"
#include "suite_tanimi.h"

namespace px::demo {
namespace {

constexpr char kKok[] = "C/Pergonix";

// A table to write: its columns, its key and indexes, and where its rows come from.
struct YazilacakTablo {
  std::string ad;
  std::vector<jet::ColumnSpec> sutunlar = {};
  std::optional<std::string> birincil = {};  // the key "PrimaryKey" on this column
  std::vector<std::string> dizinler = {};
  int satir = 0;
  std::function<Result<Row>(int sira)> uret = {};
};

struct CatalogType {
  std::string_view tur;
  int ado_type;
};
// The catalog's types as the suite's own tables hold them; "Memo" and "Date" are columns the
// catalog names but does not map (a table made from the catalog gets ADOX's default there).
constexpr CatalogType kTurler[] = {{"String", ado::kVarWChar},   {"Memo", ado::kLongVarWChar},
                                   {"Double", ado::kDouble},     {"Byte", ado::kUnsignedTinyInt},
                                   {"Integer", ado::kSmallInt},  {"Long", ado::kInteger},
                                   {"Single", ado::kSingle},     {"Boolean", ado::kBoolean},
                                   {"Currency", ado::kCurrency}, {"Date", ado::kDate}};

Result<jet::ColumnSpec> Sutun(const Saha& saha) {
  jet::ColumnSpec c;
  c.name = std::string(saha.ad);
  for (const CatalogType& t : kTurler) {
    if (t.tur == saha.tur) c.ado_type = t.ado_type;
  }
  if (!c.ado_type) {
    return Status::InvalidArgument("column " + c.name + ": unknown type " + std::string(saha.tur));
  }
  if (*c.ado_type == ado::kVarWChar) c.defined_size = saha.boy;
  if (*c.ado_type == ado::kCurrency) c.precision = 2;
  // As the catalog makes columns: zero-length text allowed everywhere, AutoNumber for a key
  // flagged so and for an ordinary Long flagged so.
  c.allow_zero_length = true;
  c.autoincrement = saha.otomatik && (saha.birincil || saha.tur == "Long");
  return c;
}

// "C/Pergonix/Genel/Data/x.mdb" -> "C:\Pergonix\Genel\Data\x.mdb", the name messages use.
std::string WindowsYolu(std::string yol) {
  for (char& c : yol) {
    if (c == '/') c = '\\';
  }
  return "C:\\" + yol.substr(2);
}

// `goreli` below `hedef`, "/"-separated.
Status VeritabaniYaz(platform::FileLayer& files, const std::string& hedef,
                     const std::string& goreli, std::vector<YazilacakTablo> tablolar,
                     SuiteOzeti& ozet) {
  PX_ASSIGN_OR_RETURN(auto writer,
                      jet::Writer::Create(files, hedef + "/" + goreli, WindowsYolu(goreli)));
  PX_RETURN_IF_ERROR(writer->Begin());
  for (const YazilacakTablo& t : tablolar) {
    PX_RETURN_IF_ERROR(writer->CreateTable(t.ad));
    for (const jet::ColumnSpec& c : t.sutunlar) PX_RETURN_IF_ERROR(writer->AddColumn(t.ad, c));
    if (t.birincil) PX_RETURN_IF_ERROR(writer->AddPrimaryKey(t.ad, "PrimaryKey", *t.birincil));
    for (const std::string& d : t.dizinler) {
      PX_RETURN_IF_ERROR(writer->AddIndex(t.ad, {.name = d, .columns = {{d, true}}}));
    }
    for (int i = 0; i < t.satir; ++i) {
      PX_ASSIGN_OR_RETURN(Row row, t.uret(i));
      PX_RETURN_IF_ERROR(writer->InsertRow(t.ad, row));
    }
    ++ozet.tablo;
    ozet.satir += t.satir;
  }
  PX_RETURN_IF_ERROR(writer->Commit());
  ++ozet.veritabani;
  return Status::Ok();
}

jet::ColumnSpec MetinSutunu(std::string_view ad, int boy) {
  return {.name = std::string(ad),
          .ado_type = ado::kVarWChar,
          .defined_size = boy,
          .allow_zero_length = true};
}

Value MetinYaDaBos(std::string_view s) {
  return s.empty() ? Value(Null{}) : Value(std::string(s));
}

// A table whose rows are all given.
YazilacakTablo SabitTablo(std::string ad, std::vector<jet::ColumnSpec> sutunlar,
                          std::optional<std::string> birincil, std::vector<Row> satirlar) {
  auto paylasilan = std::make_shared<std::vector<Row>>(std::move(satirlar));
  YazilacakTablo t{.ad = std::move(ad),
                   .sutunlar = std::move(sutunlar),
                   .birincil = std::move(birincil),
                   .satir = int(paylasilan->size())};
  t.uret = [paylasilan](int sira) -> Result<Row> { return (*paylasilan)[size_t(sira)]; };
  return t;
}

// DonemAc.mdb: every database of every module with its tables and columns. Flags are "E" or
// empty, positions are text ("10" sorts before "2", as the suite's catalog has it).
std::vector<YazilacakTablo> KatalogTablolari() {
  std::vector<Row> bilgi, tablo, saha;
  for (const Veritabani& v : Veritabanlari()) {
    bilgi.push_back({std::string(v.modul), std::string(v.dosya), std::string(v.sql_adi),
                     std::string(v.konum), std::string(v.tanim), std::string("Access")});
    for (const Tablo& t : v.tablolar) {
      tablo.push_back({std::string(t.ad), std::string(v.tanim)});
      for (size_t i = 0; i < t.sahalar.size(); ++i) {
        const Saha& s = t.sahalar[i];
        saha.push_back({std::string(t.ad), std::string(v.tanim), std::string(s.ad),
                        std::to_string(s.boy), MetinYaDaBos(s.otomatik ? "E" : ""),
                        std::string(s.tur), MetinYaDaBos(s.birincil ? "E" : ""),
                        std::to_string(i + 1)});
      }
    }
  }
  std::vector<YazilacakTablo> out;
  out.push_back(
      SabitTablo("tablo_veritabani_bilgileri",
                 {MetinSutunu("VeritabaniModulAdi", 50), MetinSutunu("VeritabaniAccessAdi", 50),
                  MetinSutunu("VeritabaniSqlServerAdi", 50), MetinSutunu("VeritabaniKonum", 20),
                  MetinSutunu("VeritabaniTanimi", 100), MetinSutunu("VeritabaniBaglantiTuru", 20)},
                 std::nullopt, std::move(bilgi)));
  out.push_back(SabitTablo("tablo_veritabani_tablo_bilgileri",
                           {MetinSutunu("TabloAdi", 64), MetinSutunu("VeritabaniTanimi", 100)},
                           std::nullopt, std::move(tablo)));
  out.push_back(SabitTablo("tablo_veritabani_saha_bilgileri",
                           {MetinSutunu("TabloAdi", 64), MetinSutunu("VeritabaniTanim", 100),
                            MetinSutunu("SahaAdi", 64), MetinSutunu("SahaBoyu", 10),
                            MetinSutunu("SahaOtomatikSayi", 1), MetinSutunu("SahaVeriTuru", 20),
                            MetinSutunu("SahaPrimaryKey", 1), MetinSutunu("SahaPozisyonu", 10)},
                           std::nullopt, std::move(saha)));
  return out;
}

// sirket.mdb: the companies (the name second, where the settings read it by position) and
// the users' levels, keyed by company number and user name; one level left Null.
std::vector<YazilacakTablo> SirketTablolari() {
  std::vector<Row> sirketler, guvenlik;
  constexpr std::pair<std::string_view, int> kKullanicilar[] = {
      {"YÖNETİCİ", 1}, {"MUHASEBE", 2}, {"SATIŞ", 3}, {"DEPO", 0}};
  for (const Sirket& s : Sirketler()) {
    sirketler.push_back({int64_t(std::stoi(std::string(s.no))), std::string(s.ad),
                         MetinYaDaBos(s.ad2), std::string("0212 444 0") + std::string(s.no),
                         Value(Null{}), std::string("0212 444 1") + std::string(s.no),
                         std::string(s.vergi_no), std::string(s.vergi_dairesi)});
    for (const auto& [kullanici, derece] : kKullanicilar) {
      guvenlik.push_back({std::string(s.no) + std::string(kullanici),
                          derece == 0 ? Value(Null{}) : Value(int64_t(derece))});
    }
  }
  std::vector<jet::ColumnSpec> sirket_sutunlari = {
      {.name = "intSirketNo", .ado_type = ado::kInteger},
      MetinSutunu("strSirketAdi", 100),
      MetinSutunu("strSirketAdi2", 100),
      MetinSutunu("strSirketTelefon1", 20),
      MetinSutunu("strSirketTelefon2", 20),
      MetinSutunu("strSirketFax", 20),
      MetinSutunu("intSirketVergiNo", 10),
      MetinSutunu("strSirketVergiDaire", 50)};
  std::vector<YazilacakTablo> out;
  out.push_back(
      SabitTablo("tblSirket", std::move(sirket_sutunlari), "intSirketNo", std::move(sirketler)));
  out.push_back(SabitTablo(
      "Guvenlik", {MetinSutunu("Kullanici", 50), {.name = "Derecesi", .ado_type = ado::kSmallInt}},
      "Kullanici", std::move(guvenlik)));
  return out;
}

Result<std::vector<YazilacakTablo>> ModulTablolari(const Veritabani& v, const Baglam& baglam,
                                                   int yuzde) {
  std::vector<YazilacakTablo> out;
  for (const Tablo& t : v.tablolar) {
    YazilacakTablo y{.ad = std::string(t.ad)};
    for (const Saha& s : t.sahalar) {
      PX_ASSIGN_OR_RETURN(jet::ColumnSpec c, Sutun(s));
      y.sutunlar.push_back(std::move(c));
      if (s.birincil) y.birincil = std::string(s.ad);
    }
    for (std::string_view d : t.dizinler) y.dizinler.emplace_back(d);
    // Lists and small tables keep their size; the larger ones shrink with the company.
    y.satir = t.satir > 50 ? t.satir * yuzde / 100 : t.satir;
    auto uretici = std::make_shared<SatirUretici>(v, t, baglam);
    y.uret = [uretici](int sira) { return uretici->Satir(sira); };
    out.push_back(std::move(y));
  }
  return out;
}

// The data folder of a level below the suite root, as the suite spells it, with "/" between.
std::string VeriKlasoru(std::string_view modul, const Baglam& b) {
  std::string k = std::string(modul) + "/Data";
  if (!b.sirket.empty()) k += "/" + b.sirket;
  if (!b.yil.empty()) k += "/" + b.yil;
  return k;
}

// Where a database or extra file lives: company and year as its level asks.
std::vector<std::pair<Baglam, int>> Yerler(std::string_view konum) {
  std::vector<std::pair<Baglam, int>> out;
  if (konum == "Data") {
    out.push_back({Baglam{}, 100});
    return out;
  }
  for (const Sirket& s : Sirketler()) {
    if (konum == "DataSirket") {
      out.push_back({Baglam{std::string(s.no), ""}, s.satir_yuzde});
      continue;
    }
    for (std::string_view yil : kYillar) {
      out.push_back({Baglam{std::string(s.no), std::string(yil)}, s.satir_yuzde});
    }
  }
  return out;
}

Status AnsiYaz(platform::FileLayer& files, const std::string& yol, std::string_view utf8) {
  PX_ASSIGN_OR_RETURN(std::string ansi, EncodeCodePage(1254, utf8));
  return platform::ReplaceFileWhole(files, yol, ansi);
}

std::string ConfigIni() {
  return "[Pergo]\r\nCalismaAlani=C:\\Pergonix\r\nYil=2010\r\nSirket=001\r\n"
         "KullaniciAdi=YÖNETİCİ\r\n[Veritabani]\r\nVeritabaniTuru=Access\r\n"
         "Provider=Microsoft.Jet.OLEDB.4.0\r\n";
}

std::string YedekDosyaIni() {
  std::string s =
      "[YedekDosyalar]\r\nYedekDosyaSayisi=" + std::to_string(EkDosyalar().size()) + "\r\n";
  int n = 0;
  for (const EkDosya& e : EkDosyalar()) {
    const std::string anahtar = "Dosya" + std::to_string(++n);
    s += anahtar + "ModulAdi=" + std::string(e.modul) + "\r\n" + anahtar +
         "Konum=" + std::string(e.konum) + "\r\n" + anahtar + "Adi=" + std::string(e.ad) + "\r\n";
  }
  return s;
}

std::string EkDosyaIcerigi(const EkDosya& e, const Baglam& b) {
  std::string s = "Pergonix " + std::string(e.modul) + " - " + std::string(e.ad) + "\r\n";
  if (!b.sirket.empty()) s += "Şirket: " + b.sirket + "\r\n";
  if (!b.yil.empty()) s += "Yıl: " + b.yil + "\r\n";
  for (int i = 1; i <= 20; ++i) s += "Satır " + std::to_string(i) + ": ...........\r\n";
  return s;
}

Status BosKlasor(platform::FileLayer& files, const std::string& hedef) {
  auto liste = files.List(hedef);
  if (liste.ok()) {
    if (!liste->empty()) return Status::InvalidArgument(hedef + ": the folder is not empty");
    return Status::Ok();
  }
  if (!liste.status().IsNotFound()) return liste.status();
  return files.CreateFolder(hedef);
}

}  // namespace

Result<SuiteOzeti> DemoSuiteKur(platform::FileLayer& files, const std::string& hedef) {
  PX_RETURN_IF_ERROR(BosKlasor(files, hedef));
  SuiteOzeti ozet;
  const std::string kok = hedef + "/" + kKok;
  const std::string genel = std::string(kKok) + "/Genel/Data";
  PX_RETURN_IF_ERROR(files.CreateFolder(hedef + "/" + genel));
  PX_RETURN_IF_ERROR(AnsiYaz(files, kok + "/config.ini", ConfigIni()));
  PX_RETURN_IF_ERROR(AnsiYaz(files, hedef + "/" + genel + "/YedekDosya.ini", YedekDosyaIni()));
  PX_RETURN_IF_ERROR(VeritabaniYaz(files, hedef, genel + "/DonemAc.mdb", KatalogTablolari(), ozet));
  PX_RETURN_IF_ERROR(VeritabaniYaz(files, hedef, genel + "/sirket.mdb", SirketTablolari(), ozet));

  for (const Veritabani& v : Veritabanlari()) {
    for (const auto& [baglam, yuzde] : Yerler(v.konum)) {
      const std::string klasor = std::string(kKok) + "/" + VeriKlasoru(v.modul, baglam);
      PX_RETURN_IF_ERROR(files.CreateFolder(hedef + "/" + klasor));
      PX_ASSIGN_OR_RETURN(auto tablolar, ModulTablolari(v, baglam, yuzde));
      PX_RETURN_IF_ERROR(VeritabaniYaz(files, hedef, klasor + "/" + std::string(v.dosya),
                                       std::move(tablolar), ozet));
    }
  }
  for (const EkDosya& e : EkDosyalar()) {
    for (const auto& yer : Yerler(e.konum)) {
      const Baglam& b = yer.first;
      if (!e.yalniz_sirket.empty() && b.sirket != e.yalniz_sirket) continue;
      const std::string klasor = kok + "/" + VeriKlasoru(e.modul, b);
      PX_RETURN_IF_ERROR(files.CreateFolder(klasor));
      PX_RETURN_IF_ERROR(platform::ReplaceFileWhole(files, klasor + "/" + std::string(e.ad),
                                                    EkDosyaIcerigi(e, b)));
      ++ozet.ek_dosya;
    }
  }
  return ozet;
}

}  // namespace px::demo
