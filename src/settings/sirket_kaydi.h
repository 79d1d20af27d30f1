#pragma once
// The working company's record (tblSirket) and the user's level (Guvenlik), read from the
// company database through a connection, whichever backend holds it.

#include <cstdint>
#include <string>

#include "core/result.h"
#include "db/connection.h"

namespace px::settings {

inline constexpr char kBilinmeyenSirketAdi[] = "Bilinmeyen Şirket Adı";

struct SirketKaydi {
  std::string sirket_adi = kBilinmeyenSirketAdi;
  std::string sirket_fax_no;
  std::string sirket_telefon_no1;
  std::string sirket_telefon_no2;
  std::string sirket_adi2;
  std::string vergi_no;
  std::string vergi_dairesi;
  bool operator==(const SirketKaydi&) const = default;
};

// Runs "SELECT * FROM tblSirket WHERE intSirketNo = '<no>' " and takes the company name
// from the row's second column by position and the other fields by name, Null as empty.
// Without a row the record keeps its defaults (unknown name, empty fields).
Result<SirketKaydi> SirketKaydiOku(db::Connection& sirket_db, const std::string& sirket_no);

// "0" when the value is Null or its trimmed text is empty, else its text.
std::string BosIseSifir(const Value& v);

// The level of the user keyed company number + user name in Guvenlik: 2 without a row,
// 0 for a Null or blank level. A level that is not a whole number is an error.
Result<int32_t> KullaniciDerecesiOku(db::Connection& sirket_db, const std::string& kullanici_adi,
                                     const std::string& sirket_no);

}  // namespace px::settings
