#pragma once
// What the restore flows work with: the suite's folders and files, the package's files,
// the module databases, the schema catalog and the operator; and the unit of change of a
// restore, one module, whose databases change together or not at all.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/result.h"
#include "db/connection.h"
#include "db/database.h"
#include "operator/operator.h"
#include "platform/file_system.h"
#include "platform/files.h"

namespace px::restore {

struct DosyaGirdisi {
  std::string ad;
  bool klasor = false;
  bool operator==(const DosyaGirdisi&) const = default;
};

// A file as stored: its size and the SHA-256 of its bytes.
struct DosyaOzeti {
  uint64_t bayt = 0;
  std::string sha256;
};

// The files the restore reads and writes, on domain paths ("C:\Pergonix\Cari\Data\...") or
// host paths.
class Dosyalar {
 public:
  virtual ~Dosyalar() = default;
  // Files and folders directly in `klasor`, by name; NotFound without the folder.
  virtual Result<std::vector<DosyaGirdisi>> Liste(const std::string& klasor) = 0;
  // A table file (persisted recordset XML) as a row stream.
  virtual Result<std::unique_ptr<RowSource>> TabloAc(const std::string& yol) = 0;
  // How many rows TabloAc(yol) gives, counted without reading their values: exact for a
  // file that reads without an error (a damaged one is for the reading to tell).
  virtual Result<int64_t> SatirSay(const std::string& yol) = 0;
  // Decompresses a ".pbf" into `hedef`; on failure `hedef` is left as it was. A scratch
  // `hedef` (read back and removed by this run) is not flushed to disk.
  virtual Status Ac(const std::string& pbf, const std::string& hedef,
                    platform::Durability dayaniklilik) = 0;
  // Ac(), with the rows of `hedef` counted as SatirSay(hedef) counts them; `satir` is set
  // when the decompression succeeds.
  virtual Status AcVeSay(const std::string& pbf, const std::string& hedef,
                         platform::Durability dayaniklilik, Result<int64_t>& satir) {
    PX_RETURN_IF_ERROR(Ac(pbf, hedef, dayaniklilik));
    satir = SatirSay(hedef);
    return Status::Ok();
  }
  // Copies a file over `hedef`, which is replaced only once the copy is complete.
  virtual Status Kopyala(const std::string& kaynak, const std::string& hedef) = 0;
  virtual Status Sil(const std::string& yol) = 0;  // OK when missing
  // A small file whole (NotFound without it), and any file's size and checksum, read in
  // bounded chunks.
  virtual Result<std::string> Oku(const std::string& yol) = 0;
  virtual Result<DosyaOzeti> Ozet(const std::string& yol) = 0;
  // The folder and every missing folder above it.
  virtual Status KlasorlerYarat(const std::string& yol) = 0;
};

// A run killed while it copied a database before changing it leaves the copy's temporary
// file (".~NAME.tmp") in its own copies folder, where no later run looks: each run removes
// such leftovers below `kok` + "\GeriAlOncesi" first.
Status OncekiKopyaArtiklariniSil(Dosyalar& dosyalar, const std::string& kok);

// The operating system's files through the drive map and the program's file layer: copies
// stream in bounded chunks, are flushed and renamed into place.
class HostDosyalar : public Dosyalar {
 public:
  HostDosyalar();
  explicit HostDosyalar(platform::FileLayer& files) : files_(files) {}
  Result<std::vector<DosyaGirdisi>> Liste(const std::string& klasor) override;
  Result<std::unique_ptr<RowSource>> TabloAc(const std::string& yol) override;
  Result<int64_t> SatirSay(const std::string& yol) override;
  Status Ac(const std::string& pbf, const std::string& hedef,
            platform::Durability dayaniklilik) override;
  // Counts while it decompresses, on a second thread.
  Status AcVeSay(const std::string& pbf, const std::string& hedef,
                 platform::Durability dayaniklilik, Result<int64_t>& satir) override;
  Status Kopyala(const std::string& kaynak, const std::string& hedef) override;
  Status Sil(const std::string& yol) override;
  Result<std::string> Oku(const std::string& yol) override;
  Result<DosyaOzeti> Ozet(const std::string& yol) override;
  Status KlasorlerYarat(const std::string& yol) override;

 private:
  platform::FileLayer& files_;
};

using KatalogAcici = std::function<Result<std::unique_ptr<db::Connection>>(const std::string& yol)>;

struct Ortam {
  FileSystem& fs;
  Dosyalar& dosyalar;
  db::DatabasePool& havuz;
  op::Operator& op;
  KatalogAcici katalog_ac;
  std::string kok;              // the suite's work area, CalismaAlani
  std::string veritabani_turu;  // the settings' VeriTabaniTuru: "Access" or "SQLServer"
  std::string gecici_klasor;    // the staging folder, ending in a separator
  // Where the copies of databases taken before their first change go (the work area +
  // "\GeriAlOncesi\" + the run's start); empty: no copies.
  std::string onceki_kopya_klasoru;
  // Copies taken so far in this run (their paths).
  std::vector<std::string> alinan_kopyalar;
  // Asked of every table file once it has been read through (its path in the package and
  // its row count): a text when the file differs from what the package's manifest says.
  std::function<std::optional<std::string>(const std::string& yol, int64_t satir)> dosya_denetle;
  // Those texts, in the order met; the run lists them at its end.
  std::vector<std::string> uyarilar;
};

// The databases one module changes, each open once through the pool and inside one
// transaction. Bitir commits them together through the pool (db/group_commit.h: a killed
// program leaves them all as before or, once the next run has started, all as after);
// anything else (an error, or destruction before Bitir) rolls every one back, so the
// module's databases are exactly as before it began.
class ModulIslemi {
 public:
  explicit ModulIslemi(Ortam& ortam) : ortam_(ortam) {}
  ~ModulIslemi();
  ModulIslemi(const ModulIslemi&) = delete;
  ModulIslemi& operator=(const ModulIslemi&) = delete;

  // An existing database, copied first (once per run) when copies are kept.
  Result<db::Database*> Ac(const std::string& yol);
  // A new database; its file appears only when the module commits.
  Result<db::Database*> Yarat(const std::string& yol);
  Status Bitir();
  void GeriCevir();

 private:
  Result<db::Database*> Katil(const std::string& yol, Result<db::Database*> acilan);
  db::Database* Bul(const std::string& yol);

  Ortam& ortam_;
  std::vector<std::pair<std::string, db::Database*>> acik_;
  bool bitti_ = false;
};

// "Hata Kodu: " + number + line break + "Açıklama: " + description; exclamation, "Hata".
void HataKoduGoster(op::Operator& op, const Status& hata);

}  // namespace px::restore
