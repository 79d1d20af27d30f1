#pragma once
// The backup run of the "Yedekle" tab: YedeklemeBaslat checks and confirms, then per company
// SirketYedekle walks the fifteen modules; ModulPaketle exports a module's databases
// (TabloDisaAktar), compresses them when asked (Sikistir) and copies them onto the medium
// with the drive-not-ready and disk-full dialogues; EkDosyalariYedekle brings the module's
// extra files listed in "YedekDosya.ini". The flows talk to the operator only through
// op::Operator, reach files only through a platform::FileLayer and databases only through
// db::Connection.
//
// With compression on, a table is compressed as it is exported: the staged file is the
// export's name + ".pbf" at once (one pass, deflate running in parallel with the XML), and
// it is then copied onto the medium; extra files are compressed by Sikistir.
//
// Paths are in the suite's Windows form. Every file lands whole or not at all (see
// backup/dosyalar.h); the manifest of the package is rewritten after each module.

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "backup/manifest.h"
#include "core/result.h"
#include "db/connection.h"
#include "modules/moduller.h"
#include "operator/operator.h"
#include "platform/file_system.h"
#include "platform/files.h"

namespace px::backup {

// Opens a module database or the catalog by its Access path.
using VeritabaniAcici =
    std::function<Result<std::unique_ptr<db::Connection>>(const std::string& yol)>;

// What the run needs from its surroundings.
struct YedekOrtami {
  op::Operator* op = nullptr;
  FileSystem* fs = nullptr;                // drives and the target folder checks
  platform::FileLayer* files = nullptr;    // every file read and written
  std::string kok;                         // the suite root (CalismaAlani)
  std::string gecici_klasor;               // the staging folder, ending with a separator
  VeritabaniAcici ac;                      // Access databases, catalog and company list
  std::string program = "pergonix-yedek";  // written into the manifest
};

// The inputs of the backup tab, as typed.
struct YedekGirdisi {
  std::string paket_adi;                             // Combo1
  std::string sirket;                                // Text1
  std::string yil;                                   // Text2
  std::string hedef;                                 // Text3
  bool tum_sirketler = false;                        // Check1
  bool sikistir = true;                              // Check3
  bool eski_yedegi_sormadan_sil = false;             // Check4
  std::array<bool, modules::kModulSayisi> secili{};  // ListView1 ticks, by row - 1
  YedekGirdisi() { secili.fill(true); }
};

// How a run ended.
struct YedekSonucu {
  bool basladi = false;          // past the checks, the confirmation and the folder check
  bool tamamlandi = false;       // "Yedekleme İşlemi Tamamlandı." was shown
  bool hata_gosterildi = false;  // an error box was shown
  bool iptal_edildi = false;     // IptalEdildi was set (a declined deletion or a Cancel)
  bool reddedildi = false;       // the operator answered No to the confirmation
  bool girdi_hatali = false;     // an input check stopped the run
  // Last "Durum" of each module, by row - 1.
  std::array<std::string, modules::kModulSayisi> durum{};
};

// The state the window keeps during a run; the procedures below read and write it.
class Yedekleme {
 public:
  explicit Yedekleme(YedekOrtami ortam);

  YedekSonucu YedeklemeBaslat(const YedekGirdisi& girdi);

  // One company: the fifteen modules in table order.
  Status SirketYedekle(const std::string& hedef, const std::string& paket,
                       const std::string& sirket, const std::string& yil);

  // Every non-empty user table of one module database into its own file below `hedef`; with
  // SikistirmaSecili, hedef + base-table + ".pbf" (the list entry is without the extension).
  Status TabloDisaAktar(const std::string& access_adi, const std::string& sql_adi, int konum,
                        const std::string& modul, const std::string& hedef,
                        const std::string& sirket, const std::string& yil);

  // A module's databases packaged onto the medium; errors are shown here and end the module.
  void ModulPaketle(const std::string& modul, const std::string& paket, const std::string& hedef,
                    const std::string& sirket, const std::string& yil);
  void EkDosyalariYedekle(const std::string& modul, const std::string& paket,
                          const std::string& hedef, const std::string& sirket,
                          const std::string& yil);

  // Compresses a file into a package file (zlib, level 5); `cikti` appears only when whole.
  // `sha256`, when given, receives the checksum of what was written, `bayt` its size.
  Status Sikistir(const std::string& girdi, const std::string& cikti, std::string* sha256 = nullptr,
                  uint64_t* bayt = nullptr);

  // Form state.
  bool SikistirmaSecili = false;
  bool EskiYedegiSormadanSil = false;
  bool IptalEdildi = false;
  std::vector<std::string> YedekDosyaListesi;
  int YedekDosyaSayisi = 0;
  bool YedekAlindi = false;
  std::unique_ptr<db::Connection> katalog;
  std::array<bool, modules::kModulSayisi> secili{};
  const YedekSonucu& sonuc() const { return sonuc_; }

 private:
  struct YazilanTablo {
    std::string ad;  // the list entry
    std::string tablo;
    int64_t satir = 0;
    uint64_t bayt = 0;
    std::string sha256;
  };
  enum class Surucu { kHazir, kIptal };

  void Durum(const modules::Modul& m, const char* durum);
  void HataGoster(const Status& st);
  Surucu SurucuBekle(const std::string& hedef, const std::function<Status()>& klasorleri_hazirla);
  bool DoluSor(const std::string& hedef);
  void Kaydet(const std::string& tam_yol, const char* tur, const std::string& modul,
              const std::string& sirket, const std::string& yil, const std::string& veritabani,
              const std::string& tablo, int64_t satir, uint64_t bayt, const std::string& sha256);
  void EskiKayitlariSil(const std::vector<std::string>& silinenler);
  Status ManifestYaz();
  // The commit a killed restore left in the work area, finished (db/group_commit.h).
  Status YarimKalanGeriAlmayiBitir();
  Status ModulPaketleIci(const std::string& modul, const std::string& paket,
                         const std::string& hedef, const std::string& sirket,
                         const std::string& yil);
  Status EkDosyalariYedekleIci(const std::string& modul, const std::string& paket,
                               const std::string& hedef, const std::string& sirket,
                               const std::string& yil);

  YedekOrtami o_;
  YedekSonucu sonuc_;
  std::unique_ptr<Manifest> manifest_;
  std::vector<YazilanTablo> yazilanlar_;  // the files of the last TabloDisaAktar
  std::string modul_adi_;                 // display name of the module at work
};

// "Hata Kodu: " + number + CRLF + "Açıklama: " + description, with the run-time error
// number the old program would have seen for such a failure (61 for a full disk).
int HataKodu(const Status& st);
std::string HataMetni(const Status& st);

}  // namespace px::backup
