#include "db/jet_criteria.h"

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <optional>

#include "core/value_text.h"
#include "db/jet_text.h"

namespace px::db {
namespace {

Status Mismatch(const FieldInfo& field, const EqualsCondition& cond) {
  return Status::InvalidArgument("Data type mismatch in criteria expression: column " + field.name +
                                 " compared with '" + cond.literal + "'");
}

// The literal as an exact decimal, the way Jet converts text to a number.
std::optional<Decimal> LiteralNumber(std::string_view literal) {
  auto n = ParseJetNumber(literal);
  if (!n) return std::nullopt;
  return ToDecimal(*n);
}

// Plain decimal text of an exact number; "-0" never occurs.
std::string Canonical(const Decimal& d) {
  return DecimalToPlain(d);
}

struct Matcher {
  const FieldInfo& field;
  const EqualsCondition& cond;

  Result<bool> operator()(const Null&) const { return false; }
  Result<bool> operator()(const std::string& s) const { return EqualsIgnoreCase(s, cond.literal); }
  Result<bool> operator()(bool b) const {
    auto lit = ParseJetBoolean(cond.literal);
    if (!lit) return Mismatch(field, cond);
    return *lit == b;
  }
  Result<bool> operator()(int64_t v) const { return Exact(std::to_string(v)); }
  Result<bool> operator()(const Currency& c) const { return Exact(CurrencyToPlain(c)); }
  Result<bool> operator()(const Decimal& d) const { return Exact(DecimalToPlain(d)); }
  Result<bool> operator()(double d) const {
    auto lit = LiteralNumber(cond.literal);
    if (!lit) return Mismatch(field, cond);
    return std::strtod(Canonical(*lit).c_str(), nullptr) == d;
  }
  Result<bool> operator()(float f) const {
    auto lit = LiteralNumber(cond.literal);
    if (!lit) return Mismatch(field, cond);
    return std::strtof(Canonical(*lit).c_str(), nullptr) == f;
  }
  Result<bool> operator()(const OleDate& d) const {
    auto lit = ParseJetDate(cond.literal);
    if (!lit) return Mismatch(field, cond);
    return std::fabs(*lit - d.days) < 0.5 / 86400000.0;
  }
  Result<bool> operator()(const Guid& g) const {
    std::string_view t = TrimBlanks(cond.literal);
    auto lit = GuidFromText(t);
    if (!lit && t.size() == 36) lit = GuidFromText("{" + std::string(t) + "}");
    if (!lit) return Mismatch(field, cond);
    return *lit == g;
  }
  Result<bool> operator()(const Binary&) const {
    return Status::NotSupported("column " + field.name +
                                " holds binary data and cannot be compared");
  }

  Result<bool> Exact(const std::string& plain) const {
    auto lit = LiteralNumber(cond.literal);
    if (!lit) return Mismatch(field, cond);
    return Canonical(*lit) == plain;
  }
};

}  // namespace

Result<bool> MatchesCondition(const FieldInfo& field, const Value& value,
                              const EqualsCondition& condition) {
  return std::visit(Matcher{field, condition}, value);
}

}  // namespace px::db
