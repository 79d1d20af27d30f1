// Text turned into column values as Jet turns it: each type's accepted forms, rounding,
// ranges and refusals.
#include <gtest/gtest.h>

#include "core/value_text.h"
#include "db/jet_text.h"
#include "db/text_of.h"

namespace px::db {
namespace {

FieldInfo Field(int type, int precision = 255, int scale = 255) {
  FieldInfo f;
  f.name = "f";
  f.ado_type = type;
  f.precision = precision;
  f.scale = scale;
  return f;
}

std::string Show(const Value& v) {
  if (auto* c = std::get_if<Currency>(&v)) return "cy " + std::to_string(c->scaled);
  if (auto* i = std::get_if<int64_t>(&v)) return "i " + std::to_string(*i);
  if (auto* f = std::get_if<float>(&v)) return "f " + ShortestFloat(*f);
  if (auto* d = std::get_if<double>(&v)) return "d " + ShortestDouble(*d);
  if (auto* o = std::get_if<OleDate>(&v)) return "date " + ShortestDouble(o->days);
  if (auto* s = std::get_if<std::string>(&v)) return "s " + *s;
  if (auto* b = std::get_if<bool>(&v)) return *b ? "true" : "false";
  return TextOf(v);
}

// `expected`: Show() of the value, or "!" and part of the error.
void ExpectValue(const Result<Value>& v, const std::string& expected, const std::string& what) {
  if (!expected.empty() && expected[0] == '!') {
    ASSERT_FALSE(v.ok()) << what << " gave " << Show(*v);
    EXPECT_NE(v.status().message().find(expected.substr(1)), std::string::npos)
        << what << ": " << v.status().message();
  } else {
    ASSERT_TRUE(v.ok()) << what << ": " << v.status().ToString();
    EXPECT_EQ(Show(*v), expected) << what;
  }
}

TEST(ValueFromText, EachTypeAsJetConvertsText) {
  struct Case {
    int type;
    const char* text;
    const char* expected;  // as ExpectValue() takes it
    NumberForm form = NumberForm::kInvariant;
  } cases[] = {
      {ado::kVarWChar, " a'b ", "s  a'b "},
      {ado::kLongVarWChar, "", "s "},
      {ado::kInteger, "42", "i 42"},
      {ado::kInteger, " -42 ", "i -42"},
      {ado::kInteger, "+7", "i 7"},
      {ado::kInteger, "001", "i 1"},
      {ado::kInteger, "2.5", "i 2"},  // half to even
      {ado::kInteger, "3.5", "i 4"},
      {ado::kInteger, "-2.51", "i -3"},
      {ado::kInteger, "1.2E3", "i 1200"},
      {ado::kInteger, "2147483647", "i 2147483647"},
      {ado::kInteger, "-2147483648", "i -2147483648"},
      {ado::kInteger, "2147483648", "!out of range for Long"},
      {ado::kInteger, "1e30", "!out of range for Long"},
      {ado::kInteger, "1,234", "!'1,234' is not a number"},
      {ado::kInteger, "12a", "!is not a number"},
      {ado::kInteger, "", "!is not a number"},
      {ado::kInteger, "1e", "!is not a number"},
      {ado::kInteger, "1.2.3", "!is not a number"},
      {ado::kInteger, "1e99999", "!is not a number"},  // exponent limit
      {ado::kUnsignedTinyInt, "255", "i 255"},
      {ado::kUnsignedTinyInt, "256", "!out of range for Byte"},
      {ado::kUnsignedTinyInt, "-1", "!out of range for Byte"},
      {ado::kSmallInt, "-32768", "i -32768"},
      {ado::kSmallInt, "32768", "!out of range for Integer"},
      {ado::kCurrency, "1234.56", "cy 12345600"},
      {ado::kCurrency, "1,234.56", "cy 12345600", NumberForm::kMoney},
      {ado::kCurrency, "1,234,567.5", "cy 12345675000", NumberForm::kMoney},
      {ado::kCurrency, "-0.00005", "cy 0"},  // half to even
      {ado::kCurrency, "0.00015", "cy 2"},
      {ado::kCurrency, "1,234.56", "!is not a number"},
      {ado::kCurrency, "1.234,56", "!is not a number", NumberForm::kMoney},
      {ado::kCurrency, ",5", "!is not a number", NumberForm::kMoney},
      {ado::kCurrency, "922337203685477.5807", "cy 9223372036854775807"},
      {ado::kCurrency, "922337203685477.5808", "!out of range for Currency"},
      {ado::kDouble, "0.1", "d 0.1"},
      {ado::kDouble, "-1.5E300", "d -1.5e+300"},
      {ado::kDouble, "1e-400", "d 0"},
      {ado::kDouble, "1e400", "!out of range for Double"},
      {ado::kSingle, "0.1", "f 0.1"},
      {ado::kSingle, "1e39", "!out of range for Single"},
      {ado::kNumeric, "12.345", "12.34"},  // scale 2, half to even
      {ado::kNumeric, "99999.994", "99999.99"},
      {ado::kDouble, "-0", "d 0"},
      {ado::kNumeric, "-000123.4500e-2", "-1.23"},
      {ado::kNumeric, "999999.99", "!out of range for Decimal"},
      {ado::kBoolean, "1", "true"},
      {ado::kBoolean, "0", "false"},
      {ado::kBoolean, "-1", "true"},
      {ado::kBoolean, "True", "true"},
      {ado::kBoolean, "hayır", "!is not a Yes/No value"},
      {ado::kDate, "2024-02-29 13:45:30", "date 45351.57326388889"},
      {ado::kDate, "1899-12-30", "date 0"},
      {ado::kDate, "29.02.2024", "date 45351"},
      {ado::kDate, "2023-02-29", "!is not a date"},
      {ado::kDate, "2024-04-31", "!is not a date"},
      {ado::kDate, "2024-01-01 24:00:00", "!is not a date"},
      {ado::kDate, "45000", "!is not a date"},
      {ado::kGUID, "{6B29FC40-CA47-1067-B31D-00DD010662DA}",
       "{6B29FC40-CA47-1067-B31D-00DD010662DA}"},
      {ado::kGUID, "6b29fc40-ca47-1067-b31d-00dd010662da",
       "{6B29FC40-CA47-1067-B31D-00DD010662DA}"},
      {ado::kGUID, "6b29fc40", "!is not a GUID"},
      {ado::kLongVarBinary, "abc", "!binary data cannot be given"},
  };
  for (const Case& c : cases) {
    ExpectValue(ValueFromText(Field(c.type, 7, 2), c.text, c.form), c.expected,
                std::to_string(c.type) + " '" + c.text + "'");
  }
}

TEST(CoerceToColumn, RecordsetValuesIntoOtherColumnTypes) {
  struct Case {
    int type;
    Value value;
    const char* expected;
  } cases[] = {
      {ado::kInteger, Value(int64_t{5}), "i 5"},
      {ado::kUnsignedTinyInt, Value(int64_t{300}), "!out of range for Byte"},
      {ado::kInteger, Value(true), "i -1"},
      {ado::kInteger, Value(false), "i 0"},
      {ado::kInteger, Value(2.5), "i 2"},
      {ado::kInteger, Value(std::string("17")), "i 17"},
      {ado::kDouble, Value(0.1f), "d 0.10000000149011612"},
      {ado::kDouble, Value(Currency{12345}), "d 1.2345"},
      {ado::kCurrency, Value(std::string("12.5")), "cy 125000"},
      {ado::kCurrency, Value(Currency{7}), "cy 7"},
      {ado::kVarWChar, Value(int64_t{12}), "s 12"},
      {ado::kVarWChar, Value(true), "s True"},
      {ado::kVarWChar, Value(OleDate{45351.5}), "s 2024-02-29 12:00:00"},
      {ado::kDate, Value(45351.25), "date 45351.25"},
      {ado::kDate, Value(std::string("2024-02-29")), "date 45351"},
      {ado::kBoolean, Value(int64_t{0}), "false"},
      {ado::kBoolean, Value(std::string("Yes")), "true"},
      {ado::kLongVarBinary, Value(std::string("x")), "!is not binary data"},
      {ado::kInteger, Value(Null{}), ""},
  };
  for (const Case& c : cases) {
    ExpectValue(CoerceToColumn(Field(c.type), c.value), c.expected, c.expected);
  }
}

}  // namespace
}  // namespace px::db
