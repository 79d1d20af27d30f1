// The Access backend over our own engine, end to end on a new file: a module database made
// with the ADOX calls the restore makes, filled by its statements and recordset rows, the
// personnel key rewrite, transactions, and the pool that hands out one open file.
#include <gtest/gtest.h>

#include "db/access_database.h"
#include "db/text_of.h"
#include "platform/files.h"
#include "support/temp_folder.h"

namespace px::db {
namespace {

std::vector<std::string> Select(Database& db, const std::string& sql) {
  std::vector<std::string> out;
  auto rows = db.Query(sql);
  EXPECT_TRUE(rows.ok()) << sql << ": " << rows.status().ToString();
  if (!rows.ok()) return out;
  Row row;
  while ((*rows)->Next(row)) {
    std::string line;
    for (size_t i = 0; i < row.size(); ++i) {
      line += (i ? "|" : "") + (IsNull(row[i]) ? std::string("Null") : TextOf(row[i]));
    }
    out.push_back(line);
  }
  EXPECT_TRUE((*rows)->status().ok()) << (*rows)->status().ToString();
  return out;
}

#define ASSERT_OK(expr)                                             \
  do {                                                              \
    auto px_st_ = (expr);                                           \
    ASSERT_TRUE(px_st_.ok()) << #expr << ": " << px_st_.ToString(); \
  } while (0)

Status Made(Database& db) {
  const char* t = "tablo_isyeri_bilgileri";
  PX_RETURN_IF_ERROR(db.CreateTable(t));
  for (const NewColumn& c :
       {NewColumn{"Id", 3, 0, 0, true, true}, NewColumn{"strIsyeriKodu", 202, 3, 0, true, false},
        NewColumn{"strIsyeriKey", 202, 6, 0, true, false},
        NewColumn{"curTutar", 6, 0, 2, true, false}, NewColumn{"blnAktif", 11, 0, 0, true, false},
        NewColumn{"dtmTarih", 7, 0, 0, true, false}, NewColumn{"dblOran", 5, 0, 0, true, false}}) {
    PX_RETURN_IF_ERROR(db.AppendColumn(t, c));
  }
  return db.AppendPrimaryKey(t, "PrimaryKey", "Id");
}

TEST(AccessDatabaseEngine, RestoreStepsOnANewFile) {
  px::testing::TempFolder dir;
  const std::string path = dir.str() + "/Personel.mdb";
  auto pool = NewAccessDatabasePool(platform::SystemFiles());
  auto created = pool->Create(path);
  ASSERT_TRUE(created.ok()) << created.status().ToString();
  Database& db = **created;
  ASSERT_OK(Made(db));

  const char* t = "tablo_isyeri_bilgileri";
  EXPECT_EQ(*db.KeyCount(t), 1);
  EXPECT_TRUE(*db.HasAutoNumber(t));
  auto columns = db.SchemaColumns("TABLO_ISYERI_BILGILERI");
  ASSERT_TRUE(columns.ok());
  ASSERT_EQ(columns->size(), 7u);
  EXPECT_EQ((*columns)[2].name, "strIsyeriKey");
  EXPECT_EQ((*columns)[2].ordinal, 3);

  for (const char* sql :
       {"INSERT INTO tablo_isyeri_bilgileri (Id, strIsyeriKodu, strIsyeriKey, curTutar, blnAktif, "
        "dtmTarih, dblOran) Values ('5','001','001002',CAST('1,234.56' AS MONEY),1,"
        "'2024-02-29 13:45:30','0.25')",
        "INSERT INTO tablo_isyeri_bilgileri (Id, strIsyeriKodu, strIsyeriKey, curTutar, blnAktif) "
        "Values ('9','002','002001',Null,0)"}) {
    auto n = db.Execute(sql);
    ASSERT_TRUE(n.ok()) << sql << ": " << n.status().ToString();
  }
  FieldInfo kod, key;
  kod.name = "strIsyeriKodu";
  kod.ado_type = ado::kVarWChar;
  key.name = "strIsyeriKey";
  key.ado_type = ado::kVarWChar;
  ASSERT_OK(db.AddRow(t, {kod, key}, {std::string("001"), std::string("001007")}));

  const std::string all = "SELECT * FROM tablo_isyeri_bilgileri ORDER BY Id";
  EXPECT_EQ(Select(db, all), (std::vector<std::string>{
                                 "5|001|001002|1234.56|True|2024-02-29 13:45:30|0.25",
                                 "9|002|002001|Null|False|Null|Null",
                                 "10|001|001007|Null|False|Null|Null",
                             }));

  // A transaction dropped leaves the rows as they were; the pool hands out the same file.
  auto again = pool->Open(dir.str() + "/PERSONEL.MDB");
  ASSERT_TRUE(again.ok()) << again.status().ToString();
  EXPECT_EQ(*again, &db);
  ASSERT_OK(db.Begin());
  ASSERT_OK(db.AddRow(t, {kod, key}, {std::string("003"), std::string("003001")}));
  EXPECT_EQ(Select(db, all).size(), 4u);
  ASSERT_OK(db.Rollback());
  EXPECT_EQ(Select(db, all).size(), 3u);

  pool->CloseAll();
  auto reopened = pool->Open(path);
  ASSERT_TRUE(reopened.ok()) << reopened.status().ToString();
  EXPECT_EQ(Select(**reopened,
                   "SELECT Id, strIsyeriKodu, strIsyeriKey FROM tablo_isyeri_bilgileri "
                   "ORDER BY Id"),
            (std::vector<std::string>{"5|001|001002", "9|002|002001", "10|001|001007"}));
}

}  // namespace
}  // namespace px::db
