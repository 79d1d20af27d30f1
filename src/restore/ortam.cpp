#include "restore/ortam.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "core/sha256.h"
#include "db/group_commit.h"
#include "platform/host_path.h"
#include "platform/text_case.h"
#include "platform/utf8_path.h"
#include "settings/hata_mesaji.h"
#include "xbf/pbf.h"
#include "xbf/xbf_reader.h"

namespace px::restore {
namespace fs = std::filesystem;

namespace {

Result<fs::path> Host(const std::string& yol) {
  return ToHostPath(yol);
}

}  // namespace

namespace {

Status ArtiklariSil(Dosyalar& dosyalar, const std::string& klasor, int derinlik) {
  if (derinlik > 16) return Status::Ok();  // deeper than any copy is kept
  auto liste = dosyalar.Liste(klasor);
  if (!liste.ok()) return liste.status().IsNotFound() ? Status::Ok() : liste.status();
  for (const DosyaGirdisi& g : *liste) {
    const std::string yol = klasor + "\\" + g.ad;
    if (g.klasor) {
      PX_RETURN_IF_ERROR(ArtiklariSil(dosyalar, yol, derinlik + 1));
    } else if (g.ad.starts_with(".~") && g.ad.ends_with(".tmp") && g.ad != db::kCommitRecordName) {
      PX_RETURN_IF_ERROR(dosyalar.Sil(yol));
    }
  }
  return Status::Ok();
}

}  // namespace

Status OncekiKopyaArtiklariniSil(Dosyalar& dosyalar, const std::string& kok) {
  return ArtiklariSil(dosyalar, kok + "\\GeriAlOncesi", 0);
}

HostDosyalar::HostDosyalar() : files_(platform::SystemFiles()) {}

Result<std::vector<DosyaGirdisi>> HostDosyalar::Liste(const std::string& klasor) {
  PX_ASSIGN_OR_RETURN(fs::path p, Host(klasor));
  if (!files_.Exists(Utf8FromPath(p))) return Status::NotFound("folder " + klasor + " not found");
  PX_ASSIGN_OR_RETURN(auto girdiler, files_.List(Utf8FromPath(p)));
  std::vector<DosyaGirdisi> out;
  for (const auto& g : girdiler) out.push_back({g.name, g.is_folder});
  // Listed by name, as the file system object lists an NTFS folder.
  std::sort(out.begin(), out.end(), [](const DosyaGirdisi& a, const DosyaGirdisi& b) {
    return FoldCase(a.ad) < FoldCase(b.ad);
  });
  return out;
}

Result<std::unique_ptr<RowSource>> HostDosyalar::TabloAc(const std::string& yol) {
  PX_ASSIGN_OR_RETURN(fs::path p, Host(yol));
  PX_ASSIGN_OR_RETURN(auto reader, xbf::XbfReader::OpenFile(Utf8FromPath(p)));
  return std::unique_ptr<RowSource>(std::move(reader));
}

Result<int64_t> HostDosyalar::SatirSay(const std::string& yol) {
  PX_ASSIGN_OR_RETURN(fs::path p, Host(yol));
  PX_ASSIGN_OR_RETURN(auto reader, xbf::XbfReader::OpenFile(Utf8FromPath(p)));
  return reader->CountRows();
}

Status HostDosyalar::Ac(const std::string& pbf, const std::string& hedef,
                        platform::Durability dayaniklilik) {
  PX_ASSIGN_OR_RETURN(fs::path kaynak, Host(pbf));
  PX_ASSIGN_OR_RETURN(fs::path cikti, Host(hedef));
  return xbf::Ac(Utf8FromPath(kaynak), Utf8FromPath(cikti), dayaniklilik);
}

Status HostDosyalar::AcVeSay(const std::string& pbf, const std::string& hedef,
                             platform::Durability dayaniklilik, Result<int64_t>& satir) {
  PX_ASSIGN_OR_RETURN(fs::path kaynak, Host(pbf));
  PX_ASSIGN_OR_RETURN(fs::path cikti, Host(hedef));
  return xbf::AcVeSay(Utf8FromPath(kaynak), Utf8FromPath(cikti), dayaniklilik, satir);
}

Status HostDosyalar::Kopyala(const std::string& kaynak, const std::string& hedef) {
  PX_ASSIGN_OR_RETURN(fs::path k, Host(kaynak));
  PX_ASSIGN_OR_RETURN(fs::path h, Host(hedef));
  const std::string gecici = platform::TempNameBeside(Utf8FromPath(h));
  Status s = [&]() -> Status {
    PX_ASSIGN_OR_RETURN(auto girdi, files_.Open(Utf8FromPath(k), platform::OpenMode::kRead));
    PX_ASSIGN_OR_RETURN(auto cikti, files_.Open(gecici, platform::OpenMode::kCreateAlways));
    std::vector<uint8_t> parca(size_t{1} << 16);
    for (uint64_t konum = 0;;) {
      PX_ASSIGN_OR_RETURN(size_t n, girdi->ReadAt(konum, parca));
      if (n == 0) break;
      PX_RETURN_IF_ERROR(cikti->Append(std::span<const uint8_t>(parca.data(), n)));
      konum += n;
    }
    PX_RETURN_IF_ERROR(cikti->Sync());
    cikti.reset();
    return files_.Rename(gecici, Utf8FromPath(h));
  }();
  if (!s.ok()) {
    (void)files_.Remove(gecici);
    return s.WithContext("copying " + kaynak + " to " + hedef);
  }
  return Status::Ok();
}

Status HostDosyalar::Sil(const std::string& yol) {
  PX_ASSIGN_OR_RETURN(fs::path p, Host(yol));
  return files_.Remove(Utf8FromPath(p));
}

Result<std::string> HostDosyalar::Oku(const std::string& yol) {
  PX_ASSIGN_OR_RETURN(fs::path p, Host(yol));
  if (!files_.Exists(Utf8FromPath(p))) return Status::NotFound(yol + ": file not found");
  return platform::ReadFileWhole(files_, Utf8FromPath(p));
}

Result<DosyaOzeti> HostDosyalar::Ozet(const std::string& yol) {
  PX_ASSIGN_OR_RETURN(fs::path p, Host(yol));
  PX_ASSIGN_OR_RETURN(auto dosya, files_.Open(Utf8FromPath(p), platform::OpenMode::kRead));
  Sha256 sha;
  std::vector<uint8_t> parca(size_t{1} << 16);
  DosyaOzeti ozet;
  for (;;) {
    PX_ASSIGN_OR_RETURN(size_t n, dosya->ReadAt(ozet.bayt, parca));
    if (n == 0) break;
    sha.Update(std::string_view(reinterpret_cast<const char*>(parca.data()), n));
    ozet.bayt += n;
  }
  ozet.sha256 = sha.HexDigest();
  return ozet;
}

Status HostDosyalar::KlasorlerYarat(const std::string& yol) {
  PX_ASSIGN_OR_RETURN(fs::path p, Host(yol));
  fs::path yolda;
  for (const auto& parca : p) {
    yolda /= parca;
    if (yolda == yolda.root_path()) continue;
    PX_RETURN_IF_ERROR(files_.CreateFolder(Utf8FromPath(yolda)));
  }
  return Status::Ok();
}

ModulIslemi::~ModulIslemi() {
  if (!bitti_) GeriCevir();
}

db::Database* ModulIslemi::Bul(const std::string& yol) {
  for (const auto& [p, d] : acik_) {
    if (EqualsIgnoreCase(p, yol)) return d;
  }
  return nullptr;
}

Result<db::Database*> ModulIslemi::Katil(const std::string& yol, Result<db::Database*> acilan) {
  PX_ASSIGN_OR_RETURN(db::Database * d, std::move(acilan));
  Status s = d->Begin();
  if (!s.ok()) {
    ortam_.havuz.Close(yol);
    return s;
  }
  acik_.emplace_back(yol, d);
  return d;
}

Result<db::Database*> ModulIslemi::Ac(const std::string& yol) {
  if (db::Database* d = Bul(yol)) return d;
  if (!ortam_.onceki_kopya_klasoru.empty()) {
    // The copy keeps the database's place below the work area, so that it can be put back
    // by hand; one copy per database and run, taken before its first change.
    std::string altyol = yol;
    const std::string kok = ortam_.kok + "\\";
    if (altyol.size() > kok.size() && EqualsIgnoreCase(altyol.substr(0, kok.size()), kok)) {
      altyol = altyol.substr(kok.size());
    } else if (altyol.size() > 3 && altyol[1] == ':') {
      altyol = altyol.substr(3);
    }
    const std::string kopya = ortam_.onceki_kopya_klasoru + "\\" + altyol;
    bool alindi = false;
    for (const auto& k : ortam_.alinan_kopyalar) alindi = alindi || EqualsIgnoreCase(k, kopya);
    if (!alindi) {
      PX_RETURN_IF_ERROR(ortam_.dosyalar.KlasorlerYarat(kopya.substr(0, kopya.rfind('\\'))));
      PX_RETURN_IF_ERROR(ortam_.dosyalar.Kopyala(yol, kopya));
      ortam_.alinan_kopyalar.push_back(kopya);
    }
  }
  return Katil(yol, ortam_.havuz.Open(yol));
}

Result<db::Database*> ModulIslemi::Yarat(const std::string& yol) {
  if (Bul(yol)) return Status::InvalidArgument("database " + yol + " is already open");
  return Katil(yol, ortam_.havuz.Create(yol));
}

Status ModulIslemi::Bitir() {
  std::vector<db::Database*> veritabanlari;
  for (const auto& [p, d] : acik_) veritabanlari.push_back(d);
  // All of them or none; the pool rolls them back itself when it must.
  Status s = ortam_.havuz.CommitTogether(veritabanlari);
  for (const auto& [p, d] : acik_) ortam_.havuz.Close(p);
  acik_.clear();
  bitti_ = true;
  return s;
}

void ModulIslemi::GeriCevir() {
  for (auto it = acik_.rbegin(); it != acik_.rend(); ++it) {
    (void)it->second->Rollback();
    ortam_.havuz.Close(it->first);
  }
  acik_.clear();
  bitti_ = true;
}

void HataKoduGoster(op::Operator& op, const Status& hata) {
  const settings::Hata h = settings::HataOlarak(hata);
  op.Show("Hata Kodu: " + std::to_string(h.no) + "\r\nAçıklama: " + h.aciklama, "Hata",
          op::Icon::kExclamation, op::Buttons::kOk, 1);
}

}  // namespace px::restore
