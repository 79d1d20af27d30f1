// The change statements and the recordset insert run over tables in memory: values placed
// by column name and converted, Jet's checks before a row is written, the two personnel
// UPDATEs, and errors that name the table, the column and the value.
#include <gtest/gtest.h>

#include "core/value_text.h"
#include "db/memory_database.h"
#include "db/text_of.h"

namespace px::db {
namespace {

FieldInfo Col(const char* name, int type, int64_t size = 0) {
  FieldInfo f;
  f.name = name;
  f.ado_type = type;
  f.size = size;
  f.allow_zero_length = true;
  return f;
}

std::string RowText(const Row& row) {
  std::string out;
  for (size_t i = 0; i < row.size(); ++i) {
    out += i ? "|" : "";
    out += IsNull(row[i]) ? "Null" : TextOf(row[i]);
  }
  return out;
}

std::vector<std::string> Rows(MemoryDatabase& db, const char* table) {
  std::vector<std::string> out;
  for (const Row& r : db.RowsOf(table)) out.push_back(RowText(r));
  return out;
}

// The shape of a restored table: AutoNumber key, text, [Key], money, Yes/No, date, double.
void AddCariTable(MemoryDatabase& db) {
  FieldInfo id = Col("Id", ado::kInteger);
  id.autonumber = true;
  db.AddTable("tablo_cari", {id, Col("strAd", ado::kVarWChar, 10), Col("Key", ado::kVarWChar, 5),
                             Col("curTutar", ado::kCurrency), Col("blnAktif", ado::kBoolean),
                             Col("dtmTarih", ado::kDate), Col("dblOran", ado::kDouble)});
}

TEST(ExecuteWriteStatement, InsertPlacesConvertedValuesByColumnName) {
  MemoryDatabase db;
  AddCariTable(db);
  struct Case {
    const char* sql;
    const char* row;
  } cases[] = {
      {"INSERT INTO tablo_cari (Id, strAd, [Key], curTutar, blnAktif, dtmTarih, dblOran) Values "
       "('7','O\"Neil','K1',CAST('1,234.56' AS MONEY),1,'2024-02-29 13:45:30','2.5E-1')",
       "7|O\"Neil|K1|1234.56|True|2024-02-29 13:45:30|0.25"},
      // columns in another order and spelling, the rest Null, the next AutoNumber
      {"insert into TABLO_CARI (DBLORAN, stRAd) Values ('-1','Çağ')",
       "8|Çağ|Null|Null|False|Null|-1"},
      {"INSERT INTO tablo_cari (strAd, blnAktif, curTutar) Values ('',0,Null)",
       "9||Null|Null|False|Null|Null"},
      {"INSERT INTO tablo_cari (Id, strAd) Values ('100','x')", "100|x|Null|Null|False|Null|Null"},
      {"INSERT INTO tablo_cari (strAd) Values (12)", "101|12|Null|Null|False|Null|Null"},
  };
  for (const Case& c : cases) {
    auto n = db.Execute(c.sql);
    ASSERT_TRUE(n.ok()) << c.sql << ": " << n.status().ToString();
    EXPECT_EQ(*n, 1);
    EXPECT_EQ(RowText(db.RowsOf("tablo_cari").back()), c.row) << c.sql;
  }
  auto deleted = db.Execute("DELETE FROM Tablo_Cari");
  ASSERT_TRUE(deleted.ok());
  EXPECT_EQ(*deleted, 5);
  EXPECT_TRUE(db.RowsOf("tablo_cari").empty());
  EXPECT_EQ(*db.Execute("DELETE FROM tablo_cari"), 0);
}

TEST(ExecuteWriteStatement, RefusedRowsNameTableColumnAndValue) {
  MemoryDatabase db;
  AddCariTable(db);
  FieldInfo required = Col("strZorunlu", ado::kVarWChar, 5);
  required.required = true;
  db.AddTable("tablo_kural",
              {required, Col("strDolu", ado::kVarWChar, 5), Col("bytSayi", ado::kUnsignedTinyInt)});
  struct Case {
    const char* sql;
    const char* message;
  } cases[] = {
      {"INSERT INTO tablo_cari (curTutar) Values ('abc')",
       "table tablo_cari, column curTutar: 'abc' is not a number"},
      {"INSERT INTO tablo_cari (curTutar) Values (CAST('1.234,56' AS MONEY))",
       "table tablo_cari, column curTutar: '1.234,56' is not a number"},
      {"INSERT INTO tablo_cari (dtmTarih) Values ('31.31.2024')",
       "table tablo_cari, column dtmTarih: '31.31.2024' is not a date"},
      {"INSERT INTO tablo_cari (Id) Values ('3000000000')",
       "table tablo_cari, column Id: '3000000000' is out of range for Long"},
      {"INSERT INTO tablo_cari (strAd) Values ('Onbir harf')", ""},  // ten characters fit
      {"INSERT INTO tablo_cari (strAd) Values ('Onbir harfl')",
       "table tablo_cari, column strAd: 'Onbir harfl' has 11 characters, more than the "
       "column's 10"},
      {"INSERT INTO tablo_cari (yok) Values (1)", "column yok not found in table tablo_cari"},
      {"INSERT INTO tablo_yok (a) Values (1)", "table tablo_yok not found"},
      {"INSERT INTO tablo_kural (strDolu) Values ('x')",
       "table tablo_kural, column strZorunlu: the column is Required and cannot be Null"},
      {"INSERT INTO tablo_kural (strZorunlu, bytSayi) Values ('x', 256)",
       "table tablo_kural, column bytSayi: '256' is out of range for Byte"},
      {"UPDATE tablo_cari SET Id = 5", "table tablo_cari, column Id: an AutoNumber column"},
      {"UPDATE tablo_cari SET yok = 'x'", "column yok not found in table tablo_cari"},
      {"UPDATE tablo_cari SET strAd = 'x' WHERE yok = 'y'",
       "column yok not found in table tablo_cari"},
      {"UPDATE tablo_cari SET strAd = 'x' + curTutar",
       "SQL \"UPDATE tablo_cari SET strAd = 'x' + curTutar\": table tablo_cari: 'x' + curTutar "
       "adds a number"},
      {"UPDATE tablo_cari SET strAd = 'x' + 1", "'+' is supported between texts only"},
      {"UPDATE tablo_cari SET curTutar = 'bir'",
       "table tablo_cari, column curTutar: 'bir' is not a number"},
      {"DELETE FROM tablo_yok", "table tablo_yok not found"},
  };
  ASSERT_TRUE(db.Execute("INSERT INTO tablo_cari (strAd) Values ('a')").ok());
  for (const Case& c : cases) {
    const size_t rows_before = db.RowsOf("tablo_cari").size();
    auto n = db.Execute(c.sql);
    if (*c.message == '\0') {
      EXPECT_TRUE(n.ok()) << c.sql << ": " << n.status().ToString();
      continue;
    }
    ASSERT_FALSE(n.ok()) << c.sql;
    EXPECT_NE(n.status().message().find(c.message), std::string::npos)
        << c.sql << " -> " << n.status().message();
    EXPECT_EQ(db.RowsOf("tablo_cari").size(), rows_before) << c.sql;
  }
  EXPECT_EQ(RowText(db.RowsOf("tablo_cari")[0]), "1|a|Null|Null|False|Null|Null");
}

// The personnel workplace key rewrite, in both dialects' spelling.
TEST(ExecuteWriteStatement, PersonnelKeyRewrites) {
  for (const char* mid : {"MID", "SUBSTRING", "mid"}) {
    MemoryDatabase db;
    db.AddTable("tablo_isyeri_bilgileri",
                {Col("strIsyeriKodu", ado::kVarWChar, 3), Col("strIsyeriKey", ado::kVarWChar, 6)},
                {{std::string("001"), std::string("001002")},
                 {std::string("002"), std::string("002001")},
                 {std::string("001"), Null{}},
                 {Null{}, std::string("001009")}});
    db.AddTable("tablo_personel_parametreleri", {Col("strPersonelKey", ado::kVarWChar, 10)},
                {{std::string("PR001")},
                 {std::string("PR0012345")},
                 {std::string("PR002")},
                 {std::string("X001")},
                 {std::string("PR")},
                 {Null{}}});
    const std::string m = mid;
    auto n = db.Execute("UPDATE tablo_isyeri_bilgileri SET strIsyeriKey = '005' + " + m +
                        "(strIsyeriKey,4,3), strIsyeriKodu = '005' WHERE strIsyeriKodu = '001'");
    ASSERT_TRUE(n.ok()) << n.status().ToString();
    EXPECT_EQ(*n, 2);
    EXPECT_EQ(Rows(db, "tablo_isyeri_bilgileri"),
              (std::vector<std::string>{"005|005002", "002|002001", "005|Null", "Null|001009"}));

    n = db.Execute("UPDATE tablo_personel_parametreleri SET strPersonelKey = " + m +
                   "(strPersonelKey, 1, 2) + '005' WHERE " + m + "(strPersonelKey, 3, 3) = '001'");
    ASSERT_TRUE(n.ok()) << n.status().ToString();
    EXPECT_EQ(*n, 2);
    EXPECT_EQ(Rows(db, "tablo_personel_parametreleri"),
              (std::vector<std::string>{"PR005", "PR005", "PR002", "X001", "PR", "Null"}));
  }
}

// Each condition is Jet's "=" (see the criteria tests); these are the parts around it.
TEST(ExecuteWriteStatement, UpdateConditionsFollowJetEquals) {
  MemoryDatabase db;
  db.AddTable("t", {Col("n", ado::kInteger), Col("s", ado::kVarWChar, 20), Col("d", ado::kDate)},
              {{int64_t{1}, std::string("Çay"), OleDate{45351}},
               {int64_t{2}, std::string("ÇAY"), Null{}},
               {int64_t{3}, std::string("şeker"), OleDate{45352}}});
  struct Case {
    const char* sql;
    int64_t affected;
  } cases[] = {
      {"UPDATE t SET s = s WHERE n = 3 AND s = 'ŞEKER'", 1},
      {"UPDATE t SET s = s WHERE MID(s, 2, 2) = 'AY'", 2},
      {"UPDATE t SET s = s WHERE MID(n, 1) = '2'", 1},  // a number read as its text
      {"UPDATE t SET s = s", 3},
  };
  for (const Case& c : cases) {
    auto n = db.Execute(c.sql);
    ASSERT_TRUE(n.ok()) << c.sql << ": " << n.status().ToString();
    EXPECT_EQ(*n, c.affected) << c.sql;
  }
  auto bad = db.Execute("UPDATE t SET s = 'x' WHERE n = 'bir'");
  ASSERT_FALSE(bad.ok());
  EXPECT_NE(bad.status().message().find("column n compared with 'bir'"), std::string::npos);
}

TEST(ExecuteWriteStatement, UpdateSeesTheRowAsItWasAndConvertsResults) {
  MemoryDatabase db;
  db.AddTable("t",
              {Col("a", ado::kVarWChar, 10), Col("b", ado::kVarWChar, 10), Col("n", ado::kInteger)},
              {{std::string("ğüş123"), std::string("b"), int64_t{0}}});
  auto n = db.Execute("UPDATE t SET a = b, b = a, n = MID(a, 4, 2) + '9'");
  ASSERT_TRUE(n.ok()) << n.status().ToString();
  EXPECT_EQ(Rows(db, "t"), (std::vector<std::string>{"b|ğüş123|129"}));
  // characters, not bytes: MID past the end is empty, a Null operand makes '+' Null
  ASSERT_TRUE(db.Execute("UPDATE t SET a = MID(b, 3) + MID(b, 99, 1), b = Null + 'x'").ok());
  EXPECT_EQ(Rows(db, "t"), (std::vector<std::string>{"ş123|Null|129"}));
  auto too_long = db.Execute("UPDATE t SET a = a + a + a");
  ASSERT_FALSE(too_long.ok());
  EXPECT_NE(too_long.status().message().find("column a: 'ş123ş123ş123' has 12 characters"),
            std::string::npos)
      << too_long.status().message();
  auto not_number = db.Execute("UPDATE t SET n = a");
  ASSERT_FALSE(not_number.ok());
  EXPECT_NE(not_number.status().message().find("table t, column n: 'ş123' is not a number"),
            std::string::npos)
      << not_number.status().message();
  EXPECT_EQ(Rows(db, "t"), (std::vector<std::string>{"ş123|Null|129"}));
}

TEST(AddRow, ValuesGoToFieldsOfTheSameName) {
  MemoryDatabase db;
  AddCariTable(db);
  std::vector<FieldInfo> file_fields = {Col("dblOran", ado::kDouble), Col("STRAD", ado::kVarWChar),
                                        Col("Id", ado::kInteger), Col("curTutar", ado::kCurrency),
                                        Col("blnAktif", ado::kBoolean)};
  ASSERT_TRUE(db.AddRow("tablo_cari", file_fields,
                        {0.5, std::string("Ali"), int64_t{40}, Currency{12345}, true})
                  .ok());
  // a text amount goes through Jet's conversion, a Null Yes/No is No, no Id: next number;
  // the same made ready
  auto ready = db.PrepareAddRow("TABLO_CARI", file_fields);
  ASSERT_NE(ready, nullptr);
  Row row;
  ASSERT_TRUE(
      ready->MakeRow({Null{}, std::string("Ayşe"), Null{}, std::string("7.5"), Null{}}, row).ok());
  ASSERT_TRUE(ready->Insert(row).ok());
  EXPECT_EQ(Rows(db, "tablo_cari"), (std::vector<std::string>{"40|Ali|Null|1.2345|True|Null|0.5",
                                                              "41|Ayşe|Null|7.5|False|Null|Null"}));

  struct Case {
    std::vector<FieldInfo> fields;
    Row values;
    const char* message;
  } cases[] = {
      {{Col("strYok", ado::kVarWChar)}, {std::string("x")}, "table tablo_cari has no field strYok"},
      {{Col("curTutar", ado::kVarWChar)},
       {std::string("çok")},
       "table tablo_cari, column curTutar: 'çok' is not a number"},
      {{Col("strAd", ado::kVarWChar)},
       {std::string("uzun bir ad")},
       "table tablo_cari, column strAd: 'uzun bir ad' has 11 characters"},
      {{Col("strAd", ado::kVarWChar)}, {}, "table tablo_cari: 1 fields but 0 values"},
  };
  for (const Case& c : cases) {
    Status s = db.AddRow("tablo_cari", c.fields, c.values);
    ASSERT_FALSE(s.ok()) << c.message;
    EXPECT_NE(s.message().find(c.message), std::string::npos) << s.message();
    // Made ready, the same refusal; a field the table lacks leaves nothing to make ready.
    ready = db.PrepareAddRow("tablo_cari", c.fields);
    EXPECT_EQ(ready ? ready->MakeRow(c.values, row).ToString() : s.ToString(), s.ToString());
  }
  EXPECT_EQ(db.RowsOf("tablo_cari").size(), 2u);
}

}  // namespace
}  // namespace px::db
