#pragma once
// The layout of a backup package, shared by the backup and the restore:
//
//   target\package\<module>\Data[\<company>[\<year>]]\<base>-<table>.xbf | .pbf
//   target\package\Dosya\<module>\Data[\<company>[\<year>]]\<extra file>[.pbf]
//   target\package\PergonixYedek.json                  (the manifest)
//
// base is the database's file name less its last four characters; the level of a
// database (2 module-wide, 3 per company, 4 per company and year) picks the subfolders.
// Files named ".~" + name + ".tmp" are a write in progress or a killed run's leftover and
// never count as part of the package.

#include <string>
#include <string_view>
#include <vector>

#include "core/result.h"
#include "platform/files.h"

namespace px::backup {

inline constexpr char kManifestAdi[] = "PergonixYedek.json";
inline constexpr char kEkDosyaKlasoru[] = "Dosya";

// root + "\" + module + "\Data" [+ "\" + company [+ "\" + year]] by level, without a trailing
// separator; the root alone for an unknown level.
std::string VeriKlasoru(std::string_view kok, std::string_view modul, int konum,
                        std::string_view sirket, std::string_view yil);

// The database file name less its last four characters; an error naming the file when it is
// shorter than that.
Result<std::string> TabanAdi(std::string_view access_adi);

// base + "-" + table [+ ".xbf" | ".pbf"].
std::string TabloDosyaAdi(std::string_view taban, std::string_view tablo);
std::string TabloDosyaAdi(std::string_view taban, std::string_view tablo, bool sikistirilmis);

// Whether root\module\Data[\company[\year]] holds any file (temporary names and sub-folders
// do not count); false when the folder is missing.
Result<bool> KlasorDosyaVarmi(platform::FileLayer& files, std::string_view kok,
                              std::string_view modul, int konum, std::string_view sirket,
                              std::string_view yil);

// Deletes every file directly in that folder; true when there was any. `silinenler`
// receives the full paths deleted.
Result<bool> KlasorDosyalariniSil(platform::FileLayer& files, std::string_view kok,
                                  std::string_view modul, int konum, std::string_view sirket,
                                  std::string_view yil,
                                  std::vector<std::string>* silinenler = nullptr);

// Creates root\module\Data[\company[\year]] from the top down where missing.
Status KlasorZinciriHazirla(platform::FileLayer& files, std::string_view kok,
                            std::string_view modul, int konum, std::string_view sirket,
                            std::string_view yil);

}  // namespace px::backup
