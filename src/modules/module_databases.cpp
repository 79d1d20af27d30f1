#include "modules/module_databases.h"

#include <variant>

#include "db/jet_criteria.h"
#include "db/text_of.h"

namespace px::modules {
namespace {

Result<size_t> Column(const RowSource& rows, const char* name) {
  const auto& fields = rows.fields();
  for (size_t i = 0; i < fields.size(); ++i) {
    if (EqualsIgnoreCase(fields[i].name, name)) return i;
  }
  return Status::InvalidArgument(std::string("tablo_veritabani_bilgileri has no column ") + name);
}

std::string QuoteLiteral(const std::string& text) {
  return "'" + text + "'";
}

}  // namespace

int KonumSeviyesi(const std::string& konum) {
  if (konum == "Data") return kKonumData;
  if (konum == "DataSirket") return kKonumDataSirket;
  if (konum == "DataSirketYil") return kKonumDataSirketYil;
  return kKonumYok;
}

Status ModulVeritabanlariniOku(db::Connection& katalog, const std::string& modul_klasoru,
                               std::vector<ModulVeritabani>& liste, std::string* tanim) {
  // The module name goes into the statement as it is, between quotes.
  const std::string sql = "SELECT * FROM tablo_veritabani_bilgileri WHERE VeritabaniModulAdi = " +
                          QuoteLiteral(modul_klasoru);
  PX_ASSIGN_OR_RETURN(std::unique_ptr<RowSource> rows, katalog.Query(sql));
  PX_ASSIGN_OR_RETURN(size_t access_col, Column(*rows, "VeritabaniAccessAdi"));
  PX_ASSIGN_OR_RETURN(size_t sql_col, Column(*rows, "VeritabaniSqlServerAdi"));
  PX_ASSIGN_OR_RETURN(size_t konum_col, Column(*rows, "VeritabaniKonum"));
  PX_ASSIGN_OR_RETURN(size_t tanim_col, Column(*rows, "VeritabaniTanimi"));
  Row row;
  while (rows->Next(row)) {
    ModulVeritabani v;
    v.access_adi = db::TextOf(row[access_col]);
    v.sql_server_adi = db::TextOf(row[sql_col]);
    v.konum = KonumSeviyesi(db::TextOf(row[konum_col]));
    if (tanim != nullptr) *tanim = db::TextOf(row[tanim_col]);
    liste.push_back(std::move(v));
  }
  return rows->status();
}

std::string AccessVeritabaniYolu(const std::string& kok, const std::string& modul_klasoru,
                                 const std::string& access_adi, const std::string& sirket,
                                 const std::string& yil, int konum) {
  std::string path = kok + "\\" + modul_klasoru + "\\Data\\";
  switch (konum) {
    case kKonumData:
      break;
    case kKonumDataSirket:
      path += sirket + "\\";
      break;
    case kKonumDataSirketYil:
      path += sirket + "\\" + yil + "\\";
      break;
    default:
      return "";
  }
  return path + access_adi;
}

std::string SqlServerVeritabaniAdi(const std::string& taban, const std::string& sirket,
                                   const std::string& yil, int konum) {
  switch (konum) {
    case kKonumData:
      return taban;
    case kKonumDataSirket:
      return taban + sirket;
    case kKonumDataSirketYil:
      return taban + yil + sirket;
    default:
      return "";
  }
}

}  // namespace px::modules
