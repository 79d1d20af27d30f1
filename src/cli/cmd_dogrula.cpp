// dogrula: a backup package checked against its manifest, file by file.
#include <iostream>

#include "backup/dogrula.h"
#include "backup/dosyalar.h"
#include "cli/commands.h"

namespace px::cli {
namespace {

void Dogrula(const std::string& paket) {
  auto sonuc = backup::PaketiDogrula(backup::HostFiles(), paket);
  if (!sonuc.ok()) Fail(sonuc.status());
  for (const std::string& s : sonuc->sorunlar) std::cout << s << "\n";
  std::cout << sonuc->denetlenen << " dosya denetlendi, " << sonuc->sorunlar.size() << " sorun\n";
  std::cout.flush();
  if (!sonuc->temiz()) throw CLI::RuntimeError(kExitError);
}

}  // namespace

void AddDogrulaCommand(CLI::App& app) {
  auto* cmd = app.add_subcommand("dogrula", "check a backup package against its manifest");
  static std::string paket;
  cmd->add_option("PAKET_KLASORU", paket, "the package folder (target + \\ + package name)")
      ->required();
  cmd->callback([] { Dogrula(paket); });
}

}  // namespace px::cli
