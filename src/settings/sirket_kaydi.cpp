#include "settings/sirket_kaydi.h"

#include <cctype>
#include <charconv>
#include <cmath>

#include "db/jet_criteria.h"
#include "db/text_of.h"

namespace px::settings {
namespace {

Result<size_t> Column(const RowSource& rows, const char* table, const char* name) {
  const auto& fields = rows.fields();
  for (size_t i = 0; i < fields.size(); ++i) {
    if (EqualsIgnoreCase(fields[i].name, name)) return i;
  }
  return Status::InvalidArgument(std::string(table) + " has no column " + name);
}

std::string Trim(const std::string& s) {
  size_t b = 0, e = s.size();
  while (b < e && std::isspace(static_cast<unsigned char>(s[b]))) ++b;
  while (e > b && std::isspace(static_cast<unsigned char>(s[e - 1]))) --e;
  return s.substr(b, e - b);
}

// The integer value of a level's text, rounding halves to even as the suite's conversion does.
Result<int32_t> ToLevel(const std::string& text) {
  std::string t = Trim(text);
  double d = 0;
  auto [end, ec] = std::from_chars(t.data(), t.data() + t.size(), d);
  if (ec != std::errc() || end != t.data() + t.size()) {
    return Status::InvalidArgument("Guvenlik.Derecesi '" + text + "' is not a number");
  }
  double r = std::nearbyint(d);
  if (r < INT32_MIN || r > INT32_MAX) {
    return Status::InvalidArgument("Guvenlik.Derecesi '" + text + "' is out of range");
  }
  return static_cast<int32_t>(r);
}

}  // namespace

std::string BosIseSifir(const Value& v) {
  if (IsNull(v)) return "0";
  std::string text = db::TextOf(v);
  return Trim(text).empty() ? "0" : text;
}

Result<SirketKaydi> SirketKaydiOku(db::Connection& sirket_db, const std::string& sirket_no) {
  PX_ASSIGN_OR_RETURN(auto rows, sirket_db.Query("SELECT * FROM tblSirket WHERE intSirketNo = '" +
                                                 sirket_no + "' "));
  SirketKaydi kayit;
  Row row;
  if (!rows->Next(row)) {
    PX_RETURN_IF_ERROR(rows->status());
    return kayit;
  }
  if (row.size() < 2) return Status::InvalidArgument("tblSirket has fewer than two columns");
  auto field = [&](const char* name) -> Result<std::string> {
    PX_ASSIGN_OR_RETURN(size_t i, Column(*rows, "tblSirket", name));
    return db::TextOf(row[i]);
  };
  kayit.sirket_adi = db::TextOf(row[1]);
  PX_ASSIGN_OR_RETURN(kayit.sirket_fax_no, field("strSirketFax"));
  PX_ASSIGN_OR_RETURN(kayit.sirket_telefon_no1, field("strSirketTelefon1"));
  PX_ASSIGN_OR_RETURN(kayit.sirket_telefon_no2, field("strSirketTelefon2"));
  PX_ASSIGN_OR_RETURN(kayit.sirket_adi2, field("strSirketAdi2"));
  PX_ASSIGN_OR_RETURN(kayit.vergi_no, field("intSirketVergiNo"));
  PX_ASSIGN_OR_RETURN(kayit.vergi_dairesi, field("strSirketVergiDaire"));
  return kayit;
}

Result<int32_t> KullaniciDerecesiOku(db::Connection& sirket_db, const std::string& kullanici_adi,
                                     const std::string& sirket_no) {
  PX_ASSIGN_OR_RETURN(
      auto rows, sirket_db.Query("SELECT Derecesi FROM Guvenlik WHERE Kullanici = '" + sirket_no +
                                 kullanici_adi + "'"));
  Row row;
  if (!rows->Next(row)) {
    PX_RETURN_IF_ERROR(rows->status());
    return 2;
  }
  PX_ASSIGN_OR_RETURN(size_t i, Column(*rows, "Guvenlik", "Derecesi"));
  return ToLevel(BosIseSifir(row[i]));
}

}  // namespace px::settings
