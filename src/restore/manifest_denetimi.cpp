#include "restore/manifest_denetimi.h"

#include <memory>

#include "backup/manifest.h"
#include "backup/paket_duzeni.h"
#include "platform/text_case.h"

namespace px::restore {

Status PaketManifestiniOku(Ortam& ortam, const std::string& paket_klasoru) {
  const std::string ad = paket_klasoru + "\\" + backup::kManifestAdi;
  auto metin = ortam.dosyalar.Oku(ad);
  if (!metin.ok()) return metin.status().IsNotFound() ? Status::Ok() : metin.status();
  PX_ASSIGN_OR_RETURN(backup::Manifest okunan, backup::Manifest::Coz(*metin, ad, paket_klasoru));
  if (okunan.kayitlar().empty()) return Status::Ok();
  auto manifest = std::make_shared<backup::Manifest>(std::move(okunan));
  Dosyalar& dosyalar = ortam.dosyalar;
  ortam.dosya_denetle = [manifest, &dosyalar](const std::string& yol,
                                              int64_t satir) -> std::optional<std::string> {
    const std::string goreli = manifest->GoreliYol(yol);
    const backup::ManifestKaydi* kayit = nullptr;
    for (const auto& k : manifest->kayitlar()) {
      if (EqualsIgnoreCase(k.yol, goreli)) kayit = &k;
    }
    if (kayit == nullptr) return yol + ": not in the package's manifest";
    auto ozet = dosyalar.Ozet(yol);
    if (!ozet.ok()) return yol + ": " + ozet.status().message();
    std::string fark;
    if (ozet->bayt != kayit->bayt) {
      fark += ", " + std::to_string(ozet->bayt) + " bytes, the manifest says " +
              std::to_string(kayit->bayt);
    }
    if (ozet->sha256 != kayit->sha256) fark += ", SHA-256 differs";
    if (satir != kayit->satir) {
      fark +=
          ", " + std::to_string(satir) + " rows, the manifest says " + std::to_string(kayit->satir);
    }
    if (fark.empty()) return std::nullopt;
    return yol + ":" + fark.substr(1);
  };
  return Status::Ok();
}

}  // namespace px::restore
