#pragma once
// Files as the backup flows write them. Every file reaches its folder whole or not at all:
// it is written under ".~" + name + ".tmp" beside its target, flushed, and renamed into
// place; on every failure the temporary file is removed. The flows use paths in the suite's
// own (Windows) form and reach files only through a platform::FileLayer, so that tests can
// hold the files in memory or inject a full disk.

#include <memory>
#include <string>
#include <string_view>

#include "core/result.h"
#include "platform/files.h"
#include "xbf/byte_stream.h"

namespace px::backup {

// The system's files (platform::SystemFiles) reached by domain paths ("D:\Yedek\Paket\...")
// through the drive map; paths that are not drive-qualified are host paths.
platform::FileLayer& HostFiles();

// Finishes (or undoes) the commit a killed restore left, from its record at the suite path
// `kayit`. The record names host paths, as the restore wrote them, so it is read through the
// host layer beneath `files` (FileLayer::HostLayer): on Windows a host path under a drive map
// would otherwise be taken for a suite path.
Status YarimKalanCommitiBitir(platform::FileLayer& files, const std::string& kayit);

// The folder part and the name part of a path; either separator counts.
std::string_view KlasorKismi(std::string_view yol);
std::string_view AdKismi(std::string_view yol);
// folder + "\" + name; no separator is added when the folder already ends with one.
std::string Birlestir(std::string_view klasor, std::string_view ad);

// ".~" + name + ".tmp" in the folder of `hedef`.
std::string GeciciAd(std::string_view hedef);
// True for the names GeciciAd gives (a killed run's leftovers).
bool GeciciAdMi(std::string_view ad);

// True when `st` is a report of a full disk (the old error 61): the file layer's DiskFull,
// or an I/O error that names ENOSPC or ERROR_DISK_FULL.
bool DiskDoluMu(const Status& st);

// A sink that writes into GeciciAd(target); Commit() flushes it and renames it over the
// target. Destroyed without a successful Commit() it removes the temporary file.
class YerineGecenDosya : public xbf::ByteSink {
 public:
  static Result<std::unique_ptr<YerineGecenDosya>> Ac(platform::FileLayer& files,
                                                      const std::string& hedef);
  ~YerineGecenDosya() override;
  Status Write(std::string_view bytes) override;
  Status Commit();
  uint64_t yazilan() const { return yazilan_; }

 private:
  YerineGecenDosya(platform::FileLayer& files, std::string hedef, std::string gecici,
                   std::unique_ptr<platform::File> dosya);
  platform::FileLayer& files_;
  std::string hedef_;
  std::string gecici_;
  std::unique_ptr<platform::File> dosya_;
  std::string tampon_;
  uint64_t yazilan_ = 0;
  bool bitti_ = false;
  Status hata_;
};

// A file read in chunks through the layer.
class KatmanGirdisi : public xbf::ByteInput {
 public:
  static Result<std::unique_ptr<KatmanGirdisi>> Ac(platform::FileLayer& files,
                                                   const std::string& yol);
  Result<size_t> Read(uint8_t* buf, size_t n) override;

 private:
  explicit KatmanGirdisi(std::unique_ptr<platform::File> f) : dosya_(std::move(f)) {}
  std::unique_ptr<platform::File> dosya_;
  uint64_t konum_ = 0;
};

// Copies `kaynak` over `hedef` through a temporary file beside the target. `sha256` and
// `bayt`, when given, receive the checksum and size of what was copied.
Status DosyaKopyala(platform::FileLayer& files, const std::string& kaynak, const std::string& hedef,
                    std::string* sha256 = nullptr, uint64_t* bayt = nullptr);

// The whole file (NotFound when missing); files above `en_fazla` bytes are refused.
Result<std::string> TumunuOku(platform::FileLayer& files, const std::string& yol,
                              size_t en_fazla = size_t{64} << 20);

// Removes every GeciciAdMi file directly in `klasor` (a killed run's leftovers); a missing
// folder is fine.
Status ArtiklariTemizle(platform::FileLayer& files, const std::string& klasor);

}  // namespace px::backup
