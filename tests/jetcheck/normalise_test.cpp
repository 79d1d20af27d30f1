// The rules that bring the references' output into our forms: a wrong rule would hide
// engine faults or report false ones, so each is held to cases worked out by hand.

#include <gtest/gtest.h>

#include "jetcheck/jsonl_helpers.h"
#include "jetcheck/reference_helpers.h"

namespace px::jetcheck {
namespace {

using K = JsonScalar::Kind;

JsonScalar Num(const char* t) {
  return {K::kNumber, t};
}
JsonScalar Str(const char* t) {
  return {K::kString, t};
}

bool AgreesWithMdbJson(const JsonScalar& ours, const JsonScalar& theirs) {
  return CheckValue(Reference::kMdbJson, ours, &theirs).equal;
}

// Numbers keep their digits: "1.50" and "1.5" are different texts for the mdb-reader rule.
TEST(JsonLines, FlatObjectsKeepNumberTextAndOthersAreRefused) {
  std::string error;
  auto o = ParseJsonObject(R"({"a":1.50,"b":"x\"\u00e7\ud83d\ude00","c":null,"d":true})", &error);
  ASSERT_TRUE(o) << error;
  ASSERT_EQ(o->size(), 4u);
  EXPECT_EQ((*o)[0].second, Num("1.50"));
  EXPECT_EQ((*o)[1].second.text, "x\"\xC3\xA7\xF0\x9F\x98\x80");
  EXPECT_EQ((*o)[2].second.kind, K::kNull);
  EXPECT_EQ(FindKey(*o, "e"), nullptr);
  for (const char* bad : {"", "{", R"({"a":1} x)", R"({"a":[1]})", R"({"a":{"b":1}})", "5"}) {
    error.clear();
    EXPECT_FALSE(ParseJsonObject(bad, &error)) << bad;
    EXPECT_FALSE(error.empty()) << bad;
  }
  EXPECT_TRUE(ParseJsonObject("{}", nullptr));
}

TEST(Normalise, PrintedPrecision) {
  struct Case {
    const char* ours;
    const char* printed;
    bool same;
  };
  const Case floats[] = {{"444.555", "444.555", true},
                         {"0.1", "1.00000000000000006e-01", true},
                         {"3.14159265358979", "3.14159", true},
                         {"3.14159265358979", "3.14158", false},
                         {"123456789", "1.23457e+08", true},
                         {"123456789", "1.23456e+08", false},
                         {"-2.5e-07", "-2.5e-07", true},
                         {"0", "0", true},
                         {"1e-300", "0", false}};
  for (const Case& c : floats) {
    EXPECT_EQ(SameToPrintedDigits(c.ours, c.printed), c.same) << c.ours << " " << c.printed;
  }
}

TEST(Normalise, DatesParse) {
  auto p = ParseDateTime("2009-11-05T23:41:28.250");
  ASSERT_TRUE(p);
  EXPECT_EQ(p->millisecond, 250);
  for (const char* bad : {"2009-11-05 23:41:28", "2009-13-05T23:41:28", "2009-11-05T23:41:28.25",
                          "11/05/09 23:41:28"}) {
    EXPECT_FALSE(ParseDateTime(bad)) << bad;
  }
}

TEST(MdbJsonRules, DatesAreHeldToWholeSecondsInsideMdbtoolsRange) {
  EXPECT_TRUE(AgreesWithMdbJson(Str("1974-09-21T00:00:00"), Str("1974-09-21T00:00:00")));
  EXPECT_TRUE(AgreesWithMdbJson(Str("1974-09-21T12:00:00.700"), Str("1974-09-21T12:00:01")));
  EXPECT_FALSE(AgreesWithMdbJson(Str("1974-09-21T12:00:00.700"), Str("1974-09-21T12:00:00")));
  EXPECT_TRUE(AgreesWithMdbJson(Str("1974-09-21T12:00:00.500"), Str("1974-09-21T12:00:00")));
  EXPECT_FALSE(AgreesWithMdbJson(Str("1974-09-22T00:00:00"), Str("1974-09-21T00:00:00")));
  EXPECT_FALSE(AgreesWithMdbJson(Str("1974-09-21T10:00:00.499"), Str("1974-09-21T10:00:01")));
  // Rounding carries into the next year and over a leap day; mdbtools may print hour 24.
  EXPECT_TRUE(AgreesWithMdbJson(Str("1999-12-31T23:59:59.600"), Str("2000-01-01T00:00:00")));
  EXPECT_TRUE(AgreesWithMdbJson(Str("2000-02-28T23:59:59.999"), Str("2000-02-29T00:00:00")));
  EXPECT_TRUE(AgreesWithMdbJson(Str("1900-03-01T00:00:00"), Str("1900-02-28T24:00:00")));
  // Outside the years mdbtools converts, mdb-reader decides.
  JsonScalar day_zero = Str("1900-01-00T00:00:00");
  ValueCheck old = CheckValue(Reference::kMdbJson, Str("1850-01-01T06:00:00"), &day_zero);
  EXPECT_TRUE(old.deferred);
}

TEST(MdbJsonRules, OtherTypes) {
  EXPECT_TRUE(AgreesWithMdbJson(Str("3.5"), Num("3.5000")));
  EXPECT_TRUE(AgreesWithMdbJson(Str("-1234"), Num("-1234.0000")));
  EXPECT_TRUE(AgreesWithMdbJson(Str("0"), Num("-0.00")));
  EXPECT_FALSE(AgreesWithMdbJson(Str("3.5"), Num("3.5001")));
  EXPECT_TRUE(AgreesWithMdbJson({K::kBool, "true"}, Num("1")));
  EXPECT_FALSE(AgreesWithMdbJson({K::kBool, "false"}, Num("1")));
  EXPECT_TRUE(AgreesWithMdbJson(Num("42"), Num("42")));
  EXPECT_FALSE(AgreesWithMdbJson(Num("42"), Num("43")));
  EXPECT_FALSE(AgreesWithMdbJson(Num("42"), Str("42")));
  EXPECT_TRUE(AgreesWithMdbJson(Str("{0A1B2C3D-0000-1111-2222-333344445555}"),
                                Str("{0a1b2c3d-0000-1111-2222-333344445555}")));
  EXPECT_FALSE(AgreesWithMdbJson(Str("abc"), Str("ABC")));
  // mdb-json leaves NULL columns out of the row.
  EXPECT_TRUE(CheckValue(Reference::kMdbJson, {K::kNull, "null"}, nullptr).equal);
  EXPECT_FALSE(CheckValue(Reference::kMdbJson, Str(""), nullptr).equal);
}

TEST(CompareRows, ReportsTableRowColumnAndBothValues) {
  RowsComparison c =
      CompareRows(Reference::kMdbReader, "T1", "{\"a\":1,\"b\":\"x\"}\n{\"a\":2,\"b\":\"y\"}\n",
                  "{\"a\":1,\"b\":\"x\"}\n{\"a\":2,\"b\":\"z\"}\n");
  ASSERT_EQ(c.failures.size(), 1u);
  EXPECT_EQ(c.failures[0], "table T1 row 2 column b: ours \"y\", mdb-reader \"z\"");
  EXPECT_EQ(c.values, 3u);

  RowsComparison count = CompareRows(Reference::kMdbJson, "T2", "{\"a\":1}\n", "");
  ASSERT_EQ(count.failures.size(), 1u);
  EXPECT_EQ(count.failures[0], "table T2: ours has 1 rows, mdb-json 0");

  RowsComparison keys = CompareRows(Reference::kMdbReader, "T3", "{\"a\":1}\n", "{\"b\":1}\n");
  ASSERT_EQ(keys.failures.size(), 1u);
  EXPECT_NE(keys.failures[0].find("columns differ"), std::string::npos);
}

}  // namespace
}  // namespace px::jetcheck
