#include "backup/manifest.h"
#include "platform/clock.h"

#include <chrono>
#include <ctime>
#include <nlohmann/json.hpp>

#include "backup/dosyalar.h"
#include "backup/paket_duzeni.h"
#include "platform/text_case.h"

namespace px::backup {
namespace {

using nlohmann::json;

// Repeated separators act as one; "/" counts as "\".
std::string Duzgun(std::string_view yol) {
  std::string out;
  for (char c : yol) {
    if (c == '/') c = '\\';
    if (c == '\\' && !out.empty() && out.back() == '\\') continue;
    out += c;
  }
  return out;
}

}  // namespace

std::string SimdiUtc() {
  const std::time_t t = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  const std::tm tm = platform::UtcParts(t);
  char buf[32];
  std::strftime(buf, sizeof buf, "%Y-%m-%dT%H:%M:%SZ", &tm);
  return buf;
}

std::string Manifest::GoreliYol(std::string_view tam_yol) const {
  std::string kok = Duzgun(paket_yolu_);
  if (!kok.empty() && kok.back() != '\\') kok += '\\';
  const std::string yol = Duzgun(tam_yol);
  if (yol.size() <= kok.size() || !EqualsIgnoreCase(yol.substr(0, kok.size()), kok)) return "";
  return yol.substr(kok.size());
}

void Manifest::Ekle(ManifestKaydi kayit) {
  kayit.yol = Duzgun(kayit.yol);
  for (auto& k : kayitlar_) {
    if (EqualsIgnoreCase(k.yol, kayit.yol)) {
      k = std::move(kayit);
      return;
    }
  }
  kayitlar_.push_back(std::move(kayit));
}

void Manifest::Sil(std::string_view tam_yol) {
  const std::string goreli = GoreliYol(tam_yol);
  if (goreli.empty()) return;
  std::erase_if(kayitlar_, [&](const ManifestKaydi& k) { return EqualsIgnoreCase(k.yol, goreli); });
}

std::string Manifest::Metin() const {
  json dosyalar = json::array();
  for (const auto& k : kayitlar_) {
    json d = {{"yol", k.yol},      {"tur", k.tur},     {"sirket", k.sirket},
              {"yil", k.yil},      {"modul", k.modul}, {"veritabani", k.veritabani},
              {"tablo", k.tablo},  {"satir", k.satir}, {"bayt", k.bayt},
              {"sha256", k.sha256}};
    dosyalar.push_back(std::move(d));
  }
  json kok = {{"program", program_},
              {"zaman", zaman_.empty() ? SimdiUtc() : zaman_},
              {"dosyalar", std::move(dosyalar)}};
  return kok.dump(1, '\t', false, json::error_handler_t::replace) + "\n";
}

Status Manifest::Yaz(platform::FileLayer& files) const {
  PX_ASSIGN_OR_RETURN(auto dosya,
                      YerineGecenDosya::Ac(files, Birlestir(paket_yolu_, kManifestAdi)));
  PX_RETURN_IF_ERROR(dosya->Write(Metin()));
  return dosya->Commit();
}

Result<Manifest> Manifest::Coz(std::string_view metin, const std::string& ad,
                               const std::string& paket_yolu) {
  Manifest m(paket_yolu);
  json kok = json::parse(metin, nullptr, false);
  auto bozuk = [&](const std::string& neden) { return Status::Corruption(ad + ": " + neden); };
  if (kok.is_discarded()) return bozuk("not valid JSON");
  if (!kok.is_object() || !kok.contains("dosyalar") || !kok["dosyalar"].is_array()) {
    return bozuk("no \"dosyalar\" list");
  }
  if (kok.contains("program") && kok["program"].is_string()) m.program_ = kok["program"];
  if (kok.contains("zaman") && kok["zaman"].is_string()) m.zaman_ = kok["zaman"];
  size_t sira = 0;
  for (const json& d : kok["dosyalar"]) {
    const std::string yer = "entry " + std::to_string(sira++);
    if (!d.is_object()) return bozuk(yer + " is not an object");
    ManifestKaydi k;
    for (auto [alan, hedef] : {std::pair{"yol", &k.yol},
                               {"tur", &k.tur},
                               {"sirket", &k.sirket},
                               {"yil", &k.yil},
                               {"modul", &k.modul},
                               {"veritabani", &k.veritabani},
                               {"tablo", &k.tablo},
                               {"sha256", &k.sha256}}) {
      if (!d.contains(alan) || !d[alan].is_string()) {
        return bozuk(yer + ": \"" + alan + "\" missing or not text");
      }
      *hedef = d[alan].get<std::string>();
    }
    if (!d.contains("satir") || !d["satir"].is_number_integer()) {
      return bozuk(yer + ": \"satir\" missing or not a whole number");
    }
    if (!d.contains("bayt") || !d["bayt"].is_number_unsigned()) {
      return bozuk(yer + ": \"bayt\" missing or not a size");
    }
    k.satir = d["satir"].get<int64_t>();
    k.bayt = d["bayt"].get<uint64_t>();
    if (k.yol.empty()) return bozuk(yer + ": empty \"yol\"");
    m.kayitlar_.push_back(std::move(k));
  }
  return m;
}

Result<Manifest> Manifest::Oku(platform::FileLayer& files, const std::string& paket_yolu) {
  const std::string yol = Birlestir(paket_yolu, kManifestAdi);
  auto metin = TumunuOku(files, yol);
  if (!metin.ok()) {
    if (metin.status().IsNotFound()) return Manifest(paket_yolu);
    return metin.status();
  }
  return Coz(*metin, yol, paket_yolu);
}

}  // namespace px::backup
