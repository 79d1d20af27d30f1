#pragma once
// What the demo suite holds, as data: the companies, the module databases with their tables
// and columns (which also fill the schema catalog in DonemAc.mdb), and the extra files that
// YedekDosya.ini lists. suite_builder.cpp turns these tables into files; nothing here
// touches a disk.

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace px::demo {

// How a column's values are made; every draw comes from the table's own seeded generator.
enum class Uret {
  kKod,         // onek + the row number, 5 digits: "C00001"
  kBagliKod,    // onek + a number in [alt, ust], 5 digits: a reference to kKod rows
  kSayi,        // a whole number in [alt, ust]
  kSira,        // the row number + 1
  kListe,       // the row's item of `liste` (row number modulo its length)
  kSecim,       // any item of `liste`
  kAdSoyad,     // a Turkish first name and surname
  kUnvan,       // a company title: "Yıldız Gıda Ltd. Şti."
  kUrun,        // a product with its package: "Beyaz Peynir 500 g"
  kAciklama,    // a transaction text, apostrophes included ("Ahmet'in siparişi")
  kNot,         // one to three sentences of notes
  kTutar,       // money in [alt, ust] with kuruş
  kOndalik,     // a double in [alt, ust] / 10000
  kTarih,       // a day of a year in [alt, ust], or of the row's year when alt is 0
  kMantik,      // true with `alt` percent
  kTelefon,     // "0212 555 12 34"
  kVergiNo,     // `boy` digits, the first not 0
  kSirket,      // the company number the row belongs to
  kIsyeriKey,   // company + workplace, kSira-numbered when alt is 0, else in [alt, ust]
  kPersonelKey  // the row's two-letter prefix of `liste` + company
};

struct Saha {
  std::string_view ad;
  std::string_view tur;  // SahaVeriTuru: "String", "Memo", "Double", ... "Date"
  int boy = 0;           // characters, for "String"
  bool birincil = false;
  bool otomatik = false;
  Uret uret = Uret::kSayi;
  std::string_view onek = {};
  long long alt = 0;
  long long ust = 0;
  std::span<const std::string_view> liste = {};
  int bos_yuzde = 0;  // share of NULLs
};

struct Tablo {
  std::string_view ad;
  int satir = 0;  // rows for company 001; the others hold fewer
  std::vector<Saha> sahalar;
  std::vector<std::string_view> dizinler = {};  // ordinary indexes, one column each
};

struct Veritabani {
  std::string_view modul;    // VeritabaniModulAdi: the module's folder
  std::string_view dosya;    // VeritabaniAccessAdi
  std::string_view sql_adi;  // VeritabaniSqlServerAdi
  std::string_view konum;    // "Data", "DataSirket", "DataSirketYil"
  std::string_view tanim;    // VeritabaniTanimi
  std::vector<Tablo> tablolar;
};

struct Sirket {
  std::string_view no;  // "001"
  std::string_view ad;
  std::string_view ad2;
  std::string_view vergi_no;
  std::string_view vergi_dairesi;
  int satir_yuzde;  // share of company 001's row counts
};

struct EkDosya {
  std::string_view modul;
  std::string_view konum;
  std::string_view ad;
  std::string_view yalniz_sirket;  // when set, the file is there for this company only
};

inline constexpr std::string_view kYillar[] = {"2009", "2010"};

std::span<const Sirket> Sirketler();
const std::vector<Veritabani>& Veritabanlari();
std::span<const EkDosya> EkDosyalar();

}  // namespace px::demo
