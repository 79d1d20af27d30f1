#pragma once
// Where a module's databases live: the catalog rows of tablo_veritabani_bilgileri for one
// module, with their location level, and the Access path and SQL Server name they give for
// a company and year.

#include <string>
#include <vector>

#include "core/result.h"
#include "db/connection.h"

namespace px::modules {

// Location levels of a module database.
inline constexpr int kKonumYok = 0;            // an unknown VeritabaniKonum
inline constexpr int kKonumData = 2;           // module-wide
inline constexpr int kKonumDataSirket = 3;     // per company
inline constexpr int kKonumDataSirketYil = 4;  // per company and year

struct ModulVeritabani {
  std::string access_adi;      // VeritabaniAccessAdi, with ".mdb"
  std::string sql_server_adi;  // VeritabaniSqlServerAdi, before year and company
  int konum = kKonumYok;
  bool operator==(const ModulVeritabani&) const = default;
};

// "Data" 2, "DataSirket" 3, "DataSirketYil" 4, compared exactly; anything else 0.
int KonumSeviyesi(const std::string& veritabani_konum);

// Appends to `liste` one entry per catalog row of the module (folder name), in the order
// the catalog returns them. `tanim` receives the description of the last row read.
Status ModulVeritabanlariniOku(db::Connection& katalog, const std::string& modul_klasoru,
                               std::vector<ModulVeritabani>& liste, std::string* tanim = nullptr);

// root + "\" + folder + "\Data\" [+ company + "\" [+ year + "\"]] + file; empty for level 0.
std::string AccessVeritabaniYolu(const std::string& kok, const std::string& modul_klasoru,
                                 const std::string& access_adi, const std::string& sirket,
                                 const std::string& yil, int konum);

// base [+ year] + company by level: X, X001, X2009001; empty for level 0.
std::string SqlServerVeritabaniAdi(const std::string& taban, const std::string& sirket,
                                   const std::string& yil, int konum);

}  // namespace px::modules
