#include "backup/sirket_numaralari.h"

#include <cmath>
#include <cstdlib>

#include "db/text_of.h"

namespace px::backup {
namespace {

std::string Pad(long double rounded) {
  const bool negative = rounded < 0;
  std::string digits = std::to_string(static_cast<unsigned long long>(std::fabs(rounded)));
  if (digits.size() < 3) digits.insert(0, 3 - digits.size(), '0');
  return negative ? "-" + digits : digits;
}

}  // namespace

std::string UcHaneli(const Value& v) {
  if (IsNull(v)) return "";
  const std::string text = db::TextOf(v);
  if (std::holds_alternative<bool>(v)) return Pad(std::get<bool>(v) ? -1 : 0);
  char* end = nullptr;
  long double n = std::strtold(text.c_str(), &end);
  while (end != nullptr && *end == ' ') ++end;
  if (text.empty() || end == nullptr || *end != '\0' || !std::isfinite(n) ||
      std::fabs(n) >= 1e18L) {
    return text;
  }
  return Pad(std::round(n));  // halves away from zero, as Format does
}

Status SirketNumaralariniAl(db::Connection& sirket_db, std::vector<std::string>& liste) {
  PX_ASSIGN_OR_RETURN(auto rows,
                      sirket_db.Query("SELECT intSirketNo FROM tblSirket ORDER BY intSirketNo"));
  Row row;
  while (rows->Next(row)) liste.push_back(UcHaneli(row[0]));
  return rows->status();
}

}  // namespace px::backup
