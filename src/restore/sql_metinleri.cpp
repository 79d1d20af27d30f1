#include "restore/sql_metinleri.h"

#include <algorithm>
#include <variant>

#include "db/field_index.h"
#include "db/text_of.h"

namespace px::restore {
namespace {

bool Evet(const std::string& bayrak) {
  return bayrak == "E";
}

// Type text of an ordinary column in CREATE TABLE; only "money " ends in a blank.
std::string SiradanTur(const KatalogSahasi& s) {
  if (s.tur == "String") return "nvarchar(" + s.boy + ")";
  if (s.tur == "Double") return "float";
  if (s.tur == "Byte") return "tinyint";
  if (s.tur == "Integer") return "smallint";
  if (s.tur == "Long") return "int";
  if (s.tur == "Single") return "real";
  if (s.tur == "Boolean") return "bit";
  if (s.tur == "Currency") return "money ";
  return "";
}

// Type text of a key column in CREATE TABLE: each ends in a blank.
std::string AnahtarTur(const KatalogSahasi& s) {
  if (s.tur == "Currency") return "money ";
  const std::string tur = SiradanTur(s);
  return tur.empty() ? tur : tur + " ";
}

// Type text in ALTER TABLE: upper case, a Double is added as text, "money " stays lower.
std::string EkTur(const KatalogSahasi& s) {
  if (s.tur == "String" || s.tur == "Double") return "NVARCHAR(" + s.boy + ") ";
  if (s.tur == "Byte") return "TINYINT ";
  if (s.tur == "Integer") return "SMALLINT ";
  if (s.tur == "Long") return "INT ";
  if (s.tur == "Single") return "REAL ";
  if (s.tur == "Boolean") return "BIT ";
  if (s.tur == "Currency") return "money ";
  return "";
}

bool SqlServerMi(std::string_view tur) {
  return tur == kSqlServer;
}

// The quoted text of a value, made only when the statement's text is read: a backend that
// takes the value itself never makes it.
void DuzMetin(const Value& deger, std::string& out) {
  if (const auto* metin = std::get_if<std::string>(&deger)) {
    out.assign(*metin);
  } else {
    out = db::TextOf(deger);
  }
  std::replace(out.begin(), out.end(), '\'', '"');  // never an apostrophe
}

void ParaMetni(const Value& deger, std::string& out) {
  out = ParaMetniDuzelt(db::TextOf(deger));
}

}  // namespace

std::string ParaMetniDuzelt(std::string_view metin) {
  std::string s(metin);
  for (char& c : s) {
    if (c == '.') c = ',';
  }
  const size_t son = s.rfind(',');
  if (son == std::string::npos) return s;
  s[son] = '.';
  return s;
}

Status InsertDegeriKoy(const FieldInfo& saha, const Value& deger, db::SqlExpr& out) {
  if (std::holds_alternative<Binary>(deger)) {
    return Status::NotSupported("field " + saha.name +
                                " holds binary data, which INSERT text cannot carry");
  }
  using Kind = db::SqlExpr::Kind;
  const bool bos = IsNull(deger);
  out.text.clear();
  out.kind = Kind::kNull;
  out.bound = &deger;
  out.text_of_bound = nullptr;
  if (bos && saha.ado_type != ado::kVarWChar) return Status::Ok();
  switch (saha.ado_type) {
    case ado::kBoolean:
      out.kind = Kind::kNumber;
      if (const bool* b = std::get_if<bool>(&deger)) {
        out.text = *b ? "1" : "0";
      } else {
        out.text = db::TextOf(deger) == "0" ? "0" : "1";
      }
      break;
    case ado::kCurrency:
      out.kind = Kind::kMoney;
      out.text_of_bound = ParaMetni;
      break;
    default:
      out.kind = Kind::kText;
      if (!bos) out.text_of_bound = DuzMetin;
      break;
  }
  return Status::Ok();
}

Result<std::string> InsertDegeri(const FieldInfo& saha, const Value& deger) {
  db::SqlExpr e;
  PX_RETURN_IF_ERROR(InsertDegeriKoy(saha, deger, e));
  return db::ExprText(e);
}

Status InsertKomutu(std::string_view tablo, const std::vector<FieldInfo>& sahalar, const Row& satir,
                    db::InsertStatement& komut) {
  if (satir.size() < sahalar.size()) {
    return Status::InvalidArgument("a row of " + std::string(tablo) + " has " +
                                   std::to_string(satir.size()) + " values for " +
                                   std::to_string(sahalar.size()) + " fields");
  }
  bool ayni = komut.table == tablo && komut.columns.size() == sahalar.size();
  for (size_t i = 0; ayni && i < sahalar.size(); ++i) ayni = komut.columns[i] == sahalar[i].name;
  if (!ayni) {
    komut.table = std::string(tablo);
    komut.columns.clear();
    for (const FieldInfo& saha : sahalar) komut.columns.push_back(saha.name);
  }
  komut.values.resize(sahalar.size());
  for (size_t i = 0; i < sahalar.size(); ++i) {
    PX_RETURN_IF_ERROR(InsertDegeriKoy(sahalar[i], satir[i], komut.values[i]));
  }
  return Status::Ok();
}

Result<std::string> InsertMetni(std::string_view tablo, const std::vector<FieldInfo>& sahalar,
                                const Row& satir) {
  db::InsertStatement komut;
  PX_RETURN_IF_ERROR(InsertKomutu(tablo, sahalar, satir, komut));
  return db::InsertText(komut);
}

std::string SqlTabloOlusturMetni(std::string_view tablo,
                                 const std::vector<KatalogSahasi>& sahalar) {
  std::string sql = "CREATE TABLE " + std::string(tablo) + " ( ";
  for (size_t i = 0; i < sahalar.size(); ++i) {
    const KatalogSahasi& s = sahalar[i];
    sql += "[" + s.ad + "] ";
    if (!Evet(s.birincil)) {
      sql += SiradanTur(s);
    } else {
      sql += AnahtarTur(s);
      sql += Evet(s.otomatik) ? "IDENTITY PRIMARY KEY CLUSTERED" : "PRIMARY KEY CLUSTERED";
    }
    if (i + 1 != sahalar.size()) sql += ", ";
  }
  sql += ")";
  return sql;
}

std::string SqlSahaEkleMetni(std::string_view tablo, const KatalogSahasi& s) {
  // The tail compares with "Evet" while the catalog writes "E": a column added here is never
  // an identity column. Databases made so far all went through this, so it stays.
  const bool kimlik = s.tur == "Long" && s.otomatik == "Evet";
  return "ALTER TABLE " + std::string(tablo) + " ADD " + s.ad + " " + EkTur(s) +
         (kimlik ? "IDENTITY " : "NULL");
}

std::string SqlVeritabaniAdi(std::string_view taban, std::string_view sirket, std::string_view yil,
                             std::string_view konum) {
  if (konum == "Data") return std::string(taban);
  if (konum == "DataSirket") return std::string(taban) + std::string(sirket);
  if (konum == "DataSirketYil") return std::string(taban) + std::string(yil) + std::string(sirket);
  return "";
}

std::string SqlVeritabaniYaratMetni(std::string_view ad, std::string_view data_klasoru, int surum) {
  std::string boyut;
  if (surum == 8) {
    boyut = "SIZE = 1MB, FILEGROWTH = 20%)";
  } else if (surum == 0 || surum == 9 || surum == 10) {
    boyut = "SIZE = 3MB, FILEGROWTH = 20%)";
  } else {
    return "";
  }
  const std::string n(ad);
  const std::string f(data_klasoru);
  return "CREATE DATABASE " + n + " " + "ON PRIMARY (NAME = " + n + "_data ,FILENAME = '" + f + n +
         ".mdf', " + boyut + " " + "LOG ON " + "(NAME = " + n + "_log, FILENAME = '" + f + n +
         ".ldf', " + boyut;
}

int SurumNumarasi(std::string_view v) {
  if (v.starts_with("8")) return 8;
  if (v.starts_with("9")) return 9;
  if (v.starts_with("10")) return 10;
  return 0;
}

namespace {

// The first column of the first row as text; "" without a row.
Result<std::string> IlkDeger(db::Connection& c, std::string_view sql, std::string_view sutun) {
  PX_ASSIGN_OR_RETURN(std::unique_ptr<RowSource> rows, c.Query(sql));
  size_t i = 0;
  if (!sutun.empty()) {
    PX_ASSIGN_OR_RETURN(i, db::FieldIndex(*rows, sutun, "the probe"));
  }
  Row row;
  if (!rows->Next(row)) {
    PX_RETURN_IF_ERROR(rows->status());
    return std::string();
  }
  if (i >= row.size()) return std::string();
  return db::TextOf(row[i]);
}

}  // namespace

Result<int> SqlServerSurumBul(db::Connection& master) {
  PX_ASSIGN_OR_RETURN(std::string surum, IlkDeger(master, kSurumSorgusu, ""));
  return SurumNumarasi(surum);
}

std::string SqlServerDataKlasoruBul(db::Connection& master) {
  (void)IlkDeger(master, kDataKlasoruSorgusu2005, "DataKlasoru");
  auto sonuc = IlkDeger(master, kDataKlasoruSorgusu2000, "DataKlasoru");
  return sonuc.ok() ? *sonuc : std::string();
}

std::string IsyeriKeyMetni(std::string_view eski, std::string_view yeni,
                           std::string_view veritabani_turu) {
  const std::string parca = SqlServerMi(veritabani_turu)
                                ? "' + SUBSTRING(strIsyeriKey,4,3), strIsyeriKodu = '"
                                : "' + MID(strIsyeriKey,4,3), strIsyeriKodu = '";
  return "UPDATE tablo_isyeri_bilgileri SET strIsyeriKey = '" + std::string(yeni) + parca +
         std::string(yeni) + "' WHERE strIsyeriKodu = '" + std::string(eski) + "'";
}

std::string ParametreKeyMetni(std::string_view eski, std::string_view yeni,
                              std::string_view veritabani_turu) {
  const std::string f = SqlServerMi(veritabani_turu) ? "SUBSTRING" : "MID";
  return "UPDATE tablo_personel_parametreleri SET strPersonelKey = " + f +
         "(strPersonelKey, 1, 2) + '" + std::string(yeni) + "' WHERE " + f +
         "(strPersonelKey, 3, 3) = '" + std::string(eski) + "'";
}

}  // namespace px::restore
