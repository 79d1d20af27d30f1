#include <gtest/gtest.h>

#include "core/value_text.h"
#include "db/connection.h"
#include "db/jet_criteria.h"
#include "db/select_rows.h"
#include "db/select_sql.h"

namespace px::db {
namespace {

TEST(ParseSelect, SuiteStatements) {
  auto st = ParseSelect("SELECT * FROM tblSirket WHERE intSirketNo = '001' ");
  ASSERT_TRUE(st.ok()) << st.status().ToString();
  EXPECT_TRUE(st->columns.empty());
  EXPECT_EQ(st->table, "tblSirket");
  ASSERT_EQ(st->where.size(), 1u);
  EXPECT_EQ(st->where[0].column, "intSirketNo");
  EXPECT_EQ(st->where[0].literal, "001");
  EXPECT_TRUE(st->where[0].quoted);

  st = ParseSelect(
      "select Derecesi, [Ad Soyad] from Guvenlik where Kullanici = 'O''Neil' and x = 5");
  ASSERT_TRUE(st.ok()) << st.status().ToString();
  EXPECT_EQ(st->columns, (std::vector<std::string>{"Derecesi", "Ad Soyad"}));
  ASSERT_EQ(st->where.size(), 2u);
  EXPECT_EQ(st->where[0].literal, "O'Neil");
  EXPECT_EQ(st->where[1].literal, "5");
  EXPECT_FALSE(st->where[1].quoted);

  st = ParseSelect("SELECT intSirketNo FROM tblSirket ORDER BY intSirketNo DESC, strAd");
  ASSERT_TRUE(st.ok()) << st.status().ToString();
  ASSERT_EQ(st->order_by.size(), 2u);
  EXPECT_TRUE(st->order_by[0].descending);
  EXPECT_FALSE(st->order_by[1].descending);

  st =
      ParseSelect("SELECT * FROM tablo_veritabani_bilgileri WHERE VeritabaniModulAdi = 'Demirbaş'");
  ASSERT_TRUE(st.ok());
  EXPECT_EQ(st->where[0].literal, "Demirbaş");
}

TEST(ParseSelect, RefusesWhatItCannotAnswerAndQuotesTheStatement) {
  for (const char* sql :
       {"DELETE FROM t", "SELECT FROM t", "SELECT * FROM", "SELECT * FROM t WHERE a > 1",
        "SELECT * FROM t WHERE a = 'open", "SELECT * FROM t WHERE a = 1 OR b = 2",
        "SELECT * FROM t extra", "SELECT * FROM [t", "SELECT a, FROM t", ""}) {
    auto st = ParseSelect(sql);
    ASSERT_FALSE(st.ok()) << sql;
    EXPECT_NE(st.status().message().find("SQL \"" + std::string(sql) + "\""), std::string::npos)
        << st.status().message();
  }
}

FieldInfo Field(const char* name, int type) {
  FieldInfo f;
  f.name = name;
  f.ado_type = type;
  return f;
}

Result<bool> Match(int type, const Value& v, const char* literal) {
  EqualsCondition c{"x", literal, true};
  return MatchesCondition(Field("x", type), v, c);
}

TEST(JetCriteria, QuotedLiteralAgainstNumbersComparesByValue) {
  EXPECT_TRUE(*Match(ado::kInteger, int64_t{1}, "001"));
  EXPECT_TRUE(*Match(ado::kInteger, int64_t{1}, " 1.0 "));
  EXPECT_FALSE(*Match(ado::kInteger, int64_t{10}, "001"));
  EXPECT_TRUE(*Match(ado::kInteger, int64_t{-7}, "-7"));
  EXPECT_TRUE(*Match(ado::kCurrency, Currency{35000}, "3.50"));
  EXPECT_FALSE(*Match(ado::kCurrency, Currency{35001}, "3.5"));
  EXPECT_TRUE(*Match(ado::kDouble, 0.1, "0.1"));
  EXPECT_TRUE(*Match(ado::kSingle, 0.1f, "0.1"));
  EXPECT_TRUE(*Match(ado::kBoolean, true, "True"));
  EXPECT_TRUE(*Match(ado::kBoolean, true, "-1"));
  EXPECT_TRUE(*Match(ado::kBoolean, false, "0"));
  EXPECT_FALSE(*Match(ado::kInteger, Value{Null{}}, "1"));
}

TEST(JetCriteria, UnconvertibleLiteralIsATypeMismatchNamingTheColumn) {
  auto r = Match(ado::kInteger, int64_t{1}, "abc");
  ASSERT_FALSE(r.ok());
  EXPECT_NE(r.status().message().find("Data type mismatch"), std::string::npos);
  EXPECT_NE(r.status().message().find("column x"), std::string::npos);
  EXPECT_FALSE(Match(ado::kLongVarBinary, Binary{{1}}, "01").ok());
}

TEST(JetCriteria, TextIgnoresLetterCaseButNotOtherDifferences) {
  EXPECT_TRUE(*Match(ado::kVarWChar, std::string("001pergo"), "001PERGO"));
  EXPECT_TRUE(*Match(ado::kVarWChar, std::string("çağrı şöğüt"), "ÇAĞRI ŞÖĞÜT"));
  EXPECT_TRUE(*Match(ado::kVarWChar, std::string("İstanbul"), "istanbul"));
  EXPECT_FALSE(*Match(ado::kVarWChar, std::string("abc "), "abc"));
  EXPECT_FALSE(*Match(ado::kVarWChar, std::string("ç"), "c"));
  EXPECT_TRUE(*Match(ado::kVarWChar, std::string(""), ""));
}

TEST(JetCriteria, DatesAndGuids) {
  OleDate d{PartsToOleDate(DateParts{2009, 3, 1, 12, 30, 0, 0})};
  EXPECT_TRUE(*Match(ado::kDate, d, "2009-03-01 12:30:00"));
  EXPECT_TRUE(*Match(ado::kDate, d, "01.03.2009 12:30"));
  EXPECT_FALSE(*Match(ado::kDate, d, "2009-03-01"));
  EXPECT_FALSE(Match(ado::kDate, d, "yesterday").ok());
  Guid g{};
  g.bytes[0] = 0x78;
  EXPECT_TRUE(*Match(ado::kGUID, g, "{00000078-0000-0000-0000-000000000000}"));
  EXPECT_TRUE(*Match(ado::kGUID, g, "00000078-0000-0000-0000-000000000000"));
}

std::unique_ptr<RowSource> Companies() {
  std::vector<FieldInfo> fields{Field("intSirketNo", ado::kInteger),
                                Field("strSirketAdi", ado::kVarWChar)};
  std::vector<Row> rows{{int64_t{12}, std::string("Beta")},
                        {int64_t{1}, std::string("Alfa")},
                        {Null{}, std::string("Boş")},
                        {int64_t{3}, Null{}}};
  return std::make_unique<VectorRowSource>(fields, rows);
}

std::vector<Row> Drain(RowSource& s) {
  std::vector<Row> out;
  Row r;
  while (s.Next(r)) out.push_back(r);
  EXPECT_TRUE(s.status().ok()) << s.status().ToString();
  return out;
}

TEST(SelectRows, FiltersProjectsAndOrders) {
  auto st = ParseSelect("SELECT strsirketadi FROM tblSirket WHERE INTSIRKETNO = '012'");
  auto rows = SelectRows(Companies(), *st);
  ASSERT_TRUE(rows.ok()) << rows.status().ToString();
  ASSERT_EQ((*rows)->fields().size(), 1u);
  EXPECT_EQ((*rows)->fields()[0].name, "strSirketAdi");
  EXPECT_EQ(Drain(**rows), (std::vector<Row>{{std::string("Beta")}}));

  st = ParseSelect("SELECT intSirketNo FROM tblSirket ORDER BY intSirketNo");
  rows = SelectRows(Companies(), *st);
  ASSERT_TRUE(rows.ok());
  EXPECT_EQ(Drain(**rows), (std::vector<Row>{{Null{}}, {int64_t{1}}, {int64_t{3}}, {int64_t{12}}}));

  st = ParseSelect("SELECT intSirketNo FROM tblSirket ORDER BY strSirketAdi DESC");
  rows = SelectRows(Companies(), *st);
  ASSERT_TRUE(rows.ok());
  EXPECT_EQ(Drain(**rows), (std::vector<Row>{{Null{}}, {int64_t{12}}, {int64_t{1}}, {int64_t{3}}}));
}

TEST(SelectRows, UnknownColumnAndTypeMismatchAreErrors) {
  auto st = ParseSelect("SELECT yok FROM tblSirket");
  auto rows = SelectRows(Companies(), *st);
  ASSERT_FALSE(rows.ok());
  EXPECT_NE(rows.status().message().find("column yok not found in table tblSirket"),
            std::string::npos);

  st = ParseSelect("SELECT * FROM tblSirket WHERE intSirketNo = 'x'");
  rows = SelectRows(Companies(), *st);
  ASSERT_TRUE(rows.ok());
  Row r;
  EXPECT_FALSE((*rows)->Next(r));
  EXPECT_FALSE((*rows)->status().ok());
}

}  // namespace
}  // namespace px::db
