#pragma once
// How Jet turns text into the value of a column, as "INSERT INTO ... Values ('...')" and
// "UPDATE ... SET c = '...'" need it, and as the WHERE criteria compare: numbers in the
// invariant form (a point before the decimals, an optional exponent; the money form also
// takes commas as group separators), dates "YYYY-MM-DD[ HH:MM[:SS]]" (or the Turkish
// "DD.MM.YYYY"), booleans as True/False/Yes/No/On/Off or a number, GUIDs braced or bare.
// Exact numbers round half to even, as Jet's conversions do.

#include <optional>
#include <string>
#include <string_view>

#include "core/result.h"
#include "core/value.h"

namespace px::db {

// digits / 10^scale, negated when `negative`. `scale` is negative for "5e3" (5, -3).
struct ExactNumber {
  bool negative = false;
  std::string digits;  // at least one digit
  int scale = 0;
};

enum class NumberForm {
  kInvariant,  // "-1234.5", "2.5E-3", ".5"
  kMoney,      // also "1,234.56": commas in the integer part are group separators
};

// Blanks around the number are ignored; nullopt when the text is not a number.
std::optional<ExactNumber> ParseJetNumber(std::string_view text,
                                          NumberForm form = NumberForm::kInvariant);
// The number as an exact Decimal; nullopt when it needs more than 128 bits.
std::optional<Decimal> ToDecimal(const ExactNumber& n);

// OLE date days of "YYYY-MM-DD[ HH:MM[:SS]]" (a "T" may stand for the blank) or of
// "DD.MM.YYYY[ HH:MM[:SS]]".
std::optional<double> ParseJetDate(std::string_view text);
std::optional<bool> ParseJetBoolean(std::string_view text);

// Characters (code points) of UTF-8 text.
size_t Utf8Length(std::string_view utf8);

// The value that a column of `field`'s ADO type takes from `text`. Errors say why
// ("is not a number", "is out of range for Byte") without naming the column; callers add
// the table and column.
Result<Value> ValueFromText(const FieldInfo& field, std::string_view text,
                            NumberForm form = NumberForm::kInvariant);

// A value of any type given to a column, as a recordset's field assignment converts it:
// values of the column's own type pass with a range check, booleans count as -1 and 0,
// others go through their text (db::TextOf) and ValueFromText.
Result<Value> CoerceToColumn(const FieldInfo& field, const Value& value);

}  // namespace px::db
