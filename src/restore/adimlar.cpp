#include "restore/adimlar.h"

#include <optional>
#include <variant>

#include "core/value_text.h"
#include "db/field_index.h"
#include "db/text_of.h"
#include "modules/module_databases.h"
#include "restore/katalog.h"
#include "restore/sql_metinleri.h"
#include "xbf/pbf.h"
#include "xbf/read_ahead.h"

namespace px::restore {
namespace {

// Removes a staging file on every path out of the step that made it.
class GeciciDosya {
 public:
  GeciciDosya(Dosyalar& dosyalar, std::string yol) : dosyalar_(dosyalar), yol_(std::move(yol)) {}
  ~GeciciDosya() {
    if (!yol_.empty()) (void)dosyalar_.Sil(yol_);
  }
  GeciciDosya(const GeciciDosya&) = delete;
  GeciciDosya& operator=(const GeciciDosya&) = delete;

 private:
  Dosyalar& dosyalar_;
  std::string yol_;
};

struct VeritabaniSatiri {
  std::string access_adi, sql_adi, konum, tanim;
};

Result<std::vector<VeritabaniSatiri>> VeritabaniSatirlari(db::Connection& katalog,
                                                          const std::string& sql) {
  PX_ASSIGN_OR_RETURN(auto rows, katalog.Query(sql));
  constexpr char kTablo[] = "tablo_veritabani_bilgileri";
  PX_ASSIGN_OR_RETURN(size_t access, db::FieldIndex(*rows, "VeritabaniAccessAdi", kTablo));
  PX_ASSIGN_OR_RETURN(size_t sql_adi, db::FieldIndex(*rows, "VeritabaniSqlServerAdi", kTablo));
  PX_ASSIGN_OR_RETURN(size_t konum, db::FieldIndex(*rows, "VeritabaniKonum", kTablo));
  PX_ASSIGN_OR_RETURN(size_t tanim, db::FieldIndex(*rows, "VeritabaniTanimi", kTablo));
  std::vector<VeritabaniSatiri> out;
  Row row;
  while (rows->Next(row)) {
    out.push_back({db::TextOf(row[access]), db::TextOf(row[sql_adi]), db::TextOf(row[konum]),
                   db::TextOf(row[tanim])});
  }
  PX_RETURN_IF_ERROR(rows->status());
  return out;
}

Status SqlServerYok() {
  return Status::NotSupported("SQL Server databases cannot be restored by this version");
}

// A money value given as text goes through the money normaliser, as the recordset's
// assignment did; a typed money value is already a number.
void ParaDuzelt(const std::vector<FieldInfo>& sahalar, Row& satir) {
  for (size_t i = 0; i < sahalar.size() && i < satir.size(); ++i) {
    if (sahalar[i].ado_type != ado::kCurrency) continue;
    if (const auto* s = std::get_if<std::string>(&satir[i])) {
      std::string metin = ParaMetniDuzelt(*s);
      std::erase(metin, ',');  // group separators once the point is the decimal one
      if (auto c = CurrencyFromText(metin)) satir[i] = *c;
    }
  }
}

// The rows of a table file, counted without reading their values (or `sayim`, counted while
// it was decompressed). A file whose count finds it damaged is read through to tell where
// (file and line), before the table is touched.
Result<int64_t> SatirSay(Dosyalar& dosyalar, const std::string& yol,
                         std::optional<Result<int64_t>> sayim) {
  Result<int64_t> sayi = sayim ? std::move(*sayim) : dosyalar.SatirSay(yol);
  if (sayi.ok() || !sayi.status().IsCorruption()) return sayi;
  PX_ASSIGN_OR_RETURN(auto rows, dosyalar.TabloAc(yol));
  for (Row row; rows->Next(row);) {
  }
  PX_RETURN_IF_ERROR(rows->status());
  return sayi;
}

int Kirp(int64_t n) {
  return n > INT32_MAX ? INT32_MAX : int(n);
}

}  // namespace

std::string SeviyeKlasoru(const std::string& taban, const std::string& modul, int konum,
                          const std::string& sirket, const std::string& yil) {
  std::string yol = taban + "\\" + modul + "\\Data";
  if (konum >= modules::kKonumDataSirket) yol += "\\" + sirket;
  if (konum >= modules::kKonumDataSirketYil) yol += "\\" + yil;
  return yol;
}

Status ModulKlasorleriniHazirla(FileSystem& fs, const std::string& kok, const std::string& modul,
                                int seviye, const std::string& sirket, const std::string& yil) {
  if (seviye < 1 || seviye > 4) return Status::Ok();
  std::vector<std::string> zincir = {kok + "\\" + modul};
  if (seviye >= 2) zincir.push_back(zincir.back() + "\\Data");
  if (seviye >= 3) zincir.push_back(zincir.back() + "\\" + sirket);
  if (seviye >= 4) zincir.push_back(zincir.back() + "\\" + yil);
  for (const auto& klasor : zincir) {
    if (!fs.FolderExists(klasor)) PX_RETURN_IF_ERROR(fs.CreateFolder(klasor));
  }
  return Status::Ok();
}

Result<bool> KimlikSahasiVarmi(db::Database& veritabani, const std::string& tablo,
                               const std::string& veritabani_turu) {
  if (veritabani_turu != kSqlServer) {
    // The suite asks SQL Server even for an Access table, which that connection cannot
    // open; the Access table is asked instead.
    return veritabani.HasAutoNumber(tablo);
  }
  PX_ASSIGN_OR_RETURN(auto rows, veritabani.Query("SELECT * FROM " + tablo + " WHERE 0=1"));
  for (const auto& f : rows->fields()) {
    if (f.autonumber) return true;
  }
  return false;
}

Status TabloGeriAl(Ortam& ortam, ModulIslemi& islem, db::Connection& katalog,
                   const std::string& taban, const std::string& tablo, const TabloHedefi& hedef,
                   const std::string& dosya_yolu, const std::string& gorunen_ad) {
  const std::string access_adi = taban + ".mdb";
  PX_ASSIGN_OR_RETURN(
      auto satirlar,
      VeritabaniSatirlari(katalog,
                          "SELECT * FROM tablo_veritabani_bilgileri WHERE "
                          "VeritabaniModulAdi ='" +
                              hedef.modul + "' AND VeritabaniAccessAdi = '" + access_adi + "' "));
  if (satirlar.empty()) {
    return Status::NotFound("tablo_veritabani_bilgileri has no database " + access_adi +
                            " for module " + hedef.modul + " (file " + dosya_yolu + ")");
  }
  const VeritabaniSatiri& satir = satirlar.front();
  if (ortam.veritabani_turu == kSqlServer) return SqlServerYok();
  const std::string yol =
      modules::AccessVeritabaniYolu(ortam.kok, hedef.modul, satir.access_adi, hedef.sirket,
                                    hedef.yil, modules::KonumSeviyesi(satir.konum));
  if (yol.empty()) {
    return Status::InvalidArgument("database " + satir.access_adi + " has an unknown location '" +
                                   satir.konum + "'");
  }
  PX_ASSIGN_OR_RETURN(db::Database * veritabani, islem.Ac(yol));

  PX_ASSIGN_OR_RETURN(auto tablolar, veritabani->Tables());
  bool bulundu = false;
  for (const auto& t : tablolar) bulundu = bulundu || (t.type == "TABLE" && t.name == tablo);
  if (!bulundu) return Status::Ok();
  PX_ASSIGN_OR_RETURN(int anahtar, veritabani->KeyCount(tablo));
  bool kimlik = false;
  if (anahtar == 1) {
    PX_ASSIGN_OR_RETURN(kimlik, KimlikSahasiVarmi(*veritabani, tablo, ortam.veritabani_turu));
  }

  std::string okunacak = dosya_yolu;
  std::string gecici;
  ortam.op.SetStatus(gorunen_ad + " Okunuyor...");
  if (xbf::IsCompressedName(dosya_yolu)) {
    const std::string ad = dosya_yolu.substr(dosya_yolu.find_last_of("\\/") + 1);
    PX_ASSIGN_OR_RETURN(std::string xbf_adi, xbf::ImportStagingName(ad));
    gecici = ortam.gecici_klasor + xbf_adi;
    okunacak = gecici;
  }
  GeciciDosya temizlik(ortam.dosyalar, gecici);
  // The staging file is read once and removed: it need not reach the disk.
  std::optional<Result<int64_t>> sayim;  // counted while decompressing
  if (!gecici.empty()) {
    sayim.emplace(int64_t{0});
    PX_RETURN_IF_ERROR(
        ortam.dosyalar.AcVeSay(dosya_yolu, gecici, platform::Durability::kScratch, *sayim));
  }
  // A file found damaged only while its rows are added (a value that does not parse) ends the
  // module, whose transaction puts the table back as it was.
  PX_ASSIGN_OR_RETURN(const int64_t sayi, SatirSay(ortam.dosyalar, okunacak, std::move(sayim)));
  if (ortam.dosya_denetle) {
    if (auto uyari = ortam.dosya_denetle(dosya_yolu, sayi)) ortam.uyarilar.push_back(*uyari);
  }

  PX_RETURN_IF_ERROR(veritabani->Execute("DELETE FROM " + tablo).status());
  ortam.op.SetStatus(gorunen_ad + " Geri Alınıyor...");
  ortam.op.SetProgress(0, Kirp(sayi));

  PX_ASSIGN_OR_RETURN(auto dosya, ortam.dosyalar.TabloAc(okunacak));
  const std::vector<FieldInfo> sahalar = dosya->fields();
  // Where the database can, each row is made ready for the table (every value converted
  // and checked) on the parsing thread too, and this thread only adds it. Elsewhere each
  // row runs as its statement (or recordset insert).
  std::unique_ptr<db::ReadyInsert> hazir_insert;
  std::unique_ptr<db::ReadyAddRow> hazir_ekleme;
  if (kimlik) {
    db::InsertStatement sekil{tablo, {}, {}};
    for (const FieldInfo& saha : sahalar) sekil.columns.push_back(saha.name);
    hazir_insert = veritabani->PrepareInsert(sekil);
  } else {
    hazir_ekleme = veritabani->PrepareAddRow(tablo, sahalar);
  }
  // A second thread parses the file and makes each row's statement while the rows made
  // before are added.
  struct HazirSatir {
    Row satir;
    db::InsertStatement komut;  // InsertMetni's statement, given as its parts
    Row kayit;                  // the row made ready for the table
  };
  xbf::ReadAhead<HazirSatir> hazir([&](HazirSatir& h) -> Result<bool> {
    if (!dosya->Next(h.satir)) {
      PX_RETURN_IF_ERROR(dosya->status());
      return false;
    }
    if (kimlik) {
      PX_RETURN_IF_ERROR(InsertKomutu(tablo, sahalar, h.satir, h.komut));
      if (hazir_insert) PX_RETURN_IF_ERROR(hazir_insert->MakeRow(h.komut, h.kayit));
    } else {
      ParaDuzelt(sahalar, h.satir);
      if (hazir_ekleme) PX_RETURN_IF_ERROR(hazir_ekleme->MakeRow(h.satir, h.kayit));
    }
    return true;
  });
  int64_t yapilan = 0;
  while (HazirSatir* h = hazir.Next()) {
    if (hazir_insert) {
      PX_RETURN_IF_ERROR(hazir_insert->Insert(h->kayit, h->komut));
    } else if (kimlik) {
      PX_RETURN_IF_ERROR(veritabani->Insert(h->komut).status());
    } else if (hazir_ekleme) {
      PX_RETURN_IF_ERROR(hazir_ekleme->Insert(h->kayit));
    } else {
      PX_RETURN_IF_ERROR(veritabani->AddRow(tablo, sahalar, h->satir));
    }
    ++yapilan;
    ortam.op.SetProgress(Kirp(yapilan), Kirp(sayi));
  }
  PX_RETURN_IF_ERROR(hazir.status());
  if (yapilan != sayi) {
    return Status::Corruption(dosya_yolu + " changed while it was restored: " +
                              std::to_string(sayi) + " rows, then " + std::to_string(yapilan));
  }
  ortam.op.SetProgress(0, Kirp(sayi));
  return Status::Ok();
}

Status ModulDosyalariniGeriAl(Ortam& ortam, ModulIslemi& islem, db::Connection& katalog,
                              const std::string& klasor, const TabloHedefi& hedef) {
  auto sayi = ortam.fs.FileCount(klasor);
  if (!sayi.ok() || *sayi == 0) return Status::Ok();
  PX_ASSIGN_OR_RETURN(auto girdiler, ortam.dosyalar.Liste(klasor));
  for (const auto& g : girdiler) {
    if (g.klasor) continue;
    if (g.ad.size() < 4) {
      return Status::InvalidArgument("table file name " + g.ad +
                                     " is too short (invalid argument)");
    }
    const std::string ad = g.ad.substr(0, g.ad.size() - 4);
    const size_t tire = ad.find('-');
    const std::string taban = tire == std::string::npos ? "" : ad.substr(0, tire);
    const std::string tablo = tire == std::string::npos ? ad : ad.substr(tire + 1);
    PX_RETURN_IF_ERROR(
        TabloGeriAl(ortam, islem, katalog, taban, tablo, hedef, klasor + "\\" + g.ad, tablo));
  }
  return Status::Ok();
}

Result<bool> AccessVeritabaniHazirla(Ortam& ortam, ModulIslemi& islem, const std::string& modul,
                                     const std::string& access_adi, const std::string& sirket,
                                     const std::string& yil, int konum, db::Database** yeni) {
  const std::string yol =
      modules::AccessVeritabaniYolu(ortam.kok, modul, access_adi, sirket, yil, konum);
  if (yol.empty() || ortam.fs.FileExists(yol)) return false;
  PX_ASSIGN_OR_RETURN(db::Database * d, islem.Yarat(yol));
  if (yeni != nullptr) *yeni = d;
  return true;
}

Status EksikAccessVeritabaniYarat(Ortam& ortam, ModulIslemi& islem, db::Connection& katalog,
                                  const std::string& modul, const std::string& sirket,
                                  const std::string& yil) {
  PX_ASSIGN_OR_RETURN(auto satirlar,
                      VeritabaniSatirlari(katalog,
                                          "SELECT * FROM tablo_veritabani_bilgileri WHERE "
                                          "VeritabaniModulAdi ='" +
                                              modul + "'"));
  for (const auto& satir : satirlar) {
    ortam.op.SetStatus(satir.tanim + " Yaratılıyor...");
    const int konum = modules::KonumSeviyesi(satir.konum);
    db::Database* yeni = nullptr;
    PX_ASSIGN_OR_RETURN(
        bool yaratildi,
        AccessVeritabaniHazirla(ortam, islem, modul, satir.access_adi, sirket, yil, konum, &yeni));
    if (yaratildi) {
      PX_RETURN_IF_ERROR(AccessTablolariOlustur(katalog, *yeni, satir.tanim));
      continue;
    }
    if (konum == modules::kKonumYok) continue;
    // An existing database is brought up to the catalog: tables and columns it lacks.
    PX_ASSIGN_OR_RETURN(db::Database * mevcut,
                        islem.Ac(modules::AccessVeritabaniYolu(ortam.kok, modul, satir.access_adi,
                                                               sirket, yil, konum)));
    bool eklendi = false;
    PX_RETURN_IF_ERROR(AccessTablolariGuncelle(katalog, *mevcut, satir.tanim, eklendi));
  }
  return Status::Ok();
}

Status EkDosyalariGeriAl(Ortam& ortam, const std::string& modul, const std::string& paket_klasoru,
                         int konum, const std::string& paket_sirket, const std::string& paket_yil,
                         const std::string& sirket, const std::string& yil) {
  const std::string kaynak =
      SeviyeKlasoru(paket_klasoru + "\\Dosya", modul, konum, paket_sirket, paket_yil);
  auto sayi = ortam.fs.FileCount(kaynak);
  if (!sayi.ok() || *sayi == 0) return Status::Ok();
  const std::string hedef = SeviyeKlasoru(ortam.kok, modul, konum, sirket, yil);
  PX_ASSIGN_OR_RETURN(auto girdiler, ortam.dosyalar.Liste(kaynak));
  for (const auto& g : girdiler) {
    if (g.klasor) continue;
    if (!xbf::IsCompressedName(g.ad)) {
      PX_RETURN_IF_ERROR(ortam.dosyalar.Kopyala(kaynak + "\\" + g.ad, hedef + "\\" + g.ad));
      continue;
    }
    PX_ASSIGN_OR_RETURN(std::string ad, xbf::DecompressedName(g.ad));
    const std::string gecici = ortam.gecici_klasor + ad;
    GeciciDosya temizlik(ortam.dosyalar, gecici);
    PX_RETURN_IF_ERROR(
        ortam.dosyalar.Ac(kaynak + "\\" + g.ad, gecici, platform::Durability::kFlushed));
    PX_RETURN_IF_ERROR(ortam.dosyalar.Kopyala(gecici, hedef + "\\" + ad));
  }
  return Status::Ok();
}

void PersonelIsyeriKeyDuzelt(Ortam& ortam, ModulIslemi& islem, const std::string& eski,
                             const std::string& yeni, const std::string& yil,
                             const std::string& veritabani_turu) {
  // The connection follows the settings, the dialect the argument. No SQL Server connection
  // can be opened by this version: that ends the rewrite as any failed opening does.
  if (ortam.veritabani_turu == kSqlServer) return;
  auto veritabani =
      islem.Ac(ortam.kok + "\\personel\\data\\" + yeni + "\\" + yil + "\\personel.mdb");
  if (!veritabani.ok()) return;
  if (!(*veritabani)->Execute(IsyeriKeyMetni(eski, yeni, veritabani_turu)).ok()) return;
  (void)(*veritabani)->Execute(ParametreKeyMetni(eski, yeni, veritabani_turu));
}

}  // namespace px::restore
