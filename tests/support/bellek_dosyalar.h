#pragma once
// Files, folders and drives held in memory, on Windows-style paths compared without regard
// to case, for tests of the folder checks and the backup flows. Drives are fixed and ready
// unless told otherwise. Faults on demand: a drive that is not ready for the next n looks, a
// full disk for the next n writes below a drive, folders that cannot be created.

#include <map>
#include <memory>
#include <set>
#include <string>

#include "platform/file_system.h"
#include "platform/files.h"
#include "platform/text_case.h"

namespace px::testing {

class BellekDosyalar : public platform::FileLayer, public FileSystem {
 public:
  // Repeated separators act as one, "/" is "\", no trailing separator.
  static std::string Duzgun(std::string_view yol) {
    std::string out;
    for (char c : yol) {
      if (c == '/') c = '\\';
      if (c == '\\' && !out.empty() && out.back() == '\\') continue;
      out += c;
    }
    if (out.size() > 3 && out.back() == '\\') out.pop_back();
    return out;
  }
  static std::string Anahtar(std::string_view yol) { return FoldCase(Duzgun(yol)); }
  static std::string Ust(const std::string& yol) {
    const size_t p = yol.rfind('\\');
    return p == std::string::npos ? "" : yol.substr(0, p);
  }

  // A file with its folders.
  void Yaz(const std::string& yol, std::string icerik) {
    KlasorZinciri(Ust(Duzgun(yol)));
    dosyalar_[Anahtar(yol)] = {Duzgun(yol), std::make_shared<std::string>(std::move(icerik))};
  }
  void KlasorZinciri(const std::string& yol) {
    std::string d = Duzgun(yol);
    while (d.size() > 2 && !klasorler_.count(FoldCase(d))) {
      klasorler_[FoldCase(d)] = d;
      d = Ust(d);
    }
  }
  bool Var(const std::string& yol) const { return dosyalar_.count(Anahtar(yol)) > 0; }
  std::string Icerik(const std::string& yol) const {
    auto it = dosyalar_.find(Anahtar(yol));
    return it == dosyalar_.end() ? "<yok>" : *it->second.content;
  }
  // Every file below a folder, as paths relative to it, sorted without regard to case.
  std::set<std::string> Altindakiler(const std::string& klasor) const {
    const std::string on = Anahtar(klasor) + "\\";
    std::set<std::string> out;
    for (const auto& [k, d] : dosyalar_) {
      if (k.compare(0, on.size(), on) == 0) out.insert(d.ad.substr(on.size()));
    }
    return out;
  }

  // FileLayer
  Result<std::unique_ptr<platform::File>> Open(const std::string& path,
                                               platform::OpenMode mode) override {
    const std::string k = Anahtar(path);
    auto it = dosyalar_.find(k);
    if (mode == platform::OpenMode::kRead || mode == platform::OpenMode::kReadWrite) {
      if (it == dosyalar_.end()) return Status::NotFound("cannot open " + path + ": not found");
    } else {
      if (!KlasorVar(Ust(Duzgun(path)))) {
        return Status::NotFound("cannot open " + path + ": no such folder");
      }
      if (mode == platform::OpenMode::kCreateNew && it != dosyalar_.end()) {
        return Status::IOError("cannot open " + path + ": exists");
      }
      dosyalar_[k] = {Duzgun(path), std::make_shared<std::string>()};
      it = dosyalar_.find(k);
    }
    return std::unique_ptr<platform::File>(std::make_unique<Dosya>(*this, it->second));
  }
  Status Rename(const std::string& temp, const std::string& target) override {
    auto it = dosyalar_.find(Anahtar(temp));
    if (it == dosyalar_.end()) return Status::NotFound("cannot rename " + temp);
    auto d = it->second;
    dosyalar_.erase(it);
    d.ad = Duzgun(target);
    dosyalar_[Anahtar(target)] = d;
    ++yeniden_adlandirma;
    return Status::Ok();
  }
  Status Remove(const std::string& path) override {
    dosyalar_.erase(Anahtar(path));
    return Status::Ok();
  }
  bool Exists(const std::string& path) override {
    return dosyalar_.count(Anahtar(path)) || klasorler_.count(Anahtar(path));
  }
  Result<std::vector<platform::FolderEntry>> List(const std::string& folder) override {
    const std::string k = Anahtar(folder);
    if (!klasorler_.count(k)) return Status::NotFound(folder + " not found");
    std::vector<platform::FolderEntry> out;
    for (const auto& [fk, ad] : klasorler_) {
      if (Ust(fk) == k) out.push_back({ad.substr(ad.rfind('\\') + 1), true, 0});
    }
    for (const auto& [dk, d] : dosyalar_) {
      if (Ust(dk) == k)
        out.push_back({d.ad.substr(d.ad.rfind('\\') + 1), false, d.content->size()});
    }
    return out;
  }
  Status CreateFolder(const std::string& path) override {
    yaratilan.push_back(path);
    if (salt_okunur) return Status::IOError("Permission denied: " + path);
    if (!KlasorVar(Ust(Duzgun(path)))) {
      return Status::NotFound("cannot create folder " + path + ": no parent");
    }
    klasorler_[Anahtar(path)] = Duzgun(path);
    return Status::Ok();
  }
  Result<std::unique_ptr<platform::FileLock>> LockExclusive(const std::string& path) override {
    return Status::NotSupported(path);
  }

  // FileSystem
  bool FolderExists(std::string_view path) override { return klasorler_.count(Anahtar(path)) > 0; }
  bool FileExists(std::string_view path) override { return dosyalar_.count(Anahtar(path)) > 0; }
  DriveFacts Drive(char letter) override {
    if (hazir_degil[letter] > 0) {
      --hazir_degil[letter];
      return {true, false, kDriveRemovable};
    }
    auto it = suruculer.find(letter);
    return it == suruculer.end() ? DriveFacts{true, true, kDriveFixed} : it->second;
  }
  Status CreateFolder(std::string_view path) override { return CreateFolder(std::string(path)); }
  Result<size_t> FileCount(std::string_view folder) override {
    PX_ASSIGN_OR_RETURN(auto l, List(std::string(folder)));
    size_t n = 0;
    for (const auto& e : l) n += e.is_folder ? 0 : 1;
    return n;
  }

  std::map<char, DriveFacts> suruculer;  // drives other than fixed and ready
  std::map<char, int> hazir_degil;       // looks at the drive still answered "not ready"
  std::map<char, int> dolu;              // writes below the drive still failing "disk full"
  int yazma = 0;                         // writes so far
  int bozuk_yazma = 0;                   // the n-th write fails with an I/O error; 0 never
  int yeniden_adlandirma = 0;
  std::vector<std::string> yaratilan;  // folders asked for, in order
  bool salt_okunur = false;            // no folder can be created

 private:
  struct Kayit {
    std::string ad;
    std::shared_ptr<std::string> content;
  };
  class Dosya : public platform::File {
   public:
    Dosya(BellekDosyalar& fs, Kayit k) : fs_(fs), k_(std::move(k)) {}
    Result<size_t> ReadAt(uint64_t offset, std::span<uint8_t> buf) override {
      const std::string& c = *k_.content;
      if (offset >= c.size()) return size_t{0};
      const size_t n = std::min(buf.size(), size_t(c.size() - offset));
      std::copy_n(c.data() + offset, n, buf.data());
      return n;
    }
    Status WriteAt(uint64_t offset, std::span<const uint8_t> bytes) override {
      if (++fs_.yazma == fs_.bozuk_yazma) {
        return Status::IOError("cannot write " + k_.ad + ": Input/output error");
      }
      const char harf = char(std::toupper(static_cast<unsigned char>(k_.ad[0])));
      if (fs_.dolu[harf] > 0) {
        --fs_.dolu[harf];
        return Status::DiskFull("cannot write " + k_.ad + ": no room left on the disk");
      }
      std::string& c = *k_.content;
      if (c.size() < offset + bytes.size()) c.resize(offset + bytes.size());
      std::copy(bytes.begin(), bytes.end(), c.begin() + std::ptrdiff_t(offset));
      return Status::Ok();
    }
    Status Append(std::span<const uint8_t> bytes) override {
      return WriteAt(k_.content->size(), bytes);
    }
    Result<uint64_t> Size() override { return uint64_t(k_.content->size()); }
    Status Truncate(uint64_t size) override {
      k_.content->resize(size);
      return Status::Ok();
    }
    Status Sync() override { return Status::Ok(); }
    const std::string& path() const override { return k_.ad; }

   private:
    BellekDosyalar& fs_;
    Kayit k_;
  };

  bool KlasorVar(const std::string& yol) const {
    return yol.size() == 2 || klasorler_.count(FoldCase(yol)) > 0;
  }

  std::map<std::string, Kayit> dosyalar_;
  std::map<std::string, std::string> klasorler_;
};

}  // namespace px::testing
