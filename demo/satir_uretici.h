#pragma once
// Rows of a demo table: each value drawn by its column's Uret rule from a generator seeded
// by database, table, company and year, so the same table always gets the same rows on
// every machine (no standard library distribution is involved).

#include <cstdint>
#include <string>
#include <string_view>

#include "core/result.h"
#include "core/value.h"
#include "suite_tanimi.h"

namespace px::demo {

// splitmix64: small, fast and the same everywhere.
class Rastgele {
 public:
  explicit Rastgele(uint64_t tohum) : durum_(tohum) {}
  uint64_t Sonraki();
  // A whole number in [alt, ust].
  int64_t Aralik(int64_t alt, int64_t ust);
  // True with `yuzde` percent.
  bool Olasilik(int yuzde) { return Aralik(0, 99) < yuzde; }

 private:
  uint64_t durum_;
};

// FNV-1a of the parts joined with "|": the seed of one table's rows.
uint64_t Tohum(std::string_view dosya, std::string_view tablo, std::string_view sirket,
               std::string_view yil);

// Where the rows go: the company and year of the database (empty above its level).
struct Baglam {
  std::string sirket;
  std::string yil;
};

class SatirUretici {
 public:
  SatirUretici(const Veritabani& veritabani, const Tablo& tablo, Baglam baglam);
  // Row `sira` (0-based) in field order; an AutoNumber column gets Null, which takes the
  // table's next counter value.
  Result<Row> Satir(int sira);

 private:
  Result<Value> Deger(const Saha& saha, int sira);

  const Tablo& tablo_;
  Baglam baglam_;
  Rastgele rastgele_;
};

// A number of the column's type from its text ("2.5" for a Single).
Result<Value> TurDegeri(std::string_view tur, std::string_view metin);

}  // namespace px::demo
