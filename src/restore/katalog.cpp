#include "restore/katalog.h"

#include <charconv>
#include <optional>

#include "db/field_index.h"
#include "db/text_of.h"

namespace px::restore {
namespace {

constexpr char kAnahtarAdi[] = "PrimaryKey";

bool Evet(const std::string& bayrak) {
  return bayrak == "E";
}

bool SemadaVar(const std::vector<db::SchemaColumn>& sema, const std::string& ad) {
  for (const auto& s : sema) {
    if (s.name == ad) return true;
  }
  return false;
}

// One table and all its columns, as a new database gets them.
Status TabloYarat(db::Connection& katalog, db::Database& hedef, const std::string& tablo,
                  std::string_view tanim) {
  PX_RETURN_IF_ERROR(hedef.CreateTable(tablo));
  PX_ASSIGN_OR_RETURN(auto sahalar, KatalogSahalari(katalog, tablo, tanim));
  for (const auto& saha : sahalar) {
    PX_ASSIGN_OR_RETURN(db::NewColumn sutun, AccessSahasi(saha));
    PX_RETURN_IF_ERROR(hedef.AppendColumn(tablo, sutun));
    if (Evet(saha.birincil))
      PX_RETURN_IF_ERROR(hedef.AppendPrimaryKey(tablo, kAnahtarAdi, saha.ad));
  }
  return Status::Ok();
}

}  // namespace

Result<std::vector<std::string>> KatalogTablolari(db::Connection& katalog, std::string_view tanim) {
  const std::string sql =
      "SELECT TabloAdi FROM tablo_veritabani_tablo_bilgileri WHERE VeritabaniTanimi ='" +
      std::string(tanim) + "' ORDER BY TabloAdi";
  PX_ASSIGN_OR_RETURN(auto rows, katalog.Query(sql));
  PX_ASSIGN_OR_RETURN(size_t ad,
                      db::FieldIndex(*rows, "TabloAdi", "tablo_veritabani_tablo_bilgileri"));
  std::vector<std::string> tablolar;
  Row row;
  while (rows->Next(row)) tablolar.push_back(db::TextOf(row[ad]));
  PX_RETURN_IF_ERROR(rows->status());
  return tablolar;
}

Result<std::vector<KatalogSahasi>> KatalogSahalari(db::Connection& katalog, std::string_view tablo,
                                                   std::string_view tanim) {
  const std::string sql =
      "SELECT SahaAdi,SahaBoyu,SahaOtomatikSayi,SahaVeriTuru,SahaPrimaryKey FROM "
      "tablo_veritabani_saha_bilgileri WHERE TabloAdi ='" +
      std::string(tablo) + "' AND VeritabaniTanim ='" + std::string(tanim) +
      "' ORDER BY SahaPozisyonu";
  PX_ASSIGN_OR_RETURN(auto rows, katalog.Query(sql));
  constexpr char kTablo[] = "tablo_veritabani_saha_bilgileri";
  PX_ASSIGN_OR_RETURN(size_t ad, db::FieldIndex(*rows, "SahaAdi", kTablo));
  PX_ASSIGN_OR_RETURN(size_t boy, db::FieldIndex(*rows, "SahaBoyu", kTablo));
  PX_ASSIGN_OR_RETURN(size_t otomatik, db::FieldIndex(*rows, "SahaOtomatikSayi", kTablo));
  PX_ASSIGN_OR_RETURN(size_t tur, db::FieldIndex(*rows, "SahaVeriTuru", kTablo));
  PX_ASSIGN_OR_RETURN(size_t birincil, db::FieldIndex(*rows, "SahaPrimaryKey", kTablo));
  std::vector<KatalogSahasi> sahalar;
  Row row;
  while (rows->Next(row)) {
    sahalar.push_back({db::TextOf(row[ad]), db::TextOf(row[boy]), db::TextOf(row[otomatik]),
                       db::TextOf(row[tur]), db::TextOf(row[birincil])});
  }
  PX_RETURN_IF_ERROR(rows->status());
  return sahalar;
}

Result<db::NewColumn> AccessSahasi(const KatalogSahasi& saha) {
  db::NewColumn c;
  c.name = saha.ad;
  if (saha.tur == "String") {
    int boy = 0;
    const char* son = saha.boy.data() + saha.boy.size();
    auto [p, ec] = std::from_chars(saha.boy.data(), son, boy);
    if (ec != std::errc() || p != son || boy < -32768 || boy > 32767) {
      return Status::InvalidArgument("column " + saha.ad + ": length '" + saha.boy +
                                     "' is not a 16-bit integer (type mismatch)");
    }
    c.ado_type = ado::kVarWChar;
    c.defined_size = boy;
  } else if (saha.tur == "Double") {
    c.ado_type = ado::kDouble;
  } else if (saha.tur == "Byte") {
    c.ado_type = ado::kUnsignedTinyInt;
  } else if (saha.tur == "Integer") {
    c.ado_type = ado::kSmallInt;
  } else if (saha.tur == "Long") {
    c.ado_type = ado::kInteger;
  } else if (saha.tur == "Single") {
    c.ado_type = ado::kSingle;
  } else if (saha.tur == "Boolean") {
    c.ado_type = ado::kBoolean;
  } else if (saha.tur == "Currency") {
    c.precision = 2;
    c.ado_type = ado::kCurrency;
  }
  c.allow_zero_length = true;
  c.autoincrement =
      Evet(saha.birincil) ? Evet(saha.otomatik) : saha.tur == "Long" && Evet(saha.otomatik);
  return c;
}

Status AccessTablolariOlustur(db::Connection& katalog, db::Database& hedef,
                              std::string_view tanim) {
  PX_ASSIGN_OR_RETURN(auto tablolar, KatalogTablolari(katalog, tanim));
  for (const auto& tablo : tablolar) PX_RETURN_IF_ERROR(TabloYarat(katalog, hedef, tablo, tanim));
  return Status::Ok();
}

Status AccessTablolariGuncelle(db::Connection& katalog, db::Database& hedef, std::string_view tanim,
                               bool& eklendi) {
  eklendi = false;
  std::optional<std::string> son_yaratilan;
  PX_ASSIGN_OR_RETURN(auto tablolar, KatalogTablolari(katalog, tanim));
  for (const auto& tablo : tablolar) {
    PX_ASSIGN_OR_RETURN(auto sema, hedef.SchemaColumns(tablo));
    if (sema.empty()) {
      eklendi = true;
      PX_RETURN_IF_ERROR(TabloYarat(katalog, hedef, tablo, tanim));
      son_yaratilan = tablo;
      continue;
    }
    PX_ASSIGN_OR_RETURN(auto sahalar, KatalogSahalari(katalog, tablo, tanim));
    for (const auto& saha : sahalar) {
      if (SemadaVar(sema, saha.ad)) continue;
      eklendi = true;
      PX_ASSIGN_OR_RETURN(db::NewColumn sutun, AccessSahasi(saha));
      PX_RETURN_IF_ERROR(hedef.AppendColumn(tablo, sutun));
      // The key goes to the table object this call made last, never to this table: with
      // none made the column simply stays an ordinary column.
      if (Evet(saha.birincil) && son_yaratilan) {
        PX_RETURN_IF_ERROR(hedef.AppendPrimaryKey(*son_yaratilan, kAnahtarAdi, saha.ad));
      }
    }
  }
  return Status::Ok();
}

Status SqlTablolariOlustur(db::Connection& katalog, std::string_view tanim,
                           const SqlCalistir& calistir) {
  PX_ASSIGN_OR_RETURN(auto tablolar, KatalogTablolari(katalog, tanim));
  for (const auto& tablo : tablolar) {
    PX_ASSIGN_OR_RETURN(auto sahalar, KatalogSahalari(katalog, tablo, tanim));
    PX_RETURN_IF_ERROR(calistir(SqlTabloOlusturMetni(tablo, sahalar)));
  }
  return Status::Ok();
}

Status SqlTablolariGuncelle(db::Connection& katalog, std::string_view tanim,
                            const SemaSorgusu& sema, const SqlCalistir& calistir, bool& eklendi) {
  eklendi = false;
  PX_ASSIGN_OR_RETURN(auto tablolar, KatalogTablolari(katalog, tanim));
  for (const auto& tablo : tablolar) {
    PX_ASSIGN_OR_RETURN(auto mevcut, sema(tablo));
    PX_ASSIGN_OR_RETURN(auto sahalar, KatalogSahalari(katalog, tablo, tanim));
    if (mevcut.empty()) {
      eklendi = true;
      PX_RETURN_IF_ERROR(calistir(SqlTabloOlusturMetni(tablo, sahalar)));
      continue;
    }
    for (const auto& saha : sahalar) {
      if (SemadaVar(mevcut, saha.ad)) continue;
      eklendi = true;
      PX_RETURN_IF_ERROR(calistir(SqlSahaEkleMetni(tablo, saha)));
    }
  }
  return Status::Ok();
}

bool SqlVeritabaniYarat(const std::string& taban, const std::string& sirket, const std::string& yil,
                        const std::string& konum, int surum, const std::string& data_klasoru,
                        const std::function<bool(const std::string& ad)>& var_mi,
                        const SqlCalistir& calistir) {
  const std::string ad = SqlVeritabaniAdi(taban, sirket, yil, konum);
  if (var_mi(ad)) return false;
  return calistir(SqlVeritabaniYaratMetni(ad, data_klasoru, surum)).ok();
}

}  // namespace px::restore
