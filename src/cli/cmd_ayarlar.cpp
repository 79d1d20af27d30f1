// "ayarlar": the suite settings the program sees, as clsVeritabaniBilgisi loads them from
// "C:\pergonix\config.ini" (through the drive map) and the company database.
//   ayarlar           one Name=value a line, in the members' declaration order
//   ayarlar --json    one object whose keys are the member names
// The SQL Server password shows as ******** when it is not empty.
#include <iostream>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "cli/commands.h"
#include "cli/json.h"
#include "platform/host_path.h"
#include "platform/profile.h"
#include "settings/baglanti_acici.h"
#include "settings/veritabani_bilgisi.h"

namespace px::cli {
namespace {

// A member: its name, its text, and whether JSON shows it as a number.
struct Uye {
  std::string ad;
  std::string deger;
  bool sayi = false;
};

std::vector<Uye> Uyeler(const settings::clsVeritabaniBilgisi& b) {
  const std::string sifre = b.SqlServerKullaniciSifre().empty() ? "" : "********";
  return {
      {"CalismaAlani", b.CalismaAlani()},
      {"CalismaYili", b.CalismaYili()},
      {"SirketNo", b.SirketNo()},
      {"SQLServerAdi", b.SQLServerAdi()},
      {"KullaniciAdi", b.KullaniciAdi()},
      {"VeriTabaniTuru", b.VeriTabaniTuru()},
      {"SirketAdi", b.SirketAdi()},
      {"SirketFaxNo", b.SirketFaxNo()},
      {"SirketTelefonNo1", b.SirketTelefonNo1()},
      {"SirketTelefonNo2", b.SirketTelefonNo2()},
      {"SirketAdi2", b.SirketAdi2()},
      {"KullaniciDerecesi", std::to_string(b.KullaniciDerecesi()), true},
      {"VergiNo", b.VergiNo()},
      {"VergiDairesi", b.VergiDairesi()},
      {"Provider", b.Provider()},
      {"SqlServerKullanici", b.SqlServerKullanici()},
      {"SqlServerKullaniciSifre", sifre},
  };
}

// A malformed drive map or code page would otherwise read as a missing file.
void OrtamiDenetle() {
  if (auto cp = AnsiCodePage(); !cp.ok()) Fail(cp.status());
  if (auto yol = ToHostPath(settings::kConfigIni); !yol.ok() && !yol.status().IsNotFound()) {
    Fail(yol.status());
  }
}

void Yazdir(bool json) {
  OrtamiDenetle();
  settings::VeritabaniBilgisiOrtami ortam;
  ortam.op = &ConsoleOperator();
  settings::VeritabaniBaglantiAcici acici;
  ortam.acici = &acici;
  settings::clsVeritabaniBilgisi bilgi(std::move(ortam));
  std::string out;
  if (json) {
    out += '{';
    bool ilk = true;
    for (const Uye& u : Uyeler(bilgi)) {
      if (!ilk) out += ',';
      ilk = false;
      AppendJsonString(out, u.ad);
      out += ':';
      if (u.sayi) {
        out += u.deger;
      } else {
        AppendJsonString(out, u.deger);
      }
    }
    out += "}\n";
  } else {
    for (const Uye& u : Uyeler(bilgi)) out += u.ad + "=" + u.deger + "\n";
  }
  std::cout << out;
}

}  // namespace

void AddAyarlarCommand(CLI::App& app) {
  auto* cmd = app.add_subcommand("ayarlar", "Show the suite settings the program sees");
  auto json = std::make_shared<bool>(false);
  cmd->add_flag("--json", *json, "One JSON object whose keys are the member names");
  cmd->callback([json] { Yazdir(*json); });
}

}  // namespace px::cli
