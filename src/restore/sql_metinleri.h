#pragma once
// The SQL text the restore builds by plain concatenation: the INSERT of one backed-up row,
// the money text it carries, the SQL Server table and database statements made from the
// schema catalog, the two SQL Server probes, and the Personel key rewrite. Nothing here
// escapes or parameterises a value; the suite's statements never did, and the quirks of
// each text are kept because the databases already in use were made by them.

#include <string>
#include <string_view>
#include <vector>

#include "core/result.h"
#include "core/value.h"
#include "db/connection.h"
#include "db/write_sql.h"

namespace px::restore {

inline constexpr char kSqlServer[] = "SQLServer";
inline constexpr char kAccess[] = "Access";

// "." becomes ",", then the last "," becomes ".": 1.234,56 -> 1,234.56; 12,5 -> 12.5.
std::string ParaMetniDuzelt(std::string_view metin);

// One value of an INSERT by the field's ADO type: Boolean 1/0, Currency
// CAST('...' AS MONEY), a null variable-length text '' (never Null), every other null Null,
// everything else quoted. Quoted text has each apostrophe replaced by a double quote.
// Numbers carry a point, dates read "YYYY-MM-DD HH:MM:SS" (the time left out at midnight):
// the forms both database backends accept. Binary values have no text form: an error.
Result<std::string> InsertDegeri(const FieldInfo& saha, const Value& deger);

// "INSERT INTO t (a, [Key], c) Values ('x',1,Null)".
Result<std::string> InsertMetni(std::string_view tablo, const std::vector<FieldInfo>& sahalar,
                                const Row& satir);
// The same INSERT as its parts, the text's values without their quotes: InsertMetni() is
// db::InsertText() of it. Each value also points at its source in `satir` (SqlExpr::bound),
// which must live until the statement has run; the texts of quoted values and money are
// made from it only when read (db::LiteralText()). `komut` is reused row after row (the names
// are kept when the table and fields are the same).
Status InsertKomutu(std::string_view tablo, const std::vector<FieldInfo>& sahalar, const Row& satir,
                    db::InsertStatement& komut);

// One column row of tablo_veritabani_saha_bilgileri, every cell read as text.
struct KatalogSahasi {
  std::string ad;        // SahaAdi
  std::string boy;       // SahaBoyu
  std::string otomatik;  // SahaOtomatikSayi: "E" is yes
  std::string tur;       // SahaVeriTuru: "String", "Double", ... "Currency"
  std::string birincil;  // SahaPrimaryKey: "E" is yes
  bool operator==(const KatalogSahasi&) const = default;
};

// "CREATE TABLE t ( [a] nvarchar(50), [Id] int IDENTITY PRIMARY KEY CLUSTERED)".
std::string SqlTabloOlusturMetni(std::string_view tablo, const std::vector<KatalogSahasi>& sahalar);
// "ALTER TABLE t ADD a NVARCHAR(50) NULL".
std::string SqlSahaEkleMetni(std::string_view tablo, const KatalogSahasi& saha);

// The SQL Server database of a catalog row: X, X001 or X2009001 by VeritabaniKonum; empty for
// any other location.
std::string SqlVeritabaniAdi(std::string_view taban, std::string_view sirket, std::string_view yil,
                             std::string_view konum);
// The CREATE DATABASE for a server of major version 8 (1 MB files), 0, 9 or 10 (3 MB);
// empty for any other version. `data_klasoru` ends with the separator.
std::string SqlVeritabaniYaratMetni(std::string_view ad, std::string_view data_klasoru, int surum);

inline constexpr char kSurumSorgusu[] =
    "SELECT SERVERPROPERTY('productversion'), SERVERPROPERTY ('productlevel'), SERVERPROPERTY "
    "('edition')";
inline constexpr char kDataKlasoruSorgusu2005[] =
    "SELECT SUBSTRING(physical_name, 1, CHARINDEX(N'master.mdf', LOWER(physical_name)) - 1) AS "
    "DataKlasoru FROM master.sys.master_files WHERE database_id = 1 And file_id = 1";
inline constexpr char kDataKlasoruSorgusu2000[] =
    "SELECT SUBSTRING(filename, 1, CHARINDEX(N'master.mdf', LOWER(filename)) - 1) AS "
    "DataKlasoru FROM sysfiles WHERE fileid = 1 AND name = 'master'";

// 8, 9 or 10 for a product version starting so (tested in that order), else 0.
int SurumNumarasi(std::string_view urun_surumu);
// The server's major version through the version query on the "master" connection.
Result<int> SqlServerSurumBul(db::Connection& master);
// The server's data folder: the first query is run and its answer dropped, then the answer
// of the second wins, empty when it fails (an old server lacks the first view, a new one
// still answers the second).
std::string SqlServerDataKlasoruBul(db::Connection& master);

// The Personel key rewrite; the dialect follows `veritabani_turu` (MID, or SUBSTRING for
// "SQLServer").
std::string IsyeriKeyMetni(std::string_view eski, std::string_view yeni,
                           std::string_view veritabani_turu);
std::string ParametreKeyMetni(std::string_view eski, std::string_view yeni,
                              std::string_view veritabani_turu);

}  // namespace px::restore
