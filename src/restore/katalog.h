#pragma once
// Tables and columns of a module database made from the schema catalog in DonemAc.mdb
// (tablo_veritabani_tablo_bilgileri, tablo_veritabani_saha_bilgileri): created in a new
// database, or added where an existing one lacks them. Columns are never dropped or
// altered. Nothing is caught here: the first failing call ends the operation and its error
// goes to the caller, whose transaction decides what stays.

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "core/result.h"
#include "db/connection.h"
#include "db/database.h"
#include "restore/sql_metinleri.h"

namespace px::restore {

// The definition's tables in TabloAdi order.
Result<std::vector<std::string>> KatalogTablolari(db::Connection& katalog, std::string_view tanim);
// A table's columns in SahaPozisyonu order, which is text order ("10" before "2"), every
// cell read as text (a null is "").
Result<std::vector<KatalogSahasi>> KatalogSahalari(db::Connection& katalog, std::string_view tablo,
                                                   std::string_view tanim);

// The column ADOX would append for a catalog row: type by SahaVeriTuru, "Jet OLEDB:Allow
// Zero Length" on every column, Autoincrement for a key column flagged "E" and for an
// ordinary "Long" column flagged "E". A text column's SahaBoyu must be a 16-bit integer.
Result<db::NewColumn> AccessSahasi(const KatalogSahasi& saha);

// Every table of the definition in a new Access database: the table first, then each
// column, and for a key column a key named "PrimaryKey" on it.
Status AccessTablolariOlustur(db::Connection& katalog, db::Database& hedef, std::string_view tanim);

// Missing tables created as above, missing columns appended (names compared exactly, case
// included). A key column added to an existing table gets its "PrimaryKey" on the table this
// call created last; when none was created it stays an ordinary column and the table's own
// key is left as it is. `eklendi` tells whether anything was created or added.
Status AccessTablolariGuncelle(db::Connection& katalog, db::Database& hedef, std::string_view tanim,
                               bool& eklendi);

// The SQL Server forms, handing each statement to `calistir` and reading a table's columns
// through `sema` (empty when the table is missing).
using SqlCalistir = std::function<Status(const std::string& sql)>;
using SemaSorgusu = std::function<Result<std::vector<db::SchemaColumn>>(const std::string& tablo)>;
Status SqlTablolariOlustur(db::Connection& katalog, std::string_view tanim,
                           const SqlCalistir& calistir);
Status SqlTablolariGuncelle(db::Connection& katalog, std::string_view tanim,
                            const SemaSorgusu& sema, const SqlCalistir& calistir, bool& eklendi);

// Creates the SQL Server database of a catalog row on the administrative connection unless
// `var_mi` says a database of its name exists: true when the CREATE DATABASE ran. A server
// version without a statement sends an empty command, which fails like any other failed
// execution: false, and the import that follows reports its own errors.
bool SqlVeritabaniYarat(const std::string& taban, const std::string& sirket, const std::string& yil,
                        const std::string& konum, int surum, const std::string& data_klasoru,
                        const std::function<bool(const std::string& ad)>& var_mi,
                        const SqlCalistir& calistir);

}  // namespace px::restore
