#include "db/jet_criteria.h"

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <optional>

#include "core/value_text.h"

namespace px::db {
namespace {

std::string_view Trim(std::string_view s) {
  while (!s.empty() && std::isspace(static_cast<unsigned char>(s.front()))) s.remove_prefix(1);
  while (!s.empty() && std::isspace(static_cast<unsigned char>(s.back()))) s.remove_suffix(1);
  return s;
}

Status Mismatch(const FieldInfo& field, const EqualsCondition& cond) {
  return Status::InvalidArgument("Data type mismatch in criteria expression: column " + field.name +
                                 " compared with '" + cond.literal + "'");
}

// The literal as an exact decimal, the way Jet converts text to a number.
std::optional<Decimal> LiteralNumber(std::string_view literal) {
  std::string_view t = Trim(literal);
  bool negative = false;
  if (!t.empty() && (t.front() == '+' || t.front() == '-')) {
    negative = t.front() == '-';
    t.remove_prefix(1);
  }
  auto d = DecimalFromText(t);
  if (d && negative) d->negative = !d->negative;
  return d;
}

// Plain decimal text of an exact number; "-0" never occurs.
std::string Canonical(const Decimal& d) {
  return DecimalToPlain(d);
}

std::optional<bool> LiteralBoolean(std::string_view literal) {
  std::string up = FoldCase(Trim(literal));
  if (up == "TRUE" || up == "YES" || up == "ON") return true;
  if (up == "FALSE" || up == "NO" || up == "OFF") return false;
  if (auto n = LiteralNumber(literal)) return Canonical(*n) != "0";
  return std::nullopt;
}

int Digits(std::string_view s, size_t pos, size_t count) {
  if (pos + count > s.size()) return -1;
  int v = 0;
  for (size_t i = pos; i < pos + count; ++i) {
    if (!std::isdigit(static_cast<unsigned char>(s[i]))) return -1;
    v = v * 10 + (s[i] - '0');
  }
  return v;
}

// "YYYY-MM-DD[ HH:MM[:SS]]" or the Turkish "DD.MM.YYYY[ HH:MM[:SS]]".
std::optional<double> LiteralDate(std::string_view literal) {
  std::string_view t = Trim(literal);
  DateParts p{};
  size_t time_at = 10;
  if (t.size() >= 10 && t[4] == '-' && t[7] == '-') {
    p.year = Digits(t, 0, 4), p.month = Digits(t, 5, 2), p.day = Digits(t, 8, 2);
  } else if (t.size() >= 10 && t[2] == '.' && t[5] == '.') {
    p.day = Digits(t, 0, 2), p.month = Digits(t, 3, 2), p.year = Digits(t, 6, 4);
  } else {
    return std::nullopt;
  }
  if (p.year < 100 || p.month < 1 || p.month > 12 || p.day < 1 || p.day > 31) return std::nullopt;
  if (t.size() > time_at) {
    if (t[time_at] != ' ' && t[time_at] != 'T') return std::nullopt;
    std::string_view clock = t.substr(time_at + 1);
    p.hour = Digits(clock, 0, 2);
    p.minute = clock.size() >= 5 && clock[2] == ':' ? Digits(clock, 3, 2) : -1;
    p.second = 0;
    if (clock.size() == 8 && clock[5] == ':') {
      p.second = Digits(clock, 6, 2);
    } else if (clock.size() != 5) {
      return std::nullopt;
    }
    if (p.hour < 0 || p.hour > 23 || p.minute < 0 || p.minute > 59 || p.second < 0 ||
        p.second > 59) {
      return std::nullopt;
    }
  }
  return PartsToOleDate(p);
}

struct Matcher {
  const FieldInfo& field;
  const EqualsCondition& cond;

  Result<bool> operator()(const Null&) const { return false; }
  Result<bool> operator()(const std::string& s) const { return EqualsIgnoreCase(s, cond.literal); }
  Result<bool> operator()(bool b) const {
    auto lit = LiteralBoolean(cond.literal);
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
    auto lit = LiteralDate(cond.literal);
    if (!lit) return Mismatch(field, cond);
    return std::fabs(*lit - d.days) < 0.5 / 86400000.0;
  }
  Result<bool> operator()(const Guid& g) const {
    std::string_view t = Trim(cond.literal);
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
