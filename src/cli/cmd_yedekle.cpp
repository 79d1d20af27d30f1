// yedekle: the backup tab's run from the command line, ending with the module table.
#include <iomanip>
#include <iostream>

#include "backup/dosyalar.h"
#include "backup/yedekleme.h"
#include "cli/commands.h"
#include "db/jet_connection.h"
#include "settings/baglanti_acici.h"
#include "settings/veritabani_bilgisi.h"

namespace px::cli {
namespace {

struct YedekleSecenekleri {
  std::string paket;
  std::string sirket;
  std::string yil;
  std::string hedef;
  bool tum_sirketler = false;
  bool sikistirma_yok = false;
  bool eski_yedekleri_sil = false;
  std::vector<std::string> moduller;
};

[[noreturn]] void Kullanim(const std::string& mesaj) {
  std::cerr << "pergonix-yedek yedekle: " << mesaj << "\n";
  throw CLI::RuntimeError(kExitUsage);
}

// Display names are as wide as their letters, not their bytes.
size_t Genislik(std::string_view s) {
  size_t n = 0;
  for (unsigned char c : s) n += (c & 0xC0) != 0x80;
  return n;
}

void ModulTablosu(const backup::YedekSonucu& sonuc) {
  std::cout << "Modül            Durum\n";
  for (const modules::Modul& m : modules::Moduller()) {
    std::cout << m.ad << std::string(17 - std::min<size_t>(16, Genislik(m.ad)), ' ')
              << sonuc.durum[m.sira - 1] << "\n";
  }
}

void Yedekle(const YedekleSecenekleri& s) {
  backup::YedekGirdisi girdi;
  girdi.paket_adi = s.paket;
  girdi.sirket = s.sirket;
  girdi.yil = s.yil;
  girdi.hedef = s.hedef;
  girdi.tum_sirketler = s.tum_sirketler;
  girdi.sikistir = !s.sikistirma_yok;
  girdi.eski_yedegi_sormadan_sil = s.eski_yedekleri_sil;
  if (!s.moduller.empty()) {
    girdi.secili.fill(false);
    for (const std::string& klasor : s.moduller) {
      const modules::Modul* m = modules::ModulKlasoruyle(klasor);
      if (m == nullptr) {
        std::string adlar;
        for (const auto& k : modules::Moduller()) adlar += " " + std::string(k.klasor);
        Kullanim("no module folder '" + klasor + "'; the folders are:" + adlar);
      }
      girdi.secili[m->sira - 1] = true;
    }
  }

  op::Operator& op = ConsoleOperator();
  settings::VeritabaniBilgisiOrtami ortam;
  ortam.op = &op;
  settings::VeritabaniBaglantiAcici acici;
  ortam.acici = &acici;
  settings::clsVeritabaniBilgisi bilgi(std::move(ortam));
  if (bilgi.VeriTabaniTuru() == "SQLServer") {
    Fail("the suite keeps its data on SQL Server; this build backs up Access suites only");
  }

  HostFileSystem fs;
  backup::YedekOrtami o;
  o.op = &op;
  o.fs = &fs;
  o.files = &backup::HostFiles();
  o.kok = bilgi.CalismaAlani();
  const GeciciKlasor gecici = GeciciKlasoruAl();
  o.gecici_klasor = gecici.yol;
  o.ac = [](const std::string& yol) { return db::OpenAccessConnection(yol); };
  o.program = std::string("pergonix-yedek ") + PX_VERSION;
  backup::Yedekleme yedekleme(std::move(o));
  const backup::YedekSonucu sonuc = yedekleme.YedeklemeBaslat(girdi);
  ModulTablosu(sonuc);
  std::cout.flush();
  int kod = kExitOk;
  if (sonuc.hata_gosterildi || (sonuc.basladi && !sonuc.tamamlandi)) {
    kod = kExitError;
  } else if (sonuc.iptal_edildi || sonuc.reddedildi) {
    kod = kExitCancelled;
  } else if (sonuc.girdi_hatali) {
    kod = kExitUsage;
  } else if (!sonuc.tamamlandi) {
    kod = kExitError;
  }
  if (kod != kExitOk) throw CLI::RuntimeError(kod);
}

}  // namespace

void AddYedekleCommand(CLI::App& app) {
  auto* cmd = app.add_subcommand("yedekle",
                                 "back up a company (or every company) and a year into a package");
  static YedekleSecenekleri s;
  cmd->add_option("--paket", s.paket, "package name (a folder below the target)");
  cmd->add_option("--sirket", s.sirket, "company number, three characters");
  cmd->add_option("--yil", s.yil, "year, four characters");
  cmd->add_option("--hedef", s.hedef, "target folder, such as D:\\Yedek");
  cmd->add_flag("--tum-sirketler", s.tum_sirketler, "every company of tblSirket");
  cmd->add_flag("--sikistirma-yok", s.sikistirma_yok, "plain .xbf files instead of .pbf");
  cmd->add_flag("--eski-yedekleri-sil", s.eski_yedekleri_sil,
                "delete older backups in the target without asking");
  cmd->add_option("--modul", s.moduller,
                  "module folder to back up (repeatable); every module when none is given");
  cmd->callback([] { Yedekle(s); });
}

}  // namespace px::cli
