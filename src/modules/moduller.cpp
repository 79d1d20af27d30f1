#include "modules/moduller.h"

namespace px::modules {
namespace {

constexpr std::array<Modul, kModulSayisi> kModuller = {{
    {1, "Cari", "Cari", "CARİ", kKonumDataSirketYil},
    {2, "Çek", "Cek", "ÇEK", kKonumDataSirketYil},
    {3, "Demirbaş", "Demirbas", "DEMİRBAŞ", kKonumDataSirket},
    {4, "Fatura", "Fatura", "FATURA", kKonumDataSirketYil},
    {5, "Genel", "Genel", "GENEL", kKonumDataSirketYil},
    {6, "İrsaliye", "Irsaliye", "İRSALİYE", kKonumDataSirketYil},
    {7, "Muhasebe", "Muhasebe", "MUHASEBE", kKonumDataSirketYil},
    {8, "Personel", "Personel", "PERSONEL", kKonumDataSirketYil},
    {9, "Senet", "Senet", "SENET", kKonumDataSirketYil},
    {10, "Stok", "Stok", "STOK", kKonumDataSirketYil},
    {11, "Bütçe", "Butce", "BÜTÇE", kKonumDataSirketYil},
    {12, "Beyanname", "Beyanname", "BEYANNAME", kKonumData},
    {13, "İşletme", "Isletme", "İŞLETME", kKonumData},
    {14, "Sipariş", "Siparis", "SİPARİŞ", kKonumData},
    {15, "Teknik Servis", "Servis", "TEKNİK SERVİS", kKonumData},
}};

}  // namespace

const std::array<Modul, kModulSayisi>& Moduller() {
  return kModuller;
}

const Modul* ModulAdiyla(std::string_view ad) {
  for (const Modul& m : kModuller) {
    if (m.ad == ad) return &m;
  }
  return nullptr;
}

const Modul* ModulKlasoruyle(std::string_view klasor) {
  for (const Modul& m : kModuller) {
    if (m.klasor == klasor) return &m;
  }
  return nullptr;
}

const Modul* ModulSirasiyla(int sira) {
  if (sira < 1 || sira > static_cast<int>(kModulSayisi)) return nullptr;
  return &kModuller[static_cast<size_t>(sira - 1)];
}

std::string EskiYedekKlasoru(const Modul& modul, std::string_view sirket, std::string_view yil) {
  std::string yol = std::string(modul.klasor) + "\\Data";
  if (modul.eski_yedek_konumu >= kKonumDataSirket) yol += "\\" + std::string(sirket);
  if (modul.eski_yedek_konumu >= kKonumDataSirketYil) yol += "\\" + std::string(yil);
  return yol;
}

bool ModulPaketteVarmi(FileSystem& fs, std::string_view paket_yolu, std::string_view klasor,
                       std::string_view sirket, std::string_view yil) {
  std::string yol = std::string(paket_yolu) + "\\" + std::string(klasor) + "\\Data";
  if (!sirket.empty()) {
    yol += "\\" + std::string(sirket);
    if (!yil.empty()) yol += "\\" + std::string(yil);
  }
  auto dosyalar = fs.FileCount(yol);
  return dosyalar.ok() && *dosyalar > 0;
}

bool ModulPaketteVarmi(std::string_view paket_yolu, std::string_view klasor,
                       std::string_view sirket, std::string_view yil) {
  HostFileSystem fs;
  return ModulPaketteVarmi(fs, paket_yolu, klasor, sirket, yil);
}

}  // namespace px::modules
