#pragma once
// The package manifest "PergonixYedek.json" at the package root: every table file and extra
// file of the package as stored (a ".pbf" by its own bytes, with the row count of the table
// inside), with company, year, module, database, table, size and SHA-256, and the program
// version and time of the last write. The backup rewrites it whole after each module; a
// later backup into the same package adds to it and deleting old backups removes their
// entries. Layout:
//
//   {"program": "pergonix-yedek 0.1.0", "zaman": "2026-11-23T21:50:00Z",
//    "dosyalar": [{"yol": "Cari\\Data\\001\\2009\\cari-tblCari.pbf", "tur": "tablo",
//                  "sirket": "001", "yil": "2009", "modul": "Cari", "veritabani": "cari.mdb",
//                  "tablo": "tblCari", "satir": 12, "bayt": 345, "sha256": "…"}, …]}
//
// "yol" is relative to the package root with "\" separators; extra files have "tur": "ek",
// no table and "satir": -1.

#include <string>
#include <vector>

#include "core/result.h"
#include "platform/files.h"

namespace px::backup {

struct ManifestKaydi {
  std::string yol;
  std::string tur;  // "tablo" or "ek"
  std::string sirket;
  std::string yil;
  std::string modul;
  std::string veritabani;
  std::string tablo;
  int64_t satir = -1;
  uint64_t bayt = 0;
  std::string sha256;
  bool operator==(const ManifestKaydi&) const = default;
};

inline constexpr char kTabloDosyasi[] = "tablo";
inline constexpr char kEkDosya[] = "ek";

class Manifest {
 public:
  // An empty manifest for the package at `paket_yolu` (target + "\" + package).
  explicit Manifest(std::string paket_yolu) : paket_yolu_(std::move(paket_yolu)) {}

  // The package's manifest; an empty one when the file is missing. A damaged file is an
  // error naming it.
  static Result<Manifest> Oku(platform::FileLayer& files, const std::string& paket_yolu);
  // Parses the text of a manifest; `ad` names it in errors.
  static Result<Manifest> Coz(std::string_view metin, const std::string& ad,
                              const std::string& paket_yolu);

  // The path relative to the package root of a full path below it ("" when not below it).
  std::string GoreliYol(std::string_view tam_yol) const;

  // Adds the entry, replacing one with the same path (compared without regard to case).
  void Ekle(ManifestKaydi kayit);
  // Removes the entry of a full path, if any.
  void Sil(std::string_view tam_yol);

  // The JSON text, and its atomic write to the package root.
  std::string Metin() const;
  Status Yaz(platform::FileLayer& files) const;

  const std::vector<ManifestKaydi>& kayitlar() const { return kayitlar_; }
  const std::string& program() const { return program_; }
  const std::string& zaman() const { return zaman_; }
  const std::string& paket_yolu() const { return paket_yolu_; }
  // Program version and time written with the next Metin(); the clock when empty.
  void Damgala(std::string program, std::string zaman) {
    program_ = std::move(program);
    zaman_ = std::move(zaman);
  }

 private:
  std::string paket_yolu_;
  std::string program_;
  std::string zaman_;
  std::vector<ManifestKaydi> kayitlar_;
};

// The current time as "YYYY-MM-DDTHH:MM:SSZ".
std::string SimdiUtc();

}  // namespace px::backup
