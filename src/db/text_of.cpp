#include "db/text_of.h"

#include "core/value_text.h"

namespace px::db {
namespace {

std::string DateText(const OleDate& d) {
  auto parts = OleDateToParts(d.days);
  return parts ? FormatDateText(*parts) : "";
}

struct Texter {
  std::string operator()(const Null&) const { return ""; }
  std::string operator()(bool b) const { return b ? "True" : "False"; }
  std::string operator()(int64_t i) const { return std::to_string(i); }
  std::string operator()(float f) const { return ShortestFloat(f); }
  std::string operator()(double d) const { return ShortestDouble(d); }
  std::string operator()(const Currency& c) const { return CurrencyToPlain(c); }
  std::string operator()(const Decimal& d) const { return DecimalToPlain(d); }
  std::string operator()(const OleDate& d) const { return DateText(d); }
  std::string operator()(const Guid& g) const { return GuidToText(g); }
  std::string operator()(const std::string& s) const { return s; }
  std::string operator()(const Binary& b) const {
    return std::string(b.bytes.begin(), b.bytes.end());
  }
};

}  // namespace

std::string TextOf(const Value& v) {
  return std::visit(Texter{}, v);
}

}  // namespace px::db
