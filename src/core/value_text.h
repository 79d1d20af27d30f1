#pragma once
// Text forms of values that several formats share: plain decimal notation for exact
// numbers, GUID text, hex, calendar parts of an OLE date, and the shortest round-trip
// text of floating-point numbers.

#include <cstdint>
#include <optional>
#include <string>

#include "core/bytes.h"
#include "core/value.h"

namespace px {

// Plain decimal notation: no exponent, no trailing zeros after the point, no point when
// whole, "-" for negatives, "0" for zero ("3.5", "-1234", "0.0001").
std::string CurrencyToPlain(Currency c);
std::string DecimalToPlain(const Decimal& d);

// Parses plain decimal notation ("-12.50", ".5", "7") into a Decimal keeping every digit
// given (so "12.50" has scale 2); nullopt when malformed or wider than 128 bits.
std::optional<Decimal> DecimalFromText(std::string_view text);
// Currency from plain decimal text with at most 4 decimals; nullopt when out of range.
std::optional<Currency> CurrencyFromText(std::string_view text);

// "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}", upper case.
std::string GuidToText(const Guid& g);
// Accepts the braced or bare form in any letter case.
std::optional<Guid> GuidFromText(std::string_view text);

std::string HexLower(Bytes b);

struct DateParts {
  int year = 1899, month = 12, day = 30;
  int hour = 0, minute = 0, second = 0, millisecond = 0;
  bool operator==(const DateParts&) const = default;
};

// Calendar parts of an OLE date, rounded to the millisecond (proleptic Gregorian
// calendar). nullopt for NaN, infinities and values outside years -9999..99999.
std::optional<DateParts> OleDateToParts(double days);
// The OLE date of calendar parts (inverse of the above for valid parts).
double PartsToOleDate(const DateParts& p);

// "YYYY-MM-DDTHH:MM:SS", then ".fff" only when the milliseconds are not zero.
std::string FormatIsoDateTime(const DateParts& p);
// "YYYY-MM-DD", then " HH:MM:SS" unless the time is midnight (milliseconds not shown).
// Fields are printf's "%04d" and "%02d": a negative year is "-099", a wide one "12345".
std::string FormatDateText(const DateParts& p);

// Shortest text that reads back to the same value ("0.1", "1e+300", "-0").
std::string ShortestDouble(double d);
std::string ShortestFloat(float f);

}  // namespace px
