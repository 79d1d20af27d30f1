#include "backup/dogrula.h"

#include <algorithm>
#include <map>

#include "backup/dosyalar.h"
#include "backup/manifest.h"
#include "backup/paket_duzeni.h"
#include "core/sha256.h"
#include "platform/text_case.h"
#include "xbf/pbf.h"
#include "xbf/xbf_reader.h"

namespace px::backup {
namespace {

// Passes bytes through, keeping their size and SHA-256.
class OzetliGirdi : public xbf::ByteInput {
 public:
  explicit OzetliGirdi(xbf::ByteInput& inner) : inner_(inner) {}
  Result<size_t> Read(uint8_t* buf, size_t n) override {
    PX_ASSIGN_OR_RETURN(size_t got, inner_.Read(buf, n));
    ozet_.Update(std::string_view(reinterpret_cast<const char*>(buf), got));
    bayt_ += got;
    return got;
  }
  // Reads what is left, so that the checksum covers the whole file.
  Status Bitir() {
    std::string parca(size_t{1} << 16, '\0');
    for (;;) {
      PX_ASSIGN_OR_RETURN(size_t n, Read(reinterpret_cast<uint8_t*>(parca.data()), parca.size()));
      if (n == 0) return Status::Ok();
    }
  }
  std::string Ozet() { return ozet_.HexDigest(); }
  uint64_t bayt() const { return bayt_; }

 private:
  xbf::ByteInput& inner_;
  Sha256 ozet_;
  uint64_t bayt_ = 0;
};

struct Bulunan {
  std::string goreli;
  std::string tam;
};

Status Tara(platform::FileLayer& files, const std::string& klasor, const std::string& goreli,
            std::vector<Bulunan>& out) {
  PX_ASSIGN_OR_RETURN(auto liste, files.List(klasor));
  for (const auto& e : liste) {
    const std::string tam = Birlestir(klasor, e.name);
    const std::string g = goreli.empty() ? e.name : goreli + "\\" + e.name;
    if (e.is_folder) {
      PX_RETURN_IF_ERROR(Tara(files, tam, g, out));
    } else if (!GeciciAdMi(e.name) && !(goreli.empty() && e.name == kManifestAdi)) {
      out.push_back({g, tam});
    }
  }
  return Status::Ok();
}

bool TabloDosyasiMi(const std::string& goreli) {
  const std::string ust = FoldCase(goreli);
  if (ust.rfind(FoldCase(std::string(kEkDosyaKlasoru) + "\\"), 0) == 0) return false;
  return ust.size() > 4 && (ust.ends_with(".XBF") || ust.ends_with(".PBF"));
}

}  // namespace

Result<DogrulamaSonucu> PaketiDogrula(platform::FileLayer& files, const std::string& paket_yolu) {
  DogrulamaSonucu sonuc;
  std::vector<Bulunan> bulunanlar;
  PX_RETURN_IF_ERROR(Tara(files, paket_yolu, "", bulunanlar));
  std::sort(bulunanlar.begin(), bulunanlar.end(),
            [](const Bulunan& a, const Bulunan& b) { return a.goreli < b.goreli; });

  std::map<std::string, const ManifestKaydi*> kayitlar;  // by folded path
  auto manifest = Manifest::Oku(files, paket_yolu);
  if (!manifest.ok()) {
    sonuc.sorunlar.push_back("bozuk " + std::string(kManifestAdi) + ": " +
                             manifest.status().message());
  } else if (!files.Exists(Birlestir(paket_yolu, kManifestAdi))) {
    sonuc.sorunlar.push_back("eksik " + std::string(kManifestAdi));
  } else {
    for (const auto& k : manifest->kayitlar()) kayitlar[FoldCase(k.yol)] = &k;
  }

  std::map<std::string, bool> gorulen;
  for (const Bulunan& b : bulunanlar) {
    ++sonuc.denetlenen;
    auto it = kayitlar.find(FoldCase(b.goreli));
    const ManifestKaydi* kayit = it == kayitlar.end() ? nullptr : it->second;
    if (kayit) gorulen[FoldCase(b.goreli)] = true;
    auto dosya = KatmanGirdisi::Ac(files, b.tam);
    if (!dosya.ok()) {
      sonuc.sorunlar.push_back("bozuk " + b.goreli + ": " + dosya.status().message());
      continue;
    }
    OzetliGirdi ozetli(**dosya);
    int64_t satir = -1;
    Status okuma;
    if (TabloDosyasiMi(b.goreli)) {
      std::unique_ptr<xbf::InflateInput> inflate;
      xbf::ByteInput* girdi = &ozetli;
      if (xbf::IsCompressedName(b.goreli)) {
        auto acilan = xbf::InflateInput::Create(ozetli, b.goreli);
        if (acilan.ok()) {
          inflate = std::move(*acilan);
          girdi = inflate.get();
        } else {
          okuma = acilan.status();
        }
      }
      if (okuma.ok()) {
        auto okuyucu = xbf::XbfReader::Open(*girdi, b.goreli);
        if (!okuyucu.ok()) {
          okuma = okuyucu.status();
        } else {
          Row r;
          satir = 0;
          while ((*okuyucu)->Next(r)) ++satir;
          okuma = (*okuyucu)->status();
        }
      }
    }
    if (okuma.ok()) okuma = ozetli.Bitir();
    if (!okuma.ok()) {
      // Reader messages already start with the file's name.
      const std::string& m = okuma.message();
      sonuc.sorunlar.push_back("bozuk " +
                               (m.rfind(b.goreli + ":", 0) == 0 ? m : b.goreli + ": " + m));
      continue;
    }
    if (!kayit) {
      sonuc.sorunlar.push_back("fazla " + b.goreli + ": not in the manifest");
      continue;
    }
    if (ozetli.bayt() != kayit->bayt) {
      sonuc.sorunlar.push_back("farklı " + b.goreli + ": " + std::to_string(ozetli.bayt()) +
                               " bytes, the manifest says " + std::to_string(kayit->bayt));
    } else if (ozetli.Ozet() != kayit->sha256) {
      sonuc.sorunlar.push_back("farklı " + b.goreli + ": SHA-256 differs from the manifest");
    } else if (satir >= 0 && satir != kayit->satir) {
      sonuc.sorunlar.push_back("farklı " + b.goreli + ": " + std::to_string(satir) +
                               " rows, the manifest says " + std::to_string(kayit->satir));
    }
  }
  for (const auto& [anahtar, kayit] : kayitlar) {
    if (!gorulen.count(anahtar)) sonuc.sorunlar.push_back("eksik " + kayit->yol);
  }
  return sonuc;
}

}  // namespace px::backup
