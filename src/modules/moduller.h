#pragma once
// The suite's fifteen modules, in their fixed order: the display name the module lists
// show, the ASCII folder name every path is built from, the capitals the restore
// confirmations use, and the level at which the backup run looks for an older backup.

#include <array>
#include <string>
#include <string_view>

#include "modules/module_databases.h"
#include "platform/file_system.h"

namespace px::modules {

struct Modul {
  int sira;                   // 1-based row: the item index in the backup module list
  std::string_view ad;        // "Teknik Servis"
  std::string_view klasor;    // "Servis"
  std::string_view buyuk_ad;  // "TEKNİK SERVİS"
  int eski_yedek_konumu;      // kKonumDataSirketYil, kKonumDataSirket or kKonumData
};

inline constexpr size_t kModulSayisi = 15;

// Rows 1 to 15 in order.
const std::array<Modul, kModulSayisi>& Moduller();

// Exact lookups; nullptr for a name that is not in the table.
const Modul* ModulAdiyla(std::string_view ad);
const Modul* ModulKlasoruyle(std::string_view klasor);
const Modul* ModulSirasiyla(int sira);

// module folder + "\Data" [+ "\" + company [+ "\" + year]] by the module's old-backup level.
std::string EskiYedekKlasoru(const Modul& modul, std::string_view sirket, std::string_view yil);

// True when package + "\" + folder + "\Data" [+ "\" + company [+ "\" + year]] holds at
// least one file (sub-folders do not count). The company and year are left out when
// empty, the year also when the company is.
bool ModulPaketteVarmi(FileSystem& fs, std::string_view paket_yolu, std::string_view klasor,
                       std::string_view sirket, std::string_view yil);
bool ModulPaketteVarmi(std::string_view paket_yolu, std::string_view klasor,
                       std::string_view sirket, std::string_view yil);

}  // namespace px::modules
