// paket listele, geri-al, yil-geri-al: the packages in a folder and the two restore runs of
// the "Geri Al" tab, driven from the command line. Exit codes: 0 the run reached its end
// with every ticked module done, 1 an error box was shown, 3 the operator declined
// something, 2 usage.
#include <algorithm>
#include <chrono>
#include <ctime>
#include <iostream>
#include <memory>

#include "cli/commands.h"
#include "db/jet_connection.h"
#include "modules/moduller.h"
#include "platform/clock.h"
#include "platform/temp_path.h"
#include "restore/geri_al.h"
#include "settings/baglanti_acici.h"
#include "settings/veritabani_bilgisi.h"

// The module databases change through the Access engine's write side; a build without it
// (its page store is what the writer is made of) refuses the two restore runs.
#if __has_include("db/access_database.h") && __has_include("jet/page_store.h")
#include "db/access_database.h"
#include "platform/files.h"
#define PX_HAVE_ACCESS_POOL 1
#endif

// Table files are compared with the package's manifest where the backup side is built in.
#if __has_include("backup/manifest.h") && __has_include("backup/paket_duzeni.h") && \
                                                        __has_include("core/sha256.h")
#include "backup/manifest.h"
#include "backup/paket_duzeni.h"
#include "core/sha256.h"
#include "platform/files.h"
#include "platform/host_path.h"
#include "platform/text_case.h"
#define PX_HAVE_MANIFEST 1
#endif

namespace px::cli {
namespace {

constexpr int kExitDeclined = 3;
constexpr int kExitUsage = 2;

struct GeriAlSecenekleri {
  std::string kaynak, paket, sirket, yil, paketteki_sirket, paketteki_yil;
  std::string kaynak_yil, hedef_yil, veritabani_turu = "Access";
  bool onaysiz = false;
  bool onceki_kopya_yok = false;
  std::vector<std::string> moduller;  // folder names
};

std::vector<std::string> AltKlasorler(restore::Dosyalar& d, const std::string& klasor) {
  std::vector<std::string> out;
  if (auto g = d.Liste(klasor); g.ok()) {
    for (const auto& e : *g) {
      if (e.klasor) out.push_back(e.ad);
    }
  }
  return out;
}

// The years below any module's folder of a company in the package.
std::vector<std::string> PaketYillari(restore::Dosyalar& d, const std::string& paket_klasoru,
                                      const std::string& sirket) {
  std::vector<std::string> yillar;
  for (const auto& m : modules::Moduller()) {
    for (const auto& y :
         AltKlasorler(d, paket_klasoru + "\\" + std::string(m.klasor) + "\\Data\\" + sirket)) {
      if (std::find(yillar.begin(), yillar.end(), y) == yillar.end()) yillar.push_back(y);
    }
  }
  std::sort(yillar.begin(), yillar.end());
  return yillar;
}

std::vector<std::string> PaketModulleri(FileSystem& fs, const std::string& paket_klasoru,
                                        const std::string& sirket, const std::string& yil) {
  std::vector<std::string> out;
  for (const auto& m : modules::Moduller()) {
    if (restore::ModulPaketteVarmi(fs, paket_klasoru, std::string(m.klasor), sirket, yil)) {
      out.emplace_back(m.ad);
    }
  }
  return out;
}

void PaketListele(const std::string& kaynak, const std::string& paket) {
  HostFileSystem fs;
  restore::HostDosyalar d;
  if (!fs.FolderExists(kaynak)) Fail(kaynak + ": folder not found");
  if (paket.empty()) {
    for (const auto& p : AltKlasorler(d, kaynak)) std::cout << p << "\n";
    return;
  }
  const std::string paket_klasoru = kaynak + "\\" + paket;
  if (!fs.FolderExists(paket_klasoru)) Fail(paket_klasoru + ": package not found");
  std::cout << paket << "\n";
  for (const auto& sirket : restore::PaketSirketleri(d, paket_klasoru)) {
    if (sirket.empty()) continue;
    for (const auto& yil : PaketYillari(d, paket_klasoru, sirket)) {
      std::cout << "  " << sirket << " " << yil << ":";
      const auto moduller = PaketModulleri(fs, paket_klasoru, sirket, yil);
      for (size_t i = 0; i < moduller.size(); ++i) std::cout << (i ? ", " : " ") << moduller[i];
      std::cout << "\n";
    }
  }
}

[[maybe_unused]] std::string Damga() {
  const std::time_t t = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  const std::tm tm = platform::LocalParts(t);
  char buf[32];
  std::strftime(buf, sizeof buf, "%Y%m%d-%H%M%S", &tm);
  return buf;
}

// Folder names given with --modul as display names; a name not in the module table is a
// usage error.
std::vector<std::string> SeciliAdlar(const std::vector<std::string>& klasorler) {
  std::vector<std::string> adlar;
  for (const auto& k : klasorler) {
    const modules::Modul* m = modules::ModulKlasoruyle(k);
    if (m == nullptr) {
      std::cerr << "pergonix-yedek: unknown module folder " << k << "\n";
      throw CLI::RuntimeError(kExitUsage);
    }
    adlar.emplace_back(m->ad);
  }
  return adlar;
}

std::vector<restore::ModulSecimi> Secimler(const std::vector<std::string>& mevcut,
                                           const std::vector<std::string>& secili) {
  std::vector<restore::ModulSecimi> out;
  for (const auto& ad : mevcut) {
    out.push_back(
        {ad, secili.empty() || std::find(secili.begin(), secili.end(), ad) != secili.end()});
  }
  return out;
}

void ModulTablosu(const restore::GeriAlSonucu& s) {
  for (const auto& m : s.moduller) {
    std::cout << (m.sirket.empty() ? "" : m.sirket + " ") << m.modul << ": " << m.durum << "\n";
  }
  for (const auto& u : s.uyarilar) std::cout << "warning: " << u << "\n";
}

[[noreturn]] void Bitir(const restore::GeriAlSonucu& s) {
  ModulTablosu(s);
  if (s.hata) throw CLI::RuntimeError(kExitError);
  if (s.reddedildi || !s.sona_ulasti) throw CLI::RuntimeError(kExitDeclined);
  throw CLI::Success();
}

#ifdef PX_HAVE_MANIFEST
// The size and SHA-256 of a file as stored.
Result<std::pair<uint64_t, std::string>> Ozet(const std::string& yol) {
  PX_ASSIGN_OR_RETURN(auto host, ToHostPath(yol));
  PX_ASSIGN_OR_RETURN(auto dosya,
                      platform::SystemFiles().Open(host.string(), platform::OpenMode::kRead));
  Sha256 sha;
  std::vector<uint8_t> parca(size_t{1} << 16);
  uint64_t konum = 0;
  for (;;) {
    PX_ASSIGN_OR_RETURN(size_t n, dosya->ReadAt(konum, parca));
    if (n == 0) break;
    sha.Update(std::string_view(reinterpret_cast<const char*>(parca.data()), n));
    konum += n;
  }
  return std::make_pair(konum, sha.HexDigest());
}

// Each table file against its entry in the package's manifest: size, SHA-256 and rows. A
// package without a manifest is not compared; one that cannot be read is named once.
void ManifestleKarsilastir(restore::Ortam& ortam, const std::string& paket_klasoru) {
  const std::string ad = paket_klasoru + "\\" + backup::kManifestAdi;
  auto host = ToHostPath(ad);
  if (!host.ok()) return;
  auto metin = platform::ReadFileWhole(platform::SystemFiles(), host->string());
  if (!metin.ok()) {
    if (!metin.status().IsNotFound()) ortam.uyarilar.push_back(metin.status().message());
    return;
  }
  auto okunan = backup::Manifest::Coz(*metin, ad, paket_klasoru);
  if (!okunan.ok()) {
    ortam.uyarilar.push_back(okunan.status().message());
    return;
  }
  if (okunan->kayitlar().empty()) return;
  auto manifest = std::make_shared<backup::Manifest>(std::move(*okunan));
  ortam.dosya_denetle = [manifest](const std::string& yol,
                                   int64_t satir) -> std::optional<std::string> {
    const std::string goreli = manifest->GoreliYol(yol);
    const backup::ManifestKaydi* kayit = nullptr;
    for (const auto& k : manifest->kayitlar()) {
      if (EqualsIgnoreCase(k.yol, goreli)) kayit = &k;
    }
    if (kayit == nullptr) return yol + ": not in the package's manifest";
    auto ozet = Ozet(yol);
    if (!ozet.ok()) return yol + ": " + ozet.status().message();
    std::string fark;
    if (ozet->first != kayit->bayt)
      fark += ", " + std::to_string(ozet->first) + " bytes, the manifest says " +
              std::to_string(kayit->bayt);
    if (ozet->second != kayit->sha256) fark += ", SHA-256 differs";
    if (satir != kayit->satir)
      fark +=
          ", " + std::to_string(satir) + " rows, the manifest says " + std::to_string(kayit->satir);
    if (fark.empty()) return std::nullopt;
    return yol + ":" + fark.substr(1);
  };
}
#endif

template <typename Calistir>
void OrtamIle(bool onceki_kopya, Calistir calistir) {
#ifdef PX_HAVE_ACCESS_POOL
  settings::VeritabaniBilgisiOrtami so;
  so.op = &ConsoleOperator();
  settings::VeritabaniBaglantiAcici acici;
  so.acici = &acici;
  settings::clsVeritabaniBilgisi ayarlar(std::move(so));
  HostFileSystem fs;
  restore::HostDosyalar dosyalar;
  auto havuz = db::NewAccessDatabasePool(platform::SystemFiles());
  restore::Ortam ortam{fs,
                       dosyalar,
                       *havuz,
                       ConsoleOperator(),
                       [](const std::string& yol) { return db::OpenAccessConnection(yol); },
                       ayarlar.CalismaAlani(),
                       ayarlar.VeriTabaniTuru(),
                       TempPath(),
                       onceki_kopya ? ayarlar.CalismaAlani() + "\\GeriAlOncesi\\" + Damga() : "",
                       {},
                       nullptr,
                       {}};
  calistir(ortam);
  havuz->CloseAll();
#else
  (void)onceki_kopya;
  (void)calistir;
  Fail("this build has no Access write side: module databases cannot be changed");
#endif
}

void GeriAl(const GeriAlSecenekleri& o) {
  const auto secili = SeciliAdlar(o.moduller);
  OrtamIle(!o.onceki_kopya_yok, [&](restore::Ortam& ortam) {
    restore::GeriAlGirdileri g;
    g.paket = o.paket;
    g.sirket = o.sirket;
    g.yil = o.yil;
    g.kaynak = o.kaynak;
    g.paket_sirket = o.paketteki_sirket;
    g.paket_yil = o.paketteki_yil;
    g.onaysiz = o.onaysiz;
    const std::string ps = g.paket_sirket.empty() ? g.sirket : g.paket_sirket;
    const std::string py = g.paket_yil.empty() ? g.yil : g.paket_yil;
    g.moduller = Secimler(PaketModulleri(ortam.fs, o.kaynak + "\\" + o.paket, ps, py), secili);
#ifdef PX_HAVE_MANIFEST
    ManifestleKarsilastir(ortam, o.kaynak + "\\" + o.paket);
#endif
    Bitir(restore::GeriAlBaslat(ortam, g));
  });
}

void YilGeriAlKomutu(const GeriAlSecenekleri& o) {
  const auto secili = SeciliAdlar(o.moduller);
  OrtamIle(true, [&](restore::Ortam& ortam) {
    restore::YilGeriAlGirdileri g;
    g.paket = o.paket;
    g.kaynak = o.kaynak;
    g.kaynak_yil = o.kaynak_yil;
    g.hedef_yil = o.hedef_yil;
    g.onaysiz = o.onaysiz;
    g.hedef_turu = o.veritabani_turu;
    const std::string paket_klasoru = o.kaynak + "\\" + o.paket;
    std::vector<std::string> mevcut;
    for (const auto& sirket : restore::PaketSirketleri(ortam.dosyalar, paket_klasoru)) {
      for (const auto& ad : PaketModulleri(ortam.fs, paket_klasoru, sirket, o.kaynak_yil)) {
        if (std::find(mevcut.begin(), mevcut.end(), ad) == mevcut.end()) mevcut.push_back(ad);
      }
    }
    // In the module table's order, as the window lists them.
    std::vector<std::string> sirali;
    for (const auto& m : modules::Moduller()) {
      if (std::find(mevcut.begin(), mevcut.end(), m.ad) != mevcut.end()) sirali.emplace_back(m.ad);
    }
    g.moduller = Secimler(sirali, secili);
#ifdef PX_HAVE_MANIFEST
    ManifestleKarsilastir(ortam, paket_klasoru);
#endif
    Bitir(restore::YilGeriAl(ortam, g));
  });
}

}  // namespace

void AddGeriAlCommands(CLI::App& app) {
  auto o = std::make_shared<GeriAlSecenekleri>();

  auto* paket = app.add_subcommand("paket", "backup packages");
  paket->require_subcommand(1);
  auto* listele = paket->add_subcommand(
      "listele", "the packages in a folder; for one package its companies, years and modules");
  listele->add_option("--kaynak", o->kaynak, "folder holding the packages")->required();
  listele->add_option("--paket", o->paket, "package name");
  listele->callback([o] { PaketListele(o->kaynak, o->paket); });

  auto* geri_al =
      app.add_subcommand("geri-al", "restore a package's modules into a company and year");
  geri_al->add_option("--kaynak", o->kaynak, "folder holding the packages")->required();
  geri_al->add_option("--paket", o->paket, "package name")->required();
  geri_al->add_option("--sirket", o->sirket, "company restored into")->required();
  geri_al->add_option("--yil", o->yil, "year restored into")->required();
  geri_al->add_option("--paketteki-sirket", o->paketteki_sirket,
                      "the package's company (default: --sirket)");
  geri_al->add_option("--paketteki-yil", o->paketteki_yil, "the package's year (default: --yil)");
  geri_al->add_flag("--onaysiz", o->onaysiz,
                    "one overall warning instead of one question per module");
  geri_al->add_option("--modul", o->moduller,
                      "module folder names (default: every module the package holds)");
  geri_al->add_flag("--onceki-kopya-yok", o->onceki_kopya_yok,
                    "keep no copy of the databases before they change");
  geri_al->callback([o] { GeriAl(*o); });

  auto* yil = app.add_subcommand(
      "yil-geri-al", "restore every company of one year of a package into another year");
  yil->add_option("--kaynak", o->kaynak, "folder holding the packages")->required();
  yil->add_option("--paket", o->paket, "package name")->required();
  yil->add_option("--kaynak-yil", o->kaynak_yil, "the package's year")->required();
  yil->add_option("--hedef-yil", o->hedef_yil, "year restored into")->required();
  yil->add_option("--veritabani-turu", o->veritabani_turu, "Access or SQLServer")
      ->check(CLI::IsMember({"Access", "SQLServer"}));
  yil->add_flag("--onaysiz", o->onaysiz, "no question per module and company");
  yil->add_option("--modul", o->moduller,
                  "module folder names (default: every module the package holds)");
  yil->callback([o] { YilGeriAlKomutu(*o); });
}

}  // namespace px::cli
