#include "satir_uretici.h"

#include <chrono>
#include <cmath>

namespace px::demo {
namespace {

constexpr std::string_view kAdlar[] = {"Ahmet",   "Mehmet", "Ayşe",    "Fatma",  "Hüseyin", "Emine",
                                       "Mustafa", "Zeynep", "İbrahim", "Hatice", "Ömer",    "Şükrü",
                                       "Gülşen",  "Çağlar", "Özge",    "Ümit",   "Ilgın",   "Ege"};
constexpr std::string_view kSoyadlar[] = {
    "Yılmaz", "Kaya",  "Demir", "Şahin", "Çelik", "Yıldız", "Öztürk", "Aydın",  "Özdemir", "Arslan",
    "Doğan",  "Kılıç", "Aslan", "Çetin", "Koç",   "Kurt",   "Özkan",  "Şimşek", "Güneş",   "Işık"};
constexpr std::string_view kSektorler[] = {"Gıda",      "Tekstil",   "İnşaat",   "Otomotiv",
                                           "Kırtasiye", "Mobilya",   "Elektrik", "Nakliyat",
                                           "Turizm",    "Kuyumculuk"};
constexpr std::string_view kSirketTurleri[] = {"Ltd. Şti.", "A.Ş.", "ve Ortakları", "Ticaret",
                                               "San. ve Tic. Ltd. Şti."};
constexpr std::string_view kUrunler[] = {"Beyaz Peynir", "Zeytinyağı", "Çay",    "Şeker",
                                         "Un",           "Pirinç",     "Bulgur", "Kırmızı Mercimek",
                                         "Türk Kahvesi", "Lokum",      "Pekmez", "Çikolata",
                                         "Havlu",        "Nevresim",   "Kazak",  "Çorap"};
constexpr std::string_view kPaketler[] = {"500 g",        "1 kg",   "5 kg", "1 lt",
                                          "Koli (12'li)", "Düzine", "Adet"};
constexpr std::string_view kAylar[] = {"Ocak",   "Şubat",   "Mart",  "Nisan", "Mayıs", "Haziran",
                                       "Temmuz", "Ağustos", "Eylül", "Ekim",  "Kasım", "Aralık"};
constexpr std::string_view kAlanKodlari[] = {"0212", "0216", "0312", "0232", "0224", "0332"};
constexpr std::string_view kNotlar[] = {"Ödemeler her ayın 15'inde yapılır.",
                                        "Müşteri'nin talebiyle vade 30 gün uzatıldı.",
                                        "İskonto yalnızca peşin alımlarda geçerlidir.",
                                        "Yetkili kişiyle görüşüldü; yeni adres bildirildi.",
                                        "Çek ve senetler muhasebe servisine teslim edilmeli.",
                                        "Şubat ayında fiyat listesi güncellendi.",
                                        "Sözleşme \"yıllık\" olarak yenilendi.",
                                        "Irsaliye'siz teslimat yapılmaz."};

template <size_t N>
std::string_view Sec(Rastgele& r, const std::string_view (&liste)[N]) {
  return liste[size_t(r.Aralik(0, N - 1))];
}

std::string Basamaklar(Rastgele& r, int kac) {
  std::string s(1, char('1' + r.Aralik(0, 8)));
  while (int(s.size()) < kac) s += char('0' + r.Aralik(0, 9));
  return s;
}

std::string Numara(std::string_view onek, int64_t n) {
  std::string rakamlar = std::to_string(n);
  if (rakamlar.size() < 5) rakamlar.insert(0, 5 - rakamlar.size(), '0');
  return std::string(onek) + rakamlar;
}

std::string Aciklama(Rastgele& r) {
  const std::string ad(Sec(r, kAdlar));
  const std::string ay(Sec(r, kAylar));
  switch (r.Aralik(0, 7)) {
    case 0:
      return ad + "'in siparişi";
    case 1:
      return ay + " ayı kira bedeli";
    case 2:
      return ad + " " + std::string(Sec(r, kSoyadlar)) + "'a yapılan ödeme";
    case 3:
      return "Fatura'ya istinaden tahsilat";
    case 4:
      return "Devir bakiyesi (" + ay + ")";
    case 5:
      return "İade faturası - " + ad;
    case 6:
      return "KDV'li satış";
    default:
      return ay + "'ta kesilen çek'in tahsili";
  }
}

OleDate GunOf(int yil, int gun) {
  using namespace std::chrono;
  const sys_days ilk{year{yil} / January / 1};
  const sys_days epoch{year{1899} / December / 30};
  return OleDate{double((ilk - epoch).count() + gun)};
}

}  // namespace

uint64_t Rastgele::Sonraki() {
  uint64_t z = (durum_ += 0x9E3779B97F4A7C15ULL);
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
  return z ^ (z >> 31);
}

int64_t Rastgele::Aralik(int64_t alt, int64_t ust) {
  const uint64_t genislik = uint64_t(ust - alt) + 1;
  return alt + int64_t(Sonraki() % genislik);
}

uint64_t Tohum(std::string_view dosya, std::string_view tablo, std::string_view sirket,
               std::string_view yil) {
  uint64_t h = 0xCBF29CE484222325ULL;
  for (std::string_view parca : {dosya, tablo, sirket, yil}) {
    for (unsigned char c : parca) h = (h ^ c) * 0x100000001B3ULL;
    h = (h ^ '|') * 0x100000001B3ULL;
  }
  return h;
}

Result<Value> TurDegeri(std::string_view tur, std::string_view metin) {
  const std::string s(metin);
  char* son = nullptr;
  const double d = std::strtod(s.c_str(), &son);
  if (s.empty() || son != s.c_str() + s.size()) {
    return Status::InvalidArgument("'" + s + "' is not a number for a " + std::string(tur) +
                                   " column");
  }
  if (tur == "Single") return Value(float(d));
  if (tur == "Double") return Value(d);
  if (tur == "Currency") return Value(Currency{std::llround(d * 10000)});
  return Value(int64_t(d));
}

SatirUretici::SatirUretici(const Veritabani& veritabani, const Tablo& tablo, Baglam baglam)
    : tablo_(tablo),
      baglam_(std::move(baglam)),
      rastgele_(Tohum(veritabani.dosya, tablo.ad, baglam_.sirket, baglam_.yil)) {}

Result<Row> SatirUretici::Satir(int sira) {
  Row row;
  row.reserve(tablo_.sahalar.size());
  for (const Saha& saha : tablo_.sahalar) {
    PX_ASSIGN_OR_RETURN(Value v, Deger(saha, sira));
    row.push_back(std::move(v));
  }
  return row;
}

Result<Value> SatirUretici::Deger(const Saha& saha, int sira) {
  Rastgele& r = rastgele_;
  if (saha.otomatik) return Value(Null{});
  if (saha.bos_yuzde > 0 && r.Olasilik(saha.bos_yuzde)) return Value(Null{});
  switch (saha.uret) {
    case Uret::kKod:
      return Value(Numara(saha.onek, sira + 1));
    case Uret::kBagliKod:
      return Value(Numara(saha.onek, r.Aralik(saha.alt, saha.ust)));
    case Uret::kSayi:
      return TurDegeri(saha.tur, std::to_string(r.Aralik(saha.alt, saha.ust)));
    case Uret::kSira:
      return Value(int64_t(sira + 1));
    case Uret::kListe:
    case Uret::kSecim: {
      if (saha.liste.empty()) return Status::InvalidArgument(std::string(saha.ad) + ": no list");
      const size_t i = saha.uret == Uret::kListe ? size_t(sira) % saha.liste.size()
                                                 : size_t(r.Aralik(0, saha.liste.size() - 1));
      if (saha.tur == "String") return Value(std::string(saha.liste[i]));
      return TurDegeri(saha.tur, saha.liste[i]);
    }
    case Uret::kAdSoyad:
      return Value(std::string(Sec(r, kAdlar)) + " " + std::string(Sec(r, kSoyadlar)));
    case Uret::kUnvan:
      return Value(std::string(Sec(r, kSoyadlar)) + " " + std::string(Sec(r, kSektorler)) + " " +
                   std::string(Sec(r, kSirketTurleri)));
    case Uret::kUrun:
      return Value(std::string(Sec(r, kUrunler)) + " " + std::string(Sec(r, kPaketler)));
    case Uret::kAciklama:
      return Value(Aciklama(r));
    case Uret::kNot: {
      std::string metin(Sec(r, kNotlar));
      for (int64_t n = r.Aralik(0, 2); n > 0; --n) metin += " " + std::string(Sec(r, kNotlar));
      return Value(std::move(metin));
    }
    case Uret::kTutar:
      return Value(Currency{r.Aralik(saha.alt * 100, saha.ust * 100) * 100});
    case Uret::kOndalik:
      return Value(double(r.Aralik(saha.alt, saha.ust)) / 10000.0);
    case Uret::kTarih: {
      if (saha.alt == 0 && baglam_.yil.empty()) {
        return Status::InvalidArgument(std::string(tablo_.ad) + "." + std::string(saha.ad) +
                                       ": a date needs a year range above the year level");
      }
      const int yil = saha.alt != 0 ? int(r.Aralik(saha.alt, saha.ust)) : std::stoi(baglam_.yil);
      return Value(GunOf(yil, int(r.Aralik(0, 364))));
    }
    case Uret::kMantik:
      return Value(r.Olasilik(int(saha.alt)));
    case Uret::kTelefon:
      return Value(std::string(Sec(r, kAlanKodlari)) + " " + Basamaklar(r, 3) + " " +
                   Basamaklar(r, 2) + " " + Basamaklar(r, 2));
    case Uret::kVergiNo:
      return Value(Basamaklar(r, saha.boy));
    case Uret::kSirket:
      return Value(baglam_.sirket);
    case Uret::kIsyeriKey: {
      const int64_t n = saha.alt == 0 ? sira + 1 : r.Aralik(saha.alt, saha.ust);
      return Value(baglam_.sirket + Numara("", n).substr(2));
    }
    case Uret::kPersonelKey:
      return Value(std::string(saha.liste[size_t(sira) % saha.liste.size()]) + baglam_.sirket);
  }
  return Status::InvalidArgument(std::string(saha.ad) + ": unknown value rule");
}

}  // namespace px::demo
