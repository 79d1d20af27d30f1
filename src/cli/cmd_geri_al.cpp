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
#include "restore/geri_al.h"
#include "settings/baglanti_acici.h"
#include "settings/veritabani_bilgisi.h"

// The module databases change through the Access engine's write side; a build without it
// (its page store is what the writer is made of) refuses the two restore runs.
#if __has_include("db/access_database.h") && __has_include("jet/page_store.h")
#include "db/access_database.h"
#include "db/group_commit.h"
#include "platform/files.h"
#include "platform/host_path.h"
#include "platform/utf8_path.h"
#define PX_HAVE_ACCESS_POOL 1
#endif

namespace px::cli {
namespace {

constexpr int kExitDeclined = 3;
constexpr int kExitUsage = 2;

// The options are bound straight to the runs' inputs; the modules are ticked from
// `moduller` once the package is known.
struct GeriAlSecenekleri {
  restore::GeriAlGirdileri geri_al;  // also paket listele's --kaynak and --paket
  restore::YilGeriAlGirdileri yil;
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

// The folder of the copies taken before a run's changes: the work area + "\GeriAlOncesi\" +
// the run's start as "YYYYMMDD-HHMMSS"; a run in the same second as an earlier one gets
// "-2", "-3", ... so that it never writes over the earlier run's copies.
[[maybe_unused]] std::string OncekiKopyaKlasoru(FileSystem& fs, const std::string& kok) {
  const std::time_t t = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  const std::tm tm = platform::LocalParts(t);
  char buf[32];
  std::strftime(buf, sizeof buf, "%Y%m%d-%H%M%S", &tm);
  const std::string klasor = kok + "\\GeriAlOncesi\\" + buf;
  std::string aday = klasor;
  for (int n = 2; fs.FolderExists(aday); ++n) aday = klasor + "-" + std::to_string(n);
  return aday;
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

#ifdef PX_HAVE_ACCESS_POOL
// The commit record dealt with, then the modules' data folders (their company and year
// folders included) swept.
Status ArtiklariTemizle(const std::string& kok, const std::string& kayit) {
  PX_ASSIGN_OR_RETURN(std::filesystem::path kayit_yolu, ToHostPath(kayit));
  std::vector<std::string> klasorler;
  for (const auto& m : modules::Moduller()) {
    auto klasor = ToHostPath(kok + "\\" + std::string(m.klasor) + "\\Data");
    if (klasor.ok()) klasorler.push_back(Utf8FromPath(*klasor));
  }
  return db::RemoveStaleLeftovers(platform::SystemFiles(), Utf8FromPath(kayit_yolu), klasorler, 2);
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
  // A module's databases commit together through a record in the work area, where the next
  // run finishes a commit this one could not; what killed runs left beside the modules'
  // databases goes with it.
  const std::string kayit = db::SuiteCommitRecord(ayarlar.CalismaAlani());
  if (Status s = ArtiklariTemizle(ayarlar.CalismaAlani(), kayit); !s.ok()) {
    std::cerr << "warning: " << s.ToString() << "\n";
  }
  auto havuz = db::NewAccessDatabasePool(platform::SystemFiles(), kayit);
  const GeciciKlasor gecici = GeciciKlasoruAl();
  restore::Ortam ortam{fs,
                       dosyalar,
                       *havuz,
                       ConsoleOperator(),
                       [](const std::string& yol) { return db::OpenAccessConnection(yol); },
                       ayarlar.CalismaAlani(),
                       ayarlar.VeriTabaniTuru(),
                       gecici.yol,
                       onceki_kopya ? OncekiKopyaKlasoru(fs, ayarlar.CalismaAlani()) : "",
                       {},
                       nullptr,
                       {}};
  if (Status s = restore::OncekiKopyaArtiklariniSil(dosyalar, ayarlar.CalismaAlani()); !s.ok()) {
    std::cerr << "warning: " << s.ToString() << "\n";
  }
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
    restore::GeriAlGirdileri g = o.geri_al;
    const std::string ps = g.paket_sirket.empty() ? g.sirket : g.paket_sirket;
    const std::string py = g.paket_yil.empty() ? g.yil : g.paket_yil;
    g.moduller = Secimler(PaketModulleri(ortam.fs, g.kaynak + "\\" + g.paket, ps, py), secili);
    Bitir(restore::GeriAlBaslat(ortam, g));
  });
}

void YilGeriAlKomutu(const GeriAlSecenekleri& o) {
  const auto secili = SeciliAdlar(o.moduller);
  OrtamIle(true, [&](restore::Ortam& ortam) {
    restore::YilGeriAlGirdileri g = o.yil;
    const std::string paket_klasoru = g.kaynak + "\\" + g.paket;
    std::vector<std::string> mevcut;
    for (const auto& sirket : restore::PaketSirketleri(ortam.dosyalar, paket_klasoru)) {
      for (const auto& ad : PaketModulleri(ortam.fs, paket_klasoru, sirket, g.kaynak_yil)) {
        if (std::find(mevcut.begin(), mevcut.end(), ad) == mevcut.end()) mevcut.push_back(ad);
      }
    }
    // In the module table's order, as the window lists them.
    std::vector<std::string> sirali;
    for (const auto& m : modules::Moduller()) {
      if (std::find(mevcut.begin(), mevcut.end(), m.ad) != mevcut.end()) sirali.emplace_back(m.ad);
    }
    g.moduller = Secimler(sirali, secili);
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
  listele->add_option("--kaynak", o->geri_al.kaynak, "folder holding the packages")->required();
  listele->add_option("--paket", o->geri_al.paket, "package name");
  listele->callback([o] { PaketListele(o->geri_al.kaynak, o->geri_al.paket); });

  auto* geri_al =
      app.add_subcommand("geri-al", "restore a package's modules into a company and year");
  geri_al->add_option("--kaynak", o->geri_al.kaynak, "folder holding the packages")->required();
  geri_al->add_option("--paket", o->geri_al.paket, "package name")->required();
  geri_al->add_option("--sirket", o->geri_al.sirket, "company restored into")->required();
  geri_al->add_option("--yil", o->geri_al.yil, "year restored into")->required();
  geri_al->add_option("--paketteki-sirket", o->geri_al.paket_sirket,
                      "the package's company (default: --sirket)");
  geri_al->add_option("--paketteki-yil", o->geri_al.paket_yil,
                      "the package's year (default: --yil)");
  geri_al->add_flag("--onaysiz", o->geri_al.onaysiz,
                    "one overall warning instead of one question per module");
  geri_al->add_option("--modul", o->moduller,
                      "module folder names (default: every module the package holds)");
  geri_al->add_flag("--onceki-kopya-yok", o->onceki_kopya_yok,
                    "keep no copy of the databases before they change");
  geri_al->callback([o] { GeriAl(*o); });

  auto* yil = app.add_subcommand(
      "yil-geri-al", "restore every company of one year of a package into another year");
  yil->add_option("--kaynak", o->yil.kaynak, "folder holding the packages")->required();
  yil->add_option("--paket", o->yil.paket, "package name")->required();
  yil->add_option("--kaynak-yil", o->yil.kaynak_yil, "the package's year")->required();
  yil->add_option("--hedef-yil", o->yil.hedef_yil, "year restored into")->required();
  yil->add_option("--veritabani-turu", o->yil.hedef_turu, "Access or SQLServer")
      ->check(CLI::IsMember({"Access", "SQLServer"}));
  yil->add_flag("--onaysiz", o->yil.onaysiz, "no question per module and company");
  yil->add_option("--modul", o->moduller,
                  "module folder names (default: every module the package holds)");
  yil->callback([o] { YilGeriAlKomutu(*o); });
}

}  // namespace px::cli
