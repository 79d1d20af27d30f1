#include "backup/dosyalar.h"

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "core/sha256.h"
#include "db/group_commit.h"
#include "platform/host_path.h"
#include "platform/utf8_path.h"

namespace px::backup {
namespace {

namespace fs = std::filesystem;

constexpr size_t kParca = size_t{1} << 20;

// Domain paths through the drive map; host paths (the staging folder, a package named on the
// command line) may still have "\\" from the flows' joins, which is a separator here too.
Result<std::string> Host(const std::string& yol) {
  if (!IsDrivePath(yol)) {
    std::string host = yol;
    for (char& c : host) {
      if (c == '\\') c = '/';
    }
    return host;
  }
  PX_ASSIGN_OR_RETURN(fs::path host, ToHostPath(yol));
  return Utf8FromPath(host);
}

// The system's file layer on domain paths.
class DomainFileLayer final : public platform::FileLayer {
 public:
  explicit DomainFileLayer(platform::FileLayer& host) : host_(host) {}
  Result<std::unique_ptr<platform::File>> Open(const std::string& path,
                                               platform::OpenMode mode) override {
    PX_ASSIGN_OR_RETURN(std::string h, Host(path));
    return host_.Open(h, mode);
  }
  Status Rename(const std::string& temp, const std::string& target) override {
    PX_ASSIGN_OR_RETURN(std::string from, Host(temp));
    PX_ASSIGN_OR_RETURN(std::string to, Host(target));
    return host_.Rename(from, to);
  }
  Status RenameUnflushed(const std::string& temp, const std::string& target) override {
    PX_ASSIGN_OR_RETURN(std::string from, Host(temp));
    PX_ASSIGN_OR_RETURN(std::string to, Host(target));
    return host_.RenameUnflushed(from, to);
  }
  Status Remove(const std::string& path) override {
    PX_ASSIGN_OR_RETURN(std::string h, Host(path));
    return host_.Remove(h);
  }
  bool Exists(const std::string& path) override {
    auto h = Host(path);
    return h.ok() && host_.Exists(*h);
  }
  Result<std::vector<platform::FolderEntry>> List(const std::string& folder) override {
    PX_ASSIGN_OR_RETURN(std::string h, Host(folder));
    return host_.List(h);
  }
  Status CreateFolder(const std::string& path) override {
    PX_ASSIGN_OR_RETURN(std::string h, Host(path));
    return host_.CreateFolder(h);
  }
  Result<std::unique_ptr<platform::FileLock>> LockExclusive(const std::string& path) override {
    PX_ASSIGN_OR_RETURN(std::string h, Host(path));
    return host_.LockExclusive(h);
  }

  platform::FileLayer& HostLayer() override { return host_; }
  Result<std::string> HostPath(const std::string& path) override { return Host(path); }

 private:
  platform::FileLayer& host_;
};

}  // namespace

platform::FileLayer& HostFiles() {
  static DomainFileLayer layer(platform::SystemFiles());
  return layer;
}

Status YarimKalanCommitiBitir(platform::FileLayer& files, const std::string& kayit) {
  PX_ASSIGN_OR_RETURN(std::string host, files.HostPath(kayit));
  return db::FinishInterruptedCommit(files.HostLayer(), host);
}

std::string_view KlasorKismi(std::string_view yol) {
  const size_t p = yol.find_last_of("\\/");
  return p == std::string_view::npos ? std::string_view() : yol.substr(0, p);
}

std::string_view AdKismi(std::string_view yol) {
  const size_t p = yol.find_last_of("\\/");
  return p == std::string_view::npos ? yol : yol.substr(p + 1);
}

std::string Birlestir(std::string_view klasor, std::string_view ad) {
  std::string out(klasor);
  if (!out.empty() && out.back() != '\\' && out.back() != '/') out += '\\';
  out += ad;
  return out;
}

std::string GeciciAd(std::string_view hedef) {
  const std::string ad = ".~" + std::string(AdKismi(hedef)) + ".tmp";
  const std::string_view klasor = KlasorKismi(hedef);
  if (klasor.empty() && AdKismi(hedef).size() == hedef.size()) return ad;
  return std::string(hedef.substr(0, klasor.size() + 1)) + ad;
}

bool GeciciAdMi(std::string_view ad) {
  return ad.size() >= 6 && ad.substr(0, 2) == ".~" && ad.substr(ad.size() - 4) == ".tmp";
}

bool DiskDoluMu(const Status& st) {
  if (st.IsDiskFull()) return true;
  if (st.ok()) return false;
  const std::string& m = st.message();
  return m.find(std::strerror(ENOSPC)) != std::string::npos ||
         m.find("No space left on device") != std::string::npos ||
         m.find("not enough space on the disk") != std::string::npos;
}

YerineGecenDosya::YerineGecenDosya(platform::FileLayer& files, std::string hedef,
                                   std::string gecici, std::unique_ptr<platform::File> dosya)
    : files_(files),
      hedef_(std::move(hedef)),
      gecici_(std::move(gecici)),
      dosya_(std::move(dosya)) {}

Result<std::unique_ptr<YerineGecenDosya>> YerineGecenDosya::Ac(platform::FileLayer& files,
                                                               const std::string& hedef) {
  std::string gecici = GeciciAd(hedef);
  PX_ASSIGN_OR_RETURN(auto dosya, files.Open(gecici, platform::OpenMode::kCreateAlways));
  return std::unique_ptr<YerineGecenDosya>(
      new YerineGecenDosya(files, hedef, std::move(gecici), std::move(dosya)));
}

YerineGecenDosya::~YerineGecenDosya() {
  if (!bitti_) {
    dosya_.reset();
    (void)files_.Remove(gecici_);
  }
}

Status YerineGecenDosya::Write(std::string_view bytes) {
  PX_RETURN_IF_ERROR(hata_);
  tampon_.append(bytes);
  if (tampon_.size() >= kParca) {
    hata_ = dosya_->WriteAt(yazilan_,
                            {reinterpret_cast<const uint8_t*>(tampon_.data()), tampon_.size()});
    yazilan_ += tampon_.size();
    tampon_.clear();
  }
  return hata_;
}

Status YerineGecenDosya::Commit() {
  PX_RETURN_IF_ERROR(hata_);
  if (!tampon_.empty()) {
    hata_ = dosya_->WriteAt(yazilan_,
                            {reinterpret_cast<const uint8_t*>(tampon_.data()), tampon_.size()});
    PX_RETURN_IF_ERROR(hata_);
    yazilan_ += tampon_.size();
    tampon_.clear();
  }
  hata_ = dosya_->Sync();
  PX_RETURN_IF_ERROR(hata_);
  dosya_.reset();
  hata_ = files_.Rename(gecici_, hedef_);
  PX_RETURN_IF_ERROR(hata_);
  bitti_ = true;
  return Status::Ok();
}

Result<std::unique_ptr<KatmanGirdisi>> KatmanGirdisi::Ac(platform::FileLayer& files,
                                                         const std::string& yol) {
  PX_ASSIGN_OR_RETURN(auto dosya, files.Open(yol, platform::OpenMode::kRead));
  return std::unique_ptr<KatmanGirdisi>(new KatmanGirdisi(std::move(dosya)));
}

Result<size_t> KatmanGirdisi::Read(uint8_t* buf, size_t n) {
  PX_ASSIGN_OR_RETURN(size_t got, dosya_->ReadAt(konum_, {buf, n}));
  konum_ += got;
  return got;
}

Status DosyaKopyala(platform::FileLayer& files, const std::string& kaynak, const std::string& hedef,
                    std::string* sha256, uint64_t* bayt) {
  PX_ASSIGN_OR_RETURN(auto girdi, KatmanGirdisi::Ac(files, kaynak));
  PX_ASSIGN_OR_RETURN(auto cikti, YerineGecenDosya::Ac(files, hedef));
  Sha256 ozet;
  std::string parca(kParca, '\0');
  for (;;) {
    PX_ASSIGN_OR_RETURN(size_t n, girdi->Read(reinterpret_cast<uint8_t*>(parca.data()), kParca));
    if (n == 0) break;
    if (sha256) ozet.Update(std::string_view(parca.data(), n));
    PX_RETURN_IF_ERROR(cikti->Write(std::string_view(parca.data(), n)));
  }
  PX_RETURN_IF_ERROR(cikti->Commit());
  if (sha256) *sha256 = ozet.HexDigest();
  if (bayt) *bayt = cikti->yazilan();
  return Status::Ok();
}

Result<std::string> TumunuOku(platform::FileLayer& files, const std::string& yol, size_t en_fazla) {
  PX_ASSIGN_OR_RETURN(auto dosya, files.Open(yol, platform::OpenMode::kRead));
  PX_ASSIGN_OR_RETURN(uint64_t boy, dosya->Size());
  if (boy > en_fazla) {
    return Status::InvalidArgument(yol + " is larger than " + std::to_string(en_fazla) + " bytes");
  }
  std::string metin(size_t(boy), '\0');
  PX_ASSIGN_OR_RETURN(size_t n,
                      dosya->ReadAt(0, {reinterpret_cast<uint8_t*>(metin.data()), metin.size()}));
  metin.resize(n);
  return metin;
}

Status ArtiklariTemizle(platform::FileLayer& files, const std::string& klasor) {
  auto liste = files.List(klasor);
  if (!liste.ok()) return liste.status().IsNotFound() ? Status::Ok() : liste.status();
  for (const auto& e : *liste) {
    if (!e.is_folder && GeciciAdMi(e.name))
      PX_RETURN_IF_ERROR(files.Remove(Birlestir(klasor, e.name)));
  }
  return Status::Ok();
}

}  // namespace px::backup
