#include "backup/paket_duzeni.h"

#include "backup/dosyalar.h"
#include "modules/module_databases.h"

namespace px::backup {

std::string VeriKlasoru(std::string_view kok, std::string_view modul, int konum,
                        std::string_view sirket, std::string_view yil) {
  using modules::kKonumData;
  using modules::kKonumDataSirket;
  using modules::kKonumDataSirketYil;
  std::string yol(kok);
  if (konum != kKonumData && konum != kKonumDataSirket && konum != kKonumDataSirketYil) {
    return yol;
  }
  yol = Birlestir(Birlestir(yol, modul), "Data");
  if (konum >= kKonumDataSirket) yol = Birlestir(yol, sirket);
  if (konum >= kKonumDataSirketYil) yol = Birlestir(yol, yil);
  return yol;
}

Result<std::string> TabanAdi(std::string_view access_adi) {
  if (access_adi.size() < 4) {
    return Status::InvalidArgument("database file name '" + std::string(access_adi) +
                                   "' is shorter than four characters");
  }
  return std::string(access_adi.substr(0, access_adi.size() - 4));
}

std::string TabloDosyaAdi(std::string_view taban, std::string_view tablo) {
  return std::string(taban) + "-" + std::string(tablo);
}

std::string TabloDosyaAdi(std::string_view taban, std::string_view tablo, bool sikistirilmis) {
  return TabloDosyaAdi(taban, tablo) + (sikistirilmis ? ".pbf" : ".xbf");
}

namespace {

Result<std::vector<std::string>> Dosyalar(platform::FileLayer& files, const std::string& klasor,
                                          bool gecicileri_de) {
  auto liste = files.List(klasor);
  if (!liste.ok()) {
    if (liste.status().IsNotFound()) return std::vector<std::string>{};
    return liste.status();
  }
  std::vector<std::string> out;
  for (const auto& e : *liste) {
    if (e.is_folder || (!gecicileri_de && GeciciAdMi(e.name))) continue;
    out.push_back(e.name);
  }
  return out;
}

}  // namespace

Result<bool> KlasorDosyaVarmi(platform::FileLayer& files, std::string_view kok,
                              std::string_view modul, int konum, std::string_view sirket,
                              std::string_view yil) {
  PX_ASSIGN_OR_RETURN(auto adlar,
                      Dosyalar(files, VeriKlasoru(kok, modul, konum, sirket, yil), false));
  return !adlar.empty();
}

Result<bool> KlasorDosyalariniSil(platform::FileLayer& files, std::string_view kok,
                                  std::string_view modul, int konum, std::string_view sirket,
                                  std::string_view yil, std::vector<std::string>* silinenler) {
  const std::string klasor = VeriKlasoru(kok, modul, konum, sirket, yil);
  PX_ASSIGN_OR_RETURN(auto adlar, Dosyalar(files, klasor, true));
  for (const auto& ad : adlar) {
    const std::string yol = Birlestir(klasor, ad);
    PX_RETURN_IF_ERROR(files.Remove(yol));
    if (silinenler) silinenler->push_back(yol);
  }
  return !adlar.empty();
}

Status KlasorZinciriHazirla(platform::FileLayer& files, std::string_view kok,
                            std::string_view modul, int konum, std::string_view sirket,
                            std::string_view yil) {
  const std::string kok_yolu(kok);
  if (!files.Exists(kok_yolu)) PX_RETURN_IF_ERROR(files.CreateFolder(kok_yolu));
  for (int seviye = modules::kKonumData; seviye <= konum; ++seviye) {
    if (seviye == modules::kKonumData) {
      PX_RETURN_IF_ERROR(files.CreateFolder(Birlestir(kok, modul)));
    }
    const std::string klasor = VeriKlasoru(kok, modul, seviye, sirket, yil);
    if (!files.Exists(klasor)) PX_RETURN_IF_ERROR(files.CreateFolder(klasor));
  }
  return Status::Ok();
}

}  // namespace px::backup
