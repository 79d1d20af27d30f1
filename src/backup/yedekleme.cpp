#include "backup/yedekleme.h"

#include <algorithm>
#include <optional>

#include "backup/dosyalar.h"
#include "backup/paket_duzeni.h"
#include "backup/sirket_numaralari.h"
#include "core/sha256.h"
#include "db/group_commit.h"
#include "folders/klasor_kontrol.h"
#include "modules/module_databases.h"
#include "platform/profile.h"
#include "platform/text_case.h"
#include "xbf/parallel_deflate.h"
#include "xbf/pbf.h"
#include "xbf/read_ahead.h"
#include "xbf/xbf_writer.h"

namespace px::backup {
namespace {

constexpr char kCrLf[] = "\r\n";
constexpr int kEnBuyukDosyaSayisi = 32767;  // YedekDosyaSayisi is a 16-bit count
constexpr int64_t kIlerlemeAdimi = 4096;    // rows between progress reports

// Messages of the run-time errors the old program raised by number.
constexpr char kTurUyusmazligi[] = "Type mismatch";
constexpr char kTasma[] = "Overflow";

std::string Kirp(const std::string& s) {
  return std::string(TrimBlanks(s));
}

// Forwards to `inner`, keeping the size and SHA-256 of what went through.
class OzetliSink : public xbf::ByteSink {
 public:
  explicit OzetliSink(xbf::ByteSink& inner) : inner_(inner) {}
  Status Write(std::string_view bytes) override {
    ozet_.Update(bytes);
    bayt_ += bytes.size();
    return inner_.Write(bytes);
  }
  std::string Ozet() { return ozet_.HexDigest(); }
  uint64_t bayt() const { return bayt_; }

 private:
  xbf::ByteSink& inner_;
  Sha256 ozet_;
  uint64_t bayt_ = 0;
};

// Characters as the window's Len counts them (UTF-16 units).
size_t Utf8Length(std::string_view s) {
  size_t n = 0;
  for (unsigned char c : s) {
    if ((c & 0xC0) != 0x80) n += (c >= 0xF0) ? 2 : 1;
  }
  return n;
}

bool BasiAyni(const std::string& s, std::string_view bas) {
  return s.compare(0, bas.size(), bas) == 0;
}

// CInt of a profile value: blanks around a whole number; anything else is a type mismatch,
// out of the 16-bit range an overflow.
Result<int> TamSayi(const std::string& metin, const std::string& nerede) {
  const std::string_view s = TrimBlanks(metin);
  bool eksi = false;
  size_t i = 0;
  if (!s.empty() && (s[0] == '-' || s[0] == '+')) eksi = s[i++] == '-';
  if (i == s.size()) {
    return Status::InvalidArgument(std::string(kTurUyusmazligi) + ": '" + metin + "' in " + nerede);
  }
  int64_t n = 0;
  for (; i < s.size(); ++i) {
    if (s[i] < '0' || s[i] > '9') {
      return Status::InvalidArgument(std::string(kTurUyusmazligi) + ": '" + metin + "' in " +
                                     nerede);
    }
    n = n * 10 + (s[i] - '0');
    if (n > 32768) break;
  }
  if (eksi) n = -n;
  if (n < -32768 || n > 32767) {
    return Status::InvalidArgument(std::string(kTasma) + ": '" + metin + "' in " + nerede);
  }
  return int(n);
}

// Passes everything to the operator and remembers the last box and its answer.
class SonCevabiTutan : public op::Operator {
 public:
  explicit SonCevabiTutan(op::Operator& op) : op_(op) {}
  op::Answer Ask(const op::Box& box) override {
    son_kutu = box;
    son_cevap = op_.Ask(box);
    return son_cevap;
  }
  void SetStatus(std::string_view text) override { op_.SetStatus(text); }
  void SetProgress(int value, int maximum) override { op_.SetProgress(value, maximum); }
  void SetModuleState(std::string_view module, std::string_view state) override {
    op_.SetModuleState(module, state);
  }
  std::optional<op::Box> son_kutu;
  op::Answer son_cevap = op::Answer::kOk;

 private:
  op::Operator& op_;
};

}  // namespace

int HataKodu(const Status& st) {
  if (DiskDoluMu(st)) return 61;
  if (BasiAyni(st.message(), kTurUyusmazligi)) return 13;
  if (BasiAyni(st.message(), kTasma)) return 6;
  switch (st.code()) {
    case StatusCode::kNotFound:
      return 53;
    case StatusCode::kInvalidArgument:
      return 5;
    case StatusCode::kIOError:
      return 75;
    default:
      return -2147467259;  // E_FAIL, as the data providers report their failures
  }
}

std::string HataMetni(const Status& st) {
  return "Hata Kodu: " + std::to_string(HataKodu(st)) + kCrLf + "Açıklama: " + st.message();
}

Yedekleme::Yedekleme(YedekOrtami ortam) : o_(std::move(ortam)) {
  secili.fill(true);
}

void Yedekleme::Durum(const modules::Modul& m, const char* durum) {
  o_.op->SetModuleState(m.ad, durum);
  sonuc_.durum[m.sira - 1] = durum;
}

void Yedekleme::HataGoster(const Status& st) {
  sonuc_.hata_gosterildi = true;
  o_.op->Show(HataMetni(st), "Hata", op::Icon::kExclamation, op::Buttons::kOk, 1);
}

Yedekleme::Surucu Yedekleme::SurucuBekle(const std::string& hedef,
                                         const std::function<Status()>& klasorleri_hazirla) {
  const std::string surucu = hedef.substr(0, 2);
  const char harf = hedef.empty() ? 'C' : hedef[0];
  bool beklendi = false;
  while (!o_.fs->Drive(harf).ready) {
    beklendi = true;
    const op::Answer cevap = o_.op->Show(
        surucu + " Sürücüsü Hazır Değil!" + kCrLf + kCrLf +
            "Eğer Bir Disket Sürücüye Yedek Alıyorsanız," + kCrLf +
            "Tekrar Denemeden Önce Sürücüye Formatlı Bir Disket Yerleştirdiğinizden Emin Olun.",
        "Uyarı", op::Icon::kNone, op::Buttons::kRetryCancel, 1);
    if (cevap != op::Answer::kRetry) return Surucu::kIptal;
  }
  if (beklendi && klasorleri_hazirla) {
    // A new disk is empty: the folders are made again (their failure shows up in the copy).
    (void)klasorleri_hazirla();
  }
  return Surucu::kHazir;
}

bool Yedekleme::DoluSor(const std::string& hedef) {
  const op::Answer cevap =
      o_.op->Show(hedef.substr(0, 2) + " Sürücüsü Dolu!" + kCrLf + kCrLf +
                      "Eğer Bir Disket Sürücüye Yedek Alıyorsanız," + kCrLf +
                      "Tekrar Denemeden Önce Sürücüde Yeterli Boş Alanı Olan Bir Disket "
                      "Yerleştirdiğinizden Emin Olun.",
                  "Uyarı", op::Icon::kNone, op::Buttons::kRetryCancel, 1);
  return cevap == op::Answer::kRetry;
}

void Yedekleme::Kaydet(const std::string& tam_yol, const char* tur, const std::string& modul,
                       const std::string& sirket, const std::string& yil,
                       const std::string& veritabani, const std::string& tablo, int64_t satir,
                       uint64_t bayt, const std::string& sha256) {
  if (!manifest_) return;
  const std::string goreli = manifest_->GoreliYol(tam_yol);
  if (goreli.empty()) return;
  manifest_->Ekle(
      ManifestKaydi{goreli, tur, sirket, yil, modul, veritabani, tablo, satir, bayt, sha256});
}

void Yedekleme::EskiKayitlariSil(const std::vector<std::string>& silinenler) {
  if (!manifest_) return;
  for (const auto& yol : silinenler) manifest_->Sil(yol);
}

Status Yedekleme::ManifestYaz() {
  if (!manifest_) return Status::Ok();
  manifest_->Damgala(o_.program, "");
  return manifest_->Yaz(*o_.files);
}

Status Yedekleme::Sikistir(const std::string& girdi, const std::string& cikti, std::string* sha256,
                           uint64_t* bayt) {
  PX_ASSIGN_OR_RETURN(auto kaynak, KatmanGirdisi::Ac(*o_.files, girdi));
  PX_ASSIGN_OR_RETURN(auto dosya, YerineGecenDosya::Ac(*o_.files, cikti));
  OzetliSink ozetli(*dosya);
  PX_ASSIGN_OR_RETURN(auto deflate, xbf::ParallelDeflateSink::Create(ozetli, xbf::kPbfLevel));
  std::string parca(size_t{1} << 20, '\0');
  for (;;) {
    PX_ASSIGN_OR_RETURN(size_t n,
                        kaynak->Read(reinterpret_cast<uint8_t*>(parca.data()), parca.size()));
    if (n == 0) break;
    PX_RETURN_IF_ERROR(deflate->Write(std::string_view(parca.data(), n)));
  }
  PX_RETURN_IF_ERROR(deflate->Finish());
  PX_RETURN_IF_ERROR(dosya->Commit());
  if (bayt) *bayt = ozetli.bayt();
  if (sha256) *sha256 = ozetli.Ozet();
  return Status::Ok();
}

Status Yedekleme::TabloDisaAktar(const std::string& access_adi, const std::string& /*sql_adi*/,
                                 int konum, const std::string& modul, const std::string& hedef,
                                 const std::string& sirket, const std::string& yil) {
  const std::string yol =
      modules::AccessVeritabaniYolu(o_.kok, modul, access_adi, sirket, yil, konum);
  yazilanlar_.clear();  // what this call wrote, also when it writes nothing
  if (yol.empty() || !o_.files->Exists(yol)) {
    o_.op->SetStatus(yol + " Veritabanı Bulunamadı!");
    return Status::Ok();
  }
  PX_ASSIGN_OR_RETURN(auto baglanti, o_.ac(yol));
  o_.op->SetStatus(yol + " Yedekleniyor...");
  PX_ASSIGN_OR_RETURN(auto tablolar, baglanti->Tables());
  YedekDosyaListesi.clear();
  YedekDosyaSayisi = 0;
  yazilanlar_.clear();
  for (const db::TableEntry& t : tablolar) {
    if (t.type != "TABLE") continue;
    auto satirlar = baglanti->Query("SELECT * FROM " + t.name);
    if (!satirlar.ok()) return satirlar.status().WithContext(yol + ": table " + t.name);
    PX_ASSIGN_OR_RETURN(std::string taban, TabanAdi(access_adi));
    const std::string ad = TabloDosyaAdi(taban, t.name);
    const std::string hedef_yol =
        SikistirmaSecili ? hedef + ad
                         : Birlestir(VeriKlasoru(hedef, modul, konum, sirket, yil), ad + ".xbf");
    // The table's pages are decoded on a thread of their own while this one writes XML.
    xbf::ReadAheadRows kaynak(**satirlar);
    Row satir;
    if (!kaynak.Next(satir)) {
      if (!kaynak.status().ok()) return kaynak.status().WithContext(yol + ": table " + t.name);
      continue;  // an empty table writes nothing
    }
    // Compressed exports stream through the deflater into the staged ".pbf" directly: one
    // pass, the XML written on this thread while deflate runs on the others.
    const std::string yazilan_yol = SikistirmaSecili ? hedef_yol + ".pbf" : hedef_yol;
    if (o_.files->Exists(yazilan_yol)) PX_RETURN_IF_ERROR(o_.files->Remove(yazilan_yol));
    PX_ASSIGN_OR_RETURN(auto dosya, YerineGecenDosya::Ac(*o_.files, yazilan_yol));
    OzetliSink ozetli(*dosya);
    std::unique_ptr<xbf::ParallelDeflateSink> deflate;
    if (SikistirmaSecili) {
      PX_ASSIGN_OR_RETURN(deflate, xbf::ParallelDeflateSink::Create(ozetli, xbf::kPbfLevel));
    }
    xbf::XbfWriter yazici(deflate ? static_cast<xbf::ByteSink&>(*deflate)
                                  : static_cast<xbf::ByteSink&>(ozetli));
    PX_RETURN_IF_ERROR(yazici.Begin(kaynak.fields()));
    // The total is the definition's row count; a count that falls short of the rows found
    // is raised, so that the table shows as done only when it is.
    int64_t sayi = 0;
    do {
      PX_RETURN_IF_ERROR(yazici.WriteRow(satir));
      if (++sayi % kIlerlemeAdimi == 0) {
        o_.op->SetTableProgress(modul_adi_, access_adi, t.name, sayi,
                                t.rows < 0 ? -1 : std::max(t.rows, sayi + 1));
      }
    } while (kaynak.Next(satir));
    if (!kaynak.status().ok()) return kaynak.status().WithContext(yol + ": table " + t.name);
    PX_RETURN_IF_ERROR(yazici.Finish());
    if (deflate) PX_RETURN_IF_ERROR(deflate->Finish());
    PX_RETURN_IF_ERROR(dosya->Commit());
    o_.op->SetTableProgress(modul_adi_, access_adi, t.name, sayi, sayi);
    YedekAlindi = true;
    if (YedekDosyaSayisi >= kEnBuyukDosyaSayisi) {
      return Status::InvalidArgument(std::string(kTasma) + ": more than 32767 files from " + yol);
    }
    const std::string giris = SikistirmaSecili ? ad : ad + ".xbf";
    YedekDosyaListesi.push_back(giris);
    ++YedekDosyaSayisi;
    yazilanlar_.push_back({giris, t.name, sayi, ozetli.bayt(), ozetli.Ozet()});
  }
  return Status::Ok();
}

Status Yedekleme::YarimKalanGeriAlmayiBitir() {
  Status st = YarimKalanCommitiBitir(*o_.files, db::SuiteCommitRecord(o_.kok));
  if (!st.ok()) return st.WithContext("an interrupted restore could not be finished");
  return Status::Ok();
}

void Yedekleme::ModulPaketle(const std::string& modul, const std::string& paket,
                             const std::string& hedef, const std::string& sirket,
                             const std::string& yil) {
  Status st = ModulPaketleIci(modul, paket, hedef, sirket, yil);
  if (!st.ok() && !st.IsCancelled()) HataGoster(st);
}

Status Yedekleme::ModulPaketleIci(const std::string& modul, const std::string& paket,
                                  const std::string& hedef, const std::string& sirket,
                                  const std::string& yil) {
  const std::string kok = Birlestir(hedef, paket);
  // A restore killed while its module committed leaves some of the module's databases
  // before and some after: the package takes them as they are once that commit is done.
  PX_RETURN_IF_ERROR(YarimKalanGeriAlmayiBitir());
  std::vector<modules::ModulVeritabani> liste;
  PX_RETURN_IF_ERROR(modules::ModulVeritabanlariniOku(*katalog, modul, liste));
  for (const auto& vt : liste) {
    const std::string klasor = VeriKlasoru(kok, modul, vt.konum, sirket, yil);
    auto hazirla = [&]() -> Status {
      PX_RETURN_IF_ERROR(KlasorZinciriHazirla(*o_.files, kok, modul, vt.konum, sirket, yil));
      return ArtiklariTemizle(*o_.files, klasor);
    };
    PX_RETURN_IF_ERROR(hazirla());
    if (!SikistirmaSecili) {
      for (;;) {
        Status st =
            TabloDisaAktar(vt.access_adi, vt.sql_server_adi, vt.konum, modul, kok, sirket, yil);
        if (st.ok()) break;
        if (!DiskDoluMu(st)) return st;
        if (!DoluSor(hedef)) {
          IptalEdildi = true;
          return Status::Cancelled("cancelled at a full disk");
        }
        PX_RETURN_IF_ERROR(hazirla());
      }
      for (const auto& y : yazilanlar_) {
        Kaydet(Birlestir(klasor, y.ad), kTabloDosyasi, modul, sirket, yil, vt.access_adi, y.tablo,
               y.satir, y.bayt, y.sha256);
      }
      continue;
    }
    YedekAlindi = false;
    PX_RETURN_IF_ERROR(TabloDisaAktar(vt.access_adi, vt.sql_server_adi, vt.konum, modul,
                                      o_.gecici_klasor, sirket, yil));
    if (!YedekAlindi) continue;
    const auto yazilanlar = yazilanlar_;
    for (const auto& y : yazilanlar) {
      const std::string ara = o_.gecici_klasor + y.ad;
      const std::string ara_pbf = ara + ".pbf";
      auto ara_dosyalari_sil = [&] {
        (void)o_.files->Remove(ara_pbf);
        (void)o_.files->Remove(ara);
      };
      if (SurucuBekle(hedef, hazirla) == Surucu::kIptal) {
        ara_dosyalari_sil();
        IptalEdildi = true;
        return Status::Cancelled("cancelled at a drive that is not ready");
      }
      const std::string son = Birlestir(klasor, y.ad + ".pbf");
      for (;;) {
        Status st = DosyaKopyala(*o_.files, ara_pbf, son);
        if (st.ok()) break;
        if (!DiskDoluMu(st)) {
          ara_dosyalari_sil();
          return st;
        }
        if (!DoluSor(hedef)) {
          ara_dosyalari_sil();
          IptalEdildi = true;
          return Status::Cancelled("cancelled at a full disk");
        }
        (void)hazirla();
      }
      ara_dosyalari_sil();
      Kaydet(son, kTabloDosyasi, modul, sirket, yil, vt.access_adi, y.tablo, y.satir, y.bayt,
             y.sha256);
    }
  }
  return Status::Ok();
}

void Yedekleme::EkDosyalariYedekle(const std::string& modul, const std::string& paket,
                                   const std::string& hedef, const std::string& sirket,
                                   const std::string& yil) {
  Status st = EkDosyalariYedekleIci(modul, paket, hedef, sirket, yil);
  if (!st.ok() && !st.IsCancelled()) HataGoster(st);
}

Status Yedekleme::EkDosyalariYedekleIci(const std::string& modul, const std::string& paket,
                                        const std::string& hedef, const std::string& sirket,
                                        const std::string& yil) {
  const std::string ini = o_.kok + "\\Genel\\Data\\YedekDosya.ini";
  std::string ham;
  if (auto okunan = TumunuOku(*o_.files, ini); okunan.ok()) {
    ham = std::move(*okunan);
  } else if (!okunan.status().IsNotFound()) {
    return okunan.status();
  }
  PX_ASSIGN_OR_RETURN(int kod_sayfasi, AnsiCodePage());
  auto oku = [&](const std::string& anahtar) {
    return LookUpProfileString(ham, kod_sayfasi, "YedekDosyalar", anahtar, "Default");
  };
  PX_ASSIGN_OR_RETURN(int sayi, TamSayi(oku("YedekDosyaSayisi"), "YedekDosyaSayisi of " + ini));
  const std::string kok = Birlestir(Birlestir(hedef, paket), kEkDosyaKlasoru);
  for (int n = 1; n <= sayi; ++n) {
    const std::string on = "Dosya" + std::to_string(n);
    if (oku(on + "ModulAdi") != modul) continue;
    const int konum = modules::KonumSeviyesi(oku(on + "Konum"));
    const std::string ad = oku(on + "Adi");
    if (konum == modules::kKonumYok) continue;  // no data folder of that name
    const std::string klasor = VeriKlasoru(kok, modul, konum, sirket, yil);
    auto hazirla = [&]() -> Status {
      PX_RETURN_IF_ERROR(KlasorZinciriHazirla(*o_.files, kok, modul, konum, sirket, yil));
      return ArtiklariTemizle(*o_.files, klasor);
    };
    PX_RETURN_IF_ERROR(hazirla());
    const std::string kaynak = Birlestir(VeriKlasoru(o_.kok, modul, konum, sirket, yil), ad);
    if (!o_.files->Exists(kaynak)) continue;
    std::string kopyalanan = kaynak;
    std::string son = Birlestir(klasor, ad);
    std::string ozet;
    uint64_t bayt = 0;
    if (SikistirmaSecili) {
      kopyalanan = o_.gecici_klasor + ad + ".pbf";
      son += ".pbf";
      if (Status st = Sikistir(kaynak, kopyalanan, &ozet, &bayt); !st.ok()) {
        (void)o_.files->Remove(kopyalanan);
        return st;
      }
    }
    auto ara_sil = [&] {
      if (SikistirmaSecili) (void)o_.files->Remove(kopyalanan);
    };
    if (SurucuBekle(hedef, hazirla) == Surucu::kIptal) {
      ara_sil();
      IptalEdildi = true;
      return Status::Cancelled("cancelled at a drive that is not ready");
    }
    for (;;) {
      Status st = SikistirmaSecili ? DosyaKopyala(*o_.files, kopyalanan, son)
                                   : DosyaKopyala(*o_.files, kopyalanan, son, &ozet, &bayt);
      if (st.ok()) break;
      if (!DiskDoluMu(st)) {
        ara_sil();
        return st;
      }
      if (!DoluSor(hedef)) {
        ara_sil();
        IptalEdildi = true;
        return Status::Cancelled("cancelled at a full disk");
      }
      (void)hazirla();
    }
    ara_sil();
    Kaydet(son, kEkDosya, modul, sirket, yil, "", "", -1, bayt, ozet);
  }
  return Status::Ok();
}

Status Yedekleme::SirketYedekle(const std::string& hedef, const std::string& paket,
                                const std::string& sirket, const std::string& yil) {
  const std::string kok = Birlestir(hedef, paket);
  for (const modules::Modul& m : modules::Moduller()) {
    if (!secili[m.sira - 1]) {
      Durum(m, "Geç");
      continue;
    }
    const std::string klasor(m.klasor);
    modul_adi_ = std::string(m.ad);
    PX_ASSIGN_OR_RETURN(bool eski_var,
                        KlasorDosyaVarmi(*o_.files, kok, klasor, m.eski_yedek_konumu, sirket, yil));
    if (eski_var) {
      bool sil = EskiYedegiSormadanSil;
      if (!sil) {
        const std::string soru = VeriKlasoru(kok, klasor, m.eski_yedek_konumu, sirket, yil) +
                                 kCrLf + kCrLf + "Klasöründe Eski Bir Yedek Bulundu!" + kCrLf +
                                 kCrLf + "Eski Yedeklerin Silinmesini İstiyormusunuz?";
        sil = o_.op->Show(soru, "Uyarı", op::Icon::kQuestion, op::Buttons::kYesNo, 2) ==
              op::Answer::kYes;
        if (!sil) IptalEdildi = true;
      }
      if (sil) {
        std::vector<std::string> silinenler;
        PX_RETURN_IF_ERROR(KlasorDosyalariniSil(*o_.files, kok, klasor, m.eski_yedek_konumu, sirket,
                                                yil, &silinenler)
                               .status());
        if (m.klasor == "Demirbas") {
          PX_RETURN_IF_ERROR(KlasorDosyalariniSil(*o_.files, kok, klasor, modules::kKonumData,
                                                  sirket, yil, &silinenler)
                                 .status());
        }
        EskiKayitlariSil(silinenler);
      }
    }
    if (!IptalEdildi) {
      ModulPaketle(klasor, paket, hedef, sirket, yil);
      const std::string ek_kok = Birlestir(kok, kEkDosyaKlasoru);
      std::vector<std::string> silinenler;
      for (int seviye :
           {modules::kKonumDataSirketYil, modules::kKonumDataSirket, modules::kKonumData}) {
        PX_RETURN_IF_ERROR(
            KlasorDosyalariniSil(*o_.files, ek_kok, klasor, seviye, sirket, yil, &silinenler)
                .status());
      }
      EskiKayitlariSil(silinenler);
      EkDosyalariYedekle(klasor, paket, hedef, sirket, yil);
      PX_RETURN_IF_ERROR(ManifestYaz());
    }
    Durum(m, "Tamam");
  }
  return Status::Ok();
}

YedekSonucu Yedekleme::YedeklemeBaslat(const YedekGirdisi& girdi) {
  sonuc_ = YedekSonucu{};
  op::Operator& op = *o_.op;
  for (const char* ortak : {"\\Genel\\Data\\DonemAc.mdb", "\\Genel\\Data\\YedekDosya.ini"}) {
    const std::string yol = o_.kok + ortak;
    if (!o_.files->Exists(yol)) {
      op.Show(yol + " Dosyası Bulunamadı!", "HATA", op::Icon::kCritical, op::Buttons::kOk, 1);
      sonuc_.hata_gosterildi = true;
      return sonuc_;
    }
  }
  const std::string paket = Kirp(girdi.paket_adi);
  const std::string sirket = Kirp(girdi.sirket);
  const std::string yil = Kirp(girdi.yil);
  const std::string hedef = Kirp(girdi.hedef);
  const std::pair<bool, const char*> denetimler[] = {
      {paket.empty(), "Yedek Paket Adı Bölümü Dolu Olmalı!"},
      {sirket.empty(), "Şirket No Bölümü Dolu Olmalı!"},
      {yil.empty(), "Yıl Bölümü Bolu Olmalı!"},
      {hedef.empty(), "Yedeklerin Kopyalanacağı Klasör Adı Bölümü Bolu Olmalı!"},
      {Utf8Length(sirket) != 3, "Şirket No Üç Haneli Olmalı!"},
      {Utf8Length(yil) != 4, "Yıl Dört Haneli Olmalı!"},
  };
  for (const auto& [hatali, mesaj] : denetimler) {
    if (hatali) {
      sonuc_.girdi_hatali = true;
      op.Show(mesaj, "Uyarı", op::Icon::kInformation, op::Buttons::kOk, 1);
      return sonuc_;
    }
  }
  const std::string onay =
      std::string("DİKKAT") + kCrLf +
      "Yedekleme yapılan firmayla ilgili kayıt girişi, iptal, kaydı değiştirme gibi işlemlere "
      "ara verilmelidir." +
      kCrLf + "Aksi halde yedeklenen kayıtlarda tutarsızlıklara neden olunacaktır." + kCrLf +
      kCrLf + "Yedekleme işlemini başlatmak istiyormusunuz?";
  if (op.Show(onay, "Pergonix Yedek", op::Icon::kQuestion, op::Buttons::kYesNo, 2) !=
      op::Answer::kYes) {
    sonuc_.reddedildi = true;
    return sonuc_;
  }
  EskiYedegiSormadanSil = girdi.eski_yedegi_sormadan_sil;
  SikistirmaSecili = girdi.sikistir;
  IptalEdildi = false;
  secili = girdi.secili;

  auto bitir = [&](const Status& st) {
    if (!st.ok()) HataGoster(st);
    sonuc_.iptal_edildi = IptalEdildi;
    katalog.reset();
    return sonuc_;
  };
  SonCevabiTutan izleyen(op);
  auto uygun = folders::SurucuKlasorKontrol(hedef, *o_.fs, izleyen);
  if (!uygun.ok()) return bitir(uygun.status());
  if (!*uygun) {
    // Either the operator declined to create the folder, or the drive cannot be used.
    const bool soruydu = izleyen.son_kutu && izleyen.son_kutu->icon == op::Icon::kQuestion;
    (soruydu ? sonuc_.reddedildi : sonuc_.hata_gosterildi) = true;
    return sonuc_;
  }
  sonuc_.basladi = true;
  auto acilan = o_.ac(o_.kok + "\\genel\\data\\DonemAc.mdb");
  if (!acilan.ok()) return bitir(acilan.status());
  katalog = std::move(*acilan);
  if (auto hazir = folders::AltKlasorHazirla(paket, hedef, *o_.fs, op); !hazir.ok()) {
    return bitir(hazir.status());
  }
  const std::string paket_yolu = Birlestir(hedef, paket);
  if (Status st = ArtiklariTemizle(*o_.files, paket_yolu); !st.ok()) return bitir(st);
  auto manifest = Manifest::Oku(*o_.files, paket_yolu);
  if (!manifest.ok()) return bitir(manifest.status());
  manifest_ = std::make_unique<Manifest>(std::move(*manifest));

  if (girdi.tum_sirketler) {
    std::vector<std::string> sirketler;
    auto sirket_db = o_.ac(o_.kok + "\\Genel\\Data\\sirket.mdb");
    if (!sirket_db.ok()) return bitir(sirket_db.status());
    if (Status st = SirketNumaralariniAl(**sirket_db, sirketler); !st.ok()) return bitir(st);
    for (const std::string& s : sirketler) {
      for (const modules::Modul& m : modules::Moduller()) Durum(m, "");
      if (Status st = SirketYedekle(hedef, paket, s, yil); !st.ok()) return bitir(st);
    }
  } else if (Status st = SirketYedekle(hedef, paket, sirket, yil); !st.ok()) {
    return bitir(st);
  }
  katalog.reset();
  op.SetStatus("Yedekleme İşlemi Tamamlandı.");
  sonuc_.tamamlandi = true;
  sonuc_.iptal_edildi = IptalEdildi;
  return sonuc_;
}

}  // namespace px::backup
