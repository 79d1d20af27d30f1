#pragma once
// The steps of restoring one module: its data folders, its databases (created from the
// catalog when missing, brought up to the catalog when present), its table files put back
// one by one, its extra files, and the Personel module's key rewrite. Each step that changes
// a database does so through the module's ModulIslemi; an error ends the step and reaches
// the caller, which rolls the module back and shows it.

#include <string>

#include "core/result.h"
#include "db/connection.h"
#include "db/database.h"
#include "restore/ortam.h"

namespace px::restore {

// Where a module's files of one level are in a package, a backup tree or the suite:
// base + "\" + module + "\Data" [+ "\" + company [+ "\" + year]] by level 2, 3 or 4.
std::string SeviyeKlasoru(const std::string& taban, const std::string& modul, int konum,
                          const std::string& sirket, const std::string& yil);

// Creates root + "\" + module, + "\Data", + "\" + company, + "\" + year down to `seviye`
// (1 to 4), each only where missing; any other level does nothing.
Status ModulKlasorleriniHazirla(FileSystem& fs, const std::string& kok, const std::string& modul,
                                int seviye, const std::string& sirket, const std::string& yil);

// Whether the table has an identity column. On SQL Server the table is asked through
// "SELECT * FROM t WHERE 0=1"; on Access the Access table itself is asked whether it has an
// AutoNumber column, because a SQL Server connection cannot open an Access file.
Result<bool> KimlikSahasiVarmi(db::Database& veritabani, const std::string& tablo,
                               const std::string& veritabani_turu);

// Where one table file of a package goes: the module, the level of the folder it lies in,
// and the company and year it is restored into.
struct TabloHedefi {
  std::string modul;  // folder name
  int konum = 0;
  std::string sirket;
  std::string yil;
};

// Puts one table file back into its table: its rows counted (a file whose structure is
// damaged is refused here, before the table is touched), "DELETE FROM", then one INSERT per
// row (a table with one key and an identity column) or one added row. A value found damaged
// while the rows are added is an error too: the caller's rollback of the module puts the
// table back. A table the database lacks is left alone.
Status TabloGeriAl(Ortam& ortam, ModulIslemi& islem, db::Connection& katalog,
                   const std::string& taban, const std::string& tablo, const TabloHedefi& hedef,
                   const std::string& dosya_yolu, const std::string& gorunen_ad);

// Every table file of the package's folder `klasor` (a module's folder of one level), each
// name cut before its four-character extension and split at its first "-".
Status ModulDosyalariniGeriAl(Ortam& ortam, ModulIslemi& islem, db::Connection& katalog,
                              const std::string& klasor, const TabloHedefi& hedef);

// 2.2: creates the empty Access database at its place when no file is there (true), false
// when it exists; the new database is handed back through `yeni`.
Result<bool> AccessVeritabaniHazirla(Ortam& ortam, ModulIslemi& islem, const std::string& modul,
                                     const std::string& access_adi, const std::string& sirket,
                                     const std::string& yil, int konum, db::Database** yeni);

// Every database of the module in the catalog: a missing one created with its tables, an
// existing one given the tables and columns it lacks.
Status EksikAccessVeritabaniYarat(Ortam& ortam, ModulIslemi& islem, db::Connection& katalog,
                                  const std::string& modul, const std::string& sirket,
                                  const std::string& yil);

// The module's extra files of one level from source + "\" + package + "\Dosya\" + module +
// "\Data" [...] (the package's company and year) into the suite's data folder of the level
// (the target company and year); ".pbf" files decompressed on the way.
Status EkDosyalariGeriAl(Ortam& ortam, const std::string& modul, const std::string& paket_klasoru,
                         int konum, const std::string& paket_sirket, const std::string& paket_yil,
                         const std::string& sirket, const std::string& yil);

// Rewrites the Personel keys from the old to the new company number in the Personel
// database of the new company and the year; the dialect follows `veritabani_turu`, the
// database the settings' kind. Errors end it silently: a failed second UPDATE keeps the first.
void PersonelIsyeriKeyDuzelt(Ortam& ortam, ModulIslemi& islem, const std::string& eski,
                             const std::string& yeni, const std::string& yil,
                             const std::string& veritabani_turu);

}  // namespace px::restore
