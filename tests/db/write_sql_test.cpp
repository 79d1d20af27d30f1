// The change statements' parser: every accepted form, written back as a canonical
// description, and every refusal quoting the statement.
#include <gtest/gtest.h>

#include "db/write_sql.h"

namespace px::db {
namespace {

std::string Describe(const WriteStatement& st) {
  std::string out;
  if (auto* d = std::get_if<DeleteStatement>(&st)) return "DELETE " + d->table;
  if (auto* i = std::get_if<InsertStatement>(&st)) {
    out = "INSERT " + i->table + " (";
    for (size_t k = 0; k < i->columns.size(); ++k) out += (k ? "|" : "") + i->columns[k];
    out += ") (";
    for (size_t k = 0; k < i->values.size(); ++k) out += (k ? "|" : "") + ExprText(i->values[k]);
    return out + ")";
  }
  const auto& u = std::get<UpdateStatement>(st);
  out = "UPDATE " + u.table + " SET ";
  for (size_t k = 0; k < u.set.size(); ++k) {
    out += (k ? "|" : "") + u.set[k].column + "=" + ExprText(u.set[k].value);
  }
  for (size_t k = 0; k < u.where.size(); ++k) {
    const WhereCondition& c = u.where[k];
    out += (k ? " AND " : " WHERE ") + ExprText(c.left) + "=" +
           (c.quoted ? "'" + c.literal + "'" : c.literal);
  }
  return out;
}

TEST(ParseWriteStatement, AcceptedForms) {
  struct Case {
    const char* sql;
    const char* described;
  } cases[] = {
      {"DELETE FROM tablo_cari", "DELETE tablo_cari"},
      {"delete from [Cari Hesap]", "DELETE Cari Hesap"},
      {"INSERT INTO t (a, [Key], c, d) Values ('x',1,Null,CAST('1,234.56' AS MONEY))",
       "INSERT t (a|Key|c|d) ('x'|1|Null|CAST('1,234.56' AS MONEY))"},
      {"insert into T (a) values ('O''Neil')", "INSERT T (a) ('O'Neil')"},
      {"INSERT INTO t (n, m, e) Values (-12.5,.5,2.5E-3)", "INSERT t (n|m|e) (-12.5|.5|2.5E-3)"},
      {"INSERT INTO t (a,b) Values ('','2024-01-31 13:45:00')",
       "INSERT t (a|b) (''|'2024-01-31 13:45:00')"},
      {"INSERT INTO t (Ünvan) Values ('Çağ')", "INSERT t (Ünvan) ('Çağ')"},
      {"UPDATE tablo_isyeri_bilgileri SET strIsyeriKey = '005' + MID(strIsyeriKey,4,3), "
       "strIsyeriKodu = '005' WHERE strIsyeriKodu = '001'",
       "UPDATE tablo_isyeri_bilgileri SET strIsyeriKey='005' + MID(strIsyeriKey, 4, "
       "3)|strIsyeriKodu='005' WHERE strIsyeriKodu='001'"},
      {"UPDATE tablo_personel_parametreleri SET strPersonelKey = MID(strPersonelKey, 1, 2) + "
       "'005' WHERE MID(strPersonelKey, 3, 3) = '001'",
       "UPDATE tablo_personel_parametreleri SET strPersonelKey=MID(strPersonelKey, 1, 2) + '005' "
       "WHERE MID(strPersonelKey, 3, 3)='001'"},
      {"UPDATE t SET k = SUBSTRING(k, 1, 2) + '005' WHERE SUBSTRING(k, 3, 3) = '001'",
       "UPDATE t SET k=MID(k, 1, 2) + '005' WHERE MID(k, 3, 3)='001'"},
      {"UPDATE t SET k = MID(k, 2)", "UPDATE t SET k=MID(k, 2)"},
      {"UPDATE t SET a = Null, b = 7, c = CAST('1.5' AS MONEY)",
       "UPDATE t SET a=Null|b=7|c=CAST('1.5' AS MONEY)"},
      {"UPDATE t SET a = b + 'x' + [Key] WHERE n = 1 AND [Mid] = 'y'",
       "UPDATE t SET a=b + 'x' + Key WHERE n=1 AND Mid='y'"},
      {"UPDATE t SET mid = 'x'", "UPDATE t SET mid='x'"},
  };
  for (const Case& c : cases) {
    auto st = ParseWriteStatement(c.sql);
    ASSERT_TRUE(st.ok()) << c.sql << ": " << st.status().ToString();
    EXPECT_EQ(Describe(*st), c.described) << c.sql;
  }
}

TEST(ParseWriteStatement, RefusalsQuoteTheStatement) {
  struct Case {
    const char* sql;
    const char* reason;
  } cases[] = {
      {"", "only DELETE FROM, INSERT INTO and UPDATE"},
      {"SELECT * FROM t", "only DELETE FROM, INSERT INTO and UPDATE"},
      {"DROP TABLE t", "only DELETE FROM, INSERT INTO and UPDATE"},
      {"DELETE t", "expected FROM"},
      {"DELETE * FROM t", "expected FROM"},
      {"DELETE FROM", "expected a name"},
      {"DELETE FROM t WHERE a = 1", "WHERE is not supported"},
      {"DELETE FROM t; DELETE FROM u", "at position 14: unexpected character ';'"},
      {"INSERT t (a) Values (1)", "expected INTO"},
      {"INSERT INTO t Values (1)", "expected '('"},
      {"INSERT INTO t () Values ()", "expected a name"},
      {"INSERT INTO t (a, b) Values (1)", "2 columns but 1 values"},
      {"INSERT INTO t (a) Values (1, 2)", "1 columns but 2 values"},
      {"INSERT INTO t (a, A) Values (1, 2)", "column A named twice"},
      {"INSERT INTO t (a) Values (b)", "expected a value"},
      {"INSERT INTO t (a) Values (MID('x', 1))", "expected a value"},
      {"INSERT INTO t (a) Values ('x' + 'y')", "expected ')'"},
      {"INSERT INTO t (a) Values ('open)", "at position 27: unterminated text literal"},
      {"INSERT INTO t (a) Values (CAST(1 AS MONEY))", "CAST takes a quoted number"},
      {"INSERT INTO t (a) Values (CAST('1' AS INT))", "only CAST(... AS MONEY)"},
      {"INSERT INTO t (a) Values (1) extra", "unexpected 'extra'"},
      {"INSERT INTO t (a) SELECT a FROM u", "expected VALUES"},
      {"INSERT INTO [t (a) Values (1)", "unterminated [name]"},
      {"UPDATE t", "expected SET"},
      {"UPDATE t SET", "expected a name"},
      {"UPDATE t SET a", "expected '='"},
      {"UPDATE t SET a = 1, A = 2", "column A set twice"},
      {"UPDATE t SET a = 1 WHERE b > 1", "at position 28: unexpected character '>'"},
      {"UPDATE t SET a = 1 WHERE b LIKE 'x'", "only = conditions"},
      {"UPDATE t SET a = 1 WHERE b = c", "expected a text or number after ="},
      {"UPDATE t SET a = 1 WHERE b = Null", "expected a text or number after ="},
      {"UPDATE t SET a = 1 WHERE b = 1 OR c = 2", "unexpected 'OR'"},
      {"UPDATE t SET a = MID(a, 0, 2)", "at least 1"},
      {"UPDATE t SET a = MID(a, 1, -2)", "whole number"},
      {"UPDATE t SET a = MID(a, 1.5, 2)", "whole number"},
      {"UPDATE t SET a = SUBSTRING(a, 2)", "expected ','"},
      {"UPDATE t SET a = MID(a, 1, 2, 3)", "expected ')'"},
      {"UPDATE t SET a = LEFT(a, 2)", "unexpected '('"},
      {"UPDATE t SET a = 'x' & b", "unexpected character '&'"},
      {"UPDATE t SET a = 'x' +", "expected a value or a column"},
      {"UPDATE t SET a = MID(MID(MID(MID(MID(MID(MID(MID(MID(MID(MID(MID(MID(MID(MID(MID(MID("
       "a,1),1),1),1),1),1),1),1),1),1),1),1),1),1),1),1),1)",
       "nested too deeply"},
  };
  for (const Case& c : cases) {
    auto st = ParseWriteStatement(c.sql);
    ASSERT_FALSE(st.ok()) << c.sql;
    const std::string& m = st.status().message();
    EXPECT_TRUE(st.status().IsNotSupported()) << c.sql;
    EXPECT_NE(m.find("SQL \"" + std::string(c.sql) + "\""), std::string::npos) << m;
    EXPECT_NE(m.find(c.reason), std::string::npos) << c.sql << " -> " << m;
  }
}

}  // namespace
}  // namespace px::db
